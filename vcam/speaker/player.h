// The thread that runs the DAC in the board's time.
#pragma once

#include "vcam/board/board.h"
#include "vcam/speaker/dac.h"

#include <thread>

class Player {
public:
    Player(Board &board, PeriodSink &sink);
    Player(const Player &) = delete;
    Player &operator=(const Player &) = delete;
    ~Player();

private:
    void play(const std::stop_token &stop);

    Board &board_;
    Dac dac_;
    std::jthread thread_;
};

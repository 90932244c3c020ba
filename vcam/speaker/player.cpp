#include "vcam/speaker/player.h"

Player::Player(Board &board, PeriodSink &sink)
    : board_(board), dac_(board.registers, board.time, sink),
      thread_([this](const std::stop_token &stop) { play(stop); }) {}

Player::~Player() {
    thread_.request_stop();
    Register &work = board_.registers.ao.work;
    ++work;
    board_.time.wake(work);
    thread_.join();
}

void Player::play(const std::stop_token &stop) {
    Register &work = board_.registers.ao.work;
    while (!stop.stop_requested()) {
        const std::uint32_t seen = work;
        const std::uint64_t next = dac_.run(board_.time.now());
        if (!stop.stop_requested()) {
            board_.time.waitForChange(work, seen, next);
        }
    }
}

// The board as the processes around the daemon see it: its files, mapped.
#pragma once

#include "vcam/board/board.h"
#include "vcam/camera/camera.h"

class MappedBoard {
public:
    enum class Mode { create, open };

    // `create` makes a new one, whose loudspeaker is this process's. Throws when it cannot be had,
    // or is no board of this kind.
    MappedBoard(const CameraDir &dir, Mode mode);
    MappedBoard(const MappedBoard &) = delete;
    MappedBoard &operator=(const MappedBoard &) = delete;
    ~MappedBoard();

    BoardRegisters &registers() { return *registers_; }
    Board &board() { return board_; }

private:
    BoardRegisters *registers_;
    SystemBoardTime time_;
    Board board_;
};

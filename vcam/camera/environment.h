// The environment of a program that runs on the board.
#pragma once

#include "vcam/camera/camera.h"

#include <filesystem>
#include <string>
#include <vector>

// What programs on the board are built for, when that is not this PC.
struct Target {
    std::string runner; // QEMU's user-mode emulator with its options, words by blanks, those with
                        // blanks in double quotes; empty: none
    std::string board;  // the board's library; empty: the one beside this program
    std::string voxo;   // the daemon's program; empty: the one beside this program

    std::string boardFile() const;
    std::string faultsFile() const; // the library of failing calls, beside the board's
    std::string voxoFile() const;
};

// Whether the library of failing calls is needed: when such a fault is set, or in any case, since
// one may be set later.
enum class FailingCalls { asSet, always };

// Sets this process's environment so that a program it executes finds the board: the camera's
// directory, and the libraries to preload.
void enterBoard(const CameraDir &dir, const Target &target,
                FailingCalls failingCalls = FailingCalls::asSet);

// Throws unless the board loads into the daemon's program: without the board a program would run on
// this PC's own devices. The daemon is started as it is going to be, but ends as soon as the board
// is there; without the board it finds no options, and ends as well.
void requireBoard(const CameraDir &dir, const Target &target);

// The same for another program: it must name the loader that the daemon's program names.
void requireBoardIn(const CameraDir &dir, const Target &target, const std::string &program);

// The command that runs a program on the target.
std::vector<std::string> commandOn(const Target &target, const std::vector<std::string> &program);

// A file that is built or installed beside this program: bin/voxo, lib/libvcam_board.so.
std::filesystem::path besideThisProgram(const std::filesystem::path &file);

// The command as execv(3) takes it: pointers into it, ended by a null one.
std::vector<char *> argumentsOf(const std::vector<std::string> &command);

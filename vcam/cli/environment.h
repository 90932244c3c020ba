// The environment of a program that runs on the board.
#pragma once

#include "vcam/camera/camera.h"

#include <filesystem>
#include <string>
#include <vector>

// What programs on the board are built for, when that is not this PC.
struct Target {
    std::string runner; // QEMU's user-mode emulator with its options, by spaces; empty: none
    std::string board;  // the board's library; empty: the one beside this program
};

// Sets this process's environment so that a program it executes finds the board: the camera's
// directory, and the libraries to preload.
void enterBoard(const CameraDir &dir, const Target &target);

// The command that runs a program on the target.
std::vector<std::string> commandOn(const Target &target, const std::vector<std::string> &program);

// A file that is built or installed beside this program: bin/voxo, lib/libvcam_board.so.
std::filesystem::path besideThisProgram(const std::filesystem::path &file);

// The command as execv(3) takes it: pointers into it, ended by a null one.
std::vector<char *> argumentsOf(const std::vector<std::string> &command);

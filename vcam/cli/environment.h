// The environment of a program that runs on the board.
#pragma once

#include "vcam/camera/camera.h"

#include <filesystem>

// Sets this process's environment so that a program it executes finds the board: the camera's
// directory, and the libraries to preload.
void enterBoard(const CameraDir &dir);

// A file that is built or installed beside this program: bin/voxo, lib/libvcam_board.so.
std::filesystem::path besideThisProgram(const std::filesystem::path &file);

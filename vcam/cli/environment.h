// The environment of a program that runs on the board.
#pragma once

#include "vcam/camera/camera.h"

#include <filesystem>
#include <string>
#include <vector>

// Sets this process's environment so that a program it executes finds the board: the camera's
// directory, and the libraries to preload.
void enterBoard(const CameraDir &dir);

// A file that is built or installed beside this program: bin/voxo, lib/libvcam_board.so.
std::filesystem::path besideThisProgram(const std::filesystem::path &file);

// The command as execv(3) takes it: pointers into it, ended by a null one.
std::vector<char *> argumentsOf(const std::vector<std::string> &command);

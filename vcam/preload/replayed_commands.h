// Driver commands beside those of an earlier life.
#pragma once

#include "vcam/board/board.h"

// Maps the answers of that life, from a file of the camera's directory. False: it cannot be had.
bool loadAnswers(int fd);

bool isReplaying();

// Compares a command with the one that was issued at its place, before it is carried out.
void compareWithRecorded(ReplayRegisters &replay, std::uint32_t command, const void *record);

// What the drivers answered then, in place of what the models do now: changes the record, and
// returns the result, with errno.
int answerAsRecorded(ReplayRegisters &replay, std::uint32_t command, void *record, int result);

// What loads a program, and with it the board.
#pragma once

#include <string>

// The dynamic loader that a program names, or the one of the interpreter that a script names.
// `program` is looked for as execvp(3) does. Throws for one that cannot be read, and for one that
// no library can be preloaded into: it is not dynamically linked, or it is given rights when it is
// run.
std::string loaderOf(const std::string &program);

// The daemon from its command line to its end.
#pragma once

// Runs the daemon. Returns the process's exit status: 0 after an orderly end, 1 for a wrong command
// line, -1 when it cannot start.
int voxoRun(int argc, char **argv);

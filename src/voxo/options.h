// The command line: voxo [-d] -c config_xml_file [-p pid_file]
#pragma once

extern const char voxoUsage[];

// Reads the options into the context and the PID file path. *daemonFlag becomes 1 with -d, else 0.
// Returns 0, or -1 after a message on standard error.
int voxoParseOptions(int argc, char *const *argv, int *daemonFlag);

#include "src/voxo/options.h"

#include "src/voxo/context.h"

#include <unistd.h>

#include <cctype>
#include <cstdio>
#include <cstring>

const char voxoUsage[] = "Usage : voxo [-d] -c config_xml_file [-p pid_file]\n"
                         "\t-d Daemon mode\n"
                         "\t-c Config file path\n"
                         "\t-p PID file output path";

namespace {

// Puts a path into a field in place of what it held. False: too long for the field.
template <std::size_t Size>
bool replacePath(char (&field)[Size], const char *path) {
    const std::size_t length = std::strlen(path);
    if (length >= Size) {
        return false;
    }
    std::memset(field, 0, Size);
    std::memcpy(field, path, length);
    return true;
}

// `option` is a char as getopt leaves it: above 0x7F it may be negative.
void reportUnknown(int option) {
    const unsigned character = static_cast<unsigned char>(option);
    if (std::isprint(static_cast<int>(character)) != 0) {
        std::fprintf(stderr, "Unknown option `-%c'.\n", static_cast<int>(character));
    } else {
        std::fprintf(stderr, "Unknown option character `\\x%x'.\n", character);
    }
}

} // namespace

int voxoParseOptions(int argc, char *const *argv, int *daemonFlag) {
    bool hasConfig = false;
    *daemonFlag = 0;
    opterr = 0;
    optind = 1;
    for (int option = 0; (option = getopt(argc, argv, "dc:p:")) != -1;) {
        switch (option) {
        case 'd':
            *daemonFlag = 1;
            break;
        case 'c':
            if (!replacePath(voxoContext.configPath, optarg)) {
                std::fprintf(stderr, "Config file path too long!\n");
                return -1;
            }
            hasConfig = true;
            break;
        case 'p':
            if (!replacePath(pidFilePath, optarg)) {
                std::fprintf(stderr, "PID file path too long!\n");
                return -1;
            }
            break;
        default:
            reportUnknown(optopt);
            return -1;
        }
    }
    if (!hasConfig) {
        std::fprintf(stderr, "Config file path not set!\n");
        return -1;
    }
    return 0;
}

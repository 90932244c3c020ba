// The calls of the C library that the board can make fail, as it can the drivers' commands: those
// that the daemon makes on its road and that may go wrong on a camera.
#pragma once

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string_view>

struct LibraryCall {
    std::string_view name;
    int error; // errno of the failure
};

constexpr LibraryCall libraryCalls[] = {{"open", EMFILE},          {"fopen", EMFILE},
                                        {"socket", EMFILE},        {"bind", EADDRINUSE},
                                        {"chmod", EPERM},          {"fchmod", EPERM},
                                        {"mkfifo", ENOSPC},        {"access", EACCES},
                                        {"stat", EACCES},          {"fstat", EIO},
                                        {"unlink", EPERM},         {"remove", EPERM},
                                        {"fcntl", EINVAL},         {"lseek", EIO},
                                        {"mmap", ENOMEM},          {"select", ENOMEM},
                                        {"poll", ENOMEM},          {"read", EIO},
                                        {"connect", ECONNREFUSED}, {"send", EPIPE},
                                        {"setsockopt", ENOMEM},    {"ftok", ENOENT},
                                        {"shmget", ENOENT},        {"shmat", ENOMEM},
                                        {"shmctl", EACCES},        {"semget", ENOENT},
                                        {"semop", ENOSPC},         {"pthread_create", EAGAIN},
                                        {"malloc", ENOMEM},        {"calloc", ENOMEM},
                                        {"realloc", ENOMEM}};

// What stands for a call where the board's faults name a driver's command: no driver has a command
// below 0x100. 0: there is no such call.
constexpr std::uint32_t libraryCallCode(std::string_view name) {
    for (std::uint32_t i = 0; i < std::size(libraryCalls); ++i) {
        if (libraryCalls[i].name == name) {
            return i + 1;
        }
    }
    return 0;
}
static_assert(std::size(libraryCalls) < 0x100);

constexpr bool isLibraryCall(std::uint32_t code) {
    return code >= 1 && code <= std::size(libraryCalls);
}

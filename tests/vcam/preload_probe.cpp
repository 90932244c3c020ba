// Reaches the board by every name that a program's C library may know it by, and says what it
// found. Built plain, fortified and for 64-bit files, it runs preloaded on a camera.
#include <dirent.h>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

namespace {

int failures;

void expect(bool holds, const char *what) {
    if (!holds) {
        std::printf("probe: %s (errno %d)\n", what, errno);
        ++failures;
    }
}

void checkDevices(int flags) {
    const int fd = open("/dev/sys", flags);
    expect(fd > 2, "open a device");
    errno = 0;
    expect(ioctl(fd, 0x00005900) == 0 && errno == 0, "ioctl leaves errno alone");
    unsigned config = 0;
    expect(ioctl(fd, 0x80045903U, &config) == 0, "ioctl with bit 31 set");
    const int copy = dup(fd);
    expect(ioctl(copy, 0x00005900) == 0, "a copy of a descriptor");
    const int moved = fcntl(fd, F_DUPFD, 50);
    expect(moved >= 50 && ioctl(moved, 0x00005900) == 0, "a copy by fcntl");
    const int onto = dup2(fd, 60);
    expect(onto == 60 && ioctl(60, 0x00005900) == 0, "a copy by dup2");
    close(copy);
    int count = 0; // a command that emulators know as well
    expect(ioctl(copy, FIONREAD, &count) == -1 && errno == EBADF, "a closed descriptor");
    const int memory = openat(AT_FDCWD, "/dev/mem", flags);
    void *const page = mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED, memory, 0x20001000);
    expect(page != MAP_FAILED && reinterpret_cast<unsigned long>(page) <= 0xFFFFFFFFUL,
           "a mapping that fits 32 bits");
    expect(munmap(page, 4096) == 0, "unmap it");
    expect(open("/dev/no-such-device", flags) == -1 && errno == ENOENT, "an open that fails");
    expect(open("/dev/null", flags) > 2, "another device");
}

// The board keeps track of so many descriptors; past them nothing must reach this PC's own devices.
void checkPastTheTable() {
    const rlimit many = {2048, 2048};
    expect(setrlimit(RLIMIT_NOFILE, &many) == 0, "room for descriptors");
    const int device = open("/dev/sys", O_RDWR);
    for (int last = device; last >= 0 && last < 1100; last = dup(STDOUT_FILENO)) {
    }
    for (const char *const path : {"/dev/sys", "//dev/./sys", "/dev/../dev/sys"}) {
        expect(open(path, O_RDWR) == -1 && errno == EMFILE, "no descriptor is left");
    }
    expect(dup(device) == -1 && errno == EMFILE, "no copy is left");
}

// What is listed and looked at is what is opened.
void checkViews() {
    struct statx status = {};
    expect(statx(AT_FDCWD, "/dev/ao", 0, STATX_TYPE, &status) == 0 && S_ISCHR(status.stx_mode),
           "statx");
    expect(mkdir("/var/run/probe", 0700) == 0, "mkdir");
    int entries = 0;
    for (const char *const path : {"/var/run", "/dev"}) {
        DIR *const directory = opendir(path);
        // A file system may number its entries in 64 bits whatever the program's processor is.
        while (const dirent64 *const entry = readdir64(directory)) {
            const char *const name = entry->d_name;
            entries += std::strcmp(name, "probe") == 0 || std::strcmp(name, "ao") == 0 ? 1 : 0;
        }
        closedir(directory);
    }
    expect(entries == 2, "readdir");
    char place[PATH_MAX];
    expect(realpath("/var/run/probe", place) != nullptr && access(place, F_OK) == 0, "realpath");
    expect(rmdir("/var/run/probe") == 0 && access(place, F_OK) == -1, "rmdir");
}

void checkPaths() {
    struct stat status = {};
    const char *const fifo = "/var/run/voxo/probe";
    expect(mkfifo(fifo, 0600) == 0, "mkfifo");
    expect(stat(fifo, &status) == 0 && S_ISFIFO(status.st_mode), "stat");
    expect(fstatat(AT_FDCWD, fifo, &status, 0) == 0, "fstatat");
    expect(access(fifo, F_OK) == 0, "access");
    expect(chmod(fifo, 0640) == 0 && stat(fifo, &status) == 0 && (status.st_mode & 0777) == 0640,
           "chmod");
    const int fd = open(fifo, O_RDWR | O_NONBLOCK);
    char buffer[8] = {};
    expect(write(fd, "abc", 3) == 3 && read(fd, buffer, sizeof buffer) == 3, "read");
    expect(unlink(fifo) == 0 && access(fifo, F_OK) == -1, "unlink");
    std::FILE *const file = std::fopen("/var/run/probe.pid", "w");
    expect(file != nullptr && std::fclose(file) == 0, "fopen");
    expect(std::remove("/var/run/probe.pid") == 0, "remove");
    expect(ftok("/usr/sbin/tessel", 'c') != -1, "ftok");
}

void checkSockets() {
    const int fd = socket(AF_UNIX, SOCK_DGRAM, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::strcpy(address.sun_path, "/var/run/voxo/probe.sock");
    expect(bind(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0, "bind");
    const int sender = socket(AF_UNIX, SOCK_DGRAM, 0);
    expect(connect(sender, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0, "connect");
    const int stranger = socket(AF_UNIX, SOCK_DGRAM, 0);
    expect(sendto(stranger, "x", 1, 0, reinterpret_cast<sockaddr *>(&address), sizeof address) == 1,
           "sendto");
    std::memset(address.sun_path, 'x', sizeof address.sun_path);
    std::memcpy(address.sun_path, "/var/run/", 9);
    expect(bind(stranger, reinterpret_cast<sockaddr *>(&address), sizeof address) == -1 &&
               errno == ENAMETOOLONG,
           "an address that is too long");
    expect(unlink("/var/run/voxo/probe.sock") == 0, "unlink the socket");
    openlog("probe", 0, LOG_USER);
    syslog(LOG_WARNING, "the probe says %d", 42);
}

} // namespace

int main() {
    checkDevices(O_RDWR);
    checkPaths();
    checkSockets();
    checkViews();
    checkPastTheTable();
    std::printf("probe: %d failures\n", failures);
    return failures == 0 ? 0 : 1;
}

// Where a camera's fixed paths lie on a PC: under a directory of the user's choice.
#pragma once

#include <sys/un.h>

#include <cstddef>

// Environment variables of a program on the board: the camera's directory, the moment at which the
// program was started (nanoseconds of the monotonic clock), and, if it is only to be seen whether
// the board loads into it, the mark of that. Such a program ends with boardIsLoaded before it
// begins.
constexpr char cameraDirVariable[] = "VCAM_DIR";
constexpr char startTimeVariable[] = "VCAM_START";
constexpr char probeVariable[] = "VCAM_PROBE";
constexpr int boardIsLoaded = 86;

// Files in the directory that are not the camera's own.
constexpr char cameraRegistersFile[] = "/board";
constexpr char cameraMemoryFile[] = "/memory";
constexpr char cameraAnswersFile[] = "/answers"; // of drivers in an earlier life

constexpr std::size_t cameraPathRoom = 8192; // a directory and a path, the longest of both

// The camera's own paths, all of them.
constexpr char runPath[] = "/var/run";
constexpr char devicesPath[] = "/dev";
constexpr char tesselSocketPath[] = "/tmp/tessel";
constexpr char tesselProgramPath[] = "/usr/sbin/tessel";
constexpr char logSocketPath[] = "/dev/log";
constexpr char streamSocketPath[] = "/var/run/voxo/c0/stream";
constexpr char controlFifoPath[] = "/var/run/voxo/c0/controlfifo";
constexpr char voxoPidPath[] = "/var/run/voxo.pid";
constexpr char otherConfigPath[] = "/var/run/voxo.xml"; // a link to the user's
constexpr char videoPidPath[] = "/var/run/venc.pid";
constexpr char encoderPidPath[] = "/var/run/aenc.pid";
constexpr char clipsPath[] = "/var/run/clips"; // where a clip gets a path that is short enough

// The drivers' files. In the camera's directory a link to the null device stands for each of them;
// opening one by the camera's path leads to the board's model instead. BoardDevices goes by this
// order.
constexpr const char *cameraDevicePaths[] = {
    "/dev/acodec", "/dev/ao", "/dev/logmpp", "/dev/mem", "/dev/mmz_userdev", "/dev/sys", "/dev/vb"};
bool isDevicePath(const char *path);

// Writes an absolute path without what changes nothing in it - "//", "/./", "/x/.." and a last '/'
// - to `plain`, which has room for as many characters.
void writePlainPath(const char *path, char *plain);

// Whether the camera looks for this plain path, so that it lies in the directory.
bool isCameraPath(const char *path);

// The place of `path`: in the directory if it is a camera's, else where it names. A path that is in
// the directory already stays. `buffer` has cameraPathRoom bytes; the result is `path` or `buffer`.
const char *placeOf(const char *dir, const char *path, char *buffer);

// The address of a local socket at `path`. `dirFd` is a descriptor of the directory, by which a
// place is reached whose name does not fit an address. Returns the address's length, or 0 when not
// even that fits.
std::size_t socketAddressOf(const char *dir, int dirFd, const char *path, sockaddr_un *address);

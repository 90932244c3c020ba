#include "vcam/camera/log_collector.h"

#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>
#include <string>

namespace {

constexpr int stopLookMilliSec = 50;
constexpr std::size_t messageRoom = 4096;

UniqueFd bindLog(const CameraDir &dir) {
    UniqueFd fd(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    const CameraDir::Address address = dir.socketAddress(logSocketPath);
    if (!fd ||
        bind(fd.get(), reinterpret_cast<const sockaddr *>(&address.address), address.length) != 0) {
        throw CameraError(std::string("cannot make the log socket: ") + std::strerror(errno));
    }
    return fd;
}

} // namespace

LogCollector::LogCollector(const CameraDir &dir)
    : socket_(bindLog(dir)), file_(dir.systemLog()),
      thread_([this](const std::stop_token &stop) { collect(stop); }) {}

LogCollector::~LogCollector() {
    thread_.request_stop();
    thread_.join();
}

void LogCollector::collect(const std::stop_token &stop) {
    for (;;) {
        pollfd waiting = {socket_.get(), POLLIN, 0};
        if (poll(&waiting, 1, stopLookMilliSec) <= 0) {
            if (stop.stop_requested()) {
                return;
            }
            continue;
        }
        char message[messageRoom];
        const ssize_t count = recv(socket_.get(), message, sizeof message, 0);
        if (count > 0) {
            std::string line(message, static_cast<std::size_t>(count));
            while (!line.empty() && line.back() == '\n') {
                line.pop_back();
            }
            file_.line(line);
        }
    }
}

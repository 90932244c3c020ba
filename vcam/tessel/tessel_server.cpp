#include "vcam/tessel/tessel_server.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <ctime>
#include <iomanip>
#include <sstream>
#include <utility>

namespace fs = std::filesystem;

namespace {

constexpr std::size_t requestRoom = 8192;
constexpr time_t requestSeconds = 1; // a caller that says nothing must not keep the others waiting
constexpr time_t replySeconds = 10;
constexpr int stopLookMilliSec = 50;
constexpr int backlog = 16;

UniqueFd listenAt(const CameraDir &dir, const fs::path &file) {
    fs::create_directories(file.parent_path());
    fs::remove(file);
    UniqueFd fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const CameraDir::Address address = dir.socketAddress(tesselSocketPath);
    if (!fd ||
        bind(fd.get(), reinterpret_cast<const sockaddr *>(&address.address), address.length) != 0 ||
        listen(fd.get(), backlog) != 0) {
        throw CameraError("cannot listen at " + file.string() + ": " + std::strerror(errno));
    }
    return fd;
}

void limitWait(int fd, time_t seconds) {
    timeval timeout = {};
    timeout.tv_sec = seconds;
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
}

std::string timeOfDay() {
    const auto now = std::chrono::system_clock::now();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    const auto milliseconds =
        std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() %
        1000;
    std::tm parts = {};
    localtime_r(&seconds, &parts);
    std::ostringstream out;
    out << std::put_time(&parts, "%H:%M:%S") << '.' << std::setw(3) << std::setfill('0')
        << milliseconds;
    return out.str();
}

} // namespace

TesselServer::TesselServer(const CameraDir &dir, std::function<void(const std::string &key)> onSet)
    : socketFile_(dir.place(tesselSocketPath)), snapshot_(dir.place(tesselProgramPath)),
      log_(dir.tesselLog()),
      tessel_(SettingsStore::ofCamera(),
              {.publish = [this](const SettingsStore &store) { return snapshot_.write(store); },
               .onSet = std::move(onSet),
               .log = [this](const std::string &line) { log_.line(timeOfDay() + "  " + line); }}),
      socket_(listenAt(dir, socketFile_)),
      thread_([this](const std::stop_token &stop) { serve(stop); }) {}

TesselServer::~TesselServer() {
    thread_.request_stop();
    thread_.join();
    std::error_code ignored;
    fs::remove(socketFile_, ignored);
}

void TesselServer::serve(const std::stop_token &stop) {
    while (!stop.stop_requested()) {
        pollfd waiting = {socket_.get(), POLLIN, 0};
        if (poll(&waiting, 1, stopLookMilliSec) <= 0) {
            continue;
        }
        const UniqueFd connection(accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC));
        if (connection) {
            handleConnection(connection.get());
        }
    }
}

void TesselServer::handleConnection(int fd) {
    limitWait(fd, requestSeconds);
    char request[requestRoom];
    const ssize_t count = recv(fd, request, sizeof request, 0);
    if (count <= 0) {
        return;
    }
    const std::string reply = tessel_.answer({request, static_cast<std::size_t>(count)});
    send(fd, reply.data(), reply.size(), MSG_NOSIGNAL);
}

std::string askTessel(const CameraDir &dir, const std::string &request) {
    const UniqueFd fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const CameraDir::Address address = dir.socketAddress(tesselSocketPath);
    if (!fd || connect(fd.get(), reinterpret_cast<const sockaddr *>(&address.address),
                       address.length) != 0) {
        throw CameraError("the settings daemon does not answer");
    }
    send(fd.get(), request.data(), request.size(), MSG_NOSIGNAL);
    limitWait(fd.get(), replySeconds);
    std::string reply;
    char part[1024];
    for (ssize_t count = 0; (count = recv(fd.get(), part, sizeof part, 0)) > 0;) {
        reply.append(part, static_cast<std::size_t>(count));
    }
    return reply;
}

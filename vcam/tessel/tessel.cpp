#include "vcam/tessel/tessel.h"

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
constexpr int stopLookMilliSec = 50;
constexpr int backlog = 16;

constexpr char accepted[] = "OK";
constexpr char refused[] = "ERROR";

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

// A text on one line: line feeds inside it shown, those at its end left out.
std::string onOneLine(std::string text) {
    while (!text.empty() && text.back() == '\n') {
        text.pop_back();
    }
    for (std::size_t at = 0; (at = text.find('\n', at)) != std::string::npos;) {
        text.replace(at, 1, " | ");
    }
    return text;
}

} // namespace

Tessel::Tessel(const CameraDir &dir, SettingsStore store,
               std::function<void(const std::string &key)> onSet)
    : socketFile_(dir.place(tesselSocketPath)), store_(std::move(store)), onSet_(std::move(onSet)),
      snapshot_(dir.place(tesselProgramPath)), log_(dir.tesselLog()),
      socket_(listenAt(dir, socketFile_)) {
    snapshot_.write(store_);
    thread_ = std::jthread([this](const std::stop_token &stop) { serve(stop); });
}

Tessel::~Tessel() {
    thread_.request_stop();
    thread_.join();
    std::error_code ignored;
    fs::remove(socketFile_, ignored);
}

void Tessel::serve(const std::stop_token &stop) {
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

void Tessel::handleConnection(int fd) {
    limitWait(fd, requestSeconds);
    char request[requestRoom];
    const ssize_t count = recv(fd, request, sizeof request, 0);
    if (count <= 0) {
        return;
    }
    const std::string text(request, static_cast<std::size_t>(count));
    const bool isShow = text == tesselShowRequest;
    const std::string reply = isShow ? answerShow() : answer(text);
    if (!isShow) {
        log(text, reply);
    }
    send(fd, reply.data(), reply.size(), MSG_NOSIGNAL);
}

std::string Tessel::answer(const std::string &request) {
    const std::size_t lineEnd = request.find('\n');
    if (lineEnd == std::string::npos) {
        return refused;
    }
    const std::string body = request.substr(lineEnd + 1);
    std::istringstream line(request.substr(0, lineEnd));
    std::string kind;
    line >> kind;
    if (kind == "get") {
        return store_.get(onOneLine(body)).value_or("");
    }
    return kind == "set" ? answerSet(body) : refused;
}

std::string Tessel::answerShow() const {
    std::string reply;
    for (const auto &[key, setting] : store_.settings()) {
        reply.append(key).append("=").append(store_.get(key).value_or("")).append("\n");
    }
    for (const auto &[key, value] : store_.states()) {
        reply.append(key).append("=").append(value).append("\n");
    }
    return reply;
}

std::string Tessel::answerSet(const std::string &body) {
    std::istringstream lines(body);
    for (std::string line; std::getline(lines, line);) {
        const std::size_t equals = line.find('=');
        if (equals == std::string::npos || equals == 0) {
            return refused;
        }
        const std::string key = line.substr(0, equals);
        SettingsStore changed = store_;
        changed.set(key, line.substr(equals + 1));
        if (!SettingsStore::isStatus(key)) {
            if (!snapshot_.write(changed)) {
                return refused;
            }
            onSet_(key);
        }
        store_ = std::move(changed);
    }
    return accepted;
}

void Tessel::log(const std::string &request, const std::string &reply) {
    log_.line(timeOfDay() + "  " + onOneLine(request) + "  ->  " + onOneLine(reply));
}

std::string askTessel(const CameraDir &dir, const std::string &request) {
    const UniqueFd fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const CameraDir::Address address = dir.socketAddress(tesselSocketPath);
    if (!fd || connect(fd.get(), reinterpret_cast<const sockaddr *>(&address.address),
                       address.length) != 0) {
        throw CameraError("the settings daemon does not answer");
    }
    send(fd.get(), request.data(), request.size(), MSG_NOSIGNAL);
    limitWait(fd.get(), 10);
    std::string reply;
    char part[1024];
    for (ssize_t count = 0; (count = recv(fd.get(), part, sizeof part, 0)) > 0;) {
        reply.append(part, static_cast<std::size_t>(count));
    }
    return reply;
}

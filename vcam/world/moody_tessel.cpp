#include "vcam/world/moody_tessel.h"

#include "vcam/camera/text_file.h"

#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>
#include <utility>

namespace fs = std::filesystem;

namespace {

constexpr std::size_t requestRoom = 8192;
constexpr int backlog = 16;
constexpr std::size_t largestCrowd = 64;
// It begins as one that says that talk is on.
const std::string garbage = '1' + std::string(3000, '\xEE');

struct MoodName {
    Mood mood;
    const char *name;
};
constexpr std::array<MoodName, 6> moodNames = {{{Mood::good, "good"},
                                                {Mood::slow, "slow"},
                                                {Mood::silent, "silent"},
                                                {Mood::garbage, "garbage"},
                                                {Mood::full, "full"},
                                                {Mood::gone, "gone"}}};

void sendAll(int fd, const std::string &text) {
    send(fd, text.data(), text.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
}

} // namespace

const Mood *moodNamed(const std::string &name) {
    const auto *const found = std::find_if(moodNames.begin(), moodNames.end(),
                                           [&](const MoodName &one) { return one.name == name; });
    return found != moodNames.end() ? &found->mood : nullptr;
}

const char *nameOf(Mood mood) {
    return std::find_if(moodNames.begin(), moodNames.end(),
                        [&](const MoodName &one) { return one.mood == mood; })
        ->name;
}

MoodyTessel::MoodyTessel(const CameraDir &dir, std::function<void(const std::string &key)> onSet,
                         std::function<void(const std::string &line)> log)
    : socketFile_(dir.place(tesselSocketPath)), address_(dir.socketAddress(tesselSocketPath)),
      snapshot_(dir.place(tesselProgramPath)),
      tessel_(SettingsStore::ofCamera(),
              {.publish = [this](const SettingsStore &store) { return snapshot_.write(store); },
               .onSet = std::move(onSet),
               .log = std::move(log)}) {
    listen();
}

MoodyTessel::~MoodyTessel() {
    std::error_code ignored;
    fs::remove(socketFile_, ignored);
}

void MoodyTessel::listen() {
    fs::create_directories(socketFile_.parent_path());
    fs::remove(socketFile_);
    socket_.reset(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!socket_ ||
        bind(socket_.get(), reinterpret_cast<const sockaddr *>(&address_.address),
             address_.length) != 0 ||
        ::listen(socket_.get(), mood_ == Mood::full ? 0 : backlog) != 0) {
        failAt("cannot listen at", socketFile_);
    }
}

void MoodyTessel::setMood(Mood mood, Moment delay) {
    mood_ = mood;
    delay_ = delay;
    --callers_; // who has called in vain may be in the queue
    crowd_.clear();
    waiting_.clear();
    if (mood == Mood::gone) {
        fs::remove(socketFile_);
        socket_.reset();
        return;
    }
    listen();
    if (mood == Mood::full) {
        fillQueue();
    }
}

void MoodyTessel::fillQueue() {
    while (crowd_.size() < largestCrowd) {
        UniqueFd caller(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
        if (connect(caller.get(), reinterpret_cast<const sockaddr *>(&address_.address),
                    address_.length) != 0) {
            return;
        }
        crowd_.push_back(std::move(caller));
    }
}

void MoodyTessel::set(const std::string &key, const std::string &value) {
    tessel_.answer("set NameValue 0 0 0\n" + key + "=" + value);
}

void MoodyTessel::accept() {
    for (;;) {
        UniqueFd connection(accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC));
        if (!connection) {
            return;
        }
        waiting_.push_back(std::move(connection));
    }
}

bool MoodyTessel::serve(std::uint32_t callers, Moment now, Agenda &agenda) {
    if (!socket_ || mood_ == Mood::full) {
        return false;
    }
    if (std::exchange(callers_, callers) != callers) {
        accept();
    }
    if (mood_ == Mood::silent) {
        return false;
    }
    bool answered = false;
    for (UniqueFd &connection : std::exchange(waiting_, {})) {
        answered = handle(std::move(connection), now, agenda) || answered;
    }
    return answered;
}

bool MoodyTessel::answerCaller(const std::string &reply) {
    accept();
    if (waiting_.empty()) {
        return false;
    }
    char request[requestRoom];
    const UniqueFd caller = std::move(waiting_.back());
    waiting_.clear();
    recv(caller.get(), request, sizeof request, MSG_DONTWAIT);
    sendAll(caller.get(), reply);
    return true;
}

// A caller that has not said anything yet waits on.
bool MoodyTessel::handle(UniqueFd connection, Moment now, Agenda &agenda) {
    char request[requestRoom];
    const ssize_t count = recv(connection.get(), request, sizeof request, MSG_DONTWAIT);
    if (count < 0 && errno == EAGAIN) {
        waiting_.push_back(std::move(connection));
        return false;
    }
    if (count <= 0) {
        return false;
    }
    const std::string reply = mood_ == Mood::garbage
                                  ? garbage
                                  : tessel_.answer({request, static_cast<std::size_t>(count)});
    if (mood_ != Mood::slow) {
        sendAll(connection.get(), reply);
        return true;
    }
    const auto late = std::make_shared<UniqueFd>(std::move(connection));
    agenda.add(now + delay_, [late, reply] { sendAll(late->get(), reply); });
    return false;
}

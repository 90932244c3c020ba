// The settings daemon on the virtual clock: the same mind as on the wall's, and moods.
#pragma once

#include "base/unique_fd.h"
#include "vcam/camera/camera.h"
#include "vcam/tessel/snapshot.h"
#include "vcam/tessel/tessel.h"
#include "vcam/world/virtual_clock.h"

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

enum class Mood {
    good,
    slow,    // answers late
    silent,  // takes requests and never answers
    garbage, // answers what makes no sense
    full,    // has more callers waiting than its queue takes
    gone,    // nobody listens
};

// The mood of this name, or none.
const Mood *moodNamed(const std::string &name);
const char *nameOf(Mood mood);

class MoodyTessel {
public:
    // `onSet` hears of each setting that is set, `log` of each request and its reply.
    MoodyTessel(const CameraDir &dir, std::function<void(const std::string &key)> onSet,
                std::function<void(const std::string &line)> log);
    MoodyTessel(const MoodyTessel &) = delete;
    MoodyTessel &operator=(const MoodyTessel &) = delete;
    ~MoodyTessel();

    // `delay` is how late a slow one answers.
    void setMood(Mood mood, Moment delay);
    Mood mood() const { return mood_; }

    // Sets one of the camera's settings, as another of the camera's processes would.
    void set(const std::string &key, const std::string &value);

    // Answers whoever has called last and waits, whatever was asked, and hangs up. False: nobody
    // does.
    bool answerCaller(const std::string &reply);

    // Publishes settings as another daemon's segment held them.
    void publish(std::span<const unsigned char> image) { snapshot_.write(image); }

    // What a setting is.
    std::optional<std::string> get(const std::string &key) const { return tessel_.get(key); }

    // Keeps readers out of the snapshot, as one does who writes it; or lets them in again.
    void holdSnapshot(bool isHeld) { snapshot_.hold(isHeld); }

    // Takes the requests that are there, and answers, now or by the agenda. `callers` grows when
    // the daemon calls. True: a reply is sent.
    bool serve(std::uint32_t callers, Moment now, Agenda &agenda);

private:
    void listen();
    void fillQueue();
    void accept();
    bool handle(UniqueFd connection, Moment now, Agenda &agenda);

    std::filesystem::path socketFile_;
    CameraDir::Address address_;
    Snapshot snapshot_;
    Tessel tessel_;
    UniqueFd socket_;
    std::vector<UniqueFd> waiting_; // callers whose requests are not there yet, or never answered
    std::vector<UniqueFd> crowd_;   // callers that fill the queue
    std::uint32_t callers_ = 0;     // of whom all have been accepted
    Mood mood_ = Mood::good;
    Moment delay_ = 0;
};

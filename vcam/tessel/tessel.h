// The settings daemon's mind: one request in, one reply out.
#pragma once

#include "vcam/tessel/settings_store.h"

#include <functional>
#include <optional>
#include <string>

// A request of this program's own, which is not logged: everything held, as lines KEY=VALUE.
constexpr char tesselShowRequest[] = "show";

// What a settings daemon does besides answering.
struct TesselDeeds {
    // Publishes the settings in the snapshot. False: they do not fit.
    std::function<bool(const SettingsStore &store)> publish;
    // Hears of each setting that was set, before the reply.
    std::function<void(const std::string &key)> onSet;
    // Writes a request and its reply down, on one line.
    std::function<void(const std::string &line)> log;
};

class Tessel {
public:
    // Publishes the settings that it starts with.
    Tessel(SettingsStore store, TesselDeeds deeds);

    // Carries out a request and returns the reply.
    std::string answer(const std::string &request);

    // What a setting or a status is, if it is known.
    std::optional<std::string> get(const std::string &key) const { return store_.get(key); }

private:
    std::string answerLogged(const std::string &request);
    std::string answerSet(const std::string &body);
    std::string answerShow() const;

    SettingsStore store_;
    TesselDeeds deeds_;
};

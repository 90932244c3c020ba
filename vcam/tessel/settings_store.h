// The settings and status values that the settings daemon holds.
#pragma once

#include <map>
#include <optional>
#include <string>

// The daemon hears of a change of this one by a SIGHUP.
constexpr char volumeSetting[] = "audioout_c0_volume";

struct Setting {
    std::string value;
    std::string alias;      // another setting's key, whose value is this one's; empty: none
    bool isFetched = false; // the snapshot leaves the value out, so that it is asked for
};

// Keys are paths of names joined by '_'. Those that begin with "status_" are values that come and
// go; the snapshot holds none of them.
class SettingsStore {
public:
    // What a camera has from the start.
    static SettingsStore ofCamera();

    std::optional<std::string> get(const std::string &key) const;
    void set(const std::string &key, const std::string &value);
    void setAlias(const std::string &key, const std::string &target);
    void setFetched(const std::string &key, const std::string &value);

    const std::map<std::string, Setting> &settings() const { return settings_; }
    const std::map<std::string, std::string> &states() const { return states_; }

    static bool isStatus(const std::string &key);

private:
    std::map<std::string, Setting> settings_;
    std::map<std::string, std::string> states_;
};

#include "vcam/world/trace_scenario.h"

#include "settings/settings_lookup.h"
#include "vcam/camera/camera_paths.h"
#include "vcam/camera/text_file.h"
#include "vcam/sender/message_sender.h"
#include "vcam/tessel/settings_store.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <utility>

namespace fs = std::filesystem;

namespace {

constexpr Moment afterLife = nanosecondsPerSecond;
constexpr char twoWayKey[] = "status_onlinenum_sip";
constexpr std::size_t valueRoom = 64;

const char *nameOfSignal(std::uint32_t signal) {
    switch (signal) {
    case SIGTERM:
        return "TERM";
    case SIGINT:
        return "INT";
    default:
        return "HUP";
    }
}

class ScenarioWriter {
public:
    ScenarioWriter(const TraceLife &life, fs::path directory)
        : life_(life), directory_(std::move(directory)) {}

    Scenario write() {
        scenario_.about = "A recorded life.";
        for (std::size_t i = 0; i < life_.size(); ++i) {
            take(i);
        }
        endMessage();
        scenario_.until = TraceLife::timeOf(life_.records().back()) + afterLife;
        return scenario_;
    }

private:
    Step &add(const TraceRecord &record, const std::string &verb, const std::string &object) {
        return scenario_.steps.emplace_back(Step{TraceLife::timeOf(record), verb, object, {}, {}});
    }

    void take(std::size_t at) {
        const TraceRecord &record = life_.records()[at];
        switch (record.kind()) {
        case TraceKind::datagram:
            if (record.call.result >= 0) {
                add(record, "record", hexadecimal(record.data.data(), record.data.size()));
            }
            break;
        case TraceKind::message:
            message_ += record.call.result > 0 ? record.text() : "";
            messageAt_ = message_.empty() ? messageAt_ : TraceLife::timeOf(record);
            break;
        case TraceKind::wait:
            if (static_cast<TraceWait>(record.call.more) == TraceWait::select) {
                endMessage();
            }
            break;
        case TraceKind::signal:
            add(record, "signal", nameOfSignal(record.call.argument));
            break;
        case TraceKind::request:
            asksTwoWay_ = record.text().find(twoWayKey) != std::string::npos;
            break;
        case TraceKind::reply:
            takeReply(record);
            break;
        case TraceKind::segment:
            takeSettings(record);
            break;
        case TraceKind::open:
            takeFile(at);
            break;
        default:
            break;
        }
    }

    // What was read of the FIFO between two waits.
    void endMessage() {
        if (!message_.empty()) {
            scenario_.steps.push_back(
                {messageAt_, "bytes", hexadecimal(message_.data(), message_.size()), {}, {}});
            message_.clear();
        }
    }

    // Two-way audio has changed before the question that tells.
    void takeReply(const TraceRecord &record) {
        const std::string now = std::atoi(record.text().c_str()) == 1 ? "on" : "off";
        if (asksTwoWay_ && record.call.result > 0 && now != talk_) {
            talk_ = now;
            const auto end = scenario_.steps.end();
            const auto place = scenario_.steps.empty() ? end : end - 1;
            const Moment at = place == end ? TraceLife::timeOf(record) : place->at;
            scenario_.steps.insert(place, {at, "talk", now, {}, {}});
        }
    }

    // What has changed of the settings that the daemon uses.
    void takeSettings(const TraceRecord &record) {
        const SettingsTree tree(record.data.data(), record.data.size());
        const SettingsStore before = settings_;
        for (const auto &[key, setting] : before.settings()) {
            char value[valueRoom] = {};
            if (settingsLookUp(tree, key.c_str(), value, sizeof value) == SettingsLookup::found &&
                setting.value != value) {
                settings_.set(key, value);
                addSetting(key, value);
            }
        }
    }

    // It was there when the daemon started, or before the SIGHUP that told of it.
    void addSetting(const std::string &key, const std::string &value) {
        std::vector<Step> &steps = scenario_.steps;
        const auto told = std::find_if(steps.rbegin(), steps.rend(), [](const Step &step) {
            return step.verb == "signal" && step.object == "HUP";
        });
        const auto place = told == steps.rend() ? steps.begin() : told.base() - 1;
        const Moment at = told == steps.rend() ? 0 : told->at;
        Step set = {at, "set", key, {{"to", value}}, {}};
        if (told != steps.rend() && key == volumeSetting) {
            *place = std::move(set); // the SIGHUP comes with it
        } else {
            steps.insert(place, std::move(set));
        }
    }

    void takeFile(std::size_t at) {
        const TraceRecord &record = life_.records()[at];
        const std::string contents =
            TraceLife::opensFile(record) && record.call.result >= 0 ? life_.contentsOf(at) : "";
        if (contents.empty() || record.text().ends_with(".pid")) {
            return;
        }
        const std::string name = "clip-" + std::to_string(++files_) + ".wav";
        writeFile(directory_ / name, contents);
        std::string path = record.text();
        if (!isCameraPath(path.c_str())) {
            path = std::string(clipsPath) + "/" + name;
            renameIn(record.text(), path);
        }
        Step file = {0, "file", path, {{"from", name}}, {}};
        scenario_.steps.insert(scenario_.steps.begin(), std::move(file));
    }

    // Names another clip in the message that has named this one.
    void renameIn(const std::string &from, const std::string &to) {
        const std::string old = locationMessage(from);
        const std::string now = locationMessage(to);
        const std::string digits = hexadecimal(old.data(), old.size());
        for (Step &step : scenario_.steps) {
            const std::size_t found =
                step.verb == "bytes" ? step.object.find(digits) : std::string::npos;
            if (found != std::string::npos) {
                step.object.replace(found, digits.size(), hexadecimal(now.data(), now.size()));
            }
        }
    }

    const TraceLife &life_;
    fs::path directory_;
    Scenario scenario_;
    std::string message_; // begun
    Moment messageAt_ = 0;
    bool asksTwoWay_ = false;
    std::string talk_ = "off";
    SettingsStore settings_ = SettingsStore::ofCamera(); // so far
    int files_ = 0;
};

} // namespace

Scenario scenarioOf(const TraceLife &life, const fs::path &directory) {
    return ScenarioWriter(life, directory).write();
}

#include "vcam/tessel/settings_store.h"

namespace {

constexpr int aliasLimit = 16;

} // namespace

SettingsStore SettingsStore::ofCamera() {
    SettingsStore store;
    store.set("capability_audio_audioclip", "1");
    store.set(volumeSetting, "80");
    store.set("status_onlinenum_sip", "0");
    store.set("status_audioclip_playing", "0");
    return store;
}

bool SettingsStore::isStatus(const std::string &key) {
    return key.starts_with("status_");
}

std::optional<std::string> SettingsStore::get(const std::string &key) const {
    if (const auto state = states_.find(key); state != states_.end()) {
        return state->second;
    }
    std::string name = key;
    for (int hops = 0; hops <= aliasLimit; ++hops) {
        const auto found = settings_.find(name);
        if (found == settings_.end()) {
            return std::nullopt;
        }
        if (found->second.alias.empty()) {
            return found->second.value;
        }
        name = found->second.alias;
    }
    return std::nullopt;
}

void SettingsStore::set(const std::string &key, const std::string &value) {
    if (isStatus(key)) {
        states_[key] = value;
    } else {
        Setting &setting = settings_[key];
        setting.value = value;
        setting.alias.clear();
    }
}

void SettingsStore::setAlias(const std::string &key, const std::string &target) {
    settings_[key].alias = target;
}

void SettingsStore::setFetched(const std::string &key, const std::string &value) {
    settings_[key] = {value, "", true};
}

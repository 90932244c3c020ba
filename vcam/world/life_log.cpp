#include "vcam/world/life_log.h"

#include "vcam/camera/text_file.h"

#include <cinttypes>
#include <cstdio>

LifeLog::LifeLog(const std::filesystem::path &file, bool remembers) : remembers_(remembers) {
    if (!file.empty()) {
        out_.open(file, std::ios::trunc);
        if (!out_) {
            failAt("cannot write", file);
        }
    }
}

void LifeLog::add(Moment at, Voice voice, const std::string &text) {
    Digest &digest = digests_[index(voice)];
    digest.add(&at, sizeof at);
    digest.add(text.c_str(), text.size() + 1);
    ++counts_[index(voice)];
    if (out_.is_open()) {
        out_ << shownMoment(at) << "  " << nameOf(voice) << "  " << text << '\n';
    }
    if (remembers_) {
        lines_.push_back({at, voice, text});
    }
}

std::string shownMoment(Moment at) {
    char text[40];
    std::snprintf(text, sizeof text, "%6" PRIu64 ".%06" PRIu64, at / nanosecondsPerSecond,
                  at % nanosecondsPerSecond / nanosecondsPerMicrosecond);
    return text;
}

const char *nameOf(Voice voice) {
    switch (voice) {
    case Voice::daemon:
        return "voxo  ";
    case Voice::systemLog:
        return "syslog";
    case Voice::tessel:
        return "tessel";
    default:
        return "camera";
    }
}

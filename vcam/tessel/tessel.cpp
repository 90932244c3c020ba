#include "vcam/tessel/tessel.h"

#include <sstream>
#include <utility>

namespace {

constexpr char accepted[] = "OK";
constexpr char refused[] = "ERROR";

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

Tessel::Tessel(SettingsStore store, TesselDeeds deeds)
    : store_(std::move(store)), deeds_(std::move(deeds)) {
    deeds_.publish(store_);
}

std::string Tessel::answer(const std::string &request) {
    if (request == tesselShowRequest) {
        return answerShow();
    }
    std::string reply = answerLogged(request);
    deeds_.log(onOneLine(request) + "  ->  " + onOneLine(reply));
    return reply;
}

std::string Tessel::answerLogged(const std::string &request) {
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
            if (!deeds_.publish(changed)) {
                return refused;
            }
            deeds_.onSet(key);
        }
        store_ = std::move(changed);
    }
    return accepted;
}

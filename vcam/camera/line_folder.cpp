#include "vcam/camera/line_folder.h"

#include <algorithm>
#include <utility>

namespace {

constexpr std::size_t remembered = 32;

} // namespace

LineFolder::LineFolder(std::function<void(const std::string &line)> show)
    : show_(std::move(show)) {}

void LineFolder::line(const std::string &text) {
    if (std::find(recent_.begin(), recent_.end(), text) != recent_.end()) {
        ++folded_;
        return;
    }
    flush();
    show_(text);
    recent_.push_back(text);
    if (recent_.size() > remembered) {
        recent_.pop_front();
    }
}

void LineFolder::flush() {
    if (const std::size_t count = std::exchange(folded_, 0); count > 0) {
        show_("    (" + std::to_string(count) + " more lines like those above)");
    }
}

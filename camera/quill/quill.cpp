#include "camera/quill/quill.h"

#include "base/unique_file.h"
#include "base/unique_memory.h"

#include <expat.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {

constexpr char blanks[] = " \t\r\n";

// A text that grows; memory that runs out empties it and stays remembered.
class Text {
public:
    void clear() { length_ = 0; }

    void append(const char *part, std::size_t length) {
        if (failed_ || length >= limit - length_) {
            failed_ = true;
            return;
        }
        if (length_ + length + 1 > room_ && !grow(length_ + length + 1)) {
            failed_ = true;
            return;
        }
        std::memcpy(memory_.get() + length_, part, length);
        length_ += length;
        memory_.get()[length_] = '\0';
    }

    void cutTo(std::size_t length) {
        length_ = length;
        if (memory_ != nullptr) {
            memory_.get()[length] = '\0';
        }
    }

    bool hasFailed() const { return failed_; }
    std::size_t length() const { return length_; }

    // Terminated; without the blanks around it.
    char *trimmed() {
        if (memory_ == nullptr || length_ == 0) {
            return empty_;
        }
        char *const first = memory_.get() + std::strspn(memory_.get(), blanks);
        char *last = memory_.get() + length_;
        while (last > first && std::strchr(blanks, last[-1]) != nullptr) {
            --last;
        }
        *last = '\0';
        return first;
    }

    const char *get() const { return memory_ != nullptr && length_ > 0 ? memory_.get() : ""; }

private:
    static constexpr std::size_t limit = std::size_t{1} << 20;

    bool grow(std::size_t size) {
        const std::size_t room = std::max(size, 2 * room_);
        auto *const memory = static_cast<char *>(std::realloc(memory_.get(), room));
        if (memory == nullptr) {
            return false;
        }
        static_cast<void>(memory_.release());
        memory_.reset(memory);
        room_ = room;
        return true;
    }

    UniqueMemory<char> memory_;
    std::size_t length_ = 0;
    std::size_t room_ = 0;
    bool failed_ = false;
    char empty_[1] = {};
};

// What the parser's handlers work on.
struct Reading {
    XML_Parser parser;
    const QUILL_ROW *table;
    Text path; // of the innermost open element
    Text text; // read since its start or its last child
    bool refused;
};

void refuse(Reading &reading) {
    reading.refused = true;
    XML_StopParser(reading.parser, XML_FALSE);
}

void storeText(const QUILL_ROW &row, const char *text) {
    if (row.size > 0) {
        auto *const field = static_cast<char *>(row.destination);
        const std::size_t length = strnlen(text, row.size - 1);
        std::memcpy(field, text, length);
        std::memset(field + length, 0, row.size - length);
    }
}

bool storeInteger(const QUILL_ROW &row, const char *text) {
    char *end = nullptr;
    errno = 0;
    const long value = std::strtol(text, &end, 10);
    const auto number = static_cast<std::int32_t>(value);
    if (end == text || *end != '\0' || errno != 0 || number != value || row.size < sizeof number) {
        return false;
    }
    std::memcpy(row.destination, &number, sizeof number);
    return true;
}

bool store(const QUILL_ROW &row, const char *text) {
    switch (row.kind) {
    case QUILL_KIND_TEXT:
        storeText(row, text);
        return true;
    case QUILL_KIND_INTEGER:
        return storeInteger(row, text);
    case QUILL_KIND_CONVERTED:
        return row.converter != nullptr && row.converter(text, row.destination) == 0;
    default:
        return false;
    }
}

void onStart(void *data, const char *name, const char ** /*attributes*/) {
    auto &reading = *static_cast<Reading *>(data);
    reading.path.append("/", 1);
    reading.path.append(name, std::strlen(name));
    reading.text.clear();
}

void onText(void *data, const char *text, int length) {
    static_cast<Reading *>(data)->text.append(text, static_cast<std::size_t>(length));
}

void onEnd(void *data, const char *name) {
    auto &reading = *static_cast<Reading *>(data);
    if (reading.path.hasFailed() || reading.text.hasFailed()) {
        refuse(reading);
        return;
    }
    const char *const text = reading.text.trimmed();
    for (const QUILL_ROW *row = reading.table; row->path != nullptr; ++row) {
        if (std::strcmp(row->path, reading.path.get()) == 0 && !store(*row, text)) {
            refuse(reading);
            return;
        }
    }
    reading.text.clear();
    reading.path.cutTo(reading.path.length() - std::strlen(name) - 1);
}

struct ParserFreer {
    void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
};
using UniqueParser = std::unique_ptr<XML_ParserStruct, ParserFreer>;

bool parseFile(std::FILE *file, XML_Parser parser) {
    char part[4096];
    for (;;) {
        const std::size_t length = std::fread(part, 1, sizeof part, file);
        if (std::ferror(file) != 0) {
            return false;
        }
        const bool isLast = length < sizeof part;
        if (XML_Parse(parser, part, static_cast<int>(length), isLast ? XML_TRUE : XML_FALSE) !=
            XML_STATUS_OK) {
            return false;
        }
        if (isLast) {
            return true;
        }
    }
}

} // namespace

int Quill_ReadAll(const char *path, const QUILL_ROW *table) {
    const UniqueFile file(std::fopen(path, "re"));
    const UniqueParser parser(XML_ParserCreate(nullptr));
    if (file == nullptr || parser == nullptr) {
        return -1;
    }
    Reading reading = {parser.get(), table, {}, {}, false};
    XML_SetUserData(parser.get(), &reading);
    XML_SetElementHandler(parser.get(), onStart, onEnd);
    XML_SetCharacterDataHandler(parser.get(), onText);
    return parseFile(file.get(), parser.get()) && !reading.refused ? 0 : -1;
}

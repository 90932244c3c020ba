#include "camera/message/message.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {

// What a handler works on. Handlers are given the parser, which some of them stop.
template <typename Reading>
Reading &readingOf(void *parser) {
    return *static_cast<Reading *>(XML_GetUserData(static_cast<XML_Parser>(parser)));
}

// Entities could make a few bytes cost seconds, and no message needs any.
void onDoctype(void *parser, const char * /*name*/, const char * /*system*/,
               const char * /*publicId*/, int /*hasSubset*/) {
    XML_StopParser(static_cast<XML_Parser>(parser), XML_FALSE);
}

// Parses a body from a fresh start with the given handlers. False: not well-formed, or with a
// document type declaration.
bool parse(XML_Parser parser, const char *body, std::uint32_t length, void *data,
           XML_StartElementHandler onStart, XML_EndElementHandler onEnd,
           XML_CharacterDataHandler onText) {
    if (length > INT32_MAX || XML_ParserReset(parser, nullptr) != XML_TRUE) {
        return false;
    }
    XML_SetUserData(parser, data);
    XML_UseParserAsHandlerArg(parser);
    XML_SetStartDoctypeDeclHandler(parser, onDoctype);
    XML_SetElementHandler(parser, onStart, onEnd);
    XML_SetCharacterDataHandler(parser, onText);
    return XML_Parse(parser, body, static_cast<int>(length), XML_TRUE) == XML_STATUS_OK;
}

const char *findAttribute(const char **attributes, const char *name) {
    for (; attributes[0] != nullptr; attributes += 2) {
        if (std::strcmp(attributes[0], name) == 0) {
            return attributes[1];
        }
    }
    return nullptr;
}

// The number that a text starts with; one beyond 32 bits counts as the widest.
std::uint32_t numberOf(const char *text) {
    const unsigned long long number = text != nullptr ? std::strtoull(text, nullptr, 10) : 0;
    return static_cast<std::uint32_t>(std::min<unsigned long long>(number, UINT32_MAX));
}

struct ControlReading {
    MESSAGE_CONTROL_ENTRY *entries;
    std::uint32_t room;
    std::uint32_t count;
};

void onControl(void *parser, const char *name, const char **attributes) {
    auto &reading = readingOf<ControlReading>(parser);
    if (std::strcmp(name, "control") != 0 || reading.count >= reading.room) {
        return;
    }
    MESSAGE_CONTROL_ENTRY &entry = reading.entries[reading.count++];
    entry = {};
    entry.word[MESSAGE_ENTRY_CLASS] = numberOf(findAttribute(attributes, "class"));
    entry.word[MESSAGE_ENTRY_VALUE] = numberOf(findAttribute(attributes, "value"));
}

struct DataReading {
    bool hasType;
    std::uint32_t type;
    bool hasText; // a data element was met
    bool isOpen;  // within the first data element
    char *buffer;
    std::uint32_t room;
    std::uint32_t length;
};

void onDataStart(void *parser, const char *name, const char **attributes) {
    auto &reading = readingOf<DataReading>(parser);
    if (std::strcmp(name, "data") != 0 || reading.hasText) {
        return;
    }
    const char *const type = findAttribute(attributes, "type");
    reading.hasType = type != nullptr;
    reading.type = numberOf(type);
    reading.hasText = true;
    reading.isOpen = true;
}

void onDataEnd(void *parser, const char *name) {
    if (std::strcmp(name, "data") == 0) {
        readingOf<DataReading>(parser).isOpen = false;
    }
}

void onDataText(void *parser, const char *text, int length) {
    auto &reading = readingOf<DataReading>(parser);
    if (reading.isOpen) {
        const std::uint32_t fits =
            std::min(static_cast<std::uint32_t>(length), reading.room - reading.length);
        std::copy_n(text, fits, reading.buffer + reading.length);
        reading.length += fits;
    }
}

bool parseData(XML_Parser parser, const char *body, std::uint32_t length, DataReading *reading) {
    return parse(parser, body, length, reading, onDataStart, onDataEnd, onDataText);
}

} // namespace

int Message_GetTypeLength(const unsigned char *header, std::uint32_t count, std::uint32_t *type,
                          std::uint32_t *headerLength, std::uint32_t *bodyLength) {
    if (count < MESSAGE_HEADER_LENGTH || header[0] < MESSAGE_TYPE_FIRST ||
        header[0] > MESSAGE_TYPE_LAST || header[1] < MESSAGE_HEADER_LENGTH) {
        return -1;
    }
    *type = header[0];
    *headerLength = header[1];
    *bodyLength = header[2] | static_cast<std::uint32_t>(header[3]) << 8;
    return 0;
}

int Message_Parse_Control(XML_Parser parser, const char *body, std::uint32_t bodyLength,
                          std::uint32_t *entryCount, MESSAGE_CONTROL_ENTRY *entries) {
    ControlReading reading = {entries, *entryCount, 0};
    if (!parse(parser, body, bodyLength, &reading, onControl, nullptr, nullptr)) {
        return -1;
    }
    *entryCount = reading.count;
    return 0;
}

std::uint32_t Message_GetDataType(XML_Parser parser, const char *body, std::uint32_t bodyLength) {
    DataReading reading = {};
    if (!parseData(parser, body, bodyLength, &reading)) {
        return MESSAGE_DATA_MALFORMED;
    }
    return reading.hasType ? reading.type : MESSAGE_DATA_INCOMPLETE;
}

int Message_Parse_SingleData(XML_Parser parser, const char *body, std::uint32_t bodyLength,
                             char *buffer, std::uint32_t size) {
    if (size == 0) {
        return -1;
    }
    DataReading reading = {};
    reading.buffer = buffer;
    reading.room = size - 1;
    if (!parseData(parser, body, bodyLength, &reading) || !reading.hasText) {
        return -1;
    }
    buffer[reading.length] = '\0';
    return 0;
}

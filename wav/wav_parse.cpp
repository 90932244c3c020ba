#include "wav/wav_parse.h"

#include "base/shown.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr std::uint64_t chunkHeaderSize = 8;
constexpr std::uint64_t firstChunkOffset = 12;
constexpr std::uint32_t extendedFmtSize = 18;
constexpr std::uint64_t cbSizeOffset = 24;
constexpr std::uint64_t widestOffset = UINT32_MAX;
constexpr std::uint32_t formatPcm = 1;

// A chunk ID as a number whose most significant byte is its first character.
constexpr std::uint32_t chunkId(const char (&text)[5]) {
    std::uint32_t id = 0;
    for (int i = 0; i < 4; ++i) {
        id = id << 8 | static_cast<unsigned char>(text[i]);
    }
    return id;
}

constexpr std::uint64_t padded(std::uint64_t size) {
    return size + (size & 1);
}

bool seekTo(const WAV_FILE *wav, std::uint64_t offset) {
    return lseek(wav->descriptor, static_cast<off_t>(offset), SEEK_SET) >= 0;
}

// Reads an unsigned little-endian integer of 1 to 4 bytes.
bool readNumber(const WAV_FILE *wav, std::size_t bytes, std::uint32_t *value) {
    unsigned char raw[4] = {};
    if (read(wav->descriptor, raw, bytes) != static_cast<ssize_t>(bytes)) {
        return false;
    }
    *value = 0;
    if (wav->littleEndian != 0) {
        std::memcpy(value, raw, bytes);
        return true;
    }
    for (std::size_t i = 0; i < bytes; ++i) {
        *value |= static_cast<std::uint32_t>(raw[i]) << (8 * i);
    }
    return true;
}

std::uint32_t idOf(const unsigned char (&raw)[4]) {
    return static_cast<std::uint32_t>(raw[0]) << 24 | static_cast<std::uint32_t>(raw[1]) << 16 |
           static_cast<std::uint32_t>(raw[2]) << 8 | raw[3];
}

enum class IdRead { whole, endOfFile, broken };

IdRead readId(const WAV_FILE *wav, std::uint32_t *id) {
    unsigned char raw[4] = {};
    const ssize_t count = read(wav->descriptor, raw, sizeof raw);
    *id = idOf(raw);
    if (count == 0) {
        return IdRead::endOfFile;
    }
    return count == static_cast<ssize_t>(sizeof raw) ? IdRead::whole : IdRead::broken;
}

void setSize(WAV_CHUNK *chunk, std::uint64_t size) {
    chunk->size = static_cast<std::uint32_t>(size);
    chunk->paddedSize = static_cast<std::uint32_t>(padded(size));
}

WAV_CHUNK *appendChunk(WAV_FILE *wav, std::uint32_t type, std::uint32_t size,
                       std::uint64_t offset) {
    auto *const chunk = static_cast<WAV_CHUNK *>(std::calloc(1, sizeof(WAV_CHUNK)));
    if (chunk == nullptr) {
        return nullptr;
    }
    chunk->type = type;
    chunk->offset = static_cast<std::uint32_t>(offset);
    setSize(chunk, size);
    WAV_CHUNK **tail = &wav->chunks;
    while (*tail != nullptr) {
        tail = &(*tail)->next;
    }
    *tail = chunk;
    return chunk;
}

bool hasChunk(const WAV_FILE *wav, std::uint32_t type) {
    for (const WAV_CHUNK *chunk = wav->chunks; chunk != nullptr; chunk = chunk->next) {
        if (chunk->type == type) {
            return true;
        }
    }
    return false;
}

bool parseRiffHeader(WAV_FILE *wav, std::uint64_t fileSize) {
    std::uint32_t id = 0;
    if (!seekTo(wav, 0) || readId(wav, &id) != IdRead::whole) {
        return false;
    }
    if (id != chunkId("RIFF")) {
        std::printf("[wav] : No RIFF? At offset %d\n", 0);
        return false;
    }
    std::uint32_t size = 0;
    if (!readNumber(wav, 4, &size) || appendChunk(wav, WAV_CHUNK_RIFF, size, 0) == nullptr) {
        return false;
    }
    if (fileSize < padded(size) + chunkHeaderSize || padded(size) > widestOffset) {
        std::puts("[wav] : Header or data is corrupted?");
        return false;
    }
    if (readId(wav, &id) != IdRead::whole) {
        return false;
    }
    if (id != chunkId("WAVE")) {
        std::printf("[wav] : No WAVE? At offset %d.\n", 8);
        return false;
    }
    return true;
}

// Tells what kind of chunk the ID announces; false, with a message, when it may not stand there.
bool classify(const WAV_FILE *wav, std::uint32_t id, std::uint64_t offset, std::uint32_t *type) {
    struct KnownChunk {
        std::uint32_t id;
        std::uint32_t type;
        const char *name;
    };
    static constexpr KnownChunk known[] = {{chunkId("data"), WAV_CHUNK_DATA, "data"},
                                           {chunkId("fact"), WAV_CHUNK_FACT, "fact"},
                                           {chunkId("fmt "), WAV_CHUNK_FMT, "fmt"},
                                           {chunkId("RIFF"), WAV_CHUNK_RIFF, "RIFF"},
                                           {chunkId("WAVE"), WAV_CHUNK_RIFF, "WAVE"}};
    for (const KnownChunk &chunk : known) {
        if (chunk.id != id) {
            continue;
        }
        if (hasChunk(wav, chunk.type)) {
            std::printf("[wav] : Duplicate %s? At offset %d.\n", chunk.name, shown(offset));
            return false;
        }
        *type = chunk.type;
        return true;
    }
    std::printf("[wav] : Unknown ID 0x%x. At offset %d.\n", id, shown(offset));
    return false;
}

// Adds the cbSize that a "fmt " chunk of exactly 18 bytes announces to the chunk's size.
bool extendFmtChunk(const WAV_FILE *wav, std::uint64_t offset, std::uint64_t *size) {
    std::uint32_t cbSize = 0;
    if (!seekTo(wav, offset + cbSizeOffset) || !readNumber(wav, 2, &cbSize)) {
        return false;
    }
    *size += cbSize;
    return true;
}

void reportLastChunk() {
    std::puts("[wav] : Last chunk is corrupted?");
}

bool parseChunk(WAV_FILE *wav, std::uint32_t id, std::uint64_t *offset) {
    std::uint32_t type = 0;
    std::uint32_t sizeField = 0;
    if (!classify(wav, id, *offset, &type) || !readNumber(wav, 4, &sizeField)) {
        return false;
    }
    WAV_CHUNK *const chunk = appendChunk(wav, type, sizeField, *offset);
    if (chunk == nullptr) {
        return false;
    }
    std::uint64_t size = sizeField;
    if (type == WAV_CHUNK_FMT && sizeField == extendedFmtSize) {
        if (!extendFmtChunk(wav, *offset, &size)) {
            return false;
        }
        setSize(chunk, size);
    }
    // A body that begins or whose padded size lies past 32 bits cannot be recorded.
    if (*offset + chunkHeaderSize > widestOffset || padded(size) > widestOffset) {
        reportLastChunk();
        return false;
    }
    *offset += chunkHeaderSize + padded(size);
    return true;
}

// Lists the chunks behind the RIFF header, up to the end of the file.
bool listChunks(WAV_FILE *wav, std::uint64_t fileSize) {
    std::uint64_t offset = firstChunkOffset;
    while (offset <= widestOffset) {
        std::uint32_t id = 0;
        if (!seekTo(wav, offset)) {
            return false;
        }
        const IdRead result = readId(wav, &id);
        if (result == IdRead::endOfFile) {
            break;
        }
        if (result == IdRead::broken || !parseChunk(wav, id, &offset)) {
            return false;
        }
    }
    // Past the widest offset a chunk cannot be recorded, so a file that goes on there is no better
    // than one that ends too soon.
    if (fileSize < offset || (offset > widestOffset && fileSize > offset)) {
        reportLastChunk();
        return false;
    }
    return true;
}

bool readFormatFields(WAV_FILE *wav, const WAV_CHUNK *chunk) {
    if (!seekTo(wav, std::uint64_t{chunk->offset} + chunkHeaderSize) ||
        !readNumber(wav, 2, &wav->formatTag)) {
        return false;
    }
    if (wav->formatTag != formatPcm) {
        std::printf("[wav] : Unsupported audio format %d.\n", static_cast<int>(wav->formatTag));
        return false;
    }
    if (!readNumber(wav, 2, &wav->channels) || (wav->channels != 1 && wav->channels != 2)) {
        return false;
    }
    if (!readNumber(wav, 4, &wav->sampleRate) || !readNumber(wav, 4, &wav->byteRate) ||
        !readNumber(wav, 2, &wav->blockAlign) || !readNumber(wav, 2, &wav->bitsPerSample)) {
        return false;
    }
    if (wav->bitsPerSample != 8 && wav->bitsPerSample != 16) {
        return false;
    }
    wav->extra = 0;
    return chunk->size != extendedFmtSize || readNumber(wav, 2, &wav->extra);
}

bool parseFmt(WAV_FILE *wav, const WAV_CHUNK *chunk) {
    if (!readFormatFields(wav, chunk)) {
        return false;
    }
    if (wav->blockAlign != wav->bitsPerSample / 8 * wav->channels) {
        std::puts("[wav] : 'blockalign' field mismatch?");
        return false;
    }
    if (wav->byteRate != std::uint64_t{wav->sampleRate} * wav->blockAlign) {
        std::puts("[wav] : 'byterate' field mismatch?");
        return false;
    }
    return true;
}

void takeData(WAV_FILE *wav, const WAV_CHUNK *chunk) {
    wav->dataOffset = chunk->offset + static_cast<std::uint32_t>(chunkHeaderSize);
    wav->readPosition = wav->dataOffset;
    wav->dataBytes = chunk->paddedSize;
}

bool parseListedChunks(WAV_FILE *wav) {
    for (const WAV_CHUNK *chunk = wav->chunks; chunk != nullptr; chunk = chunk->next) {
        if (chunk->type == WAV_CHUNK_FMT && !parseFmt(wav, chunk)) {
            return false;
        }
        if (chunk->type == WAV_CHUNK_DATA) {
            takeData(wav, chunk);
        }
    }
    return true;
}

} // namespace

std::int32_t wavParse(WAV_FILE *wav, std::uint64_t fileSize) {
    wav->chunks = nullptr;
    wav->dataOffset = 0;
    wav->readPosition = 0;
    wav->dataBytes = 0;
    if (!parseRiffHeader(wav, fileSize) || !listChunks(wav, fileSize)) {
        return -1;
    }
    if (!hasChunk(wav, WAV_CHUNK_FMT)) {
        std::puts("[wav] : No fmt?");
        return -1;
    }
    if (!hasChunk(wav, WAV_CHUNK_DATA)) {
        std::puts("[wav] : No data?");
        return -1;
    }
    return parseListedChunks(wav) ? 0 : -1;
}

void wavFreeChunks(WAV_FILE *wav) {
    while (wav->chunks != nullptr) {
        WAV_CHUNK *const next = wav->chunks->next;
        std::free(wav->chunks);
        wav->chunks = next;
    }
}

// WAV reader: opens a RIFF/WAVE clip, checks it, and hands out its sample bytes block by block.
//
// Accepted is uncompressed PCM (format tag 1) with one or two channels of 16-bit little-endian
// samples. The chunks known are "RIFF", "fmt ", "fact" and "data" (Microsoft/IBM, Multimedia
// Programming Interface and Data Specifications 1.0); any other makes the file unreadable.
//
// Sizes and offsets have 32 bits, unsigned: files up to 4 GiB are read, also on a 32-bit processor,
// and what reaches past that is refused as corrupted. From 2 GiB on the numbers that are printed,
// and the field fileSize, are negative.
//
// All state of an open file lives in its handle, which one thread uses at a time. Operations return
// 0 on success and -1 on failure unless said otherwise; the reason of a failure is printed on
// standard output behind "[wav] : ".
#pragma once

#include <cstdint>

enum : std::uint32_t {
    WAV_CHUNK_RIFF = 0,
    WAV_CHUNK_FMT = 1,
    WAV_CHUNK_FACT = 2,
    WAV_CHUNK_DATA = 3,
};

constexpr std::uint32_t WAV_NAME_LENGTH = 129;

// One chunk of an open file.
struct WAV_CHUNK {
    std::uint32_t type;       // WAV_CHUNK_...
    std::uint32_t size;       // the chunk's size field; for an 18-byte "fmt " plus its cbSize
    std::uint32_t paddedSize; // size rounded up to even
    std::uint32_t offset;     // file offset of the chunk's ID; 0 for the RIFF header
    WAV_CHUNK *next;          // in file order, or null
};

// One open file. Made by WAV_Initial, freed by WAV_Release; the fields are for reading only.
struct WAV_FILE {
    std::uint32_t littleEndian;     // 1 when the host stores integers little-endian
    char name[WAV_NAME_LENGTH + 1]; // the path given at open, cut to 129 characters
    std::int32_t descriptor;        // -1 while not open
    std::int32_t fileSize;          // bytes, taken right after opening; 2 GiB and more: negative
    std::uint32_t formatTag;        // 1, PCM
    std::uint32_t channels;         // 1 or 2
    std::uint32_t sampleRate;       // samples per second and channel
    std::uint32_t bitsPerSample;    // 16
    std::uint32_t blockAlign;       // bytes per sample frame
    std::uint32_t byteRate;         // bytes per second
    std::uint32_t extra;            // cbSize of a "fmt " chunk of exactly 18 bytes, else 0
    std::uint32_t dataOffset;       // file offset of the first sample byte
    std::uint32_t readPosition;     // file offset of the next byte WAV_GetBuffer delivers
    std::uint32_t dataBytes;        // the data chunk's size rounded up to even
    WAV_CHUNK *chunks;              // owned; the RIFF header first
};

struct WAV_INFO {
    std::uint32_t formatTag;
    std::uint32_t channels;
    std::uint32_t sampleRate;
    std::uint32_t bitsPerSample;
    std::uint32_t byteRate;
    std::uint32_t dataBytes;
    std::uint32_t fileSize;
    std::uint32_t duration; // milliseconds
};

// Opens and checks the file at `path` (at most its first 129 characters are used) and stores its
// handle in *handle, which the caller gives back with WAV_Release. On failure *handle is untouched
// and nothing stays open. Never waits. Devices and pipes are not opened, and nothing is read
// of what is no regular file, or an empty one.
std::int32_t WAV_Initial(WAV_FILE **handle, const char *path);

// Closes the file, frees the handle and sets *handle to null; -1 when either pointer is null.
std::int32_t WAV_Release(WAV_FILE **handle);

// Prints the description of the file and of each chunk; -1 for a null handle.
std::int32_t WAV_ShowInfo(const WAV_FILE *handle);

// Reads the next bytes into `buffer`. *count: in, the buffer's room in bytes; out, the bytes
// delivered, fewer than the room at the end of the file and 0 past it. Whatever is stored behind
// the data chunk is delivered too. -1 with *count untouched when the read fails; the handle stays
// usable.
std::int32_t WAV_GetBuffer(WAV_FILE *handle, void *buffer, std::uint32_t *count);

// Goes back to the first sample; -1 for a null handle, and where it could not, which changes
// nothing.
std::int32_t WAV_Rewind(WAV_FILE *handle);

// Single values; 0 for a null handle (WAV_GetFormat: 1).
std::uint32_t WAV_GetFormat(const WAV_FILE *handle);
std::uint32_t WAV_GetChannel(const WAV_FILE *handle);
std::uint32_t WAV_GetSampleRate(const WAV_FILE *handle);
std::uint32_t WAV_GetBitsPerSample(const WAV_FILE *handle);
std::uint32_t WAV_GetByteRate(const WAV_FILE *handle);
std::uint32_t WAV_GetDataBytes(const WAV_FILE *handle);
std::uint32_t WAV_GetFileSize(const WAV_FILE *handle);

// Length of the data in milliseconds, truncated; 0 for a null handle or a byte rate of 0.
std::uint32_t WAV_GetDuration(const WAV_FILE *handle);

// Fills `info`; -1 when either pointer is null.
std::int32_t WAV_GetInfo(const WAV_FILE *handle, WAV_INFO *info);

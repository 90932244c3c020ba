#include "wav/wav.h"

#include "base/shown.h"
#include "wav/wav_parse.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <bit>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

[[gnu::used, gnu::retain]] constexpr char ident[] = "$Id: 1.0.0.1 wav 2011/09/16 19:00:00 $";

constexpr std::uint32_t samplesAccepted = 16;

void freeFile(WAV_FILE *wav) {
    wavFreeChunks(wav);
    if (wav->descriptor >= 0) {
        close(wav->descriptor);
    }
    std::free(wav);
}

// What may do something when it is merely opened: devices, and pipes, whose writers are woken.
bool isLeftAlone(const char *path) {
    struct stat status = {};
    return stat(path, &status) == 0 &&
           (S_ISCHR(status.st_mode) || S_ISBLK(status.st_mode) || S_ISFIFO(status.st_mode));
}

// Whether the file can be a clip. From the others nothing is read: another process may wait for it.
bool isClip(const struct stat &status) {
    return S_ISREG(status.st_mode) && status.st_size > 0;
}

bool openNamed(WAV_FILE *wav) {
    // Whatever has come to the path since it was looked at keeps nobody waiting, and no terminal
    // becomes the daemon's.
    wav->descriptor = open(wav->name, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (wav->descriptor < 0) {
        std::printf("[wav] : Open %s fail.\n", wav->name);
        return false;
    }
    return true;
}

bool parseOpened(WAV_FILE *wav) {
    struct stat status = {};
    if (fstat(wav->descriptor, &status) != 0 || !isClip(status)) {
        return false;
    }
    wav->fileSize = static_cast<std::int32_t>(status.st_size);
    wav->littleEndian = std::endian::native == std::endian::little ? 1 : 0;
    return wavParse(wav, static_cast<std::uint64_t>(status.st_size)) == 0 && WAV_Rewind(wav) == 0;
}

bool openWav(WAV_FILE *wav) {
    const bool isUnopened = isLeftAlone(wav->name);
    if (!isUnopened && !openNamed(wav)) {
        return false;
    }
    if (isUnopened || !parseOpened(wav)) {
        std::printf("[wav] : Parse %s fail.\n", wav->name);
        return false;
    }
    if (wav->bitsPerSample != samplesAccepted) {
        std::puts("[wav] : Only support 16-bit samples at present.");
        return false;
    }
    return true;
}

void showChunk(const WAV_CHUNK &chunk) {
    static constexpr const char *names[] = {"RIFF", "fmt", "fact", "data"};
    std::printf("[wav] : --- %s chunk ---\n", names[chunk.type]);
    std::printf("[wav] : \tOffset = %d\n", shown(chunk.offset));
    std::printf("[wav] : \tSize = %d\n", shown(chunk.size));
    std::printf("[wav] : \tSizePadding = %d\n", shown(chunk.paddedSize));
}

void showFormat(const WAV_FILE &wav) {
    std::printf("[wav] : File = %s\n", wav.name);
    std::printf("[wav] : File size = %d\n", wav.fileSize);
    std::printf("[wav] : Format = %s\n", "PCM");
    std::printf("[wav] : Channel = %d\n", shown(wav.channels));
    std::printf("[wav] : SamepleRate = %d\n", shown(wav.sampleRate));
    std::printf("[wav] : ByteRate = %d\n", shown(wav.byteRate));
    std::printf("[wav] : BlockAlign = %d\n", shown(wav.blockAlign));
    std::printf("[wav] : BitsPerSample = %d\n", shown(wav.bitsPerSample));
    std::printf("[wav] : Extra = %d\n", shown(wav.extra));
}

} // namespace

std::int32_t WAV_Initial(WAV_FILE **handle, const char *path) {
    if (handle == nullptr || path == nullptr) {
        std::puts("[wav] : Initial argument is NULL?");
        return -1;
    }
    auto *const wav = static_cast<WAV_FILE *>(std::calloc(1, sizeof(WAV_FILE)));
    if (wav == nullptr) {
        std::puts("[wav] : Allocate wav memory fail.");
        return -1;
    }
    wav->descriptor = -1;
    std::memcpy(wav->name, path, strnlen(path, WAV_NAME_LENGTH));
    if (!openWav(wav)) {
        freeFile(wav);
        return -1;
    }
    *handle = wav;
    return 0;
}

std::int32_t WAV_Release(WAV_FILE **handle) {
    if (handle == nullptr || *handle == nullptr) {
        return -1;
    }
    freeFile(*handle);
    *handle = nullptr;
    return 0;
}

std::int32_t WAV_ShowInfo(const WAV_FILE *handle) {
    if (handle == nullptr) {
        return -1;
    }
    showFormat(*handle);
    std::puts("[wav] : ---------------- Chunk info ----------------");
    for (const WAV_CHUNK *chunk = handle->chunks; chunk != nullptr; chunk = chunk->next) {
        showChunk(*chunk);
    }
    std::puts("[wav] : ");
    std::puts("[wav] : ---------------- Data info ----------------");
    std::printf("[wav] : \tOffset of samples = %d\n", static_cast<int>(handle->dataOffset));
    std::printf("[wav] : \tBytes = %d\n", static_cast<int>(handle->dataBytes));
    return 0;
}

std::int32_t WAV_GetBuffer(WAV_FILE *handle, void *buffer, std::uint32_t *count) {
    if (handle == nullptr || buffer == nullptr || count == nullptr) {
        return -1;
    }
    const ssize_t delivered = read(handle->descriptor, buffer, *count);
    if (delivered < 0) {
        std::printf("[wav] : WAV_GetBuffer fail, errno %d\n", errno);
        return -1;
    }
    handle->readPosition += static_cast<std::uint32_t>(delivered);
    *count = static_cast<std::uint32_t>(delivered);
    return 0;
}

std::int32_t WAV_Rewind(WAV_FILE *handle) {
    if (handle == nullptr) {
        return -1;
    }
    if (lseek(handle->descriptor, static_cast<off_t>(handle->dataOffset), SEEK_SET) < 0) {
        return -1;
    }
    handle->readPosition = handle->dataOffset;
    return 0;
}

std::uint32_t WAV_GetFormat(const WAV_FILE *handle) {
    return handle != nullptr ? handle->formatTag : 1;
}

std::uint32_t WAV_GetChannel(const WAV_FILE *handle) {
    return handle != nullptr ? handle->channels : 0;
}

std::uint32_t WAV_GetSampleRate(const WAV_FILE *handle) {
    return handle != nullptr ? handle->sampleRate : 0;
}

std::uint32_t WAV_GetBitsPerSample(const WAV_FILE *handle) {
    return handle != nullptr ? handle->bitsPerSample : 0;
}

std::uint32_t WAV_GetByteRate(const WAV_FILE *handle) {
    return handle != nullptr ? handle->byteRate : 0;
}

std::uint32_t WAV_GetDataBytes(const WAV_FILE *handle) {
    return handle != nullptr ? handle->dataBytes : 0;
}

std::uint32_t WAV_GetFileSize(const WAV_FILE *handle) {
    return handle != nullptr ? static_cast<std::uint32_t>(handle->fileSize) : 0;
}

std::uint32_t WAV_GetDuration(const WAV_FILE *handle) {
    if (handle == nullptr || handle->byteRate == 0) {
        return 0;
    }
    return static_cast<std::uint32_t>(std::uint64_t{handle->dataBytes} * 1000 / handle->byteRate);
}

std::int32_t WAV_GetInfo(const WAV_FILE *handle, WAV_INFO *info) {
    if (handle == nullptr || info == nullptr) {
        return -1;
    }
    *info = {WAV_GetFormat(handle),        WAV_GetChannel(handle),  WAV_GetSampleRate(handle),
             WAV_GetBitsPerSample(handle), WAV_GetByteRate(handle), WAV_GetDataBytes(handle),
             WAV_GetFileSize(handle),      WAV_GetDuration(handle)};
    return 0;
}

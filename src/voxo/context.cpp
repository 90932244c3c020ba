#include "src/voxo/context.h"

VoxoContext voxoContext;

volatile std::sig_atomic_t reloadVolume;
volatile std::sig_atomic_t quitRequested;

char pidFilePath[128];
WAV_FILE *wavHandle;
std::int32_t clipStart;
std::int32_t clipOpen;

alignas(16) std::uint8_t recvBuf[voxoBufferSize];
std::uint32_t recvLength;
alignas(16) std::int16_t decodeBuf[voxoBufferSamples];
alignas(16) std::int16_t stereoBuf[voxoBufferSamples];
alignas(16) std::int16_t matchBuf[voxoBufferSamples];

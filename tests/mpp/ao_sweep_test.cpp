// Every driver command and piece of memory of every operation, refused in turn: the operation ends
// with a result, holds nothing that it should have given back, and the next sound plays exactly.
#include "tests/mpp/mpp_fixture.h"

namespace {

using namespace driverCommand;

struct Operation {
    const char *name;
    std::function<void()> prepare;
    std::function<std::int32_t()> run;
};

TestFrame &soundFrame() {
    static TestFrame frame(1280, AUDIO_SOUND_MODE_MONO);
    return frame;
}

std::int32_t sendSound() {
    return HI_MPI_AO_SendFrame(0, 0, &soundFrame().frame, 0);
}

void nothing() {}
void enable() {
    HI_MPI_AO_Enable(0);
    HI_MPI_AO_EnableChn(0, 0);
}
void enableWithSound() {
    enable();
    sendSound();
}
void enableResampling() {
    enableWithSound();
    HI_MPI_AO_EnableReSmp(0, 0, 16000);
}

const Operation operations[] = {
    {"start", nothing, HI_MPI_SYS_Init},
    {"video buffers", nothing, HI_MPI_VB_Init},
    {"enable device", nothing, [] { return HI_MPI_AO_Enable(0); }},
    {"enable", [] { HI_MPI_AO_Enable(0); }, [] { return HI_MPI_AO_EnableChn(0, 0); }},
    {"disable", enableWithSound, [] { return HI_MPI_AO_DisableChn(0, 0); }},
    {"disable with resampling", enableResampling, [] { return HI_MPI_AO_DisableChn(0, 0); }},
    {"send", enableWithSound, sendSound},
    {"send resampled", enableResampling, sendSound},
    {"clear", enableWithSound, [] { return HI_MPI_AO_ClearChnBuf(0, 0); }},
    {"clear with resampling", enableResampling, [] { return HI_MPI_AO_ClearChnBuf(0, 0); }},
    {"resample", enable, [] { return HI_MPI_AO_EnableReSmp(0, 0, 16000); }},
    {"compress", enable, [] { return HI_MPI_AO_EnableMBC(0, 0); }},
};

using AoSweepTest = MppTest;

// A block that is not mapped, unmapped or freed stays allocated.
bool isBlockCommand(std::uint32_t command) {
    return command == mmzMap || command == mmzUnmap || command == mmzFree;
}

void expectExactSound() {
    const AIO_ATTR_S attr = attributes(640, AUDIO_SOUND_MODE_MONO);
    ASSERT_EQ(0, HI_MPI_AO_SetPubAttr(0, &attr));
    ASSERT_EQ(0, HI_MPI_AO_Enable(0));
    HI_MPI_AO_DisableReSmp(0, 0);
    HI_MPI_AO_DisableMBC(0, 0);
    EXPECT_EQ(0, HI_MPI_AO_DisableChn(0, 0));
    EXPECT_EQ(0U, device().held().memory);
    EXPECT_EQ(0, HI_MPI_AO_EnableChn(0, 0));
    Bytes heard;
    device().watch(aoSend, [&](const void *record) { heard = periodOf(record, 0); });
    EXPECT_EQ(0, sendSound());
    EXPECT_EQ(0, sendSound());
    EXPECT_EQ(soundFrame().left, heard);
    EXPECT_EQ(0, HI_MPI_AO_DisableChn(0, 0));
}

TEST_F(AoSweepTest, LeavesTheModuleUsable) {
    for (const Operation &operation : operations) {
        for (int n = 1, isMemory = 0; isMemory < 2; ++n) {
            int &countdown = isMemory != 0 ? device().failingMemory : device().failingCommand;
            device().reset();
            const AIO_ATTR_S attr = attributes(640, AUDIO_SOUND_MODE_MONO);
            ASSERT_EQ(0, HI_MPI_AO_SetPubAttr(0, &attr));
            messages([&] {
                operation.prepare();
                device().clearCalls();
                countdown = n;
                operation.run();
            });
            const bool failed = countdown == 0;
            const bool ofBlock =
                failed && isMemory == 0 &&
                isBlockCommand(device().commands().at(static_cast<std::size_t>(n) - 1));
            device().reset();
            messages([&] { expectExactSound(); });
            // What the zones' driver does not take back stays with it, and nothing else does.
            EXPECT_EQ(ofBlock ? 1U : 0U, device().held().blocks);
            device().takeBlocksBack();
            ASSERT_FALSE(HasFailure())
                << operation.name << ", " << n << (isMemory != 0 ? " memory" : "");
            if (!failed) {
                EXPECT_GT(n + isMemory, 1) << operation.name;
                n = 0;
                ++isMemory;
            }
        }
    }
}

} // namespace

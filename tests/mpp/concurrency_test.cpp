// What may happen at once. Under ThreadSanitizer this is the proof; elsewhere it must at least end.
#include "tests/mpp/mpp_fixture.h"

#include <thread>

namespace {

constexpr int rounds = 300;

class ConcurrencyTest : public MppTest {
protected:
    ConcurrencyTest() {
        configure(); // slot 0 is open before threads share it
        device().keepsCalls = false;
    }

    template <typename... Code>
    static void atOnce(Code... code) {
        std::vector<std::thread> threads;
        (threads.emplace_back([code] {
            for (int i = 0; i < rounds; ++i) {
                code(i);
            }
        }),
         ...);
        for (std::thread &thread : threads) {
            thread.join();
        }
    }
};

TEST_F(ConcurrencyTest, ChannelsRunInParallel) {
    const auto life = [](std::uint32_t chn) {
        return [chn](int i) {
            const TestFrame frame(1280);
            HI_MPI_AO_EnableChn(0, chn);
            HI_MPI_AO_SendFrame(0, chn, &frame.frame, 0);
            if (i % 8 == 0) {
                HI_MPI_AO_DisableChn(0, chn);
            }
        };
    };
    atOnce(life(0), life(1), life(15));
}

TEST_F(ConcurrencyTest, OneChannelIsUsedByMany) {
    pretend(attributes(640, AUDIO_SOUND_MODE_MONO));
    HI_MPI_AO_EnableChn(0, 0); // opens the zones' device
    const std::size_t descriptors = device().held().descriptors;
    messages([] {
        atOnce(
            [](int) {
                const TestFrame frame(2000, AUDIO_SOUND_MODE_MONO);
                HI_MPI_AO_SendFrame(0, 14, &frame.frame, 0);
            },
            [](int) { HI_MPI_AO_ClearChnBuf(0, 14); },
            [](int i) {
                HI_MPI_AO_EnableChn(0, 14);
                if (i % 4 == 0) {
                    HI_MPI_AO_DisableChn(0, 14);
                }
            },
            [](int) {
                HI_MPI_AO_EnableReSmp(0, 14, 16000);
                HI_MPI_AO_DisableReSmp(0, 14);
            },
            [](int) { HI_MPI_AO_PauseChn(0, 14); });
    });
    EXPECT_EQ(descriptors + 1, device().held().descriptors); // the first uses met
}

TEST_F(ConcurrencyTest, BindingsChangeUnderDelivery) {
    const BIND_SENDER_S sender = {7, 1, 4, [](auto, auto, const BIND_DEST_S *) {}};
    const BIND_RECEIVER_S receiver = {40, 1, 8,
                                      [](auto dev, auto chn, auto, auto, void *) {
                                          const BIND_CHN_S self = {40, dev, chn};
                                          BIND_CHN_S source = {};
                                          SYS_GetBindbyDest(&self, &source);
                                          return 0;
                                      },
                                      [](auto, auto, void *) {}};
    ASSERT_EQ(0, SYS_BIND_RegisterSender(&sender));
    ASSERT_EQ(0, SYS_BIND_RegisterReceiver(&receiver));
    const auto rebind = [](std::uint32_t chn) {
        return [chn](int) {
            const BIND_CHN_S source = {7, 0, 1};
            const BIND_CHN_S destination = {40, 0, chn};
            SYS_Bind(&source, &destination);
            SYS_UnBind(&destination);
        };
    };
    messages([&] {
        atOnce(rebind(0), rebind(1), [](int) {
            std::uint32_t data = 0;
            SYS_BIND_SendData(7, 0, 1, 0, 0, &data);
            SYS_BIND_ResetData(7, 0, 1, &data);
        });
    });
    EXPECT_EQ(0, SYS_BIND_UnRegisterReceiver(40));
    EXPECT_EQ(0, SYS_BIND_UnRegisterSender(7));
}

} // namespace

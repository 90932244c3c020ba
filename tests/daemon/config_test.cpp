#include "src/voxo/config.h"

#include "tests/daemon/daemon_fixture.h"
#include "vcam/tessel/snapshot.h"

namespace {

using namespace driverCommand;

TEST(CodecName, BecomesAFourCharacterCode) {
    for (const auto &[text, expected] :
         {std::pair("g711", codeG711), {"G711A", codeG711}, {"aac", 0x20434141U}}) {
        std::uint32_t code = 0;
        EXPECT_EQ(0, voxoStrToFourCC(text, &code));
        EXPECT_EQ(expected, code) << text;
    }
}

class ConfigTest : public DaemonTest {
protected:
    // Publishes the settings with this volume.
    void publish(const std::string &volume) {
        SettingsStore store = SettingsStore::ofCamera();
        store.set("audioout_c0_volume", volume);
        snapshot_ = std::make_unique<Snapshot>(dir_.path() / "usr/sbin/tessel");
        ASSERT_TRUE(snapshot_->write(store));
    }

    std::unique_ptr<Snapshot> snapshot_;
};

TEST_F(ConfigTest, TurnsVolumeIntoGain) {
    const struct {
        const char *volume;
        int capability, read, gain;
    } cases[] = {{"0", 1, 0, 91},         {"1", 1, 1, 91},          {"50", 1, 50, 46},
                 {"100", 1, 100, 0},      {"100", 0, 100, 30},      {"loud", 1, 0, 91},
                 {"1000", 1, 1000, -819}, {"99999", 1, 9999, -9008}};
    for (const auto &[volume, capability, read, gain] : cases) {
        voxoContext.audioclipCapability = capability;
        publish(volume);
        const bool isTaken = gain >= 0; // by the codec
        const std::string out =
            outputOf([&] { EXPECT_EQ(isTaken ? 0 : -1, voxoSetVolume(&voxoContext)); });
        EXPECT_TRUE(out.starts_with("dwVolume = " + std::to_string(read) +
                                    ", dwGain = " + std::to_string(gain) + "\n"))
            << out;
        EXPECT_EQ(isTaken, !out.ends_with("[voxo] src/voxo:#: Set audio volume failed!\n"));
        EXPECT_EQ(isTaken ? "" : "warning Set audio volume failed!\n", takeSystemLog());
        EXPECT_EQ(gain, device().callsOf(acodecSetLeftVolume).back().as<std::int32_t>());
    }
}

TEST_F(ConfigTest, LearnsTheClipCapability) {
    voxoContext.audioclipCapability = 5;
    errorsOf([] { // nobody has published anything
        EXPECT_EQ("[voxo] src/voxo:#: Get audioclip failed!\n",
                  outputOf([] { EXPECT_EQ(-1, voxoGetAudioclipCapability(&voxoContext)); }));
    });
    EXPECT_EQ(0, voxoContext.audioclipCapability);
    EXPECT_EQ("warning Get audioclip failed!\n", takeSystemLog());
    publish("1");
    EXPECT_EQ(0, voxoGetAudioclipCapability(&voxoContext));
    EXPECT_EQ(1, voxoContext.audioclipCapability);
}

TEST_F(ConfigTest, ReadsTheFile) {
    const std::string path = (dir_.path() / "voxo.xml").string();
    path.copy(voxoContext.configPath, sizeof voxoContext.configPath - 1);
    std::ofstream(path) << "<root><audioout><aencpid>/var/run/aenc.pid</aencpid><c0><device><node>"
                           "a node of more than fifteen</node></device><volume>33</volume><s0>"
                           "<socket> /tmp/s </socket></s0><capability><codectype>g711</codectype>"
                           "</capability></c0></audioout></root>";
    voxoContext.decoder.fourCC = 0;
    EXPECT_EQ("config file parse OK!!\n",
              outputOf([] { EXPECT_EQ(0, voxoParseConfig(&voxoContext)); }));
    EXPECT_STREQ("/var/run/aenc.pid", voxoContext.aencPidPath);
    EXPECT_STREQ("a node of more ", voxoContext.deviceNode);
    EXPECT_EQ(33, voxoContext.dwVolume);
    EXPECT_STREQ("/tmp/s", voxoContext.socketPath);
    EXPECT_EQ(codeG711, voxoContext.decoder.fourCC);
    for (const char *volume : {"", "x", "1x", "2147483648", "1</x>"}) {
        std::ofstream(path) << "<root><audioout><c0><volume>" << volume
                            << "</volume></c0></audioout></root>";
        EXPECT_EQ("config file parse failed!!\n",
                  outputOf([] { EXPECT_EQ(-1, voxoParseConfig(&voxoContext)); }));
    }
}

} // namespace

// Frames, attributes and answers of the driver in any order: no byte outside the buffers is touched
// and nothing stays allocated; on a driver that behaves, every byte is then handed over once.
#include "fuzz/fuzz.h"
#include "tests/mpp/ao_model.h"

namespace {

// What the driver answers.
struct Script {
    std::uint32_t attr[9];
    std::uint32_t place, word; // of a period's record that the driver changes
    bool isRefusing;
} script;

constexpr AO_VQE_ATTR_S vqe = {8000, 640, {}};

std::int32_t (*const calls[])() = {
    [] { return HI_MPI_AO_ClearChnBuf(0, 0); },  [] { return HI_MPI_AO_DisableChn(0, 0); },
    [] { return HI_MPI_AO_EnableChn(0, 0); },    [] { return HI_MPI_AO_EnableReSmp(0, 0, 48000); },
    [] { return HI_MPI_AO_DisableReSmp(0, 0); }, [] { return HI_MPI_AO_SetVqeAttr(0, 0, &vqe); },
    [] { return HI_MPI_AO_EnableVqe(0, 0); },    [] { return HI_MPI_AO_DisableVqe(0, 0); },
    [] { return HI_MPI_AO_EnableMBC(0, 0); },    [] { return HI_MPI_AO_DisableMBC(0, 0); },
};

void followScript() {
    script = {{8000, 1, 0, 0, 1, 30, 640, 2, 0}, 9, 0, false};
    device().reset();
    device().keepsCalls = false;
    const AIO_ATTR_S attr = attributes();
    require(HI_MPI_AO_SetPubAttr(0, &attr) == 0 && HI_MPI_AO_Enable(0) == 0, "there is a device");
    device().answer(driverCommand::aoGetAttr, telling(script.attr));
    device().answer(driverCommand::aoSend, [](void *record) {
        auto *const words = static_cast<std::uint32_t *>(record);
        for (std::uint32_t k = 0; k <= words[1]; ++k) {
            require(periodOf(record, k).size() <= AO_PERIOD_MAX, "a period is not too long");
        }
        words[script.place] = script.word;
        return script.isRefusing ? -1 : 0;
    });
}

// A frame as long as it says, or one that says what no frame may.
void send(Input &input) {
    const std::uint32_t form = input.number(1);
    TestFrame frame(input.below(16400), form & 1, form >> 1 & 3);
    frame.frame.u32Len |= form >= 0xF0 ? input.number(4) | 0x8000 : 0;
    frame.frame.pVirAddr[form & 1] = form >> 3 == 1 ? nullptr : frame.frame.pVirAddr[form & 1];
    HI_MPI_AO_SendFrame(0, 0, &frame.frame, static_cast<std::int32_t>(form >> 4) - 2);
}

} // namespace

void fuzz(Input input) {
    static const std::int32_t started = HI_MPI_SYS_Init();
    followScript();
    require(started == 0 && HI_MPI_AO_EnableChn(0, 0) == 0, "the channel can be enabled");
    for (std::uint32_t acts = input.below(64); acts > 0; --acts) {
        const std::uint32_t act = input.below(20);
        if (act < std::size(calls)) {
            calls[act]();
        } else if (act < 14) {
            script.attr[input.below(9)] = input.number(4);
        } else if (act < 16) {
            script.place = input.below(30);
            script.word = input.number(4);
            script.isRefusing = input.below(2) != 0;
        } else {
            send(input);
        }
    }
    followScript();
    HI_MPI_AO_DisableChn(0, 0);
    require(device().held().blocks == 0 && device().held().memory == 0, "nothing stays allocated");
    AoModel model([&](std::uint32_t end) { return input.below(end); });
    while (!input.isEmpty()) {
        model.step();
    }
    require(model.mistakes() == 0, "every byte is handed over once");
    HI_MPI_AO_DisableChn(0, 0);
}

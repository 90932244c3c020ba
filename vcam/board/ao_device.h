// The audio output, "/dev/ao": the side of its queue that takes periods from senders.
#pragma once

#include "vcam/board/board.h"

struct AoSendRecord;

class AoDevice : public BoardDevice {
public:
    using BoardDevice::BoardDevice;
    int command(BoardFile &file, std::uint32_t command, void *record) override;

private:
    int channelCommand(std::uint32_t channel, std::uint32_t command, void *record);
    int deviceCommand(std::uint32_t command, void *record);
    int setAttr(const std::uint32_t *attr);
    int enable();
    int disable();
    int enableChannel(AoChannelRegisters &channel);
    void disableChannel(AoChannelRegisters &channel);
    int send(std::uint32_t channel, const AoSendRecord &record);
    bool waitForRoom(const AoChannelRegisters &channel, std::int32_t milliSec);
    void clear(AoChannelRegisters &channel);
    void announce();
};

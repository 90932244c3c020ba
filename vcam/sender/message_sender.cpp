#include "vcam/sender/message_sender.h"

#include "camera/message/message.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

std::string framedMessage(std::uint32_t type, const std::string &body) {
    unsigned char header[MESSAGE_HEADER_LENGTH];
    Message_PutHeader(header, type, static_cast<std::uint32_t>(body.size()));
    return std::string(reinterpret_cast<const char *>(header), sizeof header) + body;
}

std::string locationMessage(const std::string &location) {
    return framedMessage(MESSAGE_TYPE_DATA, "<message><data type=\"" +
                                                std::to_string(MESSAGE_DATA_LOCATION) + "\">" +
                                                location + "</data></message>");
}

std::string clipMessage(std::uint32_t value) {
    return framedMessage(MESSAGE_TYPE_CONTROL,
                         "<message><control class=\"" + std::to_string(MESSAGE_CLASS_CLIP) +
                             "\" value=\"" + std::to_string(value) + "\"/></message>");
}

UniqueFd openControlFifo(const CameraDir &dir) {
    UniqueFd fifo(open(dir.place(controlFifoPath).c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC));
    if (!fifo) {
        throw CameraError("the daemon has no control FIFO open (it needs the setting "
                          "capability_audio_audioclip)");
    }
    return fifo;
}

void sendMessage(const CameraDir &dir, const std::string &message) {
    const UniqueFd fifo = openControlFifo(dir);
    if (write(fifo.get(), message.data(), message.size()) != static_cast<ssize_t>(message.size())) {
        throw CameraError(std::string("cannot write to the control FIFO: ") + std::strerror(errno));
    }
}

// The sending side of the control FIFO.
#pragma once

#include "base/unique_fd.h"
#include "vcam/camera/camera.h"

#include <cstdint>
#include <string>

// A message of a type (camera/message/message.h) with this body.
std::string framedMessage(std::uint32_t type, const std::string &body);

// Names a clip, as the daemon is to look for it; starts or stops it.
std::string locationMessage(const std::string &location);
std::string clipMessage(std::uint32_t value);

// Opens the daemon's FIFO for writing. Throws when nobody reads it.
UniqueFd openControlFifo(const CameraDir &dir);

// Writes a message, in one piece, to the daemon's control FIFO. Throws when it cannot.
void sendMessage(const CameraDir &dir, const std::string &message);

// The two sample loops behind the law decoders.
#pragma once

#include "codec/g711_law.h"

#include <cstdint>

// Expands `count` u-law bytes; the input is left as it is.
void G711_UlawExpand(const G711LawIO *io, std::uint32_t count);

// Expands `count` A-law bytes; each input byte is replaced by itself with its even bits inverted.
void G711_AlawExpand(const G711LawIO *io, std::uint32_t count);

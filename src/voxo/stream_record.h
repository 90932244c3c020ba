// A stream record: one datagram on the stream socket.
//
// Words are 32 bits wide and little-endian; codes are four ASCII characters in text order.
//
//   byte  word      holds
//      0  size      bytes of the record with its header
//      4  type      CONF codec information, G711 audio; others are passed over
//      8  codec     CONF: G711, AAC4, GAMR or G726
//     40  extra     G711: number of header bytes between byte 44 and the payload
//     44  body      G711: the extra header bytes, then one law byte for each sample, to the end
//
// and in the body of CONF
//
//     44  law       G711: ULAW or ALAW
//     48  channels  G711
//     60  flag      G711: not 0: law and channels hold; 0: plain 8000 Hz, they are not read
//     44  channels  AAC4
//     48  rate      AAC4: Hz
//     44  rate      GAMR: Hz
#pragma once

#include <cstdint>
#include <cstring>

// Four ASCII characters as the word that they make.
constexpr std::uint32_t fourCharacterCode(char a, char b, char c, char d) {
    return static_cast<std::uint32_t>(static_cast<unsigned char>(a)) |
           static_cast<std::uint32_t>(static_cast<unsigned char>(b)) << 8 |
           static_cast<std::uint32_t>(static_cast<unsigned char>(c)) << 16 |
           static_cast<std::uint32_t>(static_cast<unsigned char>(d)) << 24;
}

// Record types. Audio is of type codeG711.
constexpr std::uint32_t codeConf = fourCharacterCode('C', 'O', 'N', 'F');

// Codecs, and the laws of G.711.
constexpr std::uint32_t codeG711 = fourCharacterCode('G', '7', '1', '1');
constexpr std::uint32_t codeAac = fourCharacterCode('A', 'A', 'C', '4');
constexpr std::uint32_t codeAmr = fourCharacterCode('G', 'A', 'M', 'R');
constexpr std::uint32_t codeG726 = fourCharacterCode('G', '7', '2', '6');
constexpr std::uint32_t codeUlaw = fourCharacterCode('U', 'L', 'A', 'W');
constexpr std::uint32_t codeAlaw = fourCharacterCode('A', 'L', 'A', 'W');

// Byte offsets.
constexpr std::uint32_t recordSizeWord = 0;
constexpr std::uint32_t recordTypeWord = 4;
constexpr std::uint32_t recordCodecWord = 8;
constexpr std::uint32_t recordExtraWord = 40;
constexpr std::uint32_t recordBody = 44;
constexpr std::uint32_t g711LawWord = 44;
constexpr std::uint32_t g711ChannelsWord = 48;
constexpr std::uint32_t g711FlagWord = 60;
constexpr std::uint32_t aacChannelsWord = 44;
constexpr std::uint32_t aacRateWord = 48;
constexpr std::uint32_t amrRateWord = 44;

// Bytes of a CONF record for G711, which the flag ends.
constexpr std::uint32_t g711ConfSize = g711FlagWord + sizeof(std::uint32_t);

// The word at an offset; the record may lie at any address.
inline std::uint32_t recordWord(const void *record, std::uint32_t offset) {
    std::uint32_t word = 0;
    std::memcpy(&word, static_cast<const unsigned char *>(record) + offset, sizeof word);
    return word;
}

inline void setRecordWord(void *record, std::uint32_t offset, std::uint32_t word) {
    std::memcpy(static_cast<unsigned char *>(record) + offset, &word, sizeof word);
}

// The camera's message library, as far as the audio output needs it: frames and parses the messages
// of the control FIFO. Every camera brings its own; this one stands in for it.
//
// A message is a 4-byte header and an XML body. Header: byte 0 the type (2 control, 3 data), byte 1
// the header's length (4 or more; bytes behind the fourth are passed over), bytes 2 and 3 the
// body's length, low byte first.
//
// Control body: <message><control class="1" value="1"/>...</message>, an element for each entry.
// Data body: <message><data type="5">text</data></message>.
//
// A body with a document type declaration counts as one that cannot be parsed.
//
// The parser is the caller's; each call starts it afresh, and may follow any other.
#pragma once

#include <expat.h>

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define MESSAGE_HEADER_LENGTH 4u // the shortest

#define MESSAGE_TYPE_FIRST 1u // types run from here
#define MESSAGE_TYPE_CONTROL 2u
#define MESSAGE_TYPE_DATA 3u
#define MESSAGE_TYPE_LAST 4u // to here

#define MESSAGE_DATA_LOCATION 5u            // a file path
#define MESSAGE_DATA_MALFORMED 0x80000002u  // the body is not well-formed
#define MESSAGE_DATA_INCOMPLETE 0x80000003u // the body holds no data element with a type

// Words of a control entry.
#define MESSAGE_ENTRY_CLASS 3
#define MESSAGE_ENTRY_VALUE 4

#define MESSAGE_CLASS_CLIP 1u // value 1 starts the clip, any other stops it
#define MESSAGE_CLIP_STOP 0u
#define MESSAGE_CLIP_START 1u

typedef struct {
    uint32_t word[6];
} MESSAGE_CONTROL_ENTRY;

// Takes a message's first 4 bytes apart (`count` must be 4 or more). Lengths are in bytes; the
// header length counts the 4 bytes. 0, or not 0 when they are no header.
int Message_GetTypeLength(const unsigned char *header, uint32_t count, uint32_t *type,
                          uint32_t *headerLength, uint32_t *bodyLength);

// Reads a control body. *entryCount: in, the room of `entries`; out, how many were filled: those
// past the room are left out. 0, or not 0 when the body cannot be parsed.
int Message_Parse_Control(XML_Parser parser, const char *body, uint32_t bodyLength,
                          uint32_t *entryCount, MESSAGE_CONTROL_ENTRY *entries);

// The type of a data body, or MESSAGE_DATA_MALFORMED or MESSAGE_DATA_INCOMPLETE.
uint32_t Message_GetDataType(XML_Parser parser, const char *body, uint32_t bodyLength);

// Copies the text of a data body, terminated, into `buffer` of `size` bytes; what does not fit is
// cut off. 0, or not 0 when the body cannot be parsed or holds no data element.
int Message_Parse_SingleData(XML_Parser parser, const char *body, uint32_t bodyLength, char *buffer,
                             uint32_t size);

// For who sends: fills the header of a message whose body has `bodyLength` bytes, at most 65535.
static inline void Message_PutHeader(unsigned char header[MESSAGE_HEADER_LENGTH], uint32_t type,
                                     uint32_t bodyLength) {
    header[0] = (unsigned char)type;
    header[1] = MESSAGE_HEADER_LENGTH;
    header[2] = (unsigned char)(bodyLength & 0xFF);
    header[3] = (unsigned char)(bodyLength >> 8);
}

#ifdef __cplusplus
}
#endif

// The camera's configuration-file library, as far as the audio output needs it: reads an XML file
// into fields that a table names. Every camera brings its own; this one stands in for it.
#pragma once

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define QUILL_KIND_TEXT 0x2002u      // copied, cut to fit the field with its terminator
#define QUILL_KIND_INTEGER 0x2001u   // 32-bit decimal integer
#define QUILL_KIND_CONVERTED 0x1000u // handed to the row's converter

// Turns an element's text into what belongs at the destination. 0, or anything else to refuse it.
typedef int (*QUILL_CONVERTER)(const char *text, void *destination);

// One row: the element's path from the root ("/root/a/b"), the kind, the size in bytes of the
// destination, the destination, and the converter or null. A row of all zeros ends a table.
typedef struct {
    const char *path;
    uint32_t kind;
    uint32_t size;
    void *destination;
    QUILL_CONVERTER converter;
} QUILL_ROW;

// Reads the file and stores the text of each row's element, without the blanks around it. An
// element that is missing leaves its destination alone; one that stands twice, the last text holds.
// Returns 0, or not 0 when the file cannot be read, is not well-formed, or holds a text that its
// row does not take; rows before it are stored then.
int Quill_ReadAll(const char *path, const QUILL_ROW *table);

#ifdef __cplusplus
}
#endif

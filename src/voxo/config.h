// The configuration file, and the settings that the daemon reads at run time.
#pragma once

#include "src/voxo/context.h"

// Reads the configuration file into the context. 0 or -1, reported on standard output.
int voxoParseConfig(VoxoContext *context);

// Turns the name of a codec into its four-character code at `out`: the first four characters in
// upper case, a shorter name padded with blanks. Returns 0.
int voxoStrToFourCC(const char *text, void *out);

// Reads whether the camera may play clips into the context. -1, after a report, when it is not
// known; the capability is then 0.
int voxoGetAudioclipCapability(VoxoContext *context);

// Reads the loudspeaker volume and applies the gain that it gives. -1, after a report, when the
// output does not take it.
int voxoSetVolume(VoxoContext *context);

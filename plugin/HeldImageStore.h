// The two byte images that the component keeps for its host: the settings layout, a text for the
// host's settings screen, and the script image, which only the host's script engine looks into.
#pragma once

#include "base/Types.h"

namespace vx {

// Inflates both images through the host.
void LoadHeldImages();
void FreeHeldImages();

// The text with its terminating zero, or null; `length` gets the characters before the zero.
const char* SettingsLayout(u32* length);
const u8* ScriptImage(u32* size);
// Replaces the script image by a copy. Null frees it and keeps the size as given.
void ReplaceScriptImage(const u8* image, u32 size);

}  // namespace vx

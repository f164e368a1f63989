// The user settings of the component: their list for the host, the guest's switch word, and the
// values that two hosts running in step force on each other. One store serves the whole process.
#pragma once

#include "plugin/Quillon.h"

namespace vx {

inline constexpr u32 kSettingCount = 16;
inline constexpr u32 kDefaultClockSetting = 100;

// Builds the list with every setting at its default; the store keeps its address for the life of
// the process.
void BuildSettings();
// Empties the list. Lookups then answer the defaults.
void ClearSettings();
const SSettingList* SettingList();
void ResetSettingsToDefaults();

// Values in force: the other host's while it dictates them, else the present settings. Any thread.
u64 EffectiveDipWord();
f64 EffectiveFrameRate();
u32 EffectiveClockMHz();
u32 EffectiveExtraReadTimeUs();

bool DiskFlushSetting();
bool PreserveCacheSetting();
bool RandomStartSetting();

// Makes the held blob from the present settings, marks it valid and copies it out.
void SaveConfigBlob(SConfigBlob* blob);
// Takes the other side's blob; false if size or version differ, and nothing changes then.
bool LoadConfigBlob(const SConfigBlob* blob, i32 size);

}  // namespace vx

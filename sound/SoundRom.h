// What a sound ROM tells about a command: its channel, and whether it is a plain effect. All
// numbers in it are big-endian. The ROM pointer has kRomImageBytes; what lies behind them reads as
// 0xFF.
#pragma once

#include "base/Types.h"

namespace vx {

// -1 if the command has no record.
i32 ChannelOfCommand(const u8* rom, u16 command);
// Replaces that channel in the ROM; nothing if the command has no record.
void SetChannelOfCommand(u8* rom, u16 command, u8 channel);
// Whether the command's record is an effect on a channel that runs through to its end with steps
// of known kinds alone.
bool CommandIsSimple(const u8* rom, u16 command);

}  // namespace vx

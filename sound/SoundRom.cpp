#include "sound/SoundRom.h"

#include "sound/SoundBoard.h"

namespace vx {

namespace {

constexpr u32 kRomBytes = 0x80000;  // of one ROM
constexpr u32 kTablePointer = 0x4040;
constexpr u32 kRecordEntryBytes = 3;
constexpr u32 kNoRecord = 0x800000;  // addresses from here on
constexpr u32 kGlobalCommand = 0x55;
constexpr u32 kEndOfRecord = 0xFFFF;

u32 ByteAt(const u8* rom, u32 offset) { return offset < kRomImageBytes ? rom[offset] : 0xFFu; }

// A logical address has its ROM above bit 20 and the place in it below bit 19; bit 19 is dropped.
u32 OffsetOf(u32 address) {
  if (address < kRomBytes) return address;
  return (address & (kRomBytes - 1)) + (address >> 20) * kRomBytes;
}

// A number at a logical address; its bytes lie one behind the other in the ROM.
u32 NumberAt(const u8* rom, u32 address, u32 bytes) {
  const u32 offset = OffsetOf(address);
  u32 value = 0;
  for (u32 i = 0; i < bytes; ++i) value = value << 8 | ByteAt(rom, offset + i);
  return value;
}

// The address of a command's record, or kNoRecord.
u32 FindRecord(const u8* rom, u16 command) {
  if (command >> 8 == kGlobalCommand) return kNoRecord;
  const u32 table = NumberAt(rom, kTablePointer, 3);
  const u32 record = NumberAt(rom, table + kRecordEntryBytes * command, 3);
  return record < kNoRecord ? record : kNoRecord;
}

// Bytes that a step of a record takes; 0 if the walk ends there.
u32 StepBytes(u32 kind) {
  switch (kind) {
    case 6:
    case 13:
      return 3;
    case 7:
    case 8:
    case 9:
      return 4;
    case 10:
    case 11:
    case 12:
      return 6;
    default:
      return 0;
  }
}

}  // namespace

i32 ChannelOfCommand(const u8* rom, u16 command) {
  const u32 record = FindRecord(rom, command);
  return record == kNoRecord ? -1 : static_cast<i32>(NumberAt(rom, record + 1, 1));
}

void SetChannelOfCommand(u8* rom, u16 command, u8 channel) {
  const u32 record = FindRecord(rom, command);
  if (record == kNoRecord) return;
  if (const u32 offset = OffsetOf(record + 1); offset < kRomImageBytes) rom[offset] = channel;
}

bool CommandIsSimple(const u8* rom, u16 command) {
  constexpr u32 kEffect = 1;
  constexpr u32 kLastRecord = kNoRecord - 2;
  const u32 record = FindRecord(rom, command);
  if (record >= kLastRecord) return false;
  const bool bOnChannel = NumberAt(rom, record + 1, 1) != 0;
  if (!bOnChannel || NumberAt(rom, record, 1) != kEffect) return false;
  for (u32 at = record + 2; at < kNoRecord;) {
    if (NumberAt(rom, at, 2) == kEndOfRecord) return true;
    const u32 kind = NumberAt(rom, at + 2, 1);
    if (kind == 0) return true;
    const u32 bytes = StepBytes(kind);
    if (bytes == 0) return false;
    at += bytes;
  }
  return false;
}

}  // namespace vx

// The board's register window, guest physical 0x10000000 to 0x10003FFF, as two tables of handlers,
// one row for each 16 bytes and one handler for each access width. The board comes in two register
// layouts; the pack decides which one the tables are built for.
#pragma once

#include "base/Types.h"

namespace vx {

class CVXMachine;

inline constexpr u32 kIoBase = 0x10000000;
inline constexpr u32 kIoBytes = 0x4000;
inline constexpr u32 kIoRowCount = kIoBytes / 16;

// Values come and go in the low bits. The address is the guest physical one.
using IoReader = u64 (*)(CVXMachine* machine, u32 address);
using IoWriter = void (*)(CVXMachine* machine, u32 address, u64 value);

struct SIoReadRow {
  IoReader read64, read32, read16, read8;
};
struct SIoWriteRow {
  IoWriter write64, write32, write16, write8;
};
static_assert(sizeof(SIoReadRow) == 32 && sizeof(SIoWriteRow) == 32);

// Fills both tables of the machine for its register layout.
void BuildIoTables(CVXMachine& machine);

}  // namespace vx

// The far side of the data bus: the board's devices.
#include "sound/ADSPMemory.h"

namespace vx {

u16 CADSP::ReadDataFar(u32 address) {
  if (address >= kAdspDataAddresses || readTable[address] == nullptr) return 0;
  return readTable[address](board, address);
}

bool CADSP::WriteDataFar(u32 address, u16 value) {
  if (address >= kAdspDataAddresses || writeTable[address] == nullptr) return true;
  bRebooted = false;
  writeTable[address](board, address, value);
  return !bRebooted;
}

}  // namespace vx

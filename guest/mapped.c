#include "guest/cop0.h"
#include "guest/kernel.h"

enum { kLoGlobal = 1, kLoValid = 2, kLoDirty = 4 };

void MapPagePair(uint32_t index, uint32_t page, uint32_t physical0, uint32_t physical1) {
  WriteIndex(index);
  WritePageMask(0);
  WriteEntryHi((uint64_t)page << 13);
  WriteEntryLo0((physical0 >> 12) << 6 | kLoGlobal | kLoValid | kLoDirty);
  WriteEntryLo1((physical1 >> 12) << 6 | kLoGlobal | kLoValid | kLoDirty);
  WriteTlbIndexed();
}

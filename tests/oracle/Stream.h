// A stream: some 64 to 100 ops that run from top to bottom, with forward branches, on registers and
// a data area of its own. The same stream runs on the board and in the outside oracle.
#pragma once

#include <vector>

#include "tests/oracle/Departures.h"

namespace vx::oracle {

// Registers and data as a stream finds them and as it leaves them: the record that the guest
// harness loads and stores.
struct SStreamRecord {
  static constexpr u32 kDataBytes = 448;

  u64 entry;  // virtual address; 0 ends a list of records
  u64 gpr[32];
  u64 hi;
  u64 lo;
  u64 fpr[32];
  u64 conditions;  // before: the control word of the unit; after: condition bits 0 to 7
  u64 padding[4];
  u8 data[kDataBytes];
};
static_assert(sizeof(SStreamRecord) == 1024);

// Registers with a fixed use in streams.
inline constexpr u32 kTempA = 25;
inline constexpr u32 kTempB = 26;
inline constexpr u32 kRecordRegister = 27;
inline constexpr u32 kEvenBase = 28;  // aligned, in the middle of the data area
inline constexpr u32 kOddBase = 29;
inline constexpr u32 kLastFreeFpr = 25;
inline constexpr u32 kFpTemp = 26;  // differs between board and oracle
inline constexpr u32 kFpHalfDouble = 28;
inline constexpr u32 kFpHalfSingle = 30;

// Where streams lie: the same virtual addresses on both sides. A slot's number follows from the
// stream's number, so that a single stream can be run again at its old place.
inline constexpr u32 kHarnessBase = 0x400000;
inline constexpr u32 kSlotCount = 10000;
inline constexpr u32 kSlotBytes = 0x400;
inline constexpr u32 kSlotBase = 0x401200;  // every fourth slot straddles two pages
inline constexpr u32 kRecordBase = 0x10000000;
inline constexpr u32 kPhaseCount = 128;  // words by which a stream can be moved in its slot
inline constexpr u32 kMaxStreamOps = 120;
static_assert(kSlotBase + kSlotCount * kSlotBytes < kRecordBase);
static_assert((kPhaseCount + kMaxStreamOps + 2) * 4 <= kSlotBytes);

constexpr u32 SlotOf(u64 number) { return static_cast<u32>(number % kSlotCount); }
// Each stream runs on two records, so that its branches go other ways when it is replayed.
inline constexpr u32 kRecordsOfStream = 2;
constexpr u32 RecordAddress(u32 slot, u32 which = 0) {
  return kRecordBase + (slot * kRecordsOfStream + which) * static_cast<u32>(sizeof(SStreamRecord));
}
constexpr u32 DataAddress(u32 slot, u32 which = 0) {
  return RecordAddress(slot, which) + static_cast<u32>(offsetof(SStreamRecord, data));
}

// One op as the board runs it, and what stands in its place in the oracle.
struct SStreamOp {
  u32 board;
  u32 oracle;
  EDeparture departure = EDeparture::None;
  bool bTarget = false;  // branches may lead here
};

struct SStream {
  u64 number = 0;
  bool bFullRegisters = true;  // Status bit FR
  bool bFormOnly = false;      // replay is known to depart
  bool bSplitPages = false;    // the board's second code page is not the frame after the first
  u32 slot = 0;
  u32 address = 0;
  std::vector<SStreamOp> ops;
  SStreamRecord before[kRecordsOfStream] = {};
};

}  // namespace vx::oracle

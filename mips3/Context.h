// SMIPS3Context: the state of the main processor, a 64-bit MIPS III core in little-endian order
// without address, bus or TLB refill exceptions, and the records that stand beside it. Register
// numbers and field names are those of the R4000 family's published manuals.
//
// The context is a format: save states and state hashes take it whole, unused words included.
#pragma once

#include "base/Types.h"

namespace vx {

class CVXMachine;

inline constexpr u32 kNoBranch = 0xFFFFFFFF;  // branchTarget when nothing is pending
inline constexpr u32 kTlbEntryCount = 48;
inline constexpr u32 kTlbSlotCount = 2 * kTlbEntryCount;
inline constexpr u32 kMapSlotKseg0 = 96;
inline constexpr u32 kMapSlotKseg1 = 97;
inline constexpr u32 kMapSlotCount = 98;
inline constexpr u32 kPageCount = 1u << 20;  // 4 KiB pages of the 32-bit space
inline constexpr f64 kDefaultClockMHz = 100.0;

enum ECop0Register : u32 {
  kCop0Index = 0,
  kCop0Random = 1,
  kCop0EntryLo0 = 2,
  kCop0EntryLo1 = 3,
  kCop0PageMask = 5,
  kCop0Wired = 6,
  kCop0Count = 9,
  kCop0EntryHi = 10,
  kCop0Compare = 11,
  kCop0Status = 12,
  kCop0Cause = 13,
  kCop0Epc = 14,
  kCop0PRId = 15,
  kCop0Config = 16,
};

enum EStatusBit : u64 {
  kStatusIe = 1u << 0,
  kStatusExl = 1u << 1,
  kStatusErl = 1u << 2,
  kStatusBev = 1u << 22,
  kStatusFr = 1u << 26,
};
inline constexpr u64 kStatusEnableMask = 7;    // IE, EXL, ERL: interrupts enter when it reads 1
inline constexpr u64 kInterruptMask = 0xFC00;  // hardware lines in Cause and Status
inline constexpr u64 kCauseSoftwareMask = 0x300;

// Interrupt lines of the main processor, as bits of Cause.
enum ECauseLine : u32 {
  kCauseVerticalBlank = 1u << 10,
  kCauseAta = 1u << 11,
  kCauseTimer = 1u << 15,
};

// One TLB entry, as tlbwi takes it from COP0.
struct STlbEntry {
  u64 pageMask;
  u64 entryHi;
  u64 entryLo[2];
};
static_assert(sizeof(STlbEntry) == 32);

// A range of pages that one half of a TLB entry, or an unmapped segment, has installed.
struct SMapSlot {
  u32 firstPagePlusOne;  // 0: never used
  u32 pageCount;
};
static_assert(sizeof(SMapSlot) == 8);

enum EPageBit : u32 {
  kPageRead = 1u << 0,
  kPageWrite = 1u << 1,
  kPageFetch = 1u << 2,
  kPageValid = 1u << 3,
  kPageMappedMask = 15,
  kPageInstalled = 1u << 7,
  kPageBaseMask = 0xFFFFF000,
};

// One virtual page: bits 31..12 of the value are its physical base.
struct SPageEntry {
  u32 value;
  u32 references;  // slots whose first page this is
};
static_assert(sizeof(SPageEntry) == 8);

struct SMIPS3Context {
  u64 gpr[32];
  u32 pc;            // while an op executes: the address of the op after it
  u32 branchTarget;  // taken branch whose delay op is still to run
  u32 cycles;        // consumed in the present slice
  u32 stopMark;      // 0, or `cycles` + 1 when an outside event cut the slice
  u32 budget;        // of the present slice; 0 outside one
  u32 padding276;
  u64 lo;
  u64 hi;
  u32 llFlag;  // cleared by eret; nothing else reads it
  u32 fpCond;  // bit n: condition code n
  u64 cop0[32];
  u64 fpr[32];
  u64 unusedBank[32];
  u64 fcr[32];
  u64 countBase;
  u64 retired;  // cycles of all finished slices
  u32 mulBusy;  // cycle at which the integer multiplier falls idle
  u32 fpMulBusy;
  u32 fpBusy;
  u32 padding1356;
  f64 clockMHz;  // cycles a microsecond
  u32 mapLow;    // lowest and highest page mapped, of pages from 0x800 on
  u32 mapHigh;
  STlbEntry tlb[kTlbEntryCount];
  SMapSlot mapSlots[kMapSlotCount];
};
inline constexpr u32 kFirstMapTrackedPage = 0x800;

static_assert(sizeof(SMIPS3Context) == 3696);
static_assert(offsetof(SMIPS3Context, pc) == 256);
static_assert(offsetof(SMIPS3Context, cycles) == 264);
static_assert(offsetof(SMIPS3Context, budget) == 272);
static_assert(offsetof(SMIPS3Context, lo) == 280);
static_assert(offsetof(SMIPS3Context, llFlag) == 296);
static_assert(offsetof(SMIPS3Context, cop0) == 304);
static_assert(offsetof(SMIPS3Context, fpr) == 560);
static_assert(offsetof(SMIPS3Context, unusedBank) == 816);
static_assert(offsetof(SMIPS3Context, fcr) == 1072);
static_assert(offsetof(SMIPS3Context, countBase) == 1328);
static_assert(offsetof(SMIPS3Context, mulBusy) == 1344);
static_assert(offsetof(SMIPS3Context, clockMHz) == 1360);
static_assert(offsetof(SMIPS3Context, mapLow) == 1368);
static_assert(offsetof(SMIPS3Context, tlb) == 1376);
static_assert(offsetof(SMIPS3Context, mapSlots) == 2912);

// A handler executes one op word; while it runs, pc is the address after the op.
using OpHandler = void (*)(CVXMachine* machine, u32 word);
// A native block does what replaying its records would do. It is given the pc that stands in the
// context and answers the pc that it leaves there, so that the host does not wait on the way from
// block to block for memory that it has just written.
using NativeBlock = u32 (*)(CVXMachine* machine, u32 pc);

enum EOpFlag : u32 {
  kOpValid = 0x001,
  kOpHead = 0x002,            // first record of a block
  kOpHasBranch = 0x004,       // head: the block holds a branch with a delay op
  kOpHasLikely = 0x008,       // head: that branch annuls by REGIMM or COP1 likely form
  kOpDelaySlotOwner = 0x010,  // this op has a delay slot
  kOpCareful = 0x020,         // head: replay in careful mode
  kOpHeadWritten = 0x040,     // set with kOpHead
  kOpNative = 0x080,          // `native` is valid
  kOpDelayOp = 0x100,         // this op sits in a delay slot
  kOpBreakRequested = 0x200,  // a breakpoint is requested on this word; survives rebuilding
  kOpBreakWrapped = 0x400,    // in a block that holds a breakpoint wrapper
  kOpBreakMask = kOpBreakRequested | kOpBreakWrapped,
};

// The record of one guest code word.
struct SPredecodedOp {
  OpHandler handler;
  NativeBlock native;
  u32 word;
  u32 flags;     // EOpFlag
  u32 link;      // head: records in the block; elsewhere: index of the head
  u32 dispatch;  // private to replay: 0 calls `handler`, otherwise an op executed in place
};
static_assert(sizeof(SPredecodedOp) == 32);
static_assert(offsetof(SPredecodedOp, word) == 16 && offsetof(SPredecodedOp, link) == 24);

}  // namespace vx

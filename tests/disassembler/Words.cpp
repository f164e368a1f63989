#include "tests/disassembler/Words.h"

#include "mips3/OpTable.h"

namespace vx::test {
namespace {

constexpr u32 kFpFormats[] = {16, 17, 20, 21};  // s, d, w, l

constexpr u32 MainWord(u32 code) { return code << 26; }
constexpr u32 RsWord(u32 rs) { return rs << 21; }
constexpr u32 RtWord(u32 rt) { return rt << 16; }

}  // namespace

SPlacedWord CWordSource::Next() {
  const u32 address = AnyAddress();
  switch (Below(8)) {
    case 0:
      return {AnyWord(), address};
    case 1:
    case 2:
      return {NeighbourWord(), address};
    default:
      return {RowWord(), address};
  }
}

// A register, amount or code: any, or the first or last.
u32 CWordSource::Field(u32 shift) {
  const u32 choice = Below(4);
  return (choice == 0 ? 0 : choice == 1 && Below(4) == 0 ? 31 : Below(32)) << shift;
}

// Everything behind the main code. Often the fields from bit 10 on are 0, as the data book wants
// them in most ops.
u32 CWordSource::Fields() {
  const u32 high = Field(21) | Field(16) | Field(11);
  switch (Below(4)) {
    case 0:
      return high | (AnyWord() & 0x7FF);
    case 1:
      return high | Field(6);
    default:
      return high;
  }
}

// Any 16 bits, one in eight at an end of a range.
u32 CWordSource::Immediate() {
  constexpr u32 kEnds[] = {0, 1, 0x7FFF, 0x8000, 0xFFFF};
  return Below(8) == 0 ? kEnds[Below(5)] : AnyWord() & 0xFFFF;
}

u32 CWordSource::RowWord() {
  const SOpInfo& row = kOps[kFirstRow + Below(kOpCount - kFirstRow)];
  const u32 fields = Fields();
  switch (row.table) {
    case EOpTable::Main:
      return MainWord(row.code) | (fields & ~0xFFFFu) | Immediate();
    case EOpTable::Special:
      return (fields & ~0x3Fu) | row.code;
    case EOpTable::RegImm:
      return MainWord(kMainRegImm) | Field(21) | RtWord(row.code) | Immediate();
    case EOpTable::Cop0:
      return MainWord(kMainCop0) | RsWord(row.code) | (fields & 0x1FFFFF);
    case EOpTable::Cop0Function:
      return MainWord(kMainCop0) | RsWord(kFirstCop0FunctionRs) | row.code;
    case EOpTable::Cop1:
      return MainWord(kMainCop1) | RsWord(row.code) | (fields & 0x1FFFFF);
    case EOpTable::Cop1Function:
      return MainWord(kMainCop1) | RsWord(kFpFormats[Below(4)]) | (fields & 0x1FFFC0) | Field(6) |
             row.code;
  }
  return 0;
}

// Any code of any table, with a row or without.
u32 CWordSource::NeighbourWord() {
  const u32 fields = Fields();
  switch (Below(7)) {
    case 0:
      return (fields & ~0x3Fu) | Below(64);
    case 1:
      return MainWord(kMainRegImm) | Field(21) | RtWord(Below(32)) | Immediate();
    case 2:
      return MainWord(kMainCop0) | RsWord(Below(32)) | (fields & 0x1FFFFF);
    case 3:
      return MainWord(kMainCop0) | RsWord(kFirstCop0FunctionRs) | Below(64);
    case 4:
      return MainWord(kMainCop1) | RsWord(Below(32)) | (fields & 0x1FFFC0) | Below(64);
    case 5:
      return Below(32) << 6 | (Below(2) == 0 ? 0 : Below(64));
    default:
      return MainWord(Below(64)) | (fields & ~0x3Fu) | Below(64);
  }
}

// A multiple of 4 anywhere, one in eight at an end of the 256 MiB that a jump stays in.
u32 CWordSource::AnyAddress() {
  const u32 address = AnyWord() & ~u32{3};
  switch (Below(16)) {
    case 0:
      return address | 0x0FFFFFFC;
    case 1:
      return address & 0xF0000000;
    default:
      return address;
  }
}

}  // namespace vx::test

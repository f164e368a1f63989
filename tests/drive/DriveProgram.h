// Guest code that works the drive through the board's registers.
#pragma once

#include "tests/support/GuestCode.h"

namespace vx::test {

class CDriveProgram : public CGuestCode {
 public:
  static constexpr u32 kData = 0x10000100;
  static constexpr u32 kSectorCount = 0x10000110;
  static constexpr u32 kSectorNumber = 0x10000118;
  static constexpr u32 kCylinderLow = 0x10000120;
  static constexpr u32 kCylinderHigh = 0x10000128;
  static constexpr u32 kDriveHead = 0x10000130;
  static constexpr u32 kStatus = 0x10000138;
  static constexpr u32 kAlternateStatus = 0x10000170;

  // Polls until the drive is no longer busy. The poll acknowledges an interrupt.
  CDriveProgram& AwaitDrive() {
    Point(kStatus);
    const u32 poll = Here();
    Op(mips::Lbu(kValue, 0, kAddress));
    Op(mips::Andi(kValue, kValue, 0x80));
    return BranchUnlessZero(kValue, poll);
  }
  // Polls Cause, without a look at the drive, until its line is up.
  CDriveProgram& AwaitLine() {
    const u32 poll = Here();
    Op(mips::Mfc0(kValue, kCauseRegister));
    Op(mips::Andi(kValue, kValue, 0x800));
    Op(mips::Bne(kValue, mips::kZero, 3));
    Op(mips::kNop);
    BranchBack(poll);
    return *this;
  }
  CDriveProgram& Select(u32 cylinder, u32 head, u32 sector, u32 count) {
    Write16(kSectorCount, count);
    Write8(kSectorNumber, sector);
    Write8(kCylinderLow, cylinder & 0xFF);
    Write8(kCylinderHigh, cylinder >> 8);
    Write8(kDriveHead, head);
    return *this;
  }
  // Ends its block: the processor's slice ends with the block that starts a command, and until then
  // the drive sees the time of the slice's end.
  CDriveProgram& Command(u32 code) {
    Write8(kStatus, code);
    Op(mips::Beq(mips::kZero, mips::kZero, 1));
    Op(mips::kNop);
    return *this;
  }
  // Moves one block between the data port and memory.
  CDriveProgram& TakeBlock(u32 physical) { return MoveBlock(physical, false); }
  CDriveProgram& GiveBlock(u32 physical) { return MoveBlock(physical, true); }
  CDriveProgram& KeepCause(u32 cell) {
    Op(mips::Mfc0(kValue, kCauseRegister));
    KeepRegister(kValue, cell);
    return *this;
  }
  CDriveProgram& BranchUnlessZero(u32 value, u32 place) {
    Op(mips::Bne(value, mips::kZero, static_cast<i32>(place) - static_cast<i32>(Here()) - 1));
    Op(mips::kNop);
    return *this;
  }

 private:
  static constexpr u32 kCauseRegister = 13;
  static constexpr u32 kLeft = 12, kMemory = 13, kHalf = 14;  // t4 to t6

  CDriveProgram& MoveBlock(u32 physical, bool bToDrive) {
    Point(kData).Set(kLeft, 256).Set(kMemory, physical | 0xA0000000);
    const u32 next = Here();
    Op(bToDrive ? mips::Lhu(kHalf, 0, kMemory) : mips::Lhu(kHalf, 0, kAddress));
    Op(bToDrive ? mips::Sh(kHalf, 0, kAddress) : mips::Sh(kHalf, 0, kMemory));
    Op(mips::Addiu(kMemory, kMemory, 2));
    Op(mips::Addiu(kLeft, kLeft, -1));
    return BranchUnlessZero(kLeft, next);
  }
};

}  // namespace vx::test

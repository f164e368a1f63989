// Boot ROM programs for tests: op words in order, with the few sequences that a look at the board
// takes. Addresses are guest physical ones and are reached unmapped.
#pragma once

#include <vector>

#include "tests/mips3/Encode.h"

namespace vx::test {

// Where guest code leaves what it found; low RAM begins the guest memory image.
inline constexpr u32 kGuestResults = 0x1000;

class CGuestCode {
 public:
  // Registers with a fixed use in the sequences below; programs are free to use the others.
  static constexpr u32 kAddress = mips::kT0;
  static constexpr u32 kValue = mips::kT1;

  CGuestCode& Op(u32 word) {
    words_.push_back(word);
    return *this;
  }
  // Loads a 32-bit value, sign-extended.
  CGuestCode& Set(u32 target, u32 value) {
    Op(mips::Lui(target, static_cast<i32>(value >> 16)));
    return Op(mips::Ori(target, target, static_cast<i32>(value & 0xFFFF)));
  }
  CGuestCode& Point(u32 physical) { return Set(kAddress, physical | 0xA0000000); }

  CGuestCode& Write32(u32 physical, u32 value) {
    Point(physical).Set(kValue, value);
    return Op(mips::Sw(kValue, 0, kAddress));
  }
  CGuestCode& Write16(u32 physical, u32 value) {
    Point(physical).Set(kValue, value);
    return Op(mips::Sh(kValue, 0, kAddress));
  }
  CGuestCode& Write8(u32 physical, u32 value) {
    Point(physical).Set(kValue, value);
    return Op(mips::Sb(kValue, 0, kAddress));
  }
  // Reads 64, 32, 16 or 8 bits unsigned and keeps them as 64 bits in result cell `cell`.
  CGuestCode& Keep64(u32 physical, u32 cell) {
    return KeepBy(mips::Ld(kValue, 0, kAddress), physical, cell);
  }
  CGuestCode& Keep32(u32 physical, u32 cell) {
    return KeepBy(mips::Lwu(kValue, 0, kAddress), physical, cell);
  }
  CGuestCode& Keep16(u32 physical, u32 cell) {
    return KeepBy(mips::Lhu(kValue, 0, kAddress), physical, cell);
  }
  CGuestCode& Keep8(u32 physical, u32 cell) {
    return KeepBy(mips::Lbu(kValue, 0, kAddress), physical, cell);
  }
  CGuestCode& KeepRegister(u32 source, u32 cell) {
    Point(kGuestResults + 8 * cell);
    return Op(mips::Sd(source, 0, kAddress));
  }
  // A place to branch back to.
  u32 Here() const { return static_cast<u32>(words_.size()); }
  CGuestCode& BranchBack(u32 place) {
    Op(mips::Beq(mips::kZero, mips::kZero, static_cast<i32>(place) - static_cast<i32>(Here()) - 1));
    return Op(mips::kNop);
  }
  CGuestCode& Rest() { return BranchBack(Here()); }

  const std::vector<u32>& Words() const { return words_; }

 private:
  CGuestCode& KeepBy(u32 load, u32 physical, u32 cell) {
    Point(physical).Op(load);
    return KeepRegister(kValue, cell);
  }

  std::vector<u32> words_;
};

}  // namespace vx::test

#include "bench/GuestCode.h"

#include <cstring>

#include "mips3/OpTable.h"

namespace vx::bench {

namespace {

constexpr u32 kT0 = 8, kT1 = 9, kT2 = 10, kT3 = 11, kT4 = 12, kS0 = 16;

u32 Encode(EOp op) {
  const SOpInfo& info = OpInfo(op);
  return info.table == EOpTable::Special ? info.code : info.code << 26;
}
u32 Three(EOp op, u32 rd, u32 rs, u32 rt) { return Encode(op) | rs << 21 | rt << 16 | rd << 11; }
u32 Shift(EOp op, u32 rd, u32 rt, u32 amount) {
  return Encode(op) | rt << 16 | rd << 11 | amount << 6;
}
u32 Immediate(EOp op, u32 rt, u32 rs, u32 value) {
  return Encode(op) | rs << 21 | rt << 16 | (value & 0xFFFF);
}
u32 Jump(u32 address) { return Encode(EOp::J) | (address >> 2 & 0x3FFFFFF); }

void Append(std::vector<u32>& code, std::initializer_list<u32> words) {
  code.insert(code.end(), words);
}

u32 NextAddress(const std::vector<u32>& code, bool bLast) {
  return bLast ? kCodeAddress : kCodeAddress + 4 * (static_cast<u32>(code.size()) + 2);
}

}  // namespace

std::vector<u32> MixedBlocks(u32 blocks) {
  std::vector<u32> code;
  for (u32 i = 0; i < blocks; ++i) {
    const u32 offset = i * 16 & 0x7FF0;
    Append(code, {
                     Immediate(EOp::Lw, kT0, kS0, offset),
                     Immediate(EOp::Addiu, kT1, kT1, 3 + i),
                     Three(EOp::Addu, kT2, kT0, kT1),
                     Shift(EOp::Sll, kT3, kT2, 3),
                     Three(EOp::Xor, kT2, kT2, kT3),
                     Immediate(EOp::Sw, kT2, kS0, offset + 4),
                     Immediate(EOp::Lbu, kT4, kS0, offset + 5),
                     Three(EOp::Sltu, kT3, kT4, kT2),
                     Immediate(EOp::Andi, kT4, kT4, 0x3F),
                 });
    const u32 target = NextAddress(code, i + 1 == blocks);
    Append(code, {Jump(target), Three(EOp::Or, kT1, kT1, kT3)});
  }
  return code;
}

std::vector<u32> BranchyBlocks(u32 blocks) {
  std::vector<u32> code;
  for (u32 i = 0; i < blocks; ++i) {
    constexpr u32 kOverTwoOps = 3;
    Append(code, {
                     // A step of a 32-bit shift-register generator, then a branch on one bit.
                     Shift(EOp::Sll, kT1, kT0, 13),
                     Three(EOp::Xor, kT0, kT0, kT1),
                     Shift(EOp::Srl, kT1, kT0, 17),
                     Three(EOp::Xor, kT0, kT0, kT1),
                     Shift(EOp::Sll, kT1, kT0, 5),
                     Three(EOp::Xor, kT0, kT0, kT1),
                     Immediate(EOp::Andi, kT2, kT0, 0x80),
                     Immediate(EOp::Beq, 0, kT2, kOverTwoOps),
                     Immediate(EOp::Lw, kT3, kS0, i * 4 & 0x7FFC),
                     Three(EOp::Addu, kT4, kT4, kT3),
                     Immediate(EOp::Sw, kT4, kS0, i * 4 & 0x7FFC),
                 });
    const u32 target = NextAddress(code, i + 1 == blocks);
    Append(code, {Jump(target), Three(EOp::Or, kT1, kT1, kT3)});
  }
  return code;
}

CGuestMachine::CGuestMachine(const std::vector<u32>& code) : machine_(new CVXMachine) {
  std::memcpy(machine_->flatMem + kFlatMainRam, code.data(), code.size() * sizeof(u32));
  machine_->cpu.pc = kCodeAddress;
  machine_->cpu.gpr[kT0] = 0x12345678;
  machine_->cpu.gpr[kS0] = kDataAddress;
}

}  // namespace vx::bench

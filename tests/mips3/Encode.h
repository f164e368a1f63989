// Op words by mnemonic, with the encodings of the published manuals written out once more, so that
// tests do not lean on the op table that they check. Operands come in assembler order.
#pragma once

#include "base/Types.h"

namespace vx::mips {

enum ERegister : u32 {
  kZero = 0,
  kAt = 1,
  kV0 = 2,
  kV1 = 3,
  kA0 = 4,
  kA1 = 5,
  kA2 = 6,
  kA3 = 7,
  kT0 = 8,
  kT1 = 9,
  kT2 = 10,
  kT3 = 11,
  kT4 = 12,
  kS0 = 16,
  kS1 = 17,
  kRa = 31,
};

constexpr u32 MainOp(u32 code, u32 s, u32 t, i32 immediate) {
  return code << 26 | s << 21 | t << 16 | (static_cast<u32>(immediate) & 0xFFFF);
}
constexpr u32 SpecialOp(u32 funct, u32 s, u32 t, u32 d, u32 amount = 0) {
  return s << 21 | t << 16 | d << 11 | amount << 6 | funct;
}
constexpr u32 RegImmOp(u32 code, u32 s, i32 offset) { return MainOp(1, s, code, offset); }
constexpr u32 Cop0FunctionOp(u32 code) { return 0x42000000 | code; }

inline constexpr u32 kNop = 0;
inline constexpr u32 kTlbr = Cop0FunctionOp(1);
inline constexpr u32 kTlbwi = Cop0FunctionOp(2);
inline constexpr u32 kTlbwr = Cop0FunctionOp(6);
inline constexpr u32 kTlbp = Cop0FunctionOp(8);
inline constexpr u32 kEret = Cop0FunctionOp(0x18);
inline constexpr u32 kSyscall = 12;
inline constexpr u32 kBreak = 13;

// clang-format off
// rd, rs, rt
#define VX_THREE(name, funct) \
  constexpr u32 name(u32 d, u32 s, u32 t) { return SpecialOp(funct, s, t, d); }
VX_THREE(Add, 32)    VX_THREE(Addu, 33)   VX_THREE(Sub, 34)    VX_THREE(Subu, 35)
VX_THREE(And, 36)    VX_THREE(Or, 37)     VX_THREE(Xor, 38)    VX_THREE(Nor, 39)
VX_THREE(Slt, 42)    VX_THREE(Sltu, 43)
VX_THREE(Dadd, 44)   VX_THREE(Daddu, 45)  VX_THREE(Dsub, 46)   VX_THREE(Dsubu, 47)
#undef VX_THREE

// rd, rt, amount
#define VX_SHIFT(name, funct) \
  constexpr u32 name(u32 d, u32 t, u32 amount) { return SpecialOp(funct, 0, t, d, amount); }
VX_SHIFT(Sll, 0)     VX_SHIFT(Srl, 2)     VX_SHIFT(Sra, 3)
VX_SHIFT(Dsll, 56)   VX_SHIFT(Dsrl, 58)   VX_SHIFT(Dsra, 59)
VX_SHIFT(Dsll32, 60) VX_SHIFT(Dsrl32, 62) VX_SHIFT(Dsra32, 63)
#undef VX_SHIFT

// rd, rt, rs
#define VX_SHIFT_BY(name, funct) \
  constexpr u32 name(u32 d, u32 t, u32 s) { return SpecialOp(funct, s, t, d); }
VX_SHIFT_BY(Sllv, 4)   VX_SHIFT_BY(Srlv, 6)   VX_SHIFT_BY(Srav, 7)
VX_SHIFT_BY(Dsllv, 20) VX_SHIFT_BY(Dsrlv, 22) VX_SHIFT_BY(Dsrav, 23)
#undef VX_SHIFT_BY

// rs, rt
#define VX_TWO(name, funct) \
  constexpr u32 name(u32 s, u32 t) { return SpecialOp(funct, s, t, 0); }
VX_TWO(Mult, 24)  VX_TWO(Multu, 25)  VX_TWO(Div, 26)  VX_TWO(Divu, 27)
VX_TWO(Dmult, 28) VX_TWO(Dmultu, 29) VX_TWO(Ddiv, 30) VX_TWO(Ddivu, 31)
#undef VX_TWO

constexpr u32 Mfhi(u32 d) { return SpecialOp(16, 0, 0, d); }
constexpr u32 Mthi(u32 s) { return SpecialOp(17, s, 0, 0); }
constexpr u32 Mflo(u32 d) { return SpecialOp(18, 0, 0, d); }
constexpr u32 Mtlo(u32 s) { return SpecialOp(19, s, 0, 0); }
constexpr u32 Jr(u32 s) { return SpecialOp(8, s, 0, 0); }
constexpr u32 Jalr(u32 d, u32 s) { return SpecialOp(9, s, 0, d); }
constexpr u32 J(u32 address) { return 2u << 26 | (address >> 2 & 0x3FFFFFF); }
constexpr u32 Jal(u32 address) { return 3u << 26 | (address >> 2 & 0x3FFFFFF); }

// rt, rs, immediate
#define VX_IMMEDIATE(name, code) \
  constexpr u32 name(u32 t, u32 s, i32 immediate) { return MainOp(code, s, t, immediate); }
VX_IMMEDIATE(Addi, 8)   VX_IMMEDIATE(Addiu, 9)   VX_IMMEDIATE(Slti, 10) VX_IMMEDIATE(Sltiu, 11)
VX_IMMEDIATE(Andi, 12)  VX_IMMEDIATE(Ori, 13)    VX_IMMEDIATE(Xori, 14)
VX_IMMEDIATE(Daddi, 24) VX_IMMEDIATE(Daddiu, 25)
#undef VX_IMMEDIATE
constexpr u32 Lui(u32 t, i32 immediate) { return MainOp(15, 0, t, immediate); }

// rt, offset, base
#define VX_MEMORY(name, code) \
  constexpr u32 name(u32 t, i32 offset, u32 base) { return MainOp(code, base, t, offset); }
VX_MEMORY(Ldl, 26) VX_MEMORY(Ldr, 27)  VX_MEMORY(Lb, 32)    VX_MEMORY(Lh, 33)   VX_MEMORY(Lwl, 34)
VX_MEMORY(Lw, 35)  VX_MEMORY(Lbu, 36)  VX_MEMORY(Lhu, 37)   VX_MEMORY(Lwr, 38)  VX_MEMORY(Lwu, 39)
VX_MEMORY(Sb, 40)  VX_MEMORY(Sh, 41)   VX_MEMORY(Swl, 42)   VX_MEMORY(Sw, 43)   VX_MEMORY(Sdl, 44)
VX_MEMORY(Sdr, 45) VX_MEMORY(Swr, 46)  VX_MEMORY(Cache, 47) VX_MEMORY(Lwc1, 49) VX_MEMORY(Ld, 55)
VX_MEMORY(Swc1, 57) VX_MEMORY(Sd, 63)
#undef VX_MEMORY

// Branch offsets count ops from the delay slot.
#define VX_BRANCH_TWO(name, code) \
  constexpr u32 name(u32 s, u32 t, i32 offset) { return MainOp(code, s, t, offset); }
VX_BRANCH_TWO(Beq, 4) VX_BRANCH_TWO(Bne, 5) VX_BRANCH_TWO(Beql, 20) VX_BRANCH_TWO(Bnel, 21)
#undef VX_BRANCH_TWO
#define VX_BRANCH_ONE(name, code) \
  constexpr u32 name(u32 s, i32 offset) { return MainOp(code, s, 0, offset); }
VX_BRANCH_ONE(Blez, 6) VX_BRANCH_ONE(Bgtz, 7) VX_BRANCH_ONE(Blezl, 22) VX_BRANCH_ONE(Bgtzl, 23)
#undef VX_BRANCH_ONE
#define VX_BRANCH_REGIMM(name, code) \
  constexpr u32 name(u32 s, i32 offset) { return RegImmOp(code, s, offset); }
VX_BRANCH_REGIMM(Bltz, 0)    VX_BRANCH_REGIMM(Bgez, 1)
VX_BRANCH_REGIMM(Bltzl, 2)   VX_BRANCH_REGIMM(Bgezl, 3)
VX_BRANCH_REGIMM(Bltzal, 16) VX_BRANCH_REGIMM(Bgezal, 17)
VX_BRANCH_REGIMM(Bltzall, 18) VX_BRANCH_REGIMM(Bgezall, 19)
#undef VX_BRANCH_REGIMM

// rt, COP0 register
constexpr u32 Mfc0(u32 t, u32 d) { return 0x40000000 | t << 16 | d << 11; }
constexpr u32 Dmfc0(u32 t, u32 d) { return 0x40200000 | t << 16 | d << 11; }
constexpr u32 Mtc0(u32 t, u32 d) { return 0x40800000 | t << 16 | d << 11; }
// clang-format on

// A loop of two ops, at which test code comes to rest.
inline constexpr u32 kBranchToSelf = Beq(kZero, kZero, -1);

}  // namespace vx::mips

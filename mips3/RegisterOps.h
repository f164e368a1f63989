// Ops that work on registers alone, and with the multiplier: what the op table says executes them,
// applied to the registers that an op word names. Shared by the handlers and by replay.
#pragma once

#include "machine/VXMachine.h"
#include "mips3/OpTable.h"
#include "mips3/OpValues.h"

namespace vx {

inline u64 RegS(const CVXMachine* m, u32 word) { return m->cpu.gpr[Rs(word)]; }
inline u64 RegT(const CVXMachine* m, u32 word) { return m->cpu.gpr[Rt(word)]; }
inline u32 LowS(const CVXMachine* m, u32 word) { return static_cast<u32>(RegS(m, word)); }
inline u32 LowT(const CVXMachine* m, u32 word) { return static_cast<u32>(RegT(m, word)); }

inline void SetRegister(CVXMachine* m, u32 index, u64 value) {
  if (index != 0) m->cpu.gpr[index] = value;
}
inline void SetD(CVXMachine* m, u32 word, u64 value) { SetRegister(m, Rd(word), value); }
inline void SetT(CVXMachine* m, u32 word, u64 value) { SetRegister(m, Rt(word), value); }

inline void ExecNothing(CVXMachine*, u32) {}

// clang-format off
// --- rd from rs and rt ----------------------------------------------------------------------

inline void ExecAddu(CVXMachine* m, u32 w)    { SetD(m, w, ops::Addu(RegS(m, w), RegT(m, w))); }
inline void ExecSubu(CVXMachine* m, u32 w)    { SetD(m, w, ops::Subu(RegS(m, w), RegT(m, w))); }
inline void ExecDaddu(CVXMachine* m, u32 w)   { SetD(m, w, ops::Daddu(RegS(m, w), RegT(m, w))); }
inline void ExecDsubu(CVXMachine* m, u32 w)   { SetD(m, w, ops::Dsubu(RegS(m, w), RegT(m, w))); }
inline void ExecAnd(CVXMachine* m, u32 w)     { SetD(m, w, ops::And(RegS(m, w), RegT(m, w))); }
inline void ExecOr(CVXMachine* m, u32 w)      { SetD(m, w, ops::Or(RegS(m, w), RegT(m, w))); }
inline void ExecXor(CVXMachine* m, u32 w)     { SetD(m, w, ops::Xor(RegS(m, w), RegT(m, w))); }
inline void ExecNor(CVXMachine* m, u32 w)     { SetD(m, w, ops::Nor(RegS(m, w), RegT(m, w))); }
inline void ExecSlt(CVXMachine* m, u32 w)     { SetD(m, w, ops::Slt(RegS(m, w), RegT(m, w))); }
inline void ExecSltu(CVXMachine* m, u32 w)    { SetD(m, w, ops::Sltu(RegS(m, w), RegT(m, w))); }

// --- rt from rs and the immediate -----------------------------------------------------------

inline void ExecAddiu(CVXMachine* m, u32 w)   { SetT(m, w, ops::Addiu(RegS(m, w), UnsignedImmediate(w))); }
inline void ExecDaddiu(CVXMachine* m, u32 w)  { SetT(m, w, ops::Daddiu(RegS(m, w), UnsignedImmediate(w))); }
inline void ExecAndi(CVXMachine* m, u32 w)    { SetT(m, w, ops::Andi(RegS(m, w), UnsignedImmediate(w))); }
inline void ExecOri(CVXMachine* m, u32 w)     { SetT(m, w, ops::Ori(RegS(m, w), UnsignedImmediate(w))); }
inline void ExecXori(CVXMachine* m, u32 w)    { SetT(m, w, ops::Xori(RegS(m, w), UnsignedImmediate(w))); }
inline void ExecSlti(CVXMachine* m, u32 w)    { SetT(m, w, ops::Slti(RegS(m, w), UnsignedImmediate(w))); }
inline void ExecSltiu(CVXMachine* m, u32 w)   { SetT(m, w, ops::Sltiu(RegS(m, w), UnsignedImmediate(w))); }
inline void ExecLui(CVXMachine* m, u32 w)     { SetT(m, w, ops::Lui(UnsignedImmediate(w))); }

// --- rd from rt and an amount ---------------------------------------------------------------

inline void ExecSll(CVXMachine* m, u32 w)     { SetD(m, w, ops::Sll(RegT(m, w), Sa(w))); }
inline void ExecSrl(CVXMachine* m, u32 w)     { SetD(m, w, ops::Srl(RegT(m, w), Sa(w))); }
inline void ExecSra(CVXMachine* m, u32 w)     { SetD(m, w, ops::Sra(RegT(m, w), Sa(w))); }
inline void ExecDsll(CVXMachine* m, u32 w)    { SetD(m, w, ops::Dsll(RegT(m, w), Sa(w))); }
inline void ExecDsrl(CVXMachine* m, u32 w)    { SetD(m, w, ops::Dsrl(RegT(m, w), Sa(w))); }
inline void ExecDsra(CVXMachine* m, u32 w)    { SetD(m, w, ops::Dsra(RegT(m, w), Sa(w))); }
inline void ExecDsll32(CVXMachine* m, u32 w)  { SetD(m, w, ops::Dsll32(RegT(m, w), Sa(w))); }
inline void ExecDsrl32(CVXMachine* m, u32 w)  { SetD(m, w, ops::Dsrl32(RegT(m, w), Sa(w))); }
inline void ExecDsra32(CVXMachine* m, u32 w)  { SetD(m, w, ops::Dsra32(RegT(m, w), Sa(w))); }

// --- rd from rt and rs ----------------------------------------------------------------------

inline void ExecSllv(CVXMachine* m, u32 w)    { SetD(m, w, ops::Sllv(RegT(m, w), RegS(m, w))); }
inline void ExecSrlv(CVXMachine* m, u32 w)    { SetD(m, w, ops::Srlv(RegT(m, w), RegS(m, w))); }
inline void ExecSrav(CVXMachine* m, u32 w)    { SetD(m, w, ops::Srav(RegT(m, w), RegS(m, w))); }
inline void ExecDsllv(CVXMachine* m, u32 w)   { SetD(m, w, ops::Dsllv(RegT(m, w), RegS(m, w))); }
inline void ExecDsrlv(CVXMachine* m, u32 w)   { SetD(m, w, ops::Dsrlv(RegT(m, w), RegS(m, w))); }
inline void ExecDsrav(CVXMachine* m, u32 w)   { SetD(m, w, ops::Dsrav(RegT(m, w), RegS(m, w))); }

// --- HI and LO ------------------------------------------------------------------------------

inline void ExecMult(CVXMachine* m, u32 w)    { ops::Mult(m, RegS(m, w), RegT(m, w)); }
inline void ExecMultu(CVXMachine* m, u32 w)   { ops::Multu(m, RegS(m, w), RegT(m, w)); }
inline void ExecDmult(CVXMachine* m, u32 w)   { ops::Dmult(m, RegS(m, w), RegT(m, w)); }
inline void ExecDmultu(CVXMachine* m, u32 w)  { ops::Dmultu(m, RegS(m, w), RegT(m, w)); }
inline void ExecDiv(CVXMachine* m, u32 w)     { ops::Div(m, RegS(m, w), RegT(m, w)); }
inline void ExecDivu(CVXMachine* m, u32 w)    { ops::Divu(m, RegS(m, w), RegT(m, w)); }
inline void ExecDdiv(CVXMachine* m, u32 w)    { ops::Ddiv(m, RegS(m, w), RegT(m, w)); }
inline void ExecDdivu(CVXMachine* m, u32 w)   { ops::Ddivu(m, RegS(m, w), RegT(m, w)); }
inline void ExecMfhi(CVXMachine* m, u32 w)    { SetD(m, w, ops::Mfhi(m)); }
inline void ExecMflo(CVXMachine* m, u32 w)    { SetD(m, w, ops::Mflo(m)); }
inline void ExecMthi(CVXMachine* m, u32 w)    { ops::Mthi(m, RegS(m, w)); }
inline void ExecMtlo(CVXMachine* m, u32 w)    { ops::Mtlo(m, RegS(m, w)); }
// clang-format on

}  // namespace vx

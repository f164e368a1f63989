// Jumps and branches: one inline function an op, shared by the handlers and by replay. pc is the
// address after the op; a taken branch leaves its target pending until the delay op has run. A
// likely branch that is not taken moves pc past its delay op.
#pragma once

#include "mips3/RegisterOps.h"

namespace vx {

// The link is taken before the branch moves anything.
inline void Link(CVXMachine* m, u32 index) { m->cpu.gpr[index] = SignExtend32(m->cpu.pc + 4); }

inline void BranchIf(CVXMachine* m, u32 w, bool bTaken) {
  if (bTaken) m->cpu.branchTarget = m->cpu.pc + (static_cast<u32>(SignedImmediate(w)) << 2);
}
inline void BranchLikelyIf(CVXMachine* m, u32 w, bool bTaken) {
  BranchIf(m, w, bTaken);
  if (!bTaken) m->cpu.pc += 4;
}

inline bool IsEqual(const CVXMachine* m, u32 w) { return ops::IsEqual(RegS(m, w), RegT(m, w)); }
inline bool IsNegative(const CVXMachine* m, u32 w) { return ops::IsNegative(RegS(m, w)); }
inline bool IsPositive(const CVXMachine* m, u32 w) { return ops::IsPositive(RegS(m, w)); }

inline void ExecJump(CVXMachine* m, u32 w) {
  m->cpu.branchTarget = (m->cpu.pc & 0xF0000000) | (w & 0x3FFFFFF) << 2;
}
inline void ExecJumpLink(CVXMachine* m, u32 w) {
  Link(m, 31);
  ExecJump(m, w);
}
inline void ExecJr(CVXMachine* m, u32 w) { m->cpu.branchTarget = LowS(m, w); }
// Also links in register 0, the one op that writes it.
inline void ExecJalr(CVXMachine* m, u32 w) {
  const u32 target = LowS(m, w);
  Link(m, Rd(w));
  m->cpu.branchTarget = target;
}

inline void ExecBeq(CVXMachine* m, u32 w) { BranchIf(m, w, IsEqual(m, w)); }
inline void ExecBne(CVXMachine* m, u32 w) { BranchIf(m, w, !IsEqual(m, w)); }
inline void ExecBlez(CVXMachine* m, u32 w) { BranchIf(m, w, !IsPositive(m, w)); }
inline void ExecBgtz(CVXMachine* m, u32 w) { BranchIf(m, w, IsPositive(m, w)); }
inline void ExecBltz(CVXMachine* m, u32 w) { BranchIf(m, w, IsNegative(m, w)); }
inline void ExecBgez(CVXMachine* m, u32 w) { BranchIf(m, w, !IsNegative(m, w)); }

inline void ExecBeql(CVXMachine* m, u32 w) { BranchLikelyIf(m, w, IsEqual(m, w)); }
inline void ExecBnel(CVXMachine* m, u32 w) { BranchLikelyIf(m, w, !IsEqual(m, w)); }
inline void ExecBlezl(CVXMachine* m, u32 w) { BranchLikelyIf(m, w, !IsPositive(m, w)); }
inline void ExecBgtzl(CVXMachine* m, u32 w) { BranchLikelyIf(m, w, IsPositive(m, w)); }
inline void ExecBltzl(CVXMachine* m, u32 w) { BranchLikelyIf(m, w, IsNegative(m, w)); }
inline void ExecBgezl(CVXMachine* m, u32 w) { BranchLikelyIf(m, w, !IsNegative(m, w)); }

// The linking forms link whether taken or not, and test the register before it may be the link.
inline void ExecBltzal(CVXMachine* m, u32 w) {
  const bool bTaken = IsNegative(m, w);
  Link(m, 31);
  BranchIf(m, w, bTaken);
}
inline void ExecBgezal(CVXMachine* m, u32 w) {
  const bool bTaken = !IsNegative(m, w);
  Link(m, 31);
  BranchIf(m, w, bTaken);
}
inline void ExecBltzall(CVXMachine* m, u32 w) {
  const bool bTaken = IsNegative(m, w);
  Link(m, 31);
  BranchLikelyIf(m, w, bTaken);
}
inline void ExecBgezall(CVXMachine* m, u32 w) {
  const bool bTaken = !IsNegative(m, w);
  Link(m, 31);
  BranchLikelyIf(m, w, bTaken);
}

}  // namespace vx

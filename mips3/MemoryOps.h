// Loads and stores: what the op table says executes them, applied to the registers that an op word
// names. Shared by the handlers and by replay. `k` is the number of ops not yet charged.
#pragma once

#include "mips3/MemoryValues.h"
#include "mips3/RegisterOps.h"

namespace vx {

inline u32 AddressOf(const CVXMachine* m, u32 w) {
  return ops::Address(RegS(m, w), UnsignedImmediate(w));
}

// clang-format off
inline void ExecLb(CVXMachine* m, u32 w, u32 k)  { SetT(m, w, ops::Lb(m, AddressOf(m, w), k)); }
inline void ExecLbu(CVXMachine* m, u32 w, u32 k) { SetT(m, w, ops::Lbu(m, AddressOf(m, w), k)); }
inline void ExecLh(CVXMachine* m, u32 w, u32 k)  { SetT(m, w, ops::Lh(m, AddressOf(m, w), k)); }
inline void ExecLhu(CVXMachine* m, u32 w, u32 k) { SetT(m, w, ops::Lhu(m, AddressOf(m, w), k)); }
inline void ExecLw(CVXMachine* m, u32 w, u32 k)  { SetT(m, w, ops::Lw(m, AddressOf(m, w), k)); }
inline void ExecLwu(CVXMachine* m, u32 w, u32 k) { SetT(m, w, ops::Lwu(m, AddressOf(m, w), k)); }
inline void ExecLd(CVXMachine* m, u32 w, u32 k)  { SetT(m, w, ops::Ld(m, AddressOf(m, w), k)); }

inline void ExecSb(CVXMachine* m, u32 w, u32 k)  { ops::Sb(m, AddressOf(m, w), RegT(m, w), k); }
inline void ExecSh(CVXMachine* m, u32 w, u32 k)  { ops::Sh(m, AddressOf(m, w), RegT(m, w), k); }
inline void ExecSw(CVXMachine* m, u32 w, u32 k)  { ops::Sw(m, AddressOf(m, w), RegT(m, w), k); }
inline void ExecSd(CVXMachine* m, u32 w, u32 k)  { ops::Sd(m, AddressOf(m, w), RegT(m, w), k); }

inline void ExecLwl(CVXMachine* m, u32 w, u32 k) { SetT(m, w, ops::Lwl(m, AddressOf(m, w), RegT(m, w), k)); }
inline void ExecLwr(CVXMachine* m, u32 w, u32 k) { SetT(m, w, ops::Lwr(m, AddressOf(m, w), RegT(m, w), k)); }
inline void ExecLdl(CVXMachine* m, u32 w, u32 k) { SetT(m, w, ops::Ldl(m, AddressOf(m, w), RegT(m, w), k)); }
inline void ExecLdr(CVXMachine* m, u32 w, u32 k) { SetT(m, w, ops::Ldr(m, AddressOf(m, w), RegT(m, w), k)); }

inline void ExecSwl(CVXMachine* m, u32 w, u32 k) { ops::Swl(m, AddressOf(m, w), RegT(m, w), k); }
inline void ExecSwr(CVXMachine* m, u32 w, u32 k) { ops::Swr(m, AddressOf(m, w), RegT(m, w), k); }
inline void ExecSdl(CVXMachine* m, u32 w, u32 k) { ops::Sdl(m, AddressOf(m, w), RegT(m, w), k); }
inline void ExecSdr(CVXMachine* m, u32 w, u32 k) { ops::Sdr(m, AddressOf(m, w), RegT(m, w), k); }
// clang-format on

}  // namespace vx

// Loads and stores: one inline function an op, shared by the handlers and by replay. An access and
// its charges happen also when the target is register 0. `k` is the number of ops not yet charged.
#pragma once

#include "mips3/Memory.h"
#include "mips3/RegisterOps.h"

namespace vx {

inline u32 AddressOf(const CVXMachine* m, u32 w) {
  return LowS(m, w) + static_cast<u32>(SignedImmediate(w));
}

// Loads a value of type T, widened to 64 bits by its signedness.
template <typename T>
inline void Load(CVXMachine* m, u32 w, u32 k) {
  using Bits = std::make_unsigned_t<T>;
  const T value = static_cast<T>(ReadMemory<Bits>(m, AddressOf(m, w), k));
  SetT(m, w, static_cast<u64>(static_cast<i64>(value)));
}
template <typename T>
inline void Store(CVXMachine* m, u32 w, u32 k) {
  WriteMemory<T>(m, AddressOf(m, w), static_cast<T>(RegT(m, w)), k);
}

inline void ExecLb(CVXMachine* m, u32 w, u32 k) { Load<i8>(m, w, k); }
inline void ExecLbu(CVXMachine* m, u32 w, u32 k) { Load<u8>(m, w, k); }
inline void ExecLh(CVXMachine* m, u32 w, u32 k) { Load<i16>(m, w, k); }
inline void ExecLhu(CVXMachine* m, u32 w, u32 k) { Load<u16>(m, w, k); }
inline void ExecLw(CVXMachine* m, u32 w, u32 k) { Load<i32>(m, w, k); }
inline void ExecLwu(CVXMachine* m, u32 w, u32 k) { Load<u32>(m, w, k); }
inline void ExecLd(CVXMachine* m, u32 w, u32 k) { Load<u64>(m, w, k); }
inline void ExecSb(CVXMachine* m, u32 w, u32 k) { Store<u8>(m, w, k); }
inline void ExecSh(CVXMachine* m, u32 w, u32 k) { Store<u16>(m, w, k); }
inline void ExecSw(CVXMachine* m, u32 w, u32 k) { Store<u32>(m, w, k); }
inline void ExecSd(CVXMachine* m, u32 w, u32 k) { Store<u64>(m, w, k); }

// --- Unaligned forms: the aligned word or doubleword that holds the address --------------------

inline constexpr u32 kOnes32 = 0xFFFFFFFF;
inline constexpr u64 kOnes64 = ~u64{0};

// How far the register's or the memory's end lies from the addressed byte, in bits.
template <typename T>
constexpr u32 RightShift(u32 address) {
  return (address & (sizeof(T) - 1)) * 8;
}
template <typename T>
constexpr u32 LeftShift(u32 address) {
  return (sizeof(T) - 1 - (address & (sizeof(T) - 1))) * 8;
}

inline void ExecLwl(CVXMachine* m, u32 w, u32 k) {
  const u32 address = AddressOf(m, w);
  const u32 s = LeftShift<u32>(address);
  const u32 memory = ReadMemory<u32>(m, address, k);
  SetT(m, w, SignExtend32((LowT(m, w) & ~(kOnes32 << s)) | memory << s));
}
// Zero-extends, also where lwl sign-extends.
inline void ExecLwr(CVXMachine* m, u32 w, u32 k) {
  const u32 address = AddressOf(m, w);
  const u32 s = RightShift<u32>(address);
  const u32 memory = ReadMemory<u32>(m, address, k);
  SetT(m, w, (LowT(m, w) & ~(kOnes32 >> s)) | memory >> s);
}
inline void ExecLdl(CVXMachine* m, u32 w, u32 k) {
  const u32 address = AddressOf(m, w);
  const u32 s = LeftShift<u64>(address);
  const u64 memory = ReadMemory<u64>(m, address, k);
  SetT(m, w, (RegT(m, w) & ~(kOnes64 << s)) | memory << s);
}
inline void ExecLdr(CVXMachine* m, u32 w, u32 k) {
  const u32 address = AddressOf(m, w);
  const u32 s = RightShift<u64>(address);
  const u64 memory = ReadMemory<u64>(m, address, k);
  SetT(m, w, (RegT(m, w) & ~(kOnes64 >> s)) | memory >> s);
}
inline void ExecSwl(CVXMachine* m, u32 w, u32 k) {
  const u32 address = AddressOf(m, w);
  const u32 s = LeftShift<u32>(address);
  const u32 source = LowT(m, w);
  MergeMemory<u32>(m, address, ~(kOnes32 >> s), source >> s, source, k);
}
inline void ExecSwr(CVXMachine* m, u32 w, u32 k) {
  const u32 address = AddressOf(m, w);
  const u32 s = RightShift<u32>(address);
  const u32 source = LowT(m, w);
  MergeMemory<u32>(m, address, ~(kOnes32 << s), source << s, source, k);
}
inline void ExecSdl(CVXMachine* m, u32 w, u32 k) {
  const u32 address = AddressOf(m, w);
  const u32 s = LeftShift<u64>(address);
  const u64 source = RegT(m, w);
  MergeMemory<u64>(m, address, ~(kOnes64 >> s), source >> s, source, k);
}
inline void ExecSdr(CVXMachine* m, u32 w, u32 k) {
  const u32 address = AddressOf(m, w);
  const u32 s = RightShift<u64>(address);
  const u64 source = RegT(m, w);
  MergeMemory<u64>(m, address, ~(kOnes64 << s), source << s, source, k);
}

}  // namespace vx

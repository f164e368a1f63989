// What loads and stores do, as functions of address and operand values: one an op, under the name
// by which the op table says what executes it. Handlers and replay apply them to registers, native
// blocks to locals. An access and its charges happen also when the result is dropped. `k` is the
// number of executed ops whose cycles have not been added yet, `Calls` how the paths off RAM are
// called.
#pragma once

#include "mips3/Memory.h"
#include "mips3/OpValues.h"

namespace vx::ops {

constexpr u32 Address(u64 base, u32 immediate) {
  return Low(base) + static_cast<u32>(SignExtend16(immediate));
}

// Loads a value of type T, widened to 64 bits by its signedness.
template <typename T, typename Calls>
inline u64 Load(CVXMachine* m, u32 address, u32 k) {
  return static_cast<u64>(
      static_cast<i64>(static_cast<T>(ReadMemory<std::make_unsigned_t<T>, Calls>(m, address, k))));
}

template <typename Calls = SDirectCalls>
inline u64 Lb(CVXMachine* m, u32 address, u32 k) {
  return Load<i8, Calls>(m, address, k);
}
template <typename Calls = SDirectCalls>
inline u64 Lbu(CVXMachine* m, u32 address, u32 k) {
  return Load<u8, Calls>(m, address, k);
}
template <typename Calls = SDirectCalls>
inline u64 Lh(CVXMachine* m, u32 address, u32 k) {
  return Load<i16, Calls>(m, address, k);
}
template <typename Calls = SDirectCalls>
inline u64 Lhu(CVXMachine* m, u32 address, u32 k) {
  return Load<u16, Calls>(m, address, k);
}
template <typename Calls = SDirectCalls>
inline u64 Lw(CVXMachine* m, u32 address, u32 k) {
  return Load<i32, Calls>(m, address, k);
}
template <typename Calls = SDirectCalls>
inline u64 Lwu(CVXMachine* m, u32 address, u32 k) {
  return Load<u32, Calls>(m, address, k);
}
template <typename Calls = SDirectCalls>
inline u64 Ld(CVXMachine* m, u32 address, u32 k) {
  return Load<u64, Calls>(m, address, k);
}

template <typename Calls = SDirectCalls>
inline void Sb(CVXMachine* m, u32 address, u64 t, u32 k) {
  WriteMemory<u8, Calls>(m, address, static_cast<u8>(t), k);
}
template <typename Calls = SDirectCalls>
inline void Sh(CVXMachine* m, u32 address, u64 t, u32 k) {
  WriteMemory<u16, Calls>(m, address, static_cast<u16>(t), k);
}
template <typename Calls = SDirectCalls>
inline void Sw(CVXMachine* m, u32 address, u64 t, u32 k) {
  WriteMemory<u32, Calls>(m, address, Low(t), k);
}
template <typename Calls = SDirectCalls>
inline void Sd(CVXMachine* m, u32 address, u64 t, u32 k) {
  WriteMemory<u64, Calls>(m, address, t, k);
}

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

template <typename Calls = SDirectCalls>
inline u64 Lwl(CVXMachine* m, u32 address, u64 t, u32 k) {
  const u32 s = LeftShift<u32>(address);
  const u32 memory = ReadMemory<u32, Calls>(m, address, k);
  return SignExtend32((Low(t) & ~(kOnes32 << s)) | memory << s);
}
// Zero-extends, also where lwl sign-extends.
template <typename Calls = SDirectCalls>
inline u64 Lwr(CVXMachine* m, u32 address, u64 t, u32 k) {
  const u32 s = RightShift<u32>(address);
  const u32 memory = ReadMemory<u32, Calls>(m, address, k);
  return (Low(t) & ~(kOnes32 >> s)) | memory >> s;
}
template <typename Calls = SDirectCalls>
inline u64 Ldl(CVXMachine* m, u32 address, u64 t, u32 k) {
  const u32 s = LeftShift<u64>(address);
  const u64 memory = ReadMemory<u64, Calls>(m, address, k);
  return (t & ~(kOnes64 << s)) | memory << s;
}
template <typename Calls = SDirectCalls>
inline u64 Ldr(CVXMachine* m, u32 address, u64 t, u32 k) {
  const u32 s = RightShift<u64>(address);
  const u64 memory = ReadMemory<u64, Calls>(m, address, k);
  return (t & ~(kOnes64 >> s)) | memory >> s;
}
inline void Swl(CVXMachine* m, u32 address, u64 t, u32 k) {
  const u32 s = LeftShift<u32>(address);
  const u32 source = Low(t);
  MergeMemory<u32>(m, address, ~(kOnes32 >> s), source >> s, source, k);
}
inline void Swr(CVXMachine* m, u32 address, u64 t, u32 k) {
  const u32 s = RightShift<u32>(address);
  const u32 source = Low(t);
  MergeMemory<u32>(m, address, ~(kOnes32 << s), source << s, source, k);
}
inline void Sdl(CVXMachine* m, u32 address, u64 t, u32 k) {
  const u32 s = LeftShift<u64>(address);
  const u64 source = t;
  MergeMemory<u64>(m, address, ~(kOnes64 >> s), source >> s, source, k);
}
inline void Sdr(CVXMachine* m, u32 address, u64 t, u32 k) {
  const u32 s = RightShift<u64>(address);
  const u64 source = t;
  MergeMemory<u64>(m, address, ~(kOnes64 << s), source << s, source, k);
}

}  // namespace vx::ops

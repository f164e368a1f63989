#include "tests/oracle/PlainRules.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>

#include "tests/oracle/GuestProgram.h"

namespace vx::oracle {

namespace {

constexpr u32 kNowhere = 0xFFFFFFFF;
constexpr u64 kOnes = ~u64{0};

u64 Extend(u32 value) { return static_cast<u64>(static_cast<i64>(static_cast<i32>(value))); }
template <typename T>
u64 ExtendAs(T value) {
  return static_cast<u64>(static_cast<i64>(value));
}

// --- Floating point values -----------------------------------------------------------------------

template <typename T>
struct SFormat;
template <>
struct SFormat<f32> {
  using Bits = u32;
  static constexpr u32 kSign = 0x80000000, kQuiet = 0x00400000, kNan = 0xFFC00000;
};
template <>
struct SFormat<f64> {
  using Bits = u64;
  static constexpr u64 kSign = u64{1} << 63, kQuiet = u64{1} << 51, kNan = u64{0xFFF8} << 48;
};

template <typename T>
T NanOr(T result, T a, T b) {
  using F = SFormat<T>;
  if (result == result) return result;
  for (const T operand : {a, b}) {
    if (operand != operand) {
      return std::bit_cast<T>(std::bit_cast<typename F::Bits>(operand) | F::kQuiet);
    }
  }
  return std::bit_cast<T>(F::kNan);
}

template <typename T>
T Calculate(u32 funct, T a, T b) {
  switch (funct) {
    case 0:
      return NanOr<T>(a + b, a, b);
    case 1:
      return NanOr<T>(a - b, a, b);
    case 2:
      return NanOr<T>(a * b, a, b);
    case 3:
      return NanOr<T>(a / b, a, b);
    default:
      return NanOr<T>(static_cast<T>(std::sqrt(static_cast<f64>(a))), a, a);
  }
}

template <typename T, typename Integer>
Integer Truncate(T value) {
  const T sum = value + static_cast<T>(0.5);
  const T limit = -static_cast<T>(std::numeric_limits<Integer>::min());
  const bool bFits = sum >= -limit && sum < limit;
  return bFits ? static_cast<Integer>(sum) : std::numeric_limits<Integer>::min();
}

template <typename T>
bool Holds(u32 relation, T a, T b) {
  switch (relation) {
    case 1:
      return a == b;
    case 2:
      return a < b;
    case 3:
      return a < b || a == b;
    default:
      return false;
  }
}

// --- The processor -------------------------------------------------------------------------------

class CPlainProcessor {
 public:
  CPlainProcessor(const SStream& stream, u32 which)
      : stream_(stream), data_(DataAddress(stream.slot, which)), r_(stream.before[which]) {
    r_.conditions = (r_.conditions >> 23 & 1) | (r_.conditions >> 25 & 0x7F) << 1;
  }

  SBoardResult Run() {
    SBoardResult result;
    u32 pc = stream_.address;
    u32 pending = kNowhere;
    for (u32 steps = 0; steps < 4 * kMaxStreamOps; ++steps) {
      if (pc == kHarnessExit && pending == kNowhere) {
        result.bFinished = true;
        break;
      }
      const u32 index = (pc - stream_.address) / 4;
      if (index >= stream_.ops.size()) break;
      pc_ = pending != kNowhere ? pending : pc + 4;
      target_ = kNowhere;
      Execute(stream_.ops[index].board);
      ++cycles_;
      pc = pc_;
      pending = target_;
    }
    result.after = r_;
    result.cycles = cycles_;
    result.mulBusy = static_cast<u32>(std::max(mulBusy_, cycles_) - cycles_);
    result.fpMulBusy = static_cast<u32>(std::max(fpMulBusy_, cycles_) - cycles_);
    result.fpBusy = static_cast<u32>(std::max(fpBusy_, cycles_) - cycles_);
    return result;
  }

 private:
  u64& Gpr(u32 index) { return r_.gpr[index]; }
  void Set(u32 index, u64 value) {
    if (index != 0) r_.gpr[index] = value;
  }

  void Execute(u32 w) {
    w_ = w;
    s_ = w >> 21 & 31;
    t_ = w >> 16 & 31;
    d_ = w >> 11 & 31;
    sa_ = w >> 6 & 31;
    const u32 main = w >> 26;
    if (main == 0) return Special(w & 63);
    if (main == 1) return RegImm();
    if (main == 17) return Cop1();
    if (main < 8 || (main >= 20 && main < 24)) return Branch(main);
    if (main < 16 || main == 24 || main == 25) return Immediate(main);
    if (main == 49 || main == 57) return FpMemory(main);
    Memory(main);
  }

  // --- Register ops ----------------------------------------------------------------------------

  void Special(u32 funct) {
    const u64 s = Gpr(s_), t = Gpr(t_);
    const u32 sw = static_cast<u32>(s), tw = static_cast<u32>(t);
    switch (funct) {
      case 0:
        return Set(d_, Extend(tw << sa_));
      case 2:
        return Set(d_, Extend(tw >> sa_));
      case 3:
        return Set(d_, ExtendAs(static_cast<i32>(tw) >> sa_));
      case 4:
        return Set(d_, Extend(tw << (sw & 31)));
      case 6:
        return Set(d_, Extend(tw >> (sw & 31)));
      case 7:
        return Set(d_, ExtendAs(static_cast<i32>(tw) >> (sw & 31)));
      case 8:
        target_ = sw;
        return;
      case 9:
        target_ = sw;
        r_.gpr[d_] = Extend(pc_ + 4);
        return;
      case 16:
        Set(d_, r_.hi);
        return WaitMultiplier();
      case 17:
        r_.hi = s;
        return WaitMultiplier();
      case 18:
        Set(d_, r_.lo);
        return WaitMultiplier();
      case 19:
        r_.lo = s;
        return WaitMultiplier();
      case 20:
        return Set(d_, t << (sw & 63));
      case 22:
        return Set(d_, t >> (sw & 63));
      case 23:
        return Set(d_, ExtendAs(static_cast<i64>(t) >> (sw & 63)));
      case 32:
      case 33:
        return Set(d_, Extend(sw + tw));
      case 34:
      case 35:
        return Set(d_, Extend(sw - tw));
      case 36:
        return Set(d_, s & t);
      case 37:
        return Set(d_, s | t);
      case 38:
        return Set(d_, s ^ t);
      case 39:
        return Set(d_, ~(s | t));
      case 42:
        return Set(d_, static_cast<i64>(s) < static_cast<i64>(t));
      case 43:
        return Set(d_, s < t);
      case 44:
      case 45:
        return Set(d_, s + t);
      case 46:
      case 47:
        return Set(d_, s - t);
      case 56:
        return Set(d_, t << sa_);
      case 58:
        return Set(d_, t >> sa_);
      case 59:
        return Set(d_, ExtendAs(static_cast<i64>(t) >> sa_));
      case 60:
        return Set(d_, t << (sa_ + 32));
      case 62:
        return Set(d_, t >> (sa_ + 32));
      case 63:
        return Set(d_, ExtendAs(static_cast<i64>(t) >> (sa_ + 32)));
      default:
        if (funct >= 24 && funct < 32) MultiplyOrDivide(funct, s, t);
        return;
    }
  }

  void WaitMultiplier() { cycles_ = std::max(cycles_, mulBusy_); }

  void MultiplyOrDivide(u32 funct, u64 s, u64 t) {
    static constexpr u32 kCycles[] = {10, 10, 42, 42, 12, 12, 74, 74};
    const i32 sw = static_cast<i32>(s), tw = static_cast<i32>(t);
    switch (funct) {
      case 24:
        SetHiLo32(i64{sw} * tw);
        break;
      case 25:
        SetHiLo32(static_cast<i64>(u64{static_cast<u32>(s)} * static_cast<u32>(t)));
        break;
      case 26:
        if (tw != 0) Divided32(i64{sw} / tw, i64{sw} % tw);
        break;
      case 27:
        if (tw != 0)
          Divided32(static_cast<u32>(s) / static_cast<u32>(t),
                    static_cast<u32>(s) % static_cast<u32>(t));
        break;
      case 28:
        SetHiLo64(
            static_cast<unsigned __int128>(__int128{static_cast<i64>(s)} * static_cast<i64>(t)));
        break;
      case 29:
        SetHiLo64(static_cast<unsigned __int128>(s) * t);
        break;
      case 30:
        if (t != 0) {
          const __int128 a = static_cast<i64>(s), b = static_cast<i64>(t);
          r_.lo = static_cast<u64>(a / b);
          r_.hi = static_cast<u64>(a % b);
        }
        break;
      default:
        if (t != 0) {
          r_.lo = s / t;
          r_.hi = s % t;
        }
        break;
    }
    WaitMultiplier();
    mulBusy_ = cycles_ + kCycles[funct - 24];
  }
  void SetHiLo32(i64 product) {
    r_.lo = Extend(static_cast<u32>(product));
    r_.hi = Extend(static_cast<u32>(product >> 32));
  }
  void Divided32(i64 quotient, i64 remainder) {
    r_.lo = Extend(static_cast<u32>(quotient));
    r_.hi = Extend(static_cast<u32>(remainder));
  }
  void SetHiLo64(unsigned __int128 product) {
    r_.lo = static_cast<u64>(product);
    r_.hi = static_cast<u64>(product >> 64);
  }

  void Immediate(u32 main) {
    const u64 s = Gpr(s_);
    const u64 unsignedImmediate = w_ & 0xFFFF;
    const u64 immediate = ExtendAs(static_cast<i16>(w_));
    switch (main) {
      case 8:
      case 9:
        return Set(t_, Extend(static_cast<u32>(s + immediate)));
      case 10:
        return Set(t_, static_cast<i64>(s) < static_cast<i64>(immediate));
      case 11:
        return Set(t_, s < immediate);
      case 12:
        return Set(t_, s & unsignedImmediate);
      case 13:
        return Set(t_, s | unsignedImmediate);
      case 14:
        return Set(t_, s ^ unsignedImmediate);
      case 15:
        return Set(t_, Extend(static_cast<u32>(w_ << 16)));
      default:
        return Set(t_, s + immediate);
    }
  }

  // --- Branches, not likely --------------------------------------------------------------------

  void TakeIf(bool bTaken) {
    if (bTaken) target_ = pc_ + static_cast<u32>(static_cast<i16>(w_) * 4);
  }
  void Branch(u32 main) {
    const i64 s = static_cast<i64>(Gpr(s_));
    switch (main) {
      case 3:
        Set(31, Extend(pc_ + 4));
        [[fallthrough]];
      case 2:
        target_ = (pc_ & 0xF0000000) | (w_ << 2 & 0x0FFFFFFF);
        return;
      case 4:
        return TakeIf(Gpr(s_) == Gpr(t_));
      case 5:
        return TakeIf(Gpr(s_) != Gpr(t_));
      case 6:
        return TakeIf(s <= 0);
      default:
        return TakeIf(s > 0);
    }
  }
  void RegImm() {
    if ((t_ & 14) != 0) return;
    const bool bNegative = Gpr(s_) >> 63 != 0;
    if ((t_ & 16) != 0) Set(31, Extend(pc_ + 4));
    TakeIf(bNegative == ((t_ & 1) == 0));
  }

  // --- Memory ----------------------------------------------------------------------------------

  u8* At(u32 address, u32 bytes) {
    static u8 nothing[8];
    std::memset(nothing, 0, sizeof(nothing));
    const u32 place = (address & ~(bytes - 1)) - data_;
    return place <= SStreamRecord::kDataBytes - bytes ? r_.data + place : nothing;
  }
  u32 Address() { return static_cast<u32>(Gpr(s_)) + static_cast<u32>(static_cast<i16>(w_)); }
  template <typename T>
  T Read() {
    T value;
    std::memcpy(&value, At(Address(), sizeof(T)), sizeof(T));
    return value;
  }
  template <typename T>
  void Write(T value) {
    std::memcpy(At(Address(), sizeof(T)), &value, sizeof(T));
  }

  void Memory(u32 main) {
    const u32 byte4 = Address() & 3, byte8 = Address() & 7;
    const u32 t = static_cast<u32>(Gpr(t_));
    const u64 whole = Gpr(t_);
    switch (main) {
      case 32:
        return Set(t_, ExtendAs(Read<i8>()));
      case 33:
        return Set(t_, ExtendAs(Read<i16>()));
      case 35:
        return Set(t_, ExtendAs(Read<i32>()));
      case 36:
        return Set(t_, Read<u8>());
      case 37:
        return Set(t_, Read<u16>());
      case 39:
        return Set(t_, Read<u32>());
      case 55:
        return Set(t_, Read<u64>());
      case 40:
        return Write(static_cast<u8>(t));
      case 41:
        return Write(static_cast<u16>(t));
      case 43:
        return Write(t);
      case 63:
        return Write(whole);
      // Bytes up to the addressed one go to the register's or come from its top.
      case 34:
        return Set(t_,
                   Extend(Merge<u32>(t, Read<u32>() << 8 * (3 - byte4), ~0u << 8 * (3 - byte4))));
      case 38:
        return Set(t_, Merge<u32>(t, Read<u32>() >> 8 * byte4, ~0u >> 8 * byte4));
      case 26:
        return Set(t_, Merge<u64>(whole, Read<u64>() << 8 * (7 - byte8), kOnes << 8 * (7 - byte8)));
      case 27:
        return Set(t_, Merge<u64>(whole, Read<u64>() >> 8 * byte8, kOnes >> 8 * byte8));
      case 42:
        return Write(Merge<u32>(Read<u32>(), t >> 8 * (3 - byte4), ~0u >> 8 * (3 - byte4)));
      case 46:
        return Write(Merge<u32>(Read<u32>(), t << 8 * byte4, ~0u << 8 * byte4));
      case 44:
        return Write(Merge<u64>(Read<u64>(), whole >> 8 * (7 - byte8), kOnes >> 8 * (7 - byte8)));
      case 45:
        return Write(Merge<u64>(Read<u64>(), whole << 8 * byte8, kOnes << 8 * byte8));
      default:
        return;
    }
  }
  template <typename T>
  static T Merge(T old, T bits, T mask) {
    return (old & ~mask) | (bits & mask);
  }

  // --- Floating point --------------------------------------------------------------------------

  bool IsFull() const { return stream_.bFullRegisters; }
  u64& Whole(u32 index) { return r_.fpr[IsFull() ? index : index & 30]; }
  bool IsHigh(u32 index) const { return !IsFull() && (index & 1) != 0; }
  u32 GetWord(u32 index) { return static_cast<u32>(Whole(index) >> (IsHigh(index) ? 32 : 0)); }
  void SetWord(u32 index, u32 value) {
    u64& whole = Whole(index);
    whole = IsHigh(index) ? (whole & 0xFFFFFFFF) | u64{value} << 32
                          : (whole & ~u64{0xFFFFFFFF}) | value;
  }
  void SetMovedWord(u32 index, u32 value) {
    if (IsFull()) {
      r_.fpr[index] = value;
    } else {
      SetWord(index & 30, value);
    }
  }
  template <typename T>
  T GetFp(u32 index) {
    if constexpr (sizeof(T) == 4) return std::bit_cast<T>(GetWord(index));
    if constexpr (sizeof(T) == 8) return std::bit_cast<T>(Whole(index));
  }
  template <typename T>
  void SetFp(u32 index, T value) {
    if constexpr (sizeof(T) == 4) SetWord(index, std::bit_cast<u32>(value));
    if constexpr (sizeof(T) == 8) Whole(index) = std::bit_cast<u64>(value);
  }

  void FpMemory(u32 main) {
    if (main == 49) {
      SetMovedWord(t_, Read<u32>());
    } else {
      Write(static_cast<u32>(Whole(t_)));
    }
    cycles_ = std::max(cycles_, fpBusy_);
    fpBusy_ = cycles_ + 1;
  }

  void Cop1() {
    switch (s_) {
      case 0:
        return Set(t_, Extend(static_cast<u32>(Whole(d_))));
      case 1:
        return Set(t_, Whole(d_));
      case 2:
      case 6:
        return;
      case 4:
        return SetMovedWord(d_, static_cast<u32>(Gpr(t_)));
      case 5:
        Whole(d_) = Gpr(t_);
        return;
      case 8:
        return TakeIf((r_.conditions >> (t_ >> 2) & 1) == (t_ & 1));
      default:
        if ((s_ & 1) != 0) {
          Arithmetic<f64, i64>(w_ & 63);
        } else {
          Arithmetic<f32, i32>(w_ & 63);
        }
    }
  }

  template <typename T, typename Integer>
  void Arithmetic(u32 funct) {
    using F = SFormat<T>;
    using Bits = typename F::Bits;
    static constexpr u32 kSingle[] = {4, 4, 8, 32, 31, 1, 1, 1};
    static constexpr u32 kDouble[] = {4, 4, 8, 61, 60, 1, 1, 1};
    const Bits source = GetFp<Bits>(d_);
    if (funct < 5) {
      SetFp<T>(sa_, Calculate<T>(funct, GetFp<T>(d_), GetFp<T>(t_)));
    } else if (funct < 8) {
      SetFp<Bits>(sa_, funct == 5 ? source & ~F::kSign : funct == 6 ? source : source ^ F::kSign);
    } else if (funct >= 48) {
      const u64 bit = u64{1} << (sa_ >> 2);
      r_.conditions &= ~bit;
      if (Holds<T>(funct >> 1 & 3, GetFp<T>(d_), GetFp<T>(t_))) r_.conditions |= bit;
    } else if (!Convert<T, Integer>(funct)) {
      return;
    }
    if (funct >= 8) {
      cycles_ = std::max(cycles_, fpBusy_);
      return;
    }
    u64& busy = funct == 2 ? fpMulBusy_ : fpBusy_;
    cycles_ = std::max(cycles_, busy);
    busy = cycles_ + (sizeof(T) == 4 ? kSingle : kDouble)[funct];
  }

  template <typename T, typename Integer>
  bool Convert(u32 funct) {
    const bool bInteger = (w_ >> 23 & 1) != 0;
    switch (funct) {
      case 32:
        SetFp<f32>(sa_, bInteger ? static_cast<f32>(GetFp<Integer>(d_)) : Narrow(Whole(d_)));
        return true;
      case 33:
        if (bInteger) {
          SetFp<f64>(sa_, static_cast<f64>(GetFp<Integer>(d_)));
        } else {
          Whole(sa_) = Whole(d_);
        }
        return true;
      case 36:
        SetFp<i32>(sa_, Truncate<T, i32>(GetFp<T>(d_)));
        return true;
      case 37:
        SetFp<i64>(sa_, Truncate<T, i64>(GetFp<T>(d_)));
        return true;
      default:
        return false;
    }
  }
  // A NaN keeps its sign and the top of its payload, and is quiet.
  static f32 Narrow(u64 bits) {
    const f64 value = std::bit_cast<f64>(bits);
    if (value == value) return static_cast<f32>(value);
    const u32 sign = static_cast<u32>(bits >> 32 & 0x80000000);
    return std::bit_cast<f32>(sign | 0x7FC00000 | static_cast<u32>(bits >> 29 & 0x003FFFFF));
  }

  const SStream& stream_;
  u32 data_;
  SStreamRecord r_;
  u32 w_ = 0, s_ = 0, t_ = 0, d_ = 0, sa_ = 0;
  u32 pc_ = 0;  // the address after the op, or in a delay slot the branch's outcome
  u32 target_ = kNowhere;
  u64 cycles_ = 0, mulBusy_ = 0, fpMulBusy_ = 0, fpBusy_ = 0;
};

}  // namespace

SBoardResult RunPlainRules(const SStream& stream, u32 which) {
  return CPlainProcessor(stream, which).Run();
}

}  // namespace vx::oracle

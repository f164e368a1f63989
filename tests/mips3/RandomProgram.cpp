#include "tests/mips3/RandomProgram.h"

#include "tests/mips3/Encode.h"
#include "tests/mips3/FpEncode.h"

namespace vx {

namespace {

using namespace mips;

class CProgramMaker {
 public:
  CProgramMaker(std::mt19937& random, u32 address, u32 features)
      : m_random(random), m_address(address), m_features(features) {}

  SProgram Make() {
    const u32 blocks = 3 + Below(8);
    std::vector<u32> starts;  // every op that a jump may reach: all but delay slots
    std::vector<u32> branches;
    for (u32 b = 0; b < blocks; ++b) {
      const u32 ops = Below(12);
      for (u32 i = 0; i < ops; ++i) {
        starts.push_back(Size());
        m_words.push_back(RandomOp());
      }
      starts.push_back(Size());
      branches.push_back(Size());
      m_words.push_back(kNop);
      m_words.push_back(RandomOp());
    }
    for (const u32 at : branches) {
      const bool bLast = at == branches.back();
      m_words[at] = RandomBranch(at, starts[Below(static_cast<u32>(starts.size()))], bLast);
    }
    return {m_words, m_address + 4 * starts[Below(static_cast<u32>(starts.size()))]};
  }

 private:
  u32 Below(u32 limit) { return static_cast<u32>(m_random() % limit); }
  u32 Size() const { return static_cast<u32>(m_words.size()); }
  // v0 to t7: what programs compute with; now and then register 0.
  u32 AnyRegister() { return Below(12) == 0 ? 0 : 2 + Below(14); }

  u32 RandomBranch(u32 at, u32 to, bool bAlways) {
    const i32 offset = static_cast<i32>(to) - static_cast<i32>(at) - 1;
    const u32 s = AnyRegister();
    const u32 target = m_address + 4 * to;
    if (!bAlways && (m_features & kUsesFloat) != 0 && Below(4) == 0) {
      return Bc1(Below(2), Below(8), offset);
    }
    switch (bAlways ? 8 + Below(4) : Below(13)) {
      case 0:
        return Beq(s, AnyRegister(), offset);
      case 1:
        return Bne(s, AnyRegister(), offset);
      case 2:
        return Blez(s, offset);
      case 3:
        return Bgtz(s, offset);
      case 4:
        return Bltz(s, offset);
      case 5:
        return Bgez(s, offset);
      case 6:
        return Bltzal(s, offset);
      case 7:
        return Bgezal(s, offset);
      case 8:
        return J(target);
      case 9:
        return Jal(target);
      case 10:
        return Jr(kJumpReg);
      case 11:
        return Jalr(AnyRegister() | 1, kJumpReg);
      default:
        return Beq(kZero, kZero, offset);
    }
  }

  u32 RandomOp() {
    const u32 kind = Below(20);
    if (kind < 7 && (m_features & kUsesMemory) != 0) return RandomAccess();
    if (kind == 7 && (m_features & kUsesTraps) != 0) return RandomTrap();
    if (kind == 8 && (m_features & kUsesTime) != 0) return RandomTimeOp();
    if (kind >= 15 && (m_features & kUsesFloat) != 0) return RandomFloatOp();
    if (kind < 12) return RandomMultiplierOp();
    if (kind == 12) return kNop;
    return RandomAluOp();
  }

  u32 RandomAluOp() {
    static constexpr u8 kThree[] = {32, 33, 34, 35, 36, 37, 38, 39, 42, 43,
                                    44, 45, 46, 47, 4,  6,  7,  20, 22, 23};
    static constexpr u8 kShifts[] = {0, 2, 3, 56, 58, 59, 60, 62, 63};
    static constexpr u8 kImmediates[] = {8, 9, 10, 11, 12, 13, 14, 24, 25};
    const u32 s = AnyRegister(), t = AnyRegister(), d = AnyRegister();
    switch (Below(8)) {
      case 0:
      case 1:
        return SpecialOp(kThree[Below(sizeof(kThree))], s, t, d);
      case 2:
      case 3:
        return SpecialOp(kThree[Below(14)], s, t, d);
      case 4:
        return SpecialOp(kShifts[Below(sizeof(kShifts))], 0, t, d, Below(32));
      case 5:
        return Lui(t, static_cast<i32>(Below(0x10000)));
      default:
        return MainOp(kImmediates[Below(sizeof(kImmediates))], s, t,
                      static_cast<i32>(Below(0x10000)));
    }
  }

  u32 RandomMultiplierOp() {
    const u32 funct = Below(2) == 0 ? 16 + Below(4) : 24 + Below(8);
    const bool bMoveFrom = funct == 16 || funct == 18;
    return SpecialOp(funct, bMoveFrom ? 0 : AnyRegister(), funct < 20 ? 0 : AnyRegister(),
                     bMoveFrom ? AnyRegister() : 0);
  }

  u32 RandomAccess() {
    static constexpr u8 kLoads[] = {26, 27, 32, 33, 34, 35, 36, 37, 38, 39, 55, 49};
    static constexpr u8 kStores[] = {40, 41, 42, 43, 44, 45, 46, 63, 57};
    u32 base = Below(2) == 0 ? kLowRamBaseReg : kMainRamBaseReg;
    const u32 place = Below(8);
    if (place == 0 && (m_features & kUsesRom) != 0) base = kRomBaseReg;
    if (place == 1 && (m_features & kUsesRegisters) != 0) base = kIoBaseReg;
    if (place == 2) base = kNowhereBaseReg;
    const u32 code =
        Below(2) == 0 ? kLoads[Below(sizeof(kLoads))] : kStores[Below(sizeof(kStores))];
    return MainOp(code, base, AnyRegister(), static_cast<i32>(Below(kDataBytes)));
  }

  u32 RandomTrap() {
    const u32 unknown = SpecialOp(15, 0, 0, 0);
    const u32 traps[] = {kSyscall, kBreak, Cop0FunctionOp(5), unknown,
                         Mtc0(AnyRegister(), kCop0Epc14)};
    return traps[Below(std::size(traps))];
  }

  u32 RandomTimeOp() {
    const u32 t = AnyRegister();
    const u32 ops[] = {Mfc0(t, 9), Dmfc0(t, 9), Mfc0(t, 13), Mfc0(t, 1), Mtc0(t, 9)};
    return ops[Below(std::size(ops))];
  }

  // Few registers, so that singles and doubles meet in them.
  u32 RandomFloatOp() {
    static constexpr u8 kFormats[] = {kSingle, kSingle, kDouble, kDouble, kWord, kLong};
    static constexpr u8 kFuncts[] = {0, 1, 2, 3, 4, 5, 6, 7, 32, 33, 36, 37};
    static constexpr u8 kMoves[] = {0, 1, 4, 5, 6};
    const u32 format = kFormats[Below(sizeof(kFormats))];
    const u32 s = Below(6), t = Below(6);
    switch (Below(4)) {
      case 0:
        return Cop1Move(kMoves[Below(sizeof(kMoves))], AnyRegister(), s);
      case 1:
        return FpCompareOp(format, kFirstCompare + Below(16), Below(8), s, t);
      default:
        return FpOp(format, kFuncts[Below(sizeof(kFuncts))], Below(6), s, t);
    }
  }

  static constexpr u32 kCop0Epc14 = 14;

  std::mt19937& m_random;
  u32 m_address;
  u32 m_features;
  std::vector<u32> m_words;
};

}  // namespace

SProgram MakeRandomProgram(std::mt19937& random, u32 address, u32 features) {
  return CProgramMaker(random, address, features).Make();
}

}  // namespace vx

// What the tests of the floating point unit share: the two register models, and the places of
// operands in them, written down independently of the component.
#pragma once

#include <array>

#include "tests/mips3/FpEncode.h"
#include "tests/mips3/ProcessorTest.h"

namespace vx {

enum class EModel { Paired, Full };
inline constexpr EModel kEveryModel[] = {EModel::Paired, EModel::Full};
inline const char* NameOf(EModel model) {
  return model == EModel::Full ? "every register its own" : "registers in pairs";
}

// What an operand occupies.
enum class EPlace { None, Word, Whole };

using FpRegisters = std::array<u64, 32>;

// Puts an operand where arithmetic looks for it: with paired registers a whole one is the even
// register, and a word its low or high half by the number's lowest bit.
inline void PutFp(FpRegisters& registers, EModel model, EPlace place, u32 index, u64 bits) {
  if (place == EPlace::None) return;
  u64& whole = registers[model == EModel::Full ? index : index & ~1u];
  if (place == EPlace::Whole) {
    whole = bits;
  } else if (model == EModel::Paired && (index & 1) != 0) {
    whole = (whole & 0xFFFFFFFF) | bits << 32;
  } else {
    whole = (whole & 0xFFFFFFFF00000000) | (bits & 0xFFFFFFFF);
  }
}

// Every word of the registers differs from every other.
inline FpRegisters MarkedFpRegisters() {
  FpRegisters registers;
  for (u32 i = 0; i < 32; ++i) registers[i] = u64{0x3A5B0100 + i} << 32 | (0x41C70200 + i);
  return registers;
}

class FpTest : public ProcessorTest {
 protected:
  void SetModel(EModel model) { cop0[kCop0Status] = model == EModel::Full ? u64{kStatusFr} : 0; }
  void SetRegisters(const FpRegisters& registers) {
    for (u32 i = 0; i < 32; ++i) cpu.fpr[i] = registers[i];
  }
  // The state before an op that finds both units idle.
  void BeginOp(EModel model, const FpRegisters& registers) {
    SetModel(model);
    SetRegisters(registers);
    cpu.cycles = cpu.fpBusy = cpu.fpMulBusy = 0;
  }
  void ExpectRegisters(const FpRegisters& expected) {
    for (u32 i = 0; i < 32; ++i) {
      EXPECT_EQ(cpu.fpr[i], expected[i])
          << "f" << i << " is " << std::hex << cpu.fpr[i] << ", not " << expected[i];
    }
  }
  // One op through the main table, at a fixed address.
  void Execute(u32 word) {
    cpu.pc = kCode + 4;
    cpu.branchTarget = kNoBranch;
    ExecuteWord(m.get(), word);
  }
};

}  // namespace vx

// The made-up programs through the run loop with their native blocks, against the same programs
// executed op by op. State and memory must agree at the end of every slice, to the last bit.
#include <gtest/gtest.h>

#include <cstring>

#include "blocks/BlockTable.h"
#include "mips3/Memory.h"
#include "tests/mips3/ReferenceStepper.h"
#include "tests/native/BlockPair.h"
#include "tests/native/Code.h"

namespace vx::test {

namespace {

constexpr u32 kVector = 0x80000180;
constexpr u32 kSlices = 1000;

void Unpack(void* target, const void* source, u32 bytes, u32, u32, u32, u32) {
  std::memcpy(target, source, bytes);
}

class NativePrograms : public ProcessorTest {
 protected:
  NativePrograms() {
    TestHost().DecompressTable = Unpack;
    LoadBlockTable();
    other.reset(new CVXMachine);
    other->queue.Clear();
    // The handler counts its entries, silences the drive's line now and then, and returns.
    const u32 vector[] = {0x275A0001, 0x335B0003, 0x403B6800, 0x42000018};
    for (u32 i = 0; i < std::size(vector); ++i) Store(kVector + 4 * i, vector[i]);
  }

  void Store(u32 address, u32 word) {
    for (CVXMachine* machine : {m.get(), other.get()}) {
      StoreFlat<u32>(machine, FlatIndexOfVirtual(machine, address), word);
    }
  }

  void Prepare(std::mt19937& random, const SPlacedProgram& placed) {
    for (u32 i = 0; i < placed.program.words.size(); ++i) {
      Store(placed.address + 4 * i, placed.program.words[i]);
    }
    for (u32 i = 1; i < 32; ++i) {
      const u64 wide = u64{random()} << 32 | random();
      gpr[i] = random() % 3 == 0 ? Extended(static_cast<u32>(wide)) : wide >> (random() % 64);
      cpu.fpr[i] = random() % 2 == 0 ? wide : wide >> (random() % 64);
    }
    gpr[kLowRamBaseReg] = Extended(kData);
    gpr[kMainRamBaseReg] = Extended(kMainData);
    gpr[kRomBaseReg] = Extended(0xBFC00400);
    gpr[kIoBaseReg] = Extended(0xB0003800);
    gpr[kNowhereBaseReg] = Extended(0xB8000000);
    gpr[kJumpReg] = Extended(placed.program.jumpTarget);
    cop0[kCop0Status] = kStatusFr | 0xFC00 | kStatusIe;
    SetPc(placed.address);
    for (u32 i = 0; i < kDataBytes; i += 4) {
      Store(kData + i, static_cast<u32>(random()));
      Store(kMainData + i, static_cast<u32>(random()));
      Store(0xBFC00400 + i, static_cast<u32>(random()));
    }
    std::memcpy(&other->cpu, &cpu, sizeof(cpu));
    other->state = m->state;
  }

  bool Agree() const {
    const auto isSame = [&](u32 address) {
      const u32 offset = FlatIndexOfVirtual(m.get(), address);
      return std::memcmp(m->flatMem + offset, other->flatMem + offset, kDataBytes + 8) == 0;
    };
    return std::memcmp(&m->cpu, &other->cpu, sizeof(cpu)) == 0 &&
           std::memcmp(&m->state, &other->state, sizeof(m->state)) == 0 && isSame(kData) &&
           isSame(kMainData);
  }

  u32 NativeHeads(const SPlacedProgram& placed) {
    u32 count = 0;
    for (u32 i = 0; i < placed.program.words.size(); ++i) {
      const u32 flags = RecordAt(placed.address + 4 * i).flags;
      count += (flags & kOpHead) != 0 && (flags & kOpNative) != 0;
    }
    return count;
  }

  MachinePtr other;
};

TEST_F(NativePrograms, RunAsTheirOpsDoOneByOne) {
  u32 natives = 0;
  for (const SPlacedProgram& placed : Programs()) {
    std::mt19937 random(placed.seed + 5);
    Prepare(random, placed);
    for (u32 slice = 0; slice < kSlices; ++slice) {
      const u32 budget = 1 + random() % (slice % 4 == 0 ? 8 : 400);
      if ((placed.features & kUsesTraps) != 0) {
        const u64 lines = random() % 4 == 0 ? random() & kInterruptMask : 0;
        for (CVXMachine* machine : {m.get(), other.get()}) {
          u64& cause = machine->cpu.cop0[kCop0Cause];
          cause = (cause & ~kInterruptMask) | lines;
        }
      }
      const u32 spent = RunProcessor(m.get(), budget);
      const u32 expected = RunReference(other.get(), budget);
      ASSERT_TRUE(spent == expected && Agree())
          << "program " << placed.seed << ", slice " << slice << " of " << budget
          << " cycles: " << spent << " spent, " << expected << " expected; pc " << std::hex
          << cpu.pc << " and " << other->cpu.pc << "\n"
          << Listing(placed.program.words);
    }
    natives += NativeHeads(placed);
  }
  EXPECT_GT(natives, 2u * Programs().size());
}

}  // namespace

}  // namespace vx::test

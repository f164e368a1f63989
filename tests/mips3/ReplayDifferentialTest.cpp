// Random programs through the run loop, with its forming and replay, against the same programs
// executed op by op. State and memory must agree at the end of every slice, to the last bit.
#include <cinttypes>
#include <cstdio>
#include <cstring>

#include "mips3/Memory.h"
#include "mips3/OpTable.h"
#include "tests/mips3/ProcessorTest.h"
#include "tests/mips3/RandomProgram.h"
#include "tests/mips3/ReferenceStepper.h"

namespace vx {

namespace {

using namespace mips;

constexpr u32 kProgramSpace = 0x88100000;  // each program gets code words of its own
constexpr u32 kProgramStride = 0x800;
constexpr u32 kVector = 0x80000180;
constexpr u32 kSlices = 24;

// A device whose answers and cuts depend on address and time, so that an inexact cycle shows.
template <typename T>
u64 ReadDevice(CVXMachine* machine, u32 address) {
  return static_cast<T>((u64{machine->cpu.cycles} + address) * 0x9E3779B97F4A7C15);
}
void WriteDevice(CVXMachine* machine, u32 address, u64 value) {
  machine->state.soundLatch = machine->state.soundLatch * 31 + address;
  machine->state.soundLatch += static_cast<u32>(value) + machine->cpu.cycles;
  if ((value & 7) == 0) machine->CutSlice();
  if ((value & 7) == 1) machine->cpu.cycles = machine->cpu.budget;
  if ((value & 7) == 2) machine->SetCauseLine(kCauseAta, (value & 8) != 0);
}

enum class EEngine { Plain, Careful };

struct SRun {
  const char* name;
  u32 features;
  EEngine engine;
  u32 programs;
};

class ReplayDifferential : public ProcessorTest, public ::testing::WithParamInterface<SRun> {
 protected:
  ReplayDifferential() : other(new CVXMachine) {
    for (CVXMachine* machine : {m.get(), other.get()}) {
      machine->queue.Clear();
      for (u32 row = 0; row < kDataBytes / 16; ++row) {
        machine->ioRead[0x200 + row] = {ReadDevice<u64>, ReadDevice<u32>, ReadDevice<u16>,
                                        ReadDevice<u8>};
        machine->ioWrite[0x200 + row] = {WriteDevice, WriteDevice, WriteDevice, WriteDevice};
      }
    }
    initial = m->cpu;
  }

  void Store(u32 address, u32 word) {
    for (CVXMachine* machine : {m.get(), other.get()}) {
      StoreFlat<u32>(machine, FlatIndexOfVirtual(machine, address), word);
    }
  }

  // The same start for both machines.
  void Prepare(std::mt19937& random, u32 address, const SProgram& program) {
    std::memcpy(&cpu, &initial, sizeof(cpu));
    cpu.pc = address;
    for (u32 i = 1; i < 32; ++i) {
      const u64 wide = u64{random()} << 32 | random();
      gpr[i] = random() % 3 == 0 ? Extended(static_cast<u32>(wide)) : wide >> (random() % 64);
    }
    gpr[kLowRamBaseReg] = Extended(kData);
    gpr[kMainRamBaseReg] = Extended(kMainData);
    gpr[kRomBaseReg] = Extended(0xBFC00400);
    gpr[kIoBaseReg] = Extended(0xB0002000);
    gpr[kNowhereBaseReg] = Extended(0xB8000000);
    gpr[kJumpReg] = Extended(program.jumpTarget);
    cop0[kCop0Status] = 0xFC00 | kStatusIe;
    for (u32 i = 0; i < program.words.size(); ++i) Store(address + 4 * i, program.words[i]);
    for (u32 i = 0; i < kDataBytes; i += 4) {
      Store(kData + i, static_cast<u32>(random()));
      Store(kMainData + i, static_cast<u32>(random()));
      Store(0xBFC00400 + i, static_cast<u32>(random()));
    }
    m->state.frameFlags = random() % 2 == 0 ? u32{kFrameRandomStart} : 0u;
    m->state.randState = static_cast<u32>(random());
    m->state.openBus = random();
    other->state = m->state;
    std::memcpy(&other->cpu, &cpu, sizeof(cpu));
  }

  // Puts the blocks that have been formed so far into careful mode.
  void MakeCareful(u32 address, size_t words) {
    for (u32 i = 0; i < words; ++i) {
      if ((RecordAt(address + 4 * i).flags & kOpHead) != 0) {
        RecordAt(address + 4 * i).flags |= kOpCareful;
      }
    }
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

  std::string Describe(u32 address, const SProgram& program) const {
    std::string text;
    char line[160];
    for (u32 i = 0; i < program.words.size(); ++i) {
      const u32 word = program.words[i];
      std::snprintf(line, sizeof(line), "  %08X: %08X %s\n", address + 4 * i, word,
                    OpInfo(DecodeOp(word)).name);
      text += line;
    }
    const auto show = [&](const char* name, u32 index, u64 run, u64 reference) {
      std::snprintf(line, sizeof(line), "  %-10s %2u  %016" PRIX64 "  %016" PRIX64 "%s\n", name,
                    index, run, reference, run != reference ? "  <-- differs" : "");
      text += line;
    };
    text += "  state          run loop          op by op\n";
    const SMIPS3Context& a = m->cpu;
    const SMIPS3Context& b = other->cpu;
    for (u32 i = 0; i < 32; ++i) show("gpr", i, a.gpr[i], b.gpr[i]);
    for (u32 i = 0; i < 32; ++i) {
      if (a.cop0[i] != b.cop0[i]) show("cop0", i, a.cop0[i], b.cop0[i]);
      if (a.fpr[i] != b.fpr[i]) show("fpr", i, a.fpr[i], b.fpr[i]);
    }
    show("pc", 0, a.pc, b.pc);
    show("target", 0, a.branchTarget, b.branchTarget);
    show("hi", 0, a.hi, b.hi);
    show("lo", 0, a.lo, b.lo);
    show("retired", 0, a.retired, b.retired);
    show("mulBusy", 0, a.mulBusy, b.mulBusy);
    show("fpBusy", 0, a.fpBusy, b.fpBusy);
    show("countBase", 0, a.countBase, b.countBase);
    show("openBus", 0, m->state.openBus, other->state.openBus);
    show("randState", 0, m->state.randState, other->state.randState);
    show("device", 0, m->state.soundLatch, other->state.soundLatch);
    return text;
  }

  MachinePtr other;
  SMIPS3Context initial;
};

TEST_P(ReplayDifferential, RandomProgramsRunAsTheirOpsDoOneByOne) {
  const SRun& run = GetParam();
  // The handler counts its entries, silences the drive's line now and then, and returns.
  const u32 vector[] = {Addiu(26, 26, 1), Andi(27, 26, 3), Dmfc0(27, kCop0Cause), kEret};
  for (u32 i = 0; i < std::size(vector); ++i) Store(kVector + 4 * i, vector[i]);

  u64 opsRun = 0;
  for (u32 seed = 1; seed <= run.programs; ++seed) {
    std::mt19937 random(seed * 2654435761u + run.features);
    const u32 address = kProgramSpace + seed * kProgramStride;
    const SProgram program = MakeRandomProgram(random, address, run.features);
    ASSERT_LE(program.words.size() * 4, kProgramStride);
    Prepare(random, address, program);
    for (u32 slice = 0; slice < kSlices; ++slice) {
      const u32 budget = 1 + random() % (slice % 4 == 0 ? 8 : 400);
      if ((run.features & kUsesTraps) != 0) {
        const u64 lines = random() % 4 == 0 ? random() & kInterruptMask : 0;
        for (CVXMachine* machine : {m.get(), other.get()}) {
          u64& cause = machine->cpu.cop0[kCop0Cause];
          cause = (cause & ~kInterruptMask) | lines;
        }
      }
      const u32 spent = RunProcessor(m.get(), budget);
      const u32 expected = RunReference(other.get(), budget);
      opsRun += spent;
      ASSERT_TRUE(spent == expected && Agree())
          << "seed " << seed << ", slice " << slice << " of " << budget << " cycles: " << spent
          << " spent, " << expected << " expected\n"
          << Describe(address, program);
      if (run.engine == EEngine::Careful) MakeCareful(address, program.words.size());
    }
  }
  EXPECT_GT(opsRun, 1000u * run.programs);
}

constexpr SRun kRuns[] = {
    {"Registers", 0, EEngine::Plain, 1500},
    {"Memory", kUsesMemory, EEngine::Plain, 1500},
    {"RomAndDevices", kUsesMemory | kUsesRom | kUsesRegisters, EEngine::Plain, 1500},
    {"Traps", kUsesMemory | kUsesTraps, EEngine::Plain, 1500},
    {"Everything", 31, EEngine::Plain, 2500},
    {"EverythingInCarefulReplay", 31, EEngine::Careful, 1500},
};
INSTANTIATE_TEST_SUITE_P(Programs, ReplayDifferential, ::testing::ValuesIn(kRuns),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace

}  // namespace vx

// Native routines against the words that they replace, and script hooks.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>

#include "sound/ADSPPatches.h"
#include "tests/sound/DspRig.h"
#include "tests/sound/RandomDsp.h"

namespace vx::test {
namespace {

constexpr u32 kLoops = 4;  // patches 0 to 3
constexpr u32 kRounds = 3000;

void Lay(CADSP& p, u32 number) {
  const SPatch& patch = kPatches[number];
  for (u32 i = 0; i < patch.wordCount; ++i) p.WriteProgram(patch.address + i, patch.words[i]);
}

u32 ChargeOf(u32 number, u32 counter) {
  if (number == 0) return 262;
  if (number == 2) return 1027;
  return 1 + std::max(counter, 1u) * (kPatches[number].wordCount - 1);
}

// A random state in which no pointer can reach the loop's own words.
void Randomise(CRandom& random, SADSPState& s, u32 number, bool bHealthy) {
  RandomiseRegisters(random, s);
  for (u32& word : s.externalRam) word = random.Next() & 0xFFFFFF;
  for (u16& word : s.dataRam) word = random.Word();
  s.irqLevel = s.irqLatched = 0;
  s.cntr = random.OneIn(8) ? 0 : random.Below(70);
  s.loopEnd = random.OneIn(2) ? kNoLoop : 700 + random.Below(100);
  s.loopCond = random.Below(16);
  for (SADSPAddress& address : s.dag) {
    address.i = random.OneIn(4) ? 0x500 + random.Below(0x100) : 0x3800 + random.Below(0x100);
    address.l = random.OneIn(4) ? random.Below(64) : 0;
    address.mask = CircularMask(address.l);
    address.base = address.i & address.mask;
    address.m = static_cast<u32>(static_cast<i32>(random.Below(3)) - 1);
  }
  if (number == 0) {  // what the routine takes for granted
    s.mstat &= ~u32{kMstatBitReverse};
    s.dag[0].l = 0;
    s.dag[0].mask = kAddressMask;
    s.dag[1].m = 1;
  }
  if (!bHealthy) return;
  s.pcDepth = static_cast<i32>(random.Below(16));
  s.loopDepth = static_cast<i32>(random.Below(4));
  s.counterDepth = static_cast<i32>(random.Below(4));
}

class Patches : public testing::TestWithParam<u32> {
 protected:
  Patches() : words_(std::make_unique<CDspRig>()), native_(std::make_unique<CDspRig>()) {
    Lay(words_->processor, GetParam());
  }

  // Gives the words' state to the routine's processor and plants the routine.
  void Copy() {
    native_->State() = words_->State();
    native_->processor.FinishBoot();
    EXPECT_EQ(native_->processor.ReadProgram(Patch().address), kPlantedWord + GetParam());
  }

  // Runs the words one by one until the PC leaves them, and answers how many ran.
  u32 RunWords(u32 limit) {
    u32 count = 0;
    u32 at = 0;
    do {
      words_->Run(1);
      ++count;
      at = words_->State().pc - Patch().address;
    } while (at > 0 && at < Patch().wordCount && count < limit);
    return count;
  }

  // Whether a store through a reversed address has hit the loop itself.
  bool WordsStand() const {
    for (u32 i = 0; i < Patch().wordCount; ++i) {
      if (words_->processor.ReadProgram(Patch().address + i) != Patch().words[i]) return false;
    }
    return true;
  }

  // Undoes the planting and compares all of the state.
  bool StatesAgree() {
    native_->processor.WriteProgram(Patch().address, Patch().words[0]);
    const auto* a = reinterpret_cast<const u16*>(&words_->State());
    const auto* b = reinterpret_cast<const u16*>(&native_->State());
    for (u32 i = 0; i < sizeof(SADSPState) / 2; ++i) {
      if (a[i] == b[i]) continue;
      ADD_FAILURE() << "byte " << 2 * i << ": words " << a[i] << ", routine " << b[i];
      return false;
    }
    return true;
  }

  static const SPatch& Patch() { return kPatches[GetParam()]; }

  std::unique_ptr<CDspRig> words_, native_;
};

TEST_P(Patches, LeaveTheStateOfTheirWordsAndTakeTheirCycles) {
  for (u32 seed = 1; seed <= kRounds; ++seed) {
    SCOPED_TRACE(seed);
    CRandom random(seed);
    SADSPState& s = words_->State();
    Randomise(random, s, GetParam(), true);
    Lay(words_->processor, GetParam());
    s.pc = Patch().address;
    Copy();
    const u32 base = s.dag[0].base;
    const u32 charge = ChargeOf(GetParam(), s.cntr);
    const u32 ran = RunWords(charge);
    if (!WordsStand()) continue;
    EXPECT_EQ(native_->Run(1), charge);
    if (GetParam() == 0) {
      EXPECT_EQ(ran, charge - 1) << "the routine takes a cycle more than its words";
      EXPECT_EQ(native_->State().dag[0].base, base) << "and leaves the base";
      s.dag[0].base = base;
    } else {
      EXPECT_EQ(ran, charge);
    }
    if (!StatesAgree()) return;
    EXPECT_EQ(s.pc, Patch().address + Patch().wordCount);
  }
}

// With stacks that overflow the loop is bent; the routine bends in the same way.
TEST_P(Patches, LeaveTheStateOfTheirWordsWithFullStacks) {
  for (u32 seed = 1; seed <= kRounds; ++seed) {
    SCOPED_TRACE(seed);
    CRandom random(seed);
    SADSPState& s = words_->State();
    Randomise(random, s, GetParam(), false);
    Lay(words_->processor, GetParam());
    s.pc = Patch().address;
    const bool bFull = s.pcDepth == 16 || s.loopDepth == 4 || s.counterDepth == 4;
    if (!bFull || GetParam() == 0) continue;
    Copy();
    const u32 charge = ChargeOf(GetParam(), s.cntr);
    RunWords(charge);
    if (!WordsStand()) continue;
    EXPECT_EQ(native_->Run(1), charge);
    if (!StatesAgree()) return;
  }
}

INSTANTIATE_TEST_SUITE_P(Loops, Patches, testing::Range(0u, kLoops));

// --- Particular rules ----------------------------------------------------------------------------

TEST(PatchClear, ClearsInOrderWhateverModifierLengthAndModeSay) {
  CDspRig rig;
  Lay(rig.processor, 0);
  rig.processor.FinishBoot();
  SADSPState& s = rig.State();
  for (u16& word : s.dataRam) word = 0x1111;
  s.mstat = kMstatBitReverse;
  s.dag[0] = {5, 8, 0, 0x123, 0x3FF8};
  s.dag[1].m = 2;
  s.cntr = 9;
  s.pc = 33;
  EXPECT_EQ(rig.Run(1), 262u);
  for (u32 i = 0; i < 512; ++i) ASSERT_EQ(s.dataRam[i], i < 258 ? 0 : 0x1111) << i;
  EXPECT_EQ(s.dag[0].i, 0x3902u);
  EXPECT_EQ(s.dag[0].base, 0x123u);
  EXPECT_EQ(s.pc, 37u);
  EXPECT_EQ(s.cntr, 9u);
  EXPECT_EQ(s.counterStack[0], 9u);
  EXPECT_EQ(s.pcStack[0], 35u + 1);
  EXPECT_EQ(s.loopStack[0], 0x0024Eu);
  EXPECT_EQ(s.loopEnd, 65535u);
}

TEST(PatchLoops, ACounterOfNoughtMakesOneRoundAndPopsNothing) {
  for (const u32 number : {1u, 3u}) {
    CDspRig rig;
    Lay(rig.processor, number);
    rig.processor.FinishBoot();
    rig.State().counterDepth = 2;
    rig.State().pc = kPatches[number].address;
    EXPECT_EQ(rig.Run(1), kPatches[number].wordCount);
    EXPECT_EQ(rig.State().counterDepth, 2);
  }
}

TEST(PatchLoops, ACounterThatNoProgramCanLoadIsLeftToTheWords) {
  CDspRig rig;
  Lay(rig.processor, 1);
  rig.processor.FinishBoot();
  rig.State().cntr = 0xFFFFFFFF;
  rig.State().pc = 269;
  EXPECT_EQ(rig.Run(1), 1u);
  EXPECT_EQ(rig.State().pc, 270u);
  EXPECT_EQ(rig.State().loopEnd, 278u);
}

TEST(PatchLoops, TheMixLoopIsReachedThroughAMirrorAndLeadsToItsOwnPlace) {
  CDspRig rig;
  Lay(rig.processor, 3);
  rig.processor.FinishBoot();
  rig.State().pc = 0x11F9;
  rig.State().cntr = 2;
  rig.Run(1);
  EXPECT_EQ(rig.State().pc, 2560u);
}

TEST(PatchLoops, ASliceCutInsideARoutineReportsAllThatRan) {
  CDspRig rig;
  Lay(rig.processor, 2);
  rig.processor.FinishBoot();
  SADSPState& s = rig.State();
  // Reads the command latch and writes the product into the system control register, whose bit 9
  // forces a boot and cuts the slice.
  s.dag[0] = {0x37FF, 0, 0x800, 0, kAddressMask};
  s.dag[1].m = 0;
  s.mstat = kMstatIntegerMac;
  rig.processor.WriteData(0x390E, 0x8000);
  rig.board.link.commandLatch = 0x0400;
  s.pc = 290;
  const u32 done = rig.Run(100000);
  EXPECT_GT(rig.cuts, 0u);
  EXPECT_EQ(done, 2u + 1026u);
}

// --- Planting ------------------------------------------------------------------------------------

TEST(Planting, NeedsEveryWordAndDoesItOnce) {
  for (u32 number = 0; number < kLoops; ++number) {
    const SPatch& patch = kPatches[number];
    for (u32 wrong = 0; wrong < patch.wordCount; ++wrong) {
      CDspRig rig;
      Lay(rig.processor, number);
      rig.processor.WriteProgram(patch.address + wrong, patch.words[wrong] ^ 1);
      rig.processor.FinishBoot();
      EXPECT_EQ(rig.processor.ReadProgram(patch.address),
                wrong == 0 ? patch.words[0] ^ 1 : patch.words[0]);
    }
    CDspRig rig;
    Lay(rig.processor, number);
    rig.processor.FinishBoot();
    rig.processor.FinishBoot();
    EXPECT_EQ(rig.processor.ReadProgram(patch.address), kPlantedWord + number);
  }
}

TEST(Planting, TheQuietMarksBelongToInstancesAlone) {
  for (const u32 number : {4u, 5u}) {
    CDspRig main;
    CDspRig instance(kInstancedProcessor);
    Lay(main.processor, number);
    Lay(instance.processor, number);
    main.processor.FinishBoot();
    instance.processor.FinishBoot();
    EXPECT_EQ(main.processor.ReadProgram(kPatches[number].address), kPatches[number].words[0]);
    EXPECT_EQ(instance.processor.ReadProgram(kPatches[number].address), kPlantedWord + number);
  }
}

TEST(Planting, AQuietMarkInTheMainProcessorIsANop) {
  CDspRig rig;
  rig.State().dag[0].i = 7;
  rig.Program(0, {kPlantedWord + 4, kPlantedWord + 5});
  EXPECT_EQ(rig.Run(2), 2u);
  EXPECT_EQ(rig.State().dag[0].i, 7u);
}

TEST(Planting, QuietMarksSetTheirPointersAndTheTimer) {
  CDspRig rig(kInstancedProcessor);
  SADSPState& s = rig.State();
  s.runFlags = 0;
  s.dag[0].mask = 0x3FF0, s.dag[1].mask = 0x3F00;
  rig.queue.Cancel(rig.processor.quietStopEventId);
  rig.now = 50.0;
  rig.Do(kPlantedWord + 5);
  EXPECT_EQ(s.dag[1].i, 0x3BCu);
  EXPECT_EQ(s.dag[1].base, 0x300u);
  EXPECT_EQ(s.runFlags, u32{kRunQuietArmed});
  ASSERT_NE(rig.Pending(rig.processor.quietStopEventId), nullptr);
  EXPECT_EQ(rig.Pending(rig.processor.quietStopEventId)->time, 1050.0);
  rig.now = 60.0;
  rig.Do(kPlantedWord + 5);
  EXPECT_EQ(rig.Pending(rig.processor.quietStopEventId)->time, 1050.0) << "armed once";
  rig.Do(kPlantedWord + 4);
  EXPECT_EQ(s.dag[0].i, 0x390u);
  EXPECT_EQ(s.dag[0].base, 0x390u);
  EXPECT_EQ(s.runFlags, 0u);
  EXPECT_EQ(rig.Pending(rig.processor.quietStopEventId), nullptr);
}

// --- Hooks ---------------------------------------------------------------------------------------

constexpr u32 kAddOne = 0x22000F | 3 << 13 | 2 << 8;  // AR = AR + AY0

class Hooks : public testing::Test {
 protected:
  Hooks() {
    rig_.processor.hooks = &list_;
    rig_.Bank().ay[0] = 1;
  }
  CDspRig rig_;
  std::vector<SDspPatch> list_;
};

TEST_F(Hooks, TellTheScriptAndRunTheirWordIfItSaysSo) {
  list_.push_back({kPlantedWord + 6, kAddOne, 0, 0xABCD});
  rig_.Program(0, {kPlantedWord + 6, 0});
  rig_.Run(1);
  EXPECT_EQ(rig_.Bank().ar, 1);
  ASSERT_EQ(rig_.port.hookCalls.size(), 1u);
  EXPECT_EQ(rig_.port.hookCalls[0].tag, 0xABCDu);
  EXPECT_EQ(rig_.port.hookCalls[0].word, kPlantedWord + 6);
  rig_.port.bHookAnswer = false;
  rig_.State().pc = 0;
  rig_.Run(1);
  EXPECT_EQ(rig_.Bank().ar, 1);
}

TEST_F(Hooks, WithoutARecordAreNops) {
  rig_.Program(0, {kPlantedWord + 6, kPlantedWord + 0xFFFF});
  EXPECT_EQ(rig_.Run(2), 2u);
  EXPECT_TRUE(rig_.port.hookCalls.empty());
}

TEST_F(Hooks, OnAHookAskTheNewestFirst) {
  list_.push_back({kPlantedWord + 6, kAddOne, 0, 1});
  list_.push_back({kPlantedWord + 7, kPlantedWord + 6, 0, 2});
  rig_.Program(0, {kPlantedWord + 7});
  rig_.Run(1);
  EXPECT_EQ(rig_.Bank().ar, 1);
  ASSERT_EQ(rig_.port.hookCalls.size(), 2u);
  EXPECT_EQ(rig_.port.hookCalls[0].tag, 2u);
  EXPECT_EQ(rig_.port.hookCalls[1].tag, 1u);
}

TEST_F(Hooks, ThatStandForThemselvesEnd) {
  list_.push_back({kPlantedWord + 6, kPlantedWord + 6, 0, 1});
  rig_.Program(0, {kPlantedWord + 6});
  EXPECT_EQ(rig_.Run(1), 1u);
}

TEST_F(Hooks, MayBeTakenAwayFromWithinTheirCall) {
  list_.push_back({kPlantedWord + 6, kAddOne, 0, 1});
  rig_.port.onHook = [](void* context) { static_cast<std::vector<SDspPatch>*>(context)->clear(); };
  rig_.port.hookContext = &list_;
  rig_.Program(0, {kPlantedWord + 6});
  rig_.Run(1);
  EXPECT_EQ(rig_.Bank().ar, 1) << "the word was taken before the call";
}

TEST_F(Hooks, ArePlantedAnewBehindABootInPlaceOfThePatches) {
  Lay(rig_.processor, 1);
  list_.push_back({kPlantedWord + 6, 0xDEAD, 0x20, 1});
  list_.push_back({kPlantedWord + 7, 0xDEAD, 0x900, 2});
  rig_.processor.WriteProgram(0x20, kAddOne);
  rig_.processor.WriteProgram(0x900, 0x123456);
  rig_.processor.FinishBoot();
  EXPECT_EQ(rig_.processor.ReadProgram(269), kPatches[1].words[0]);
  EXPECT_EQ(rig_.processor.ReadProgram(0x20), kPlantedWord + 6);
  EXPECT_EQ(rig_.processor.ReadProgram(0x900), kPlantedWord + 7);
  EXPECT_EQ(list_[0].savedWord, kAddOne);
  EXPECT_EQ(list_[1].savedWord, 0x123456u);
  rig_.processor.FinishBoot();
  EXPECT_EQ(list_[0].savedWord, kAddOne) << "a hook that still stands keeps its word";
}

}  // namespace
}  // namespace vx::test

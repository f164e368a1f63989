// The sound processor as scripts see it, and hooks in its program.
#include "script/ScriptHooks.h"
#include "sound/ADSPMemory.h"
#include "tests/script/ScriptTest.h"

namespace vx::test {
namespace {

constexpr u32 kPatch = 39, kUnpatch = 40, kGetReg = 41, kSetReg = 42, kGetDag = 43, kSetDag = 44;
constexpr u32 kReadData = 45, kReadProgram = 46, kWriteData = 47, kWriteProgram = 48;
constexpr u32 kReadBank0 = 49, kWriteBank0 = 52, kGetStack = 55, kSetStack = 56;

class CScriptDsp : public CScriptTest {
 protected:
  SADSPState& S() { return m->sound.state; }
  u32 Patch(u32 address, u32 expected, u32 tag) {
    return Ask<u32>(kPatch, {address, expected, tag, kOut});
  }
  u32 Unpatch(u32 address) { return Ask<u32>(kUnpatch, {address, kOut}); }
  u32 Reg(u32 number, u32 bank = 0) { return Ask<u32>(kGetReg, {number, kOut, bank}); }
  u32 Dag(u32 index, u32 kind) { return Ask<u32>(kGetDag, {index, kind, kOut}); }
  u64 Stack(u32 stack, u32 index) { return Ask<u64>(kGetStack, {stack, index, kOut}); }
  void SetStack(u32 stack, u32 index, u64 value) {
    Put(kIn, value);
    Call(kSetStack, {stack, index, kIn});
  }
};

// --- Registers ---------------------------------------------------------------------------------

TEST_F(CScriptDsp, RegistersHaveTheirNumbers) {
  SADSPState& s = S();
  s.pc = 100;
  s.cntr = 101;
  s.px = 102;
  s.sstat = 104;
  s.mstat = 105;
  s.icntl = 106;
  s.imask = 107;
  s.reserved13592 = 108;
  s.bank = {{109, 110},
            {111, 112},
            113,
            114,
            {115, 116},
            {117, 118},
            0,
            u64{121} << 32 | u64{120} << 16 | 119,
            122,
            0,
            u32{124} << 16 | 123,
            125,
            126,
            127,
            0};
  s.pcDepth = 128;
  s.loopDepth = 129;
  s.counterDepth = 130;
  s.statusDepth = 131;
  for (u32 number = 0; number < 32; ++number) {
    EXPECT_EQ(Reg(number), number == 3 ? 102 : 100 + number) << number;
  }
}

TEST_F(CScriptDsp, ARegisterIsSetAsAFieldOfItsWidth) {
  for (u32 number = 0; number < 32; ++number) {
    S() = {};
    S().clockMHz = kSoundClockMHz;
    Call(kSetReg, {number, 0x89ABCDEF, 0});
    const bool bBanked = number >= 9 && number <= 27;
    const bool bSigned = number == 26 || number == 27;
    const u32 expected = bSigned ? 0xFFFFCDEF : bBanked ? 0xCDEF : 0x89ABCDEF;
    EXPECT_EQ(Reg(number), expected) << number;
    u32 others = 0;
    for (u32 other = 0; other < 32; ++other) others += Reg(other) != 0 ? 1 : 0;
    EXPECT_EQ(others, number == 2 || number == 3 ? 2u : 1u) << number;
  }
  S() = {};
  S().clockMHz = kSoundClockMHz;
}

TEST_F(CScriptDsp, TheOtherBankIsReachedByAnyNumberButZero) {
  Call(kSetReg, {9, 1, 0});
  Call(kSetReg, {9, 2, 5});
  EXPECT_EQ(S().bank.ax[0], 1u);
  EXPECT_EQ(S().alternateBank.ax[0], 2u);
  EXPECT_EQ(Reg(9), 1u);
  EXPECT_EQ(Reg(9, 0xFFFFFFFF), 2u);
  Call(kSetReg, {0, 7, 1});
  EXPECT_EQ(S().pc, 7u);
}

TEST_F(CScriptDsp, PartsOfAnAccumulatorLeaveTheRestAlone) {
  S().bank.mr = 0xFFFF'1111'2222'3333;
  Call(kSetReg, {20, 0xAAAA, 0});
  EXPECT_EQ(S().bank.mr, 0xFFFF'1111'AAAA'3333u);
  Call(kSetReg, {21, 0xBBBB, 0});
  EXPECT_EQ(S().bank.mr, 0xFFFF'BBBB'AAAA'3333u);
  S().bank.sr = 0x11112222;
  Call(kSetReg, {24, 0xCCCC, 0});
  EXPECT_EQ(S().bank.sr, 0xCCCC2222u);
}

TEST_F(CScriptDsp, SettingARegisterHasNoEffectBesides) {
  const u32 depth = static_cast<u32>(S().counterDepth);
  S().bank.ax[0] = 1;
  S().irqLatched = 0x3F;
  S().imask = 0;
  const u32 pc = S().pc;
  Call(kSetReg, {1, 5, 0});     // no push
  Call(kSetReg, {5, 1, 0});     // no exchange of banks
  Call(kSetReg, {7, 0x3F, 0});  // no look at interrupts
  EXPECT_EQ(static_cast<u32>(S().counterDepth), depth);
  EXPECT_EQ(S().bank.ax[0], 1u);
  EXPECT_EQ(S().pc, pc);
}

TEST_F(CScriptDsp, ANumberThatNoRegisterHasDoesNothing) {
  Put(kOut, 0x77u);
  Call(kGetReg, {32, kOut, 0});
  Call(kGetReg, {0xFFFFFFFF, kOut, 0});
  EXPECT_EQ(At<u32>(kOut), 0x77u);
  const SADSPState before = S();
  Call(kSetReg, {32, 1, 0});
  EXPECT_EQ(std::memcmp(&before, &S(), sizeof(before)), 0);
}

TEST_F(CScriptDsp, AddressGeneratorsKeepFourteenBitsAndDeriveTheRest) {
  Call(kSetDag, {7, 1, 0xFFFF0008});  // length 8
  EXPECT_EQ(S().dag[7].l, 8u);
  EXPECT_EQ(S().dag[7].mask, 0x3FF8u);
  Call(kSetDag, {7, 0, 0xFFFF0105});
  EXPECT_EQ(S().dag[7].i, 0x105u);
  EXPECT_EQ(S().dag[7].base, 0x100u);
  Call(kSetDag, {7, 2, 0xFFFF3FFF});
  EXPECT_EQ(S().dag[7].m, 0xFFFFFFFFu);
  EXPECT_EQ(Dag(7, 0), 0x105u);
  EXPECT_EQ(Dag(7, 1), 8u);
  EXPECT_EQ(Dag(7, 2), 0xFFFFFFFFu);
  for (const u32 length : {0u, 1u}) {
    Call(kSetDag, {7, 1, length});
    EXPECT_EQ(S().dag[7].mask, 0x3FFFu);
    EXPECT_EQ(S().dag[7].base, 0x105u);
  }
  Call(kSetDag, {0, 1, 0x3FFF});
  EXPECT_EQ(S().dag[0].mask, 0u);
}

TEST_F(CScriptDsp, AnAddressRegisterThatIsNoneReadsZeroAndIsNotSet) {
  S().dag[7].i = 5;
  const SADSPState before = S();
  for (const auto& [index, kind] : {std::pair{8u, 0u}, {0u, 3u}, {0xFFFFFFFFu, 0xFFFFFFFFu}}) {
    EXPECT_EQ(Dag(index, kind), 0u);
    Call(kSetDag, {index, kind, 1});
  }
  EXPECT_EQ(std::memcmp(&before, &S(), sizeof(before)), 0);
}

TEST_F(CScriptDsp, StacksAreReachedWholeWhateverTheirDepth) {
  S().pcDepth = 0;
  for (u32 stack = 0; stack < 4; ++stack) {
    const u32 entries = stack == 0 ? 16 : 4;
    SetStack(stack, entries - 1, 0x1122334455667788);
    EXPECT_EQ(Stack(stack, entries - 1), stack == 3 ? 0x1122334455667788u : 0x55667788u);
    const SADSPState before = S();
    SetStack(stack, entries, 1);
    EXPECT_EQ(Stack(stack, entries), 0u);
    EXPECT_EQ(Stack(stack, 0xFFFFFFFF), 0u);
    EXPECT_EQ(std::memcmp(&before, &S(), sizeof(before)), 0);
  }
  SetStack(4, 0, 1);
  EXPECT_EQ(Stack(4, 0), 0u);
  EXPECT_EQ(S().pcStack[15], 0x55667788u);
  EXPECT_EQ(S().loopStack[3], 0x55667788u);
  EXPECT_EQ(S().counterStack[3], 0x55667788u);
}

// --- Memories ----------------------------------------------------------------------------------

TEST_F(CScriptDsp, DataBelow2000IsTheHighPartOfExternalProgramWords) {
  S().externalRam[5] = 0x123456;
  EXPECT_EQ(Ask<u32>(kReadData, {0x1005, kOut}), 0x1234u);
  Call(kWriteData, {0x1805, 0xFFFFABCD});
  EXPECT_EQ(S().externalRam[5], 0xABCD56u);
}

TEST_F(CScriptDsp, DataOfTheRomWindowHasSetHighBitsAndIsNotWritten) {
  m->flatMem[kFlatSoundRoms + 3 * 0x1000 + 7] = 0x42;
  m->soundBoard.link.bankOffset = 3 * 0x1000;
  EXPECT_EQ(Ask<u32>(kReadData, {0x2007, kOut}), 0xFF42u);
  Call(kWriteData, {0x2007, 0x99});
  EXPECT_EQ(m->flatMem[kFlatSoundRoms + 3 * 0x1000 + 7], 0x42u);
}

TEST_F(CScriptDsp, InternalDataIsReachedAt3800) {
  Call(kWriteData, {0x39FF, 0x12345});
  EXPECT_EQ(S().dataRam[0x1FF], 0x2345u);
  EXPECT_EQ(Ask<u32>(kReadData, {0x39FF, kOut}), 0x2345u);
  EXPECT_EQ(Ask<u32>(kReadData, {0x3A00, kOut}), 0u);
}

TEST_F(CScriptDsp, DeviceAddressesReachTheDevices) {
  m->soundBoard.link.commandLatch = 0x55AA;
  m->soundBoard.link.boardFlags = 0;
  EXPECT_EQ(Ask<u32>(kReadData, {0x3400, kOut}), 0x55AAu);
  EXPECT_TRUE(m->soundBoard.IsCommandTaken());
  Call(kWriteData, {0x3000, 0x105});
  EXPECT_EQ(m->soundBoard.link.bankOffset, (128u + 5) * 4096);
}

TEST_F(CScriptDsp, DataBehindTheLastAddressReadsZeroAndIsNotWritten) {
  std::memset(S().dataRam, 0xFF, sizeof(S().dataRam));
  const SADSPState before = S();
  for (const u32 address : {0x4000u, 0x7800u, 0xFFFFFFFFu}) {
    EXPECT_EQ(Ask<u32>(kReadData, {address, kOut}), 0u);
    Call(kWriteData, {address, 0x1234});
  }
  EXPECT_EQ(std::memcmp(&before, &S(), sizeof(before)), 0);
}

TEST_F(CScriptDsp, ProgramWordsLieInTwoBanks) {
  Call(kWriteProgram, {0x3FF, 0x111111});
  Call(kWriteProgram, {0x1FFF, 0x222222});
  EXPECT_EQ(S().internalRam[0x3FF], 0x111111u);
  EXPECT_EQ(S().externalRam[0x7FF], 0x222222u);
  EXPECT_EQ(Ask<u32>(kReadProgram, {0x3FF, kOut}), 0x111111u);
  EXPECT_EQ(Ask<u32>(kReadProgram, {0x7FF, kOut}), 0x222222u);
  const SADSPState before = S();
  Call(kWriteProgram, {0x2000, 1});
  Call(kWriteProgram, {0xFFFFFFFF, 1});
  EXPECT_EQ(Ask<u32>(kReadProgram, {0x2000, kOut}), 0u);
  EXPECT_EQ(std::memcmp(&before, &S(), sizeof(before)), 0);
}

TEST_F(CScriptDsp, ABankIsReachedUpToItsOwnEnd) {
  struct SBank {
    u32 function, words, mask;
  };
  for (const SBank& bank : {SBank{0, 0x400, 0xFFFFFF}, {1, 0x800, 0xFFFFFF}, {2, 0x200, 0xFFFF}}) {
    const u32 read = kReadBank0 + bank.function;
    const u32 write = kWriteBank0 + bank.function;
    Call(write, {bank.words - 1, 0xFEDCBA98});
    EXPECT_EQ(Ask<u32>(read, {bank.words - 1, kOut}), 0xFEDCBA98 & bank.mask);
    const SADSPState before = S();
    Call(write, {bank.words, 0x1234});
    Call(write, {0xFFFFFFFF, 0x1234});
    EXPECT_EQ(Ask<u32>(read, {bank.words, kOut}), 0u);
    EXPECT_EQ(Ask<u32>(read, {0xFFFFFFFF, kOut}), 0u);
    EXPECT_EQ(std::memcmp(&before, &S(), sizeof(before)), 0);
  }
}

// --- Hooks in the program ----------------------------------------------------------------------

TEST_F(CScriptDsp, AHookIsPlantedWithANumberFromSixOn) {
  S().internalRam[5] = 0x123456;
  EXPECT_EQ(Patch(5, 0x123456, 77), 1u);
  EXPECT_EQ(S().internalRam[5], 0x10006u);
  ASSERT_EQ(m->dspPatchList.size(), 1u);
  EXPECT_EQ(m->dspPatchList[0].handle, 0x10006u);
  EXPECT_EQ(m->dspPatchList[0].savedWord, 0x123456u);
  EXPECT_EQ(m->dspPatchList[0].address, 5u);
  EXPECT_EQ(m->dspPatchList[0].tag, 77u);
  EXPECT_EQ(Patch(0x2405, 0, 78), 2u);  // any higher address is in the second bank
  EXPECT_EQ(S().externalRam[0x405], 0x10007u);
}

TEST_F(CScriptDsp, AHookOverAnotherWordThanExpectedIsRefused) {
  S().internalRam[5] = 0x123456;
  EXPECT_EQ(Patch(5, 0x123457, 1), 0u);
  S().internalRam[5] = 0x010005;  // a native routine stands there
  EXPECT_EQ(Patch(5, 0x123456, 1), 0u);
  EXPECT_TRUE(m->dspPatchList.empty());
  EXPECT_EQ(Patch(5, 0, 1), 1u);
  EXPECT_EQ(Patch(5, 0x123456, 2), 2u);  // a hook may stand on a hook
  EXPECT_EQ(m->dspPatchList[1].savedWord, 0x010006u);
}

TEST_F(CScriptDsp, HooksAreRefusedBeforeTheirNumbersRunOut) {
  m->dspPatchList.assign(kMostDspHooks - 1, {});
  EXPECT_EQ(Patch(5, 0, 1), kMostDspHooks);
  EXPECT_EQ(S().internalRam[5], 0x1FFFFu);
  EXPECT_EQ(Patch(6, 0, 1), 0u);
  EXPECT_EQ(m->dspPatchList.size(), kMostDspHooks);
}

TEST_F(CScriptDsp, UnpatchingTakesAllHooksOffAWord) {
  S().internalRam[5] = 0x123456;
  Patch(5, 0, 1);
  Patch(5, 0, 2);
  EXPECT_EQ(Unpatch(5), 1u);
  EXPECT_EQ(S().internalRam[5], 0x123456u);
  EXPECT_TRUE(m->dspPatchList.empty());
  EXPECT_EQ(Unpatch(5), 0u);
}

TEST_F(CScriptDsp, UnpatchingLeavesAWordThatIsNoLongerTheHooks) {
  Patch(5, 0, 1);
  S().internalRam[5] = 0xABCDEF;
  EXPECT_EQ(Unpatch(5), 1u);
  EXPECT_EQ(S().internalRam[5], 0xABCDEFu);
}

TEST_F(CScriptDsp, HooksBehindOneThatGoesKeepLeadingToTheirRecords) {
  S().internalRam[6] = 0x666666;
  S().internalRam[7] = 0x777777;
  Patch(5, 0, 1);
  Patch(6, 0, 2);
  Patch(7, 0, 3);
  Patch(7, 0, 4);
  Unpatch(5);
  EXPECT_EQ(S().internalRam[6], 0x10006u);
  EXPECT_EQ(S().internalRam[7], 0x10008u);
  ASSERT_EQ(m->dspPatchList.size(), 3u);
  for (u32 i = 0; i < 3; ++i) {
    EXPECT_EQ(m->dspPatchList[i].handle, 0x10006u + i);
    EXPECT_EQ(m->dspPatchList[i].tag, 2 + i);
  }
  EXPECT_EQ(m->dspPatchList[2].savedWord, 0x10007u);
  Unpatch(7);
  EXPECT_EQ(S().internalRam[7], 0x777777u);
  Unpatch(6);
  EXPECT_EQ(S().internalRam[6], 0x666666u);
}

TEST_F(CScriptDsp, AHookCallsItsScriptAndStandsForItsWord) {
  S().internalRam[0] = 0x400A59;  // AX1 = 0xA5, as data moves have it
  const u32 word = S().internalRam[0];
  S().pc = 0;
  m->sound.Run(1);
  const u16 expected = S().bank.ax[1];
  S().bank.ax[1] = 0;
  Patch(0, word, 55);
  S().pc = 0;
  m->sound.Run(1);
  ASSERT_EQ(Hooks().calls.size(), 1u);
  EXPECT_EQ(Hooks().calls[0].processor, 'd');
  EXPECT_EQ(Hooks().calls[0].words, (std::vector<u32>{55, 0x10006}));
  EXPECT_EQ(S().bank.ax[1], expected);
  Hooks().answer = 0;
  S().bank.ax[1] = 0;
  S().pc = 0;
  m->sound.Run(1);
  EXPECT_EQ(S().bank.ax[1], 0u);
}

}  // namespace
}  // namespace vx::test

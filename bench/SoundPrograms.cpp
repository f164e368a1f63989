#include "bench/SoundPrograms.h"

#include <vector>

#include "sound/ADSPPatches.h"

namespace vx::bench {

namespace {

void Lay(CADSP& p, u32 address, const std::vector<u32>& words) {
  for (u32 i = 0; i < words.size(); ++i) p.WriteProgram(address + i, words[i]);
}

constexpr u32 Jump(u32 target) { return 0x180000 | target << 4 | 15; }
constexpr u32 Call(u32 target) { return 0x1C0000 | target << 4 | 15; }
constexpr u32 kReturn = 0x0A000F;
constexpr u32 LoadIndex(u32 index, u32 value) { return 0x340000 | value << 4 | index; }
constexpr u32 LoadCounter(u32 value) { return 0x3C0005 | value << 4; }
constexpr u32 Until(u32 last) { return 0x14000E | last << 4; }

// Step 1 in M1, 0 in M0, data in external RAM and data RAM.
void PrepareRegisters(CADSP& p) {
  for (u32 i = 0; i < 8; ++i) p.WriteLength(i, 0);
  p.WriteGroup(1, 4, 0);
  p.WriteGroup(1, 5, 1);
  p.WriteGroup(1, 6, 1);
  p.state.bank.my[0] = 0x4000;
  p.state.bank.my[1] = 0x1234;
  p.state.bank.ay[1] = 0x3000;
  for (u32 i = 0; i < kAdspDataWords; ++i) p.state.dataRam[i] = static_cast<u16>(i * 977);
}

}  // namespace

void LoadBusyProgram(CADSP& p) {
  PrepareRegisters(p);
  Lay(p, 0,
      {LoadIndex(2, 0x600), LoadIndex(1, 0x2000), Call(64), Call(96), Call(128), Call(160),
       Jump(0)});
  Lay(p, 64,
      {LoadCounter(64), Until(70), 0x0D041C, 0x612904, 0x22600F, 0x6AECA9, 0x1CFF05, kReturn});
  Lay(p, 96,
      {LoadIndex(2, 0x600), LoadIndex(3, 0x3800), LoadCounter(64), Until(105), 0x667AA9, 0x20A20F,
       0x0D002B, 0x6000CC, 0x21280F, 0x6800CE, kReturn});
  Lay(p, 128,
      {LoadIndex(0, 0x3800), LoadCounter(64), Until(134), 0x600020, 0x20A00F, 0x050000, 0x6800C1,
       kReturn});
  Lay(p, 160,
      {LoadIndex(0, 0x3800), LoadIndex(1, 0x3880), LoadIndex(2, 0x3840), LoadCounter(64),
       Until(173), 0x608035, 0x606941, 0x28810C, 0x604850, 0x632025, 0x6A60A1, 0x6B2CA9, 0x6A6CA1,
       0x6800A9, kReturn});
  Lay(p, 0xFF0, {kReturn});
  p.state.pc = 0;
}

void LoadPatchProgram(CADSP& p, u32 patch, bool bNative) {
  PrepareRegisters(p);
  const SPatch& loop = kPatches[patch];
  for (u32 i = 0; i < loop.wordCount; ++i) p.WriteProgram(loop.address + i, loop.words[i]);
  p.WriteProgram(loop.address + loop.wordCount, kReturn);
  Lay(p, 512,
      {LoadIndex(0, 0x3800), LoadIndex(1, 0x3880), LoadIndex(2, 0x3900), LoadIndex(3, 0x3840),
       LoadCounter(64), Call(loop.address), Jump(512)});
  if (patch == 0 || patch == 2) p.WriteProgram(516, 0);
  p.state.pc = 512;
  if (bNative) p.FinishBoot();
}

void LoadSpinProgram(CADSP& p) {
  Lay(p, 0, {0x0D02A3, 0x26E20F, Jump(0)});
  p.state.pc = 0;
}

}  // namespace vx::bench

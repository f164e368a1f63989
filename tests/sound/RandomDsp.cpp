#include "tests/sound/RandomDsp.h"

#include <iterator>

namespace vx::test {

u16 CRandom::Word() {
  static constexpr u16 kEdges[] = {0, 1, 2, 0x7FFF, 0x8000, 0x8001, 0xFFFF, 0xFFFE, 0x4000, 0xC000};
  return OneIn(3) ? kEdges[Below(std::size(kEdges))] : static_cast<u16>(Next());
}

u32 RandomAddress(CRandom& random) {
  static constexpr u32 kEdges[] = {0x0000, 0x03FF, 0x0400, 0x07FF, 0x0800, 0x1FFF, 0x2000,
                                   0x2FFF, 0x3000, 0x33FF, 0x3400, 0x37FF, 0x3800, 0x39FF,
                                   0x3A00, 0x3FDF, 0x3FE0, 0x3FEF, 0x3FF1, 0x3FF2, 0x3FFF};
  if (random.OneIn(6)) return kEdges[random.Below(std::size(kEdges))];
  if (random.OneIn(3)) return 0x3800 + random.Below(0x200);
  return random.Below(0x4000);
}

u32 RandomInstruction(CRandom& random, u32 pc) {
  // Groups of top bytes by how often they are wanted.
  struct SGroup {
    u32 first, last, weight;
  };
  // clang-format off
  static constexpr SGroup kGroups[] = {
    { 0x00, 0x00, 1 }, { 0x02, 0x04, 1 }, { 0x05, 0x07, 4 }, { 0x09, 0x09, 2 }, { 0x0A, 0x0B, 2 },
    { 0x0C, 0x0C, 2 }, { 0x0D, 0x0D, 6 }, { 0x0E, 0x10, 6 }, { 0x12, 0x13, 4 }, { 0x14, 0x17, 3 },
    { 0x18, 0x1F, 4 }, { 0x20, 0x2F, 12}, { 0x30, 0x33, 1 }, { 0x34, 0x3F, 6 }, { 0x40, 0x4F, 4 },
    { 0x50, 0x59, 4 }, { 0x60, 0x7F, 14}, { 0x80, 0x8F, 5 }, { 0x90, 0x9B, 4 }, { 0xA0, 0xBF, 4 },
    { 0x00, 0xFF, 2 },
  };
  // clang-format on
  u32 total = 0;
  for (const SGroup& group : kGroups) total += group.weight;
  u32 pick = random.Below(total);
  const SGroup* group = kGroups;
  while (pick >= group->weight) pick -= (group++)->weight;
  const u32 top = group->first + random.Below(group->last - group->first + 1);
  u32 low = random.Next() & 0xFFFF;
  const u32 nibble = low & 15;
  const auto target = [&](u32 address) {
    return (top & ~3u) << 16 | (address & 0x3FFF) << 4 | nibble;
  };
  if (top >= 0x14 && top <= 0x17) {  // often counted, else until a condition
    low = random.OneIn(2) ? 14 : nibble;
    const u32 end = random.OneIn(8) ? random.Next() : pc + 1 + random.Below(6);
    return 0x140000 | (end & 0x3FFF) << 4 | low;
  }
  if (top >= 0x18 && top <= 0x1F && !random.OneIn(8)) return target(pc - 8 + random.Below(24));
  if (top >= 0x80 && top <= 0x9B) return target(RandomAddress(random));
  if (top >= 0x34 && top <= 0x3B && nibble < 4) return target(RandomAddress(random));
  if (top >= 0x3C && top <= 0x3F && random.OneIn(2)) return target(random.Below(6));
  return top << 16 | low;
}

void RandomiseRegisters(CRandom& random, SADSPState& s) {
  for (SADSPBank* bank : {&s.bank, &s.alternateBank}) {
    for (u16* field :
         {&bank->ax[0], &bank->ax[1], &bank->ay[0], &bank->ay[1], &bank->ar, &bank->af,
          &bank->mx[0], &bank->mx[1], &bank->my[0], &bank->my[1], &bank->mf, &bank->si}) {
      *field = random.Word();
    }
    bank->mr = u64{random.Word()} << 32 | u64{random.Word()} << 16 | random.Word();
    if (random.OneIn(2)) bank->mr |= u64{0xFFFF} << 48;
    if (random.OneIn(2)) bank->mr = static_cast<u64>(static_cast<i64>(static_cast<i32>(bank->mr)));
    bank->sr = u32{random.Word()} << 16 | random.Word();
    bank->se = static_cast<i16>(random.OneIn(2) ? random.Below(80) - 40 : random.Word());
    bank->sb = static_cast<i16>(random.Word());
  }
  s.px = random.Below(256);
  s.astat = random.Below(256);
  s.sstat = random.Below(256);
  s.mstat = random.Below(128);
  s.cntr = random.OneIn(3) ? random.Below(0x4000) : random.Below(6);
  s.pcDepth = static_cast<i32>(random.OneIn(4) ? 16 : random.Below(17));
  s.loopDepth = static_cast<i32>(random.Below(5));
  s.counterDepth = static_cast<i32>(random.Below(5));
  s.statusDepth = static_cast<i32>(random.Below(5));
  for (u32& entry : s.pcStack) entry = random.Below(0x2100);
  for (u32& entry : s.loopStack) entry = random.Below(0x2100) << 4 | random.Below(16);
  for (u32& entry : s.counterStack) entry = random.Below(8);
  for (u64& entry : s.statusStack) {
    entry = u64{random.Below(256)} << 32 | u64{random.Below(64)} << 16 | random.Below(128);
  }
  s.icntl = random.Below(32);
  s.imask = random.Below(64);
  s.irqLevel = random.OneIn(3) ? random.Below(64) : 0;
  s.irqLatched = random.OneIn(3) ? random.Below(64) : 0;
  for (SADSPAddress& address : s.dag) {
    address.i = RandomAddress(random);
    address.l = random.OneIn(2) ? 0 : random.OneIn(4) ? random.Below(0x4000) : random.Below(40);
    address.m = static_cast<u32>(
        static_cast<i32>(random.OneIn(8) ? static_cast<i32>(random.Below(0x4000)) - 0x2000
                                         : static_cast<i32>(random.Below(9)) - 4));
    address.mask = CircularMask(address.l);
    address.base = random.OneIn(8) ? random.Below(0x4000) : address.i & address.mask;
  }
}

}  // namespace vx::test

// Packs with random damage, from fixed seeds: whatever the answer, the component neither crashes
// nor hangs nor leaves its memory.
#include <random>

#include "tests/support/BoundaryTest.h"

namespace vx::test {
namespace {

constexpr u32 kRounds = 400;

struct PackDamageTest : CBoundaryTest {
  void Survive(const std::vector<u8>& bytes, u32 frames) {
    const CPackFile file(bytes);
    u64 hash = 0, size = 0;
    table.IdentifyPack(&hash, &size, file.Path());
    const bool bLoaded = machine->LoadPack(file.Path());
    EXPECT_EQ(machine->IsLoaded(), bLoaded);
    machine->Reset();
    machine->ApplySettings();
    RunFrames(frames);
    EXPECT_EQ(machine->GetFrameCount(), frames);
  }

  // Guest code that is worth damaging: it draws, writes registers and starts a disk read.
  static CTestPack Sample() {
    CGuestCode code;
    code.Write8(0x10000110, 1).Write8(0x10000118, 1).Write8(0x10000138, 0x20);
    const u32 loop = code.Here();
    code.Write32(0x30000, 0x12345678).Write32(0x10000080, 4).Keep32(0x10000138, 0);
    code.Keep32(0x10000100, 1).BranchBack(loop);
    SPackContent content = PackOfCode(code.Words());
    content.bEvenChunksRaw = true;
    content.chunkBytes = 1024;
    return CTestPack(content);
  }
};

TEST_F(PackDamageTest, ByteDamageAnywhereInTheDirectoryIsSurvived) {
  std::mt19937 random(1);
  const std::vector<u8> whole = Sample().Bytes();
  for (u32 round = 0; round < kRounds; ++round) {
    SCOPED_TRACE(round);
    std::vector<u8> bytes = whole;
    for (u32 i = 0; i <= random() % 4; ++i) {
      bytes[32 + random() % 640] = static_cast<u8>(random() >> 8);
    }
    Survive(bytes, 1);
  }
}

TEST_F(PackDamageTest, ByteDamageAnywhereInTheFileIsSurvived) {
  std::mt19937 random(2);
  const std::vector<u8> whole = Sample().Bytes();
  for (u32 round = 0; round < kRounds; ++round) {
    SCOPED_TRACE(round);
    std::vector<u8> bytes = whole;
    for (u32 i = 0; i <= random() % 8; ++i) {
      bytes[random() % bytes.size()] = static_cast<u8>(random() >> 8);
    }
    Survive(bytes, 2);
  }
}

TEST_F(PackDamageTest, TruncationAnywhereIsSurvived) {
  std::mt19937 random(3);
  const std::vector<u8> whole = Sample().Bytes();
  for (u32 round = 0; round < kRounds; ++round) {
    SCOPED_TRACE(round);
    std::vector<u8> bytes = whole;
    bytes.resize(random() % bytes.size());
    Survive(bytes, 1);
  }
}

TEST_F(PackDamageTest, FieldsOfExtremeValuesAreSurvived) {
  std::mt19937 random(4);
  const std::vector<u8> whole = Sample().Bytes();
  constexpr u32 kExtremes[] = {0, 1, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFE, 0xFFFFFFFF, 0x10000, 512};
  for (u32 round = 0; round < kRounds; ++round) {
    SCOPED_TRACE(round);
    std::vector<u8> bytes = whole;
    for (u32 i = 0; i <= random() % 3; ++i) {
      const u32 value = kExtremes[random() % std::size(kExtremes)];
      const u32 place = 32 + random() % 160 * 4;
      std::copy_n(reinterpret_cast<const u8*>(&value), 4, bytes.begin() + place);
    }
    Survive(bytes, 1);
  }
}

TEST_F(PackDamageTest, RandomGuestProgramsAreSurvived) {
  std::mt19937 random(5);
  for (u32 round = 0; round < 100; ++round) {
    SCOPED_TRACE(round);
    SPackContent content;
    content.identity = round % 2 == 0 ? kPackIdentityA : kPackIdentityB;
    content.bootRom.resize(8192);
    for (u8& byte : content.bootRom) byte = static_cast<u8>(random() >> 8);
    Survive(CTestPack(content).Bytes(), 2);
  }
}

}  // namespace
}  // namespace vx::test

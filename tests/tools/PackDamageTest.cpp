// Packs with random damage: whatever they hold, reading them ends with one sentence or with the
// right data.
#include <gtest/gtest.h>

#include <random>
#include <sstream>

#include "tests/tools/SamplePack.h"
#include "tests/tools/ToolErrors.h"
#include "tools/packfile/Manifest.h"
#include "tools/packfile/PackReader.h"

namespace vx::test {
namespace {

constexpr u32 kRounds = 6000;

// One to four bytes or fields set to something; four in five rounds hit header, entries and table.
void Damage(std::vector<u8>& pack, std::mt19937& random) {
  static constexpr u64 kTelling[] = {0, 1, 0x7F, 0xFF, 0xFFFF, 0x10000, 0x7FFFFFFF, 0xFFFFFFFF};
  const u32 count = 1 + random() % 4;
  const u64 table = GetNumber(GetSamplePack().bytes, kDiskOffset + 8, 8);
  for (u32 i = 0; i < count; ++i) {
    const u32 kind = random() % 10;
    if (kind < 2) {
      pack[random() % pack.size()] = static_cast<u8>(random());
    } else if (kind < 4) {
      pack[table + random() % 8] = static_cast<u8>(random());
    } else if (kind < 7) {
      pack[random() % 672] = static_cast<u8>(random());
    } else {
      const u64 value = kTelling[random() % std::size(kTelling)];
      SetNumber(pack, 32 + random() % 160 * 4, 4, value);
    }
  }
}

void ExpectTheSampleOrASentence(const std::vector<u8>& pack, u32 seed) {
  const SSamplePack& sample = GetSamplePack();
  const CMemorySource source("p", pack);
  const SFailure failure = Failure([&] {
    const CPackReader reader(source);
    reader.Verify(nullptr);
    // The hashes agree, so the data must be the sample's, unless a hash field was hit as well.
    EXPECT_EQ(reader.ReadRom(0), sample.bootRom) << "seed " << seed;
    EXPECT_EQ(reader.ReadRom(2), sample.soundRom2) << "seed " << seed;
    u64 diskBytes = 0;
    const std::vector<u8> disk = sample.Disk();
    reader.ReadDisk(
        [&](std::span<const u8> piece) {
          EXPECT_TRUE(std::equal(piece.begin(), piece.end(), disk.begin() + diskBytes))
              << "seed " << seed;
          diskBytes += piece.size();
        },
        nullptr);
    EXPECT_EQ(diskBytes, disk.size()) << "seed " << seed;
  });
  if (failure.bFailed) {
    EXPECT_EQ(failure.exitCode, EExitCode::BadPack) << "seed " << seed;
    EXPECT_TRUE(failure.sentence.starts_with("p: ")) << "seed " << seed;
  }
}

TEST(DamagedPack, EndsWithASentenceOrTheRightData) {
  u32 refused = 0;
  for (u32 seed = 1; seed <= kRounds; ++seed) {
    std::mt19937 random(seed);
    std::vector<u8> pack = GetSamplePack().bytes;
    Damage(pack, random);
    ExpectTheSampleOrASentence(pack, seed);
    const CMemorySource source("p", pack);
    refused += Failure([&] { CPackReader reader(source); }).bFailed;
    if (HasFailure()) break;
  }
  EXPECT_GT(refused, kRounds / 4);
  EXPECT_LT(refused, kRounds);
}

TEST(DamagedPack, OfRandomBytesBehindAValidHeaderIsRefused) {
  for (u32 seed = 1; seed <= 300; ++seed) {
    std::vector<u8> pack = RandomBytes(2000, seed);
    std::copy_n(GetSamplePack().bytes.begin(), 32, pack.begin());
    const CMemorySource source("p", pack);
    EXPECT_EQ(Failure([&] { CPackReader(source).Verify(nullptr); }).exitCode, EExitCode::BadPack);
  }
}

TEST(DamagedManifest, EndsWithASentenceOfItsLine) {
  const std::string whole =
      "identity = A\nboot = \"b\" # c\nsound1 = s\ndisk = d\nchunk = 65536\nsector = 512\n"
      "cylinders = 4\nheads = 4\nsectors_per_track = 16\nsectors = 300\n";
  u32 refused = 0;
  for (u32 seed = 1; seed <= 5000; ++seed) {
    std::mt19937 random(seed);
    std::string text = whole;
    for (u32 i = 0; i < 1 + random() % 3; ++i) {
      const std::size_t at = random() % text.size();
      switch (random() % 3) {
        case 0:
          text[at] = static_cast<char>(random());
          break;
        case 1:
          text.erase(at, 1 + random() % 20);
          break;
        default:
          text.insert(at, text.substr(random() % text.size(), random() % 30));
          break;
      }
    }
    const SFailure failure = Failure([&text] {
      std::istringstream stream(text);
      const SManifest manifest = ParseManifest(stream, "m", "");
      ShapeDisk(manifest, 1000);
    });
    refused += failure.bFailed;
    if (failure.bFailed) {
      EXPECT_EQ(failure.exitCode, EExitCode::BadInput);
      EXPECT_TRUE(failure.sentence.starts_with("m:")) << failure.sentence;
    }
  }
  EXPECT_GT(refused, 1000u);
}

}  // namespace
}  // namespace vx::test

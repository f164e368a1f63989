#include "host/PackCheck.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <functional>
#include <random>

#include "host/HostError.h"
#include "tests/host/TestPack.h"

namespace vx {

namespace {

using test::STestPack;
constexpr u64 kPlentyBytes = ~u64{0};

struct SVerdict {
  EExitCode code = EExitCode::Ok;
  std::string sentence;
};

SVerdict Check(const std::string& path, u64 memoryBytes = kPlentyBytes) {
  try {
    CheckPack(path, memoryBytes);
    return {};
  } catch (const CHostError& error) {
    return {error.Code(), error.what()};
  }
}

// The verdict on a valid pack after one change.
SVerdict CheckSpoiled(const std::function<void(STestPack&)>& spoil) {
  STestPack pack;
  spoil(pack);
  return Check(pack.WriteAs("spoiled.qilhard"));
}

void ExpectVerdict(const SVerdict& verdict, EExitCode code, const std::string& words) {
  EXPECT_EQ(verdict.code, code) << verdict.sentence;
  EXPECT_NE(verdict.sentence.find(words), std::string::npos) << verdict.sentence;
}

}  // namespace

TEST(PackCheck, AValidPackPassesAndIsDescribed) {
  const SPackInfo info = CheckPack(STestPack().WriteAs("good.qilhard"), kPlentyBytes);
  EXPECT_EQ(info.identity, 0x8e21848dc23b33d2u);
  EXPECT_EQ(info.chunkCount, 4u);
  EXPECT_EQ(info.imageBytes, 0x4000u);
  EXPECT_EQ(info.roms[3].inflatedBytes, 0x2003u);
}

TEST(PackCheck, TheOtherBoardLayoutPasses) {
  EXPECT_EQ(
      CheckSpoiled([](auto& pack) { pack.directory.header.identity = 0xbe281ce10a9925a0; }).code,
      EExitCode::Ok);
}

TEST(PackCheck, AMissingFileIsToldAsMissing) {
  ExpectVerdict(Check(test::TestFolder() + "none.qilhard"), EExitCode::FileUnreadable,
                "none.qilhard: there is no such file");
}

TEST(PackCheck, AFolderIsToldAsFolder) {
  ExpectVerdict(Check(test::TestFolder()), EExitCode::FileUnreadable, "is a folder");
}

TEST(PackCheck, APipeIsRefusedWithoutWaitingForItsWriter) {
  const std::string path = test::TestFolder() + "pipe";
  std::filesystem::remove(path);
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  ExpectVerdict(Check(path), EExitCode::FileUnreadable, "device or pipe");
}

TEST(PackCheck, AnEmptyFileIsNoPack) {
  ExpectVerdict(Check(test::WriteFile("empty", {})), EExitCode::NotAPack, "is empty");
}

TEST(PackCheck, AFileOfOtherContentIsNoPack) {
  ExpectVerdict(Check(test::WriteFile("text", std::vector<u8>(5000, 'x'))), EExitCode::NotAPack,
                "is not a pack");
  ExpectVerdict(Check(test::WriteFile("short", {'h', 'i'})), EExitCode::NotAPack, "is not a pack");
}

TEST(PackCheck, AnotherVersionIsNamed) {
  ExpectVerdict(CheckSpoiled([](auto& pack) { pack.directory.header.version = 4; }),
                EExitCode::NotAPack, "version 4");
}

TEST(PackCheck, AnotherIdentityIsNamed) {
  ExpectVerdict(CheckSpoiled([](auto& pack) { pack.directory.header.identity = 0x1234; }),
                EExitCode::NotAPack, "0x0000000000001234");
}

TEST(PackCheck, NineOrElevenEntriesAreRefused) {
  ExpectVerdict(CheckSpoiled([](auto& pack) { pack.directory.header.entryCount = 9; }),
                EExitCode::NotAPack, "9 entries");
  ExpectVerdict(CheckSpoiled([](auto& pack) { pack.directory.header.entryCount = 11; }),
                EExitCode::NotAPack, "11 entries");
}

TEST(PackCheck, AnEmptyRomEntryIsDamage) {
  ExpectVerdict(CheckSpoiled([](auto& pack) { pack.directory.roms[4].storedBytes = 0; }),
                EExitCode::PackDamaged, "ROM entry 4 is empty");
}

TEST(PackCheck, ARomEntryInTwoChunksIsDamage) {
  ExpectVerdict(CheckSpoiled([](auto& pack) { pack.directory.roms[0].chunkCount = 2; }),
                EExitCode::PackDamaged, "ROM entry 0 is cut into 2 chunks");
}

TEST(PackCheck, ARomEntryLargerThanItsPlaceIsDamage) {
  ExpectVerdict(CheckSpoiled([](auto& pack) { pack.directory.roms[8].inflatedBytes = 0x80001; }),
                EExitCode::PackDamaged, "ROM entry 8 would unpack to 524289 bytes");
}

TEST(PackCheck, ARomEntryBeyondTheFileIsDamage) {
  ExpectVerdict(CheckSpoiled([](auto& pack) { pack.directory.roms[2].dataOffset = 1 << 20; }),
                EExitCode::PackDamaged, "ROM entry 2");
  ExpectVerdict(CheckSpoiled([](auto& pack) { pack.directory.roms[2].dataOffset = ~u64{0} - 3; }),
                EExitCode::PackDamaged, "ROM entry 2");
  ExpectVerdict(CheckSpoiled([](auto& pack) { pack.directory.roms[2].storedBytes = ~u64{0}; }),
                EExitCode::PackDamaged, "ROM entry 2");
}

TEST(PackCheck, ARomEntryTooSmallForItsContentIsDamage) {
  ExpectVerdict(CheckSpoiled([](auto& pack) {
                  pack.directory.roms[1].storedBytes = 7;
                  pack.directory.roms[1].inflatedBytes = 0x80000;
                }),
                EExitCode::PackDamaged, "ROM entry 1 cannot unpack");
}

TEST(PackCheck, ADiskOfOneChunkIsDamage) {
  ExpectVerdict(CheckSpoiled([](auto& pack) { pack.directory.disk.chunkCount = 1; }),
                EExitCode::PackDamaged, "chunk count of 1");
}

TEST(PackCheck, ADiskWithoutChunkTableIsDamage) {
  ExpectVerdict(CheckSpoiled([](auto& pack) { pack.directory.disk.sizeTableOffset = 0; }),
                EExitCode::PackDamaged, "no chunk size table");
}

TEST(PackCheck, ASectorSizeOfZeroIsDamage) {
  ExpectVerdict(CheckSpoiled([](auto& pack) { pack.directory.disk.sectorBytes = 0; }),
                EExitCode::PackDamaged, "sector size of 0");
}

TEST(PackCheck, ChunksSmallerThanSectorsAreDamage) {
  ExpectVerdict(CheckSpoiled([](auto& pack) { pack.directory.disk.chunkBytes = 256; }),
                EExitCode::PackDamaged, "smaller than its sectors");
}

TEST(PackCheck, MoreSectorsThanStoredAreDamage) {
  ExpectVerdict(CheckSpoiled([](auto& pack) { pack.directory.disk.sectorCount += 1; }),
                EExitCode::PackDamaged, "claims");
}

TEST(PackCheck, ADiskBeyondTheLargestIsDamage) {
  ExpectVerdict(CheckSpoiled([](auto& pack) {
                  pack.directory.disk.chunkBytes = 0xFFFFFFFF;
                  pack.directory.disk.chunkCount = 0xFFFFFFFF;
                }),
                EExitCode::PackDamaged, "GiB");
}

TEST(PackCheck, AChunkTableBeyondTheFileIsDamage) {
  ExpectVerdict(
      CheckSpoiled([](auto& pack) { pack.directory.disk.sizeTableOffset = u64{1} << 40; }),
      EExitCode::PackDamaged, "table of its 4 disk chunks");
  ExpectVerdict(CheckSpoiled([](auto& pack) { pack.directory.disk.chunkCount = 1'000'000; }),
                EExitCode::PackDamaged, "table of its 1000000 disk chunks");
}

TEST(PackCheck, AChunkBeyondTheFileIsNamed) {
  ExpectVerdict(CheckSpoiled([](auto& pack) { pack.chunkSizes[1] = 65535; }),
                EExitCode::PackDamaged, "disk chunk 1 of 4");
}

TEST(PackCheck, ARawChunkTakesTheFullChunkSizeOfTheFile) {
  ExpectVerdict(CheckSpoiled([](auto& pack) { pack.chunkSizes.assign(4, 0); }),
                EExitCode::PackDamaged, "disk chunk 1 of 4");
}

TEST(PackCheck, ADiskLargerThanMemoryIsToldAsThat) {
  ExpectVerdict(Check(STestPack().WriteAs("large.qilhard"), 0x3FFF), EExitCode::OutOfMemory,
                "of memory");
}

TEST(PackCheck, EveryTruncationIsRefused) {
  const std::vector<u8> whole = STestPack().Bytes();
  for (std::size_t bytes = 1; bytes < whole.size(); bytes += bytes < 700 ? 1 : 13) {
    const std::string path =
        test::WriteFile("cut", {whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(bytes)});
    const SVerdict verdict = Check(path);
    ASSERT_EQ(verdict.code, EExitCode::PackDamaged) << bytes << ": " << verdict.sentence;
    ASSERT_NE(verdict.sentence.find("truncated"), std::string::npos) << verdict.sentence;
  }
}

TEST(PackCheck, RandomDamageGivesAnAnswerInOneSentenceOrPasses) {
  const std::vector<u8> whole = STestPack().Bytes();
  std::mt19937 random(20);
  u32 refused = 0;
  for (u32 round = 0; round < 500; ++round) {
    std::vector<u8> spoiled = whole;
    for (u32 i = 0; i < 4; ++i) spoiled[random() % (32 + 640)] = static_cast<u8>(random());
    const SVerdict verdict = Check(test::WriteFile("spoiled", spoiled));
    if (verdict.code == EExitCode::Ok) continue;
    ++refused;
    ASSERT_EQ(verdict.sentence.find('\n'), std::string::npos);
  }
  EXPECT_GT(refused, 100u);
}

}  // namespace vx

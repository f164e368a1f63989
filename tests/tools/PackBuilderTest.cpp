#include <gtest/gtest.h>
#include <xxhash.h>
#include <zlib.h>

#include <cstring>

#include "tests/tools/SamplePack.h"
#include "tests/tools/ToolErrors.h"
#include "tools/packfile/Manifest.h"
#include "tools/packfile/PackBuilder.h"

namespace vx::test {
namespace {

// Inflates with zlib itself, apart from the code under test.
std::vector<u8> Inflated(const std::vector<u8>& pack, u64 offset, u64 storedBytes, u64 bytes) {
  std::vector<u8> plain(bytes + 1);
  uLongf plainBytes = plain.size();
  EXPECT_EQ(uncompress(plain.data(), &plainBytes, pack.data() + offset, storedBytes), Z_OK);
  plain.resize(plainBytes);
  return plain;
}

std::vector<u8> RomOf(const std::vector<u8>& pack, u32 index) {
  const std::size_t entry = EntryOffset(index);
  return Inflated(pack, GetNumber(pack, entry, 8), GetNumber(pack, entry + 8, 8),
                  GetNumber(pack, entry + 24, 4));
}

TEST(BuiltPack, BeginsWithTheHeader) {
  const std::vector<u8>& pack = GetSamplePack().bytes;
  EXPECT_EQ(GetNumber(pack, 0, 8), 0xea7dab00b1e5beefu);
  EXPECT_EQ(GetNumber(pack, 8, 8), 3u);
  EXPECT_EQ(GetNumber(pack, 16, 8), 10u);
  EXPECT_EQ(GetNumber(pack, 24, 8), 0x8e21848dc23b33d2u);
}

TEST(BuiltPack, HoldsEachRomAsOneZlibStream) {
  const SSamplePack& sample = GetSamplePack();
  EXPECT_EQ(RomOf(sample.bytes, 0), sample.bootRom);
  EXPECT_EQ(RomOf(sample.bytes, 2), sample.soundRom2);
  for (u32 i = 0; i < 9; ++i) EXPECT_EQ(GetNumber(sample.bytes, EntryOffset(i) + 28, 4), 1u);
}

TEST(BuiltPack, StoresAnAbsentSoundRomAsAnEmptyStream) {
  const std::vector<u8>& pack = GetSamplePack().bytes;
  for (const u32 index : {1, 3, 4, 5, 6, 7, 8}) {
    EXPECT_GT(GetNumber(pack, EntryOffset(index) + 8, 8), 0u);
    EXPECT_TRUE(RomOf(pack, index).empty());
  }
}

TEST(BuiltPack, HashesARomByItsBytes) {
  const SSamplePack& sample = GetSamplePack();
  EXPECT_EQ(GetNumber(sample.bytes, EntryOffset(2) + 16, 8),
            XXH3_64bits(sample.soundRom2.data(), sample.soundRom2.size()));
}

TEST(BuiltPack, HashesTheDiskByItsBytesAndGeometry) {
  const SSamplePack& sample = GetSamplePack();
  std::vector<u8> hashed = sample.Disk();
  const u32 geometry[] = {512, 256, 4, 4, 16};
  hashed.insert(hashed.end(), reinterpret_cast<const u8*>(geometry),
                reinterpret_cast<const u8*>(geometry) + sizeof geometry);
  EXPECT_EQ(GetNumber(sample.bytes, kDiskOffset + 16, 8),
            XXH3_64bits(hashed.data(), hashed.size()));
}

TEST(BuiltPack, TellsTheSizesOfTheDisk) {
  const std::vector<u8>& pack = GetSamplePack().bytes;
  const u32 expected[] = {32768, 4, 512, 256, 0, 4, 4, 16, 0, 0};
  for (u32 i = 0; i < std::size(expected); ++i) {
    EXPECT_EQ(GetNumber(pack, kDiskOffset + 24 + i * 4, 4), expected[i]) << "field " << i;
  }
}

TEST(BuiltPack, HoldsTheImageInChunksBackToBackRawWherePackingDoesNotHelp) {
  const SSamplePack& sample = GetSamplePack();
  const std::vector<u8>& pack = sample.bytes;
  u64 offset = GetNumber(pack, kDiskOffset, 8);
  const u64 table = GetNumber(pack, kDiskOffset + 8, 8);
  std::vector<u8> disk;
  for (u32 chunk = 0; chunk < 4; ++chunk) {
    const u64 storedBytes = GetNumber(pack, table + chunk * 2, 2);
    EXPECT_EQ(storedBytes == 0, chunk == 0);  // only the first has no pattern
    if (storedBytes == 0) {
      disk.insert(disk.end(), pack.begin() + offset, pack.begin() + offset + 32768);
      offset += 32768;
    } else {
      const std::vector<u8> plain = Inflated(pack, offset, storedBytes, 32768);
      disk.insert(disk.end(), plain.begin(), plain.end());
      offset += storedBytes;
    }
  }
  EXPECT_EQ(offset, pack.size());
  EXPECT_EQ(disk, sample.Disk());
}

// Builds in a folder that holds the sample's inputs and, as an extra, this manifest.
SBuildReport BuildText(const CTestFolder& folder, const std::string& text) {
  const auto path = folder.Write("m", text);
  return BuildPack(ReadManifest(path), path, folder / "p", nullptr);
}

TEST(BuiltPack, OfTheSameInputsHasTheSameBytes) {
  const CTestFolder folder;
  const auto manifest = WriteSampleInputs(folder, GetSamplePack());
  BuildPack(ReadManifest(manifest), manifest, folder / "again", nullptr);
  EXPECT_EQ(ReadWhole(folder / "again"), GetSamplePack().bytes);
}

TEST(BuiltPack, TakesAChunkOf65536BytesWithoutPatternRaw) {
  const CTestFolder folder;
  folder.Write("boot.bin", PlainBytes(4, 1));
  folder.Write("disk.bin", RandomBytes(65536 * 2, 5));
  const SBuildReport report =
      BuildText(folder,
                "identity = B\nboot = boot.bin\ndisk = disk.bin\n"
                "cylinders = 1\nheads = 1\nsectors_per_track = 255\nsectors = 256\n");
  EXPECT_EQ(report.chunkCount, 2u);
  EXPECT_EQ(report.rawChunkCount, 2u);
  EXPECT_EQ(GetNumber(ReadWhole(folder / "p"), 24, 8), 0xbe281ce10a9925a0u);
}

TEST(BuiltPack, ReportsHowFarTheImageWasExtended) {
  const CTestFolder folder;
  folder.Write("boot.bin", PlainBytes(4, 1));
  folder.Write("disk.bin", PlainBytes(100, 1));
  const SBuildReport report = BuildText(folder, "identity = A\nboot = boot.bin\ndisk = disk.bin\n");
  EXPECT_EQ(report.imageBytes, 100u);
  EXPECT_EQ(report.diskBytes, 1008u * 512);
  EXPECT_EQ(report.packBytes, ReadWhole(folder / "p").size());
}

TEST(PackBuild, AcceptsARomOf524288BytesAndRefusesOneMore) {
  const CTestFolder folder;
  folder.Write("disk.bin", PlainBytes(100, 1));
  const std::string text = "identity = A\nboot = boot.bin\ndisk = disk.bin\n";
  folder.Write("boot.bin", PlainBytes(0x80000, 1));
  BuildText(folder, text);
  folder.Write("boot.bin", PlainBytes(0x80001, 1));
  const SFailure failure = Failure([&] { BuildText(folder, text); });
  EXPECT_EQ(failure.exitCode, EExitCode::BadInput);
  EXPECT_EQ(failure.sentence, (folder / "m").string() + ":2: " + (folder / "boot.bin").string() +
                                  " has 524289 bytes; a ROM has at most 524288.");
}

TEST(PackBuild, RefusesAnEmptyBootRom) {
  const CTestFolder folder;
  folder.Write("disk.bin", PlainBytes(100, 1));
  folder.Write("boot.bin", std::string());
  const SFailure failure =
      Failure([&] { BuildText(folder, "identity = A\nboot = boot.bin\ndisk = disk.bin\n"); });
  EXPECT_EQ(failure.exitCode, EExitCode::BadInput);
  EXPECT_EQ(failure.sentence, (folder / "m").string() + ":2: " + (folder / "boot.bin").string() +
                                  " is empty; the board starts in its boot ROM.");
}

TEST(PackBuild, NamesTheLineOfAnInputThatIsMissing) {
  const CTestFolder folder;
  folder.Write("boot.bin", PlainBytes(4, 1));
  const SFailure failure =
      Failure([&] { BuildText(folder, "identity = A\nboot = boot.bin\ndisk = gone\n"); });
  EXPECT_EQ(failure.exitCode, EExitCode::BadFile);
  EXPECT_EQ(failure.sentence,
            (folder / "m").string() + ":3: " + (folder / "gone").string() + " does not exist.");
}

TEST(PackBuild, NeverWritesOverItsInputs) {
  const CTestFolder folder;
  const auto manifestPath = WriteSampleInputs(folder, GetSamplePack());
  const SManifest manifest = ReadManifest(manifestPath);
  std::filesystem::create_hard_link(folder / "voice.bin", folder / "alias");
  const std::vector<u8> text = ReadWhole(manifestPath);
  for (const char* name : {"sample.manifest", "boot.bin", "voice.bin", "disk.bin", "alias"}) {
    const auto target = folder / name;
    const SFailure failure = Failure([&] { BuildPack(manifest, manifestPath, target, nullptr); });
    EXPECT_EQ(failure.exitCode, EExitCode::BadInput);
    EXPECT_EQ(failure.sentence, target.string() +
                                    " is an input of this build and is not overwritten; give "
                                    "another name for the pack.");
  }
  EXPECT_EQ(ReadWhole(manifestPath), text);
  EXPECT_EQ(ReadWhole(folder / "disk.bin"), GetSamplePack().image);
}

TEST(PackBuild, ThatFailsKeepsTheOldPackAndLeavesNoOtherFile) {
  const CTestFolder folder;
  folder.Write("boot.bin", PlainBytes(4, 1));
  folder.Write("disk.bin", PlainBytes(100, 1));
  folder.Write("p", std::string("old"));
  folder.Write("m", std::string("identity = A\nboot = boot.bin\ndisk = disk.bin\n"));
  const SManifest manifest = ReadManifest(folder / "m");
  // Something that cannot go on, in the middle of the chunks.
  const auto fail = [](u64, u64) { throw CToolError(EExitCode::BadFile, "stop."); };
  EXPECT_EQ(Failure([&] { BuildPack(manifest, folder / "m", folder / "p", fail); }).sentence,
            "stop.");
  EXPECT_EQ(ReadWhole(folder / "p"), (std::vector<u8>{'o', 'l', 'd'}));
  EXPECT_EQ(folder.Names(), (std::vector<std::string>{"boot.bin", "disk.bin", "m", "p"}));
}

}  // namespace
}  // namespace vx::test

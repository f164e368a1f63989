#include <gtest/gtest.h>

#include <sstream>

#include "tests/tools/TestFolder.h"
#include "tests/tools/ToolErrors.h"
#include "tools/packfile/Manifest.h"

namespace vx::test {
namespace {

constexpr const char* kLeast = "identity = A\nboot = b.rom\ndisk = d.img\n";

SManifest Parse(const std::string& text) {
  std::istringstream stream(text);
  return ParseManifest(stream, "m", "/folder");
}

SFailure ParseFailure(const std::string& text) {
  return Failure([&text] { Parse(text); });
}

TEST(Manifest, NamesFilesRelativeToItself) {
  const SManifest manifest = Parse(kLeast);
  EXPECT_EQ(manifest.boot.path, "/folder/b.rom");
  EXPECT_EQ(manifest.boot.line, 2u);
  EXPECT_EQ(manifest.disk.path, "/folder/d.img");
  EXPECT_EQ(manifest.disk.line, 3u);
}

TEST(Manifest, TakesAnAbsolutePathAsItStands) {
  EXPECT_EQ(Parse("identity = A\nboot = /x/b\ndisk = d\n").boot.path, "/x/b");
}

TEST(Manifest, LeavesOutWhatHasADefault) {
  const SManifest manifest = Parse(kLeast);
  EXPECT_EQ(manifest.chunkBytes, 65536u);
  EXPECT_FALSE(manifest.geometry);
  EXPECT_FALSE(manifest.sectorCount);
  for (const auto& sound : manifest.sounds) EXPECT_FALSE(sound);
}

TEST(Manifest, GivesTheIdentityNumberOfEachLayout) {
  EXPECT_EQ(Parse("identity = A\nboot = b\ndisk = d\n").identity, 0x8e21848dc23b33d2u);
  EXPECT_EQ(Parse("identity = B\nboot = b\ndisk = d\n").identity, 0xbe281ce10a9925a0u);
}

TEST(Manifest, ReadsEveryKey) {
  const SManifest manifest =
      Parse(std::string(kLeast) + "sound1 = s1\nsound8 = s8\nchunk = 32768\nsector = 512\n" +
            "cylinders = 7\nheads = 3\nsectors_per_track = 5\nsectors = 106\n");
  EXPECT_EQ(manifest.sounds[0]->path, "/folder/s1");
  EXPECT_EQ(manifest.sounds[7]->path, "/folder/s8");
  EXPECT_EQ(manifest.chunkBytes, 32768u);
  EXPECT_EQ(manifest.geometry->cylinders, 7u);
  EXPECT_EQ(manifest.geometry->heads, 3u);
  EXPECT_EQ(manifest.geometry->sectorsPerTrack, 5u);
  EXPECT_EQ(manifest.sectorCount, 106u);
}

TEST(Manifest, SkipsCommentsBlankLinesAndByteOrderMark) {
  const SManifest manifest = Parse(
      "\xEF\xBB\xBF# top\r\n\r\n  identity=A # layout\r\nboot =b#1.rom\r\n\tdisk= d\t# x\r\n");
  EXPECT_EQ(manifest.boot.path, "/folder/b#1.rom");
  EXPECT_EQ(manifest.disk.path, "/folder/d");
}

TEST(Manifest, TakesAQuotedValueAsItStands) {
  const SManifest manifest =
      Parse("identity = \"A\"\nboot = \" my #1 rom\" # the game\ndisk = d\n");
  EXPECT_EQ(manifest.boot.path, "/folder/ my #1 rom");
}

struct SBadManifest {
  const char* name;
  std::string text;
  const char* sentence;
};

void PrintTo(const SBadManifest& bad, std::ostream* output) { *output << bad.name; }

class BadManifest : public testing::TestWithParam<SBadManifest> {};

TEST_P(BadManifest, IsRefusedWithItsLine) {
  const SFailure failure = ParseFailure(GetParam().text);
  ASSERT_TRUE(failure.bFailed);
  EXPECT_EQ(failure.exitCode, EExitCode::BadInput);
  EXPECT_EQ(failure.sentence, GetParam().sentence);
}

const std::string kL = kLeast;

// clang-format off
const SBadManifest kBadManifests[] = {
    {"Empty", "", "m: there is no line 'identity = A or B'."},
    {"NoBoot", "identity = A\ndisk = d\n", "m: there is no line 'boot = FILE'."},
    {"NoDisk", "identity = A\nboot = d\n", "m: there is no line 'disk = FILE'."},
    {"NoEquals", "# x\nidentity A\n", "m:2: expected 'key = value', found 'identity A'."},
    {"UnknownKey", kL + "colour = red\n", "m:4: there is no key 'colour'."},
    {"SoundNine", kL + "sound9 = s\n", "m:4: there is no key 'sound9'."},
    {"SoundZero", kL + "sound0 = s\n", "m:4: there is no key 'sound0'."},
    {"EmptyKey", kL + "= s\n", "m:4: there is no key ''."},
    {"NoValue", kL + "sound1 =   # none\n", "m:4: sound1 has no value."},
    {"EmptyQuotes", kL + "sound1 = \"\"\n", "m:4: sound1 has no value."},
    {"Twice", kL + "boot = c\n", "m:4: boot stands already in line 2."},
    {"OpenQuote", kL + "sound1 = \"abc\n",
     "m:4: a double quote is missing at the end of the value."},
    {"BehindQuote", kL + "sound1 = \"abc\" d\n",
     "m:4: there is text behind the closing double quote: 'd'."},
    {"ZeroByte", kL + std::string("sound1 = a\0b\n", 13), "m:4: sound1 holds a zero byte."},
    {"Identity", "identity = C\nboot = b\ndisk = d\n",
     "m:1: identity is 'C' and must be A or B."},
    {"Chunk", kL + "chunk = 4096\n", "m:4: chunk is '4096' and must be 32768 or 65536."},
    {"Sector", kL + "sector = 2048\n",
     "m:4: sector is '2048' and must be 512, the only size that the board's drive reads."},
    {"LoneHeads", kL + "heads = 4\n",
     "m:4: cylinders, heads and sectors_per_track belong together; sectors_per_track is missing."},
    {"NoCylinders", kL + "heads = 4\nsectors_per_track = 9\n",
     "m:5: cylinders, heads and sectors_per_track belong together; cylinders is missing."},
    {"LoneSectors", kL + "sectors = 4\n",
     "m:4: sectors needs cylinders, heads and sectors_per_track."},
    {"ZeroHeads", kL + "cylinders = 1\nheads = 0\nsectors_per_track = 1\n",
     "m:5: heads is '0' and must be a whole number from 1 to 16."},
    {"ManyCylinders", kL + "cylinders = 65536\nheads = 1\nsectors_per_track = 1\n",
     "m:4: cylinders is '65536' and must be a whole number from 1 to 65535."},
    {"NegativeTrack", kL + "cylinders = 1\nheads = 1\nsectors_per_track = -1\n",
     "m:6: sectors_per_track is '-1' and must be a whole number from 1 to 255."},
    {"HugeNumber", kL + "cylinders = 99999999999999999999\nheads = 1\nsectors_per_track = 1\n",
     "m:4: cylinders is '99999999999999999999' and must be a whole number from 1 to 65535."},
    {"NumberAndText", kL + "cylinders = 1x\nheads = 1\nsectors_per_track = 1\n",
     "m:4: cylinders is '1x' and must be a whole number from 1 to 65535."},
    {"FewSectors", kL + "cylinders = 2\nheads = 2\nsectors_per_track = 2\nsectors = 7\n",
     "m:7: sectors is less than the geometry's 8."},
    {"NoSectors", kL + "cylinders = 2\nheads = 2\nsectors_per_track = 2\nsectors = 0\n",
     "m:7: sectors is '0' and must be a whole number from 1 to 134217728."},
    {"Binary", "\x01\x02\x7F" "abc\n", "m:1: expected 'key = value', found '???abc'."},
    {"LongLine", std::string(500, 'x'),
     "m:1: expected 'key = value', found "
     "'xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx...'."},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Lines, BadManifest, testing::ValuesIn(kBadManifests),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(Manifest, ThatIsTooLargeIsRefusedUnread) {
  const CTestFolder folder;
  const auto path = folder.Write("big", std::string((1 << 20) + 1, '#'));
  const SFailure failure = Failure([&path] { ReadManifest(path); });
  EXPECT_EQ(failure.exitCode, EExitCode::BadInput);
  EXPECT_EQ(failure.sentence, path.string() +
                                  " is too large for a manifest: it has 1048577 bytes, at most "
                                  "1048576 are read.");
}

TEST(Manifest, ThatIsAFolderIsRefused) {
  const CTestFolder folder;
  const SFailure failure = Failure([&folder] { ReadManifest(folder.Path()); });
  EXPECT_EQ(failure.exitCode, EExitCode::BadFile);
  EXPECT_EQ(failure.sentence, folder.Path().string() + " is not a regular file.");
}

SManifest WithGeometry(u32 cylinders, u32 heads, u32 sectorsPerTrack) {
  return Parse(std::string(kLeast) + "cylinders = " + std::to_string(cylinders) +
               "\nheads = " + std::to_string(heads) +
               "\nsectors_per_track = " + std::to_string(sectorsPerTrack) + "\n");
}

TEST(DiskShape, IsThatOfTheGeometryWhenTheImageIsShorter) {
  const SPackDiskEntry disk = ShapeDisk(WithGeometry(10, 4, 17), 1);
  EXPECT_EQ(disk.sectorCount, 680u);
  EXPECT_EQ(disk.sectorBytes, 512u);
  EXPECT_EQ(disk.chunkBytes, 65536u);
  EXPECT_EQ(disk.chunkCount, 6u);  // 348,160 bytes
  EXPECT_EQ(disk.cylinders, 10u);
  EXPECT_EQ(disk.heads, 4u);
  EXPECT_EQ(disk.sectorsPerTrack, 17u);
}

TEST(DiskShape, HasTwoChunksAtLeast) {
  EXPECT_EQ(ShapeDisk(WithGeometry(1, 1, 1), 512).chunkCount, 2u);
}

TEST(DiskShape, WithoutGeometryHoldsTheImageInWholeCylinders) {
  const SPackDiskEntry disk = ShapeDisk(Parse(kLeast), 1009 * 512);
  EXPECT_EQ(disk.cylinders, 2u);
  EXPECT_EQ(disk.heads, 16u);
  EXPECT_EQ(disk.sectorsPerTrack, 63u);
  EXPECT_EQ(disk.sectorCount, 2016u);
}

TEST(DiskShape, OfAnEmptyImageIsOneCylinder) {
  EXPECT_EQ(ShapeDisk(Parse(kLeast), 0).cylinders, 1u);
}

TEST(DiskShape, RefusesAnImageThatIsOneByteTooLarge) {
  ShapeDisk(WithGeometry(1, 2, 3), 6 * 512);
  const SFailure failure = Failure([] { ShapeDisk(WithGeometry(1, 2, 3), 6 * 512 + 1); });
  EXPECT_EQ(failure.exitCode, EExitCode::BadInput);
  EXPECT_EQ(failure.sentence,
            "m:3: /folder/d.img has 3073 bytes; the disk holds only 3072 (6 sectors).");
}

TEST(DiskShape, RefusesADiskAboveWhatTheBoardLoads) {
  const u64 limit = u64{64} << 30;
  EXPECT_EQ(Failure([=] { ShapeDisk(Parse(kLeast), limit + 1); }).sentence,
            "m:3: /folder/d.img has 68719476737 bytes; a disk has at most 68719476736.");
  EXPECT_EQ(
      Failure([=] { ShapeDisk(WithGeometry(65535, 16, 255), 512); }).sentence,
      "m:3: /folder/d.img has a geometry of 267382800 sectors; a disk has at most 134217728.");
  EXPECT_EQ(Failure([=] { ShapeDisk(Parse(kLeast), limit); }).sentence,
            "m:3: /folder/d.img has 68719476736 bytes, too many for 65535 cylinders; give "
            "cylinders, heads and sectors_per_track, and sectors.");
}

}  // namespace
}  // namespace vx::test

#include "tools/packfile/PackReader.h"

#include <gtest/gtest.h>

#include "tests/tools/SamplePack.h"
#include "tests/tools/ToolErrors.h"

namespace vx::test {
namespace {

void VerifyBytes(const std::vector<u8>& bytes) {
  const CMemorySource source("p", bytes);
  CPackReader(source).Verify(nullptr);
}

std::vector<u8> DiskOf(const CPackReader& reader) {
  std::vector<u8> disk;
  reader.ReadDisk(
      [&disk](std::span<const u8> piece) { disk.insert(disk.end(), piece.begin(), piece.end()); },
      nullptr);
  return disk;
}

TEST(PackReader, GivesBackWhatWasPacked) {
  const SSamplePack& sample = GetSamplePack();
  const CMemorySource source("p", sample.bytes);
  const CPackReader reader(source);
  EXPECT_EQ(reader.ReadRom(0), sample.bootRom);
  EXPECT_EQ(reader.ReadRom(2), sample.soundRom2);
  EXPECT_TRUE(reader.ReadRom(8).empty());
  EXPECT_EQ(DiskOf(reader), sample.Disk());
  EXPECT_EQ(reader.RawChunkCount(), 1u);
  EXPECT_EQ(reader.DiskBytes(), SSamplePack::kDiskBytes);
}

TEST(PackReader, VerifiesAWholePack) { EXPECT_NO_THROW(VerifyBytes(GetSamplePack().bytes)); }

TEST(PackReader, ReportsProgressUpToTheWholeDisk) {
  const CMemorySource source("p", GetSamplePack().bytes);
  std::vector<u64> reported;
  CPackReader(source).Verify([&reported](u64 done, u64 total) {
    EXPECT_EQ(total, SSamplePack::kDiskBytes);
    reported.push_back(done);
  });
  EXPECT_EQ(reported, (std::vector<u64>{32768, 65536, 98304, 131072}));
}

TEST(PackReader, NamesAPackByTheXorOfItsHashes) {
  const std::vector<u8>& pack = GetSamplePack().bytes;
  const CMemorySource source("p", pack);
  const CPackReader reader(source);
  u64 sound = 0;
  for (u32 i = 1; i < 9; ++i) sound ^= GetNumber(pack, EntryOffset(i) + 16, 8);
  EXPECT_EQ(SoundRomHash(reader.Directory()), sound);
  EXPECT_EQ(PackHash(reader.Directory()),
            sound ^ GetNumber(pack, EntryOffset(0) + 16, 8) ^ GetNumber(pack, kDiskOffset + 16, 8));
}

TEST(PackReader, AcceptsADiskOfMoreSectorsThanItsGeometryTells) {
  std::vector<u8> pack = GetSamplePack().bytes;
  SetNumber(pack, kDiskOffset + 44, 4, 3);  // cylinders
  const CMemorySource source("p", pack);
  EXPECT_NO_THROW(CPackReader reader(source));
}

struct SBadField {
  const char* name;
  std::size_t offset;
  u32 width;
  u64 value;
  const char* sentence;
};

void PrintTo(const SBadField& bad, std::ostream* output) { *output << bad.name; }

class BadField : public testing::TestWithParam<SBadField> {};

TEST_P(BadField, IsNamedWithWhatWasFoundAndExpected) {
  const SBadField& bad = GetParam();
  std::vector<u8> pack = GetSamplePack().bytes;
  SetNumber(pack, bad.offset, bad.width, bad.value);
  const SFailure failure = Failure([&pack] { VerifyBytes(pack); });
  ASSERT_TRUE(failure.bFailed);
  EXPECT_EQ(failure.exitCode, EExitCode::BadPack);
  // SIZE stands for the size of the file, HASH for a number that depends on the sample.
  std::string expected = bad.sentence;
  const auto replace = [&expected](const std::string& mark, const std::string& text) {
    const std::size_t at = expected.find(mark);
    if (at != std::string::npos) expected.replace(at, mark.size(), text);
  };
  replace("SIZE", std::to_string(pack.size()));
  char hash[24];
  std::snprintf(hash, sizeof hash, "0x%016llx",
                static_cast<unsigned long long>(GetNumber(GetSamplePack().bytes, bad.offset, 8)));
  replace("HASH", hash);
  EXPECT_EQ(failure.sentence, expected);
}

constexpr u64 kFar = u64{1} << 40;
constexpr u64 kWrapping = ~u64{0} - 3;  // an area of five bytes or more from here wraps round

// clang-format off
const SBadField kBadFields[] = {
    // name, offset, width, value, sentence
    {"Magic", 0, 8, 1,
     "p: this is no pack; its magic number: found 0x0000000000000001, expected 0xea7dab00b1e5beef."},
    {"Version", 8, 8, 2, "p: the version: found 2, expected 3."},
    {"EntryCountNine", 16, 8, 9, "p: the entry count: found 9, expected 10."},
    {"EntryCountHuge", 16, 8, ~u64{0},
     "p: the entry count: found 18446744073709551615, expected 10."},
    {"Identity", 24, 8, 5,
     "p: the identity: found 0x0000000000000005, expected 0x8e21848dc23b33d2 or "
     "0xbe281ce10a9925a0."},
    {"RomStoredSizeZero", EntryOffset(0) + 8, 8, 0,
     "p: the boot ROM, stored size: found 0 bytes, expected a zlib stream."},
    {"RomChunkCount", EntryOffset(3) + 28, 4, 2,
     "p: sound ROM 3, chunk count: found 2, expected 1."},
    {"RomInflatedSize", EntryOffset(8) + 24, 4, 0x80001,
     "p: sound ROM 8, inflated size: found 524289 bytes, expected at most 524288."},
    {"RomInHeader", EntryOffset(1), 8, 671,
     "p: sound ROM 1, place of its data: found 8 bytes at 671, expected an area between byte 672 "
     "and the end of the file at SIZE."},
    {"RomBehindFile", EntryOffset(1), 8, kFar,
     "p: sound ROM 1, place of its data: found 8 bytes at 1099511627776, expected an area between "
     "byte 672 and the end of the file at SIZE."},
    {"RomWrapsRound", EntryOffset(1), 8, kWrapping,
     "p: sound ROM 1, place of its data: found 8 bytes at 18446744073709551612, expected an area "
     "between byte 672 and the end of the file at SIZE."},
    {"RomStoredSizeHuge", EntryOffset(0) + 8, 8, ~u64{0},
     "p: the boot ROM, place of its data: found 18446744073709551615 bytes at 672, expected an area "
     "between byte 672 and the end of the file at SIZE."},
    {"RomHash", EntryOffset(2) + 16, 8, 1,
     "p: sound ROM 2, hash of its data: found HASH, expected 0x0000000000000001 as its entry says."},
    {"DiskHash", kDiskOffset + 16, 8, 1,
     "p: the disk, hash of its data and geometry: found HASH, expected 0x0000000000000001 as its "
     "entry says."},
    {"NoSizeTable", kDiskOffset + 8, 8, 0,
     "p: the disk, place of the chunk size table: found 0, expected an offset."},
    {"SizeTableBehindFile", kDiskOffset + 8, 8, kWrapping,
     "p: the disk, place of the chunk size table: found 8 bytes at 18446744073709551612, expected "
     "an area between byte 672 and the end of the file at SIZE."},
    {"SizeTableInHeader", kDiskOffset + 8, 8, 1,
     "p: the disk, place of the chunk size table: found 8 bytes at 1, expected an area between "
     "byte 672 and the end of the file at SIZE."},
    {"OneChunk", kDiskOffset + 28, 4, 1,
     "p: the disk, chunk count: found 1, expected at least 2."},
    {"SectorSizeZero", kDiskOffset + 32, 4, 0,
     "p: the disk, sector size: found 0, expected 512."},
    {"SectorSizeOther", kDiskOffset + 32, 4, 2048,
     "p: the disk, sector size: found 2048, expected 512."},
    {"ChunkSizeZero", kDiskOffset + 24, 4, 0,
     "p: the disk, chunk size: found 0 bytes, expected a multiple of the sector size."},
    {"ChunkSizeOdd", kDiskOffset + 24, 4, 32767,
     "p: the disk, chunk size: found 32767 bytes, expected a multiple of the sector size."},
    {"ChunkCountHuge", kDiskOffset + 28, 4, 0xFFFFFFFF,
     "p: the disk, size of all chunks: found 140737488322560 bytes, expected at most 68719476736."},
    {"SectorCountZero", kDiskOffset + 36, 4, 0,
     "p: the disk, sector count: found 0, expected 1 to 256 for its chunks."},
    {"SectorCountLarge", kDiskOffset + 36, 4, 257,
     "p: the disk, sector count: found 257, expected 1 to 256 for its chunks."},
    {"CylindersZero", kDiskOffset + 44, 4, 0,
     "p: the disk, geometry: found 0 cylinders, 4 heads, 16 sectors per track, expected numbers "
     "above 0 whose product is at most the sector count of 256."},
    {"CylindersMany", kDiskOffset + 44, 4, 5,
     "p: the disk, geometry: found 5 cylinders, 4 heads, 16 sectors per track, expected numbers "
     "above 0 whose product is at most the sector count of 256."},
    {"HeadsHuge", kDiskOffset + 48, 4, 0xFFFFFFFF,
     "p: the disk, geometry: found 4 cylinders, 4294967295 heads, 16 sectors per track, expected "
     "numbers above 0 whose product is at most the sector count of 256."},
    {"SectorsPerTrackZero", kDiskOffset + 52, 4, 0,
     "p: the disk, geometry: found 4 cylinders, 4 heads, 0 sectors per track, expected numbers "
     "above 0 whose product is at most the sector count of 256."},
    {"ChunksBehindFile", kDiskOffset, 8, kWrapping,
     "p: disk chunk 0 (of 0 to 3), place of its data: found 32768 bytes at 18446744073709551612, "
     "expected an area between byte 672 and the end of the file at SIZE."},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Fields, BadField, testing::ValuesIn(kBadFields),
                         [](const auto& info) { return std::string(info.param.name); });

// The sentence for a pack of which one byte at a place is another.
std::string SentenceForFlip(std::size_t offset) {
  std::vector<u8> pack = GetSamplePack().bytes;
  pack[offset] ^= 0x40;
  return Failure([&pack] { VerifyBytes(pack); }).sentence;
}

std::size_t FirstPackedChunkOffset() {
  return GetNumber(GetSamplePack().bytes, kDiskOffset, 8) + SSamplePack::kChunkBytes;
}

TEST(PackReader, NamesTheRomWhoseStreamIsDamaged) {
  const u64 offset = GetNumber(GetSamplePack().bytes, EntryOffset(2), 8);
  const std::string sentence = SentenceForFlip(offset);
  EXPECT_TRUE(sentence.starts_with("p: sound ROM 2 at byte " + std::to_string(offset) +
                                   ": found a damaged zlib stream ("))
      << sentence;
  EXPECT_NE(sentence.find("expected 1000 bytes of data from "), std::string::npos) << sentence;
}

TEST(PackReader, NamesThePackedChunkThatIsDamaged) {
  const std::string sentence = SentenceForFlip(FirstPackedChunkOffset());
  EXPECT_TRUE(sentence.starts_with("p: disk chunk 1 (of 0 to 3) at byte " +
                                   std::to_string(FirstPackedChunkOffset()) +
                                   ": found a damaged zlib stream ("))
      << sentence;
}

TEST(PackReader, FindsADamagedRawChunkByTheHash) {
  const std::string sentence = SentenceForFlip(GetNumber(GetSamplePack().bytes, kDiskOffset, 8));
  EXPECT_TRUE(sentence.starts_with("p: the disk, hash of its data and geometry: found "))
      << sentence;
}

TEST(PackReader, FindsAStreamThatHoldsMoreThanItsEntrySays) {
  std::vector<u8> pack = GetSamplePack().bytes;
  SetNumber(pack, EntryOffset(0) + 24, 4, 2999);
  const std::string sentence = Failure([&pack] { VerifyBytes(pack); }).sentence;
  EXPECT_TRUE(sentence.starts_with(
      "p: the boot ROM at byte 672: found a zlib stream that holds more data, expected 2999 "))
      << sentence;
}

TEST(PackReader, FindsAStreamThatHoldsLessThanItsEntrySays) {
  std::vector<u8> pack = GetSamplePack().bytes;
  SetNumber(pack, EntryOffset(0) + 24, 4, 3001);
  const std::string stored = std::to_string(GetNumber(pack, EntryOffset(0) + 8, 8));
  EXPECT_EQ(Failure([&pack] { VerifyBytes(pack); }).sentence,
            "p: the boot ROM at byte 672: found 3000 bytes of data from a zlib stream of " +
                stored + " bytes, expected 3001 bytes of data from " + stored + " stored bytes.");
}

TEST(PackReader, FindsAStreamThatEndsBeforeItsStoredSize) {
  std::vector<u8> pack = GetSamplePack().bytes;
  const u64 stored = GetNumber(pack, EntryOffset(0) + 8, 8);
  SetNumber(pack, EntryOffset(0) + 8, 8, stored + 1);
  EXPECT_EQ(Failure([&pack] { VerifyBytes(pack); }).sentence,
            "p: the boot ROM at byte 672: found 3000 bytes of data from a zlib stream of " +
                std::to_string(stored) + " bytes, expected 3000 bytes of data from " +
                std::to_string(stored + 1) + " stored bytes.");
}

TEST(PackReader, FindsAStreamThatIsCutOff) {
  std::vector<u8> pack = GetSamplePack().bytes;
  const u64 stored = GetNumber(pack, EntryOffset(0) + 8, 8);
  SetNumber(pack, EntryOffset(0) + 8, 8, stored - 1);
  EXPECT_EQ(Failure([&pack] { VerifyBytes(pack); }).sentence,
            "p: the boot ROM at byte 672: found a zlib stream that is cut off after 3000 bytes of "
            "data, expected 3000 bytes of data from " +
                std::to_string(stored - 1) + " stored bytes.");
}

TEST(PackReader, RefusesAFileWithoutAHeader) {
  EXPECT_EQ(Failure([] { VerifyBytes({}); }).sentence,
            "p: this is no pack: found 0 bytes, expected at least a header of 32.");
}

TEST(PackReader, RefusesAFileThatEndsWithItsEntries) {
  std::vector<u8> pack = GetSamplePack().bytes;
  pack.resize(672);
  EXPECT_EQ(Failure([&pack] { VerifyBytes(pack); }).sentence,
            "p: the file is cut off in its entries: found 672 bytes, expected more than 672.");
}

TEST(PackReader, RefusesEveryTruncation) {
  const std::vector<u8>& whole = GetSamplePack().bytes;
  for (std::size_t size = 0; size < whole.size(); size += size < 1500 ? 1 : 97) {
    const std::vector<u8> pack(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
    const SFailure failure = Failure([&pack] { VerifyBytes(pack); });
    ASSERT_TRUE(failure.bFailed) << size << " bytes";
    ASSERT_EQ(failure.exitCode, EExitCode::BadPack) << failure.sentence;
  }
  const std::vector<u8> pack(whole.begin(), whole.end() - 1);
  EXPECT_TRUE(Failure([&pack] { VerifyBytes(pack); }).bFailed);
}

TEST(ByteSource, ChecksEachAreaWithoutOverflow) {
  const u8 bytes[8] = {};
  const CMemorySource source("s", bytes);
  EXPECT_TRUE(source.Holds(0, 8));
  EXPECT_TRUE(source.Holds(8, 0));
  EXPECT_FALSE(source.Holds(1, 8));
  EXPECT_FALSE(source.Holds(9, 0));
  EXPECT_FALSE(source.Holds(~u64{0}, 1));
  EXPECT_FALSE(source.Holds(1, ~u64{0}));
  u8 target[4];
  EXPECT_EQ(Failure([&] { source.Read(6, target); }).sentence,
            "s ends at byte 8, before the 4 bytes wanted at 6.");
}

}  // namespace
}  // namespace vx::test

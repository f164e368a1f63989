#include "host/StateFile.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "host/HashLog.h"
#include "host/HostError.h"
#include "host/PngFile.h"

namespace vx {

namespace {

SSavedState Sample() {
  SSavedState state;
  state.owner.pack = {0x1122334455667788, 4096};
  state.owner.machineHash = 77;
  state.owner.config = {kConfigBlobVersion, 0, 60.0, 0x1234, 100, 0};
  state.owner.settings = {"VX_A=1", "VX_B=2.0"};
  state.frame = 1234;
  state.savedAtSeconds = 1700000000;
  state.picture = {9, 8, 7};
  for (u32 i = 0; i < 3000; ++i) state.stream.push_back(static_cast<u8>(i * i / 11));
  return state;
}

// The sentence behind the file's name.
std::string Refusal(const std::string& bytes) {
  try {
    ParseState(bytes, "file");
    return "";
  } catch (const CHostError& error) {
    EXPECT_EQ(error.Code(), EExitCode::StateUnusable);
    const std::string sentence = error.what();
    EXPECT_TRUE(sentence.starts_with("file: ")) << sentence;
    return sentence.substr(6);
  }
}

// The bytes with a checksum that fits them.
std::string Sealed(std::string bytes) {
  const u64 checksum = HashBytes(bytes.data(), bytes.size() - 8, 0);
  bytes.replace(bytes.size() - 8, 8, reinterpret_cast<const char*>(&checksum), 8);
  return bytes;
}

}  // namespace

TEST(StateFile, AStateComesBackAsItWas) {
  const SSavedState state = Sample();
  const SSavedState back = ParseState(PackState(state), "file");
  EXPECT_EQ(back.stream, state.stream);
  EXPECT_EQ(back.picture, state.picture);
  EXPECT_EQ(back.frame, state.frame);
  EXPECT_EQ(back.savedAtSeconds, state.savedAtSeconds);
  EXPECT_EQ(back.owner.settings, state.owner.settings);
  EXPECT_EQ(WhyStateDoesNotFit(back.owner, state.owner), "");
}

TEST(StateFile, TheHeadComesWithoutTheStream) {
  const SSavedState head = ParseStateHead(PackState(Sample()), "file");
  EXPECT_EQ(head.frame, 1234u);
  EXPECT_EQ(head.picture.size(), 3u);
  EXPECT_TRUE(head.stream.empty());
}

TEST(StateFile, AnEmptyStreamAndNoPictureAreFine) {
  SSavedState state = Sample();
  state.stream.clear();
  state.picture.clear();
  state.owner.settings.clear();
  const SSavedState back = ParseState(PackState(state), "file");
  EXPECT_TRUE(back.stream.empty());
  EXPECT_TRUE(back.owner.settings.empty());
}

TEST(StateFile, EveryTruncationIsRefused) {
  const std::string bytes = PackState(Sample());
  for (std::size_t size = 0; size < bytes.size(); ++size) {
    EXPECT_NE(Refusal(bytes.substr(0, size)), "") << size;
  }
}

TEST(StateFile, EveryChangedByteIsRefused) {
  const std::string bytes = PackState(Sample());
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    std::string changed = bytes;
    changed[i] = static_cast<char>(changed[i] ^ 0x41);
    EXPECT_NE(Refusal(changed), "") << i;
  }
}

TEST(StateFile, SizesThatAreWrongUnderAGoodChecksumAreRefused) {
  const std::string bytes = PackState(Sample());
  for (const std::size_t field : {88, 92, 96, 104}) {
    for (const u64 value : {u64{0}, u64{5}, u64{0xFFFFFFFF}, u64{0x7FFFFFFFFFFFFFFF}}) {
      std::string changed = bytes;
      const std::size_t size = field < 96 ? 4 : 8;
      changed.replace(field, size, reinterpret_cast<const char*>(&value), size);
      EXPECT_NE(Refusal(Sealed(changed)), "") << field << " " << value;
    }
  }
}

TEST(StateFile, AStreamThatDoesNotUnpackIsRefused) {
  std::string bytes = PackState(Sample());
  bytes[bytes.size() - 20] = static_cast<char>(bytes[bytes.size() - 20] ^ 0x55);
  EXPECT_EQ(Refusal(Sealed(bytes)), "is damaged: it does not unpack to its size");
}

TEST(StateFile, ItIsToldWhatIsWrong) {
  std::string bytes = PackState(Sample());
  EXPECT_EQ(Refusal(""), "is no saved state");
  EXPECT_EQ(Refusal("PNG something"), "is no saved state");
  EXPECT_EQ(Refusal(bytes.substr(0, 50)), "is truncated");
  EXPECT_EQ(Refusal(bytes + "x"), "is damaged: something follows its end");
  bytes[bytes.size() / 2] = static_cast<char>(bytes[bytes.size() / 2] + 1);
  EXPECT_EQ(Refusal(bytes), "is damaged: its checksum is wrong");
  bytes[8] = 2;
  EXPECT_EQ(Refusal(Sealed(bytes)), "is a saved state of version 2; this program reads version 1");
}

TEST(StateFile, AStateOfSomethingElseDoesNotFit) {
  const SStateOwner run = Sample().owner;
  SStateOwner other = run;
  other.apiVersion = 1;
  EXPECT_EQ(WhyStateDoesNotFit(other, run), "was saved by another version of the machine");
  other = run;
  other.machineHash = 1;
  EXPECT_EQ(WhyStateDoesNotFit(other, run), "was saved by another kind of machine");
  other = run;
  other.pack.hash ^= 1;
  EXPECT_EQ(WhyStateDoesNotFit(other, run), "was saved with another pack");
  other = run;
  other.pack.bytes ^= 1;
  EXPECT_EQ(WhyStateDoesNotFit(other, run), "was saved with another pack");
}

TEST(StateFile, AStateOfOtherSettingsDoesNotFitAndTheyAreNamed) {
  const SStateOwner run = Sample().owner;
  SStateOwner other = run;
  other.config.clockMHz = 200;
  EXPECT_EQ(WhyStateDoesNotFit(other, run), "was saved with other settings");
  other.settings[1] = "VX_B=3.0";
  EXPECT_EQ(WhyStateDoesNotFit(other, run), "was saved with other settings: VX_B=3.0");
  for (const auto change : {+[](SConfigBlob& blob) { blob.frameRate = 50; },
                            +[](SConfigBlob& blob) { blob.dipWord = 0; },
                            +[](SConfigBlob& blob) { blob.extraReadTimeUs = 1; }}) {
    other = run;
    change(other.config);
    EXPECT_NE(WhyStateDoesNotFit(other, run), "");
  }
}

TEST(StateFile, SettingsThatDoNotReachTheBoardDoNotMatter) {
  const SStateOwner run = Sample().owner;
  SStateOwner other = run;
  other.settings[0] = "VX_A=5";
  EXPECT_EQ(WhyStateDoesNotFit(other, run), "");
}

TEST(StateFile, AThumbnailHasTheMeanOfFourPixels) {
  const u32 pixels[] = {0x000000, 0x040810, 0xFF0000, 0xFF0000,  //
                        0x040810, 0x000000, 0xFF0000, 0xFF0000};
  const SStatePicture small = MakeThumbnail(pixels, 4, 2);
  EXPECT_EQ(small.width, 2u);
  EXPECT_EQ(small.height, 1u);
  EXPECT_EQ(small.pixels, (std::vector<u32>{0x020408, 0xFF0000}));
}

TEST(StateFile, APictureInMemoryIsThePngOfTheFile) {
  const u32 pixels[] = {0x102030, 0xFFFFFF};
  const std::vector<u8> png = EncodePng(pixels, 2, 1);
  ASSERT_GT(png.size(), 8u);
  EXPECT_EQ(png[1], 'P');
  EXPECT_EQ(png[3], 'G');
}

}  // namespace vx

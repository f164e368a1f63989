#include <gtest/gtest.h>
#include <png.h>

#include <cstring>

#include "host/HashLog.h"
#include "host/HostError.h"
#include "host/PngFile.h"
#include "host/WavFile.h"
#include "tests/host/TestPack.h"

namespace vx {

namespace {

template <typename T>
T At(const std::string& bytes, std::size_t offset) {
  T value{};
  EXPECT_LE(offset + sizeof(T), bytes.size());
  if (offset + sizeof(T) <= bytes.size()) std::memcpy(&value, bytes.data() + offset, sizeof(T));
  return value;
}

}  // namespace

TEST(HashLog, TheFirstLineNamesTheColumnsAndMissingValuesAreDashes) {
  const std::string path = test::TestFolder() + "log";
  CHashLog log(path, {"state", "picture"});
  log.Write(1, {0xABCu, std::nullopt});
  log.Write(2, {~u64{0}, 1u});
  log.Close();
  EXPECT_EQ(test::ReadWholeFile(path),
            "# frame state picture\n"
            "1 0000000000000abc -\n"
            "2 ffffffffffffffff 0000000000000001\n");
}

TEST(HashLog, AFullDeviceIsToldByName) {
  CHashLog log("/dev/full", {"state"});
  try {
    for (u32 i = 0; i < 1000; ++i) log.Write(i, {u64{i}});
    log.Close();
    FAIL();
  } catch (const CHostError& error) {
    EXPECT_EQ(error.Code(), EExitCode::OutputFailed);
    EXPECT_NE(std::string(error.what()).find("/dev/full: cannot be written"), std::string::npos);
  }
}

TEST(WavFile, AFileWithoutSamplesIsValid) {
  const std::string path = test::TestFolder() + "silent.wav";
  CWavFile wav(path);
  wav.Close(31250);
  const std::string bytes = test::ReadWholeFile(path);
  ASSERT_EQ(bytes.size(), 44u);
  EXPECT_EQ(bytes.substr(0, 4), "RIFF");
  EXPECT_EQ(At<u32>(bytes, 4), 36u);
  EXPECT_EQ(At<u32>(bytes, 24), 31250u);
  EXPECT_EQ(At<u32>(bytes, 40), 0u);
}

TEST(WavFile, SamplesAreStoredAsTheyCome) {
  const std::string path = test::TestFolder() + "sound.wav";
  CWavFile wav(path);
  const i16 samples[] = {1, -1, 300, -300, 5};
  wav.Write(samples, 5, 32000);
  wav.Close(31250);
  const std::string bytes = test::ReadWholeFile(path);
  ASSERT_EQ(bytes.size(), 44u + 8u);
  EXPECT_EQ(At<u16>(bytes, 22), 2);
  EXPECT_EQ(At<u32>(bytes, 24), 32000u);
  EXPECT_EQ(At<u32>(bytes, 28), 128000u);
  EXPECT_EQ(At<i16>(bytes, 48), 300);
  EXPECT_EQ(At<i16>(bytes, 50), -300);
}

TEST(WavFile, ANewRateKeepsPitchAndLength) {
  const std::string path = test::TestFolder() + "rates.wav";
  CWavFile wav(path);
  std::vector<i16> ramp;
  for (i16 i = 0; i < 200; ++i) ramp.insert(ramp.end(), {i, i});
  wav.Write(ramp.data(), static_cast<u32>(ramp.size()), 20000);  // the file's rate
  for (u32 block = 0; block < 4; ++block) {
    wav.Write(ramp.data(), static_cast<u32>(ramp.size()), 10000);  // twice as many come out
  }
  wav.Close(0);
  EXPECT_NEAR(static_cast<f64>(wav.PairCount()), 200 + 4 * 400, 2);
  const std::string bytes = test::ReadWholeFile(path);
  const auto leftAt = [&](u32 pair) { return At<i16>(bytes, 44 + pair * 4); };
  for (u32 pair = 210; pair < 590; ++pair) {
    const int step = leftAt(pair + 1) - leftAt(pair);
    ASSERT_TRUE(step == 0 || step == 1) << pair;
  }
}

TEST(PngFile, PixelsComeBackInTheirColours) {
  const std::string path = test::TestFolder() + "picture.png";
  const u32 pixels[] = {0x00FF0000, 0x0000FF00, 0x000000FF, 0x00123456};
  WritePng(path, pixels, 2, 2);
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  ASSERT_NE(png_image_begin_read_from_file(&image, path.c_str()), 0);
  EXPECT_EQ(image.width, 2u);
  image.format = PNG_FORMAT_RGB;
  u8 rgb[12];
  ASSERT_NE(png_image_finish_read(&image, nullptr, rgb, 0, nullptr), 0);
  const u8 expected[12] = {255, 0, 0, 0, 255, 0, 0, 0, 255, 0x12, 0x34, 0x56};
  EXPECT_EQ(std::memcmp(rgb, expected, sizeof(rgb)), 0);
}

TEST(PngFile, AFolderThatIsNotThereIsToldByName) {
  const u32 pixel = 0;
  try {
    WritePng(test::TestFolder() + "none/picture.png", &pixel, 1, 1);
    FAIL();
  } catch (const CHostError& error) {
    EXPECT_EQ(error.Code(), EExitCode::OutputFailed);
    EXPECT_NE(std::string(error.what()).find("none/picture.png: cannot be written"),
              std::string::npos);
  }
}

TEST(PngFile, APictureTakesTheFirstNameThatIsFree) {
  const std::string folder = test::TestFolder();
  EXPECT_EQ(FreePicturePath(folder, "game", 123), folder + "game_000123.png");
  test::WriteFile("game_000123.png", {});
  EXPECT_EQ(FreePicturePath(folder, "game", 123), folder + "game_000123_2.png");
  test::WriteFile("game_000123_2.png", {});
  EXPECT_EQ(FreePicturePath(folder, "game", 123), folder + "game_000123_3.png");
  EXPECT_EQ(FreePicturePath(folder, "game", 7), folder + "game_000007.png");
}

TEST(PngFile, WithoutAFolderThePictureGoesToTheCurrentOne) {
  EXPECT_EQ(FreePicturePath("", "game", 1), "game_000001.png");
}

}  // namespace vx

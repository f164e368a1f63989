// The examples in host/lua/examples on the open cabinet, as a person would run them.
#include <gtest/gtest.h>
#include <png.h>

#include <algorithm>
#include <cstring>
#include <filesystem>

#include "plugin/Quillon.h"
#include "tests/host/Program.h"
#include "tests/host/TestPack.h"

namespace vx {
namespace {

using test::SProgramResult;

constexpr const char* kPack = LUA_CABINETS "opencabinet_b.qilhard";

// From power-on to a game that is on.
constexpr const char* kGame =
    "vxmovie text 1\n400 SYS:COIN1\n+4 SYS:-\n+30 P1:START\n+4 P1:-\n+60 P1:B1,UP\n";

class CScriptExamples : public testing::Test {
 protected:
  static std::string Example(const std::string& name) {
    return LUA_SOURCE_ROOT "/host/lua/examples/" + name;
  }
  static SProgramResult Run(std::vector<std::string> arguments) {
    arguments.insert(arguments.end(), {"--headless", "--component", LUA_COMPONENT});
    return test::RunProgram(arguments);
  }
  static std::string RunWell(const std::vector<std::string>& arguments) {
    const SProgramResult result = Run(arguments);
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.err, "");
    return result.out;
  }
  std::string Write(const std::string& name, const std::string& text) {
    return test::WriteFile(name, {text.begin(), text.end()});
  }
  static bool Has(const std::string& text, const std::string& words) {
    return text.find(words) != std::string::npos;
  }
  // The pixels of the picture of this frame, 0xRRGGBB.
  std::vector<u32> Picture(const std::string& sub, u32 frame) const {
    char name[32];
    std::snprintf(name, sizeof(name), "/frame_%06u.png", frame);
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_file(&image, (folder + sub + name).c_str()) == 0) return {};
    image.format = PNG_FORMAT_BGRA;
    std::vector<u32> pixels(size_t{image.width} * image.height);
    png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr);
    for (u32& pixel : pixels) pixel &= 0xFFFFFF;
    return pixels;
  }
  static std::ptrdiff_t Count(const std::vector<u32>& pixels, u32 color) {
    return std::count(pixels.begin(), pixels.end(), color);
  }

  std::string folder = test::TestFolder();
};

TEST_F(CScriptExamples, TheMemoryWatchShowsValuesAndSearches) {
  const std::string movie = Write(
      "movie.txt", std::string(kGame) +
                       "+20 P2:B2\n+4 P2:-\n+30 P2:UP\n+4 P2:-\n+30 P2:LEFT\n+4 P2:-\nend 650\n");
  const std::string out = RunWell({kPack, "--input", movie, "--script", Example("memory_watch.lua"),
                                   "--png", folder + "watch", "--every", "650"});
  EXPECT_TRUE(Has(out, "search UP leaves ")) << out;
  EXPECT_TRUE(Has(out, "search LEFT leaves ")) << out;
  const std::vector<u32> pixels = Picture("watch", 650);
  ASSERT_EQ(pixels.size(), 320u * 240);
  EXPECT_GT(Count(pixels, 0xFFFFA0), 300);
}

TEST_F(CScriptExamples, TheHitBoxesShowAndTheSonarIsHeardFromItsSide) {
  const std::string movie = Write("movie.txt", std::string(kGame) + "end 900\n");
  const std::string wav = folder + "sonar.wav";
  const std::string out = RunWell({kPack, "--input", movie, "--script", Example("hitbox.lua"),
                                   "--png", folder + "boxes", "--every", "50", "--wav", wav});
  EXPECT_TRUE(Has(out, "boxes: ")) << out;
  EXPECT_TRUE(Has(out, "sonar: placed sounds play")) << out;
  std::ptrdiff_t reds = 0;
  std::ptrdiff_t greens = 0;
  for (u32 frame = 500; frame <= 900; frame += 50) {
    reds += Count(Picture("boxes", frame), 0xFF4040);
    greens += Count(Picture("boxes", frame), 0x40FF40);
  }
  EXPECT_GT(reds, 100);
  EXPECT_GT(greens, 100);
  // The board's own sound is the same on both sides.
  const std::string sound = test::ReadWholeFile(wav);
  u32 apart = 0;
  for (size_t i = 44; i + 4 <= sound.size(); i += 4) {
    apart += std::memcmp(&sound[i], &sound[i + 2], 2) != 0 ? 1 : 0;
  }
  EXPECT_GT(apart, 100u);
}

TEST_F(CScriptExamples, TheRunThatLooksAheadShowsBothBranches) {
  const std::string out = RunWell({kPack, "--frames", "800", "--script", Example("look_ahead.lua"),
                                   "--png", folder + "ahead", "--every", "800"});
  EXPECT_TRUE(Has(out, "60 pairs of branches; the last: left at ")) << out;
  const std::vector<u32> pixels = Picture("ahead", 800);
  ASSERT_EQ(pixels.size(), 320u * 240);
  EXPECT_GT(Count(pixels, 0x40FF40), 200);  // round the branch that is taken
  EXPECT_GT(Count(pixels, 0x808080), 200);
}

TEST_F(CScriptExamples, WithoutTheSymbolsAnExampleSaysWhatIsMissing) {
  const std::string pack = folder + "alone.qilhard";
  std::filesystem::create_symlink(kPack, pack);
  const SProgramResult result = Run({pack, "--frames", "2", "--script", Example("hitbox.lua")});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_TRUE(Has(result.err, "opencabinet.symbols is missing beside the pack")) << result.err;
}

TEST_F(CScriptExamples, AScriptThatDrawsAndReadsLeavesTheRunAsItWas) {
  const std::string script = Write("draw.lua", R"(
    vx.on_frame(function() vx.fill(0, 0, 50, 50, 0x123456) Emu_ReadBlock(0, 0x100000) end))");
  RunWell({kPack, "--frames", "120", "--hash-log", folder + "a.log", "--png", folder + "a",
           "--every", "120"});
  RunWell({kPack, "--frames", "120", "--hash-log", folder + "b.log", "--png", folder + "b",
           "--every", "120", "--script", script});
  EXPECT_EQ(test::ReadWholeFile(folder + "a.log"), test::ReadWholeFile(folder + "b.log"));
  EXPECT_EQ(Count(Picture("a", 120), 0x123456), 0);
  EXPECT_EQ(Count(Picture("b", 120), 0x123456), 2500);
}

TEST_F(CScriptExamples, AMistakeInAScriptIsToldAndTheRunGoesOn) {
  const std::string script = Write("bad.lua", "local a = 1\nif a then\n");
  const SProgramResult result = Run({kPack, "--frames", "5", "--script", script});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_TRUE(Has(result.err, "vxrun: bad.lua:")) << result.err;
  EXPECT_TRUE(Has(result.out, "5 frames run")) << result.out;
}

TEST_F(CScriptExamples, AScriptEndsARun) {
  const std::string script = Write(
      "stop.lua", "vx.on_frame(function() if Emu_GetFrameNumber() == 7 then vx.stop() end end)");
  EXPECT_TRUE(Has(RunWell({kPack, "--frames", "50", "--script", script}), "7 frames run"));
}

TEST_F(CScriptExamples, AScriptThatIsNotThereEndsTheProgram) {
  const SProgramResult result = Run({kPack, "--frames", "5", "--script", folder + "none.lua"});
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_TRUE(Has(result.err, "none.lua")) << result.err;
  const SProgramResult ahead =
      Run({kPack, "--frames", "5", "--script", folder + "none.lua", "--run-ahead", "1"});
  EXPECT_EQ(ahead.exitCode, 1);
}

}  // namespace
}  // namespace vx

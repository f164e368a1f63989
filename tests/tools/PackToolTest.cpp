// vxpack as a person or a build calls it.
#include <gtest/gtest.h>

#include "tests/tools/RunTool.h"
#include "tests/tools/SamplePack.h"

namespace vx::test {
namespace {

SToolRun Vxpack(const std::vector<std::string>& arguments) { return RunTool(VX_VXPACK, arguments); }

std::string WriteSamplePack(const CTestFolder& folder) {
  return folder.Write("a.qilhard", GetSamplePack().bytes).string();
}

void ExpectError(const SToolRun& run, int exitCode, const std::string& sentence) {
  EXPECT_EQ(run.exitCode, exitCode);
  EXPECT_EQ(run.errors, "vxpack: " + sentence + "\n");
  EXPECT_EQ(run.output, "");
}

TEST(Vxpack, BuildsAPackAndSaysWhatCameOut) {
  const CTestFolder folder;
  const std::string manifest = WriteSampleInputs(folder, GetSamplePack()).string();
  const std::string pack = (folder / "a.qilhard").string();
  const SToolRun run = Vxpack({"build", manifest, "-o", pack});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_EQ(run.output, pack + ": " + std::to_string(GetSamplePack().bytes.size()) +
                            " bytes, disk of 131072 bytes in 4 chunks, 1 of them raw\n");
  EXPECT_EQ(run.errors, "vxpack: note: " + (folder / "disk.bin").string() +
                            " has 99304 bytes; it is extended by zeros to the 131072 bytes of the "
                            "disk.\n");
  EXPECT_EQ(ReadWhole(pack), GetSamplePack().bytes);
}

TEST(Vxpack, SaysNothingWhenQuiet) {
  const CTestFolder folder;
  const std::string manifest = WriteSampleInputs(folder, GetSamplePack()).string();
  const std::string pack = (folder / "a.qilhard").string();
  for (const auto& arguments : std::vector<std::vector<std::string>>{
           {"build", manifest, "-o", pack, "-q"},
           {"verify", pack, "--quiet"},
           {"extract", pack, "-q", "-d", (folder / "out").string()}}) {
    const SToolRun run = Vxpack(arguments);
    EXPECT_EQ(run.exitCode, 0) << arguments[0];
    EXPECT_EQ(run.output + run.errors, "") << arguments[0];
  }
}

TEST(Vxpack, ExtractsFilesThatBuildTheSamePackAgain) {
  const CTestFolder folder;
  const std::string pack = WriteSamplePack(folder);
  const std::string out = (folder / "out").string();
  const SToolRun extract = Vxpack({"extract", pack, "-d", out});
  ASSERT_EQ(extract.exitCode, 0) << extract.errors;
  EXPECT_EQ(extract.output, out + ": 4 files; 'vxpack build " + out +
                                "/pack.manifest' makes a pack of them again\n");
  EXPECT_EQ(ReadWhole(folder / "out/boot.rom"), GetSamplePack().bootRom);
  EXPECT_EQ(ReadWhole(folder / "out/sound2.rom"), GetSamplePack().soundRom2);
  EXPECT_EQ(ReadWhole(folder / "out/disk.img"), GetSamplePack().Disk());
  const std::string again = (folder / "b.qilhard").string();
  EXPECT_EQ(Vxpack({"build", out + "/pack.manifest", "-o", again}).exitCode, 0);
  EXPECT_EQ(ReadWhole(again), GetSamplePack().bytes);
}

TEST(Vxpack, KeepsLayoutAndSectorCountThroughExtractAndBuild) {
  const CTestFolder folder;
  folder.Write("b", PlainBytes(100, 1));
  folder.Write("d", PlainBytes(100, 2));
  const std::string manifest =
      folder
          .Write("m", std::string("identity = B\nboot = b\ndisk = d\ncylinders = 2\nheads = 3\n"
                                  "sectors_per_track = 4\nsectors = 77\n"))
          .string();
  const std::string first = (folder / "1.qilhard").string();
  const std::string second = (folder / "2.qilhard").string();
  const std::string out = (folder / "out").string();
  EXPECT_EQ(Vxpack({"build", manifest, "-o", first}).exitCode, 0);
  EXPECT_EQ(Vxpack({"extract", first, "-d", out}).exitCode, 0);
  EXPECT_EQ(Vxpack({"build", out + "/pack.manifest", "-o", second}).exitCode, 0);
  EXPECT_EQ(ReadWhole(first), ReadWhole(second));
}

TEST(Vxpack, KeepsFilesThatExistUnlessForced) {
  const CTestFolder folder;
  const std::string pack = WriteSamplePack(folder);
  folder.Write("disk.img", std::string("mine"));
  const SToolRun refused = Vxpack({"extract", pack, "-d", folder.Path().string()});
  ExpectError(refused, 2,
              (folder / "disk.img").string() +
                  " exists already; give another folder, or --force to replace it.");
  EXPECT_EQ(folder.Names(), (std::vector<std::string>{"a.qilhard", "disk.img"}));
  EXPECT_EQ(Vxpack({"extract", pack, "-f", "-d", folder.Path().string()}).exitCode, 0);
  EXPECT_EQ(ReadWhole(folder / "disk.img"), GetSamplePack().Disk());
}

TEST(Vxpack, NeverExtractsOverThePackItself) {
  const CTestFolder folder;
  const std::string pack = folder.Write("boot.rom", GetSamplePack().bytes).string();
  ExpectError(Vxpack({"extract", pack, "--force", "-d", folder.Path().string()}), 2,
              pack + " is the pack itself and is not overwritten; give another folder.");
  EXPECT_EQ(ReadWhole(pack), GetSamplePack().bytes);
}

TEST(Vxpack, SaysWhenTheFolderCannotBeMade) {
  const CTestFolder folder;
  const std::string pack = WriteSamplePack(folder);
  ExpectError(Vxpack({"extract", pack, "-d", pack + "/out"}), 3,
              pack + "/out cannot be made a folder: Not a directory.");
}

TEST(Vxpack, PrintsWhatAPackHolds) {
  const CTestFolder folder;
  const SToolRun run = Vxpack({"info", WriteSamplePack(folder)});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_EQ(run.errors, "");
  for (const char* text :
       {"layout     A\n", "\nboot  ", "\nsound8", "\ndisk  ",
        "\ndisk       256 sectors of 512 bytes; 4 cylinders, 4 heads, 16 sectors per track\n",
        "\nchunks     4 of 32768 bytes, 1 of them raw; size table at "}) {
    EXPECT_NE(run.output.find(text), std::string::npos) << text << "in\n" << run.output;
  }
  char diskHash[24];
  std::snprintf(
      diskHash, sizeof diskHash, "%016llX\n",
      static_cast<unsigned long long>(GetNumber(GetSamplePack().bytes, kDiskOffset + 16, 8)));
  EXPECT_NE(run.output.find(diskHash), std::string::npos) << run.output;
}

TEST(Vxpack, VerifiesAWholePack) {
  const CTestFolder folder;
  const std::string pack = WriteSamplePack(folder);
  const SToolRun run = Vxpack({"verify", pack});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_EQ(run.output, pack + ": whole; 9 ROMs and 4 disk chunks decoded, all hashes agree\n");
  EXPECT_EQ(run.errors, "");
}

TEST(Vxpack, AnswersADamagedPackWithOneSentenceAndExitCodeOne) {
  const CTestFolder folder;
  std::vector<u8> bytes = GetSamplePack().bytes;
  SetNumber(bytes, 16, 8, 11);
  const std::string pack = folder.Write("bad.qilhard", bytes).string();
  const std::string sentence = pack + ": the entry count: found 11, expected 10.";
  ExpectError(Vxpack({"verify", pack}), 1, sentence);
  ExpectError(Vxpack({"info", pack}), 1, sentence);
  ExpectError(Vxpack({"extract", pack, "-d", (folder / "out").string()}), 1, sentence);
  EXPECT_FALSE(std::filesystem::exists(folder / "out"));
}

TEST(Vxpack, LeavesNoHalfImageOfADamagedDisk) {
  const CTestFolder folder;
  std::vector<u8> bytes = GetSamplePack().bytes;
  bytes.back() ^= 0xFF;
  const std::string pack = folder.Write("bad.qilhard", bytes).string();
  const SToolRun run = Vxpack({"extract", pack, "-d", (folder / "out").string()});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_NE(run.errors.find("disk chunk 3 (of 0 to 3)"), std::string::npos) << run.errors;
  EXPECT_FALSE(std::filesystem::exists(folder / "out/disk.img"));
  EXPECT_FALSE(std::filesystem::exists(folder / "out/pack.manifest"));
}

TEST(Vxpack, SaysWhichFileIsMissing) {
  const CTestFolder folder;
  const std::string gone = (folder / "gone").string();
  for (const char* command : {"info", "verify"}) {
    ExpectError(Vxpack({command, gone}), 3, gone + " does not exist.");
  }
  ExpectError(Vxpack({"build", gone, "-o", gone + "2"}), 3, gone + " does not exist.");
  ExpectError(Vxpack({"verify", folder.Path().string()}), 3,
              folder.Path().string() + " is not a regular file.");
}

TEST(Vxpack, AnswersABadManifestWithItsLineAndExitCodeTwo) {
  const CTestFolder folder;
  const std::string manifest = folder.Write("m", std::string("identity = A\nbot = x\n")).string();
  ExpectError(Vxpack({"build", manifest, "-o", (folder / "p").string()}), 2,
              manifest + ":2: there is no key 'bot'.");
}

TEST(Vxpack, AnswersABadCommandLineWithExitCodeTwo) {
  for (const auto& arguments : std::vector<std::vector<std::string>>{{},
                                                                     {"pack"},
                                                                     {"build"},
                                                                     {"build", "m"},
                                                                     {"info"},
                                                                     {"verify", "a", "b"},
                                                                     {"extract", "a"}}) {
    const SToolRun run = Vxpack(arguments);
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_TRUE(run.errors.starts_with("vxpack: ")) << run.errors;
    EXPECT_TRUE(run.errors.ends_with(" (vxpack --help tells more)\n")) << run.errors;
  }
}

TEST(Vxpack, TellsItsExitCodesInItsHelp) {
  const SToolRun run = Vxpack({"--help"});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_NE(run.output.find("Exit codes:"), std::string::npos);
  EXPECT_NE(Vxpack({"build", "--help"}).output.find("sectors_per_track"), std::string::npos);
}

TEST(Vxpack, ShowsItsProgressOnATerminalOnly) {
  const CTestFolder folder;
  const std::string pack = WriteSamplePack(folder);
  const SToolRun seen = RunTool(VX_VXPACK, {"verify", pack}, EErrorsTo::Terminal);
  EXPECT_EQ(seen.exitCode, 0);
  EXPECT_NE(seen.errors.find("verifying a.qilhard ["), std::string::npos) << seen.errors;
  EXPECT_NE(seen.errors.find("] 100%"), std::string::npos) << seen.errors;
}

TEST(VxEmbed, SaysWhatIsWrongWithItsArguments) {
  EXPECT_EQ(RunTool(VX_EMBED, {}).exitCode, 1);
  EXPECT_EQ(RunTool(VX_EMBED, {"/nowhere/out.cpp"}).errors,
            "vx_embed: /nowhere/out.cpp cannot be written.\n");
}

}  // namespace
}  // namespace vx::test

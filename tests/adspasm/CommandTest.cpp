// adspasm as a person or a build calls it.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <fstream>
#include <sstream>

#include "tests/adspasm/AsmTest.h"
#include "tests/tools/RunTool.h"
#include "tests/tools/TestFolder.h"

namespace vx::test {
namespace {

SToolRun Adspasm(const std::vector<std::string>& arguments) {
  return RunTool(VX_ADSPASM, arguments);
}

std::string TextOf(const std::filesystem::path& path) {
  const std::vector<u8> bytes = ReadWhole(path);
  return {bytes.begin(), bytes.end()};
}

constexpr const char* kSource = ".ORG 0\nSTART: AX0 = 19\nJUMP START\n";
constexpr const char* kListing =
    "                   1  .ORG 0\nP 0000  400130     2  START: AX0 = 19\n"
    "P 0001  18000F     3  JUMP START\n";

TEST(Command, WritesImageListingMapAndDependencies) {
  const CTestFolder folder;
  const std::string source = folder.Write("a b.dsp", std::string(kSource)).string();
  const auto name = [&folder](const char* file) { return (folder / file).string(); };
  const SToolRun run = Adspasm({source, "-o", name("x.img"), "--listing", name("x.lst"), "--map",
                                name("x.map"), "--depfile", name("x.d")});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_EQ(run.output + run.errors, "");
  EXPECT_EQ(ReadWhole(folder / "x.img"), AssembleText(kSource).BootImage());
  EXPECT_EQ(TextOf(folder / "x.lst"), "; " + source + "\n" + kListing);
  EXPECT_EQ(TextOf(folder / "x.map"), "0000 CODE START\n");
  EXPECT_EQ(TextOf(folder / "x.d"), name("x.img") + ": \\\n  " + name("a\\ b.dsp") + "\n");
  EXPECT_EQ(folder.Names(),
            (std::vector<std::string>{"a b.dsp", "x.d", "x.img", "x.lst", "x.map"}));
}

TEST(Command, WritesNothingFromASourceWithErrors) {
  const CTestFolder folder;
  const std::string source = folder.Write("a.dsp", std::string(".ORG 0\nFOO\nBAR\n")).string();
  const std::string image = folder.Write("x.img", std::string("old")).string();
  const SToolRun run = Adspasm({source, "-o", image, "--listing", (folder / "x.lst").string()});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_EQ(run.errors, source + ":2: error: \"FOO\" is no instruction and no register.\n" +
                            source + ":3: error: \"BAR\" is no instruction and no register.\n");
  EXPECT_EQ(TextOf(image), "old");
  EXPECT_EQ(folder.Names(), (std::vector<std::string>{"a.dsp", "x.img"}));
}

TEST(Command, TellsWarningsAndGoesOnUnlessTheyAreErrors) {
  const CTestFolder folder;
  const std::string source = folder.Write("a.dsp", std::string(".ORG 0\nCNTR = 0\n")).string();
  const std::string image = (folder / "x.img").string();
  EXPECT_EQ(Adspasm({source, "-o", image, "--werror"}).exitCode, 1);
  EXPECT_FALSE(std::filesystem::exists(image));
  const SToolRun run = Adspasm({source, "-o", image});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_NE(run.errors.find("a.dsp:2: warning: "), std::string::npos);
  EXPECT_TRUE(std::filesystem::exists(image));
}

TEST(Command, TakesFoldersAndConstants) {
  const CTestFolder folder;
  std::filesystem::create_directory(folder / "lib");
  folder.Write("lib/t.inc", std::string("AX0 = RATE * 2\n"));
  const std::string source =
      folder.Write("a.dsp", std::string(".ORG 0\n.INCLUDE \"t.inc\"\n.EXPECT 0, 0x400260\n"))
          .string();
  const SToolRun run = Adspasm({source, "-I", (folder / "lib").string(), "-D", "RATE=0x13"});
  EXPECT_EQ(run.errors, "");
  EXPECT_EQ(run.exitCode, 0);
}

TEST(Command, TellsOfAConstantThatIsNone) {
  const CTestFolder folder;
  const std::string source = folder.Write("a.dsp", std::string(kSource)).string();
  EXPECT_EQ(Adspasm({source, "-D", "RATE"}).errors,
            "adspasm: -D RATE is not NAME=VALUE: \"=\" is expected where the end of the line "
            "stands.\n");
  EXPECT_EQ(Adspasm({source, "-D", "RATE"}).exitCode, 2);
  EXPECT_EQ(Adspasm({source, "-D", "START=3"}).exitCode, 1);
  EXPECT_EQ(Adspasm({source, "-D", "START=3"}).errors,
            source + ":2: error: START is already defined in the command line.\n");
}

TEST(Command, TakesAnImageApart) {
  const CTestFolder folder;
  const std::string source = folder.Write("a.dsp", std::string(kSource)).string();
  const std::string image = (folder / "x.img").string();
  const std::string back = (folder / "back.dsp").string();
  ASSERT_EQ(Adspasm({source, "-o", image}).exitCode, 0);
  ASSERT_EQ(Adspasm({"--disassemble", image, "-o", back}).exitCode, 0);
  EXPECT_EQ(Adspasm({"--disassemble", image}).output, TextOf(back));
  ASSERT_EQ(Adspasm({back, "-o", (folder / "y.img").string()}).exitCode, 0);
  EXPECT_EQ(ReadWhole(folder / "y.img"), ReadWhole(image));
}

TEST(Command, TellsOfFilesThatItCannotReadOrWrite) {
  const CTestFolder folder;
  const std::string source = folder.Write("a.dsp", std::string(kSource)).string();
  const std::string missing = (folder / "none.dsp").string();
  const std::string here = folder.Path().string();
  EXPECT_EQ(Adspasm({missing}).errors, missing + ": error: the file cannot be read.\n");
  EXPECT_EQ(Adspasm({missing}).exitCode, 3);
  EXPECT_EQ(Adspasm({here}).exitCode, 3);
  EXPECT_EQ(Adspasm({"--disassemble", missing}).errors,
            "adspasm: " + missing + " cannot be read.\n");
  EXPECT_EQ(Adspasm({"--disassemble", source}).exitCode, 1);
  EXPECT_EQ(Adspasm({source, "-o", here}).exitCode, 3);
  EXPECT_EQ(Adspasm({source, "-o", here + "/none/x.img"}).exitCode, 3);
  EXPECT_EQ(Adspasm({source, "-o", source}).errors,
            "adspasm: " + source + " is an input and is not overwritten; give another name.\n");
  EXPECT_EQ(TextOf(source), kSource);
}

TEST(Command, DoesNotReplaceADeviceOrWaitForAPipe) {
  const CTestFolder folder;
  const std::string source = folder.Write("a.dsp", std::string(kSource)).string();
  const std::string pipe = (folder / "pipe").string();
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  EXPECT_EQ(Adspasm({source, "-o", pipe}).exitCode, 3);
  EXPECT_EQ(Adspasm({pipe}).exitCode, 3);
  EXPECT_TRUE(std::filesystem::is_fifo(pipe));
}

TEST(Command, TellsOfACommandLineThatIsWrong) {
  EXPECT_EQ(Adspasm({}).exitCode, 2);
  EXPECT_EQ(Adspasm({"x", "--blah"}).exitCode, 2);
  EXPECT_EQ(Adspasm({"x", "--depfile", "y"}).errors, "adspasm: --depfile goes with -o only.\n");
  EXPECT_EQ(Adspasm({"--disassemble", "x", "--map", "y"}).errors,
            "adspasm: --disassemble goes with -o only.\n");
  EXPECT_EQ(Adspasm({"--help"}).exitCode, 0);
}

TEST(BuildStep, MakesTheImageTheListingAndTheMapOfASource) {
  const std::string folder = VX_SAMPLE_FOLDER;
  const adsp::SBootImage image = adsp::UnpackBootImage(ReadWhole(folder + "/sample.img"));
  EXPECT_EQ(image.title, "Sample");
  ASSERT_EQ(image.words.size(), 24u);
  EXPECT_EQ(image.words[0], 0x400130u);
  EXPECT_EQ(image.words[18], 0x000300u);
  EXPECT_EQ(TextOf(folder + "/sample.map"), "0000 CODE START\n0010 CODE TABLE\n0013 EQU RATE\n");
  EXPECT_NE(TextOf(folder + "/sample.lst").find("sample_table.inc"), std::string::npos);
  EXPECT_NE(TextOf(folder + "/sample.img.d").find("include/sample_table.inc"), std::string::npos);
}

}  // namespace
}  // namespace vx::test

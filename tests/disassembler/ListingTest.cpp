// vxdis as a person calls it.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstring>
#include <filesystem>

#include "tests/tools/RunTool.h"
#include "tests/tools/SamplePack.h"
#include "tools/packfile/Manifest.h"
#include "tools/packfile/PackBuilder.h"

namespace vx::test {
namespace {

SToolRun Vxdis(const std::vector<std::string>& arguments) { return RunTool(VX_VXDIS, arguments); }

std::vector<u8> BytesOf(const std::vector<u32>& words) {
  std::vector<u8> bytes(words.size() * sizeof(u32));
  std::memcpy(bytes.data(), words.data(), bytes.size());
  return bytes;
}

// A call, a loop, and a jump out of the program, as it lies at the reset address.
std::vector<u8> Program() {
  return BytesOf({
      0x3C02BFC0,  // BFC00000  lui $v0, 49088
      0x0FF00006,  // BFC00004  jal BFC00018
      0x00000000,  // BFC00008  nop
      0x1440FFFE,  // BFC0000C  bne $v0, $zero, BFC00008
      0x2442FFFF,  // BFC00010  addiu $v0, $v0, -1
      0x0BF00040,  // BFC00014  j BFC00100
      0x03E00008,  // BFC00018  jr $ra
      0x45010001,  // BFC0001C  bc1t BFC00024
      0x46041040,  // BFC00020  add.s $f1, $f2, $f4
      0x42000018,  // BFC00024  eret
  });
}

constexpr const char* kProgramListing =
    "BFC00000  3C02BFC0  lui $v0, 49088\n"
    "BFC00004  0FF00006  jal BFC00018                     ; sub_BFC00018\n"
    "\n"
    "L_BFC00008:\n"
    "BFC00008  00000000  nop\n"
    "BFC0000C  1440FFFE  bne $v0, $zero, BFC00008         ; L_BFC00008\n"
    "BFC00010  2442FFFF  addiu $v0, $v0, -1\n"
    "BFC00014  0BF00040  j BFC00100\n"
    "\n"
    "sub_BFC00018:\n"
    "BFC00018  03E00008  jr $ra\n"
    "BFC0001C  45010001  <cop1 - todo>                    ; L_BFC00024\n"
    "BFC00020  46041040  add.s $f1, $f2, $f4\n"
    "\n"
    "L_BFC00024:\n"
    "BFC00024  42000018  eret\n";

// A pack of the program and one sound ROM of two words.
std::string WriteProgramPack(const CTestFolder& folder) {
  folder.Write("boot", Program());
  folder.Write("voice", BytesOf({0x24020005, 0x1000FFFF}));
  folder.Write("disk", PlainBytes(100, 2));
  const auto manifest =
      folder.Write("m", std::string("identity = A\nboot = boot\nsound2 = voice\ndisk = disk\n"
                                    "cylinders = 4\nheads = 4\nsectors_per_track = 16\n"));
  const auto pack = folder / "a.qilhard";
  BuildPack(ReadManifest(manifest), manifest, pack, nullptr);
  return pack.string();
}

void ExpectListing(const SToolRun& run, const std::string& listing) {
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_EQ(run.errors, "");
  EXPECT_EQ(run.output, listing);
}

void ExpectError(const SToolRun& run, int exitCode, const std::string& sentence) {
  EXPECT_EQ(run.exitCode, exitCode);
  EXPECT_EQ(run.errors, "vxdis: " + sentence + "\n");
  EXPECT_EQ(run.output, "");
}

TEST(Vxdis, ListsARomFileAtTheResetAddressWithLabels) {
  const CTestFolder folder;
  ExpectListing(Vxdis({folder.Write("boot", Program()).string()}), kProgramListing);
}

TEST(Vxdis, ListsTheBootRomOfAPack) {
  const CTestFolder folder;
  const std::string pack = WriteProgramPack(folder);
  ExpectListing(Vxdis({pack}), kProgramListing);
  ExpectListing(Vxdis({pack, "--entry", "0"}), kProgramListing);
}

TEST(Vxdis, ListsAnotherEntryOfAPackFromZero) {
  const CTestFolder folder;
  ExpectListing(Vxdis({WriteProgramPack(folder), "--entry", "2"}),
                "00000000  24020005  addiu $v0, $zero, 5\n"
                "\n"
                "L_00000004:\n"
                "00000004  1000FFFF  beq $zero, $zero, 00000004       ; L_00000004\n");
}

TEST(Vxdis, ListsADumpAtTheAddressThatItIsGiven) {
  const CTestFolder folder;
  const std::string dump = folder.Write("ram", BytesOf({0, 0x0C000400})).string();
  const std::string listing =
      "\nsub_80001000:\n"
      "80001000  00000000  nop\n"
      "80001004  0C000400  jal 80001000                     ; sub_80001000\n";
  ExpectListing(Vxdis({dump, "--base", "80001000"}), listing.substr(1));
  ExpectListing(Vxdis({dump, "--base", "0x80001000"}), listing.substr(1));
}

TEST(Vxdis, CallsAPlaceAFunctionHoweverElseItIsReached) {
  const CTestFolder folder;
  const std::string file =
      folder.Write("f", BytesOf({0x0C000002, 0x08000002, 0x08000002})).string();
  ExpectListing(Vxdis({file, "--base", "0"}),
                "00000000  0C000002  jal 00000008                     ; sub_00000008\n"
                "00000004  08000002  j 00000008                       ; sub_00000008\n"
                "\n"
                "sub_00000008:\n"
                "00000008  08000002  j 00000008                       ; sub_00000008\n");
}

TEST(Vxdis, ListsAPartWithTheLabelsOfThatPart) {
  const CTestFolder folder;
  const std::string file = folder.Write("boot", Program()).string();
  ExpectListing(Vxdis({file, "--start", "BFC0000C", "--length", "12"}),
                "BFC0000C  1440FFFE  bne $v0, $zero, BFC00008\n"
                "BFC00010  2442FFFF  addiu $v0, $v0, -1\n"
                "BFC00014  0BF00040  j BFC00100\n");
  ExpectListing(Vxdis({file, "--start", "0xbfc00024"}), "BFC00024  42000018  eret\n");
  ExpectListing(Vxdis({file, "--length", "0x4"}), "BFC00000  3C02BFC0  lui $v0, 49088\n");
}

TEST(Vxdis, ListsBytesBehindTheLastWord) {
  const CTestFolder folder;
  const std::string file = folder.Write("f", std::vector<u8>{0, 0, 0, 0, 0xAB, 1}).string();
  ExpectListing(Vxdis({file}), "BFC00000  00000000  nop\nBFC00004            .byte 0xAB, 0x01\n");
  ExpectListing(Vxdis({file, "--start", "BFC00004"}), "BFC00004            .byte 0xAB, 0x01\n");
  ExpectListing(Vxdis({file, "--length", "1"}), "BFC00000            .byte 0x00\n");
}

TEST(Vxdis, ListsUpToTheLastAddress) {
  const CTestFolder folder;
  const std::string file = folder.Write("f", BytesOf({0x1000FFFF, 0x10000000})).string();
  ExpectListing(Vxdis({file, "--base", "FFFFFFF8"}),
                "L_FFFFFFF8:\n"
                "FFFFFFF8  1000FFFF  beq $zero, $zero, FFFFFFF8       ; L_FFFFFFF8\n"
                "FFFFFFFC  10000000  beq $zero, $zero, 00000000\n");
  ExpectError(Vxdis({file, "--base", "FFFFFFFC"}), 2,
              file + " has 8 bytes, which do not fit between FFFFFFFC and the last address.");
}

TEST(Vxdis, WritesItsListingToAFile) {
  const CTestFolder folder;
  const std::string file = folder.Write("boot", Program()).string();
  const std::string output = (folder / "boot.lst").string();
  ExpectListing(Vxdis({file, "-o", output}), "");
  const std::vector<u8> bytes = ReadWhole(output);
  EXPECT_EQ(std::string(bytes.begin(), bytes.end()), kProgramListing);
  EXPECT_EQ(folder.Names(), (std::vector<std::string>{"boot", "boot.lst"}));
}

TEST(Vxdis, NeverWritesOverItsInput) {
  const CTestFolder folder;
  const std::string file = folder.Write("boot", Program()).string();
  ExpectError(Vxdis({file, "-o", file}), 2,
              file + " is the input itself and is not overwritten; give another name.");
  EXPECT_EQ(ReadWhole(file), Program());
}

TEST(Vxdis, NeverWritesOverAPipeOrDevice) {
  const CTestFolder folder;
  const std::string file = folder.Write("boot", Program()).string();
  const std::string pipe = (folder / "pipe").string();
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  ExpectError(Vxdis({file, "-o", pipe}), 2,
              pipe +
                  " is no regular file and is not overwritten; leave -o out and redirect the "
                  "output there.");
  EXPECT_TRUE(std::filesystem::is_fifo(pipe));
}

TEST(Vxdis, SaysWhichFileCannotBeReadOrWritten) {
  const CTestFolder folder;
  const std::string gone = (folder / "gone").string();
  ExpectError(Vxdis({gone}), 3, gone + " does not exist.");
  ExpectError(Vxdis({folder.Path().string()}), 3,
              folder.Path().string() + " is not a regular file.");
  const std::string file = folder.Write("boot", Program()).string();
  const std::string target = (folder / "none" / "x").string();
  ExpectError(Vxdis({file, "-o", target}), 3,
              target + " cannot be written: No such file or directory.");
}

TEST(Vxdis, SaysWhenThereIsNothingToList) {
  const CTestFolder folder;
  const std::string empty = folder.Write("empty", std::string()).string();
  ExpectError(Vxdis({empty}), 1, empty + " is empty; there is nothing to list.");
  const std::string pack = WriteProgramPack(folder);
  ExpectError(Vxdis({pack, "--entry", "3"}), 1,
              "sound ROM 3 of " + pack + " is empty; there is nothing to list.");
}

TEST(Vxdis, AnswersADamagedPackWithOneSentenceAndExitCodeOne) {
  const CTestFolder folder;
  std::vector<u8> bytes = GetSamplePack().bytes;
  SetNumber(bytes, 16, 8, 11);
  const std::string pack = folder.Write("bad.qilhard", bytes).string();
  ExpectError(Vxdis({pack}), 1, pack + ": the entry count: found 11, expected 10.");
}

TEST(Vxdis, SaysThatAFileIsNoPackWhenAnEntryIsAsked) {
  const CTestFolder folder;
  const std::string file = folder.Write("boot", Program()).string();
  const SToolRun run = Vxdis({file, "--entry", "0"});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_TRUE(run.errors.starts_with("vxdis: " + file + ": ")) << run.errors;
  EXPECT_EQ(run.output, "");
}

TEST(Vxdis, RefusesEntriesThatAreNoRom) {
  const CTestFolder folder;
  const std::string pack = WriteProgramPack(folder);
  ExpectError(Vxdis({pack, "--entry", "9"}), 2,
              "entry 9 of " + pack +
                  " is the disk, which is no program; 'vxpack extract' writes it as a file.");
  ExpectError(Vxdis({pack, "--entry", "10"}), 2,
              pack + " has no entry 10; the ROMs of a pack are entries 0 to 8.");
}

TEST(Vxdis, RefusesAPartThatIsNotThere) {
  const CTestFolder folder;
  const std::string file = folder.Write("boot", Program()).string();
  const std::string where = file + " lies from BFC00000 to BFC00027; ";
  ExpectError(Vxdis({file, "--start", "BFC00028"}), 2, where + "the start BFC00028 is outside.");
  ExpectError(Vxdis({file, "--start", "0"}), 2, where + "the start 00000000 is outside.");
  ExpectError(Vxdis({file, "--start", "BFC00020", "--length", "9"}), 2,
              where + "from BFC00020 on that is 8 bytes, not 9.");
  ExpectError(Vxdis({file, "--length", "0xFFFFFFFFFFFFFFFF"}), 2,
              where + "from BFC00000 on that is 40 bytes, not 18446744073709551615.");
  ExpectError(Vxdis({file, "--length", "0"}), 2, "a length of 0 bytes leaves nothing to list.");
}

TEST(Vxdis, RefusesAddressesThatNoOpHas) {
  const CTestFolder folder;
  const std::string file = folder.Write("boot", Program()).string();
  ExpectError(Vxdis({file, "--start", "BFC00002"}), 2,
              "the start BFC00002 is no multiple of 4, and ops lie at such addresses.");
  ExpectError(Vxdis({file, "--base", "1"}), 2,
              "the base 00000001 is no multiple of 4, and ops lie at such addresses.");
}

TEST(Vxdis, RefusesTextThatIsNoNumber) {
  for (const char* text : {"top", "0x", "100000000", "-4", "80 ", "8g"}) {
    ExpectError(Vxdis({"f", std::string("--base=") + text}), 2,
                std::string("--base ") + text + " is not a hexadecimal address of 32 bits.");
  }
  for (const char* text : {"boot", "1.5", "-1", "4294967296"}) {
    ExpectError(Vxdis({"f", std::string("--entry=") + text}), 2,
                std::string("--entry ") + text + " is not a number.");
  }
  ExpectError(Vxdis({"f", "--length=all"}), 2, "--length all is not a number.");
}

TEST(Vxdis, AnswersABadCommandLineWithExitCodeTwo) {
  for (const auto& arguments :
       std::vector<std::vector<std::string>>{{}, {"a", "b"}, {"a", "--bass", "0"}, {"a", "-o"}}) {
    const SToolRun run = Vxdis(arguments);
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_TRUE(run.errors.starts_with("vxdis: ")) << run.errors;
    EXPECT_TRUE(run.errors.ends_with(" (vxdis --help tells more)\n")) << run.errors;
  }
}

TEST(Vxdis, TellsItsExitCodesInItsHelp) {
  const SToolRun run = Vxdis({"--help"});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_NE(run.output.find("Exit codes:"), std::string::npos);
  EXPECT_NE(run.output.find("--start"), std::string::npos);
}

}  // namespace
}  // namespace vx::test

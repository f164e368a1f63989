// Sources that nobody would write: the assembler answers with sentences and never fails otherwise.
#include <gtest/gtest.h>

#include "tests/adspasm/AsmTest.h"
#include "tests/sound/RandomDsp.h"
#include "tools/adspasm/Disassembler.h"

namespace vx::test {
namespace {

const char* const kPieces[] = {"AX0",
                               "AY0",
                               "AR",
                               "AF",
                               "MR",
                               "MR1",
                               "MR2",
                               "MX0",
                               "MY0",
                               "MF",
                               "SR",
                               "SI",
                               "SE",
                               "SB",
                               "I0",
                               "I4",
                               "M0",
                               "M4",
                               "L0",
                               "CNTR",
                               "TX1",
                               "ASTAT",
                               "(",
                               ")",
                               ",",
                               "=",
                               "+",
                               "-",
                               "*",
                               "/",
                               "<<",
                               ">>",
                               "&",
                               "|",
                               "^",
                               "~",
                               ":",
                               "$",
                               "0",
                               "1",
                               "0x3FFF",
                               "65536",
                               "'x'",
                               "\"a\"",
                               "LABEL",
                               "@LOCAL",
                               "IF",
                               "EQ",
                               "NOT",
                               "CE",
                               "DO",
                               "UNTIL",
                               "FOREVER",
                               "JUMP",
                               "CALL",
                               "RTS",
                               "RTI",
                               "NOP",
                               "ENA",
                               "DIS",
                               "TIMER",
                               "DM",
                               "PM",
                               "LSHIFT",
                               "BY",
                               "HI",
                               "LO",
                               "OR",
                               "EXP",
                               "NORM",
                               "PASS",
                               "ABS",
                               "C",
                               "(SS)",
                               "(RND)",
                               "DM(I0,M0)",
                               "PM(I4,M4)",
                               ".ORG",
                               ".EQU",
                               ".DATA",
                               ".CODE",
                               ".SPACE",
                               ".ALIGN",
                               ".DW24",
                               ".DW16",
                               ".EXPECT",
                               ".INCLUDE",
                               ".TITLE",
                               ".BOOTWORDS",
                               ".ALLOW_UNIMPL",
                               "OFF",
                               "MODIFY",
                               "DIVS",
                               "DIVQ",
                               "SAT",
                               "PUSH",
                               "POP",
                               "STS",
                               "IDLE",
                               ";",
                               "//",
                               "\n",
                               "\n",
                               "\n",
                               "\n .ORG 0\n",
                               "AR = AX0 + AY0",
                               "MR = MX0 * MY0 (SS)",
                               "test.dsp"};

void CheckAnswer(const std::string& source) {
  const adsp::SProgram program = AssembleText(source);
  bool bHasError = false;
  for (const adsp::SDiagnostic& diagnostic : program.diagnostics) {
    bHasError |= diagnostic.severity == adsp::ESeverity::Error;
    ASSERT_EQ(diagnostic.sentence.back(), '.') << diagnostic.sentence;
    ASSERT_FALSE(diagnostic.place.file.empty());
  }
  ASSERT_EQ(program.bGood, !bHasError);
  ASSERT_LE(program.diagnostics.size(), 202u);
  if (!program.bGood) return;
  // What came out is an image that comes apart and together again.
  const std::vector<u8> bytes = program.BootImage();
  const adsp::SBootImage image = adsp::UnpackBootImage(bytes);
  const adsp::SProgram again = AssembleText(adsp::DisassembleImage(image, "again"));
  ASSERT_TRUE(again.bGood) << SaidOf(again).front();
  ASSERT_EQ(again.image.Words(0), image.words) << source;
  ASSERT_FALSE(adsp::ListingOf(program).empty());
}

TEST(Garbage, OfTheLanguagesOwnWordsIsAnswered) {
  for (u32 seed = 0; seed < 3000 && !testing::Test::HasFatalFailure(); ++seed) {
    CRandom random(seed);
    std::string source = random.OneIn(4) ? "" : ".ORG 0\n";
    for (u32 i = random.Below(60); i != 0; --i) {
      source += kPieces[random.Below(std::size(kPieces))];
      if (!random.OneIn(5)) source += ' ';
    }
    SCOPED_TRACE("seed " + std::to_string(seed));
    CheckAnswer(source);
  }
}

TEST(Garbage, OfAnyBytesIsAnswered) {
  for (u32 seed = 0; seed < 1500 && !testing::Test::HasFatalFailure(); ++seed) {
    CRandom random(seed);
    std::string source;
    for (u32 i = random.Below(300); i != 0; --i) source += static_cast<char>(random.Next());
    SCOPED_TRACE("seed " + std::to_string(seed));
    CheckAnswer(source);
  }
}

constexpr const char* kSound = R"(
        .TITLE "Fuzz"
        .ORG 33
CLEAR:  CNTR = 258
        I0 = ACC + (1 << 2) - 4
        DO @LAST UNTIL CE
@LAST:  DM(I0,M1) = 0
        IF NOT AC JUMP CLEAR
        MR = MR + MX0 * MY1 (SU), AX0 = DM(I1,M1)
        DM(I2,M1) = AR, AR = AY1 - MR1
        SR = SR OR ASHIFT SI BY -3 (LO)
        SE = EXP AR (HI), SI = SR0
        ENA AR_SAT, DIS M_MODE
        DIVS AY1, AX0
        MODIFY (I5,M6)
        IFC = LO(0x3E) | HI(0x10000)
        CALL (I7)
        RTI
TABLE:  .DW24 0x123456, CLEAR, TABLE
        .EQU SIZE = $ - TABLE
        .EXPECT 33, 0x3C1025
        .DATA 0x3800
ACC:    .SPACE 258
)";

TEST(Garbage, MadeFromAProgramByFewChangesIsAnswered) {
  ASSERT_TRUE(AssembleText(kSound).bGood);
  for (u32 seed = 0; seed < 4000 && !testing::Test::HasFatalFailure(); ++seed) {
    CRandom random(seed);
    std::string source = kSound;
    for (u32 i = 1 + random.Below(4); i != 0; --i) {
      const u32 at = random.Below(static_cast<u32>(source.size()));
      switch (random.Below(4)) {
        case 0:
          source[at] = static_cast<char>(random.Next());
          break;
        case 1:
          source.erase(at, 1 + random.Below(6));
          break;
        case 2:
          source.insert(at, kPieces[random.Below(std::size(kPieces))]);
          break;
        default:
          source.insert(at, source.substr(random.Below(static_cast<u32>(source.size())), 12));
          break;
      }
    }
    SCOPED_TRACE("seed " + std::to_string(seed));
    CheckAnswer(source);
  }
}

TEST(Garbage, ForABootImageIsAnswered) {
  for (u32 seed = 0; seed < 300; ++seed) {
    CRandom random(seed);
    std::vector<u8> bytes(random.Below(400));
    for (u8& byte : bytes) byte = static_cast<u8>(random.Next());
    if (bytes.size() > 3 && random.OneIn(2)) bytes[3] = static_cast<u8>(random.Below(12));
    try {
      const adsp::SBootImage image = adsp::UnpackBootImage(bytes);
      const adsp::SProgram program = AssembleText(adsp::DisassembleImage(image, "noise"));
      ASSERT_TRUE(program.bGood) << SaidOf(program).front();
      ASSERT_EQ(program.image.Words(0), image.words);
    } catch (const adsp::CSourceError& error) {
      ASSERT_EQ(std::string(error.what()).back(), '.');
    }
  }
}

}  // namespace
}  // namespace vx::test

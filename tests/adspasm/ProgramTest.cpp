// Whole programs: places, names, images and what is told about them.
#include <gtest/gtest.h>

#include "tests/adspasm/AsmTest.h"

namespace vx::test {
namespace {

using Lines = std::vector<std::string>;

i64 ValueOf(const adsp::SProgram& program, const std::string& name) {
  for (const adsp::SNamedValue& symbol : program.symbols) {
    if (symbol.name == name) return symbol.value;
  }
  ADD_FAILURE() << name << " is no symbol";
  return -1;
}

i64 Constant(const std::string& expression) {
  const adsp::SProgram program = AssembleText(".ORG 7\nNOP\n.EQU X = " + expression + "\n");
  EXPECT_EQ(SaidOf(program), Lines()) << expression;
  return ValueOf(program, "X");
}

TEST(Expressions, HaveTheUsualStrengthsAndGoFromLeftToRight) {
  EXPECT_EQ(Constant("2 + 3 * 4"), 14);
  EXPECT_EQ(Constant("(2 + 3) * 4"), 20);
  EXPECT_EQ(Constant("20 / 3 / 2"), 3);
  EXPECT_EQ(Constant("10 - 3 - 2"), 5);
  EXPECT_EQ(Constant("1 << 2 + 3"), 32);
  EXPECT_EQ(Constant("0xF0 >> 4 & 3"), 3);
  EXPECT_EQ(Constant("1 | 6 & 3 ^ 1"), 3);
  EXPECT_EQ(Constant("-2 * -3"), 6);
  EXPECT_EQ(Constant("~0x0F & 0xFF"), 0xF0);
  EXPECT_EQ(Constant("- - + 5"), 5);
  EXPECT_EQ(Constant("-7 / 2"), -3);
  EXPECT_EQ(Constant("-8 >> 1"), -4);
}

TEST(Expressions, TakeNumbersCharactersHalvesAndThePresentAddress) {
  EXPECT_EQ(Constant("0x1F + 0X0f"), 46);
  EXPECT_EQ(Constant("0b101 + 0B11"), 8);
  EXPECT_EQ(Constant("010"), 10);
  EXPECT_EQ(Constant("'A'"), 65);
  EXPECT_EQ(Constant("HI(0x12345678)"), 0x1234);
  EXPECT_EQ(Constant("lo(0x12345678) + 1"), 0x5679);
  EXPECT_EQ(Constant("$"), 8);
}

TEST(Expressions, StandInEveryField) {
  EXPECT_EQ(WordOf("SR = LSHIFT SI BY 2 + 1 (HI)"), WordOf("SR = LSHIFT SI BY 3 (HI)"));
  EXPECT_EQ(WordOf("AX0 = HI(0x123456)"), WordOf("AX0 = 0x12"));
  EXPECT_EQ(WordOf("DM(I0,M0) = LO(0x123456)"), WordOf("DM(I0,M0) = 0x3456"));
  EXPECT_EQ(WordOf("AX0 = DM((0x100 + 2) * 2)"), WordOf("AX0 = DM(0x204)"));
  EXPECT_EQ(WordOf("JUMP (2 + 3) * 4"), WordOf("JUMP 20"));
}

TEST(Names, MayBeUsedBeforeTheyAreDefined) {
  const adsp::SProgram program = AssembleText(
      ".ORG 5\nJUMP END\n.EQU SIZE = TABLE_END - TABLE\nAX0 = SIZE\nTABLE: .DW16 1, 2, 3\n"
      "TABLE_END:\nEND: NOP\n");
  EXPECT_EQ(SaidOf(program), Lines());
  EXPECT_EQ(ValueOf(program, "SIZE"), 3);
  EXPECT_EQ(program.image.WordAt(5), 0x18000Fu | 10 << 4);
  EXPECT_EQ(program.image.WordAt(6), 0x400030u);
}

TEST(Names, AreReadAsWrittenWhileTheLanguageIsNot) {
  const adsp::SProgram program =
      AssembleText(".org 0\nloop: jump Loop\nLoop: jump loop\n.equ Size, 3\nax0 = Size\n");
  EXPECT_EQ(SaidOf(program), Lines());
  EXPECT_EQ(program.image.WordAt(0), 0x18001Fu);
  EXPECT_EQ(program.image.WordAt(1), 0x18000Fu);
}

TEST(Names, ThatAreLocalBelongToTheLabelBeforeThem) {
  const adsp::SProgram program = AssembleText(
      ".ORG 0\nA: NOP\n@END: JUMP @END\nB: JUMP @END\n@END: JUMP A@END\n@N: .EQU @K = @N + 1\n"
      "AX0 = @K\n");
  EXPECT_EQ(SaidOf(program), Lines());
  EXPECT_EQ(program.image.WordAt(1), 0x18001Fu);
  EXPECT_EQ(program.image.WordAt(2), 0x18003Fu);
  EXPECT_EQ(program.image.WordAt(3), 0x18001Fu);
  EXPECT_EQ(program.image.WordAt(4), 0x400050u);
}

TEST(Names, OfTheCallerStandBeforeTheFirstLine) {
  adsp::SAssembleOptions options;
  options.constants = {{"RATE", 19}};
  const adsp::SProgram program = AssembleFiles({{kSourceName, ".ORG 0\nAX0 = RATE\n"}}, options);
  EXPECT_EQ(program.image.WordAt(0), 0x400130u);
}

TEST(Places, GoOnWhereEachKindOfMemoryLeftOff) {
  const adsp::SProgram program = AssembleText(
      ".ORG 16\nNOP\n.DATA 0x3800\nA: .SPACE 3\nB:\n.CODE\nC0: NOP\n.DATA\nD: .ALIGN 16\nE: .SPACE "
      "1\n");
  EXPECT_EQ(SaidOf(program), Lines());
  EXPECT_EQ(ValueOf(program, "A"), 0x3800);
  EXPECT_EQ(ValueOf(program, "B"), 0x3803);
  EXPECT_EQ(ValueOf(program, "C0"), 17);
  EXPECT_EQ(ValueOf(program, "D"), 0x3803);
  EXPECT_EQ(ValueOf(program, "E"), 0x3810);
}

TEST(Places, OfDataInExternalRamAreProgramWordsToo) {
  const adsp::SProgram program = AssembleText(
      ".ORG 0x800\nNOP\n.DATA 0x1001\n.DW16 0x1234, -1\n.DW24 0xABCDEF\n.ORG 0x804\n.DW16 7\n");
  EXPECT_EQ(SaidOf(program), Lines());
  EXPECT_EQ(program.image.WordAt(0x801), 0x123400u);
  EXPECT_EQ(program.image.WordAt(0x802), 0xFFFF00u);
  EXPECT_EQ(program.image.WordAt(0x803), 0xABCDEFu);
  EXPECT_EQ(program.image.WordAt(0x804), 0x000700u);
}

// --- The boot image ----------------------------------------------------------------------------

TEST(BootImage, HoldsWordsHighByteFirstTheCountAndTheTitle) {
  const adsp::SProgram program =
      AssembleText(".TITLE \"Hi!\"\n.ORG 0\n.DW24 0x123456, 0x789ABC\n.ORG 8\n.DW24 0xFF\n");
  const std::vector<u8> bytes = program.BootImage();
  ASSERT_EQ(bytes.size(), 64u);
  EXPECT_EQ(std::vector<u8>(bytes.begin(), bytes.begin() + 20),
            (std::vector<u8>{0x12, 0x34, 0x56, 1, 0x78, 0x9A, 0xBC, 'H', 0, 0,
                             0,    'i',  0,    0, 0,    '!',  0,    0,   0, 0}));
  EXPECT_EQ(bytes[8 * 4 + 2], 0xFF);
}

TEST(BootImage, TakesExternalWordsBehindTheInternalOnes) {
  EXPECT_EQ(adsp::ImageWordOf(0x3FF), 1023u);
  EXPECT_EQ(adsp::ImageWordOf(0x400), std::nullopt);
  EXPECT_EQ(adsp::ImageWordOf(0x800), 1024u);
  EXPECT_EQ(adsp::ImageWordOf(2553), 1529u);
  EXPECT_EQ(adsp::ImageWordOf(0xBFF), 2047u);
  EXPECT_EQ(adsp::ImageWordOf(0xC00), std::nullopt);
  const adsp::SProgram program = AssembleText(".ORG 0xBFF\n.DW24 0x112233\n");
  const std::vector<u8> bytes = program.BootImage();
  ASSERT_EQ(bytes.size(), 8192u);
  EXPECT_EQ(bytes[3], 255);
  EXPECT_EQ(bytes[2047 * 4], 0x11);
}

TEST(BootImage, HasAtLeastAsManyWordsAsTheSourceAsksFor) {
  const adsp::SProgram program = AssembleText(".BOOTWORDS 1913\n.ORG 0\nNOP\n");
  EXPECT_EQ(program.BootImage().size(), 1920u * 4);
  EXPECT_EQ(program.BootImage()[3], 239);
}

TEST(BootImage, ComesApartAgain) {
  const adsp::SProgram program =
      AssembleText(".TITLE \"Two words\"\n.ORG 0\n.DW24 1, 2\n.ORG 0x801\n.DW24 3\n");
  const adsp::SBootImage image = adsp::UnpackBootImage(program.BootImage());
  EXPECT_EQ(image.words, program.image.Words(0));
  EXPECT_EQ(image.title, "Two words");
}

TEST(BootImage, ThatIsTooShortForItsCountIsNone) {
  std::vector<u8> bytes = AssembleText(".ORG 0\nNOP\n").BootImage();
  bytes.pop_back();
  EXPECT_THROW(adsp::UnpackBootImage(bytes), adsp::CSourceError);
  EXPECT_THROW(adsp::UnpackBootImage({}), adsp::CSourceError);
}

// --- Texts -------------------------------------------------------------------------------------

TEST(Listing, ShowsAddressesWordsAndSourceLines) {
  const adsp::SProgram program =
      AssembleFiles({{kSourceName, ".ORG 0x800\n.INCLUDE \"a.inc\"\nEND: RTS ; done\n"},
                     {"a.inc", "T: .DW24 1, 2\n.DATA 0x10\n.DW16 3\n.CODE\n"}});
  EXPECT_EQ(adsp::ListingOf(program),
            "; test.dsp\n"
            "                   1  .ORG 0x800\n"
            "                   2  .INCLUDE \"a.inc\"\n"
            "; a.inc\n"
            "P 0800  000001     1  T: .DW24 1, 2\n"
            "P 0801  000002\n"
            "                   2  .DATA 0x10\n"
            "D 0010  000300     3  .DW16 3\n"
            "                   4  .CODE\n"
            "; test.dsp\n"
            "P 0802  0A000F     3  END: RTS ; done\n");
}

TEST(SymbolMap, ListsNamesByTheirValues) {
  const adsp::SProgram program = AssembleText(
      ".EQU LESS = -2\n.EQU WIDE = 0x123456\n.ORG 4\nB: NOP\nA:\n.DATA 0x3800\nD: .SPACE 1\n@L:\n");
  EXPECT_EQ(adsp::SymbolMapOf(program),
            "-0002 EQU LESS\n0004 CODE B\n0005 CODE A\n3800 DATA D\n3801 DATA D@L\n"
            "123456 EQU WIDE\n");
}

// --- What is let through ---------------------------------------------------------------------

TEST(AllowedWords, AreThoseBetweenTheDirectives) {
  EXPECT_EQ(SaidOf(AssembleText(
                ".ORG 0\n.ALLOW_UNIMPL\nIDLE\nAR = MR2 + AY0\n.ALLOW_UNIMPL OFF\nIDLE\n")),
            Lines{"6: error: the processor does not execute this: IDLE and flag outputs are "
                  "missing; .ALLOW_UNIMPL lets such words through."});
}

TEST(AllowedWords, MakeErrorsAboutLoopsWarnings) {
  const adsp::SProgram program =
      AssembleText(".ORG 0\n.ALLOW_UNIMPL\nDO E UNTIL CE\nDO E UNTIL CE\nE: NOP\n");
  EXPECT_TRUE(program.bGood);
  ASSERT_EQ(program.diagnostics.size(), 1u);
  EXPECT_EQ(program.diagnostics[0].severity, adsp::ESeverity::Warning);
}

TEST(Sources, MayEndTheirLinesInEitherWayAndTheLastInNone) {
  const adsp::SProgram program = AssembleText(".ORG 0\r\nNOP ; a\r\n// b\r\nRTS");
  EXPECT_EQ(SaidOf(program), Lines());
  EXPECT_EQ(program.image.WordAt(1), 0x0A000Fu);
}

TEST(Sources, IncludeFromBesideThemThenFromTheFolders) {
  adsp::SAssembleOptions options;
  options.includeFolders = {"lib", "more"};
  const adsp::SProgram program = AssembleFiles({{kSourceName, ".ORG 0\n.INCLUDE \"sub/a\"\n"},
                                                {"sub/a", ".INCLUDE \"b\"\n.INCLUDE \"c\"\n"},
                                                {"sub/b", ".DW24 1\n"},
                                                {"lib/b", ".DW24 2\n"},
                                                {"more/c", ".DW24 3\n"}},
                                               options);
  EXPECT_EQ(SaidOf(program), Lines());
  EXPECT_EQ(program.image.WordAt(0), 1u);
  EXPECT_EQ(program.image.WordAt(1), 3u);
  EXPECT_EQ(program.files, (Lines{kSourceName, "sub/a", "sub/b", "more/c"}));
}

TEST(Complaints, AboutConstantsThatLeadToEachOtherNameBoth) {
  EXPECT_EQ(SaidOf(AssembleText(".ORG 0\nNOP\n.EQU A = B\n.EQU B = A\n")),
            (Lines{"3: error: A is defined by itself.", "4: error: B is defined by itself."}));
}

}  // namespace
}  // namespace vx::test

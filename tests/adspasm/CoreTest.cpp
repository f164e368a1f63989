// The assembler against the processor itself: what it calls missing, and programs that run.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/adspasm/AsmTest.h"
#include "tests/sound/DspRig.h"
#include "tests/sound/RandomDsp.h"
#include "tools/adspasm/Disassembler.h"
#include "tools/adspasm/Isa.h"

namespace vx::test {
namespace {

// --- Missing words -------------------------------------------------------------------------------

bool ProcessorReports(CDspRig& rig, u32 word) {
  rig.port.lines.clear();
  rig.Do(word);
  return std::any_of(rig.port.lines.begin(), rig.port.lines.end(), [](const auto& line) {
    return line.text.find("unimplemented") != std::string::npos;
  });
}

// The condition of a word that has one is made true, so that the processor looks at its operation.
u32 WithTrueCondition(u32 word) {
  const u32 top = word >> 16;
  const bool bConditional = top == 0x0E || (top >= 0x20 && top <= 0x27);
  return bConditional ? word | adsp::kTrue : word;
}

TEST(MissingWords, AreThoseThatTheProcessorReports) {
  CRandom random(5);
  CDspRig rig;
  for (u32 i = 0; i < 1u << 11; ++i) {
    if (i >> 3 == 0x01) continue;  // the board's own words
    for (u32 sample = 0; sample < 64; ++sample) {
      const u32 word = WithTrueCondition(i << 13 | (random.Next() & 0x1FFF));
      ASSERT_EQ(ProcessorReports(rig, word), !adsp::MissingIn(word).empty())
          << adsp::Hex(word, 6) << " " << adsp::Disassemble(word);
    }
  }
}

// --- Programs ------------------------------------------------------------------------------------

// Boots an assembled program from the ROM and runs it to a "JUMP $" that it ends in.
class Program : public testing::Test {
 protected:
  void Run(const std::string& source, u32 cycles = 5000) {
    const adsp::SProgram program = AssembleText(source);
    ASSERT_EQ(SaidOf(program), std::vector<std::string>());
    const std::vector<u8> image = program.BootImage();
    std::copy(image.begin(), image.end(), rig_.rom.begin());
    rig_.board.BootLoad();
    rig_.Run(cycles);
    ASSERT_EQ(rig_.State().internalRam[rig_.State().pc & 0x3FF] >> 16, 0x18u);
    EXPECT_TRUE(rig_.port.lines.empty()) << rig_.port.lines.front().text;
  }
  u16 Data(u32 address) { return rig_.State().dataRam[address - 0x3800]; }

  CDspRig rig_;
};

TEST_F(Program, SumsATableByACountedLoop) {
  Run(R"(
        .ORG 0
        L0 = 0
        M1 = 1
        I0 = TABLE
        AF = PASS 0
        CNTR = COUNT
        DO ADDED UNTIL CE
        AX0 = DM(I0,M1)
ADDED:  AF = AX0 + AF
        AR = PASS AF
        DM(0x3800) = AR
        JUMP $
        .DATA 0x20
TABLE:  .DW16 1, 20, 300, 4000, 50000
        .EQU COUNT = $ - TABLE
)");
  EXPECT_EQ(Data(0x3800), 54321);
}

TEST_F(Program, EndsALoopByItsTerm) {
  Run(R"(
        .ORG 0
        AY0 = 1000
        AX0 = 7
        AR = 0
        DO COUNTED UNTIL LT
        AR = AY0 - AX0
        AY0 = AR
        AR = AR - 0
COUNTED: NOP
        DM(0x3800) = AY0
        JUMP $
)");
  EXPECT_EQ(static_cast<i16>(Data(0x3800)), 1000 - 143 * 7);
}

// The steps divide a fraction, so that a whole number goes in doubled.
TEST_F(Program, DividesBySteps) {
  const std::string source =
      ".ORG 0\nAY1 = HI(2 * 1000003)\nAY0 = LO(2 * 1000003)\nAX0 = 997\nAF = PASS AY1\n"
      "DIVS AF, AX0\nCNTR = 15\nDO D UNTIL CE\nD: DIVQ AX0\nDM(0x3801) = AY0\n"
      "JUMP $\n";
  Run(source);
  EXPECT_EQ(Data(0x3801), 1000003 / 997);
}

TEST_F(Program, FiltersWithACircularBufferAndProgramMemory) {
  Run(R"(
        .ORG 0
        DIS M_MODE, SEC_REG, BIT_REV, AR_SAT
        L0 = 4
        I0 = DELAY + 2                 ; the newest sample; the walk wraps behind the fourth
        M0 = 1
        L4 = 0
        I4 = TAPS
        M4 = 1
        DM(I0,M0) = 0x1000
        DM(I0,M0) = 0x2000
        DM(I0,M0) = 0x0800
        DM(I0,M0) = 0x0400
        CALL FILTER
        DM(0x3810) = MR1
        JUMP $
FILTER: CNTR = 4
        MR = 0
        DO @SUM UNTIL CE
        MY0 = PM(I4,M4)
        MX0 = DM(I0,M0)
@SUM:   MR = MR + MX0 * MY0 (SS)
        MR = MR (RND)
        IF MV SAT MR
        RTS
TAPS:   .DW16 0x4000, 0x2000, 0x1000, -0x8000
        .DATA 0x3804
DELAY:  .SPACE 4
)");
  EXPECT_EQ(Data(0x3806), 0x1000);
  EXPECT_EQ(Data(0x3804), 0x0800);
  EXPECT_EQ(Data(0x3810), 0x0800 + 0x0800 + 0x0100 - 0x0400);
}

TEST_F(Program, ShiftsByCountAndByExponent) {
  Run(R"(
        .ORG 0
        SI = 0x0123
        SE = EXP SI (HI)
        AX0 = SE
        AR = -AX0
        SE = AR
        SR = LSHIFT SI (HI), AX1 = SI
        DM(0x3800) = SR1
        SR = LSHIFT SI BY -4 (HI)
        SR = SR OR LSHIFT SI BY 1 (LO)
        DM(0x3801) = SR1
        DM(0x3802) = SR0
        JUMP $
)");
  EXPECT_EQ(Data(0x3800), 0x0123 << 6);
  EXPECT_EQ(Data(0x3801), 0x0012);
  EXPECT_EQ(Data(0x3802), 0x3000 | 0x0246);
}

TEST_F(Program, JumpsThroughATableIntoExternalMemory) {
  Run(R"(
        .ORG 0
        JUMP START
        .ORG 0x40
START:  I4 = TABLE
        M4 = 2
        L4 = 0
        MODIFY (I4,M4)
        AX0 = PM(I4,M4)
        I5 = AX0
        CALL (I5)
        IF NE JUMP WRONG
        DM(0x3800) = AR
WRONG:  JUMP $
TABLE:  .DW16 WRONG, WRONG, FAR, WRONG
        .ORG 0x900
FAR:    AR = 0x55
        AF = PASS 0
        IF EQ RTS
        AR = 0
        RTS
)");
  EXPECT_EQ(Data(0x3800), 0x55);
}

TEST_F(Program, TakesAnInterruptThatItForces) {
  Run(R"(
        .ORG 0
        JUMP START
        .ORG 4
        ENA SEC_REG
        AX0 = 0x1234
        DM(0x3800) = AX0
        RTI
        .ORG 32
START:  DIS SEC_REG
        ICNTL = 4
        AX0 = 1
        IFC = 0x800
        IMASK = 0x20
        DM(0x3801) = AX0
        JUMP $
)");
  EXPECT_EQ(Data(0x3800), 0x1234);
  EXPECT_EQ(Data(0x3801), 1);
}

}  // namespace
}  // namespace vx::test

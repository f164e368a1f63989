// Words of every class, from the instruction's text.
#include <gtest/gtest.h>

#include "sound/ADSPPatches.h"
#include "tests/adspasm/AsmTest.h"

namespace vx::test {
namespace {

struct SCase {
  const char* text;
  u32 word;
};
void PrintTo(const SCase& row, std::ostream* out) { *out << row.text; }

class Encoding : public testing::TestWithParam<SCase> {};

TEST_P(Encoding, IsTheProcessors) {
  EXPECT_EQ(WordOf(GetParam().text, true), GetParam().word)
      << std::hex << WordOf(GetParam().text, true);
}

// clang-format off
const SCase kOperations[] = {
  // ALU: code, x, y, condition
  { "AR = PASS AY0",              0x22000F },
  { "AR = PASS AF",               0x22100F },
  { "AR = PASS 0",                0x22180F },
  { "AR = AY1 + 1",               0x22280F },
  { "AR = PASS 1",                0x22380F },
  { "AR = AX0 + AY0 + C",         0x22400F },
  { "AR = AX1 + C",               0x22590F },
  { "AR = AX0 + AY0",             0x22600F },
  { "AR = AY0 + AX0",             0x22600F },
  { "AR = MR1 + AY1",             0x226C0F },
  { "AR = PASS SR0",              0x227E0F },
  { "AR = SR0 + 0",               0x227E0F },
  { "AR = NOT AY0",               0x22800F },
  { "AR = -AY1",                  0x22A80F },
  { "AR = AX0 - AY0 + C - 1",     0x22C00F },
  { "AR = AX0 + C - 1",           0x22D80F },
  { "AR = AX0 - AY0",             0x22E00F },
  { "AR = AX0 - 0",               0x22F80F },
  { "AR = AY0 - 1",               0x23000F },
  { "AR = PASS -1",               0x23180F },
  { "AR = AY0 - AX1",             0x23210F },
  { "AR = -AX0",                  0x23380F },
  { "AR = 0 - AX0",               0x23380F },
  { "AR = AY0 - AX0 + C - 1",     0x23400F },
  { "AR = -SR1 + C - 1",          0x235F0F },
  { "AR = NOT AX0",               0x23600F },
  { "AR = AX0 AND AY0",           0x23800F },
  { "AR = AF AND MR0",            0x23930F },
  { "AR = AR OR AY1",             0x23AA0F },
  { "AR = SR1 XOR AF",            0x23D70F },
  { "AR = ABS MR1",               0x23E40F },
  { "AR = MR2 + AY0",             0x22650F },
  { "AF = AR - AY0",              0x26E20F },
  { "IF NOT AC AF = AX0 XOR AY1", 0x27C809 },
  // multiplier
  { "MR = MX0 * MY0 (RND)",       0x20200F },
  { "MR = MR + MX0 * MY0 (RND)",  0x20400F },
  { "MR = MR - MX1 * MY1 (RND)",  0x20690F },
  { "MR = MX0 * MY0 (SS)",        0x20800F },
  { "MR = MX0*MY0 (SU)",          0x20A00F },
  { "MR = AR * MF (US)",          0x20D20F },
  { "MR = SR1 * MY1 (UU)",        0x20EF0F },
  { "MR = MR + MR0 * MY0 (SS)",   0x21030F },
  { "MR = MR + MX0 * MY1 (SU)",   0x21280F },
  { "MR = MR + MX0 * MY1 (US)",   0x21480F },
  { "MR = MR + SR0 * MY1 (UU)",   0x216E0F },
  { "MR = MR - MX0 * MY0 (SS)",   0x21800F },
  { "MR = MR - MX0 * 0 (SU)",     0x21B80F },
  { "MR = MR - MX0 * MY0 (US)",   0x21C00F },
  { "MR = MR - MX0 * MY0 (UU)",   0x21E00F },
  { "MR = 0",                     0x20980F },
  { "MR = MR",                    0x21180F },
  { "MR = MR (RND)",              0x20580F },
  { "MF = MR - MR1 * MF (RND)",   0x24740F },
  { "IF MV MF = 0",               0x24980C },
  { "IF NOT CE MR = MX0*MY0(SS)", 0x20800E },
  // shifter
  { "SR = LSHIFT SI (HI)",          0x0E000F },
  { "SR = SR OR LSHIFT AR (HI)",    0x0E0A0F },
  { "SR = LSHIFT MR0 (LO)",         0x0E130F },
  { "SR = SR OR LSHIFT MR1 (LO)",   0x0E1C0F },
  { "SR = ASHIFT MR2 (HI)",         0x0E250F },
  { "SR = SR OR ASHIFT SR0 (HI)",   0x0E2E0F },
  { "SR = ASHIFT SR1 (LO)",         0x0E370F },
  { "SR = SR OR ASHIFT SI (LO)",    0x0E380F },
  { "SR = NORM SI (HI)",            0x0E400F },
  { "SR = SR OR NORM SI (LO)",      0x0E580F },
  { "SE = EXP SI (HI)",             0x0E600F },
  { "SE = EXP AR (HIX)",            0x0E6A0F },
  { "SE = EXP SI (LO)",             0x0E700F },
  { "SB = EXPADJ SI",               0x0E780F },
  { "IF LT SR = LSHIFT SI (HI)",    0x0E0004 },
  { "SR = LSHIFT SI BY 4 (HI)",     0x0F0004 },
  { "SR = SR OR ASHIFT AR BY -1 (LO)", 0x0F3AFF },
  { "SR = NORM SI BY 3 (LO)",       0x0F5003 },
};

const SCase kPairs[] = {
  { "MR = MX1*MY0 (SS), AX0 = MR1",     0x28810C },
  { "AR = AX0 + AY0, SR1 = AR",         0x2A60FA },
  { "SR1 = AR, AR = AX0 + AY0",         0x2A60FA },
  { "MF = MX0*MY0 (RND), SI = SE",      0x2C2089 },
  { "AF = PASS AX0, AX0 = AY0",         0x2E7804 },
  { "SR = LSHIFT SI (HI), AX0 = SR1",   0x10000F },
  { "SE = EXP AR (HI), MY1 = MR2",      0x10627D },
  { "SR = LSHIFT AR (LO), AX1 = DM(I1,M2)",   0x121216 },
  { "SR = LSHIFT AR (LO), AX1 = DM(I5,M6)",   0x131216 },
  { "DM(I3,M0) = SR1, SR = ASHIFT SI (HI)",   0x12A0FC },
  { "DM(I7,M4) = SR1, SR = ASHIFT SI (HI)",   0x13A0FC },
  { "SR = LSHIFT AR (LO), AX1 = PM(I5,M6)",   0x111216 },
  { "PM(I7,M4) = SR1, SR = ASHIFT SI (HI)",   0x11A0FC },
  { "MR = MX0 * MY0 (SS), MX1 = PM(I5,M5)",   0x508035 },
  { "AR = AX0 + AY0, MX1 = PM(I5,M5)",        0x526035 },
  { "MF = MX0 * MY0 (SS), MX1 = PM(I5,M5)",   0x548035 },
  { "AF = AX0 + AY0, MX1 = PM(I5,M5)",        0x566035 },
  { "PM(I4,M7) = MR1, MR = MX0 * MY0 (SS)",   0x5880C3 },
  { "PM(I4,M7) = MR1, AR = AX0 + AY0",        0x5A60C3 },
  { "PM(I4,M7) = MR1, MF = MX0 * MY0 (SS)",   0x5C80C3 },
  { "PM(I4,M7) = MR1, AF = AX0 + AY0",        0x5E60C3 },
  { "MR = MX0 * MY0 (SS), MX1 = DM(I1,M1)",   0x608035 },
  { "AR = AY0 - AX0, MX0 = DM(I1,M1)",        0x632025 },
  { "MF = MX0 * MY0 (SS), AX0 = DM(I2,M3)",   0x64800B },
  { "AF = AR + 0, AR = DM(I2,M1)",            0x667AA9 },
  { "DM(I2,M1) = AR, MR = MX0 * MY0 (SS)",    0x6880A9 },
  { "DM(I2,M1) = AR, AR = AY1 - MR1",         0x6B2CA9 },
  { "DM(I2,M1) = AR, MF = MX0 * MY0 (SS)",    0x6C80A9 },
  { "DM(I2,M1) = AR, AF = AX0 AND AY0",       0x6F80A9 },
  { "MR = MX0 * MY0 (SS), MX1 = DM(I5,M5)",   0x708035 },
  { "AR = AY0 - AX0, MX0 = DM(I5,M5)",        0x732025 },
  { "MF = MX0 * MY0 (SS), AX0 = DM(I6,M7)",   0x74800B },
  { "AF = AR + 0, AR = DM(I6,M5)",            0x767AA9 },
  { "DM(I6,M5) = AR, MR = MX0 * MY0 (SS)",    0x7880A9 },
  { "DM(I6,M5) = AR, AR = AY1 - MR1",         0x7B2CA9 },
  { "DM(I6,M5) = AR, MF = MX0 * MY0 (SS)",    0x7C80A9 },
  { "DM(I6,M5) = AR, AF = AX0 AND AY0",       0x7F80A9 },
};

const SCase kMoves[] = {
  { "MX0 = MR0",           0x0D002B },
  { "AR = I7",             0x0D02A3 },
  { "I4 = AX0",            0x0D0800 },
  { "L3 = M7",             0x0D06B7 },
  { "CNTR = AX0",          0x0D0C50 },
  { "TX1 = AX0",           0x0D0CB0 },
  { "TOPPCSTACK = AR",     0x0D0CFA },
  { "AX0 = SSTAT",         0x0D0302 },
  { "ASTAT = PX",          0x0D0F07 },
  { "AX0 = RX0",           0x0D0308 },
  { "AX0 = 19",            0x400130 },
  { "SR1 = -1",            0x4FFFFF },
  { "AR = 0xFFFF",         0x4FFFFA },
  { "AR = -0x8000",        0x48000A },
  { "AY0 = 0x500",         0x405004 },
  { "I0 = 0x390",          0x343900 },
  { "I1 = 0x3BC",          0x343BC1 },
  { "M0 = -1",             0x37FFF4 },
  { "L3 = 0x3FFF",         0x37FFFB },
  { "L7 = 512",            0x38200B },
  { "I7 = 0x400",          0x384003 },
  { "M4 = 1",              0x380014 },
  { "CNTR = 258",          0x3C1025 },
  { "IFC = 0x3E",          0x3C03EC },
  { "IMASK = 0x24",        0x3C0243 },
  { "SB = -3",             0x3FFFD6 },
  { "OWRCNTR = 5",         0x3C005D },
  { "AX0 = DM(0x3400)",    0x834000 },
  { "MY0 = DM(0x390E)",    0x8390E6 },
  { "I2 = DM(1)",          0x840012 },
  { "M6 = DM(0x3FFF)",     0x8BFFF6 },
  { "ICNTL = DM(0x3800)",  0x8F8004 },
  { "DM(0x3FF1) = AX0",    0x93FF10 },
  { "DM(0x3800) = L2",     0x97800A },
  { "DM(0x3800) = I5",     0x9B8001 },
  { "DM(0x3800) = ASTAT",  0x9F8000 },
  { "DM(I0,M1) = 0",       0xA00001 },
  { "DM(I3,M2) = 0x1234",  0xA1234E },
  { "DM(I4,M7) = -1",      0xBFFFF3 },
  { "MX1 = DM(I1,M1)",     0x600035 },
  { "MX1 = DM(I5,M5)",     0x700035 },
  { "MR1 = DM(I3,M0)",     0x6000CC },
  { "DM(I5,M5) = AX0",     0x780005 },
  { "DM(I0,M1) = MR1",     0x6800C1 },
  { "AX0 = PM(I4,M4)",     0x500000 },
  { "PM(I7,M5) = SR0",     0x5800ED },
  { "MODIFY (I0,M1)",      0x090001 },
  { "MODIFY (I3,M2)",      0x09000E },
  { "MODIFY (I6,M7)",      0x09001B },
};

const SCase kFlow[] = {
  { "NOP",                     0x000000 },
  { "SAT MR",                  0x050000 },
  { "IF MV SAT MR",            0x050000 },
  { "DIVS AY1, AX0",           0x060800 },
  { "DIVS AF, MR1",            0x061400 },
  { "DIVQ AX1",                0x071100 },
  { "RTS",                     0x0A000F },
  { "RTI",                     0x0A001F },
  { "IF EQ RTS",               0x0A0000 },
  { "IF NOT MV RTI",           0x0A001D },
  { "JUMP (I4)",               0x0B000F },
  { "IF GT CALL (I7)",         0x0B00D2 },
  { "ENA SEC_REG",             0x0C0030 },
  { "ENA M_MODE",              0x0C3000 },
  { "ENA AR_SAT, DIS M_MODE",  0x0C2C00 },
  { "DIS SEC_REG, BIT_REV, AV_LATCH, AR_SAT, M_MODE, TIMER, G_MODE", 0x0CAAA8 },
  { "ENA BIT_REV, TIMER, DIS G_MODE, AV_LATCH", 0x0CC2C8 },
  { "DO 36 UNTIL CE",          0x14024E },
  { "DO 278 UNTIL CE",         0x14116E },
  { "DO 2559 UNTIL CE",        0x149FFE },
  { "DO 1 UNTIL FOREVER",      0x14001F },
  { "DO 1 UNTIL EQ",           0x140011 },
  { "DO 1 UNTIL NE",           0x140010 },
  { "DO 1 UNTIL GT",           0x140013 },
  { "DO 1 UNTIL LE",           0x140012 },
  { "DO 1 UNTIL LT",           0x140015 },
  { "DO 1 UNTIL GE",           0x140014 },
  { "DO 1 UNTIL AV",           0x140017 },
  { "DO 1 UNTIL NOT AV",       0x140016 },
  { "DO 1 UNTIL AC",           0x140019 },
  { "DO 1 UNTIL NOT AC",       0x140018 },
  { "DO 1 UNTIL NEG",          0x14001B },
  { "DO 1 UNTIL POS",          0x14001A },
  { "DO 1 UNTIL MV",           0x14001D },
  { "DO 1 UNTIL NOT MV",       0x14001C },
  { "JUMP 0x3FFF",             0x1BFFFF },
  { "IF GE JUMP 304",          0x181305 },
  { "IF LT JUMP 310",          0x181364 },
  { "IF TRUE JUMP 0",          0x18000F },
  { "CALL 0x800",              0x1C800F },
  { "IF NEG CALL 1",           0x1C001A },
  { "IF POS CALL 1",           0x1C001B },
  { "IDLE",                    0x028000 },
  { "PUSH STS",                0x040002 },
  { "POP STS",                 0x040003 },
  { "POP CNTR",                0x040004 },
  { "POP LOOP",                0x040008 },
  { "POP PC",                  0x040010 },
  { "POP STS, POP PC",         0x040013 },
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(OfOperations, Encoding, testing::ValuesIn(kOperations));
INSTANTIATE_TEST_SUITE_P(OfPairs, Encoding, testing::ValuesIn(kPairs));
INSTANTIATE_TEST_SUITE_P(OfMoves, Encoding, testing::ValuesIn(kMoves));
INSTANTIATE_TEST_SUITE_P(OfProgramFlow, Encoding, testing::ValuesIn(kFlow));

TEST(Encodings, DoNotDependOnCase) {
  EXPECT_EQ(WordOf("if not ce ar = ax0 and ay0"), WordOf("IF NOT CE AR = AX0 AND AY0"));
  EXPECT_EQ(WordOf("Sr = sR Or Lshift sI bY 3 (hi)"), WordOf("SR = SR OR LSHIFT SI BY 3 (HI)"));
}

// The same in the assembler's own syntax as the board knows them.
TEST(Encodings, OfTheHotLoopsAreThoseThatTheBoardKnows) {
  const adsp::SProgram program = AssembleText(R"(
        .ORG 33
        CNTR = 258
        I0 = 0x3800
        DO CLEARED UNTIL CE
CLEARED: DM(I0,M1) = 0
        .ORG 269
        DO TURNED UNTIL CE
        MR = MX0 * MY0 (SS), MX1 = DM(I1,M1)
        MR = MR - MX1 * MY1 (RND), AY0 = DM(I0,M1)
        MR = MX1 * MY0 (SS), AX0 = MR1
        MR = MR + MX0 * MY1 (RND), AY1 = DM(I0,M0)
        AR = AY0 - AX0, MX0 = DM(I1,M1)
        DM(I0,M1) = AR, AR = AX0 + AY0
        DM(I2,M1) = AR, AR = AY1 - MR1
        DM(I0,M1) = AR, AR = MR1 + AY1
TURNED: DM(I2,M1) = AR
        .ORG 291
        CNTR = 256
        MY0 = DM(0x390E)
        DO LOUD UNTIL CE
        MX0 = DM(I0,M0)
        MR = MX0 * MY0 (SU)
        SAT MR
LOUD:   DM(I0,M1) = MR1
        .ORG 2553
        DO MIXED UNTIL CE
        AF = AR + 0, AR = DM(I2,M1)
        MR = AR * MY0 (SU)
        MX0 = MR0
        MR1 = DM(I3,M0)
        MR = MR + MX0 * MY1 (SU)
MIXED:  DM(I3,M2) = MR1
        .ORG 368
        I0 = 0x390
        .ORG 386
        I1 = 0x3BC
)");
  ASSERT_EQ(SaidOf(program), std::vector<std::string>());
  for (const SPatch& patch : kPatches) {
    for (u32 i = 0; i < patch.wordCount; ++i) {
      EXPECT_EQ(program.image.WordAt(patch.address + i), patch.words[i]) << patch.address + i;
    }
  }
}

TEST(Encodings, OfTheWaitLoopsAndTheSetUpOfTheSerialPortAreTheBoards) {
  const adsp::SProgram program = AssembleText(R"(
        .ORG 0
        DIS SEC_REG, BIT_REV, AV_LATCH, AR_SAT, M_MODE, TIMER, G_MODE
        IFC = 0x3E
        .EXPECT 0, 0x0CAAA8, 0x3C03EC
        .ORG 4
        ENA SEC_REG
        AX0 = DM(0x3400)
        DM(I5,M5) = AX0
        RTI
        .EXPECT 4, 0x0C0030, 0x834000, 0x780005, 0x0A001F
        .ORG 64
        L7 = 512
        I7 = 0x400
        M4 = 1
        AX0 = 19
        DM(0x3FF1) = AX0
        AX0 = 0x4000
        DM(0x3FF2) = AX0
        AX0 = 0x0E02
        DM(0x3FEF) = AX0
        AX0 = 0x0800
        DM(0x3FFF) = AX0
        TX1 = AX0
        IMASK = 0x24
        .EXPECT 64, 0x38200B, 0x384003, 0x380014, 0x400130, 0x93FF10, 0x440000, 0x93FF20
        .EXPECT 71, 0x40E020, 0x93FEF0, 0x408000, 0x93FFF0, 0x0D0CB0, 0x3C0243
        .ORG 303
        AY0 = 0x500
WAIT_HI: AR = I7
        AF = AR - AY0
        IF GE JUMP WAIT_HI
        .EXPECT 303, 0x405004, 0x0D02A3, 0x26E20F, 0x181305
        .ORG 309
        AY0 = 0x500
WAIT_LO: AR = I7
        AF = AR - AY0
        IF LT JUMP WAIT_LO
        .EXPECT 309, 0x405004, 0x0D02A3, 0x26E20F, 0x181364
        .ORG 512
        I1 = MR1
        MR = MR + MX1*MY1 (SU), AX0 = DM(I1,M0)
        AR = AX0 + AY0
        DM(I2,M1) = AR, AR = MR1 - AY1
        IF GE CALL 512
        ENA M_MODE
        M0 = -1
        ENA AR_SAT, DIS M_MODE
        MX0 = DM(I1,M1)
        CNTR = AX0
        .EXPECT 512, 0x0D041C, 0x612904, 0x22600F, 0x6AECA9, 0x1C2005
        .EXPECT 517, 0x0C3000, 0x37FFF4, 0x0C2C00, 0x600025, 0x0D0C50
)");
  EXPECT_EQ(SaidOf(program), std::vector<std::string>());
}

}  // namespace
}  // namespace vx::test

// What the assembler says, word for word, and where.
#include <gtest/gtest.h>

#include "tests/adspasm/AsmTest.h"

namespace vx::test {
namespace {

using Lines = std::vector<std::string>;

struct SCase {
  const char* source;  // behind ".ORG 0" in line 1, from line 2 on
  const char* said;
};
void PrintTo(const SCase& row, std::ostream* out) { *out << row.source; }

class Complaint : public testing::TestWithParam<SCase> {};

TEST_P(Complaint, IsThisSentence) {
  const adsp::SProgram program = AssembleText(".ORG 0\n" + std::string(GetParam().source));
  EXPECT_EQ(SaidOf(program), Lines{GetParam().said});
  EXPECT_EQ(program.bGood, std::string(GetParam().said).find(": warning: ") != std::string::npos ||
                               std::string(GetParam().said).starts_with("warning"));
}

const std::string kAluOperands =
    " is no operand of the ALU: x is one of AX0, AX1, AR, MR0, MR1, SR0, SR1, y one of AY0, AY1, "
    "AF, 0.";

// clang-format off
const SCase kTexts[] = {
  { "AX0 = 0x",      "2: error: \"0x\" is no number; write 19, 0x13 or 0b10011." },
  { "AX0 = 12cats",  "2: error: \"12cats\" is no number; write 19, 0x13 or 0b10011." },
  { "AX0 = 0q1",     "2: error: \"0q1\" is no number; write 19, 0x13 or 0b10011." },
  { "AX0 = 0x100000000", "2: error: the number 0x100000000 has more than 32 bits." },
  { "AX0 = 99999999999999999999999", "2: error: the number 99999999999999999999999 has more than 32 bits." },
  { "AX0 = 'ab'",    "2: error: single quotes hold exactly one character." },
  { ".TITLE \"open", "2: error: a quote is not closed." },
  { "AX0 = #5",      "2: error: the character '#' has no meaning here." },
  { "AX0 = \x01",    "2: error: the character 0x01 has no meaning here." },
  { "NOP @",         "2: error: a name is missing behind '@'." },
  { "foo = 3",       "2: error: \"foo\" is no instruction and no register." },
  { "= 3",           "2: error: an instruction is expected where \"=\" stands." },
  { "NOP NOP",       "2: error: \"NOP\" does not belong to the statement before it." },
  { "AX0 = 3 4",     "2: error: \"4\" does not belong to the statement before it." },
  { "AX0 AX1",       "2: error: \"=\" is expected where \"AX1\" stands." },
  { "AX0 =",         "2: error: a value is expected where the end of the line stands." },
};

const SCase kOperations[] = {
  { "AR = AX0 + AX1",   "2: error: AX0 and AX1 are both x operands; one of the two is AY0, AY1, AF or 0." },
  { "AR = AY0 + AF",    "2: error: AY0 and AF are both y operands; one of the two is AX0, AX1, AR, MR0, MR1, SR0 or SR1." },
  { "AR = AX0 + 1",     "2: error: AX0 is an x operand; here goes AY0, AY1, AF or 0." },
  { "AR = AY0 + C",     "2: error: AY0 is a y operand; here goes an x operand of the ALU." },
  { "AR = ABS AY0",     "2: error: AY0 is a y operand; here goes an x operand of the ALU." },
  { "AR = PASS -2",     "2: error: PASS takes an operand of the ALU, 0, 1 or -1." },
  { "AR = AX0 - AY0 + C - 2", "2: error: a subtraction with carry ends in \"+ C - 1\"." },
  { "AF = AX0",         "2: error: an operation of the ALU is missing; to move the value alone write PASS AX0." },
  { "AR = AF",          "2: error: an operation of the ALU is missing; to move the value alone write PASS AF." },
  { "MR = MX0 * MY0",   "2: error: a product ends in its signs: (SS), (SU), (US), (UU) or (RND)." },
  { "MR = MX0 * MY0 (SX)", "2: error: \"SX\" tells no signs of a product; there are SS, SU, US, UU and RND." },
  { "MR = MY0 * MX0 (SS)", "2: error: \"MY0\" is no x operand of the multiplier; there are MX0, MX1, AR, MR0, MR1, SR0 and SR1, and x stands before y." },
  { "MR = MX0 * AY0 (SS)", "2: error: \"AY0\" is no y operand of the multiplier; there are MY0, MY1, MF and 0." },
  { "SR = ROTATE SI (HI)", "2: error: LSHIFT or ASHIFT is expected where \"ROTATE\" stands." },
  { "SR = LSHIFT AX0 (HI)", "2: error: \"AX0\" is no operand of the shifter; there are SI, AR, MR0, MR1, MR2, SR0 and SR1." },
  { "SR = LSHIFT SI (UP)", "2: error: HI is expected where \"UP\" stands." },
  { "SR = LSHIFT SI BY 128 (HI)", "2: error: a shift goes by -128 to 127 places, not by 128." },
  { "SR = LSHIFT SI BY 32 (HI)", "2: warning: a shift by more than 31 places leaves nothing of its input." },
  { "IF EQ SR = LSHIFT SI BY 3 (HI)", "2: error: a shift by a count takes no IF." },
  { "SR = LSHIFT SI BY 3 (HI), AX0 = AY0", "2: error: a shift by a count stands alone in its word." },
  { "AR = MR2 + AY0",   "2: error: MR2 as an operand of ALU and multiplier reads MR1 on this board; write MR1, or allow it by .ALLOW_UNIMPL." },
  { "MR = MR2 * MY0 (SS)", "2: error: MR2 as an operand of ALU and multiplier reads MR1 on this board; write MR1, or allow it by .ALLOW_UNIMPL." },
  { "AR = AX0 + AY0, AF = AX0 + AY0", "2: error: a word holds one operation only." },
  { "AX0 = AX1, AY0 = AY1", "2: error: a word of this processor holds one move or memory access only." },
  { "AR = AX0 + AY0, AX0 = 5", "2: error: beside an operation goes a move between data registers, DM(I,M) or PM(I,M), and nothing else." },
  { "AR = AX0 + AY0, I0 = AX0", "2: error: I0 does not go into a move beside an operation; that takes AX0 to AY1, MX0 to MY1, SI, SE, AR, MR0 to MR2, SR0 or SR1." },
  { "AR = AX0 + AY0, L0 = DM(I0,M0)", "2: error: L0 does not go through an address register; that takes AX0 to AY1, MX0 to MY1, SI, SE, AR, MR0 to MR2, SR0 or SR1." },
  { "IF EQ AR = AX0 + AY0, AX0 = AY0", "2: error: IF goes with an operation alone, a jump, a call or a return." },
  { "IF EQ AX0 = 5",    "2: error: IF goes with an operation alone, a jump, a call or a return." },
  { "AR = AX0 + AY0, AR = DM(I0,M0)", "2: warning: the value that AR takes replaces the operation's result." },
  { "MR = MX0 * MY0 (SS), MR1 = AX0", "2: warning: the value that MR1 takes replaces the operation's result." },
  { "SE = EXP SI (HI), SE = AX0", "2: warning: the value that SE takes replaces the operation's result." },
};

const SCase kMoves[] = {
  { "AX0 = AF",         "2: error: AF is a result of its unit only; no move reads it." },
  { "AX0 = MR",         "2: error: MR is a result of its unit only; no move reads it." },
  { "AX0 = 65536",      "2: error: a value for AX0 has 16 bits, -32768 to 65535; 65536 does not fit." },
  { "AX0 = -32769",     "2: error: a value for AX0 has 16 bits, -32768 to 65535; -32769 does not fit." },
  { "I0 = 0x4000",      "2: error: a value for I0 has 14 bits, -8192 to 16383; 16384 does not fit." },
  { "M5 = -8193",       "2: error: a value for M5 has 14 bits, -8192 to 16383; -8193 does not fit." },
  { "CNTR = 0",         "2: warning: a loop with a counter of 0 makes one round and keeps its place on the counter stack." },
  { "AX0 = DM(0x4000)", "2: error: a data address has 14 bits, 0 to 16383; 16384 does not fit." },
  { "AX0 = DM(-1)",     "2: error: a data address has 14 bits, 0 to 16383; -1 does not fit." },
  { "DM(I0,M0) = 65536", "2: error: a data word has 16 bits, -32768 to 65535; 65536 does not fit." },
  { "DM(0x3800) = 5",   "2: error: a value is stored through an address register: DM(I,M) = value; or take it through a data register." },
  { "PM(I4,M4) = 5",    "2: error: only a data register is stored to program memory." },
  { "AX0 = PM(0x100)",  "2: error: program memory is reached through I4 to I7 only: PM(I4,M4)." },
  { "AX0 = PM(I0,M0)",  "2: error: program memory is reached through I4 to I7 only." },
  { "AX0 = DM(I4,M0)",  "2: error: I4 belongs to the second address generator and goes with M4 to M7, not with M0." },
  { "DM(I0,M4) = AX0",  "2: error: I0 belongs to the first address generator and goes with M0 to M3, not with M4." },
  { "MODIFY (I7,M3)",   "2: error: I7 belongs to the second address generator and goes with M4 to M7, not with M3." },
  { "MODIFY (M0,I0)",   "2: error: \"M0\" is no address register; there are I0 to I7." },
  { "MODIFY (I0,L0)",   "2: error: \"L0\" is no modifier; there are M0 to M7." },
  { "I0 = DM(I1,M1)",   "2: error: I0 does not go through an address register; that takes AX0 to AY1, MX0 to MY1, SI, SE, AR, MR0 to MR2, SR0 or SR1." },
};

const SCase kFlow[] = {
  { "IF CE JUMP 0",     "2: error: \"CE\" is no condition of IF; there are NOT CE, TRUE, EQ, NE, GT, LE, LT, GE, AV, NOT AV, AC, NOT AC, NEG, POS, MV and NOT MV." },
  { "IF NOT EQ JUMP 0", "2: error: NOT EQ is no condition of IF; there are NOT CE, TRUE, EQ, NE, GT, LE, LT, GE, AV, NOT AV, AC, NOT AC, NEG, POS, MV and NOT MV." },
  { "DO 5 UNTIL NOT CE", "2: error: NOT CE ends no loop; there are CE, FOREVER, EQ, NE, GT, LE, LT, GE, AV, NOT AV, AC, NOT AC, NEG, POS, MV and NOT MV." },
  { "DO 5",             "2: error: UNTIL is expected where the end of the line stands." },
  { "IF EQ NOP",        "2: error: NOP takes no IF." },
  { "IF EQ DO 5 UNTIL CE", "2: error: DO takes no IF." },
  { "IF EQ ENA TIMER",  "2: error: ENA takes no IF." },
  { "IF EQ SAT MR",     "2: error: SAT MR takes no IF but IF MV." },
  { "JUMP (I3)",        "2: error: an indirect jump or call goes through I4 to I7 only." },
  { "JUMP 0x4000",      "2: error: an address has 14 bits, 0 to 16383; 16384 does not fit." },
  { "JUMP nowhere",     "2: error: nowhere is not defined." },
  { "ENA SPEED",        "2: error: \"SPEED\" is no mode; there are SEC_REG, BIT_REV, AV_LATCH, AR_SAT, M_MODE, TIMER and G_MODE." },
  { "ENA TIMER, DIS TIMER", "2: error: TIMER is named twice." },
  { "DIVS AX0, AY0",    "2: error: AX0 is an x operand; here goes AY0, AY1, AF or 0." },
  { "DIVQ AY0",         "2: error: AY0 is a y operand; here goes an x operand of the ALU." },
};

#define MISSING(what) "2: error: the processor does not execute this: " what "; .ALLOW_UNIMPL lets such words through."
const SCase kMissing[] = {
  { "IDLE",                          MISSING("IDLE and flag outputs are missing") },
  { "PUSH STS",                      MISSING("stack control is missing") },
  { "POP PC",                        MISSING("stack control is missing") },
  { "AR = AX0 + AY0 + C",            MISSING("x + y + C is missing") },
  { "AF = NOT AY0",                  MISSING("NOT of a y operand is missing; use NOT of an x operand") },
  { "AR = AX0 - AY0 + C - 1",        MISSING("x - y + C - 1 is missing") },
  { "AR = AY0 - AX0 + C - 1, AX0 = DM(I0,M0)", MISSING("y - x + C - 1 is missing") },
  { "SR = NORM SI (HI)",             MISSING("NORM is missing") },
  { "SR = NORM SI BY 2 (HI)",        MISSING("NORM is missing") },
  { "SE = EXP SI (LO)",              MISSING("of the exponent forms only EXP (HI) is there") },
  { "SB = EXPADJ SI",                MISSING("of the exponent forms only EXP (HI) is there") },
  { "SR = LSHIFT SI (HI), AX0 = PM(I4,M4)", MISSING("a shift beside a program memory access is missing") },
  { "PM(I4,M4) = AX0, AR = AX0 + AY0", MISSING("only multiplications into MR go beside a program memory write") },
  { "DM(0x3800) = ASTAT",            MISSING("a control register cannot be stored to memory; go through a data register") },
  { "AX0 = TX1",                     MISSING("TX1 cannot be read") },
  { "AX0 = TOPPCSTACK",              MISSING("TOPPCSTACK cannot be read") },
  { "SSTAT = AX0",                   MISSING("SSTAT cannot be written") },
  { "RX0 = 5",                       MISSING("RX0 cannot be written") },
  { "RX1 = DM(0x3800)",              MISSING("RX1 cannot be written") },
};

const SCase kExpressions[] = {
  { "AX0 = 1 / 0",          "2: error: the expression divides by 0." },
  { "AX0 = 1 << 32",        "2: error: a shift in an expression goes by 0 to 31." },
  { "AX0 = 1 >> -1",        "2: error: a shift in an expression goes by 0 to 31." },
  { "AX0 = (0xFFFFFFFF * 2) << 1", "2: error: a shift takes up to 32 bits." },
  { "AX0 = 0xFFFFFFFF * 0xFFFFFFFF", "2: error: the expression leaves the range of 40 bits." },
  { "AX0 = (1 + 2",         "2: error: \")\" is expected where the end of the line stands." },
  { "AX0 = 1 + AX1",        "2: error: AX1 has no value that an expression could use." },
  { "AX0 = HI(5",           "2: error: \")\" is expected where the end of the line stands." },
};

const SCase kDirectives[] = {
  { ".BLAH",                "2: error: \".BLAH\" is no directive; see SYNTAX.md beside the assembler." },
  { ".ORG 0x4000",          "2: error: a program address is 0 to 16383, not 16384." },
  { ".ORG LATER\nLATER: NOP", "2: error: LATER is not defined above this." },
  { ".ORG 0x400\nNOP",      "3: error: the boot loads nothing to program address 0x0400; program words go to 0x0000 to 0x03FF and 0x0800 to 0x0BFF." },
  { ".ORG 0x3FF\nNOP\nNOP", "4: error: the boot loads nothing to program address 0x0400; program words go to 0x0000 to 0x03FF and 0x0800 to 0x0BFF." },
  { ".ORG 0xBFF\nNOP\nNOP", "4: error: the boot loads nothing to program address 0x0C00; program words go to 0x0000 to 0x03FF and 0x0800 to 0x0BFF." },
  { ".ORG 0x2000\n.SPACE 1", "3: error: there is no memory at program address 0x2000." },
  { ".ORG 0x3FFF\n.SPACE 2", "3: error: this goes beyond the last address, 0x3FFF." },
  { ".DATA 0x3000\n.SPACE 1", "3: error: there is no memory at data address 0x3000." },
  { ".DATA 0x3800\n.SPACE 513", "3: error: there is no memory at data address 0x3A00." },
  { ".DATA 0x3800\n.DW16 1", "3: error: the boot loads nothing to data address 0x3800; data with a content goes to 0x0000 to 0x03FF and its mirrors." },
  { ".DATA 0x400\n.DW16 1", "3: error: the boot loads nothing to data address 0x0400; data with a content goes to 0x0000 to 0x03FF and its mirrors." },
  { ".DATA 0x3800\nNOP",    "3: error: an instruction goes to program memory; .CODE or .ORG goes before it." },
  { "NOP\n.DATA\n.SPACE 1", "4: error: this needs a place: .ORG or .DATA goes before it." },
  { "NOP\n.DATA\nX:",       "4: error: a label needs a place: .ORG or .DATA goes before it." },
  { ".SPACE -1",            "2: error: a space is 0 to 16384, not -1." },
  { ".ALIGN 0",             "2: error: an alignment is 1 to 16384, not 0." },
  { ".BOOTWORDS 2049",      "2: error: the size of the boot image is 1 to 2048, not 2049." },
  { ".TITLE 5",             "2: error: .TITLE takes a text in double quotes." },
  { ".TITLE \"a\tb\"",      "2: error: a title holds plain characters only." },
  { ".EQU 5 = 5",           "2: error: .EQU takes a name and its value: .EQU NAME = value." },
  { ".EQU A =",             "2: error: a value is missing." },
  { ".DW24",                "2: error: a value is missing." },
  { ".DW24 0x1000000",      "2: error: a word has 24 bits, -8388608 to 16777215; 16777216 does not fit." },
  { ".DW16 -32769",         "2: error: a word has 16 bits, -32768 to 65535; -32769 does not fit." },
  { "NOP\n.EXPECT 0",       "3: error: .EXPECT takes an address and words." },
  { "NOP\n.EXPECT 0, 0, 7", "3: error: address 0x0001 is to hold 0x000007, but holds nothing." },
  { "NOP\n.EXPECT 0, 5",    "3: error: address 0x0000 is to hold 0x000005, but holds 0x000000." },
  { ".INCLUDE other",       "2: error: .INCLUDE takes a file name in double quotes." },
  { ".INCLUDE \"other\"",   "2: error: the file other cannot be read." },
  { ".INCLUDE \"test.dsp\"", "2: error: test.dsp includes itself." },
};

const SCase kNames[] = {
  { "X: NOP\nX: NOP",       "3: error: X is already defined in test.dsp, line 2." },
  { ".EQU X = 1\nX: NOP",   "3: error: X is already defined in test.dsp, line 2." },
  { "@X: NOP\n@X: NOP",     "3: error: @X is already defined in test.dsp, line 2." },
  { "AX0: NOP",             "2: error: AX0 is a word of the language and names nothing else." },
  { "until: NOP",           "2: error: until is a word of the language and names nothing else." },
  { ".EQU SEC_REG = 1",     "2: error: SEC_REG is a word of the language and names nothing else." },
  { ".X: NOP",              "2: error: a label does not begin with a dot." },
  { "A: JUMP @B\nB: JUMP B\n@B: NOP", "2: error: A@B is not defined." },
};

const SCase kPlaces[] = {
  { "NOP\n.ORG 0\nNOP",      "4: error: program address 0x0000 is taken: the same memory is program address 0x0000 of test.dsp, line 2." },
  { ".ORG 0x800\nNOP\n.DATA 0\n.SPACE 1", "3: error: program address 0x0800 is taken: the same memory is data address 0x0000 of test.dsp, line 5." },
  { ".DATA 0x390\n.SPACE 4\n.ORG 0xB93\nNOP", "5: error: program address 0x0B93 is taken: the same memory is data address 0x0393 of test.dsp, line 3." },
  { "NOP\n.DATA 0x3800\n.SPACE 4\n.DATA 0x3803\n.SPACE 1", "6: error: data address 0x3803 is taken: the same memory is data address 0x3803 of test.dsp, line 4." },
  { "NOP\n.DATA 0x1400\n.SPACE 1\n.DATA 0x400\n.SPACE 1", "6: error: data address 0x0400 is taken: the same memory is data address 0x1400 of test.dsp, line 4." },
  { ".ORG 0x805\nNOP\nDM(0x1005) = AX0", "4: warning: data address 0x1005 is the memory of the program word of test.dsp, line 3." },
};

const SCase kLoops[] = {
  { "NOP\nDO 0 UNTIL CE",    "3: error: the loop's last word, at 0x0000, does not stand behind its DO." },
  { "DO 0 UNTIL CE",         "2: error: the loop's last word, at 0x0000, does not stand behind its DO." },
  { "DO 5 UNTIL CE",         "2: error: there is no word at the loop's end, 0x0005." },
  { "DO E UNTIL CE\nDO E UNTIL CE\nE: NOP", "3: error: the loop ends with the same word as that of test.dsp, line 2; the processor would miss the outer end." },
  { "DO E UNTIL CE\nDO F UNTIL CE\nE: NOP\nF: NOP", "3: error: the loop ends behind the one around it, of test.dsp, line 2." },
  { "DO A UNTIL CE\nDO B UNTIL CE\nDO C0 UNTIL CE\nDO D UNTIL CE\nDO E UNTIL CE\nE: NOP\nD: NOP\nC0: NOP\nB: NOP\nA: NOP",
    "6: error: the loop is the 5th within another; the processor keeps 4." },
  { "DO E UNTIL CE\nIF EQ JUMP OUT\nE: NOP\nOUT: NOP", "3: warning: this jump leaves the loop of test.dsp, line 2, whose entries stay on the stacks." },
  { "TOP: DO E UNTIL CE\nE: JUMP TOP", "3: warning: this jump leaves the loop of test.dsp, line 2, whose entries stay on the stacks." },
  { "DO E UNTIL CE\nNOP\nE: IF EQ RTS", "4: warning: this return leaves the loop of test.dsp, line 2, whose entries stay on the stacks." },
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(OnTexts, Complaint, testing::ValuesIn(kTexts));
INSTANTIATE_TEST_SUITE_P(OnOperations, Complaint, testing::ValuesIn(kOperations));
INSTANTIATE_TEST_SUITE_P(OnMoves, Complaint, testing::ValuesIn(kMoves));
INSTANTIATE_TEST_SUITE_P(OnProgramFlow, Complaint, testing::ValuesIn(kFlow));
INSTANTIATE_TEST_SUITE_P(OnMissingWords, Complaint, testing::ValuesIn(kMissing));
INSTANTIATE_TEST_SUITE_P(OnExpressions, Complaint, testing::ValuesIn(kExpressions));
INSTANTIATE_TEST_SUITE_P(OnDirectives, Complaint, testing::ValuesIn(kDirectives));
INSTANTIATE_TEST_SUITE_P(OnNames, Complaint, testing::ValuesIn(kNames));
INSTANTIATE_TEST_SUITE_P(OnPlaces, Complaint, testing::ValuesIn(kPlaces));
INSTANTIATE_TEST_SUITE_P(OnLoops, Complaint, testing::ValuesIn(kLoops));

TEST(Complaints, AboutAnOperandNameThoseThatThereAre) {
  for (const std::string text : {"AR = AX0 + CNTR", "AR = PASS I0", "AF = 5"}) {
    const std::string operand = text.substr(text.find_last_of(" ") + 1);
    EXPECT_EQ(SaidOf(AssembleText(".ORG 0\n" + text)),
              Lines{"2: error: \"" + operand + "\"" + kAluOperands});
  }
}

TEST(Complaints, ComeAllAtOnceInTheOrderOfTheLines) {
  const adsp::SProgram program = AssembleText(
      ".ORG 0\nJUMP nowhere\n.SPACE -1\nAX0 = 12x\nX: NOP\nX: NOP\nCNTR = 0\nAR = AX0 + AX1\n");
  std::vector<std::string> places;
  for (const std::string& said : SaidOf(program)) places.push_back(said.substr(0, said.find(": ")));
  EXPECT_EQ(places, (Lines{"2", "3", "4", "6", "7", "8"}));
}

TEST(Complaints, StopAtAHundred) {
  std::string source = ".ORG 0\n";
  for (int i = 0; i < 300; ++i) source += "FOO\n";
  const Lines said = SaidOf(AssembleText(source));
  ASSERT_EQ(said.size(), 101u);
  EXPECT_EQ(said.front(), "2: error: \"FOO\" is no instruction and no register.");
  EXPECT_EQ(said.back(), "test.dsp: error: there are more errors.");
}

TEST(Complaints, NameTheIncludedFileAndItsLine) {
  const adsp::SProgram program = AssembleFiles(
      {{kSourceName, ".ORG 0\n.INCLUDE \"part/a.inc\"\nNOP\n"}, {"part/a.inc", "NOP\nFOO\n"}});
  EXPECT_EQ(SaidOf(program),
            Lines{"part/a.inc:2: error: \"FOO\" is no instruction and no register."});
}

TEST(Complaints, TellOfASourceThatCannotBeReadOrMakesNothing) {
  EXPECT_EQ(SaidOf(AssembleFiles({})), Lines{"test.dsp: error: the file cannot be read."});
  EXPECT_EQ(SaidOf(AssembleText("; nothing\n")),
            Lines{"test.dsp: error: the source makes no words."});
  EXPECT_EQ(SaidOf(AssembleText("NOP\n")),
            Lines{"1: error: this needs a place: .ORG or .DATA goes before it."});
}

TEST(Complaints, EndARoundOfIncludes) {
  const Lines said = SaidOf(AssembleFiles({{kSourceName, ".INCLUDE \"a.inc\"\n"},
                                           {"a.inc", "NOP\n.INCLUDE \"b.inc\"\n"},
                                           {"b.inc", ".INCLUDE \"./a.inc\"\n"}}));
  ASSERT_FALSE(said.empty());
  EXPECT_EQ(said.back(), "b.inc:1: error: ./a.inc includes itself.");
}

TEST(Complaints, EndIncludesThatGoTooDeepOrGrowTooLong) {
  std::map<std::string, std::string> chain = {{kSourceName, ".INCLUDE \"0\"\n"}};
  for (int i = 0; i < 40; ++i) {
    chain[std::to_string(i)] = ".INCLUDE \"" + std::to_string(i + 1) + "\"\n";
  }
  EXPECT_EQ(SaidOf(AssembleFiles(chain)), Lines{"30:1: error: includes go too deep."});

  std::map<std::string, std::string> doubling = {{kSourceName, ".INCLUDE \"0\"\n"}};
  for (int i = 0; i < 25; ++i) {
    const std::string next = ".INCLUDE \"" + std::to_string(i + 1) + "\"\n";
    doubling[std::to_string(i)] = next + next;
  }
  doubling["25"] = "\n";
  const Lines said = SaidOf(AssembleFiles(doubling));
  ASSERT_EQ(said.size(), 1u);
  EXPECT_NE(said[0].find("more than 500000 lines"), std::string::npos) << said[0];
}

TEST(Complaints, EndExpressionsThatAreNestedTooDeeply) {
  const std::string deep = ".ORG 0\nAX0 = " + std::string(2000, '(');
  EXPECT_EQ(SaidOf(AssembleText(deep)), Lines{"2: error: the expression is nested too deeply."});
  EXPECT_EQ(SaidOf(AssembleText(".ORG 0\nAX0 = " + std::string(2000, '~'))),
            Lines{"2: error: the expression is nested too deeply."});
  std::string chain = ".ORG 0\nAX0 = V0\n";
  for (int i = 0; i < 500; ++i) {
    chain += ".EQU V" + std::to_string(i) + " = V" + std::to_string(i + 1) + "\n";
  }
  EXPECT_FALSE(AssembleText(chain + ".EQU V500 = 1\n").bGood);
}

TEST(Complaints, TellOfALineThatIsTooLong) {
  EXPECT_EQ(SaidOf(AssembleText(".ORG 0\nNOP\n;" + std::string(5000, ' '))),
            Lines{"3: error: the line has more than 4096 characters."});
}

}  // namespace
}  // namespace vx::test

// Texts of single words.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "mips3/Disassembler.h"
#include "mips3/OpTable.h"

namespace vx::test {
namespace {

constexpr u32 kAddress = 0x80001000;

std::string Text(u32 word, u32 address = kAddress, EOpTextStyle style = EOpTextStyle::Joined) {
  char text[kOpTextBytes];
  EXPECT_EQ(DisassembleOp(text, word, address, style), 4u);
  return text;
}
std::string Spaced(u32 word) { return Text(word, kAddress, EOpTextStyle::Spaced); }

constexpr u32 Cop0(u32 rs, u32 rest) { return 16u << 26 | rs << 21 | rest; }
constexpr u32 Cop1(u32 rs, u32 rest) { return 17u << 26 | rs << 21 | rest; }
// A function of COP1 with fd 1, fs 2 and ft 3.
constexpr u32 Fp(u32 format, u32 funct) {
  return Cop1(format, 3u << 16 | 2u << 11 | 1u << 6 | funct);
}

TEST(OpText, HasNoBlankBehindTheMnemonic) {
  EXPECT_EQ(Text(0x24020005), "addiu$v0, $zero, 5");
  EXPECT_EQ(Text(0x03E00008), "jr$ra");
  EXPECT_EQ(Text(0x0BF00000), "j8FC00000");
}

TEST(OpText, HasOneBlankBehindTheMnemonicForPeople) {
  EXPECT_EQ(Spaced(0x24020005), "addiu $v0, $zero, 5");
  EXPECT_EQ(Spaced(0x03E00008), "jr $ra");
  EXPECT_EQ(Spaced(0x0BF00000), "j 8FC00000");
  EXPECT_EQ(Spaced(0x8FBF0010), "lw $ra, 16($sp)");
  EXPECT_EQ(Spaced(Fp(17, 0)), "add.d $f1, $f2, $f3");
  EXPECT_EQ(Spaced(0x42000018), "eret");
}

TEST(OpText, OfWordZeroIsNop) {
  EXPECT_EQ(Text(0), "nop");
  EXPECT_EQ(Spaced(0), "nop");
}

TEST(OpText, OfAnyOtherShiftIntoZeroIsThatShift) {
  EXPECT_EQ(Text(0x00000040), "sll$zero, $zero, 1");
  EXPECT_EQ(Text(0x00200000), "sll$zero, $zero, 0");
  EXPECT_EQ(Text(0x00000002), "srl$zero, $zero, 0");
}

TEST(OpText, OfACop0FunctionIsItsName) {
  EXPECT_EQ(Text(0x42000001), "tlbr");
  EXPECT_EQ(Text(0x42000002), "tlbwi");
  EXPECT_EQ(Text(0x42000006), "tlbwr");
  EXPECT_EQ(Text(0x42000008), "tlbp");
  EXPECT_EQ(Text(0x42000018), "eret");
}

TEST(OpText, OfAnyOtherCop0FunctionSaysThatItIsInvalid) {
  constexpr u32 kFunction = 1u << 25;
  EXPECT_EQ(Text(Cop0(0, kFunction)), "<invalid cop0 op>");
  EXPECT_EQ(Text(Cop0(0, kFunction | 0x20)), "<invalid cop0 op>");
  EXPECT_EQ(Text(Cop0(0, kFunction | 0x58)), "<invalid cop0 op>");  // low six bits of eret
  for (u32 rs = 17; rs < 32; ++rs) EXPECT_EQ(Text(Cop0(rs, 0x18)), "<invalid cop0 op>") << rs;
}

TEST(OpText, OfACop0MoveWithoutARowIsUnimplemented) {
  for (u32 rs = 0; rs < 16; ++rs) {
    if (rs == 0 || rs == 1 || rs == 4) continue;
    EXPECT_EQ(Text(Cop0(rs, 0)), "<unimplemented>") << rs;
  }
}

TEST(OpText, OfACodeWithoutARowIsUnimplemented) {
  for (u32 code = 0; code < 64; ++code) {
    const bool bTable =
        code == kMainSpecial || code == kMainRegImm || code == kMainCop0 || code == kMainCop1;
    if (!bTable && kMainOps[code] == EOp::Unimplemented) {
      EXPECT_EQ(Text(code << 26), "<unimplemented>") << "main " << code;
    }
    if (kSpecialOps[code] == EOp::Unimplemented) {
      EXPECT_EQ(Text(code), "<unimplemented>") << "special " << code;
    }
    if (code < 32 && kRegImmOps[code] == EOp::Unimplemented) {
      EXPECT_EQ(Text(1u << 26 | code << 16), "<unimplemented>") << "regimm " << code;
    }
  }
}

TEST(OpText, NamesTheGeneralRegisters) {
  constexpr const char* kNames[32] = {"$zero", "$at", "$v0", "$v1", "$a0", "$a1", "$a2", "$a3",
                                      "$t0",   "$t1", "$t2", "$t3", "$t4", "$t5", "$t6", "$t7",
                                      "$s0",   "$s1", "$s2", "$s3", "$s4", "$s5", "$s6", "$s7",
                                      "$t8",   "$t9", "$k0", "$k1", "$gp", "$sp", "$fp", "$ra"};
  for (u32 i = 0; i < 32; ++i) {
    EXPECT_EQ(Text(i << 21 | 8), std::string("jr") + kNames[i]);
  }
}

TEST(OpText, NamesTheCop0RegistersThatHaveANameAndCountsTheOthers) {
  constexpr const char* kNames[32] = {
      "$index", "$random",   "$entrylo0", "$entrylo1", "$context", "$pagemask", "$wired",
      "$7",     "$badvaddr", "$count",    "$entryhi",  "$compare", "$status",   "$cause",
      "$epc",   "$prid",     "$config",   "$lladdr",   "$watchlo", "$watchhi",  "$xcontext",
      "$21",    "$22",       "$23",       "$24",       "$25",      "$ecc",      "$cacheerr",
      "$taglo", "$taghi",    "$errorepc", "$31"};
  for (u32 i = 0; i < 32; ++i) {
    const std::string operands = std::string("$v0, ") + kNames[i];
    EXPECT_EQ(Text(Cop0(0, 2u << 16 | i << 11)), "mfc0" + operands);
    EXPECT_EQ(Text(Cop0(1, 2u << 16 | i << 11)), "dmfc0" + operands);
    EXPECT_EQ(Text(Cop0(4, 2u << 16 | i << 11)), "mtc0" + operands);
  }
}

TEST(OpText, NamesTheFpRegistersByNumber) {
  for (u32 i = 0; i < 32; ++i) {
    EXPECT_EQ(Text(Cop1(0, 2u << 16 | i << 11)), "mfc1$v0, $f" + std::to_string(i));
  }
}

TEST(OpText, TakesTheFormatOfAnFpOpFromBits21And23) {
  EXPECT_EQ(Text(Fp(16, 0)), "add.s$f1, $f2, $f3");
  EXPECT_EQ(Text(Fp(17, 0)), "add.d$f1, $f2, $f3");
  EXPECT_EQ(Text(Fp(20, 0)), "add.w$f1, $f2, $f3");
  EXPECT_EQ(Text(Fp(21, 0)), "add.l$f1, $f2, $f3");
  EXPECT_EQ(Text(Fp(22, 0)), "add.w$f1, $f2, $f3");
  EXPECT_EQ(Text(Fp(3, 0)), "add.d$f1, $f2, $f3");
  EXPECT_EQ(Text(Fp(21, 32)), "cvt.s.l$f1, $f2");
}

TEST(OpText, OfACompareHasTwoOperands) { EXPECT_EQ(Text(Fp(16, 60)), "c.lt.s$f2, $f3"); }

TEST(OpText, NamesTheRoundingsOfSingleAndDoubleThatTheBoardLacks) {
  constexpr const char* kNames[] = {"round.l", "trunc.l", "ceil.l", "floor.l",
                                    "round.w", "trunc.w", "ceil.w", "floor.w"};
  for (u32 i = 0; i < 8; ++i) {
    EXPECT_EQ(Text(Fp(16, 8 + i)), kNames[i] + std::string(".s$f1, $f2"));
    EXPECT_EQ(Text(Fp(17, 8 + i)), kNames[i] + std::string(".d$f1, $f2"));
    EXPECT_EQ(Text(Fp(20, 8 + i)), "<unimplemented>");
    EXPECT_EQ(Text(Fp(21, 8 + i)), "<unimplemented>");
  }
}

TEST(OpText, OfAnFpFunctionWithoutANameIsUnimplemented) {
  for (u32 format : {16u, 17u, 20u, 21u}) {
    for (u32 funct = 16; funct < 48; ++funct) {
      if (funct == 32 || funct == 33 || funct == 36 || funct == 37) continue;
      EXPECT_EQ(Text(Fp(format, funct)), "<unimplemented>") << format << " " << funct;
    }
  }
}

TEST(OpText, IsLeftOpenForTheOtherFormsOfCop1) {
  EXPECT_EQ(Text(Cop1(2, 2u << 16 | 31u << 11)), "<cop1 - todo>");  // cfc1
  for (u32 kind = 0; kind < 4; ++kind) {                            // bc1f to bc1tl
    EXPECT_EQ(Text(Cop1(8, kind << 16 | 0x10)), "<cop1 - todo>") << kind;
    EXPECT_EQ(Spaced(Cop1(8, kind << 16 | 0x10)), "<cop1 - todo>") << kind;
  }
}

TEST(OpText, ExtendsTheSignOfImmediatesExceptForLogicalOpsAndLui) {
  EXPECT_EQ(Text(0x2442FFFF), "addiu$v0, $v0, -1");
  EXPECT_EQ(Text(0x2C428000), "sltiu$v0, $v0, -32768");
  EXPECT_EQ(Text(0x3042FFFF), "andi$v0, $v0, 65535");
  EXPECT_EQ(Text(0x34428000), "ori$v0, $v0, 32768");
  EXPECT_EQ(Text(0x38428000), "xori$v0, $v0, 32768");
  EXPECT_EQ(Text(0x3C02BFC0), "lui$v0, 49088");
}

TEST(OpText, TakesTheRegionOfAJumpFromTheJumpItself) {
  EXPECT_EQ(Text(0x08000001, 0x8FFFFFFC), "j80000004");
  EXPECT_EQ(Text(0x0FFFFFFF, 0x90000000), "jal9FFFFFFC");
}

TEST(OpText, CountsBranchesFromTheOpBehindThem) {
  EXPECT_EQ(Text(0x1000FFFF, 0x80001000), "beq$zero, $zero, 80001000");
  EXPECT_EQ(Text(0x10000000, 0x80001000), "beq$zero, $zero, 80001004");
  EXPECT_EQ(Text(0x04108000, 0x80020000), "bltzal$zero, 80000004");
  EXPECT_EQ(Text(0x10007FFF, 0xFFFFFFFC), "beq$zero, $zero, 0001FFFC");
  EXPECT_EQ(Text(0x1000FFFE, 0x00000000), "beq$zero, $zero, FFFFFFFC");
}

TEST(OpText, DoesNotDependOnFieldsThatTheOpDoesNotRead) {
  EXPECT_EQ(Text(0x00851021 | 0x7C0), Text(0x00851021));      // addu: amount
  EXPECT_EQ(Text(0x03E00008 | 0x1FFFC0), Text(0x03E00008));   // jr: all but rs
  EXPECT_EQ(Text(0x3C020001 | 31u << 21), Text(0x3C020001));  // lui: rs
  EXPECT_EQ(Text(0x0000000C | 0x3FFFFC0), "syscall");
  EXPECT_EQ(Text(0x0000000D | 0x3FFFFC0), "break");
}

TEST(OpText, EndsWithinItsBufferForEveryMainCode) {
  for (u32 code = 0; code < 64; ++code) {
    for (u32 rest : {0u, 0x03FFFFFFu, 0x02A5FFC0u, 0x03FF8000u}) {
      char text[kOpTextBytes + 1];
      std::memset(text, '#', sizeof text);
      DisassembleOp(text, code << 26 | rest, kAddress);
      EXPECT_LT(strnlen(text, kOpTextBytes), kOpTextBytes);
      EXPECT_EQ(text[kOpTextBytes], '#');
    }
  }
}

TEST(OpTarget, IsToldForJumpsAndAllBranches) {
  EXPECT_EQ(TargetOfOp(0x08000004, kAddress), 0x80000010u);
  EXPECT_EQ(TargetOfOp(0x0C000004, kAddress), 0x80000010u);
  EXPECT_EQ(TargetOfOp(0x14410003, kAddress), 0x80001010u);
  EXPECT_EQ(TargetOfOp(0x04110003, kAddress), 0x80001010u);
  EXPECT_EQ(TargetOfOp(Cop1(8, 3), kAddress), 0x80001010u);
}

TEST(OpTarget, IsNotToldForJumpsByRegisterAndOtherOps) {
  EXPECT_EQ(TargetOfOp(0x03E00008, kAddress), std::nullopt);
  EXPECT_EQ(TargetOfOp(0x0060F809, kAddress), std::nullopt);
  EXPECT_EQ(TargetOfOp(0x24020005, kAddress), std::nullopt);
  EXPECT_EQ(TargetOfOp(0x74000000, kAddress), std::nullopt);
}

}  // namespace
}  // namespace vx::test

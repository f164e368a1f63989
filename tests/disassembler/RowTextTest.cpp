// Every row of the op table prints in the format of its form.
#include <gtest/gtest.h>

#include <cctype>
#include <string>

#include "mips3/Disassembler.h"
#include "mips3/OpTable.h"

namespace vx::test {
namespace {

// The fields of every word below: rs $a1 (5), rt $t2 (10), rd $s4 (20), amount 9.
constexpr u32 kRs = 5u << 21;
constexpr u32 kRt = 10u << 16;
constexpr u32 kRd = 20u << 11;
constexpr u32 kSa = 9u << 6;
constexpr u32 kAddress = 0x9FC01230;
constexpr u32 kNegative = 0xFFF4;  // -12
constexpr u32 kFormatS = 16;

u32 WordOf(const SOpInfo& row) {
  switch (row.table) {
    case EOpTable::Main:
      if (row.form == EOpForm::Jump) return row.code << 26 | 0x0123456;
      return row.code << 26 | kRs | kRt | kNegative;
    case EOpTable::Special:
      return kRs | kRt | kRd | kSa | row.code;
    case EOpTable::RegImm:
      return 1u << 26 | kRs | row.code << 16 | kNegative;
    case EOpTable::Cop0:
      return 16u << 26 | row.code << 21 | kRt | 12u << 11;
    case EOpTable::Cop0Function:
      return 16u << 26 | 1u << 25 | row.code;
    case EOpTable::Cop1:
      return 17u << 26 | row.code << 21 | kRt | kRd;
    case EOpTable::Cop1Function:
      return 17u << 26 | kFormatS << 21 | kRt | kRd | kSa | row.code;
  }
  return 0;
}

std::string OperandsOf(EOp op) {
  switch (OpInfo(op).form) {
    case EOpForm::Plain:
      return "";
    case EOpForm::ThreeRegister:
      return "$s4, $a1, $t2";
    case EOpForm::Immediate:
      return op == EOp::Andi || op == EOp::Ori || op == EOp::Xori ? "$t2, $a1, 65524"
                                                                  : "$t2, $a1, -12";
    case EOpForm::Upper:
      return "$t2, 65524";
    case EOpForm::Shift:
      return "$s4, $t2, 9";
    case EOpForm::ShiftVariable:
      return "$s4, $t2, $a1";
    case EOpForm::ReadOne:
      return "$a1";
    case EOpForm::ReadTwo:
      return "$a1, $t2";
    case EOpForm::WriteOne:
      return "$s4";
    case EOpForm::JumpRegister:
      return "$s4, $a1";
    case EOpForm::Jump:
      return "9048D158";
    case EOpForm::BranchOne:
      return "$a1, 9FC01204";
    case EOpForm::BranchTwo:
      return "$a1, $t2, 9FC01204";
    case EOpForm::LoadStore:
      return op == EOp::Cache ? "10, -12($a1)" : "$t2, -12($a1)";
    case EOpForm::LoadStoreFp:
      return "$f10, -12($a1)";
    case EOpForm::Cop0Move:
      return "$t2, $status";
    case EOpForm::Cop1Move:
      return "$t2, $f20";
    case EOpForm::FpTwo:
      return ".s$f9, $f20";
    case EOpForm::FpThree:
      return ".s$f9, $f20, $f10";
    case EOpForm::FpCompare:
      return ".s$f20, $f10";
    case EOpForm::BranchFp:
      break;
  }
  return "no text of its own";
}

class RowText : public testing::TestWithParam<u32> {};

TEST_P(RowText, HasNameAndOperandsWithNothingBetween) {
  const EOp op = static_cast<EOp>(GetParam());
  char text[kOpTextBytes];
  EXPECT_EQ(DisassembleOp(text, WordOf(OpInfo(op)), kAddress), 4u);
  const bool bOtherCop1 = op == EOp::Cfc1 || op == EOp::Bc1;
  EXPECT_EQ(text, bOtherCop1 ? "<cop1 - todo>" : OpInfo(op).name + OperandsOf(op));
}

std::string NameOfRow(const testing::TestParamInfo<u32>& info) {
  constexpr const char* kNames[] = {
      "Unimplemented",
      "UnknownCop0",
#define VX_OP(identifier, table, code, name, form, traits, engine, executes) #identifier,
#include "mips3/OpRows.inc"
#undef VX_OP
  };
  return kNames[info.param];
}

INSTANTIATE_TEST_SUITE_P(EveryRow, RowText, testing::Range(kFirstRow, kOpCount), NameOfRow);

}  // namespace
}  // namespace vx::test

// The text of emitted blocks against files that were read and accepted.
#include "blockgen/Emitter.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <vector>

#include "tests/mips3/Encode.h"
#include "tests/mips3/FpEncode.h"

namespace vx::blockgen {

namespace {

using namespace mips;

struct SGolden {
  const char* name;
  std::vector<u32> words;
};

constexpr u32 Move0(u32 code, u32 t, u32 d) { return 0x40000000 | code << 21 | t << 16 | d << 11; }

const SGolden kGoldens[] = {
    {"registers",
     {MainOp(15, 0, kT0, 0x8804), MainOp(13, kT0, kT0, 0x10), Addu(kT1, kT0, kA0), Sll(kT2, kT1, 4),
      SpecialOp(4, kA1, kT2, kT2), MainOp(11, kT2, kV0, -1), Addu(0, kT0, kT1), kNop, Jr(kRa),
      Addiu(kV0, kV0, 1)}},
    {"memory",
     {Lw(kT0, 8, kA0), Sw(kT0, -4, kA1), MainOp(34, kA0, kT1, 3), MainOp(38, kA0, kT1, 0),
      MainOp(42, kA1, kT1, 3), Lw(0, 0, kA0), MainOp(5, kT0, kT1, -8), MainOp(63, kA1, kT0, 16)}},
    {"multiplier",
     {Addiu(kA0, kA0, 1), Mult(kA0, kA1), Mfhi(kT0), Mflo(0), Mthi(kA0), Div(kA0, kA1), Mflo(kV0),
      Jr(kRa), kNop}},
    {"links", {Addiu(29, 29, -32), Jalr(kRa, kRa), Addu(kV0, kRa, 0)}},
    {"jump", {0x08001234, kNop}},
    {"link_and_test", {RegImmOp(16, kRa, 4), Addu(kV0, kRa, 0)}},
    {"likely", {Addiu(kV0, kV0, 1), MainOp(20, kV0, kA0, 7), Lw(kV1, 0, kV0)}},
    {"singles",
     {FpOp(kSingle, kFpAdd, 2, 4, 6), FpOp(kSingle, kFpMul, 2, 2, 2), MainOp(57, kA0, 2, 4),
      MainOp(49, kA0, 4, 0), FpOp(kWord, kCvtS, 6, 4), FpOp(kSingle, kCvtW, 8, 6), Mfc1(kV0, 8),
      FpCompareOp(kSingle, 60, 1, 2, 6), Bc1t(1, 8), kNop}},
    {"doubles",
     {FpOp(kSingle, kFpNeg, 2, 2), FpOp(kDouble, kFpAdd, 2, 2, 4), FpOp(kSingle, kFpAbs, 2, 4),
      Dmfc1(kV0, 2), Dmtc1(kA0, 6), FpOp(kLong, kCvtD, 6, 6), FpOp(kDouble, kCvtS, 8, 6), Jr(kRa),
      FpOp(kSingle, kFpMov, 6, 8)}},
    {"system",
     {Move0(0, kT0, 9), Move0(0, kT1, 13), Move0(0, kT2, 12), Move0(4, kT0, 11), kTlbwi,
      Move0(4, kT2, 12)}},
    {"system_in_delay_slot", {Move0(0, 0, 9), MainOp(4, 0, 0, 3), Move0(4, kT2, 13)}},
    {"exception", {Addiu(kA0, kA0, 1), kSyscall}},
};

std::string GoldenPath(const char* name) { return std::string(VX_GOLDEN_FOLDER) + name + ".txt"; }

class EmittedText : public testing::TestWithParam<SGolden> {};

TEST_P(EmittedText, IsTheOneThatWasAccepted) {
  const SGolden& golden = GetParam();
  const std::string text = EmitListing(golden.words) + EmitBody(golden.words);
  const std::string path = GoldenPath(golden.name);
  if (std::getenv("VX_ACCEPT_GOLDEN") != nullptr) {
    std::ofstream(path, std::ios::binary) << text;
  }
  std::ifstream file(path, std::ios::binary);
  const std::string accepted((std::istreambuf_iterator<char>(file)), {});
  EXPECT_EQ(text, accepted) << "VX_ACCEPT_GOLDEN=1 accepts the new text";
}

INSTANTIATE_TEST_SUITE_P(Blocks, EmittedText, testing::ValuesIn(kGoldens),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(EmittedBody, IsTheSameForOpsThatDoTheSame) {
  const std::vector<u32> add = {Add(kV0, kA0, kA1), Jr(kRa), kNop};
  const std::vector<u32> addu = {Addu(kV0, kA0, kA1), Jr(kRa), Sll(0, kT0, 3)};
  EXPECT_EQ(EmitBody(add), EmitBody(addu));
}

TEST(EmittedBody, TellsImmediatesOfEitherSignApart) {
  const std::vector<u32> up = {Addiu(kV0, kV0, 1), Jr(kRa), kNop};
  const std::vector<u32> down = {Addiu(kV0, kV0, -1), Jr(kRa), kNop};
  EXPECT_NE(EmitBody(up), EmitBody(down));
}

}  // namespace

}  // namespace vx::blockgen

// Integer ops against an independent emulator of the same instruction set: the same op words with
// the same operands, by random. Left out is where the board departs from the manuals or the manuals
// leave the result open: division by zero, the trapping forms, 32-bit ops on registers that hold no
// extended word. lwr is compared in its low word alone, since the board zero-extends it.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>

#include "mips3/Memory.h"
#include "mips3/OpTable.h"
#include "tests/mips3/ProcessorTest.h"

namespace vx {

namespace {

using namespace mips;
namespace fs = std::filesystem;

struct SOracleCase {
  u32 word;
  u32 unused;
  u64 registers[4];  // 8 to 11
  u64 hi, lo;
  u64 memory[4];
};
static_assert(sizeof(SOracleCase) == 88);

constexpr u32 kCaseCount = 20000;
constexpr u32 kFirstRegister = 8;
constexpr u32 kBaseRegister = 12;
constexpr u32 kCases = 0x88100000;  // each case gets code words of its own
constexpr u32 kCaseStride = 0x10;

class CCaseMaker {
 public:
  explicit CCaseMaker(u32 seed) : m_random(seed) {}

  SOracleCase Make() {
    SOracleCase result = {};
    m_bWords = Below(2) == 0;
    result.word = m_bWords ? WordOp() : WideOp();
    for (u64& value : result.registers) value = Operand();
    result.hi = Operand();
    result.lo = Operand();
    for (u64& value : result.memory) value = Wide();
    if (IsDivide(result.word)) {
      u64& divisor = result.registers[(result.word >> 16 & 31) - kFirstRegister];
      if (divisor == 0) divisor = 3;
    }
    return result;
  }

 private:
  static bool IsDivide(u32 word) {
    const u32 funct = word & 63;
    return word >> 26 == 0 && (funct == 26 || funct == 27 || funct == 30 || funct == 31);
  }
  u32 Below(u32 limit) { return static_cast<u32>(m_random() % limit); }
  u32 Register() { return kFirstRegister + Below(4); }
  i32 Immediate() {
    return static_cast<i32>(Below(3) == 0 ? kEdges[Below(std::size(kEdges))] : Below(0x10000));
  }
  u64 Wide() {
    const u64 value = u64{m_random()} << 32 | m_random();
    return value >> (Below(3) == 0 ? Below(64) : 0);
  }
  u64 Operand() {
    if (Below(3) == 0) {
      const u64 edge = kEdges[Below(std::size(kEdges))];
      return m_bWords ? Extended(static_cast<u32>(edge)) : edge;
    }
    return m_bWords ? Extended(static_cast<u32>(Wide())) : Wide();
  }

  // Ops that look at the low words of their operands.
  u32 WordOp() {
    static constexpr u8 kThree[] = {33, 35, 4, 6, 7};
    static constexpr u8 kShifts[] = {0, 2, 3};
    static constexpr u8 kMultiplier[] = {24, 25, 26, 27};
    switch (Below(5)) {
      case 0:
        return SpecialOp(kThree[Below(sizeof(kThree))], Register(), Register(), Register());
      case 1:
        return SpecialOp(kShifts[Below(sizeof(kShifts))], 0, Register(), Register(), Below(32));
      case 2:
        return SpecialOp(kMultiplier[Below(sizeof(kMultiplier))], Register(), Register(), 0);
      case 3:
        return Addiu(Register(), Register(), Immediate());
      default:
        return Below(2) == 0 ? Lui(Register(), Immediate()) : Access();
    }
  }

  u32 WideOp() {
    static constexpr u8 kThree[] = {36, 37, 38, 39, 42, 43, 45, 47, 20, 22, 23};
    static constexpr u8 kShifts[] = {56, 58, 59, 60, 62, 63};
    static constexpr u8 kMultiplier[] = {28, 29, 30, 31};
    static constexpr u8 kImmediates[] = {10, 11, 12, 13, 14, 25};
    switch (Below(6)) {
      case 0:
        return SpecialOp(kThree[Below(sizeof(kThree))], Register(), Register(), Register());
      case 1:
        return SpecialOp(kShifts[Below(sizeof(kShifts))], 0, Register(), Register(), Below(32));
      case 2:
        return SpecialOp(kMultiplier[Below(sizeof(kMultiplier))], Register(), Register(), 0);
      case 3:
        return MainOp(kImmediates[Below(sizeof(kImmediates))], Register(), Register(), Immediate());
      case 4: {
        const u32 moves[] = {Mfhi(Register()), Mflo(Register()), Mthi(Register()),
                             Mtlo(Register())};
        return moves[Below(4)];
      }
      default:
        return Access();
    }
  }

  // Plain forms aligned, since the published processor traps otherwise.
  u32 Access() {
    struct SForm {
      u8 code, alignment;
    };
    static constexpr SForm kForms[] = {
        {32, 1}, {36, 1}, {33, 2}, {37, 2}, {35, 4}, {39, 4}, {55, 8}, {40, 1}, {41, 2}, {43, 4},
        {63, 8}, {34, 1}, {38, 1}, {26, 1}, {27, 1}, {42, 1}, {46, 1}, {44, 1}, {45, 1}};
    const SForm& form = kForms[Below(std::size(kForms))];
    const i32 offset = static_cast<i32>(Below(24) / form.alignment * form.alignment) - 8;
    return MainOp(form.code, kBaseRegister, Register(), offset);
  }

  static constexpr u64 kEdges[] = {0,
                                   1,
                                   2,
                                   ~u64{0},
                                   0x7F,
                                   0x80,
                                   0x7FFF,
                                   0x8000,
                                   0xFFFF,
                                   0x7FFFFFFF,
                                   0x80000000,
                                   0xFFFFFFFF,
                                   1ull << 32,
                                   1ull << 63,
                                   ~(1ull << 63),
                                   0xFFFFFFFF80000000};

  std::mt19937 m_random;
  bool m_bWords = false;
};

class IntegerOracle : public ProcessorTest {
 protected:
  // What the independent emulator makes of the cases; empty if it could not be run.
  static std::vector<SOracleCase> AskOracle(const std::vector<SOracleCase>& cases) {
    const fs::path folder =
        fs::path(::testing::TempDir()) / ("vx_integer_oracle_" + std::to_string(getpid()));
    fs::create_directories(folder);
    const fs::path input = folder / "cases.bin", output = folder / "results.bin";
    std::ofstream(input, std::ios::binary)
        .write(reinterpret_cast<const char*>(cases.data()),
               static_cast<std::streamsize>(cases.size() * sizeof(SOracleCase)));
    const std::string command = "'" VX_ORACLE_EMULATOR "' '" VX_ORACLE_GUEST "' < '" +
                                input.string() + "' > '" + output.string() + "'";
    if (std::system(command.c_str()) != 0) return {};
    std::vector<SOracleCase> results(cases.size());
    std::ifstream stream(output, std::ios::binary);
    stream.read(reinterpret_cast<char*>(results.data()),
                static_cast<std::streamsize>(results.size() * sizeof(SOracleCase)));
    results.resize(static_cast<size_t>(stream.gcount()) / sizeof(SOracleCase));
    fs::remove_all(folder);
    return results;
  }

  void Load(const SOracleCase& in) {
    for (u32 i = 0; i < 4; ++i) {
      gpr[kFirstRegister + i] = in.registers[i];
      Poke64(kData + 8 * i, in.memory[i]);
    }
    cpu.hi = in.hi;
    cpu.lo = in.lo;
    gpr[kBaseRegister] = Extended(kData + 8);
  }
  SOracleCase Result(u32 word) const {
    SOracleCase out = {};
    out.word = word;
    for (u32 i = 0; i < 4; ++i) {
      out.registers[i] = gpr[kFirstRegister + i];
      out.memory[i] = Peek64(kData + 8 * i);
    }
    out.hi = cpu.hi;
    out.lo = cpu.lo;
    return out;
  }

  static std::string Describe(const SOracleCase& in, const SOracleCase& board,
                              const SOracleCase& oracle) {
    char line[160];
    std::snprintf(line, sizeof(line), "%08X %s\n  %-8s %-18s%-18s%s\n", in.word,
                  OpInfo(DecodeOp(in.word)).name, "", "before", "board", "oracle");
    std::string text = line;
    const auto show = [&](const char* name, u32 i, u64 before, u64 mine, u64 other) {
      std::snprintf(line, sizeof(line), "  %-6s%2u %016llX  %016llX  %016llX%s\n", name, i,
                    static_cast<unsigned long long>(before), static_cast<unsigned long long>(mine),
                    static_cast<unsigned long long>(other), mine != other ? "  <-- differs" : "");
      text += line;
    };
    for (u32 i = 0; i < 4; ++i) {
      show("gpr", kFirstRegister + i, in.registers[i], board.registers[i], oracle.registers[i]);
    }
    show("hi", 0, in.hi, board.hi, oracle.hi);
    show("lo", 0, in.lo, board.lo, oracle.lo);
    for (u32 i = 0; i < 4; ++i) show("memory", i, in.memory[i], board.memory[i], oracle.memory[i]);
    return text;
  }
};

TEST_F(IntegerOracle, OpsGiveWhatAnIndependentEmulatorGives) {
  CCaseMaker maker(20260);
  std::vector<SOracleCase> cases(kCaseCount);
  for (SOracleCase& made : cases) made = maker.Make();
  const std::vector<SOracleCase> oracle = AskOracle(cases);
  ASSERT_EQ(oracle.size(), cases.size()) << "the emulator did not answer";

  constexpr u32 kLwr = 38;
  for (u32 i = 0; i < kCaseCount; ++i) {
    const SOracleCase& in = cases[i];
    SOracleCase expected = oracle[i];
    ASSERT_NE(DecodeOp(in.word), EOp::Unimplemented);
    if (in.word >> 26 == kLwr) {
      u64& target = expected.registers[(in.word >> 16 & 31) - kFirstRegister];
      target = static_cast<u32>(target);
    }
    const u32 address = kCases + i * kCaseStride;
    PlaceWithRest(address, {kNop, in.word});
    for (const char* pass : {"forming", "replay"}) {
      SetPc(address);
      Load(in);
      RunBlock();
      const SOracleCase board = Result(in.word);
      ASSERT_EQ(std::memcmp(&board, &expected, sizeof(board)), 0)
          << "case " << i << " while " << pass << ": " << Describe(in, board, expected);
    }
  }
  EXPECT_TRUE(log.empty());
}

}  // namespace

}  // namespace vx

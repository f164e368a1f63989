#include "tests/oracle/Report.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "tests/oracle/Assemble.h"

namespace vx::oracle {

namespace {

std::string Row(const char* name, u32 index, u64 first, u64 second) {
  return Format("  %-4s%2u  %016llx  %016llx%s\n", name, index,
                static_cast<unsigned long long>(first), static_cast<unsigned long long>(second),
                first == second ? "" : "  <-- differ");
}

std::string DataRows(const SStreamRecord& first, const SStreamRecord& second) {
  std::string text;
  for (u32 place = 0; place < SStreamRecord::kDataBytes; place += 8) {
    u64 a = 0, b = 0;
    std::memcpy(&a, first.data + place, 8);
    std::memcpy(&b, second.data + place, 8);
    text += Row("+", place, a, b);
  }
  return text;
}

}  // namespace

std::string Format(const char* format, ...) {
  char text[512];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof(text), format, arguments);
  va_end(arguments);
  return text;
}

bool AreEqual(const SStreamRecord& a, const SStreamRecord& b) {
  return std::memcmp(a.gpr, b.gpr, sizeof(a.gpr)) == 0 && a.hi == b.hi && a.lo == b.lo &&
         std::memcmp(a.fpr, b.fpr, sizeof(a.fpr)) == 0 && a.conditions == b.conditions &&
         std::memcmp(a.data, b.data, sizeof(a.data)) == 0;
}

std::string Describe(u32 word) {
  EOp op = DecodeOp(word);
  if (op == EOp::Unimplemented && MainCode(word) == kMainCop1) op = kCop1FunctionOps[Funct(word)];
  const SOpInfo& info = OpInfo(op);
  if (info.table == EOpTable::Main || info.table == EOpTable::RegImm) {
    return Format("%-8s s=%-2u t=%-2u immediate=%d", info.name, Rs(word), Rt(word),
                  SignedImmediate(word));
  }
  return Format("%-8s s=%-2u t=%-2u d=%-2u amount=%u", info.name, Rs(word), Rt(word), Rd(word),
                Sa(word));
}

std::string Listing(const SStream& stream) {
  std::string text;
  u32 address = stream.address;
  for (const SStreamOp& op : stream.ops) {
    text += Format("  %08x  %08x  %s", address, op.board, Describe(op.board).c_str());
    if (op.board != op.oracle) {
      text += Format("   [oracle: %08x %s; %s]", op.oracle, Describe(op.oracle).c_str(),
                     DepartureOf(op.departure).name);
    }
    text += "\n";
    address += 4;
  }
  return text;
}

std::string SideBySide(const char* nameOfFirst, const SStreamRecord& first,
                       const char* nameOfSecond, const SStreamRecord& second) {
  std::string text = Format("          %-16s  %-16s\n", nameOfFirst, nameOfSecond);
  for (u32 i = 0; i < 32; ++i) text += Row("r", i, first.gpr[i], second.gpr[i]);
  text += Row("hi", 0, first.hi, second.hi);
  text += Row("lo", 0, first.lo, second.lo);
  for (u32 i = 0; i < 32; ++i) text += Row("f", i, first.fpr[i], second.fpr[i]);
  text += Row("cond", 0, first.conditions, second.conditions);
  return text + DataRows(first, second);
}

}  // namespace vx::oracle

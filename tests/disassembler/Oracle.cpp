#include "tests/disassembler/Oracle.h"

#include <stdexcept>
#include <string_view>

namespace vx::test {

std::string SOracleText::Joined() const {
  std::string text = mnemonic;
  const char* separator = " ";
  for (const std::string& operand : operands) {
    text += separator + operand;
    separator = ", ";
  }
  return text;
}

COracle::COracle() {
  const auto mode = static_cast<cs_mode>(CS_MODE_MIPS64 | CS_MODE_LITTLE_ENDIAN);
  if (cs_open(CS_ARCH_MIPS, mode, &handle_) != CS_ERR_OK) {
    throw std::runtime_error("Capstone does not open its MIPS64 mode");
  }
  room_ = cs_malloc(handle_);
}

COracle::~COracle() {
  cs_free(room_, 1);
  cs_close(&handle_);
}

SOracleText COracle::Read(u32 word, u32 address) {
  const u8* code = reinterpret_cast<const u8*>(&word);
  std::size_t bytes = sizeof word;
  u64 at = address;
  if (!cs_disasm_iter(handle_, &code, &bytes, &at, room_)) return {};
  SOracleText text{room_->mnemonic, {}};
  std::string_view rest = room_->op_str;
  while (!rest.empty()) {
    const std::size_t end = rest.find(", ");
    text.operands.emplace_back(rest.substr(0, end));
    rest.remove_prefix(end == rest.npos ? rest.size() : end + 2);
  }
  return text;
}

}  // namespace vx::test

#include "tests/native/Code.h"

#include <cstring>
#include <fstream>
#include <map>
#include <random>
#include <stdexcept>

#include "blocks/Formats.h"
#include "mips3/AddressMap.h"
#include "mips3/Context.h"
#include "mips3/OpTable.h"
#include "tests/mips3/Encode.h"

namespace vx::test {

namespace {

constexpr u32 kVariants = 6;  // of each row
constexpr u32 kPrograms = 60;
constexpr u32 kProgramSpace = 0x88100000;
constexpr u32 kProgramStride = 0x800;
constexpr u32 kBlockSpace = 0x80010000;
constexpr u32 kReturn = mips::SpecialOp(8, 31, 0, 0);

bool IsTranslated(EOp op) {
  switch (op) {
    case EOp::Tlbr:
    case EOp::Tlbwr:
    case EOp::Tlbp:
    case EOp::Cfc1:
      return false;
    default:
      return true;
  }
}

class CBlockMaker {
 public:
  explicit CBlockMaker(u32 seed) : random_(seed) {}

  // A word of the row, with random fields.
  u32 Encode(EOp op) {
    const SOpInfo& info = OpInfo(op);
    const u32 fields = random_();
    const u32 lowRegisters = fields & 0x03FFF800;
    switch (info.table) {
      case EOpTable::Main:
        return info.code << 26 | (fields & 0x03FFFFFF);
      case EOpTable::Special:
        // A link in register 0 is never translated.
        if (op == EOp::Jalr && Rd(fields) == 0) return Encode(op);
        return (fields & 0x03FFFFC0) | info.code;
      case EOpTable::RegImm:
        return kMainRegImm << 26 | (fields & 0x03E0FFFF) | info.code << 16;
      case EOpTable::Cop0:
        return kMainCop0 << 26 | info.code << 21 | (lowRegisters & 0x001FF800);
      case EOpTable::Cop0Function:
        return kMainCop0 << 26 | 1 << 25 | info.code;
      case EOpTable::Cop1:
        return kMainCop1 << 26 | info.code << 21 | (fields & 0x001FFFFF);
      case EOpTable::Cop1Function: {
        static constexpr u32 kFormats[] = {16, 17, 16, 17, 20, 21, 3, 7, 9, 30};
        const u32 format = kFormats[fields >> 26 & 63 ? (fields >> 26) % 10 : 0];
        return kMainCop1 << 26 | format << 21 | (fields & 0x001FFFC0) | info.code;
      }
    }
    return 0;
  }

  u32 Filler(bool bFloat) {
    for (;;) {
      const EOp op = static_cast<EOp>(kFirstRow + random_() % (kOpCount - kFirstRow));
      const u32 word = Encode(op);
      const bool bCop0 = MainCode(word) == kMainCop0;
      const bool bIsFloat = MainCode(word) == kMainCop1 || op == EOp::Lwc1 || op == EOp::Swc1;
      if (!IsTranslated(op) || HasDelaySlot(word) || EndsBlock(word) || bCop0) continue;
      if (bIsFloat && !bFloat) continue;
      return word;
    }
  }

  std::vector<u32> Around(EOp op, u32 variant) {
    const u32 word = Encode(op);
    const bool bFloat = MainCode(word) != kMainCop0;  // floating point beside Status is refused
    std::vector<u32> words;
    for (u32 i = random_() % 5; i > 0; --i) words.push_back(Filler(bFloat));
    if (HasDelaySlot(word)) {
      words.push_back(word);
      words.push_back(Filler(bFloat));
    } else if (variant % 3 == 0) {
      words.push_back(Encode(EOp::Bne));
      words.push_back(word);
    } else {
      words.push_back(word);
      if (EndsBlock(word)) {
        if (words.size() == 1) words.insert(words.begin(), Filler(false));
        return words;
      }
      for (u32 i = random_() % 4; i > 0; --i) words.push_back(Filler(bFloat));
      words.push_back(kReturn);
      words.push_back(Filler(bFloat));
    }
    return words;
  }

 private:
  std::mt19937 random_;
};

using RecordMap = std::map<u32, SCachedRecord>;

void AddWords(RecordMap& records, u32 index, const std::vector<u32>& words) {
  for (const u32 word : words) records[index++] = {word, kOpValid, 0};
}
void AddHead(RecordMap& records, u32 index) { records[index].flags |= kOpHead; }

}  // namespace

std::vector<std::vector<u32>> OpBlocks() {
  std::vector<std::vector<u32>> blocks;
  for (u32 row = kFirstRow; row < kOpCount; ++row) {
    const EOp op = static_cast<EOp>(row);
    if (!IsTranslated(op)) continue;
    for (u32 variant = 0; variant < kVariants; ++variant) {
      blocks.push_back(CBlockMaker(row * 1000 + variant).Around(op, variant));
    }
  }
  return blocks;
}

std::vector<std::vector<u32>> EdgeBlocks() {
  return {kTwoStores, kJumpToRegister, kBranchToItself, kLoadToZero,
          kJumpAlone, kLinkAndUse,     kLikelyEqual,    kLikelyMarked};
}

std::vector<SPlacedProgram> Programs() {
  static constexpr u32 kFeatures[] = {
      kUsesFloat,
      kUsesMemory,
      kUsesMemory | kUsesRom | kUsesRegisters | kUsesFloat,
      kUsesMemory | kUsesTraps,
      63,
      63,
  };
  std::vector<SPlacedProgram> programs;
  for (u32 i = 0; i < kPrograms; ++i) {
    std::mt19937 random(77 + i);
    const u32 address = kProgramSpace + i * kProgramStride;
    const u32 features = kFeatures[i % std::size(kFeatures)];
    programs.push_back({i, address, features, MakeRandomProgram(random, address, features)});
  }
  return programs;
}

void WriteCode(const std::string& path) {
  RecordMap records;
  u32 index = FlatIndex(kBlockSpace & 0x1FFFFFFF) / 4;
  for (const auto& blocks : {OpBlocks(), EdgeBlocks()}) {
    for (const std::vector<u32>& words : blocks) {
      AddWords(records, index, words);
      AddHead(records, index);
      // A word apart, which tells the delay op of a likely branch from what follows it.
      index += static_cast<u32>(words.size());
      AddWords(records, index, {0xFFFFFFFF});
      ++index;
    }
  }
  for (const SPlacedProgram& placed : Programs()) {
    const u32 first = FlatIndex(placed.address & 0x1FFFFFFF) / 4;
    const std::vector<u32>& words = placed.program.words;
    AddWords(records, first, words);
    AddHead(records, first);
    AddHead(records, FlatIndex(placed.program.jumpTarget & 0x1FFFFFFF) / 4);
    for (u32 i = 0; i + 2 < words.size(); ++i) {
      if (HasDelaySlot(words[i])) AddHead(records, first + i + 2);
      if (EndsBlock(words[i])) AddHead(records, first + i + 1);
    }
  }

  std::ofstream file(path, std::ios::binary);
  const auto put = [&file](const auto& value) {
    file.write(reinterpret_cast<const char*>(&value), sizeof(value));
  };
  put(SRecordCacheHeader{kRecordCacheMagic, kRecordCacheVersion, kRecordCount});
  for (const auto& [at, record] : records) {
    put(u16{1});
    put(at);
    put(record);
  }
  put(u16{0});
  file.close();
  if (!file) throw std::runtime_error(path + " cannot be written");
}

}  // namespace vx::test

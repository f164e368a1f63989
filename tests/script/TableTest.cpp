// The table as a whole: rows, forms, and what a call may touch.
#include <sys/mman.h>

#include <set>
#include <string>

#include "script/ScriptTable.h"
#include "tests/script/ScriptTest.h"

namespace vx::test {
namespace {

using CScriptTable = CScriptTest;

constexpr u32 kLength = 8;  // of bytes that another word counts

u32 BytesStored(const SScriptFunction& row, EScriptWord word) {
  switch (word) {
    case EScriptWord::U8To:
      return 1;
    case EScriptWord::U16To:
      return 2;
    case EScriptWord::U32To:
      return 4;
    case EScriptWord::U64To:
    case EScriptWord::F64To:
      return 8;
    case EScriptWord::BytesTo:
      return row.number == 73 ? 12 : kLength;
    default:
      return 0;
  }
}

// Words of a call that succeeds in every function: each offset leads to a place of its own, and
// every value is small. Blobs and blocks are kLength bytes long; one point is projected.
std::vector<u32> Words(const SScriptFunction& row) {
  std::vector<u32> words;
  for (u32 i = 0; i < kMostScriptWords && row.words[i] != EScriptWord::None; ++i) {
    const EScriptWord word = row.words[i];
    if (word == EScriptWord::Value) {
      words.push_back(row.number == 73 ? 1 : row.number >= 13 && row.number <= 72 ? 1 : 2);
    } else if (word == EScriptWord::U64Here) {
      words.insert(words.end(), {1, 0});
    } else {
      words.push_back((BytesStored(row, word) != 0 ? kOut : kIn) + 0x40 * i);
    }
  }
  if (row.number == 13 || row.number == 18) words[2] = kLength;
  if (row.number == 71 || row.number == 72) words[1] = kLength;
  return words;
}

// The bytes of script memory that a call stores to, found out by calling it over two backgrounds.
std::set<u32> StoredBytes(CVXMachine* m, const SScriptFunction& row, bool& bReadsBlock) {
  std::set<u32> stored;
  std::vector<u8> after[2];
  for (const u8 background : {u8{0xA5}, u8{0x5A}}) {
    std::vector<u8>& memory = after[background == 0xA5 ? 0 : 1];
    memory.assign(kMemoryBytes, background);
    std::memset(memory.data() + kIn, 0, 0x200);
    const std::vector<u32> words = Words(row);
    if (row.form == EScriptForm::Block) {
      std::memcpy(memory.data() + kBlock, words.data(), words.size() * sizeof(u32));
      bReadsBlock = true;
    }
    const u64 argument = row.form == EScriptForm::Scalar ? 0 : kBlock;
    CallScriptFunction(m, reinterpret_cast<u64>(memory.data()), row.number, argument);
  }
  for (u32 i = 0; i < kMemoryBytes; ++i) {
    const bool bInput = i >= kIn && i < kIn + 0x200;
    const bool bBlock = i >= kBlock && i < kBlock + 0x40;
    if (bInput || (bBlock && row.form == EScriptForm::Block)) continue;
    if (after[0][i] == after[1][i]) stored.insert(i);
  }
  return stored;
}

TEST_F(CScriptTable, EachNameStandsOnceAndBeginsInTheSameWay) {
  std::set<std::string> names;
  u32 holes = 0;
  for (const SScriptFunction& row : ScriptFunctions()) {
    const std::string name = row.name;
    EXPECT_EQ(row.action == nullptr, row.form == EScriptForm::Reserved) << row.number;
    if (row.form == EScriptForm::Reserved) {
      ++holes;
      EXPECT_EQ(name, "");
      continue;
    }
    EXPECT_EQ(name.substr(0, 4), "Emu_");
    EXPECT_TRUE(names.insert(name).second) << name;
  }
  EXPECT_EQ(holes, 3u);
  EXPECT_EQ(names.size(), 73u);
}

TEST_F(CScriptTable, EveryFunctionStoresExactlyWhatItsRowSays) {
  Boot();
  memory.assign(kMemoryBytes, 0);
  Put(kIn + 0x80, u64{0});  // a blob for the row that loads one
  Call(72, {kData, kLength, kIn + 0x80});
  for (const SScriptFunction& row : ScriptFunctions()) {
    std::set<u32> expected;
    for (u32 i = 0; i < kMostScriptWords; ++i) {
      const u32 bytes = BytesStored(row, row.words[i]);
      const u32 at = row.form == EScriptForm::ResultInPlace ? kBlock : kOut + 0x40 * i;
      for (u32 k = 0; k < bytes; ++k) expected.insert(at + k);
    }
    bool bReadsBlock = false;
    EXPECT_EQ(StoredBytes(m.get(), row, bReadsBlock), expected) << row.number << " " << row.name;
  }
}

TEST_F(CScriptTable, NoFunctionReadsMoreOfItsBlockThanItsWords) {
  Boot();
  constexpr size_t kPage = 4096;
  auto* const pages = static_cast<u8*>(
      mmap(nullptr, 2 * kPage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
  ASSERT_NE(pages, MAP_FAILED);
  ASSERT_EQ(mprotect(pages + kPage, kPage, PROT_NONE), 0);
  for (const SScriptFunction& row : ScriptFunctions()) {
    if (row.form != EScriptForm::Block) continue;
    const std::vector<u32> words = Words(row);
    const u32 at = static_cast<u32>(kPage - words.size() * sizeof(u32));
    std::memcpy(pages + at, words.data(), words.size() * sizeof(u32));
    CallScriptFunction(m.get(), reinterpret_cast<u64>(pages), row.number, at);
  }
  munmap(pages, 2 * kPage);
}

TEST_F(CScriptTable, ANumberOutOfTheTableDoesNothing) {
  Boot();
  const std::vector<u8> before(memory);
  for (const u64 number : {u64{76}, u64{77}, u64{255}, u64{1} << 32, ~u64{0}}) {
    CallScriptFunction(m.get(), Base(), number, kBlock);
  }
  EXPECT_EQ(memory, before);
}

TEST_F(CScriptTable, AReservedNumberDoesNothing) {
  Boot();
  for (const u32 number : {57u, 58u, 69u}) {
    memory.assign(kMemoryBytes, 0xA5);
    CallScriptFunction(m.get(), Base(), number, kBlock);
    EXPECT_EQ(memory, std::vector<u8>(kMemoryBytes, 0xA5));
  }
}

TEST_F(CScriptTable, WithoutAMachineOnlyRegistrationsDoAnything) {
  for (u32 number = 0; number < kScriptFunctionCount; ++number) {
    memory.assign(kMemoryBytes, 0x11);
    CallScriptFunction(nullptr, Base(), number, kBlock);
    EXPECT_EQ(memory, std::vector<u8>(kMemoryBytes, 0x11)) << number;
    EXPECT_EQ(ScriptFunctions()[number].bWithoutMachine, number >= 2 && number <= 4) << number;
  }
  Boot();
  Steps(1);
  EXPECT_EQ(Hooks().calls.size(), 2u);  // of both resets; no picture is wanted here
}

TEST_F(CScriptTable, WithoutScriptMemoryOnlyPlainValuesGetThrough) {
  Boot();
  for (u32 number = 0; number < kScriptFunctionCount; ++number) {
    CallScriptFunction(m.get(), 0, number, 0);
  }
  CallScriptFunction(m.get(), 0, 21, 0x80001234);
  EXPECT_EQ(m->cpu.pc, 0x80001234u);
}

TEST_F(CScriptTable, EveryFunctionWorksBeforeAPackIsLoaded) {
  for (const SScriptFunction& row : ScriptFunctions()) {
    bool bReadsBlock = false;
    StoredBytes(m.get(), row, bReadsBlock);
  }
  Steps(2);
  EXPECT_EQ(m->state.frameNumber, 2u);
}

TEST_F(CScriptTable, AnOffsetThatLeavesFourGigabytesIsNotFollowed) {
  Boot();
  for (const SScriptFunction& row : ScriptFunctions()) {
    if (row.form == EScriptForm::Scalar) continue;
    for (const u64 argument : {u64{1} << 32, ~u64{0}, ~u64{0} - 3}) {
      CallScriptFunction(m.get(), Base(), row.number, argument);
    }
  }
}

}  // namespace
}  // namespace vx::test

// The host's table of script functions against the component's own, row by row.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "host/lua/FunctionTable.h"
#include "script/ScriptTable.h"

namespace vx::test {
namespace {

// Both sides list the same kinds in the same order.
static_assert(static_cast<u32>(EScriptForm::Block) == static_cast<u32>(EFunctionForm::Block));
static_assert(static_cast<u32>(EScriptForm::Scalar) == static_cast<u32>(EFunctionForm::Scalar));
static_assert(static_cast<u32>(EScriptWord::U64Here) == static_cast<u32>(EFunctionWord::U64Here));
static_assert(static_cast<u32>(EScriptWord::VectorFrom) ==
              static_cast<u32>(EFunctionWord::VectorFrom));
static_assert(static_cast<u32>(EScriptWord::TextFrom) == static_cast<u32>(EFunctionWord::TextFrom));
static_assert(static_cast<u32>(EScriptWord::U8To) == static_cast<u32>(EFunctionWord::U8To));
static_assert(static_cast<u32>(EScriptWord::F64To) == static_cast<u32>(EFunctionWord::F64To));
static_assert(static_cast<u32>(EScriptWord::BytesTo) == static_cast<u32>(EFunctionWord::BytesTo));
static_assert(kScriptFunctionCount == kFunctionCount && kMostScriptWords == kFunctionWords);

class FunctionTable : public testing::TestWithParam<u32> {
 protected:
  const SFunction& Host() const { return ComponentFunctions()[GetParam()]; }
  const SScriptFunction& Component() const { return ScriptFunctions()[GetParam()]; }
};

TEST_P(FunctionTable, TheHostsRowIsTheComponents) {
  EXPECT_EQ(Host().number, GetParam());
  EXPECT_STREQ(Host().name, Component().name);
  EXPECT_EQ(static_cast<u32>(Host().form), static_cast<u32>(Component().form));
  for (u32 i = 0; i < kFunctionWords; ++i) {
    if (Host().form == EFunctionForm::Scalar) {
      EXPECT_EQ(Host().words[i].word, i == 0 ? EFunctionWord::Value : EFunctionWord::None);
    } else {
      EXPECT_EQ(static_cast<u32>(Host().words[i].word), static_cast<u32>(Component().words[i]))
          << i;
    }
  }
}

TEST_P(FunctionTable, ARowTellsWhatItsFunctionDoesAndNamesItsWords) {
  const bool bReserved = Host().form == EFunctionForm::Reserved;
  const std::string sentence = Host().sentence;
  EXPECT_EQ(sentence.empty(), bReserved);
  EXPECT_TRUE(bReserved || sentence.back() == '.');
  std::set<std::string> names;
  for (const SFunctionWord& word : Host().words) {
    const bool bNamed =
        IsArgument(word) || (IsOutput(word.word) && word.value != EScriptValue::Success);
    EXPECT_EQ(*word.name != 0, bNamed);
    EXPECT_TRUE(!bNamed || names.insert(word.name).second) << word.name;
  }
}

INSTANTIATE_TEST_SUITE_P(EachNumber, FunctionTable, testing::Range(0u, kFunctionCount));

TEST(FunctionSignature, NamesArgumentsAndResult) {
  EXPECT_EQ(Signature(ComponentFunctions()[11]), "Emu_Read32(offset) -> value");
  EXPECT_EQ(Signature(ComponentFunctions()[41]), "Emu_GetDspReg(register [, bank]) -> value");
  EXPECT_EQ(Signature(ComponentFunctions()[38]), "Emu_BreakSlice()");
  EXPECT_EQ(Signature(ComponentFunctions()[71]), "Emu_LoadBlob(size, key) -> bytes");
}

}  // namespace
}  // namespace vx::test

// The component before it is started, after it is shut down, and started again.
#include <gtest/gtest.h>

#include <cstring>

#include "tests/support/LoadedComponent.h"
#include "tests/support/TestHost.h"

namespace vx::test {
namespace {

struct LifeTest : testing::Test {
  CTestHost host;
  CLoadedComponent component{&host.Api()};
  const SMachineTable& table = *component.table;

  // What must hold whenever the component is not started.
  void ExpectNothingHeld() const {
    EXPECT_STREQ(table.GetExtensions1(), L"");
    EXPECT_STREQ(table.GetExtensions2(), L"");
    EXPECT_STREQ(table.GetExtensions3(), L"");
    EXPECT_STREQ(table.GetAllExtensions(), L"");
    EXPECT_FALSE(table.MatchExtension3(L".qilhard"));
    ASSERT_NE(table.GetSettings(), nullptr);
    EXPECT_EQ(table.GetSettings()->begin, table.GetSettings()->end);
    u32 length = 1;
    EXPECT_EQ(table.GetSettingsLayout(&length), nullptr);
    EXPECT_EQ(length, 0u);
    u32 size = 1;
    EXPECT_EQ(table.GetScriptImage(&size), nullptr);
    EXPECT_EQ(size, 0u);
    EXPECT_EQ(table.GetFrameRate(), 60.0);
  }
};

TEST_F(LifeTest, BeforeStartupNothingIsHeld) {
  ExpectNothingHeld();
  EXPECT_EQ(table.GetMachineHash(), 0u);
}

TEST_F(LifeTest, BeforeStartupResettingSettingsIsHarmless) {
  table.ResetSettings();
  ExpectNothingHeld();
}

TEST_F(LifeTest, AfterShutdownNothingIsHeldButTheHash) {
  table.Startup();
  table.Shutdown();
  ExpectNothingHeld();
  EXPECT_EQ(table.GetMachineHash(), 0x92a5707b5bdbdf9u);
}

TEST_F(LifeTest, ShutdownTwiceIsHarmless) {
  table.Startup();
  table.Shutdown();
  table.Shutdown();
  ExpectNothingHeld();
}

TEST_F(LifeTest, StartupAfterShutdownBeginsAnew) {
  table.Startup();
  const u32 changed = 0;
  std::memcpy(table.GetSettings()->begin[0].current, &changed, 4);
  table.Shutdown();
  EXPECT_TRUE(table.Startup());
  EXPECT_STREQ(table.GetAllExtensions(), L".qilhard");
  u32 value = 0;
  std::memcpy(&value, table.GetSettings()->begin[0].current, 4);
  EXPECT_EQ(value, 3u);
  table.Shutdown();
}

TEST_F(LifeTest, PointersToSettingValuesOutliveAStartup) {
  table.Startup();
  void* const place = table.GetSettings()->begin[0].current;
  table.Startup();
  EXPECT_EQ(table.GetSettings()->begin[0].current, place);
  table.Shutdown();
}

TEST_F(LifeTest, AMachineMadeBeforeStartupRunsWithTheDefaults) {
  CQuillonMachineBase* const machine = table.CreateMachine();
  ASSERT_NE(machine, nullptr);
  machine->ApplySettings();
  machine->RunFrame();
  EXPECT_EQ(machine->GetFrameCount(), 1u);
  table.DestroyMachine(machine);
}

TEST_F(LifeTest, SeveralMachinesLiveBesideEachOther) {
  table.Startup();
  CQuillonMachineBase* const first = table.CreateMachine();
  CQuillonMachineBase* const second = table.CreateMachine();
  first->RunFrame();
  first->RunFrame();
  second->RunFrame();
  EXPECT_EQ(first->GetFrameCount(), 2u);
  EXPECT_EQ(second->GetFrameCount(), 1u);
  EXPECT_NE(first->GetMemoryImage(), second->GetMemoryImage());
  table.DestroyMachine(first);
  second->RunFrame();
  EXPECT_EQ(second->GetFrameCount(), 2u);
  table.DestroyMachine(second);
  table.Shutdown();
}

// --- A host that offers little -------------------------------------------------------------------

TEST(EmptyHost, AComponentWithAHostOfNullSlotsLivesThroughAFrame) {
  CTestHost host;
  host.Api() = SHostApi{};
  const CLoadedComponent component(&host.Api());
  const SMachineTable& table = *component.table;
  EXPECT_TRUE(table.Startup());
  EXPECT_EQ(table.GetFrameRate(), 60.0);
  CQuillonMachineBase* const machine = table.CreateMachine();
  machine->RunFrame();
  EXPECT_EQ(machine->GetFrameCount(), 1u);
  EXPECT_EQ(machine->HashState(), 0u);
  table.DestroyMachine(machine);
  table.Shutdown();
}

TEST(EmptyHost, ANullHostTableIsTakenAsOneOfNullSlots) {
  const CLoadedComponent component(nullptr);
  EXPECT_TRUE(component.bInitialised);
  EXPECT_TRUE(component.table->Startup());
  CQuillonMachineBase* const machine = component.table->CreateMachine();
  machine->RunFrame();
  EXPECT_EQ(machine->GetFrameCount(), 1u);
  component.table->DestroyMachine(machine);
  component.table->Shutdown();
}

}  // namespace
}  // namespace vx::test

#include "tests/support/BoundaryTest.h"

#include <cstring>

namespace vx::test {

namespace {

SCallbackRecord g_record;

}  // namespace

SCallbackRecord& RecordCallbacks(CQuillonMachineBase* machine) {
  g_record = {};
  g_record.order.reserve(4096);
  machine->onVideoFrame = [](CQuillonMachineBase* caller, const u32* pixels, u32 width, u32 height,
                             u64 a, u64 b, u64 c, u64 d) {
    ++g_record.videoCalls;
    g_record.order.push_back('v');
    g_record.lastVideo = {caller, pixels, width, height, {a, b, c, d}};
  };
  machine->onAudioBlock = [](CQuillonMachineBase*, const i16*, u32) {
    ++g_record.audioCalls;
    g_record.order.push_back('a');
  };
  machine->onVideoFilter = [](CQuillonMachineBase*) {
    ++g_record.filterCalls;
    g_record.order.push_back('f');
    return g_record.filterAnswer;
  };
  machine->onDualFrame = [](CQuillonMachineBase*, const u32*, const u32*, u32, u32) {
    ++g_record.dualCalls;
  };
  return g_record;
}

CBoundaryTest::CBoundaryTest()
    : component(&host.Api()),
      table(*component.table),
      machine((table.Startup(), table.CreateMachine())),
      calls(RecordCallbacks(machine)) {}

CBoundaryTest::~CBoundaryTest() {
  table.DestroyMachine(machine);
  table.Shutdown();
}

void CBoundaryTest::Boot(const SPackContent& content) {
  const CPackFile file{CTestPack(content)};
  ASSERT_TRUE(machine->LoadPack(file.Path()));
  machine->Reset();
  machine->ApplySettings();
}

void CBoundaryTest::RunFrames(u32 count) {
  for (u32 i = 0; i < count; ++i) machine->RunFrame();
}

u64 CBoundaryTest::Result(u32 cell) const {
  u64 value = 0;
  std::memcpy(&value, Memory() + kGuestResults + 8 * cell, sizeof(value));
  return value;
}

void CBoundaryTest::SetSetting(const std::string& key, u32 value) {
  const SSettingList* const list = table.GetSettings();
  for (SSettingRecord* record = list->begin; record != list->end; ++record) {
    if (record->key == key) {
      std::memcpy(record->current, &value, record->valueBytes);
      return;
    }
  }
  FAIL() << "no setting " << key;
}

}  // namespace vx::test

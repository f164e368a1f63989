#include "tests/machine/BoardTest.h"

#include <cstring>

#include "devices/Input.h"
#include "machine/HostAccess.h"
#include "machine/Settings.h"

namespace vx::test {

CBoardTest::CBoardTest() {
  SetHost(&host.Api());
  BuildSettings();
  FillPadMaskTable();
  m.reset(new CVXMachine);
}

CBoardTest::~CBoardTest() {
  m.reset();
  ClearSettings();
  SetHost(nullptr);
}

void CBoardTest::Boot(const SPackContent& content) {
  const CPackFile file{CTestPack(content)};
  ASSERT_TRUE(m->LoadPack(file.Path()));
  m->Reset();
}

void CBoardTest::Steps(u32 count) {
  for (u32 i = 0; i < count; ++i) m->FrameStep();
}

u64 CBoardTest::Result(u32 cell) const {
  u64 value = 0;
  std::memcpy(&value, m->flatMem + kGuestResults + 8 * cell, sizeof(value));
  return value;
}

}  // namespace vx::test

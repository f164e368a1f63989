// A fixture for white-box tests: one machine with its host, built into the test itself.
#pragma once

#include <gtest/gtest.h>

#include <memory>

#include "machine/VXMachine.h"
#include "tests/support/GuestCode.h"
#include "tests/support/TestHost.h"
#include "tests/support/TestPack.h"

namespace vx::test {

struct SBoardDeleter {
  void operator()(CVXMachine* machine) const { machine->Destruct(1); }
};
using BoardPtr = std::unique_ptr<CVXMachine, SBoardDeleter>;

class CBoardTest : public testing::Test {
 protected:
  CBoardTest();
  ~CBoardTest() override;

  // Loads a pack and resets; settings are not applied.
  void Boot(const SPackContent& content = PackOfCode(CGuestCode().Rest().Words()));
  void Steps(u32 count);
  u64 Result(u32 cell) const;

  CTestHost host;
  BoardPtr m;
};

}  // namespace vx::test

// The manual in the repository is what the tables say.
#include "host/lua/Manual.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace vx::test {
namespace {

TEST(ScriptManual, InTheRepositoryIsCurrent) {
  std::ifstream file(VX_SOURCE_ROOT "/host/lua/MANUAL.md");
  std::ostringstream text;
  text << file.rdbuf();
  EXPECT_EQ(text.str(), ScriptManual())
      << "write it anew: vxrun --script-manual > host/lua/MANUAL.md";
}

}  // namespace
}  // namespace vx::test

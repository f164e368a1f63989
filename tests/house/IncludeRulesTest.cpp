#include "tests/house/IncludeRules.h"

#include <gtest/gtest.h>

#include <fstream>

#include "tests/tools/TestFolder.h"

namespace vx::test {
namespace {

std::string Listing(const std::vector<SIncludeFault>& faults) {
  std::string text;
  for (const SIncludeFault& fault : faults) {
    text += fault.file + ":" + std::to_string(fault.line) + ": " + fault.what + "\n";
  }
  return text;
}

TEST(Includes, OfTheWholeRepositoryFollowTheFolderTable) {
  EXPECT_EQ(Listing(FindIncludeFaults(VX_SOURCE_ROOT, HouseIncludeRules())), "");
}

// A repository of one file.
class CTree {
 public:
  CTree(const std::string& file, const std::string& text) {
    const auto path = m_folder / file;
    std::filesystem::create_directories(path.parent_path());
    m_folder.Write(file, text);
  }

  std::string Faults() const {
    return Listing(FindIncludeFaults(m_folder.Path(), HouseIncludeRules()));
  }

 private:
  CTestFolder m_folder;
};

TEST(Includes, WithoutAnArrowInTheTableAreNamedWithFileAndLine) {
  const CTree tree("host/deep/Bad.cpp",
                   "#include <vector>\n"
                   "#include \"plugin/Quillon.h\"\n"
                   "#include \"host/Good.h\"\n"
                   "  #  include \"machine/VXMachine.h\"  // why\n"
                   "#include <base/Types.h>\n");
  EXPECT_EQ(tree.Faults(),
            "host/deep/Bad.cpp:4: host/ may not include machine/VXMachine.h\n"
            "host/deep/Bad.cpp:5: host/ may not include base/Types.h\n");
}

struct SArrow {
  const char* name;
  const char* from;
  const char* to;
  bool bAllowed;
};

void PrintTo(const SArrow& arrow, std::ostream* output) { *output << arrow.name; }

class Arrow : public testing::TestWithParam<SArrow> {};

TEST_P(Arrow, IsJudgedByTheTable) {
  const SArrow& arrow = GetParam();
  const CTree tree(arrow.from, std::string("#include \"") + arrow.to + "\"\n");
  EXPECT_EQ(tree.Faults().empty(), arrow.bAllowed) << tree.Faults();
}

// clang-format off
const SArrow kArrows[] = {
    // name                       from                       to                       allowed
    {"BaseToBase",                "base/A.h",                "base/Types.h",          true},
    {"BaseToMachine",             "base/A.h",                "machine/VXMachine.h",   false},
    {"PublicHeaderToStateStream", "plugin/Quillon.h",        "base/StateStream.h",    true},
    {"PublicHeaderToFiles",       "plugin/Quillon.h",        "base/File.h",           false},
    {"PublicHeaderToMachine",     "plugin/Quillon.h",        "machine/VXMachine.h",   false},
    {"HeldImagesToMachine",       "plugin/HeldImages.h",     "machine/VXMachine.h",   false},
    {"ExportsToMachine",          "plugin/Exports.cpp",      "machine/VXMachine.h",   true},
    {"ExportsToHost",             "plugin/Exports.cpp",      "host/Session.h",        false},
    {"MachineToSound",            "machine/A.cpp",           "sound/SoundBoard.h",    true},
    {"MachineToHost",             "machine/A.cpp",           "host/Session.h",        false},
    {"ProcessorToMachineHeader",  "mips3/A.cpp",             "machine/VXMachine.h",   true},
    {"ProcessorToSound",          "mips3/A.cpp",             "sound/ADSP.h",          false},
    {"ProcessorToDevices",        "mips3/A.cpp",             "devices/IoTables.h",    false},
    {"BlocksToProcessor",         "blocks/A.cpp",            "mips3/Context.h",       true},
    {"BlocksToDevices",           "blocks/A.cpp",            "devices/IoTables.h",    false},
    {"GeneratorToOpTable",        "blockgen/A.cpp",          "mips3/OpTable.h",       true},
    {"GeneratorToProcessor",      "blockgen/A.cpp",          "mips3/Processor.h",     false},
    {"SoundToEventQueue",         "sound/A.cpp",             "machine/EventQueue.h",  true},
    {"SoundToMachine",            "sound/A.cpp",             "machine/VXMachine.h",   false},
    {"DevicesToMachine",          "devices/A.cpp",           "machine/VXMachine.h",   true},
    {"DevicesToProcessor",        "devices/A.cpp",           "mips3/Context.h",       false},
    {"ScriptToSound",             "script/A.cpp",            "sound/SoundBoard.h",    true},
    {"ScriptToHost",              "script/A.cpp",            "host/Session.h",        false},
    {"HostToPublicHeader",        "host/A.cpp",              "plugin/Quillon.h",      true},
    {"HostToHeldImages",          "host/A.cpp",              "plugin/HeldImages.h",   false},
    {"HostToTools",               "host/A.cpp",              "tools/packfile/Zlib.h", false},
    {"ToolsToOpTable",            "tools/a/A.cpp",           "mips3/OpTable.h",       true},
    {"ToolsToMachine",            "tools/a/A.cpp",           "machine/VXMachine.h",   false},
    {"ToolsToHeldImages",         "tools/a/A.cpp",           "plugin/HeldImages.h",   false},
    {"EmbedToHeldImages",         "tools/embed/A.cpp",       "plugin/HeldImages.h",   true},
    {"GuestToNeighbour",          "guest/boot/a.c",          "board.h",               true},
    {"GuestToBase",               "guest/boot/a.c",          "base/Types.h",          false},
    {"GuestAssemblyToMips3",      "guest/boot/a.S",          "mips3/Context.h",       false},
    {"TestsToEverything",         "tests/a/A.cpp",           "machine/VXMachine.h",   true},
    {"BareName",                  "host/A.cpp",              "Session.h",             false},
    {"UpwardName",                "host/A.cpp",              "../plugin/Quillon.h",   false},
    {"FolderWithoutRow",          "extra/A.cpp",             "base/Types.h",          false},
    {"FileInTheRoot",             "A.cpp",                   "base/Types.h",          false},
    {"BuildFolder",               "build/A.cpp",             "nowhere/B.h",           true},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Table, Arrow, testing::ValuesIn(kArrows),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace vx::test

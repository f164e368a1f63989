// The component's file as the dynamic linker sees it: an ELF file for a 64-bit little-endian
// system.
#include <elf.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "base/Types.h"
#include "tests/tools/TestFolder.h"

namespace vx::test {
namespace {

class CElfFile {
 public:
  explicit CElfFile(const char* path) : bytes_(ReadWhole(path)) {}

  // Names of the dynamic symbols that the file defines.
  std::set<std::string> DefinedNames() const {
    std::set<std::string> names;
    for (const Elf64_Shdr& section : Sections()) {
      if (section.sh_type != SHT_DYNSYM) continue;
      for (u64 at = 0; at < section.sh_size; at += sizeof(Elf64_Sym)) {
        const auto symbol = At<Elf64_Sym>(section.sh_offset + at);
        if (symbol.st_shndx == SHN_UNDEF || symbol.st_name == 0) continue;
        names.insert(Text(section.sh_link, symbol.st_name));
      }
    }
    return names;
  }

  std::set<std::string> NeededLibraries() const {
    std::set<std::string> names;
    for (const Elf64_Shdr& section : Sections()) {
      if (section.sh_type != SHT_DYNAMIC) continue;
      for (u64 at = 0; at < section.sh_size; at += sizeof(Elf64_Dyn)) {
        const auto entry = At<Elf64_Dyn>(section.sh_offset + at);
        if (entry.d_tag == DT_NEEDED) names.insert(Text(section.sh_link, entry.d_un.d_val));
      }
    }
    return names;
  }

 private:
  template <typename T>
  T At(u64 offset) const {
    T value;
    std::memcpy(&value, &bytes_.at(offset + sizeof(T) - 1) - (sizeof(T) - 1), sizeof(T));
    return value;
  }
  std::vector<Elf64_Shdr> Sections() const {
    const auto header = At<Elf64_Ehdr>(0);
    std::vector<Elf64_Shdr> sections;
    for (u32 i = 0; i < header.e_shnum; ++i) {
      sections.push_back(At<Elf64_Shdr>(header.e_shoff + u64{i} * sizeof(Elf64_Shdr)));
    }
    return sections;
  }
  std::string Text(u32 section, u64 offset) const {
    const u64 start = Sections().at(section).sh_offset + offset;
    return reinterpret_cast<const char*>(&bytes_.at(start));
  }

  std::vector<u8> bytes_;
};

TEST(ComponentFile, ExportsExactlyTwoNames) {
  EXPECT_EQ(CElfFile(VX_COMPONENT).DefinedNames(),
            (std::set<std::string>{"QuillonPlugin_GetAPIVersion", "QuillonPlugin_Init"}));
}

TEST(ComponentFile, LinksNothingBeyondTheRuntimes) {
  const std::set<std::string> needed = CElfFile(VX_COMPONENT).NeededLibraries();
  EXPECT_TRUE(needed.contains("libc.so.6"));
  for (const std::string& name : needed) {
    bool bRuntime = false;
    // The C and C++ runtimes, and those of the sanitizers where a build uses them.
    for (const char* prefix : {"libc.so", "libm.so", "libstdc++.so", "libgcc_s.so", "ld-linux",
                               "libpthread.so", "libasan.so", "libubsan.so", "libtsan.so"}) {
      bRuntime = bRuntime || name.starts_with(prefix);
    }
    EXPECT_TRUE(bRuntime) << name;
  }
}

}  // namespace
}  // namespace vx::test

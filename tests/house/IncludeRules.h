// Which folder may include what. The arrows between the folders are the architecture: the host, for
// example, knows the component by its public header alone.
#pragma once

#include <filesystem>
#include <span>
#include <string>
#include <vector>

namespace vx::test {

// One row of the table. Names that end in "/" stand for everything below a folder, others for all
// files whose path begins so. A file obeys the row with the longest name that fits it.
struct SIncludeRule {
  std::string files;
  std::vector<std::string> mayInclude;
  bool bMayIncludeAnything = false;
  // Whether names without a folder of ours are looked up beside the including file.
  bool bLocalNames = false;
};

std::span<const SIncludeRule> HouseIncludeRules();

struct SIncludeFault {
  std::string file;  // from the root
  int line = 0;
  std::string what;
};

// Walks every C, C++ and assembly file below the root, except hidden folders, build folders and
// out/, and gives each include that the rules do not allow.
std::vector<SIncludeFault> FindIncludeFaults(const std::filesystem::path& root,
                                             std::span<const SIncludeRule> rules);

}  // namespace vx::test

// A folder of its own for a test, gone with the test, and whole files in and out of it.
#pragma once

#include <filesystem>
#include <span>
#include <string>
#include <vector>

#include "base/Types.h"

namespace vx::test {

class CTestFolder {
 public:
  CTestFolder();
  ~CTestFolder();
  CTestFolder(const CTestFolder&) = delete;
  CTestFolder& operator=(const CTestFolder&) = delete;

  const std::filesystem::path& Path() const { return m_path; }
  std::filesystem::path operator/(const std::string& name) const { return m_path / name; }
  std::filesystem::path Write(const std::string& name, std::span<const u8> bytes) const;
  std::filesystem::path Write(const std::string& name, const std::string& text) const;
  // The names of everything in the folder, sorted.
  std::vector<std::string> Names() const;

 private:
  std::filesystem::path m_path;
};

std::vector<u8> ReadWhole(const std::filesystem::path& path);

// Bytes without any pattern, the same for the same seed.
std::vector<u8> RandomBytes(std::size_t count, u32 seed);
// Bytes that pack well.
std::vector<u8> PlainBytes(std::size_t count, u8 seed);

}  // namespace vx::test

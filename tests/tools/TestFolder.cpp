#include "tests/tools/TestFolder.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>

namespace vx::test {

CTestFolder::CTestFolder() {
  std::string name = (std::filesystem::temp_directory_path() / "vxtest.XXXXXX").string();
  if (!mkdtemp(name.data())) throw std::runtime_error("no folder for the test");
  m_path = name;
}

CTestFolder::~CTestFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(m_path, ignored);
}

std::filesystem::path CTestFolder::Write(const std::string& name, std::span<const u8> bytes) const {
  std::ofstream file(m_path / name, std::ios::binary);
  file.write(reinterpret_cast<const char*>(bytes.data()),
             static_cast<std::streamsize>(bytes.size()));
  file.close();
  if (!file) throw std::runtime_error(name + " could not be written for the test");
  return m_path / name;
}

std::filesystem::path CTestFolder::Write(const std::string& name, const std::string& text) const {
  return Write(name, std::span(reinterpret_cast<const u8*>(text.data()), text.size()));
}

std::vector<std::string> CTestFolder::Names() const {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(m_path)) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::vector<u8> ReadWhole(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error(path.string() + " could not be read for the test");
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::vector<u8> RandomBytes(std::size_t count, u32 seed) {
  std::mt19937 random(seed);
  std::vector<u8> bytes(count);
  for (u8& byte : bytes) byte = static_cast<u8>(random() >> 24);
  return bytes;
}

std::vector<u8> PlainBytes(std::size_t count, u8 seed) {
  std::vector<u8> bytes(count);
  for (std::size_t i = 0; i < count; ++i) bytes[i] = static_cast<u8>(seed + i / 64);
  return bytes;
}

}  // namespace vx::test

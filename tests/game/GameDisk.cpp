#include "tests/game/GameDisk.h"

#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "guest/disk_format.h"

namespace vx::test {

std::vector<u8> ReadGameDisk() {
  std::ifstream file(VX_GUEST_FOLDER "disk.img", std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

u64 FilePlace(const std::vector<u8>& disk, const std::string& name) {
  for (u32 i = 0; i < kDirectoryFiles; ++i) {
    SDiskFile file;
    const u64 at = u64{kDirectorySector} * kSectorBytes + i * sizeof(file);
    std::memcpy(&file, disk.data() + at, sizeof(file));
    if (name == file.name) return u64{file.firstSector} * kSectorBytes;
  }
  throw std::runtime_error("no file " + name + " on the cabinet's disk");
}

CDiskPack::CDiskPack(const std::vector<u8>& disk) {
  static u32 number = 0;
  folder_ = std::filesystem::temp_directory_path() /
            ("game_disk_" + std::to_string(getpid()) + "_" + std::to_string(number++));
  std::filesystem::create_directories(folder_);
  std::ofstream(folder_ / "disk.img", std::ios::binary)
      .write(reinterpret_cast<const char*>(disk.data()), static_cast<std::streamsize>(disk.size()));
  std::filesystem::copy_file(VX_GUEST_FOLDER "a/boot.rom", folder_ / "boot.rom");
  std::string sounds;
  for (u32 i = 1; i <= 8; ++i) {
    const std::string name = "sound" + std::to_string(i);
    sounds += name + " = " VX_GUEST_FOLDER "sound/" + name + ".rom\n";
  }
  std::ofstream(folder_ / "manifest.txt") << "identity = A\nboot = boot.rom\ndisk = disk.img\n"
                                             "chunk = 65536\ncylinders = 64\nheads = 4\n"
                                             "sectors_per_track = 16\n"
                                          << sounds;
  const std::string command = std::string(VX_PACK_TOOL) + " build " +
                              (folder_ / "manifest.txt").string() + " -o " + Path() + " >/dev/null";
  if (std::system(command.c_str()) != 0) throw std::runtime_error("the pack cannot be built");
}

CDiskPack::~CDiskPack() {
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

}  // namespace vx::test

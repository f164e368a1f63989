#include "tools/vxdis/Image.h"

#include <cstdio>

#include "tools/packfile/ByteSource.h"
#include "tools/packfile/PackReader.h"
#include "tools/packfile/ToolError.h"

namespace vx {
namespace {

constexpr u64 kAddressSpaceBytes = u64{1} << 32;
constexpr u32 kOpAlignment = 4;

[[noreturn]] void RefuseInput(const std::string& sentence) {
  throw CToolError(EExitCode::BadInput, sentence);
}

std::string Hex(u64 address) {
  char text[24];
  std::snprintf(text, sizeof text, "%08llX", static_cast<unsigned long long>(address));
  return text;
}

bool BeginsLikeAPack(const CByteSource& source) {
  u64 magic = 0;
  if (!source.Holds(0, sizeof magic)) return false;
  source.Read(0, {reinterpret_cast<u8*>(&magic), sizeof magic});
  return magic == kPackMagic;
}

SImage ReadEntry(const CByteSource& source, u32 entry) {
  if (entry == kPackDiskEntry) {
    RefuseInput("entry 9 of " + source.Name() +
                " is the disk, which is no program; 'vxpack extract' writes it as a file.");
  }
  if (entry > kPackDiskEntry) {
    RefuseInput(source.Name() + " has no entry " + std::to_string(entry) +
                "; the ROMs of a pack are entries 0 to 8.");
  }
  const CPackReader reader(source);
  return {RomName(entry) + " of " + source.Name(), entry == 0 ? kBootRomAddress : 0,
          reader.ReadRom(entry)};
}

SImage ReadPlain(const CByteSource& source, u32 base) {
  // Before the bytes are read: they may be more than memory holds.
  if (source.SizeBytes() > kAddressSpaceBytes - base) {
    RefuseInput(source.Name() + " has " + std::to_string(source.SizeBytes()) +
                " bytes, which do not fit between " + Hex(base) + " and the last address.");
  }
  SImage image{source.Name(), base, std::vector<u8>(source.SizeBytes())};
  source.Read(0, image.bytes);
  return image;
}

}  // namespace

SImage ReadImage(const std::filesystem::path& path, std::optional<u32> entry,
                 std::optional<u32> base) {
  if (base && *base % kOpAlignment != 0) {
    RefuseInput("the base " + Hex(*base) + " is no multiple of 4, and ops lie at such addresses.");
  }
  const CFileSource source(path);
  const bool bPack = entry || BeginsLikeAPack(source);
  SImage image = bPack ? ReadEntry(source, entry.value_or(0))
                       : ReadPlain(source, base.value_or(kBootRomAddress));
  if (image.bytes.empty()) {
    throw CToolError(EExitCode::BadPack, image.name + " is empty; there is nothing to list.");
  }
  image.base = base.value_or(image.base);
  if (image.End() > kAddressSpaceBytes) {
    RefuseInput(image.name + " does not fit between " + Hex(image.base) + " and the last address.");
  }
  return image;
}

SImage TakePart(SImage image, std::optional<u32> start, std::optional<u64> lengthBytes) {
  const u32 first = start.value_or(image.base);
  const std::string where =
      image.name + " lies from " + Hex(image.base) + " to " + Hex(image.End() - 1);
  if (first % kOpAlignment != 0) {
    RefuseInput("the start " + Hex(first) + " is no multiple of 4, and ops lie at such addresses.");
  }
  if (first < image.base || first >= image.End()) {
    RefuseInput(where + "; the start " + Hex(first) + " is outside.");
  }
  const u64 available = image.End() - first;
  const u64 taken = lengthBytes.value_or(available);
  if (taken == 0) RefuseInput("a length of 0 bytes leaves nothing to list.");
  if (taken > available) {
    RefuseInput(where + "; from " + Hex(first) + " on that is " + std::to_string(available) +
                " bytes, not " + std::to_string(taken) + ".");
  }
  const auto begin = image.bytes.begin() + (first - image.base);
  return {image.name, first, std::vector<u8>(begin, begin + static_cast<std::ptrdiff_t>(taken))};
}

}  // namespace vx

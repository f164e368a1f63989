#include "tools/packfile/Manifest.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <map>

#include "tools/packfile/ByteSource.h"
#include "tools/packfile/ToolError.h"

namespace vx {
namespace {

constexpr u64 kMaxManifestBytes = 1 << 20;
constexpr u32 kDefaultHeads = 16;
constexpr u32 kDefaultSectorsPerTrack = 63;

struct SNumberRange {
  u32 minimum;
  u32 maximum;
};

// What a drive can tell of itself in words of 16 bits and the head field of four.
constexpr SNumberRange kCylinderRange = {1, 65535};
constexpr SNumberRange kHeadRange = {1, 16};
constexpr SNumberRange kSectorsPerTrackRange = {1, 255};
constexpr SNumberRange kSectorCountRange = {1, u32{kMaxDiskImageBytes / kSectorBytes}};

struct SValue {
  std::string text;
  u32 line = 0;
};

// Text of a file that may be anything, fit for a terminal.
std::string Printable(const std::string& text) {
  constexpr std::size_t kMaxShown = 60;
  std::string shown = text.substr(0, kMaxShown);
  for (char& c : shown) {
    const u8 code = static_cast<u8>(c);
    if (code < 0x20 || code == 0x7F) c = '?';
  }
  return "'" + shown + (text.size() > kMaxShown ? "...'" : "'");
}

std::string Trim(const std::string& text) {
  const std::size_t begin = text.find_first_not_of(" \t\r");
  if (begin == std::string::npos) return {};
  return text.substr(begin, text.find_last_not_of(" \t\r") - begin + 1);
}

// Collects the lines of one manifest and answers for its keys.
class CManifestText {
 public:
  CManifestText(std::istream& text, const std::string& name) : name_(name) {
    std::string line;
    for (u32 number = 1; std::getline(text, line); ++number) {
      if (number == 1 && line.starts_with("\xEF\xBB\xBF")) line.erase(0, 3);
      AddLine(line, number);
    }
  }

  [[noreturn]] void Fail(u32 line, const std::string& what) const {
    const std::string place = line != 0 ? ":" + std::to_string(line) : std::string();
    throw CToolError(EExitCode::BadInput, name_ + place + ": " + what + ".");
  }

  const SValue* Find(const std::string& key) const {
    const auto it = values_.find(key);
    return it != values_.end() ? &it->second : nullptr;
  }

  const SValue& Need(const std::string& key, const std::string& meaning) const {
    const SValue* value = Find(key);
    if (!value) Fail(0, "there is no line '" + key + " = " + meaning + "'");
    return *value;
  }

  std::optional<u32> Number(const std::string& key, SNumberRange range) const {
    const SValue* value = Find(key);
    if (!value) return std::nullopt;
    u32 number = 0;
    const char* end = value->text.data() + value->text.size();
    const auto result = std::from_chars(value->text.data(), end, number);
    if (result.ec != std::errc() || result.ptr != end || number < range.minimum ||
        number > range.maximum) {
      Fail(value->line, key + " is " + Printable(value->text) +
                            " and must be a whole number from " + std::to_string(range.minimum) +
                            " to " + std::to_string(range.maximum));
    }
    return number;
  }

 private:
  static bool IsKey(const std::string& key) {
    static const char* const kKeys[] = {"identity", "boot",      "disk",  "chunk",
                                        "sector",   "cylinders", "heads", "sectors_per_track",
                                        "sectors"};
    if (std::find(std::begin(kKeys), std::end(kKeys), key) != std::end(kKeys)) return true;
    return key.size() == 6 && key.starts_with("sound") && key[5] >= '1' && key[5] <= '8';
  }

  // The value of a line: what stands before a comment, or between double quotes.
  std::string ReadValue(const std::string& rest, u32 line) const {
    const std::string text = Trim(rest);
    if (text.starts_with('"')) {
      const std::size_t end = text.find('"', 1);
      if (end == std::string::npos) Fail(line, "a double quote is missing at the end of the value");
      const std::string behind = Trim(text.substr(end + 1));
      if (!behind.empty() && behind[0] != '#') {
        Fail(line, "there is text behind the closing double quote: " + Printable(behind));
      }
      return text.substr(1, end - 1);
    }
    for (std::size_t i = 0; i < text.size(); ++i) {
      const bool bBehindBlank = i == 0 || text[i - 1] == ' ' || text[i - 1] == '\t';
      if (text[i] == '#' && bBehindBlank) return Trim(text.substr(0, i));
    }
    return text;
  }

  void AddLine(const std::string& line, u32 number) {
    const std::string text = Trim(line);
    if (text.empty() || text[0] == '#') return;
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos) {
      Fail(number, "expected 'key = value', found " + Printable(text));
    }
    const std::string key = Trim(text.substr(0, equals));
    if (!IsKey(key)) Fail(number, "there is no key " + Printable(key));
    const std::string value = ReadValue(text.substr(equals + 1), number);
    if (value.empty()) Fail(number, key + " has no value");
    if (value.find('\0') != std::string::npos) Fail(number, key + " holds a zero byte");
    const auto [it, bNew] = values_.try_emplace(key, SValue{value, number});
    if (!bNew) {
      Fail(number, key + " stands already in line " + std::to_string(it->second.line));
    }
  }

  std::string name_;
  std::map<std::string, SValue> values_;
};

u64 ReadIdentity(const CManifestText& text) {
  const SValue& value = text.Need("identity", "A or B");
  if (value.text == "A") return kPackIdentityA;
  if (value.text == "B") return kPackIdentityB;
  text.Fail(value.line, "identity is " + Printable(value.text) + " and must be A or B");
}

std::optional<SGeometry> ReadGeometry(const CManifestText& text) {
  static const char* const kKeys[] = {"cylinders", "heads", "sectors_per_track"};
  const char* missing = nullptr;
  const SValue* given = nullptr;
  for (const char* key : kKeys) {
    if (const SValue* value = text.Find(key)) {
      given = value;
    } else {
      missing = key;
    }
  }
  if (!given) {
    if (const SValue* sectors = text.Find("sectors")) {
      text.Fail(sectors->line, "sectors needs cylinders, heads and sectors_per_track");
    }
    return std::nullopt;
  }
  if (missing) {
    text.Fail(given->line, std::string("cylinders, heads and sectors_per_track belong together; ") +
                               missing + " is missing");
  }
  SGeometry geometry;
  geometry.cylinders = *text.Number("cylinders", kCylinderRange);
  geometry.heads = *text.Number("heads", kHeadRange);
  geometry.sectorsPerTrack = *text.Number("sectors_per_track", kSectorsPerTrackRange);
  return geometry;
}

}  // namespace

SManifest ParseManifest(std::istream& stream, const std::string& name,
                        const std::filesystem::path& folder) {
  const CManifestText text(stream, name);
  const auto file = [&folder](const SValue& value) {
    return SInputFile{folder / value.text, value.line};
  };
  SManifest manifest;
  manifest.name = name;
  manifest.identity = ReadIdentity(text);
  manifest.boot = file(text.Need("boot", "FILE"));
  for (u32 i = 1; i < kPackRomCount; ++i) {
    const SValue* value = text.Find("sound" + std::to_string(i));
    if (value) manifest.sounds[i - 1] = file(*value);
  }
  manifest.disk = file(text.Need("disk", "FILE"));
  if (const SValue* chunk = text.Find("chunk")) {
    if (chunk->text != "32768" && chunk->text != "65536") {
      text.Fail(chunk->line, "chunk is " + Printable(chunk->text) + " and must be 32768 or 65536");
    }
    manifest.chunkBytes = chunk->text == "32768" ? 32768 : 65536;
  }
  if (const SValue* sector = text.Find("sector"); sector && sector->text != "512") {
    text.Fail(sector->line, "sector is " + Printable(sector->text) +
                                " and must be 512, the only size that the board's drive reads");
  }
  manifest.geometry = ReadGeometry(text);
  manifest.sectorCount = text.Number("sectors", kSectorCountRange);
  if (manifest.sectorCount) {
    const SGeometry& geometry = *manifest.geometry;
    const u64 product = u64{geometry.cylinders} * geometry.heads * geometry.sectorsPerTrack;
    if (*manifest.sectorCount < product) {
      text.Fail(text.Find("sectors")->line,
                "sectors is less than the geometry's " + std::to_string(product));
    }
  }
  return manifest;
}

SManifest ReadManifest(const std::filesystem::path& path) {
  const CFileSource source(path);  // tells a folder or a missing file from a manifest
  if (source.SizeBytes() > kMaxManifestBytes) {
    throw CToolError(EExitCode::BadInput, path.string() + " is too large for a manifest: it has " +
                                              std::to_string(source.SizeBytes()) +
                                              " bytes, at most " +
                                              std::to_string(kMaxManifestBytes) + " are read.");
  }
  std::ifstream stream(path, std::ios::binary);
  if (!stream) throw CToolError(EExitCode::BadFile, path.string() + " cannot be opened.");
  return ParseManifest(stream, path.string(), path.parent_path());
}

SPackDiskEntry ShapeDisk(const SManifest& manifest, u64 imageBytes) {
  const auto fail = [&manifest](const std::string& what) {
    throw CToolError(EExitCode::BadInput, manifest.name + ":" + std::to_string(manifest.disk.line) +
                                              ": " + manifest.disk.path.string() + " has " + what +
                                              ".");
  };
  if (imageBytes > kMaxDiskImageBytes) {
    fail(std::to_string(imageBytes) + " bytes; a disk has at most " +
         std::to_string(kMaxDiskImageBytes));
  }
  const u64 imageSectors = (imageBytes + kSectorBytes - 1) / kSectorBytes;
  SGeometry geometry;
  if (manifest.geometry) {
    geometry = *manifest.geometry;
  } else {
    geometry.heads = kDefaultHeads;
    geometry.sectorsPerTrack = kDefaultSectorsPerTrack;
    const u64 cylinderSectors = u64{kDefaultHeads} * kDefaultSectorsPerTrack;
    const u64 cylinders = (imageSectors + cylinderSectors - 1) / cylinderSectors;
    if (cylinders > kCylinderRange.maximum) {
      fail(std::to_string(imageBytes) + " bytes, too many for " +
           std::to_string(kCylinderRange.maximum) +
           " cylinders; give cylinders, heads and sectors_per_track, and sectors");
    }
    geometry.cylinders = static_cast<u32>(std::max<u64>(cylinders, 1));
  }
  const u64 product = u64{geometry.cylinders} * geometry.heads * geometry.sectorsPerTrack;
  const u64 sectorCount = manifest.sectorCount.value_or(product);
  if (sectorCount > kSectorCountRange.maximum) {
    fail("a geometry of " + std::to_string(product) + " sectors; a disk has at most " +
         std::to_string(kSectorCountRange.maximum));
  }
  if (imageSectors > sectorCount) {
    fail(std::to_string(imageBytes) + " bytes; the disk holds only " +
         std::to_string(sectorCount * kSectorBytes) + " (" + std::to_string(sectorCount) +
         " sectors)");
  }
  const u64 chunkCount =
      (sectorCount * kSectorBytes + manifest.chunkBytes - 1) / manifest.chunkBytes;
  SPackDiskEntry disk = {};
  disk.chunkBytes = manifest.chunkBytes;
  disk.chunkCount = static_cast<u32>(std::max<u64>(chunkCount, kMinChunkCount));
  disk.sectorBytes = kSectorBytes;
  disk.sectorCount = static_cast<u32>(sectorCount);
  disk.cylinders = geometry.cylinders;
  disk.heads = geometry.heads;
  disk.sectorsPerTrack = geometry.sectorsPerTrack;
  return disk;
}

std::string WriteManifest(const SPackDirectory& directory, const std::string& bootName,
                          const std::string (&soundNames)[kPackRomCount - 1],
                          const std::string& diskName) {
  const SPackDiskEntry& disk = directory.disk;
  const auto line = [](const std::string& key, const std::string& value) {
    return key + " = " + value + "\n";
  };
  const bool bLayoutB = directory.header.identity == kPackIdentityB;
  std::string text = line("identity", bLayoutB ? "B" : "A") + line("boot", bootName);
  for (u32 i = 1; i < kPackRomCount; ++i) {
    if (!soundNames[i - 1].empty()) text += line("sound" + std::to_string(i), soundNames[i - 1]);
  }
  text += line("disk", diskName) + line("chunk", std::to_string(disk.chunkBytes)) +
          line("sector", std::to_string(disk.sectorBytes)) +
          line("cylinders", std::to_string(disk.cylinders)) +
          line("heads", std::to_string(disk.heads)) +
          line("sectors_per_track", std::to_string(disk.sectorsPerTrack));
  const u64 product = u64{disk.cylinders} * disk.heads * disk.sectorsPerTrack;
  if (product != disk.sectorCount) text += line("sectors", std::to_string(disk.sectorCount));
  return text;
}

}  // namespace vx

#include "host/StateFile.h"

#include <zlib.h>
#include <algorithm>
#include <cstring>
#include <new>

#include "host/HashLog.h"
#include "host/HostError.h"
#include "host/Inflate.h"
#include "host/Text.h"

namespace vx {

namespace {

constexpr char kMagic[8] = {'V', 'X', 'S', 'T', 'A', 'T', 'E', '\n'};
constexpr u32 kVersion = 1;
constexpr u32 kMaxPictureBytes = 1 << 20;
constexpr u32 kMaxSettingsBytes = 1 << 16;
constexpr u32 kMaxNamedSettings = 3;

struct SHeader {
  char magic[8];
  u32 version;
  u32 apiVersion;
  u64 packHash;
  u64 packBytes;
  u64 machineHash;
  SConfigBlob config;
  u64 frame;
  i64 savedAtSeconds;
  u32 pictureBytes;   // behind this header
  u32 settingsBytes;  // behind the picture: "KEY=VALUE\n" for each setting
  u64 streamBytes;    // of the machine's stream
  u64 storedBytes;    // of it as a zlib stream, behind the settings
};
static_assert(sizeof(SHeader) == 112);
static_assert(offsetof(SHeader, config) == 40 && offsetof(SHeader, pictureBytes) == 88);

template <typename T>
void Append(std::string& bytes, const T& record) {
  bytes.append(reinterpret_cast<const char*>(&record), sizeof(record));
}

[[noreturn]] void Fail(const std::string& path, const std::string& sentence) {
  throw CHostError(EExitCode::StateUnusable, path + ": " + sentence);
}

SHeader TakeHeader(std::string_view bytes, const std::string& path) {
  SHeader header;
  const u64 magicBytes = std::min<u64>(bytes.size(), sizeof(kMagic));
  if (bytes.empty() || std::memcmp(bytes.data(), kMagic, magicBytes) != 0) {
    Fail(path, "is no saved state");
  }
  if (bytes.size() < sizeof(header) + sizeof(u64)) Fail(path, "is truncated");
  std::memcpy(&header, bytes.data(), sizeof(header));
  if (header.version != kVersion) {
    Fail(path, Format("is a saved state of version %u; this program reads version %u",
                      header.version, kVersion));
  }
  const u64 needed = u64{header.pictureBytes} + header.settingsBytes + sizeof(header) + sizeof(u64);
  if (header.pictureBytes > kMaxPictureBytes || header.settingsBytes > kMaxSettingsBytes ||
      header.streamBytes > kStateBufferSize || header.storedBytes > kMaxStateFileBytes) {
    Fail(path, "is damaged: its header is wrong");
  }
  if (bytes.size() != needed + header.storedBytes) {
    Fail(path, bytes.size() < needed + header.storedBytes
                   ? "is truncated"
                   : "is damaged: something follows its end");
  }
  u64 stored = 0;
  const u64 checked = bytes.size() - sizeof(stored);
  std::memcpy(&stored, bytes.data() + checked, sizeof(stored));
  if (stored != HashBytes(bytes.data(), checked, 0)) {
    Fail(path, "is damaged: its checksum is wrong");
  }
  return header;
}

SSavedState TakeHead(const SHeader& header, std::string_view bytes) {
  SSavedState state;
  state.owner.apiVersion = header.apiVersion;
  state.owner.pack = {header.packHash, header.packBytes};
  state.owner.machineHash = header.machineHash;
  state.owner.config = header.config;
  state.frame = header.frame;
  state.savedAtSeconds = header.savedAtSeconds;
  const char* const picture = bytes.data() + sizeof(header);
  state.picture.assign(picture, picture + header.pictureBytes);
  std::string_view text(picture + header.pictureBytes, header.settingsBytes);
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    state.owner.settings.emplace_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return state;
}

// The settings in which two runs differ, as far as their texts tell.
std::string NameDifferences(const std::vector<std::string>& state,
                            const std::vector<std::string>& run) {
  std::string names;
  u32 count = 0;
  for (const std::string& there : state) {
    const std::string key = there.substr(0, there.find('=') + 1);
    const auto here = std::ranges::find_if(
        run, [&](const std::string& assignment) { return assignment.starts_with(key); });
    if (here == run.end() || *here == there) continue;
    if (++count > kMaxNamedSettings) return names + " and others";
    names += (names.empty() ? "" : ", ") + there;
  }
  return names;
}

}  // namespace

bool IsStateFile(std::string_view bytes) {
  return bytes.starts_with(std::string_view(kMagic, sizeof(kMagic)));
}

std::string PackState(const SSavedState& state) {
  std::string settings;
  for (const std::string& assignment : state.owner.settings) settings += assignment + "\n";
  uLongf storedBytes = compressBound(static_cast<uLong>(state.stream.size()));
  std::vector<u8> stored(storedBytes);
  // It fails for want of memory alone: the room is what zlib asks for.
  if (compress2(stored.data(), &storedBytes, state.stream.data(),
                static_cast<uLong>(state.stream.size()), Z_BEST_SPEED) != Z_OK) {
    throw std::bad_alloc();
  }
  SHeader header{};
  std::memcpy(header.magic, kMagic, sizeof(kMagic));
  header.version = kVersion;
  header.apiVersion = state.owner.apiVersion;
  header.packHash = state.owner.pack.hash;
  header.packBytes = state.owner.pack.bytes;
  header.machineHash = state.owner.machineHash;
  header.config = state.owner.config;
  header.frame = state.frame;
  header.savedAtSeconds = state.savedAtSeconds;
  header.pictureBytes = static_cast<u32>(state.picture.size());
  header.settingsBytes = static_cast<u32>(settings.size());
  header.streamBytes = state.stream.size();
  header.storedBytes = storedBytes;

  std::string bytes;
  bytes.reserve(sizeof(header) + state.picture.size() + settings.size() + storedBytes +
                sizeof(u64));
  Append(bytes, header);
  bytes.append(state.picture.begin(), state.picture.end());
  bytes += settings;
  bytes.append(reinterpret_cast<const char*>(stored.data()), storedBytes);
  Append(bytes, HashBytes(bytes.data(), bytes.size(), 0));
  return bytes;
}

SSavedState ParseStateHead(std::string_view bytes, const std::string& path) {
  return TakeHead(TakeHeader(bytes, path), bytes);
}

SSavedState ParseState(std::string_view bytes, const std::string& path) {
  const SHeader header = TakeHeader(bytes, path);
  SSavedState state = TakeHead(header, bytes);
  state.stream.resize(header.streamBytes);
  const u64 at = sizeof(header) + header.pictureBytes + header.settingsBytes;
  const SInflateResult result =
      InflateBlock(state.stream.data(), static_cast<u32>(header.streamBytes), bytes.data() + at,
                   static_cast<u32>(header.storedBytes));
  if (!result.bExact) Fail(path, "is damaged: it does not unpack to its size");
  return state;
}

std::string WhyStateDoesNotFit(const SStateOwner& state, const SStateOwner& run) {
  if (state.apiVersion != run.apiVersion) return "was saved by another version of the machine";
  if (state.machineHash != run.machineHash) return "was saved by another kind of machine";
  if (state.pack.hash != run.pack.hash || state.pack.bytes != run.pack.bytes) {
    return "was saved with another pack";
  }
  const SConfigBlob& there = state.config;
  const SConfigBlob& here = run.config;
  if (there.version == here.version && there.frameRate == here.frameRate &&
      there.dipWord == here.dipWord && there.clockMHz == here.clockMHz &&
      there.extraReadTimeUs == here.extraReadTimeUs) {
    return "";
  }
  const std::string names = NameDifferences(state.settings, run.settings);
  return "was saved with other settings" + (names.empty() ? "" : ": " + names);
}

SStatePicture MakeThumbnail(const u32* pixels, u32 width, u32 height) {
  SStatePicture small{width / 2, height / 2, {}};
  small.pixels.reserve(std::size_t{small.width} * small.height);
  for (u32 y = 0; y < small.height; ++y) {
    for (u32 x = 0; x < small.width; ++x) {
      u32 sum[3] = {};
      for (u32 i = 0; i < 4; ++i) {
        const u32 pixel = pixels[std::size_t{2 * y + i / 2} * width + 2 * x + i % 2];
        for (u32 part = 0; part < 3; ++part) sum[part] += pixel >> (8 * part) & 0xFF;
      }
      small.pixels.push_back(sum[0] / 4 | sum[1] / 4 << 8 | sum[2] / 4 << 16);
    }
  }
  return small;
}

}  // namespace vx

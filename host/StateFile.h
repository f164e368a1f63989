// A saved state as a file: the machine's own stream, and around it what it belongs to, a small
// picture, and a checksum over all. host/STATES.md tells the bytes.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/Movie.h"
#include "plugin/Quillon.h"

namespace vx {

// What a state belongs to.
struct SStateOwner {
  u32 apiVersion = kApiVersion;
  SPackMark pack;
  u64 machineHash = 0;
  SConfigBlob config{};
  std::vector<std::string> settings;  // "KEY=VALUE" of each
};

struct SStatePicture {
  u32 width = 0;
  u32 height = 0;
  std::vector<u32> pixels;  // 0x00RRGGBB; empty: no picture
};

struct SSavedState {
  SStateOwner owner;
  u64 frame = 0;            // of the machine
  i64 savedAtSeconds = 0;   // since 1970, by the clock of the computer
  std::vector<u8> picture;  // a PNG file; empty: none
  std::vector<u8> stream;
};

inline constexpr u64 kMaxStateFileBytes = u64{64} << 20;

// Whether it begins as a saved state does.
bool IsStateFile(std::string_view bytes);

// The bytes of the file.
std::string PackState(const SSavedState& state);

// Throws CHostError (StateUnusable) with a sentence that names the file and what is wrong with it.
SSavedState ParseState(std::string_view bytes, const std::string& path);

// Everything of a state but its stream, which is left empty; the checksum is checked all the same.
SSavedState ParseStateHead(std::string_view bytes, const std::string& path);

// Why a run of `run` cannot go on from a state of `state`: "was saved with another pack" and the
// like, to stand behind the file's name. Empty if it can.
std::string WhyStateDoesNotFit(const SStateOwner& state, const SStateOwner& run);

// Half the width and height, for a slot; each pixel is the mean of four.
SStatePicture MakeThumbnail(const u32* pixels, u32 width, u32 height);

}  // namespace vx

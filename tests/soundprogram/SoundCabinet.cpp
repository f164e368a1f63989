#include "tests/soundprogram/SoundCabinet.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <stdexcept>

namespace vx::test {

namespace {

constexpr u32 kRoms = 8;
constexpr u32 kRomBytes = 0x80000;

std::vector<u8> ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error(path + " cannot be read");
  return {std::istreambuf_iterator<char>(file), {}};
}

std::map<std::string, u32> ReadSymbols() {
  std::ifstream file(VX_SOUND_FOLDER "sound.map");
  if (!file) throw std::runtime_error("the sound program's symbols cannot be read");
  std::map<std::string, u32> symbols;
  for (std::string line; std::getline(file, line);) {
    std::istringstream words(line);
    std::string address, kind, name;
    if (words >> address >> kind >> name) symbols[name] = std::stoul(address, nullptr, 16);
  }
  return symbols;
}

}  // namespace

std::vector<u8> ReadSoundRoms() {
  std::vector<u8> all(kRomImageBytes);
  for (u32 i = 0; i < kRoms; ++i) {
    const std::vector<u8> rom = ReadFile(VX_SOUND_FOLDER "sound" + std::to_string(i + 1) + ".rom");
    if (rom.size() != kRomBytes) throw std::runtime_error("a sound ROM has another size");
    std::copy(rom.begin(), rom.end(), all.begin() + i * kRomBytes);
  }
  return all;
}

u32 SymbolOf(const std::string& name) {
  static const std::map<std::string, u32> symbols = ReadSymbols();
  return symbols.at(name);
}

CSoundCabinet::CSoundCabinet(bool bPatches) : rom(ReadSoundRoms()), variant_(kMainProcessor) {
  if (!bPatches) variant_.patchCount = 0;
  queue.Initialise(
      [](void* context) {
        const auto* cabinet = static_cast<CSoundCabinet*>(context);
        if (!cabinet->processor.IsInSlice()) return cabinet->queue.LastFired();
        return cabinet->soundTime + cabinet->processor.state.cycles / kSoundClockMHz;
      },
      this);
  queue.AddListener(
      [](void* context) {
        auto* cabinet = static_cast<CSoundCabinet*>(context);
        if (cabinet->processor.IsInSlice()) cabinet->processor.CutSlice();
      },
      this);
  queue.AddClient(
      [](void* context, f64 target) {
        auto* cabinet = static_cast<CSoundCabinet*>(context);
        f64& time = cabinet->soundTime;
        if (target > time) {
          const f64 wanted = (target - time) * kSoundClockMHz + 0.5;
          const u32 cycles = std::max(1u, static_cast<u32>(wanted));
          const u32 done = cabinet->processor.Run(cycles);
          const u32 pc = cabinet->processor.state.pc;
          const bool bWaits = pc == SymbolOf("WAIT_HI") || pc == SymbolOf("WAIT_LO");
          if (done == cycles + 1 && bWaits) ++cabinet->skippedSlices;
          time += done / kSoundClockMHz;
        }
        return time;
      },
      this, 0.0);
  queue.AddRebased(&soundTime);
  frameEndId_ = queue.Register(
      [](void* context, u64, f64 time) {
        auto* cabinet = static_cast<CSoundCabinet*>(context);
        cabinet->bFrameEnd_ = true;
        cabinet->queue.Schedule(time + kFrameUs, cabinet->frameEndId_, 0);
      },
      this);
  board.Construct(&processor, {rom.data(), kRoms, kRomBytes, 0x800}, &queue);
  processor.board = &board;
  processor.Construct(kSoundClockMHz, &queue, &port, variant_);
  board.PlaceHandlers();
  queue.Schedule(kFrameUs, frameEndId_, 0);
  board.BoardReset();
  board.BootLoad();
}

void CSoundCabinet::Frames(u32 count) {
  for (u32 i = 0; i < count; ++i) {
    queue.Rebase();
    for (bFrameEnd_ = false; !bFrameEnd_;) queue.Advance();
    if (bKeep) {
      samples.insert(samples.end(), board.sampleBuffer, board.sampleBuffer + board.sampleCount);
    }
    sampleTotal += board.sampleCount;
    board.sampleCount = 0;
    ++frames;
  }
}

void CSoundCabinet::SendByte(u32 value) { board.WriteCommand(static_cast<u16>(value)); }

bool CSoundCabinet::Send(const std::vector<u32>& bytes) {
  constexpr u32 kPatience = 10;
  for (const u32 byte : bytes) {
    SendByte(byte);
    for (u32 i = 0; !board.IsCommandTaken(); ++i) {
      if (i == kPatience) return false;
      Frames(1);
    }
  }
  return true;
}

}  // namespace vx::test

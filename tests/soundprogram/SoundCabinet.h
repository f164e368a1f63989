// The cabinet's sound program on its board, with a timeline and nothing else of the machine.
#pragma once

#include <string>
#include <vector>

#include "machine/EventQueue.h"
#include "sound/ADSP.h"
#include "sound/ADSPMemory.h"
#include "sound/SoundBoard.h"
#include "tests/sound/DspRig.h"

namespace vx::test {

// The eight ROMs as the build left them, one behind the other.
std::vector<u8> ReadSoundRoms();
// Addresses of the program's labels, by name.
u32 SymbolOf(const std::string& name);

class CSoundCabinet {
 public:
  static constexpr f64 kFrameUs = 1000000.0 / 60.0;

  // Boots at time 0. Without patches the program's own words run everywhere.
  explicit CSoundCabinet(bool bPatches = true);
  CSoundCabinet(const CSoundCabinet&) = delete;
  CSoundCabinet& operator=(const CSoundCabinet&) = delete;

  // Runs frames; their samples are appended while bKeep is set.
  void Frames(u32 count);
  // One command byte, as a strobe of the main processor hands it over.
  void SendByte(u32 value);
  // Bytes one by one, each when the last has been taken; false if one is not within ten frames.
  bool Send(const std::vector<u32>& bytes);
  bool Play(u32 command) { return Send({command >> 8, command & 0xFF}); }

  u16 Data(const std::string& symbol, u32 offset = 0) {
    return processor.ReadNear(SymbolOf(symbol) + offset);
  }

  CEventQueue queue;
  CRecordingPort port;
  std::vector<u8> rom;
  CSoundBoard board;
  CADSP processor;
  f64 soundTime = 0.0;
  u32 frames = 0;
  u32 skippedSlices = 0;  // given up in a wait loop
  bool bKeep = true;
  u64 sampleTotal = 0;
  std::vector<i16> samples;

 private:
  SADSPVariant variant_;
  u32 frameEndId_ = 0;
  bool bFrameEnd_ = false;
};

}  // namespace vx::test

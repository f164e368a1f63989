// A host with one machine that runs the open cabinet, and hands to press its controls.
#pragma once

#include <string>
#include <vector>

#include "guest/game_block.h"
#include "guest/selftest_block.h"
#include "plugin/Quillon.h"

namespace vx::test {

// Bits of SInputRecord::padBits and systemBits, as the cabinet uses them.
enum EPad : u32 {
  kPadFire = 0x001,
  kPadStart = 0x008,
  kPadLeft = 0x020,
  kPadRight = 0x040,
  kPadUp = 0x080,
  kPadDown = 0x100,
  kPadLeap = 0x400,
  kPadFlare = 0x800,
};
enum ESystem : u32 {
  kCoin1 = 0x001,
  kTestButton = 0x002,
  kServiceButton = 0x004,
  kTilt = 0x008,
  kCoin2 = 0x010,
};

// Loads the component and makes a machine; one exists at a time. Throws std::runtime_error if the
// component cannot be loaded.
class CGameMachine {
 public:
  CGameMachine();
  // A machine whose component keeps its files in a folder that stays.
  explicit CGameMachine(const std::string& cacheFolder);
  ~CGameMachine();
  CGameMachine(const CGameMachine&) = delete;
  CGameMachine& operator=(const CGameMachine&) = delete;

  // Loads the pack and starts it. False if it is none.
  bool Boot(const std::string& packPath);
  // Switches off and on again; the disk keeps what was written.
  void Reset();
  void Set(const std::string& key, u32 value);

  void Hold(u32 player, u32 padBits);
  void Run(u32 frames);
  // Holds for two frames and lets go for two.
  void Press(u32 player, u32 padBits);
  void PressSystem(u32 systemBits);
  // Runs until the game is in the state; false after so many frames.
  bool RunTo(u32 state, u32 mostFrames);
  // Answers a running game's player with coins and start.
  void StartGame();
  // One frame of a simple player: fires, weaves and leaps by the frame's number.
  void PlayFrame(u32 player);

  SGameBlock Game() const;
  SSelfTestBlock Board() const;
  const std::vector<u32>& Picture() const { return picture_; }
  // How many messages the component has logged.
  u32 Messages() const;

 private:
  void RunFrame();

  void Load(const std::string& cacheFolder);

  std::string ownFolder_;  // goes with the machine
  void* library_ = nullptr;
  const SMachineTable* table_ = nullptr;
  CQuillonMachineBase* machine_ = nullptr;
  SInputRecord input_[2];
  std::vector<u32> picture_;
};

}  // namespace vx::test

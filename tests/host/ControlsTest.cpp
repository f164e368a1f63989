#include "host/vxrun/Controls.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace vx {

namespace {

using CRecords = std::array<SInputRecord, kHostPlayers>;

constexpr SControl kStart{EControlKind::Pad, 0, 0x8};
constexpr SControl kOtherStart{EControlKind::Pad, 1, 0x8};
constexpr SControl kCoin{EControlKind::System, 0, 0x1};
constexpr SControl kPause{EControlKind::Host, 0, kHostPause};

// A controller that exists in this process alone.
class CVirtualPad {
 public:
  CVirtualPad()
      : device_(SDL_JoystickAttachVirtual(SDL_JOYSTICK_TYPE_GAMECONTROLLER, SDL_CONTROLLER_AXIS_MAX,
                                          SDL_CONTROLLER_BUTTON_MAX, 0)) {
    EXPECT_GE(device_, 0) << SDL_GetError();
    joystick_ = SDL_JoystickOpen(device_);
    instance_ = SDL_JoystickInstanceID(joystick_);
  }
  ~CVirtualPad() { Unplug(); }

  void Unplug() {
    if (joystick_ == nullptr) return;
    for (int i = 0; i < SDL_NumJoysticks(); ++i) {
      if (SDL_JoystickGetDeviceInstanceID(i) == instance_) SDL_JoystickDetachVirtual(i);
    }
    SDL_JoystickClose(joystick_);
    joystick_ = nullptr;
  }
  void Press(SDL_GameControllerButton button, bool bDown) {
    SDL_JoystickSetVirtualButton(joystick_, button, bDown ? 1 : 0);
  }
  void Move(SDL_GameControllerAxis axis, i16 value) {
    SDL_JoystickSetVirtualAxis(joystick_, axis, value);
  }

 private:
  int device_;
  SDL_Joystick* joystick_ = nullptr;
  SDL_JoystickID instance_ = 0;
};

class CControlsOfSdl : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    setenv("SDL_VIDEODRIVER", "dummy", 1);
    SDL_SetMainReady();
    ASSERT_EQ(SDL_InitSubSystem(SDL_INIT_VIDEO), 0) << SDL_GetError();
  }
  static void TearDownTestSuite() { SDL_Quit(); }

  static void Key(CControls& controls, SDL_Scancode key, bool bDown) {
    SDL_Event event{};
    event.type = bDown ? SDL_KEYDOWN : SDL_KEYUP;
    event.key.keysym.scancode = key;
    controls.HandleEvent(event);
  }
  // Hands on what SDL has noticed of its controllers.
  static void Pump(CControls& controls) {
    SDL_Event event;
    while (SDL_PollEvent(&event) != 0) controls.HandleEvent(event);
  }
  static CRecords Take(CControls& controls) {
    Pump(controls);
    controls.Poll();
    CRecords records;
    controls.Read(records);
    return records;
  }
};

}  // namespace

TEST_F(CControlsOfSdl, AKeyHoldsItsControlUntilItIsLetGo) {
  CControls controls({{kStart, {0, "1"}}, {kCoin, {0, "5"}}});
  Key(controls, SDL_SCANCODE_1, true);
  EXPECT_EQ(Take(controls)[0].padBits, 0x8u);
  EXPECT_EQ(Take(controls)[0].padBits, 0x8u);
  Key(controls, SDL_SCANCODE_1, false);
  Key(controls, SDL_SCANCODE_5, true);
  EXPECT_EQ(Take(controls)[0].padBits, 0u);
  EXPECT_EQ(Take(controls)[0].systemBits, 0x1u);
}

TEST_F(CControlsOfSdl, AKeyPressedAndLetGoBetweenTwoFramesCountsForOne) {
  CControls controls({{kStart, {0, "1"}}});
  Key(controls, SDL_SCANCODE_1, true);
  Key(controls, SDL_SCANCODE_1, false);
  EXPECT_EQ(Take(controls)[0].padBits, 0x8u);
  EXPECT_EQ(Take(controls)[0].padBits, 0u);
}

TEST_F(CControlsOfSdl, AHostActionBeginsOnceAndIsHeldAsLongAsItsKey) {
  CControls controls({{kPause, {0, "P"}}});
  Key(controls, SDL_SCANCODE_P, true);
  controls.Poll();
  EXPECT_EQ(controls.HostPressed(), u32{kHostPause});
  controls.Poll();
  EXPECT_EQ(controls.HostPressed(), 0u);
  EXPECT_EQ(controls.HostHeld(), u32{kHostPause});
  Key(controls, SDL_SCANCODE_P, false);
  controls.Poll();
  EXPECT_EQ(controls.HostHeld(), 0u);
}

TEST_F(CControlsOfSdl, TwoKeysOfOneControlHoldItTogether) {
  CControls controls({{kStart, {0, "1"}}, {kStart, {0, "Return"}}});
  Key(controls, SDL_SCANCODE_1, true);
  Key(controls, SDL_SCANCODE_RETURN, true);
  Key(controls, SDL_SCANCODE_1, false);
  Take(controls);
  EXPECT_EQ(Take(controls)[0].padBits, 0x8u);
}

TEST_F(CControlsOfSdl, AControllerPluggedInLaterPlays) {
  CControls controls({{kStart, {1, "start"}}});
  CVirtualPad pad;
  EXPECT_EQ(Take(controls)[0].padBits, 0u);
  pad.Press(SDL_CONTROLLER_BUTTON_START, true);
  EXPECT_EQ(Take(controls)[0].padBits, 0x8u);
}

TEST_F(CControlsOfSdl, AnAxisHoldsTheControlOfTheHalfThatItIsMovedTo) {
  constexpr SControl kLeft{EControlKind::Pad, 0, 0x20};
  constexpr SControl kRight{EControlKind::Pad, 0, 0x40};
  CControls controls({{kLeft, {1, "-leftx"}}, {kRight, {1, "+leftx"}}});
  CVirtualPad pad;
  Take(controls);
  pad.Move(SDL_CONTROLLER_AXIS_LEFTX, -32768);
  EXPECT_EQ(Take(controls)[0].padBits, 0x20u);
  pad.Move(SDL_CONTROLLER_AXIS_LEFTX, 32767);
  EXPECT_EQ(Take(controls)[0].padBits, 0x40u);
  pad.Move(SDL_CONTROLLER_AXIS_LEFTX, 5000);
  EXPECT_EQ(Take(controls)[0].padBits, 0u);
}

TEST_F(CControlsOfSdl, TwoControllersArePlayersOneAndTwo) {
  CControls controls({{kStart, {1, "start"}}, {kOtherStart, {2, "start"}}});
  CVirtualPad first;
  CVirtualPad second;
  Take(controls);
  second.Press(SDL_CONTROLLER_BUTTON_START, true);
  const CRecords records = Take(controls);
  EXPECT_EQ(records[0].padBits, 0u);
  EXPECT_EQ(records[1].padBits, 0x8u);
}

TEST_F(CControlsOfSdl, AControllerThatGoesLetsGoOfAllAndItsPlaceIsTakenByTheNext) {
  CControls controls({{kStart, {1, "start"}}, {kOtherStart, {2, "start"}}});
  CVirtualPad first;
  CVirtualPad second;
  CVirtualPad third;
  Take(controls);
  first.Press(SDL_CONTROLLER_BUTTON_START, true);
  third.Press(SDL_CONTROLLER_BUTTON_START, true);
  EXPECT_EQ(Take(controls)[1].padBits, 0u);
  second.Unplug();
  Take(controls);
  EXPECT_EQ(Take(controls)[1].padBits, 0x8u);
  first.Unplug();
  third.Unplug();
  EXPECT_EQ(Take(controls)[0].padBits, 0u);
  EXPECT_EQ(Take(controls)[1].padBits, 0u);
}

TEST_F(CControlsOfSdl, NamesOfKeysAndControllerPartsAreKnownAsSdlKnowsThem) {
  for (const char* key : {"Up", "Left Shift", "1", "Keypad 8", "-"}) {
    EXPECT_TRUE(IsKnownSource({0, key})) << key;
  }
  for (const char* part : {"a", "dpup", "-leftx", "+lefty", "lefttrigger", "leftshoulder"}) {
    EXPECT_TRUE(IsKnownSource({1, part})) << part;
  }
  EXPECT_FALSE(IsKnownSource({0, "Nokey"}));
  EXPECT_FALSE(IsKnownSource({0, ""}));
  for (const char* part : {"", "-", "-a", "nopart"}) {
    EXPECT_FALSE(IsKnownSource({1, part})) << part;
  }
}

TEST_F(CControlsOfSdl, EverySourceOfTheDefaultsIsKnown) {
  SInputBinding table[kInputBindingCount] = {};
  for (u32 i = 0; i < kBindingCodes; ++i) table[i] = {i, 0x1, 0, i + 1, i + 1, 0};
  for (u32 bit = 0; bit < 9; ++bit) table[bit].systemBit = 1u << bit;
  for (const SBinding& binding : MakeBindings(table)) {
    EXPECT_TRUE(IsKnownSource(binding.source)) << binding.source.name;
  }
}

}  // namespace vx

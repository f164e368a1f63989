// Which key and which part of a controller works which control of the board.
//
// The component lists its controls with two default codes each and leaves the codes' meaning to the
// host: here the first is a key code and the second a controller code.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "host/ControlNames.h"
#include "plugin/Quillon.h"

namespace vx {

inline constexpr u32 kBindingCodes = 36;

// The vocabulary: codes 1 to 36. Keys are named by their place on a US keyboard. Parts of a
// controller: buttons by name, half an axis as "-leftx" or "+leftx". Empty: means nothing.
struct SBindingCode {
  u32 code;
  const char* key1;  // first player
  const char* key2;  // second player
  const char* pad;
};
const std::array<SBindingCode, kBindingCodes>& BindingCodes();

// A key, or a part of a controller.
struct SSource {
  u32 pad;           // 0: a key; else the controller's number from 1
  std::string name;  // as in the vocabulary

  bool operator==(const SSource&) const = default;
};

// One wire from a key or a part of a controller to one control.
struct SBinding {
  SControl control;
  SSource source;

  bool operator==(const SBinding&) const = default;
};

// All wires for the component's table, and those of the host's own actions. Players have their own
// pad bits; system controls (coins, test, service) all go to the first record, whoever presses
// them. Codes beyond the vocabulary give none.
std::vector<SBinding> MakeBindings(const SInputBinding (&table)[kInputBindingCount]);

}  // namespace vx

// Which key and which part of a controller works which control of the board.
//
// The component lists its controls with two default codes each and leaves the codes' meaning to the
// host: here the first is a key code and the second a controller code.
#pragma once

#include <array>
#include <string_view>
#include <vector>

#include "plugin/Quillon.h"

namespace vx {

inline constexpr u32 kHostPlayers = 2;
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

// One wire from a key or a controller part to one control of one player's record.
struct SBinding {
  u32 player;       // record whose bits are set
  const char* key;  // or null
  const char* pad;  // or null; on controller number `padIndex`
  u32 padIndex;
  u32 padBit;
  u32 systemBit;
};

// All wires for the component's table. Players have their own pad bits; system controls (coins,
// test, service) all go to the first record, whoever presses them. Rows with neither bit, and codes
// beyond the vocabulary, give none.
std::vector<SBinding> MakeBindings(const SInputBinding (&table)[kInputBindingCount]);

}  // namespace vx

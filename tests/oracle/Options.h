// Options of the tests, given as environment variables.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>

#include "base/Types.h"

namespace vx::oracle {

// The number that a variable holds, if it is set. Anything else in it fails the present test.
inline std::optional<u64> NumberFrom(const char* variable) {
  const char* text = std::getenv(variable);
  if (text == nullptr) return std::nullopt;
  char* end = nullptr;
  const u64 number = std::strtoull(text, &end, 10);
  if (end != text && *end == 0) return number;
  ADD_FAILURE() << variable << " must be a number, not \"" << text << "\"";
  return std::nullopt;
}

}  // namespace vx::oracle

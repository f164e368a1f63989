// What a failing stream says: its listing, both states side by side, and how to run it again.
#pragma once

#include <string>

#include "tests/oracle/Stream.h"

namespace vx::oracle {

bool AreEqual(const SStreamRecord& a, const SStreamRecord& b);

std::string Listing(const SStream& stream);
// Every register, condition and byte of data of both, with a mark where they differ.
std::string SideBySide(const char* nameOfFirst, const SStreamRecord& first,
                       const char* nameOfSecond, const SStreamRecord& second);

// printf into a string.
[[gnu::format(printf, 1, 2)]] std::string Format(const char* format, ...);

// One op word by the op table's mnemonic and its fields.
std::string Describe(u32 word);

}  // namespace vx::oracle

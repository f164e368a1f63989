// The written form of an input movie: a text that a person can read, write and compare.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/Movie.h"

namespace vx {

// Whether its first line is that of a written movie.
bool IsMovieText(std::string_view text);

// Throws CHostError (Usage) with the number of the line that is wrong.
SMovie ParseMovieText(std::string_view text, const std::string& path,
                      const std::vector<SControl>& controls);

}  // namespace vx

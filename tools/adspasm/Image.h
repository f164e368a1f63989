// What a program puts into the processor's memory, and the boot image that takes it there.
//
// The boot copies image words 0 to 1023 to internal program RAM and words 1024 to 2047 to the first
// half of external RAM, which programs call 0x800 to 0xBFF. External RAM is one store for both
// buses and answers at several addresses; the image knows each of its words once.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/adspasm/Diagnostics.h"

namespace vx::adsp {

enum class EBus : u32 { Program, Data };

inline constexpr u32 kInternalWords = 1024;
inline constexpr u32 kExternalWords = 2048;
inline constexpr u32 kDataRamWords = 512;
inline constexpr u32 kDataRam = 0x3800;
inline constexpr u32 kMostImageWords = 2048;
inline constexpr u32 kImageStep = 8;  // the boot image counts its words in eights

// The image word of a program address; none where the boot loads nothing.
std::optional<u32> ImageWordOf(u32 programAddress);
// The inverse: the address that programs use.
u32 ProgramAddressOf(u32 imageWord);

// Plain characters but the double quote.
bool IsTitleCharacter(char c);

// The boot image as it lies in the ROM: four bytes a word, high byte first; the fourth byte of the
// first word tells the count, those of the others hold the title, 0 behind its end.
std::vector<u8> PackBootImage(const std::vector<u32>& words, const std::string& title);
struct SBootImage {
  std::vector<u32> words;
  std::string title;  // as far as it is plain text
};
// Takes it apart; throws CSourceError if the bytes are none.
SBootImage UnpackBootImage(const std::vector<u8>& bytes);

class CImage {
 public:
  CImage();

  // Lays a word at an address, or claims the place without a content. Throws CSourceError if there
  // is no memory, if the boot cannot bring a word there, or if the place is taken.
  void Put(EBus bus, u32 address, u32 word, const SPlace& place);
  void Reserve(EBus bus, u32 address, const SPlace& place);
  // The word that a program address holds, if the program gave it one.
  std::optional<u32> WordAt(u32 programAddress) const;
  // Who gave a word to a data address, if that is a program word.
  const SPlace* CodeAt(u32 dataAddress) const;
  // All words up to the last one or to `least`, rounded up to eights.
  std::vector<u32> Words(u32 least) const;
  bool IsEmpty() const;

 private:
  struct SCell {
    bool bTaken = false;
    bool bHasWord = false;
    EBus bus = EBus::Program;
    u32 address = 0;
    u32 word = 0;
    SPlace place;
  };
  SCell& Take(EBus bus, u32 address, const SPlace& place);

  std::vector<SCell> cells_;  // internal, external, data RAM
};

}  // namespace vx::adsp

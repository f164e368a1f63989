#include "tools/adspasm/Image.h"

#include <algorithm>

namespace vx::adsp {

namespace {

constexpr u32 kExternalMask = kExternalWords - 1;
constexpr u32 kExternalEnd = 0x2000;  // on both buses
constexpr u32 kExternalProgram = 0x800;
constexpr u32 kLoadedExternal = kMostImageWords - kInternalWords;
constexpr u32 kExternalCells = kInternalWords;
constexpr u32 kDataCells = kExternalCells + kExternalWords;
constexpr u32 kNoCell = 0xFFFFFFFF;
constexpr u32 kStride = 4;

u32 CellOf(EBus bus, u32 address) {
  if (bus == EBus::Program && address < kInternalWords) return address;
  if (address < kExternalEnd) return kExternalCells + (address & kExternalMask);
  if (bus == EBus::Data && address - kDataRam < kDataRamWords) {
    return kDataCells + address - kDataRam;
  }
  return kNoCell;
}

bool IsLoaded(u32 cell) { return cell < kMostImageWords; }

const char* NameOf(EBus bus) { return bus == EBus::Program ? "program" : "data"; }

}  // namespace

std::optional<u32> ImageWordOf(u32 programAddress) {
  if (programAddress < kInternalWords) return programAddress;
  const u32 external = programAddress - kExternalProgram;
  if (external < kLoadedExternal) return kInternalWords + external;
  return std::nullopt;
}

u32 ProgramAddressOf(u32 imageWord) {
  return imageWord < kInternalWords ? imageWord : imageWord - kInternalWords + kExternalProgram;
}

bool IsTitleCharacter(char c) { return c >= ' ' && c <= '~' && c != '"'; }

std::vector<u8> PackBootImage(const std::vector<u32>& words, const std::string& title) {
  std::vector<u8> bytes;
  bytes.reserve(words.size() * kStride);
  for (size_t i = 0; i < words.size(); ++i) {
    for (const u32 shift : {16u, 8u, 0u}) bytes.push_back(static_cast<u8>(words[i] >> shift));
    const size_t letter = i - 1;
    const u8 count = static_cast<u8>(words.size() / kImageStep - 1);
    bytes.push_back(i == 0 ? count : letter < title.size() ? static_cast<u8>(title[letter]) : 0);
  }
  return bytes;
}

SBootImage UnpackBootImage(const std::vector<u8>& bytes) {
  if (bytes.size() < kStride) throw CSourceError("a boot image has at least 32 bytes.");
  const size_t count = (bytes[3] + size_t{1}) * kImageStep;
  if (bytes.size() < count * kStride) {
    throw CSourceError("the boot image tells of " + std::to_string(count) + " words, but holds " +
                       std::to_string(bytes.size() / kStride) + ".");
  }
  SBootImage image;
  bool bTitle = true;
  for (size_t i = 0; i < count; ++i) {
    const u8* word = &bytes[i * kStride];
    image.words.push_back(u32{word[0]} << 16 | u32{word[1]} << 8 | word[2]);
    if (i == 0) continue;
    bTitle = bTitle && IsTitleCharacter(static_cast<char>(word[3]));
    if (bTitle) image.title += static_cast<char>(word[3]);
  }
  return image;
}

CImage::CImage() : cells_(kDataCells + kDataRamWords) {}

CImage::SCell& CImage::Take(EBus bus, u32 address, const SPlace& place) {
  const u32 at = CellOf(bus, address);
  if (at == kNoCell) {
    throw CSourceError("there is no memory at " + std::string(NameOf(bus)) + " address " +
                       Hex(address, 4) + ".");
  }
  SCell& cell = cells_[at];
  if (cell.bTaken) {
    throw CSourceError(std::string(NameOf(bus)) + " address " + Hex(address, 4) +
                       " is taken: the same memory is " + NameOf(cell.bus) + " address " +
                       Hex(cell.address, 4) + " of " + InWords(cell.place) + ".");
  }
  cell.bTaken = true;
  cell.bus = bus;
  cell.address = address;
  cell.place = place;
  return cell;
}

void CImage::Put(EBus bus, u32 address, u32 word, const SPlace& place) {
  const u32 at = CellOf(bus, address);
  const bool bLoaded = bus == EBus::Program ? ImageWordOf(address).has_value() : IsLoaded(at);
  if (!bLoaded) {
    throw CSourceError(
        std::string("the boot loads nothing to ") + NameOf(bus) + " address " + Hex(address, 4) +
        (bus == EBus::Program ? "; program words go to 0x0000 to 0x03FF and 0x0800 to 0x0BFF."
                              : "; data with a content goes to 0x0000 to 0x03FF and its mirrors."));
  }
  SCell& cell = Take(bus, address, place);
  cell.bHasWord = true;
  cell.word = word;
}

void CImage::Reserve(EBus bus, u32 address, const SPlace& place) { Take(bus, address, place); }

std::optional<u32> CImage::WordAt(u32 programAddress) const {
  const u32 at = CellOf(EBus::Program, programAddress);
  if (at == kNoCell || !cells_[at].bHasWord) return std::nullopt;
  return cells_[at].word;
}

const SPlace* CImage::CodeAt(u32 dataAddress) const {
  const u32 at = CellOf(EBus::Data, dataAddress);
  const bool bCode = at != kNoCell && cells_[at].bTaken && cells_[at].bus == EBus::Program;
  return bCode ? &cells_[at].place : nullptr;
}

bool CImage::IsEmpty() const {
  return std::none_of(cells_.begin(), cells_.end(),
                      [](const SCell& cell) { return cell.bHasWord; });
}

std::vector<u32> CImage::Words(u32 least) const {
  u32 count = std::max(least, 1u);
  for (u32 at = 0; at < kMostImageWords; ++at) {
    if (cells_[at].bHasWord) count = std::max(count, at + 1);
  }
  count = (count + kImageStep - 1) / kImageStep * kImageStep;
  std::vector<u32> words(count);
  for (u32 at = 0; at < count; ++at) words[at] = cells_[at].bHasWord ? cells_[at].word : 0;
  return words;
}

}  // namespace vx::adsp

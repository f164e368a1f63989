#include "tools/vxdis/Listing.h"

#include <cstdio>
#include <cstring>
#include <map>

#include "mips3/Disassembler.h"
#include "mips3/OpTable.h"

namespace vx {
namespace {

constexpr u32 kWordBytes = 4;

enum class ELabel : u8 { Place, Function };
using LabelMap = std::map<u32, ELabel>;

u32 WordAt(const SImage& image, u64 offset) {
  u32 word = 0;
  std::memcpy(&word, image.bytes.data() + offset, sizeof word);
  return word;
}

u64 WholeBytes(const SImage& image) { return image.bytes.size() / kWordBytes * kWordBytes; }

// Where the ops of the image lead within it. A place that is called is a function, however else it
// is reached.
LabelMap FindLabels(const SImage& image) {
  LabelMap labels;
  const u64 wholeBytes = WholeBytes(image);
  for (u64 offset = 0; offset < wholeBytes; offset += kWordBytes) {
    const u32 word = WordAt(image, offset);
    const auto target = TargetOfOp(word, image.base + static_cast<u32>(offset));
    if (!target || *target < image.base || *target >= image.base + wholeBytes) continue;
    ELabel& label = labels.try_emplace(*target, ELabel::Place).first->second;
    if (DecodeOp(word) == EOp::Jal) label = ELabel::Function;
  }
  return labels;
}

std::string NameOf(const LabelMap::value_type& label) {
  char text[16];
  std::snprintf(text, sizeof text, "%s_%08X", label.second == ELabel::Function ? "sub" : "L",
                label.first);
  return text;
}

std::string OpLine(u32 word, u32 address, const LabelMap& labels) {
  char text[kOpTextBytes];
  DisassembleOp(text, word, address, EOpTextStyle::Spaced);
  const auto target = TargetOfOp(word, address);
  const auto label = target ? labels.find(*target) : labels.end();
  char line[kOpTextBytes + 64];
  if (label == labels.end()) {
    std::snprintf(line, sizeof line, "%08X  %08X  %s\n", address, word, text);
  } else {
    std::snprintf(line, sizeof line, "%08X  %08X  %-32s ; %s\n", address, word, text,
                  NameOf(*label).c_str());
  }
  return line;
}

std::string BytesLine(const SImage& image, u64 offset) {
  char piece[32];
  std::snprintf(piece, sizeof piece, "%08X            .byte",
                image.base + static_cast<u32>(offset));
  std::string line = piece;
  for (u64 i = offset; i < image.bytes.size(); ++i) {
    std::snprintf(piece, sizeof piece, "%s 0x%02X", i == offset ? "" : ",", image.bytes[i]);
    line += piece;
  }
  return line + "\n";
}

}  // namespace

void WriteListing(const SImage& image, const std::function<void(std::string_view)>& take) {
  const LabelMap labels = FindLabels(image);
  auto next = labels.begin();
  const u64 wholeBytes = WholeBytes(image);
  for (u64 offset = 0; offset < wholeBytes; offset += kWordBytes) {
    const u32 address = image.base + static_cast<u32>(offset);
    if (next != labels.end() && next->first == address) {
      if (offset != 0) take("\n");
      take(NameOf(*next) + ":\n");
      ++next;
    }
    take(OpLine(WordAt(image, offset), address, labels));
  }
  if (wholeBytes < image.bytes.size()) take(BytesLine(image, wholeBytes));
}

}  // namespace vx

#include "blockgen/Blocks.h"

#include <array>
#include <cstdio>
#include <optional>

#include "mips3/Context.h"
#include "mips3/OpTable.h"

namespace vx::blockgen {

namespace {

constexpr u32 kMainRamIndex = kFlatMainRam / 4;
constexpr u32 kRomIndex = kFlatBootRom / 4;

// Where records follow each other but memory does not.
bool IsRegionStart(u32 index) { return index == kMainRamIndex || index == kRomIndex; }

bool IsLikely(u32 word) {
  return (OpInfo(DecodeOp(word)).traits & kLikely) == kLikely || IsMarkedLikely(word);
}

bool IsFloat(u32 word) {
  const EOp op = DecodeOp(word);
  return MainCode(word) == kMainCop1 || op == EOp::Lwc1 || op == EOp::Swc1;
}

bool WritesStatus(u32 word) {
  return DecodeOp(word) == EOp::Mtc0 && Rd(word) == static_cast<u32>(kCop0Status);
}

bool IsDelayOp(const CGuestCode& code, u32 index) {
  if (code.IsDelayOp(index)) return true;
  return index != 0 && !IsRegionStart(index) && code.IsKnown(index - 1) &&
         HasDelaySlot(code.Word(index - 1));
}

// Why an op cannot be translated, wherever it stands.
std::optional<EDrop> JudgeOp(u32 word, const SOptions& options) {
  switch (DecodeOp(word)) {
    case EOp::Unimplemented:
      return EDrop::NoHandler;
    case EOp::UnknownCop0:
      return EDrop::UnknownCop0;
    case EOp::Tlbr:
    case EOp::Tlbwr:
    case EOp::Tlbp:
    case EOp::Cfc1:
      return EDrop::TellsHost;
    case EOp::Jalr:
      if (Rd(word) == 0) return EDrop::LinksInZero;
      break;
    default:
      break;
  }
  if (options.bRefuseFloat && IsFloat(word)) return EDrop::FloatRefused;
  return std::nullopt;
}

struct SWalk {
  Words words;
  std::optional<EDrop> drop;
  u32 blamed = 0;
};

// A likely branch that was not taken while its block formed left the word behind the delay slot in
// the delay op's record.
bool IsDelayOpDoubtful(const CGuestCode& code, u32 branch) {
  if (code.HasImage() || !IsLikely(code.Word(branch))) return false;
  return !code.IsKnown(branch + 1) || !code.IsKnown(branch + 2) ||
         code.Word(branch + 1) == code.Word(branch + 2);
}

// The words from an entry to its block's end.
SWalk WalkBlock(const CGuestCode& code, u32 entry) {
  SWalk walk;
  bool bDelayOp = false;
  for (u32 index = entry;; ++index) {
    const auto drop = [&](EDrop reason) {
      walk.drop = reason;
      walk.blamed = code.IsKnown(index) ? code.Word(index) : 0;
      return walk;
    };
    if (index != entry && IsRegionStart(index)) return drop(EDrop::EndOfMemory);
    if (!code.IsKnown(index)) return drop(EDrop::WordsMissing);
    const u32 word = code.Word(index);
    walk.words.push_back(word);
    if (walk.words.size() > kMaxBlockWords) return drop(EDrop::TooLong);
    if (bDelayOp && HasDelaySlot(word)) return drop(EDrop::BranchInDelaySlot);
    if (bDelayOp || EndsBlock(word)) return walk;
    bDelayOp = HasDelaySlot(word);
    if (bDelayOp && IsDelayOpDoubtful(code, index)) return drop(EDrop::DoubtfulDelayOp);
  }
}

void JudgeBlock(const SOptions& options, SWalk& walk) {
  if (walk.drop) return;
  bool bFloat = false;
  u32 statusWrite = 0;
  for (const u32 word : walk.words) {
    if (const std::optional<EDrop> drop = JudgeOp(word, options)) {
      walk.drop = drop;
      walk.blamed = word;
      return;
    }
    bFloat = bFloat || IsFloat(word);
    if (WritesStatus(word)) statusWrite = word;
  }
  if (bFloat && statusWrite != 0) {
    walk.drop = EDrop::FloatModel;
    walk.blamed = statusWrite;
  } else if (walk.words.size() < 2) {
    walk.drop = EDrop::SingleOp;
    walk.blamed = walk.words.front();
  }
}

// The record index to which a branch leads, taking code to lie where the unmapped segments show it.
// Only discovers entries: nothing of it goes into a function.
std::optional<u32> DirectTarget(u32 index, u32 word) {
  switch (OpInfo(DecodeOp(word)).form) {
    case EOpForm::BranchOne:
    case EOpForm::BranchTwo:
    case EOpForm::BranchFp:
      return index + 1 + static_cast<u32>(SignedImmediate(word));
    case EOpForm::Jump: {
      constexpr u32 kUnmappedMask = 0x1FFFFFFF;
      return FlatIndex((word & 0x3FFFFFF) << 2 & kUnmappedMask) / 4;
    }
    default:
      return std::nullopt;
  }
}

void AddEntry(const CGuestCode& code, u32 index, const SOptions& options, SBlockSet& set) {
  SWalk walk;
  if (index >= kRomIndex) {
    walk.drop = EDrop::InRom;
    walk.blamed = code.Word(index);
  } else if (IsDelayOp(code, index)) {
    walk.drop = EDrop::DelayOp;
    walk.blamed = code.Word(index);
  } else {
    walk = WalkBlock(code, index);
    JudgeBlock(options, walk);
  }
  if (walk.drop) {
    set.dropped.insert({*walk.drop, index * 4, walk.blamed});
  } else {
    set.blocks.insert(std::move(walk.words));
  }
}

}  // namespace

const char* Describe(EDrop reason) {
  static constexpr std::array<const char*, static_cast<u32>(EDrop::Count)> kTexts = {
      "in the boot ROM, where no code is looked up",
      "the delay op of a branch",
      "a block of a single op",
      "longer than any real block",
      "words that the run did not reach",
      "runs to the end of its memory",
      "a likely branch whose delay op cannot be told without a memory image",
      "a branch in a delay slot",
      "an op that the board lacks",
      "a COP0 function that is an exception",
      "an op that only tells the host",
      "a link in register 0",
      "floating point, which was refused",
      "floating point beside a write to Status, which may change the register model",
  };
  return kTexts[static_cast<u32>(reason)];
}

void CollectBlocks(const CGuestCode& code, const SOptions& options, SBlockSet& set) {
  std::set<u32> entries;
  for (u32 index = 0; index < kRecordCount; ++index) {
    if (!code.IsHead(index)) continue;
    entries.insert(index);
    const u32 length = static_cast<u32>(WalkBlock(code, index).words.size());
    for (u32 at = index; at < index + length; ++at) {
      if (options.bAllTails && !IsDelayOp(code, at)) entries.insert(at);
      const std::optional<u32> target = DirectTarget(at, code.Word(at));
      if (target && code.IsKnown(*target) && !IsDelayOp(code, *target)) entries.insert(*target);
    }
  }
  for (const u32 index : entries) AddEntry(code, index, options, set);
}

std::string Report(const SBlockSet& set) {
  std::map<EDrop, u32> counts;
  for (const SDropped& dropped : set.dropped) ++counts[dropped.reason];
  std::string text;
  char line[200];
  std::snprintf(line, sizeof(line), "%zu blocks, %zu entries without one\n", set.blocks.size(),
                set.dropped.size());
  text += line;
  for (const auto& [reason, count] : counts) {
    std::snprintf(line, sizeof(line), "%8u  %s\n", count, Describe(reason));
    text += line;
  }
  text += "\noffset    op        reason\n";
  for (const SDropped& dropped : set.dropped) {
    std::snprintf(line, sizeof(line), "%08X  %08X  %s: %s\n", dropped.flatOffset, dropped.word,
                  OpInfo(DecodeOp(dropped.word)).name, Describe(dropped.reason));
    text += line;
  }
  return text;
}

}  // namespace vx::blockgen

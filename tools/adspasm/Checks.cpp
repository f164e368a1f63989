#include "tools/adspasm/Checks.h"

namespace vx::adsp {

namespace {

constexpr size_t kLoopStackWords = 4;

struct SLoop {
  const SPlacedInstruction* start;
  u32 first, last;  // addresses of its words

  bool Holds(u32 address) const { return address >= first && address <= last; }
};

void Complain(const SPlacedInstruction& loop, const std::string& sentence,
              CDiagnostics& diagnostics) {
  if (loop.bLenient) {
    diagnostics.Warn(loop.place, sentence);
  } else {
    diagnostics.Error(loop.place, sentence);
  }
}

std::vector<SLoop> FindLoops(const std::vector<SPlacedInstruction>& program, const CImage& image,
                             CDiagnostics& diagnostics) {
  std::vector<SLoop> loops;
  for (const SPlacedInstruction& placed : program) {
    if (placed.instruction.flow != EFlow::Do) continue;
    const SLoop loop{&placed, placed.address + 1, placed.instruction.target};
    if (loop.last < loop.first) {
      Complain(placed,
               "the loop's last word, at " + Hex(loop.last, 4) + ", does not stand behind its DO.",
               diagnostics);
    } else if (!image.WordAt(loop.last)) {
      Complain(placed, "there is no word at the loop's end, " + Hex(loop.last, 4) + ".",
               diagnostics);
    } else {
      loops.push_back(loop);
    }
  }
  return loops;
}

std::string LineOf(const SLoop& loop) { return "of " + InWords(loop.start->place); }

void CheckNesting(const std::vector<SLoop>& loops, CDiagnostics& diagnostics) {
  for (const SLoop& inner : loops) {
    size_t depth = 1;
    for (const SLoop& outer : loops) {
      if (&outer == &inner) continue;
      if (outer.last == inner.last && outer.start->address < inner.start->address) {
        Complain(*inner.start,
                 "the loop ends with the same word as that " + LineOf(outer) +
                     "; the processor would miss the outer end.",
                 diagnostics);
      } else if (outer.Holds(inner.start->address) && inner.last > outer.last) {
        Complain(*inner.start, "the loop ends behind the one around it, " + LineOf(outer) + ".",
                 diagnostics);
      }
      if (outer.Holds(inner.start->address)) ++depth;
    }
    if (depth > kLoopStackWords) {
      Complain(
          *inner.start,
          "the loop is the " + std::to_string(depth) + "th within another; the processor keeps 4.",
          diagnostics);
    }
  }
}

// The stacks keep the loop's entries when it is left in another way than by its end.
void CheckExits(const std::vector<SPlacedInstruction>& program, const std::vector<SLoop>& loops,
                CDiagnostics& diagnostics) {
  for (const SPlacedInstruction& placed : program) {
    const SInstruction& instruction = placed.instruction;
    const bool bJump = instruction.flow == EFlow::Jump && instruction.bHasTarget;
    if (!bJump && instruction.flow != EFlow::Return) continue;
    for (const SLoop& loop : loops) {
      const bool bLeaves = loop.Holds(placed.address) && !(bJump && loop.Holds(instruction.target));
      if (!bLeaves) continue;
      diagnostics.Warn(placed.place, std::string("this ") + (bJump ? "jump" : "return") +
                                         " leaves the loop " + LineOf(loop) +
                                         ", whose entries stay on the stacks.");
      break;
    }
  }
}

void CheckStores(const std::vector<SPlacedInstruction>& program, const CImage& image,
                 CDiagnostics& diagnostics) {
  for (const SPlacedInstruction& placed : program) {
    const std::optional<u32>& address = placed.instruction.storeAddress;
    const SPlace* code = address ? image.CodeAt(*address) : nullptr;
    if (code == nullptr) continue;
    diagnostics.Warn(placed.place, "data address " + Hex(*address, 4) +
                                       " is the memory of the program word of " + InWords(*code) +
                                       ".");
  }
}

}  // namespace

void CheckProgram(const std::vector<SPlacedInstruction>& program, const CImage& image,
                  CDiagnostics& diagnostics) {
  const std::vector<SLoop> loops = FindLoops(program, image, diagnostics);
  CheckNesting(loops, diagnostics);
  CheckExits(program, loops, diagnostics);
  CheckStores(program, image, diagnostics);
}

}  // namespace vx::adsp

// A whole machine for one test of its main processor, without pack or host: code and data go
// straight into guest memory, slices are run by hand, and what the board logs is kept.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "machine/VXMachine.h"
#include "mips3/Processor.h"
#include "tests/mips3/Encode.h"

namespace vx {

inline constexpr u32 kCode = 0x80001000;      // unmapped, low RAM
inline constexpr u32 kData = 0x80042000;      // unmapped, low RAM
inline constexpr u32 kMainData = 0x88003000;  // unmapped, main RAM
inline constexpr u32 kRomCode = 0xBFC00000;
inline constexpr u64 kStatusBootOff = 0;  // Status with nothing set: vectors in RAM

// Sign-extends an address as registers hold it.
constexpr u64 Extended(u32 value) { return static_cast<u64>(i64{static_cast<i32>(value)}); }

struct SLogLine {
  i32 level;
  std::string text;
  bool operator==(const SLogLine&) const = default;
};

struct SMachineDeleter {
  void operator()(CVXMachine* machine) const { machine->Destruct(1); }
};
using MachinePtr = std::unique_ptr<CVXMachine, SMachineDeleter>;

// Ways in which one op can come to be executed.
enum class EWay { Handler, Forming, Replay, Careful };
inline constexpr EWay kEveryWay[] = {EWay::Handler, EWay::Forming, EWay::Replay, EWay::Careful};
const char* NameOf(EWay way);

class ProcessorTest : public ::testing::Test {
 protected:
  ProcessorTest();
  ~ProcessorTest() override;

  // Writes words to consecutive virtual addresses and puts the processor at the first of them.
  void Place(u32 address, std::initializer_list<u32> words);
  // The same with the loop of two ops behind it, where execution comes to rest.
  void PlaceWithRest(u32 address, std::initializer_list<u32> words);
  // Guest memory behind a virtual address, ROM included, past the board's own rules.
  void Poke32(u32 address, u32 value);
  void Poke64(u32 address, u64 value);
  u32 Peek32(u32 address) const;
  u64 Peek64(u32 address) const;
  // The record of a virtual address.
  SPredecodedOp& RecordAt(u32 address);
  u32 RecordIndexAt(u32 address) const;

  void SetPc(u32 address);
  // Runs until one block has been executed, and answers the slice's cycles.
  u32 RunBlock() { return RunProcessor(m.get(), 1); }
  u32 Run(u32 budget) { return RunProcessor(m.get(), budget); }

  // Executes one op at a fresh address in each way, after `prepare` has set the state, and lets
  // `check` look at the state behind it. The op must not branch, trap or stop a block.
  void InEveryWay(u32 word, const std::function<void()>& prepare,
                  const std::function<void()>& check);

  // Maps one 4 KiB virtual page to a physical one by hand.
  void MapPage(u32 address, u32 physical, u32 permissions);

  MachinePtr m;
  SMIPS3Context& cpu;
  u64* const gpr;
  u64* const cop0;
  std::vector<SLogLine>& log;
  u32 nextCode = kCode;
};

// What the present test's machine has logged.
std::vector<SLogLine>& LogLines();
// The host table that keeps log lines; tests may add services before they create a machine.
SHostApi& TestHost();

}  // namespace vx

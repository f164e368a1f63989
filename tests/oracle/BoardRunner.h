// Runs streams on the board's processor: a whole machine whose code and data pages are mapped to
// the addresses that the stream has in the oracle.
#pragma once

#include <memory>

#include "machine/VXMachine.h"
#include "tests/oracle/Stream.h"

namespace vx::oracle {

enum class EBoardPass : u8 {
  Forming,  // records are written while the stream runs
  Plain,    // they are replayed
  Careful,  // they are replayed op by op, as blocks with breakpoints are
};

struct SBoardResult {
  bool bFinished = false;  // came to the way back
  SStreamRecord after = {};
  u64 cycles = 0;
  u32 blocks = 0;
  u32 mulBusy = 0;  // as left behind, in the numbering of the last slice
  u32 fpMulBusy = 0;
  u32 fpBusy = 0;
};

class CBoardRunner {
 public:
  CBoardRunner();

  // Puts the board's words of a stream in place; no record of an earlier one stays.
  void Place(const SStream& stream);
  // Runs the stream placed from its beginning on one of its records. The forming pass must come
  // first; once careful, blocks stay so until the stream is placed again.
  SBoardResult Run(const SStream& stream, u32 which, EBoardPass pass);

 private:
  struct SDeleter {
    void operator()(CVXMachine* machine) const { machine->Destruct(1); }
  };

  void MapPages(const SStream& stream);
  void LoadState(const SStream& stream, u32 which);
  u8* DataOf(const SStream& stream, u32 which);
  void MarkCareful(const SStream& stream);
  u32 RecordIndex(u32 address) const;

  std::unique_ptr<CVXMachine, SDeleter> m_;
};

}  // namespace vx::oracle

// Random instruction streams on the processor and on the plain model.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <sstream>

#include "tests/sound/DspRig.h"
#include "tests/sound/RandomDsp.h"
#include "tests/sound/ReferenceDsp.h"

namespace vx::test {
namespace {

constexpr u32 kStreams = 240000;
constexpr u32 kImages = 16;
constexpr u32 kCodeWords = 64;
constexpr SADSPVariant kWithoutPatches{true, false, 0};

// --- Between the two models' forms ---------------------------------------------------------------

void ImportBank(CReferenceDsp::SBank& to, const SADSPBank& from) {
  to.ax0 = from.ax[0], to.ax1 = from.ax[1], to.ay0 = from.ay[0], to.ay1 = from.ay[1];
  to.ar = from.ar, to.af = from.af;
  to.mx0 = from.mx[0], to.mx1 = from.mx[1], to.my0 = from.my[0], to.my1 = from.my[1];
  to.mf = from.mf, to.mr = static_cast<i64>(from.mr);
  to.sr0 = static_cast<int>(from.sr & 0xFFFF), to.sr1 = static_cast<int>(from.sr >> 16);
  to.si = from.si, to.se = static_cast<u16>(from.se), to.sb = static_cast<u16>(from.sb);
}

void ExportBank(SADSPBank& to, const CReferenceDsp::SBank& from) {
  const auto word = [](int value) { return static_cast<u16>(value); };
  to.ax[0] = word(from.ax0), to.ax[1] = word(from.ax1);
  to.ay[0] = word(from.ay0), to.ay[1] = word(from.ay1);
  to.ar = word(from.ar), to.af = word(from.af);
  to.mx[0] = word(from.mx0), to.mx[1] = word(from.mx1);
  to.my[0] = word(from.my0), to.my[1] = word(from.my1);
  to.mf = word(from.mf), to.mr = static_cast<u64>(from.mr);
  to.sr = static_cast<u32>(from.sr1) << 16 | static_cast<u32>(from.sr0);
  to.si = word(from.si);
  to.se = static_cast<i16>(from.se), to.sb = static_cast<i16>(from.sb);
}

void Import(CReferenceDsp& r, const CDspRig& rig) {
  const SADSPState& s = rig.processor.state;
  std::memcpy(r.internal, s.internalRam, sizeof(r.internal));
  std::memcpy(r.external, s.externalRam, sizeof(r.external));
  for (u32 i = 0; i < kAdspDataWords; ++i) r.data[i] = s.dataRam[i];
  r.pc = s.pc, r.loopEnd = s.loopEnd, r.loopCond = static_cast<int>(s.loopCond);
  r.cntr = static_cast<int>(s.cntr), r.px = static_cast<int>(s.px);
  r.SetAstat(static_cast<int>(s.astat));
  r.sstat = static_cast<int>(s.sstat), r.mstat = static_cast<int>(s.mstat);
  ImportBank(r.bank, s.bank);
  ImportBank(r.other, s.alternateBank);
  r.pcStack.depth = s.pcDepth, r.loopStack.depth = s.loopDepth;
  r.counterStack.depth = s.counterDepth, r.statusStack.depth = s.statusDepth;
  for (u32 i = 0; i < 16; ++i) r.pcStack.entry[i] = s.pcStack[i];
  for (u32 i = 0; i < 4; ++i) {
    r.loopStack.entry[i] = static_cast<int>(s.loopStack[i]);
    r.counterStack.entry[i] = static_cast<int>(s.counterStack[i]);
    const u64 status = s.statusStack[i];
    r.statusStack.entry[i] = {static_cast<int>(status >> 32 & 0xFFFF),
                              static_cast<int>(status >> 16 & 0xFFFF),
                              static_cast<int>(status & 0xFFFF)};
  }
  r.icntl = static_cast<int>(s.icntl), r.imask = static_cast<int>(s.imask);
  for (u32 i = 0; i < 8; ++i) {
    const SADSPAddress& a = s.dag[i];
    r.dag[i] = {static_cast<int>(a.i), static_cast<int>(a.l), static_cast<int>(a.m),
                static_cast<int>(a.base), static_cast<int>(a.mask)};
  }
  r.irqLevel = static_cast<int>(s.irqLevel), r.irqLatched = static_cast<int>(s.irqLatched);
  r.cycles = s.cycles, r.target = s.cycleTarget, r.cut = s.cutCycles;
  const SSoundLinkBlock& link = rig.board.link;
  r.rom = rig.rom.data();
  r.bankRegister = static_cast<int>(link.bankRegister);
  r.bankOffset = static_cast<int>(link.bankOffset);
  r.command = link.commandLatch, r.reply = link.replyLatch;
  r.bCommandTaken = rig.board.IsCommandTaken();
  r.bReplyTaken = (link.boardFlags & kReplyTaken) != 0;
  for (u32 i = 0; i < 32; ++i) r.control[i] = link.controlRegs[i];
  r.bufferIndex = static_cast<int>(link.autobufferIndex);
  r.bufferBase = static_cast<int>(link.autobufferBase);
  r.bufferLength = static_cast<int>(link.autobufferLength);
  r.bufferStep = static_cast<int>(link.autobufferStep);
  r.log.clear();
}

// The plain model's state in the format of the real one, from which it takes what no instruction
// changes.
void Export(const CReferenceDsp& r, SADSPState& s) {
  std::memcpy(s.internalRam, r.internal, sizeof(r.internal));
  std::memcpy(s.externalRam, r.external, sizeof(r.external));
  for (u32 i = 0; i < kAdspDataWords; ++i) s.dataRam[i] = static_cast<u16>(r.data[i]);
  s.pc = static_cast<u32>(r.pc), s.loopEnd = static_cast<u32>(r.loopEnd);
  s.loopCond = static_cast<u32>(r.loopCond), s.cntr = static_cast<u32>(r.cntr);
  s.px = static_cast<u32>(r.px), s.astat = static_cast<u32>(r.Astat());
  s.sstat = static_cast<u32>(r.sstat), s.mstat = static_cast<u32>(r.mstat);
  ExportBank(s.bank, r.bank);
  ExportBank(s.alternateBank, r.other);
  s.pcDepth = r.pcStack.depth, s.loopDepth = r.loopStack.depth;
  s.counterDepth = r.counterStack.depth, s.statusDepth = r.statusStack.depth;
  for (u32 i = 0; i < 16; ++i) s.pcStack[i] = static_cast<u32>(r.pcStack.entry[i]);
  for (u32 i = 0; i < 4; ++i) {
    s.loopStack[i] = static_cast<u32>(r.loopStack.entry[i]);
    s.counterStack[i] = static_cast<u32>(r.counterStack.entry[i]);
    const CReferenceDsp::SStatus& status = r.statusStack.entry[i];
    s.statusStack[i] = static_cast<u64>(status.astat) << 32 | static_cast<u64>(status.imask) << 16 |
                       static_cast<u64>(status.mstat);
  }
  s.icntl = static_cast<u32>(r.icntl), s.imask = static_cast<u32>(r.imask);
  for (u32 i = 0; i < 8; ++i) {
    const CReferenceDsp::SGenerator& g = r.dag[i];
    s.dag[i] = {static_cast<u32>(g.i), static_cast<u32>(g.l), static_cast<u32>(g.m),
                static_cast<u32>(g.base), static_cast<u32>(g.mask)};
  }
  s.irqLevel = static_cast<u32>(r.irqLevel), s.irqLatched = static_cast<u32>(r.irqLatched);
  s.cycles = static_cast<u32>(r.cycles), s.cycleTarget = static_cast<u32>(r.target);
  s.cutCycles = static_cast<u32>(r.cut);
}

bool BoardsAgree(const CReferenceDsp& r, const CSoundBoard& board) {
  const SSoundLinkBlock& link = board.link;
  bool bAgree = r.bankRegister == static_cast<int>(link.bankRegister) &&
                r.bankOffset == static_cast<int>(link.bankOffset) && r.reply == link.replyLatch &&
                r.bCommandTaken == board.IsCommandTaken() &&
                r.bReplyTaken == ((link.boardFlags & kReplyTaken) != 0) &&
                r.bufferIndex == static_cast<int>(link.autobufferIndex) &&
                r.bufferBase == static_cast<int>(link.autobufferBase) &&
                r.bufferLength == static_cast<int>(link.autobufferLength) &&
                r.bufferStep == static_cast<int>(link.autobufferStep);
  for (u32 i = 0; i < 32; ++i) bAgree = bAgree && r.control[i] == link.controlRegs[i];
  return bAgree;
}

// --- Reports -------------------------------------------------------------------------------------

void ListDifferences(std::ostream& out, const SADSPState& real, const SADSPState& plain) {
  const auto* a = reinterpret_cast<const u16*>(&real);
  const auto* b = reinterpret_cast<const u16*>(&plain);
  out << std::hex;
  for (u32 i = 0; i < sizeof(SADSPState) / 2; ++i) {
    if (a[i] != b[i]) {
      out << "  byte " << std::dec << 2 * i << std::hex << ": processor " << a[i] << ", model "
          << b[i] << "\n";
    }
  }
  const auto registers = [&](const char* name, const SADSPState& s) {
    out << name << "\n  pc " << s.pc << " loop " << s.loopEnd << "/" << s.loopCond << " cntr "
        << s.cntr << " px " << s.px << " astat " << s.astat << " sstat " << s.sstat << " mstat "
        << s.mstat << " imask " << s.imask << " icntl " << s.icntl << " irq " << s.irqLevel << "/"
        << s.irqLatched << "\n  ax " << s.bank.ax[0] << " " << s.bank.ax[1] << " ay "
        << s.bank.ay[0] << " " << s.bank.ay[1] << " ar " << s.bank.ar << " af " << s.bank.af
        << " mx " << s.bank.mx[0] << " " << s.bank.mx[1] << " my " << s.bank.my[0] << " "
        << s.bank.my[1] << " mr " << s.bank.mr << " mf " << s.bank.mf << " sr " << s.bank.sr
        << " si " << s.bank.si << " se " << s.bank.se << " sb " << s.bank.sb << "\n  depths "
        << s.pcDepth << " " << s.loopDepth << " " << s.counterDepth << " " << s.statusDepth << "\n";
    for (const SADSPAddress& d : s.dag) {
      out << "  i " << d.i << " l " << d.l << " m " << static_cast<i32>(d.m) << " base " << d.base
          << " mask " << d.mask << "\n";
    }
  };
  registers("processor", real);
  registers("model", plain);
}

// --- Streams -------------------------------------------------------------------------------------

class CStreams {
 public:
  CStreams()
      : rig_(std::make_unique<CDspRig>(kWithoutPatches)),
        model_(std::make_unique<CReferenceDsp>()),
        images_(kImages),
        expected_(std::make_unique<SADSPState>()) {
    // No event of the streams is the soonest, so that none of them cuts a slice.
    rig_->queue.Schedule(-1.0, CEventQueue::kIdleId, 0);
    CRandom random(77);
    for (u32 i = 0; i < 0x400000; ++i) rig_->rom[i] = static_cast<u8>(random.Next());
    for (u32 bank = 0; bank < 0x400000; bank += 0x1000) rig_->rom[bank + 3] %= 8;
    for (SImage& image : images_) {
      for (u32 i = 0; i < 1024; ++i) image.internal[i] = RandomInstruction(random, i);
      for (u32 i = 0; i < 2048; ++i) image.external[i] = RandomInstruction(random, 2048 + i);
      for (u16& word : image.data) word = random.Word();
    }
  }

  // Puts both models into the state that the seed gives.
  void Prepare(u64 seed, CRandom& random) {
    SADSPState& s = rig_->State();
    const SImage& image = images_[seed % kImages];
    std::memcpy(s.internalRam, image.internal, sizeof(image.internal));
    std::memcpy(s.externalRam, image.external, sizeof(image.external));
    std::memcpy(s.dataRam, image.data, sizeof(image.data));
    RandomiseRegisters(random, s);
    s.cycles = s.cutCycles = s.cycleTarget = 0;
    s.pc = random.OneIn(3) ? 0x400 + random.Below(0x1C00) : random.Below(1024 - kCodeWords);
    for (u32 i = 0; i < kCodeWords; ++i) {
      rig_->processor.WriteProgram(s.pc + i, RandomInstruction(random, s.pc + i));
    }
    if (random.OneIn(50)) PlaceWaitLoop(random, s);
    s.loopEnd = s.loopDepth == 0 ? kNoLoop : s.pc + random.Below(12);
    s.loopCond = random.OneIn(2) ? kCounterCondition : random.Below(16);
    SSoundLinkBlock& link = rig_->board.link;
    rig_->board.BoardReset();
    link.commandLatch = random.Word();
    link.controlRegs[kSystemControl] = random.OneIn(2) ? kSerialPortEnable : 0;
    link.controlRegs[kAutobufferControl] = static_cast<u16>(random.Next());
    rig_->port.lines.clear();
    Import(*model_, *rig_);
  }

  // A wait loop of the sound program, which gives the rest of a slice up.
  static void PlaceWaitLoop(CRandom& random, SADSPState& s) {
    const bool bFirst = random.OneIn(2);
    const u32 at = bFirst ? 304 : 310;
    s.internalRam[at] = 0x0D02A3;
    s.internalRam[at + 1] = 0x26E20F;
    s.internalRam[at + 2] = bFirst ? 0x181305 : 0x181364;
    s.pc = at;
  }

  // Runs a stream on both, at most so many cycles of it, and answers whether they agree.
  bool Agrees(u64 seed, u32 limit = 1000) {
    CRandom random(seed);
    Prepare(seed, random);
    const u32 slices = 1 + random.Below(3);
    for (u32 i = 0; i < slices && limit != 0; ++i) {
      const u32 target = std::min(1 + random.Below(40), limit);
      limit -= target;
      const u32 done = rig_->Run(target);
      const i64 expected = model_->Run(static_cast<int>(target));
      if (!StatesAgree() || expected != done) return false;
      const u32 raised = random.OneIn(2) ? random.Below(64) : 0;
      rig_->State().irqLatched |= raised;
      model_->irqLatched |= static_cast<int>(raised);
    }
    return true;
  }

  // Words of a form and operation that have run in all streams.
  u64 Executed(u32 kind) const { return model_->executed[kind]; }

  bool StatesAgree() {
    std::memcpy(expected_.get(), &rig_->State(), sizeof(SADSPState));
    Export(*model_, *expected_);
    if (std::memcmp(expected_.get(), &rig_->State(), sizeof(SADSPState)) != 0) return false;
    if (!BoardsAgree(*model_, rig_->board)) return false;
    if (rig_->port.lines.size() != model_->log.size()) return false;
    for (u32 i = 0; i < model_->log.size(); ++i) {
      if (rig_->port.lines[i].text != model_->log[i]) return false;
    }
    return true;
  }

  // Shortens a stream that the two disagree about to its first wrong word.
  std::string Explain(u64 seed) {
    std::ostringstream out;
    u32 limit = 1;
    while (limit < 200 && Agrees(seed, limit)) ++limit;
    model_->bTrace = true;
    model_->trace.clear();
    Agrees(seed, limit);
    out << "seed " << seed << ", first wrong after " << limit << " cycles\n" << std::hex;
    for (const auto& [pc, word] : model_->trace) out << "  " << pc << ": " << word << "\n";
    ListDifferences(out, rig_->State(), *expected_);
    for (const auto& line : rig_->port.lines) out << "  processor said " << line.text;
    for (const std::string& line : model_->log) out << "  model said " << line;
    return out.str();
  }

 private:
  struct SImage {
    u32 internal[1024];
    u32 external[2048];
    u16 data[512];
  };
  std::unique_ptr<CDspRig> rig_;
  std::unique_ptr<CReferenceDsp> model_;
  std::vector<SImage> images_;
  std::unique_ptr<SADSPState> expected_;
};

TEST(Streams, RandomInstructionsLeaveTheSameStateAsThePlainModel) {
  CStreams streams;
  for (u64 seed = 1; seed <= kStreams; ++seed) {
    if (!streams.Agrees(seed)) FAIL() << streams.Explain(seed);
  }
  for (u32 kind = 0; kind < 2048; ++kind) {
    EXPECT_GE(streams.Executed(kind), 10u)
        << "top byte " << (kind >> 3) << ", operation " << kind % 16;
  }
}

}  // namespace
}  // namespace vx::test

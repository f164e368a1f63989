// A second model of the sound processor, as plain as can be and with no code of the real one: every
// rule is written out where it applies, in signed arithmetic and single bits. It is slow, and right
// where the two agree.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace vx::test {

class CReferenceDsp {
 public:
  // --- State, in a form of its own -------------------------------------------------------------
  struct SBank {
    int ax0 = 0, ax1 = 0, ay0 = 0, ay1 = 0, ar = 0, af = 0;  // all 0 to 65535
    int mx0 = 0, mx1 = 0, my0 = 0, my1 = 0, mf = 0;
    std::int64_t mr = 0;
    int sr0 = 0, sr1 = 0, si = 0, se = 0, sb = 0;
  };
  struct SGenerator {
    int i = 0, l = 0, m = 0, base = 0, mask = 0;
  };
  template <typename T, int size>
  struct SStack {
    int depth = 0;
    T entry[size] = {};
  };

  std::uint32_t internal[1024] = {};
  std::uint32_t external[2048] = {};
  int data[512] = {};
  std::int64_t pc = 0, loopEnd = 0;
  int loopCond = 0, cntr = 0, px = 0;
  bool az = false, an = false, av = false, ac = false, as = false, aq = false, mv = false,
       ss = false;
  int sstat = 0, mstat = 0;
  SBank bank, other;
  SStack<std::int64_t, 16> pcStack;
  SStack<int, 4> loopStack;
  SStack<int, 4> counterStack;
  struct SStatus {
    int astat = 0, imask = 0, mstat = 0;
  };
  SStack<SStatus, 4> statusStack;
  int icntl = 0, imask = 0;
  SGenerator dag[8];
  int irqLevel = 0, irqLatched = 0;
  std::int64_t cycles = 0, target = 0, cut = 0;

  // The board, as far as the processor sees it.
  const std::uint8_t* rom = nullptr;
  int bankRegister = 0, bankOffset = 0, command = 0, reply = 0;
  bool bCommandTaken = true, bReplyTaken = true;
  int control[32] = {};
  int bufferIndex = 0, bufferBase = 0, bufferLength = 0, bufferStep = 0;
  bool bRebooted = false;

  std::vector<std::string> log;
  // Words executed, with their addresses, as long as it is switched on.
  bool bTrace = false;
  std::vector<std::pair<std::int64_t, std::uint32_t>> trace;
  // How often words were executed, by their bits 13 to 23: form and operation.
  std::uint64_t executed[2048] = {};

  std::int64_t Run(int cycleCount);
  void Execute(std::uint32_t word);
  int Astat() const;
  void SetAstat(int value);

 private:
  std::uint32_t ProgramWord(std::int64_t address) const;
  void SetProgramWord(int address, std::uint32_t word);
  int ReadMemory(int address);
  void WriteMemory(int address, int value);
  void WriteControl(int index, int value);
  void Configure();
  void Reboot();
  void Step();
  void LoopStep(std::int64_t address);
  void CheckInterrupts();

  bool Condition(int code);
  void PushPc(std::int64_t value);
  std::int64_t PopPc();
  void PopLoop();
  void PushCounter(int value);
  void PopCounter();
  void PushStatus();
  void PopStatus();
  void PushLoop(int entry);
  void SetMode(int value);

  int Register(int group, int index);
  void SetRegister(int group, int index, std::int64_t value);
  int ControlRegister(int index);
  void SetControlRegister(int index, std::int64_t value);
  void SetI(int g, std::int64_t value);
  void SetL(int g, std::int64_t value);

  int AddressOf(int g) const;
  void StepAddress(int g, int m);
  void Alu(std::uint32_t word, bool bToAf);
  void Mac(std::uint32_t word, bool bToMf);
  void Shift(std::uint32_t word, bool bImmediate);
  void Unit(int pair, std::uint32_t word);
  void DivideSign(std::uint32_t word);
  void DivideStep(std::uint32_t word);
  int AluX(int field) const;
  int AluY(int field) const;
};

}  // namespace vx::test

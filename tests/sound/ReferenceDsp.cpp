#include "tests/sound/ReferenceDsp.h"

#include <cstdio>

namespace vx::test {

namespace {

int Field(std::uint32_t word, int low, int high) {
  int value = 0;
  for (int bit = high; bit >= low; --bit) value = value * 2 + static_cast<int>(word >> bit & 1);
  return value;
}

int Wrap16(std::int64_t value) { return static_cast<int>(((value % 65536) + 65536) % 65536); }
int Wrap14(std::int64_t value) { return static_cast<int>(((value % 16384) + 16384) % 16384); }
int Signed16(int value) { return value >= 32768 ? value - 65536 : value; }

std::string Text(const char* format, unsigned a, unsigned b = 0, unsigned c = 0) {
  char text[128];
  std::snprintf(text, sizeof(text), format, a, b, c);
  return text;
}

// The address bits that stay when a buffer of this many words is walked.
int MaskFor(int length) {
  if (length < 2) return 16383;
  int size = 1;
  while (size < length) size *= 2;
  return (size - 1) ^ 16383;
}

}  // namespace

// --- Status ------------------------------------------------------------------------------------

int CReferenceDsp::Astat() const {
  return az * 1 + an * 2 + av * 4 + ac * 8 + as * 16 + aq * 32 + mv * 64 + ss * 128;
}

void CReferenceDsp::SetAstat(int value) {
  az = value & 1;
  an = value & 2;
  av = value & 4;
  ac = value & 8;
  as = value & 16;
  aq = value & 32;
  mv = value & 64;
  ss = value & 128;
}

void CReferenceDsp::SetMode(int value) {
  if (value % 2 != mstat % 2) {
    const SBank was = bank;
    bank = other;
    other = was;
  }
  mstat = value;
}

// --- Buses -------------------------------------------------------------------------------------

std::uint32_t CReferenceDsp::ProgramWord(std::int64_t address) const {
  if (address >= 0x2000) return 0;
  return address <= 0x3FF ? internal[address] : external[address % 2048];
}

void CReferenceDsp::SetProgramWord(int address, std::uint32_t word) {
  if (address >= 0x2000) return;
  if (address <= 0x3FF) {
    internal[address] = word;
  } else {
    external[address % 2048] = word;
  }
}

int CReferenceDsp::ReadMemory(int address) {
  if (address <= 0x1FFF) return Field(external[address % 2048], 8, 23);
  if (address <= 0x2FFF) return 0xFF00 + rom[bankOffset + address - 0x2000];
  if (address >= 0x3400 && address <= 0x37FF) {
    bCommandTaken = true;
    irqLevel &= ~4;
    return command;
  }
  if (address >= 0x3800 && address <= 0x39FF) return data[address - 0x3800];
  return 0;
}

void CReferenceDsp::WriteMemory(int address, int value) {
  if (address <= 0x1FFF) {
    std::uint32_t& word = external[address % 2048];
    word = static_cast<std::uint32_t>(value) * 256 + word % 256;
  } else if (address >= 0x3000 && address <= 0x33FF) {
    if (value % 2048 == bankRegister) return;
    bankRegister = value % 2048;
    bankOffset = (bankRegister / 256 * 128 + bankRegister % 256) * 4096;
  } else if (address >= 0x3400 && address <= 0x37FF) {
    bReplyTaken = false;
    reply = value;
  } else if (address >= 0x3800 && address <= 0x39FF) {
    data[address - 0x3800] = value;
  } else if (address >= 0x3FE0) {
    WriteControl(address - 0x3FE0, value);
  }
}

void CReferenceDsp::WriteControl(int index, int value) {
  control[index] = value;
  if (index == 31 && (value & 0x200) != 0) Reboot();
}

void CReferenceDsp::Reboot() {
  if (cut == 0) cut = cycles + 1;
  cycles = target;
  for (SGenerator& g : dag) {
    g.l = Wrap14(g.l);
    g.i = Wrap14(g.i);
    g.mask = MaskFor(g.l);
    g.base = g.i & g.mask;
  }
  loopEnd = 65535;
  pc = 0;
  cntr = 0;
  SetAstat(0);
  pcStack.depth = loopStack.depth = counterStack.depth = statusStack.depth = 0;
  irqLevel = 0;
  imask = 0;
  sstat = 0x55;
  const std::uint8_t* image = rom + bankOffset;
  const int words = image[3] * 8 + 8;
  for (int i = 0; i < words; ++i) {
    const std::uint32_t word = image[4 * i] * 65536u + image[4 * i + 1] * 256u + image[4 * i + 2];
    if (i < 1024) {
      internal[i] = word;
    } else {
      external[i - 1024] = word;
    }
  }
  bRebooted = true;
}

void CReferenceDsp::Configure() {
  if ((control[31] & 0x800) == 0 || (control[15] & 2) == 0) return;
  const int index = Field(static_cast<std::uint32_t>(control[15]), 9, 11);
  int modifier = Field(static_cast<std::uint32_t>(control[15]), 7, 8);
  if (index >= 4) modifier += 4;
  dag[index].i -= dag[index].i % 16;
  bufferIndex = index;
  bufferBase = dag[index].i;
  bufferLength = dag[index].l;
  bufferStep = dag[modifier].m;
}

// --- Slices and loops --------------------------------------------------------------------------

std::int64_t CReferenceDsp::Run(int cycleCount) {
  target = cycleCount;
  CheckInterrupts();
  while (cycles < target) Step();
  const std::int64_t done = cut != 0 ? cut : cycles;
  cycles = target = cut = 0;
  return done;
}

void CReferenceDsp::Step() {
  const std::int64_t address = pc;
  const std::uint32_t word = ProgramWord(address);
  if (bTrace) trace.emplace_back(address, word);
  if (address == loopEnd) {
    LoopStep(address);
  } else {
    pc = address + 1;
  }
  Execute(word);
  cycles = cycles + 1;
}

void CReferenceDsp::LoopStep(std::int64_t address) {
  bool bAgain = false;
  if (loopCond == 14) {
    if (cntr != 0) {
      const int was = cntr;
      cntr = cntr - 1;
      if (was != 1) {
        bAgain = true;
      } else {
        PopCounter();
      }
    }
  } else {
    bAgain = Condition(loopCond);
  }
  if (bAgain) {
    pc = pcStack.depth > 0 ? pcStack.entry[pcStack.depth - 1] : 0;
    return;
  }
  if (pcStack.depth > 0) {
    pcStack.depth = pcStack.depth - 1;
    if (pcStack.depth == 0) sstat |= 1;
  }
  pc = address + 1;
  PopLoop();
}

bool CReferenceDsp::Condition(int code) {
  const bool less = an != av;
  switch (code) {
    case 0:
      return az;
    case 1:
      return !az;
    case 2:
      return !az && !less;
    case 3:
      return az || less;
    case 4:
      return less;
    case 5:
      return !less;
    case 6:
      return av;
    case 7:
      return !av;
    case 8:
      return ac;
    case 9:
      return !ac;
    case 10:
      return as;
    case 11:
      return !as;
    case 12:
      return mv;
    case 13:
      return !mv;
    case 14: {
      if (cntr == 0) return false;
      cntr = cntr - 1;
      if (cntr > 0) return true;
      PopCounter();
      return false;
    }
    default:
      return true;
  }
}

// --- Stacks ------------------------------------------------------------------------------------

void CReferenceDsp::PushPc(std::int64_t value) {
  if (pcStack.depth == 16) {
    sstat |= 2;
    return;
  }
  pcStack.entry[pcStack.depth] = value;
  pcStack.depth = pcStack.depth + 1;
  sstat &= ~1;
}

std::int64_t CReferenceDsp::PopPc() {
  if (pcStack.depth > 0) {
    pcStack.depth = pcStack.depth - 1;
    if (pcStack.depth == 0) sstat |= 1;
  }
  return pcStack.entry[pcStack.depth];
}

void CReferenceDsp::PushLoop(int entry) {
  if (loopStack.depth == 4) {
    sstat |= 128;
    return;
  }
  loopStack.entry[loopStack.depth] = entry;
  loopStack.depth = loopStack.depth + 1;
  sstat &= ~64;
  loopEnd = entry / 16;
  loopCond = entry % 16;
}

void CReferenceDsp::PopLoop() {
  if (loopStack.depth > 0) loopStack.depth = loopStack.depth - 1;
  if (loopStack.depth == 0) {
    sstat |= 64;
    loopEnd = 65535;
    loopCond = 0;
  } else {
    const int entry = loopStack.entry[loopStack.depth - 1];
    loopEnd = entry / 16 % 16384;
    loopCond = entry % 16;
  }
}

void CReferenceDsp::PushCounter(int value) {
  if (counterStack.depth == 4) {
    sstat |= 8;
  } else {
    counterStack.entry[counterStack.depth] = cntr;
    counterStack.depth = counterStack.depth + 1;
    sstat &= ~4;
  }
  cntr = Wrap14(value);
}

void CReferenceDsp::PopCounter() {
  if (counterStack.depth > 0) {
    counterStack.depth = counterStack.depth - 1;
    if (counterStack.depth == 0) sstat |= 4;
  }
  cntr = counterStack.entry[counterStack.depth];
}

void CReferenceDsp::PushStatus() {
  if (statusStack.depth == 4) {
    sstat |= 32;
    return;
  }
  statusStack.entry[statusStack.depth] = {Astat(), imask, mstat};
  statusStack.depth = statusStack.depth + 1;
  sstat &= ~16;
}

void CReferenceDsp::PopStatus() {
  if (statusStack.depth > 0) {
    statusStack.depth = statusStack.depth - 1;
    if (statusStack.depth == 0) sstat |= 16;
  }
  const SStatus status = statusStack.entry[statusStack.depth];
  SetMode(status.mstat);
  imask = status.imask;
  SetAstat(status.astat);
}

void CReferenceDsp::CheckInterrupts() {
  if (irqLevel == 0 && irqLatched == 0) return;
  const int order[6] = {2, 4, 3, 1, 0, 5};
  for (int rank = 0; rank < 6; ++rank) {
    const int bit = 1 << order[rank];
    const bool bSensed = order[rank] <= 2 && (icntl & bit) == 0;
    if (((bSensed ? irqLevel : irqLatched) & bit) == 0) continue;
    const int enable = 32 >> rank;
    if ((imask & enable) == 0) return;
    irqLatched &= ~bit;
    PushPc(pc);
    PushStatus();
    pc = 4 + 4 * rank;
    if ((icntl & 16) != 0) {
      imask &= ~(2 * enable - 1);
    } else {
      imask &= ~63;
    }
    return;
  }
}

// --- Registers ---------------------------------------------------------------------------------

int CReferenceDsp::Register(int group, int index) {
  if (group == 3) return ControlRegister(index);
  if (group == 1 || group == 2) {
    const SGenerator& g = dag[(group - 1) * 4 + index % 4];
    if (index < 4) return g.i;
    return index < 8 ? g.m : g.l;
  }
  switch (index) {
    case 0:
      return bank.ax0;
    case 1:
      return bank.ax1;
    case 2:
      return bank.mx0;
    case 3:
      return bank.mx1;
    case 4:
      return bank.ay0;
    case 5:
      return bank.ay1;
    case 6:
      return bank.my0;
    case 7:
      return bank.my1;
    case 8:
      return bank.si;
    case 9:
      return bank.se;
    case 10:
      return bank.ar;
    case 11:
      return static_cast<int>(bank.mr & 0xFFFF);
    case 12:
      return static_cast<int>(bank.mr >> 16 & 0xFFFF);
    case 13:
      return static_cast<int>(bank.mr >> 32 & 0xFFFF);
    case 14:
      return bank.sr0;
    default:
      return bank.sr1;
  }
}

void CReferenceDsp::SetRegister(int group, int index, std::int64_t value) {
  if (group == 3) {
    SetControlRegister(index, value);
    return;
  }
  if (group == 1 || group == 2) {
    const int g = (group - 1) * 4 + index % 4;
    if (index < 4) {
      SetI(g, value);
    } else if (index < 8) {
      const int low = Wrap14(value);
      dag[g].m = low >= 8192 ? low - 16384 : low;
    } else if (index < 12) {
      SetL(g, value);
    }
    return;
  }
  const int word = Wrap16(value);
  const auto replace = [&](int shift) {
    bank.mr = (bank.mr & ~(std::int64_t{0xFFFF} << shift)) | std::int64_t{word} << shift;
  };
  switch (index) {
    case 0:
      bank.ax0 = word;
      break;
    case 1:
      bank.ax1 = word;
      break;
    case 2:
      bank.mx0 = word;
      break;
    case 3:
      bank.mx1 = word;
      break;
    case 4:
      bank.ay0 = word;
      break;
    case 5:
      bank.ay1 = word;
      break;
    case 6:
      bank.my0 = word;
      break;
    case 7:
      bank.my1 = word;
      break;
    case 8:
      bank.si = word;
      break;
    case 9:
      bank.se = word;
      break;
    case 10:
      bank.ar = word;
      break;
    case 11:
      replace(0);
      break;
    case 12:
      replace(16);
      break;
    case 13:
      replace(32);
      break;
    case 14:
      bank.sr0 = word;
      break;
    default:
      bank.sr1 = word;
      break;
  }
}

int CReferenceDsp::ControlRegister(int index) {
  switch (index) {
    case 0:
      return Astat();
    case 1:
      return mstat;
    case 2:
      return sstat;
    case 3:
      return imask;
    case 4:
      return icntl;
    case 5:
      return cntr;
    case 6:
      return Signed16(bank.sb);
    case 7:
      return px;
    default:
      log.push_back(Text("ReadInternalReg unimplemented: %u\n", static_cast<unsigned>(index)));
      return 0;
  }
}

void CReferenceDsp::SetControlRegister(int index, std::int64_t value) {
  const int word = Wrap16(value);
  switch (index) {
    case 0:
      SetAstat(word % 256);
      break;
    case 1:
      SetMode(word % 128);
      break;
    case 3:
      imask = word % 64;
      CheckInterrupts();
      break;
    case 4:
      icntl = word % 32;
      CheckInterrupts();
      break;
    case 5:
      PushCounter(word);
      break;
    case 6:
      bank.sb = word % 32 >= 16 ? word % 32 + 65536 - 32 : word % 32;
      break;
    case 7:
      px = word % 256;
      break;
    case 9:
      break;
    case 11:
      Configure();
      break;
    case 12: {
      const int pending[5] = {0, 1, 3, 4, 2};
      for (int bit = 0; bit < 5; ++bit) {
        if ((word >> (bit + 1) & 1) != 0) irqLatched &= ~(1 << pending[bit]);
      }
      for (int bit = 0; bit < 5; ++bit) {
        if ((word >> (bit + 7) & 1) != 0) irqLatched |= 1 << pending[bit];
      }
      break;
    }
    case 13:
      cntr = Wrap14(word);
      break;
    case 15:
      PushPc(Wrap14(word));
      break;
    default:
      log.push_back(Text("WriteInternalReg unimplemented: %u\n", static_cast<unsigned>(index)));
      break;
  }
}

// --- Address generators ------------------------------------------------------------------------

void CReferenceDsp::SetI(int g, std::int64_t value) {
  dag[g].i = Wrap14(value);
  dag[g].base = dag[g].i & dag[g].mask;
}

void CReferenceDsp::SetL(int g, std::int64_t value) {
  dag[g].l = Wrap14(value);
  dag[g].mask = MaskFor(dag[g].l);
  dag[g].base = dag[g].i & dag[g].mask;
}

int CReferenceDsp::AddressOf(int g) const {
  const int address = Wrap14(dag[g].i);
  if (g >= 4 || (mstat & 2) == 0) return address;
  int reversed = 0;
  for (int bit = 0; bit < 14; ++bit) {
    if ((address >> bit & 1) != 0) reversed |= 1 << (13 - bit);
  }
  return reversed;
}

void CReferenceDsp::StepAddress(int g, int m) {
  SGenerator& a = dag[g];
  int next = Wrap14(std::int64_t{a.i} + dag[m].m);
  if (next < a.base) {
    next = next + a.l;
  } else if (next >= a.base + a.l) {
    next = next - a.l;
  }
  a.i = next;
}

}  // namespace vx::test

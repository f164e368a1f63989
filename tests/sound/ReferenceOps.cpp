// The units and the instructions of the plain model.
#include <cstdio>

#include "tests/sound/ReferenceDsp.h"

namespace vx::test {

namespace {

int Field(std::uint32_t word, int low, int high) {
  return static_cast<int>(word >> low) & ((1 << (high - low + 1)) - 1);
}

int Signed16(int value) { return value >= 32768 ? value - 65536 : value; }
bool FitsSigned16(int value) { return value >= -32768 && value <= 32767; }

std::string Text(const char* format, unsigned a, unsigned b = 0, unsigned c = 0) {
  char text[128];
  std::snprintf(text, sizeof(text), format, a, b, c);
  return text;
}

}  // namespace

// --- ALU ---------------------------------------------------------------------------------------

int CReferenceDsp::AluX(int field) const {
  const int mr0 = static_cast<int>(bank.mr & 0xFFFF);
  const int mr1 = static_cast<int>(bank.mr >> 16 & 0xFFFF);
  const int x[8] = {bank.ax0, bank.ax1, bank.ar, mr0, mr1, mr1, bank.sr0, bank.sr1};
  return x[field];
}

int CReferenceDsp::AluY(int field) const {
  const int y[4] = {bank.ay0, bank.ay1, bank.af, 0};
  return y[field];
}

void CReferenceDsp::Alu(std::uint32_t word, bool bToAf) {
  const int code = Field(word, 13, 16);
  const int x = AluX(Field(word, 8, 10));
  const int y = AluY(Field(word, 11, 12));
  const int sx = Signed16(x);
  const int sy = Signed16(y);
  if (code == 2 || code == 4 || code == 6 || code == 10) {
    log.push_back(Text("ADSP unimplemented alu op: %u\n", static_cast<unsigned>(code)));
    return;
  }
  const bool bOldOverflow = av;
  bool bZero = false, bOverflow = false, bCarry = false;
  int result = 0;
  int limit = 0x7FFF;
  switch (code) {
    case 0:
      result = y;
      bZero = y == 0;
      break;
    case 1:
      result = y + 1;
      bOverflow = y == 0x7FFF;
      bCarry = y == 0xFFFF;
      if (y == 0xFFFF) limit = 0x8000;
      break;
    case 3:
      result = x + y;
      bZero = result == 0;
      bCarry = result >= 65536;
      bOverflow = !FitsSigned16(sx + sy);
      if (bCarry) limit = 0x8000;
      break;
    case 5:
      result = -y;
      bZero = y == 0;
      bCarry = y == 0;
      bOverflow = y == 0x8000;
      if (y == 0) limit = 0x8000;
      break;
    case 7:
      result = x - y;
      bZero = x == y;
      bCarry = x >= y;
      bOverflow = !FitsSigned16(sx - sy);
      if (bCarry) limit = 0x8000;
      break;
    case 8:
      result = y - 1;
      bZero = y == 1;
      bCarry = y == 0;
      bOverflow = y == 0x8000;
      if (bCarry) limit = 0x8000;
      break;
    case 9:
      result = y - x;
      bZero = x == y;
      bCarry = y >= x;
      bOverflow = !FitsSigned16(sy - sx);
      if (bCarry) limit = 0x8000;
      break;
    case 11:
      result = 65535 - x;
      bZero = result == 0;
      break;
    case 12:
      result = x & y;
      bZero = result == 0;
      break;
    case 13:
      result = x | y;
      bZero = result == 0;
      break;
    case 14:
      result = x ^ y;
      bZero = result == 0;
      break;
    default:
      result = sx < 0 ? -sx : sx;
      bZero = x == 0;
      if (sx < 0) as = true;
      break;
  }
  const int kept = ((result % 65536) + 65536) % 65536;
  az = bZero;
  an = code != 15 && kept >= 32768;
  ac = bCarry;
  av = bOverflow || ((mstat & 4) != 0 && bOldOverflow);
  if (bToAf) {
    bank.af = kept;
  } else {
    bank.ar = (mstat & 8) != 0 && av ? limit : kept;
  }
}

void CReferenceDsp::DivideSign(std::uint32_t word) {
  const int x = AluX(Field(word, 8, 10));
  const int y = AluY(Field(word, 11, 12));
  const bool bDiffer = (x >= 32768) != (y >= 32768);
  const int oldAy0 = bank.ay0;
  aq = bDiffer;
  bank.af = (y * 2 + oldAy0 / 32768) % 65536;
  bank.ay0 = (oldAy0 * 2 + (bDiffer ? 1 : 0)) % 65536;
}

void CReferenceDsp::DivideStep(std::uint32_t word) {
  const int x = AluX(Field(word, 8, 10));
  const int oldAy0 = bank.ay0;
  const int r = (bank.af + (aq ? x : 65536 - x)) % 65536;
  aq = (r >= 32768) != (x >= 32768);
  bank.af = (r * 2 + oldAy0 / 32768) % 65536;
  bank.ay0 = (oldAy0 * 2 + (r >= 32768 ? 0 : 1)) % 65536;
}

// --- Multiplier --------------------------------------------------------------------------------

void CReferenceDsp::Mac(std::uint32_t word, bool bToMf) {
  const int code = Field(word, 13, 16);
  if (code == 0) return;
  const int mr0 = static_cast<int>(bank.mr & 0xFFFF);
  const int mr1 = static_cast<int>(bank.mr >> 16 & 0xFFFF);
  const int xs[8] = {bank.mx0, bank.mx1, bank.ar, mr0, mr1, mr1, bank.sr0, bank.sr1};
  const int ys[4] = {bank.my0, bank.my1, bank.mf, 0};
  std::int64_t x = xs[Field(word, 8, 10)];
  std::int64_t y = ys[Field(word, 11, 12)];
  const bool bRound = code <= 3;
  const int signs = bRound ? 0 : code % 4;  // SS, SU, US, UU
  if (signs == 0 || signs == 1) x = Signed16(static_cast<int>(x));
  if (signs == 0 || signs == 2) y = Signed16(static_cast<int>(y));
  std::int64_t product = x * y;
  if ((mstat & 16) == 0) product = product * 2;
  // 32 bits, signed.
  product = product & 0xFFFFFFFF;
  if (product >= 0x80000000) product = product - 0x100000000;
  const int kind = bRound ? code - 1 : code / 4 - 1;  // set, add, subtract
  const std::uint64_t old = bToMf ? static_cast<std::uint64_t>(bank.mr) & 0xFFFFFFFF
                                  : static_cast<std::uint64_t>(bank.mr);
  const std::uint64_t p = static_cast<std::uint64_t>(product);
  std::uint64_t result = kind == 0 ? p : kind == 1 ? old + p : old - p;
  if (bRound) {
    result = result + 32768;
    if (p % 65536 == 32768 && (result >> 16 & 1) != 0) result = result - 65536;
  }
  if (bToMf) {
    bank.mf = static_cast<int>(result >> 16 & 0xFFFF);
    return;
  }
  bank.mr = static_cast<std::int64_t>(result);
  int ones = 0;
  for (int bit = 31; bit <= 39; ++bit) ones += static_cast<int>(result >> bit & 1);
  mv = ones != 0 && ones != 9;
}

// --- Shifter -----------------------------------------------------------------------------------

void CReferenceDsp::Shift(std::uint32_t word, bool bImmediate) {
  const int code = Field(word, 11, 14);
  const int x = Register(0, (const int[]){8, 8, 10, 11, 12, 13, 14, 15}[Field(word, 8, 10)]);
  const int low = bImmediate ? Field(word, 0, 7) : bank.se % 256;
  const int count = low >= 128 ? low - 256 : low;
  if (code >= 8) {
    if (bImmediate && code >= 12) return;
    if (bImmediate || code != 12) {
      log.push_back(Text("ADSP unimplemented shifter op: %u\n", static_cast<unsigned>(code)));
      return;
    }
    ss = x >= 32768;
    int v = x >= 32768 ? 65535 - x : x;
    int exponent = -15;
    while (v > 0) {
      v = v / 2;
      exponent = exponent + 1;
    }
    bank.se = exponent < 0 ? exponent + 65536 : exponent;
    return;
  }
  std::uint64_t wide = 0;
  if (code <= 1 || code == 4 || code == 5) {
    wide = static_cast<std::uint64_t>(x) * 65536;
  } else if (code <= 3) {
    wide = static_cast<std::uint64_t>(x);
  } else {
    wide = static_cast<std::uint64_t>(x >= 32768 ? x + 0xFFFF0000LL : x);
  }
  for (int i = 0; i < count; ++i) wide = wide * 2 % 0x100000000ULL;
  for (int i = 0; i > count; --i) wide = wide / 2;
  const int high16 = static_cast<int>(wide / 65536);
  const int low16 = static_cast<int>(wide % 65536);
  const bool bOr = code % 2 == 1;
  bank.sr1 = bOr ? bank.sr1 | high16 : high16;
  bank.sr0 = bOr ? bank.sr0 | low16 : low16;
}

// --- Instructions ------------------------------------------------------------------------------

// Pairs of top bytes: multiplier to MR, ALU to AR, multiplier to MF, ALU to AF.
void CReferenceDsp::Unit(int pair, std::uint32_t word) {
  if (pair == 0) Mac(word, false);
  if (pair == 1) Alu(word, false);
  if (pair == 2) Mac(word, true);
  if (pair == 3) Alu(word, true);
}

void CReferenceDsp::Execute(std::uint32_t word) {
  const int top = Field(word, 16, 23);
  const int low4 = Field(word, 0, 3);
  const int high4 = Field(word, 4, 7);
  const int pair = top / 2 % 4;
  const bool bSecond =
      (top >= 0x70 && top <= 0x7F) || top == 0x13 || top >= 0xB0 || (top >= 0x50 && top <= 0x5F);
  const int g = Field(word, 2, 3) + (bSecond ? 4 : 0);
  const int m = Field(word, 0, 1) + (bSecond ? 4 : 0);
  bRebooted = false;
  ++executed[word >> 13 & 2047];

  if (top == 0x00 || top == 0x01) {
    return;
  } else if (top == 0x05) {
    if (!mv) return;
    bank.mr = (bank.mr >> 39 & 1) != 0 ? -0x80000000LL : 0x7FFFFFFFLL;
  } else if (top == 0x06) {
    DivideSign(word);
  } else if (top == 0x07) {
    DivideStep(word);
  } else if (top == 0x09) {
    StepAddress(Field(word, 2, 4), Field(word, 0, 1) + 4 * Field(word, 4, 4));
  } else if (top == 0x0A) {
    if (!Condition(low4)) return;
    pc = PopPc();
    if (Field(word, 4, 4) == 1) {
      PopStatus();
      CheckInterrupts();
    }
  } else if (top == 0x0B) {
    if (!Condition(low4)) return;
    if (Field(word, 4, 4) == 1) PushPc(pc);
    pc = dag[4 + Field(word, 6, 7)].i % 16384;
  } else if (top == 0x0C) {
    const int modes[7] = {64, 1, 2, 4, 8, 16, 32};
    int value = mstat;
    for (int i = 0; i < 7; ++i) {
      const bool bTouch = Field(word, 3 + 2 * i, 3 + 2 * i) == 1;
      const bool bSet = Field(word, 2 + 2 * i, 2 + 2 * i) == 1;
      if (bTouch && bSet) value |= modes[i];
      if (bTouch && !bSet) value &= ~modes[i];
    }
    SetMode(value);
  } else if (top == 0x0D) {
    const int value = Register(Field(word, 8, 9), low4);
    SetRegister(Field(word, 10, 11), high4, value);
  } else if (top == 0x0E) {
    if (Condition(low4)) Shift(word, false);
  } else if (top == 0x0F) {
    Shift(word, true);
  } else if (top == 0x10) {
    Shift(word, false);
    SetRegister(0, high4, Register(0, low4));
  } else if (top == 0x12 || top == 0x13) {
    if (Field(word, 15, 15) == 1) {
      WriteMemory(AddressOf(g), Register(0, high4));
      if (bRebooted) return;
      StepAddress(g, m);
      Shift(word, false);
    } else {
      Shift(word, false);
      const int value = ReadMemory(AddressOf(g));
      StepAddress(g, m);
      SetRegister(0, high4, value);
    }
  } else if (top >= 0x14 && top <= 0x17) {
    PushPc(pc);
    PushLoop(Field(word, 0, 17));
  } else if (top >= 0x18 && top <= 0x1B) {
    if (!Condition(low4)) return;
    const bool bFirst =
        word == 0x181305 && pc == 307 && internal[304] == 0x0D02A3 && internal[305] == 0x26E20F;
    const bool bOther =
        word == 0x181364 && pc == 313 && internal[310] == 0x0D02A3 && internal[311] == 0x26E20F;
    if ((bFirst || bOther) && cycles > 5) cycles = target;
    pc = Field(word, 4, 17);
  } else if (top >= 0x1C && top <= 0x1F) {
    if (!Condition(low4)) return;
    PushPc(pc);
    pc = Field(word, 4, 17);
  } else if (top >= 0x20 && top <= 0x27) {
    if (Condition(low4)) Unit(pair, word);
  } else if (top >= 0x28 && top <= 0x2F) {
    const int value = Register(0, low4);
    Unit(pair, word);
    SetRegister(0, high4, value);
  } else if (top >= 0x34 && top <= 0x3B) {
    SetRegister(top <= 0x37 ? 1 : 2, low4, Field(word, 4, 17));
  } else if (top >= 0x3C && top <= 0x3F) {
    const int value = Field(word, 4, 17);
    SetRegister(3, low4, value >= 8192 ? value - 16384 : value);
  } else if (top >= 0x40 && top <= 0x4F) {
    SetRegister(0, low4, Field(word, 4, 19));
  } else if (top >= 0x50 && top <= 0x57) {
    Unit(pair, word);
    const std::uint32_t read = ProgramWord(dag[g].i % 16384);
    StepAddress(g, m);
    px = Field(read, 0, 7);
    SetRegister(0, high4, Field(read, 8, 23));
  } else if (top == 0x58 || top == 0x59) {
    SetProgramWord(dag[g].i % 16384, static_cast<std::uint32_t>(Register(0, high4) * 256 + px));
    StepAddress(g, m);
    Unit(0, word);
  } else if (top >= 0x60 && top <= 0x7F) {
    const bool bWrite = top % 16 >= 8;
    if (bWrite) {
      WriteMemory(AddressOf(g), Register(0, high4));
      if (bRebooted) return;
      StepAddress(g, m);
      Unit(pair, word);
    } else {
      Unit(pair, word);
      const int value = ReadMemory(AddressOf(g));
      StepAddress(g, m);
      SetRegister(0, high4, value);
    }
  } else if (top >= 0x80 && top <= 0x8F) {
    SetRegister(top / 4 % 4, low4, ReadMemory(Field(word, 4, 17)));
  } else if (top >= 0x90 && top <= 0x9B) {
    WriteMemory(Field(word, 4, 17), Register(top / 4 % 4, low4) & 0xFFFF);
  } else if (top >= 0xA0 && top <= 0xBF) {
    WriteMemory(AddressOf(g), Field(word, 4, 19));
    if (bRebooted) return;
    StepAddress(g, m);
  } else {
    log.push_back(Text("ADSP unimplemented op at PC %08X: %08X (%u)\n", static_cast<unsigned>(pc),
                       word, static_cast<unsigned>(top)));
  }
}

}  // namespace vx::test

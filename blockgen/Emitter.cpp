#include "blockgen/Emitter.h"

#include <cstdio>

#include "blockgen/Locals.h"
#include "mips3/Context.h"
#include "mips3/OpTable.h"

namespace vx::blockgen {

namespace {

std::string Hex(u32 value) {
  char text[16];
  std::snprintf(text, sizeof(text), "0x%X", value);
  return text;
}

std::string Call(const std::string& function, std::initializer_list<std::string> arguments) {
  std::string text = "ops::" + function + "(";
  const char* separator = "";
  for (const std::string& argument : arguments) {
    text += separator + argument;
    separator = ", ";
  }
  return text + ")";
}

class CEmitter {
 public:
  explicit CEmitter(std::span<const u32> words) : words_(words) {}

  std::string Emit() {
    for (index_ = 0; index_ < words_.size(); ++index_) {
      word_ = words_[index_];
      if (!bInDelaySlot_ && EndsBlock(word_)) SetPc(0);
      EmitOp();
      ++uncharged_;
      if (!HasDelaySlot(word_)) continue;
      EmitBranch();
      bInDelaySlot_ = true;
    }
    Charge();
    // An op that ends a block by itself may have moved pc, also in a delay slot.
    const std::string next = bInDelaySlot_ && !EndsBlock(word_) ? "next" : "m->cpu.pc";
    return text_ + locals_.WriteBack("  ") + "  return " + next + ";\n";
  }

 private:
  // --- Text --------------------------------------------------------------------------------------

  void Line(const std::string& statement) { text_ += "  " + statement + ";\n"; }
  std::string Immediate() const { return Hex(UnsignedImmediate(word_)); }
  std::string Uncharged() const { return std::to_string(uncharged_); }
  // The address of an op so many words behind the one that pc names while this op executes.
  std::string PcPlus(i32 words) {
    const i32 bytes = 4 * (static_cast<i32>(index_) + words);
    if (bytes == 0) return "pc";
    return bytes > 0 ? "pc + " + Hex(static_cast<u32>(bytes))
                     : "pc - " + Hex(0 - static_cast<u32>(bytes));
  }

  std::string S() { return locals_.Read(text_, Rs(word_)); }
  std::string T() { return locals_.Read(text_, Rt(word_)); }
  void SetRegister(u32 index, const std::string& value) {
    if (index == 0) {
      Line(value);
    } else {
      text_ += locals_.Write(index, value);
    }
  }
  void SetPlain(u32 index, const std::string& value) {
    if (index != 0) SetRegister(index, value);
  }

  // --- Time --------------------------------------------------------------------------------------

  void Charge() {
    if (uncharged_ != 0) Line(Call("Charge", {"m", Uncharged()}));
    uncharged_ = 0;
  }
  void SetPc(i32 words) { Line("m->cpu.pc = " + PcPlus(words)); }
  // pc stands in memory already while a delay op runs, and for an op that ends its block.
  void ShowPc() {
    if (!bInDelaySlot_ && !EndsBlock(word_)) SetPc(0);
  }

  // --- Ops ---------------------------------------------------------------------------------------

  void EmitOp() {
    const EOp op = DecodeOp(word_);
    const SOpInfo& info = OpInfo(op);
    switch (info.engine) {
      case EOpEngine::Plain:
        return EmitPlain(info);
      case EOpEngine::Timed:
        Charge();
        return EmitMultiplier(info);
      case EOpEngine::Memory:
        return EmitMemory(info);
      case EOpEngine::Branch:
        return;  // its delay op is told where it goes
      case EOpEngine::Call:
        break;
    }
    switch (info.table) {
      case EOpTable::Cop0:
        return EmitCop0Move(op);
      case EOpTable::Cop1:
        return EmitCop1Move(op);
      case EOpTable::Cop1Function:
        return EmitFloat(op, info);
      default:
        break;
    }
    if (op == EOp::Lwc1) {
      Charge();
      text_ += locals_.WriteWhole(Rt(word_), Call("Lwc1<Cold>", {"m", Address()}));
    } else if (op == EOp::Swc1) {
      Charge();
      const std::string value = Call("WordOf", {locals_.ReadSingle(text_, Rt(word_))});
      Line(Call("Swc1<Cold>", {"m", Address(), value}));
    } else {
      const char* const name = op == EOp::Tlbwi     ? "Tlbwi"
                               : op == EOp::Eret    ? "Eret"
                               : op == EOp::Syscall ? "Syscall"
                                                    : "Break";
      Line(Call(name, {"m"}));
    }
  }

  void EmitPlain(const SOpInfo& info) {
    const u32 target =
        info.form == EOpForm::Immediate || info.form == EOpForm::Upper ? Rt(word_) : Rd(word_);
    if (target == 0 || info.form == EOpForm::LoadStore) return;  // the latter is cache
    switch (info.form) {
      case EOpForm::ThreeRegister:
        return SetPlain(target, Call(info.executes, {S(), T()}));
      case EOpForm::Immediate:
        return SetPlain(target, Call(info.executes, {S(), Immediate()}));
      case EOpForm::Upper:
        return SetPlain(target, Call(info.executes, {Immediate()}));
      case EOpForm::Shift:
        return SetPlain(target, Call(info.executes, {T(), std::to_string(Sa(word_))}));
      default:  // ShiftVariable
        return SetPlain(target, Call(info.executes, {T(), S()}));
    }
  }

  void EmitMultiplier(const SOpInfo& info) {
    switch (info.form) {
      case EOpForm::WriteOne:
        return SetRegister(Rd(word_), Call(info.executes, {"m"}));
      case EOpForm::ReadOne:
        return Line(Call(info.executes, {"m", S()}));
      default:  // ReadTwo
        return Line(Call(info.executes, {"m", S(), T()}));
    }
  }

  std::string Address() { return Call("Address", {S(), Immediate()}); }

  void EmitMemory(const SOpInfo& info) {
    const bool bStore = info.name[0] == 's';
    const bool bUnaligned = info.name[2] == 'l' || info.name[2] == 'r';
    // The unaligned stores are called whole.
    const std::string function = info.executes + std::string(bStore && bUnaligned ? "" : "<Cold>");
    const std::string address = Address();
    if (bStore) {
      Line(Call(function, {"m", address, T(), Uncharged()}));
    } else if (bUnaligned) {
      SetRegister(Rt(word_), Call(function, {"m", address, T(), Uncharged()}));
    } else {
      SetRegister(Rt(word_), Call(function, {"m", address, Uncharged()}));
    }
  }

  void EmitCop0Move(EOp op) {
    const u32 index = Rd(word_);
    if (op == EOp::Mtc0) {
      const std::string value = T();
      if (index == kCop0Count || index == kCop0Compare) Charge();
      if (index == kCop0Status || index == kCop0Cause) ShowPc();
      return Line(Call("Mtc0", {"m", std::to_string(index), value}));
    }
    if (Rt(word_) == 0) return;
    if (index == kCop0Random || index == kCop0Count || index == kCop0Cause) Charge();
    if (index == kCop0Cause) ShowPc();
    SetRegister(Rt(word_), Call(op == EOp::Mfc0 ? "Mfc0" : "Dmfc0",
                                {"m", std::to_string(index), std::to_string(Rt(word_))}));
  }

  // --- Floating point ----------------------------------------------------------------------------

  void EmitCop1Move(EOp op) {
    const u32 fs = Rd(word_), rt = Rt(word_);
    switch (op) {
      case EOp::Mfc1:
        if (rt != 0) SetRegister(rt, Call("Mfc1", {locals_.ReadSingle(text_, fs)}));
        return;
      case EOp::Dmfc1:
        if (rt != 0) SetRegister(rt, locals_.ReadWhole(text_, fs));
        return;
      case EOp::Mtc1: {
        const std::string value = T();
        text_ += locals_.WriteWhole(fs, Call("Mtc1", {value}));
        return;
      }
      case EOp::Dmtc1: {
        const std::string value = T();
        text_ += locals_.WriteWhole(fs, value);
        return;
      }
      case EOp::Ctc1:
        return Line(Call("Ctc1", {"m", std::to_string(fs), T()}));
      default:  // Bc1
        return;
    }
  }

  bool IsDouble() const { return (Rs(word_) & 1) != 0; }
  bool HasIntegerSource() const { return (word_ >> 23 & 1) != 0; }

  std::string Double(u32 index) { return Call("AsDouble", {locals_.ReadWhole(text_, index)}); }
  // A source operand in the format of the op's table.
  std::string Source(u32 index) {
    return IsDouble() ? Double(index) : locals_.ReadSingle(text_, index);
  }
  // The source of a conversion to a floating point format.
  std::string ConvertedSource(u32 index) {
    if (!HasIntegerSource()) return Double(index);
    if (IsDouble()) return Call("AsLong", {locals_.ReadWhole(text_, index)});
    return Call("AsWord", {locals_.ReadSingle(text_, index)});
  }

  void EmitFloat(EOp op, const SOpInfo& info) {
    Charge();
    const u32 fs = Rd(word_), ft = Rt(word_), fd = Sa(word_);
    const std::string format = IsDouble() ? "<f64>" : "<f32>";
    if (op >= EOp::CF) {
      const std::string relation = Call("FpRelation", {std::to_string(Funct(word_))});
      const std::string condition = std::to_string(word_ >> 8 & 7);
      const std::string s = Source(fs), t = Source(ft);
      return Line(Call("FpCompare" + format, {"m", relation, condition, s, t}));
    }
    switch (op) {
      case EOp::CvtS:
        return SetSingle(fd, Call("CvtS", {"m", ConvertedSource(fs)}));
      case EOp::CvtD:
        return SetWhole(fd, "FromDouble", Call("CvtD", {"m", ConvertedSource(fs)}));
      case EOp::CvtW:
        return SetSingle(fd, Call("FromWord", {Call("CvtW" + format, {"m", Source(fs)})}));
      case EOp::CvtL:
        return SetWhole(fd, "FromLong", Call("CvtL" + format, {"m", Source(fs)}));
      default:
        break;
    }
    const std::string name = NameOf(op) + format;
    std::string value;
    if (info.form == EOpForm::FpThree) {
      const std::string s = Source(fs), t = Source(ft);
      value = Call(name, {"m", s, t});
    } else {
      value = Call(name, {"m", Source(fs)});
    }
    if (IsDouble()) {
      SetWhole(fd, "FromDouble", value);
    } else {
      SetSingle(fd, value);
    }
  }

  static std::string NameOf(EOp op) {
    static constexpr const char* kNames[] = {"FpAdd",  "FpSub", "FpMul", "FpDiv",
                                             "FpSqrt", "FpAbs", "FpMov", "FpNeg"};
    return kNames[static_cast<u32>(op) - static_cast<u32>(EOp::FpAdd)];
  }
  void SetSingle(u32 index, const std::string& value) {
    text_ += locals_.WriteSingle(index, value);
  }
  void SetWhole(u32 index, const std::string& from, const std::string& value) {
    text_ += locals_.WriteWhole(index, Call(from, {value}));
  }

  // --- Branches ----------------------------------------------------------------------------------

  // What the branch itself does: condition, link, where the next block begins. Its delay op
  // follows.
  void EmitBranch() {
    const EOp op = DecodeOp(word_);
    const SOpInfo& info = OpInfo(op);
    const std::string behind = PcPlus(1);
    if (info.form == EOpForm::Jump) {
      const std::string here = PcPlus(0);
      const std::string offset = Hex((word_ & 0x3FFFFFF) << 2);
      if (op == EOp::Jal) Link(31, behind);
      return GoOn(Call("Jump", {"m", here, offset}));
    }
    if (op == EOp::Jr || op == EOp::Jalr) {
      const std::string target = S();
      Line("const u32 target = " + Call("Low", {target}));
      if (op == EOp::Jalr) Link(Rd(word_), behind);
      return GoOn(Call("GoTo", {"m", "target", behind}));
    }
    const std::string target = PcPlus(SignedImmediate(word_));
    Line("const bool bTaken = " + Condition(op));
    if (op == EOp::Bltzal || op == EOp::Bgezal || op == EOp::Bltzall || op == EOp::Bgezall) {
      Link(31, behind);
    }
    const bool bLikely = (info.traits & kLikely) == kLikely || IsMarkedLikely(word_);
    if (!bLikely) return GoOn(Call("Branch", {"m", "bTaken", target, behind}));
    text_ += "  if (!bTaken) {\n    m->cpu.pc = " + behind + ";\n    " +
             Call("Charge", {"m", Uncharged()}) + ";\n" + locals_.WriteBack("    ") +
             "    return " + behind + ";\n  }\n";
    GoOn(Call("GoTo", {"m", target, behind}));
  }

  // Where the block leaves for; its end answers that.
  void GoOn(const std::string& address) { Line("[[maybe_unused]] const u32 next = " + address); }

  void Link(u32 index, const std::string& behind) { SetRegister(index, Call("LinkTo", {behind})); }

  std::string Condition(EOp op) {
    switch (op) {
      case EOp::Beq:
      case EOp::Beql:
        return Call("IsEqual", {S(), T()});
      case EOp::Bne:
      case EOp::Bnel:
        return "!" + Call("IsEqual", {S(), T()});
      case EOp::Blez:
      case EOp::Blezl:
        return "!" + Call("IsPositive", {S()});
      case EOp::Bgtz:
      case EOp::Bgtzl:
        return Call("IsPositive", {S()});
      case EOp::Bltz:
      case EOp::Bltzl:
      case EOp::Bltzal:
      case EOp::Bltzall:
        return Call("IsNegative", {S()});
      case EOp::Bc1: {
        const char* const sense = (word_ >> 16 & 1) != 0 ? "" : "!";
        return sense + Call("FpCondition", {"m", std::to_string(word_ >> 18 & 7)});
      }
      default:  // bgez and its forms
        return "!" + Call("IsNegative", {S()});
    }
  }

  std::span<const u32> words_;
  std::string text_;
  CLocals locals_;
  size_t index_ = 0;
  u32 word_ = 0;
  u32 uncharged_ = 0;
  bool bInDelaySlot_ = false;
};

}  // namespace

std::string EmitBody(std::span<const u32> words) { return CEmitter(words).Emit(); }

std::string EmitListing(std::span<const u32> words) {
  std::string text;
  char line[64];
  for (const u32 word : words) {
    std::snprintf(line, sizeof(line), "// %08X %s\n", word, OpInfo(DecodeOp(word)).name);
    text += line;
  }
  return text;
}

}  // namespace vx::blockgen

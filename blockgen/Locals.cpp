#include "blockgen/Locals.h"

namespace vx::blockgen {

namespace {

std::string Numbered(const char* prefix, u32 index) { return prefix + std::to_string(index); }
std::string General(u32 index) { return "m->cpu.gpr[" + std::to_string(index) + "]"; }
std::string Float(u32 index) { return "m->cpu.fpr[" + std::to_string(index) + "]"; }

}  // namespace

std::string CLocals::Assign(SLocal& local, const char* type, const std::string& name,
                            const std::string& value) {
  const std::string start = local.bDeclared ? "  " : std::string("  ") + type + " ";
  local.bDeclared = true;
  local.bCurrent = true;
  return start + name + " = " + value + ";\n";
}

std::string CLocals::Read(std::string& text, u32 index) {
  if (index == 0) return "ops::kZero";
  SLocal& local = general_[index];
  if (!local.bCurrent) text += Assign(local, "u64", Numbered("r", index), General(index));
  return Numbered("r", index);
}

std::string CLocals::Write(u32 index, const std::string& value) {
  general_[index].bDirty = true;
  return Assign(general_[index], "u64", Numbered("r", index), value);
}

std::string CLocals::ReadWhole(std::string& text, u32 index) {
  SLocal& whole = whole_[index];
  SLocal& single = single_[index];
  const std::string name = Numbered("f", index);
  if (!whole.bCurrent) text += Assign(whole, "u64", name, Float(index));
  if (single.bDirty) {
    text += Assign(whole, "u64", name, "ops::Merge(" + name + ", " + Numbered("s", index) + ")");
    whole.bDirty = true;
    single.bDirty = false;
  }
  return name;
}

std::string CLocals::WriteWhole(u32 index, const std::string& value) {
  whole_[index].bDirty = true;
  single_[index].bCurrent = false;
  single_[index].bDirty = false;
  return Assign(whole_[index], "u64", Numbered("f", index), value);
}

std::string CLocals::ReadSingle(std::string& text, u32 index) {
  SLocal& single = single_[index];
  if (!single.bCurrent) {
    const std::string from = whole_[index].bCurrent ? Numbered("f", index) : Float(index);
    text += Assign(single, "f32", Numbered("s", index), "ops::AsSingle(" + from + ")");
  }
  return Numbered("s", index);
}

std::string CLocals::WriteSingle(u32 index, const std::string& value) {
  single_[index].bDirty = true;
  return Assign(single_[index], "f32", Numbered("s", index), value);
}

std::string CLocals::WriteBack(const std::string& indent) const {
  std::string text;
  for (u32 i = 1; i < 32; ++i) {
    if (general_[i].bDirty) text += indent + General(i) + " = " + Numbered("r", i) + ";\n";
  }
  for (u32 i = 0; i < 32; ++i) {
    const std::string whole = Numbered("f", i), single = Numbered("s", i);
    if (whole_[i].bDirty && single_[i].bDirty) {
      text += indent + Float(i) + " = ops::Merge(" + whole + ", " + single + ");\n";
    } else if (single_[i].bDirty) {
      text += indent + "ops::StoreSingle(" + Float(i) + ", " + single + ");\n";
    } else if (whole_[i].bDirty) {
      text += indent + Float(i) + " = " + whole + ";\n";
    }
  }
  return text;
}

}  // namespace vx::blockgen

#include "script/ScriptTable.h"

#include "machine/VXMachine.h"
#include "script/ScriptActions.h"
#include "script/ScriptCalls.h"
#include "script/ScriptHooks.h"

namespace vx {

namespace {

using enum EScriptWord;
constexpr EScriptForm kNone = EScriptForm::NoArgument;
constexpr EScriptForm kScalar = EScriptForm::Scalar;
constexpr EScriptForm kResult = EScriptForm::ResultInPlace;
constexpr EScriptForm kBlock = EScriptForm::Block;
constexpr EScriptForm kHole = EScriptForm::Reserved;

constexpr u32 kRegisters = 32;
constexpr u32 kStacks = 4;
constexpr u32 kProgramEnd = 0x2000;  // of the sound processor's program bus
constexpr u32 kBank0 = kAdspInternalWords;
constexpr u32 kBank1 = kAdspExternalWords;

// clang-format off
constexpr SScriptFunction kFunctions[kScriptFunctionCount] = {
  // no  name                        form      words                                   bound               without  action
  {   0, "Emu_GetCodeHash",          kResult,  { U64To },                              0,                  false, script::GetCodeHash },
  {   1, "Emu_GetDiskId",            kResult,  { U64To },                              0,                  false, script::GetDiskId },
  {   2, "Emu_AddFirstResetCallback",kBlock,   { Value, Value },                       0,                  true,  script::AddFirstResetCallback },
  {   3, "Emu_AddResetCallback",     kBlock,   { Value, Value },                       0,                  true,  script::AddResetCallback },
  {   4, "Emu_AddFrameCallback",     kBlock,   { Value, Value },                       0,                  true,  script::AddFrameCallback },
  {   5, "Emu_VirtualToFlat",        kBlock,   { U32To, Value },                       0,                  false, script::VirtualToFlat },
  {   6, "Emu_VirtualToPhysical",    kBlock,   { U32To, Value },                       0,                  false, script::VirtualToPhysical },
  {   7, "Emu_SetMIPSBreakpoint",    kBlock,   { Value, Value },                       kRecordCount,       false, script::SetMipsBreakpoint },
  {   8, "Emu_ClearMIPSBreakpoint",  kScalar,  {},                                     kRecordCount,       false, script::ClearMipsBreakpoint },
  {   9, "Emu_Read8",                kBlock,   { Value, U8To },                        kFlatBytes,         false, script::Read8 },
  {  10, "Emu_Read16",               kBlock,   { Value, U16To },                       kFlatBytes,         false, script::Read16 },
  {  11, "Emu_Read32",               kBlock,   { Value, U32To },                       kFlatBytes,         false, script::Read32 },
  {  12, "Emu_Read64",               kBlock,   { Value, U64To },                       kFlatBytes,         false, script::Read64 },
  {  13, "Emu_ReadBlock",            kBlock,   { Value, BytesTo, Value },              kFlatBytes,         false, script::ReadBlock },
  {  14, "Emu_Write8",               kBlock,   { Value, U8From },                      kFlatBytes,         false, script::Write8 },
  {  15, "Emu_Write16",              kBlock,   { Value, U16From },                     kFlatBytes,         false, script::Write16 },
  {  16, "Emu_Write32",              kBlock,   { Value, U32From },                     kFlatBytes,         false, script::Write32 },
  {  17, "Emu_Write64",              kBlock,   { Value, U64From },                     kFlatBytes,         false, script::Write64 },
  {  18, "Emu_WriteBlock",           kBlock,   { Value, BytesFrom, Value },            kFlatBytes,         false, script::WriteBlock },
  {  19, "Emu_GetFrameNumber",       kResult,  { U64To },                              0,                  false, script::GetFrameNumber },
  {  20, "Emu_GetPC",                kResult,  { U32To },                              0,                  false, script::GetPc },
  {  21, "Emu_SetPC",                kScalar,  {},                                     0,                  false, script::SetPc },
  {  22, "Emu_SetNextPC",            kScalar,  {},                                     0,                  false, script::SetNextPc },
  {  23, "Emu_GetGPR",               kBlock,   { U32From, U64To },                     kRegisters,         false, script::GetGpr },
  {  24, "Emu_SetGPR",               kBlock,   { U32From, U64From },                   kRegisters,         false, script::SetGpr },
  {  25, "Emu_GetLO",                kResult,  { U64To },                              0,                  false, script::GetLo },
  {  26, "Emu_SetLO",                kBlock,   { U64Here },                            0,                  false, script::SetLo },
  {  27, "Emu_GetHI",                kResult,  { U64To },                              0,                  false, script::GetHi },
  {  28, "Emu_SetHI",                kBlock,   { U64Here },                            0,                  false, script::SetHi },
  {  29, "Emu_GetLLFlag",            kResult,  { U32To },                              0,                  false, script::GetLlFlag },
  {  30, "Emu_SetLLFlag",            kBlock,   { Value },                              0,                  false, script::SetLlFlag },
  {  31, "Emu_GetFPR",               kBlock,   { U32From, U64To },                     kRegisters,         false, script::GetFpr },
  {  32, "Emu_SetFPR",               kBlock,   { U32From, U64From },                   kRegisters,         false, script::SetFpr },
  {  33, "Emu_GetFPR32",             kBlock,   { U32From, U32To, U32From },            kRegisters,         false, script::GetFpr32 },
  {  34, "Emu_SetFPR32",             kBlock,   { U32From, U32From, U32From },          kRegisters,         false, script::SetFpr32 },
  {  35, "Emu_GetCop0",              kBlock,   { U32From, U64To },                     kRegisters,         false, script::GetCop0 },
  {  36, "Emu_SetCop0",              kBlock,   { U32From, U64From },                   kRegisters,         false, script::SetCop0 },
  {  37, "Emu_AddCycles",            kScalar,  {},                                     0,                  false, script::AddCycles },
  {  38, "Emu_BreakSlice",           kNone,    {},                                     0,                  false, script::BreakSlice },
  {  39, "Emu_DspPatch",             kBlock,   { Value, Value, Value, U32To },         kMostDspHooks,      false, script::DspPatch },
  {  40, "Emu_DspUnpatch",           kBlock,   { Value, U32To },                       0,                  false, script::DspUnpatch },
  {  41, "Emu_GetDspReg",            kBlock,   { Value, U32To, Value },                kRegisters,         false, script::GetDspReg },
  {  42, "Emu_SetDspReg",            kBlock,   { Value, Value, Value },                kRegisters,         false, script::SetDspReg },
  {  43, "Emu_GetDspDag",            kBlock,   { Value, Value, U32To },                8,                  false, script::GetDspDag },
  {  44, "Emu_SetDspDag",            kBlock,   { Value, Value, Value },                8,                  false, script::SetDspDag },
  {  45, "Emu_ReadDspData",          kBlock,   { Value, U32To },                       kAdspDataAddresses, false, script::ReadDspData },
  {  46, "Emu_ReadDspProgram",       kBlock,   { Value, U32To },                       kProgramEnd,        false, script::ReadDspProgram },
  {  47, "Emu_WriteDspData",         kBlock,   { Value, Value },                       kAdspDataAddresses, false, script::WriteDspData },
  {  48, "Emu_WriteDspProgram",      kBlock,   { Value, Value },                       kProgramEnd,        false, script::WriteDspProgram },
  {  49, "Emu_ReadDspBank0",         kBlock,   { Value, U32To },                       kBank0,             false, script::ReadDspBank0 },
  {  50, "Emu_ReadDspBank1",         kBlock,   { Value, U32To },                       kBank1,             false, script::ReadDspBank1 },
  {  51, "Emu_ReadDspInternal",      kBlock,   { Value, U32To },                       kAdspDataWords,     false, script::ReadDspInternal },
  {  52, "Emu_WriteDspBank0",        kBlock,   { Value, Value },                       kBank0,             false, script::WriteDspBank0 },
  {  53, "Emu_WriteDspBank1",        kBlock,   { Value, Value },                       kBank1,             false, script::WriteDspBank1 },
  {  54, "Emu_WriteDspInternal",     kBlock,   { Value, Value },                       kAdspDataWords,     false, script::WriteDspInternal },
  {  55, "Emu_GetDspStack",          kBlock,   { Value, Value, U64To },                kStacks,            false, script::GetDspStack },
  {  56, "Emu_SetDspStack",          kBlock,   { Value, Value, U64From },              kStacks,            false, script::SetDspStack },
  {  57, "",                         kHole,    {},                                     0,                  false, nullptr },
  {  58, "",                         kHole,    {},                                     0,                  false, nullptr },
  {  59, "Emu_SetSoundInstances",    kScalar,  {},                                     CDspInstances::kMost, false, script::SetSoundInstances },
  {  60, "Emu_IsSoundPositional",    kBlock,   { U32To, Value },                       0,                  false, script::IsSoundPositional },
  {  61, "Emu_GetSoundChannel",      kBlock,   { U32To, Value },                       0,                  false, script::GetSoundChannel },
  {  62, "Emu_SetSoundChannel",      kBlock,   { Value, Value },                       0,                  false, script::SetSoundChannel },
  {  63, "Emu_SetListener",          kBlock,   { VectorFrom, VectorFrom, VectorFrom, VectorFrom, Value }, 0, false, script::SetListener },
  {  64, "Emu_PlayPositional",       kBlock,   { Value, VectorFrom, F32From, U32To },  0,                  false, script::PlayPositional },
  {  65, "Emu_GetTime",              kResult,  { F64To },                              0,                  false, script::GetTime },
  {  66, "Emu_SetStepMode",          kBlock,   { Value, Value },                       0,                  false, script::SetStepMode },
  {  67, "Emu_GetStepInstance",      kResult,  { U32To },                              0,                  false, script::GetStepInstance },
  {  68, "Emu_GetStepRequests",      kResult,  { U32To },                              0,                  false, script::GetStepRequests },
  {  69, "",                         kHole,    {},                                     0,                  false, nullptr },
  {  70, "Emu_HashString",           kBlock,   { TextFrom, U64To },                    0,                  false, script::HashString },
  {  71, "Emu_LoadBlob",             kBlock,   { BytesTo, Value, U64From, U32To },     0,                  false, script::LoadBlob },
  {  72, "Emu_StoreBlob",            kBlock,   { BytesFrom, Value, U64From },          0,                  false, script::StoreBlob },
  {  73, "Emu_Project",              kBlock,   { BytesTo, Value, BytesFrom, BytesFrom, F32From, Value }, 0, false, script::Project },
  {  74, "Emu_GetInputPort",         kBlock,   { U64To, Value },                       0,                  false, script::GetInputPort },
  {  75, "Emu_GetPlayerExtra",       kBlock,   { U32To, Value },                       0,                  false, script::GetPlayerExtra },
};
// clang-format on

constexpr bool RowsStandAtTheirNumbers() {
  for (u32 i = 0; i < kScriptFunctionCount; ++i) {
    const SScriptFunction& row = kFunctions[i];
    const bool bHole = row.form == EScriptForm::Reserved;
    if (row.number != i || (row.name[0] == 0) != bHole) return false;
  }
  return true;
}
static_assert(RowsStandAtTheirNumbers());

u32 WordCount(const SScriptFunction& row) {
  u32 count = 0;
  for (const EScriptWord word : row.words) {
    if (word == None) break;
    count += word == U64Here ? 2 : 1;
  }
  return count;
}

}  // namespace

std::span<const SScriptFunction, kScriptFunctionCount> ScriptFunctions() { return kFunctions; }

void CallScriptFunction(CVXMachine* m, u64 memoryBase, u64 function, u64 argument) {
  if (function >= kScriptFunctionCount) return;
  const SScriptFunction& row = kFunctions[function];
  if (row.action == nullptr || (m == nullptr && !row.bWithoutMachine)) return;
  SScriptCall call{m, CScriptMemory(memoryBase), argument, row.bound, {}};
  if (row.form == EScriptForm::Block) {
    const u32 count = WordCount(row);
    if (call.memory.Span(argument, u64{count} * sizeof(u32)) == nullptr) return;
    for (u32 i = 0; i < count; ++i) call.words[i] = call.memory.Load<u32>(argument + 4 * i);
  }
  row.action(call);
}

}  // namespace vx

#include "host/lua/FunctionTable.h"

namespace vx {

namespace {

using enum EFunctionWord;
using EValue = EScriptValue;
constexpr EFunctionForm kResult = EFunctionForm::ResultInPlace;
constexpr EFunctionForm kBlock = EFunctionForm::Block;
constexpr EFunctionForm kScalar = EFunctionForm::Scalar;
constexpr EFunctionForm kNoArgument = EFunctionForm::NoArgument;
constexpr EFunctionForm kReserved = EFunctionForm::Reserved;

// clang-format off
constexpr SFunction kFunctions[kFunctionCount] = {
  // no  name                         form         words, and what the function does
  {   0, "Emu_GetCodeHash",           kResult,
      { { U64To, EValue::Integer, "hash" } },
      "The identity of the eight sound ROMs of the pack." },
  {   1, "Emu_GetDiskId",             kResult,
      { { U64To, EValue::Integer, "id" } },
      "The identity of the disk of the pack." },
  {   2, "Emu_AddFirstResetCallback", kBlock,
      { { Value, EValue::Function, "callback" }, { Value, EValue::Nothing, "" } },
      "Has the function called once for each machine, at its first frame; breakpoints that were set before are dropped then." },
  {   3, "Emu_AddResetCallback",      kBlock,
      { { Value, EValue::Function, "callback" }, { Value, EValue::Nothing, "" } },
      "Has the function called at the first frame after every reset or loaded state; hooks in the sound program are taken out before." },
  {   4, "Emu_AddFrameCallback",      kBlock,
      { { Value, EValue::Function, "callback" }, { Value, EValue::Nothing, "" } },
      "Has the function called with the page, 0 or 1, at every picture that the board takes, inside the frame." },
  {   5, "Emu_VirtualToFlat",         kBlock,
      { { U32To, EValue::Integer, "offset" }, { Value, EValue::Integer, "address" } },
      "The offset in the guest memory image that a processor address leads to." },
  {   6, "Emu_VirtualToPhysical",     kBlock,
      { { U32To, EValue::Integer, "physical" }, { Value, EValue::Integer, "address" } },
      "The physical address behind a processor address." },
  {   7, "Emu_SetMIPSBreakpoint",     kBlock,
      { { Value, EValue::Integer, "offset" }, { Value, EValue::Function, "callback" } },
      "Has the function called with (offset, op word) whenever the code word at this offset is reached; an answer of false leaves the op out." },
  {   8, "Emu_ClearMIPSBreakpoint",   kScalar,
      { { Value, EValue::Integer, "offset" } },
      "Drops all callbacks of the code word at this offset." },
  {   9, "Emu_Read8",                 kBlock,
      { { Value, EValue::Integer, "offset" }, { U8To, EValue::Integer, "value" } },
      "Reads 8 bits of guest memory; 0 where there is none." },
  {  10, "Emu_Read16",                kBlock,
      { { Value, EValue::Integer, "offset" }, { U16To, EValue::Integer, "value" } },
      "Reads 16 bits of guest memory; 0 where there is none." },
  {  11, "Emu_Read32",                kBlock,
      { { Value, EValue::Integer, "offset" }, { U32To, EValue::Integer, "value" } },
      "Reads 32 bits of guest memory; 0 where there is none." },
  {  12, "Emu_Read64",                kBlock,
      { { Value, EValue::Integer, "offset" }, { U64To, EValue::Integer, "value" } },
      "Reads 64 bits of guest memory; 0 where there is none." },
  {  13, "Emu_ReadBlock",             kBlock,
      { { Value, EValue::Integer, "offset" }, { BytesTo, EValue::Text, "bytes" }, { Value, EValue::Size, "size", 0xE00001 } },
      "Reads a block of guest memory as a string; zeros if it does not lie there whole." },
  {  14, "Emu_Write8",                kBlock,
      { { Value, EValue::Integer, "offset" }, { U8From, EValue::Integer, "value" } },
      "Writes 8 bits of guest memory; nothing where there is none." },
  {  15, "Emu_Write16",               kBlock,
      { { Value, EValue::Integer, "offset" }, { U16From, EValue::Integer, "value" } },
      "Writes 16 bits of guest memory; nothing where there is none." },
  {  16, "Emu_Write32",               kBlock,
      { { Value, EValue::Integer, "offset" }, { U32From, EValue::Integer, "value" } },
      "Writes 32 bits of guest memory; nothing where there is none." },
  {  17, "Emu_Write64",               kBlock,
      { { Value, EValue::Integer, "offset" }, { U64From, EValue::Integer, "value" } },
      "Writes 64 bits of guest memory; nothing where there is none." },
  {  18, "Emu_WriteBlock",            kBlock,
      { { Value, EValue::Integer, "offset" }, { BytesFrom, EValue::Text, "bytes" }, { Value, EValue::Length, "" } },
      "Writes a string to guest memory, if it fits there whole." },
  {  19, "Emu_GetFrameNumber",        kResult,
      { { U64To, EValue::Integer, "frame" } },
      "Frames since the last reset." },
  {  20, "Emu_GetPC",                 kResult,
      { { U32To, EValue::Integer, "address" } },
      "The main processor's program counter; in a breakpoint's callback that of the op behind." },
  {  21, "Emu_SetPC",                 kScalar,
      { { Value, EValue::Integer, "address" } },
      "Sets the program counter." },
  {  22, "Emu_SetNextPC",             kScalar,
      { { Value, EValue::Integer, "address" } },
      "Sets where the processor goes on after one more op." },
  {  23, "Emu_GetGPR",                kBlock,
      { { U32From, EValue::Integer, "register", 32 }, { U64To, EValue::Integer, "value" } },
      "A general register." },
  {  24, "Emu_SetGPR",                kBlock,
      { { U32From, EValue::Integer, "register", 32 }, { U64From, EValue::Integer, "value" } },
      "Sets a general register; register 0 stays 0." },
  {  25, "Emu_GetLO",                 kResult,
      { { U64To, EValue::Integer, "value" } },
      "The LO register." },
  {  26, "Emu_SetLO",                 kBlock,
      { { U64Here, EValue::Integer, "value" } },
      "Sets LO." },
  {  27, "Emu_GetHI",                 kResult,
      { { U64To, EValue::Integer, "value" } },
      "The HI register." },
  {  28, "Emu_SetHI",                 kBlock,
      { { U64Here, EValue::Integer, "value" } },
      "Sets HI." },
  {  29, "Emu_GetLLFlag",             kResult,
      { { U32To, EValue::Integer, "value" } },
      "The flag that ll sets and eret clears." },
  {  30, "Emu_SetLLFlag",             kBlock,
      { { Value, EValue::Integer, "value" } },
      "Sets that flag." },
  {  31, "Emu_GetFPR",                kBlock,
      { { U32From, EValue::Integer, "register", 32 }, { U64To, EValue::Integer, "value" } },
      "A floating register as 64 bits." },
  {  32, "Emu_SetFPR",                kBlock,
      { { U32From, EValue::Integer, "register", 32 }, { U64From, EValue::Integer, "value" } },
      "Sets a floating register as 64 bits." },
  {  33, "Emu_GetFPR32",              kBlock,
      { { U32From, EValue::Integer, "register", 32 }, { U32To, EValue::Integer, "value" }, { U32From, EValue::Integer, "half" } },
      "One half of a floating register: 0 the low one, else the high one." },
  {  34, "Emu_SetFPR32",              kBlock,
      { { U32From, EValue::Integer, "register", 32 }, { U32From, EValue::Integer, "value" }, { U32From, EValue::Integer, "half" } },
      "Sets one half of a floating register." },
  {  35, "Emu_GetCop0",               kBlock,
      { { U32From, EValue::Integer, "register", 32 }, { U64To, EValue::Integer, "value" } },
      "A system register; reading Count (9) or Cause (13) lets 64 cycles pass." },
  {  36, "Emu_SetCop0",               kBlock,
      { { U32From, EValue::Integer, "register", 32 }, { U64From, EValue::Integer, "value" } },
      "Writes a system register as the guest would, with all that follows." },
  {  37, "Emu_AddCycles",             kScalar,
      { { Value, EValue::Integer, "cycles", 0x80000000 } },
      "Moves the processor on in its slice of time by so many cycles." },
  {  38, "Emu_BreakSlice",            kNoArgument,
      {  },
      "Ends the processor's slice of time here." },
  {  39, "Emu_DspPatch",              kBlock,
      { { Value, EValue::Integer, "address" }, { Value, EValue::Integer, "expected" }, { Value, EValue::Function, "callback" }, { U32To, EValue::Integer, "index" } },
      "Has the function called with the planted word when the sound program reaches this address; an answer of false leaves the word out. Fails, with 0, if another word than the expected one stands there; 0 expects any." },
  {  40, "Emu_DspUnpatch",            kBlock,
      { { Value, EValue::Integer, "address" }, { U32To, EValue::Boolean, "found" } },
      "Takes all such hooks off an address." },
  {  41, "Emu_GetDspReg",             kBlock,
      { { Value, EValue::Integer, "register", 32 }, { U32To, EValue::Integer, "value" }, { Value, EValue::Optional, "bank" } },
      "A register of the sound processor: 0 PC, 1 CNTR, 2 PX, 4 SSTAT, 5 MSTAT, 6 ICNTL, 7 IMASK, 9 AX0, AX1, AY0, AY1, AR, AF, MX0, MX1, MY0, MY1, 19 MR0, MR1, MR2, MF, SR0, SR1, SI, SE, SB, 28 to 31 the depths of the stacks. Bank 1 is the alternate one." },
  {  42, "Emu_SetDspReg",             kBlock,
      { { Value, EValue::Integer, "register", 32 }, { Value, EValue::Integer, "value" }, { Value, EValue::Optional, "bank" } },
      "Sets such a register as a field, with no effect besides." },
  {  43, "Emu_GetDspDag",             kBlock,
      { { Value, EValue::Integer, "index", 8 }, { Value, EValue::Integer, "kind", 3 }, { U32To, EValue::Signed, "value" } },
      "An address register of the sound processor: kind 0 index, 1 length, 2 modify." },
  {  44, "Emu_SetDspDag",             kBlock,
      { { Value, EValue::Integer, "index", 8 }, { Value, EValue::Integer, "kind", 3 }, { Value, EValue::Integer, "value" } },
      "Sets an address register; 14 bits of the value count." },
  {  45, "Emu_ReadDspData",           kBlock,
      { { Value, EValue::Integer, "address" }, { U32To, EValue::Integer, "value" } },
      "Reads the sound processor's data bus; a device there notices." },
  {  46, "Emu_ReadDspProgram",        kBlock,
      { { Value, EValue::Integer, "address" }, { U32To, EValue::Integer, "value" } },
      "Reads a word of its program." },
  {  47, "Emu_WriteDspData",          kBlock,
      { { Value, EValue::Integer, "address" }, { Value, EValue::Integer, "value" } },
      "Writes its data bus; a device there notices." },
  {  48, "Emu_WriteDspProgram",       kBlock,
      { { Value, EValue::Integer, "address" }, { Value, EValue::Integer, "value" } },
      "Writes a word of its program." },
  {  49, "Emu_ReadDspBank0",          kBlock,
      { { Value, EValue::Integer, "address" }, { U32To, EValue::Integer, "value" } },
      "Reads its internal program memory, 1024 words." },
  {  50, "Emu_ReadDspBank1",          kBlock,
      { { Value, EValue::Integer, "address" }, { U32To, EValue::Integer, "value" } },
      "Reads its external memory, 2048 words." },
  {  51, "Emu_ReadDspInternal",       kBlock,
      { { Value, EValue::Integer, "address" }, { U32To, EValue::Integer, "value" } },
      "Reads its internal data memory, 512 words." },
  {  52, "Emu_WriteDspBank0",         kBlock,
      { { Value, EValue::Integer, "address" }, { Value, EValue::Integer, "value" } },
      "Writes its internal program memory." },
  {  53, "Emu_WriteDspBank1",         kBlock,
      { { Value, EValue::Integer, "address" }, { Value, EValue::Integer, "value" } },
      "Writes its external memory." },
  {  54, "Emu_WriteDspInternal",      kBlock,
      { { Value, EValue::Integer, "address" }, { Value, EValue::Integer, "value" } },
      "Writes its internal data memory." },
  {  55, "Emu_GetDspStack",           kBlock,
      { { Value, EValue::Integer, "stack", 4 }, { Value, EValue::Integer, "index" }, { U64To, EValue::Integer, "value" } },
      "An entry of a stack: 0 PC (16 entries), 1 loop, 2 counter, 3 status (4 each)." },
  {  56, "Emu_SetDspStack",           kBlock,
      { { Value, EValue::Integer, "stack", 4 }, { Value, EValue::Integer, "index" }, { U64From, EValue::Integer, "value" } },
      "Sets an entry of a stack." },
  {  57, "",                          kReserved,
      {  },
      "" },
  {  58, "",                          kReserved,
      {  },
      "" },
  {  59, "Emu_SetSoundInstances",     kScalar,
      { { Value, EValue::Integer, "count", 257 } },
      "Has so many clones of the sound processor play positional sounds, one for each channel from 0 on; 0 ends it." },
  {  60, "Emu_IsSoundPositional",     kBlock,
      { { U32To, EValue::Boolean, "simple" }, { Value, EValue::Integer, "sound" } },
      "Whether a sound is a plain effect that can be played at a place." },
  {  61, "Emu_GetSoundChannel",       kBlock,
      { { U32To, EValue::Signed, "channel" }, { Value, EValue::Integer, "sound" } },
      "The channel of a sound; -1 if it has none." },
  {  62, "Emu_SetSoundChannel",       kBlock,
      { { Value, EValue::Integer, "sound" }, { Value, EValue::Integer, "channel" } },
      "Gives a sound another channel until a pack is loaded." },
  {  63, "Emu_SetListener",           kBlock,
      { { VectorFrom, EValue::VectorOrNil, "position" }, { VectorFrom, EValue::VectorOrNil, "forward" }, { VectorFrom, EValue::VectorOrNil, "axis" }, { VectorFrom, EValue::VectorOrNil, "up" }, { Value, EValue::Optional, "invert" } },
      "Places the listener, with the axis from left to right of length 1; with all four vectors nil only the last word is set, whose bit 0 inverts the right channel beside clones." },
  {  64, "Emu_PlayPositional",        kBlock,
      { { Value, EValue::Integer, "sound" }, { VectorFrom, EValue::Vector, "position" }, { F32From, EValue::Number, "range" }, { U32To, EValue::Boolean, "played" } },
      "Plays a sound at a place; beyond the range it is not heard, and a range of 0 has no end." },
  {  65, "Emu_GetTime",               kResult,
      { { F64To, EValue::Number, "microseconds" } },
      "Microseconds since the frame's start." },
  {  66, "Emu_SetStepMode",           kBlock,
      { { Value, EValue::Boolean, "enable" }, { Value, EValue::Optional, "mask" } },
      "Switches look-ahead in two branches on or off; mask bits: 1 arms the wait for page flips if a request stands, 2 and 4 are requests, 8 gives the frame up at its end." },
  {  67, "Emu_GetStepInstance",       kResult,
      { { U32To, EValue::Integer, "branch" } },
      "0 on the board itself, 1 or 2 in a branch of look-ahead." },
  {  68, "Emu_GetStepRequests",       kResult,
      { { U32To, EValue::Integer, "mask" } },
      "The requests (2, 4 and 8) that stand." },
  {  69, "",                          kReserved,
      {  },
      "" },
  {  70, "Emu_HashString",            kBlock,
      { { TextFrom, EValue::Text, "text" }, { U64To, EValue::Integer, "hash" } },
      "The 64-bit hash of a text up to its first zero." },
  {  71, "Emu_LoadBlob",              kBlock,
      { { BytesTo, EValue::Text, "bytes" }, { Value, EValue::Size, "size", 0x4000001 }, { U64From, EValue::Integer, "key" }, { U32To, EValue::Success, "" } },
      "The first bytes of what was stored under this key; nil if there are not so many." },
  {  72, "Emu_StoreBlob",             kBlock,
      { { BytesFrom, EValue::Text, "bytes" }, { Value, EValue::Length, "" }, { U64From, EValue::Integer, "key" } },
      "Keeps a string in the machine under a key; it travels in its states." },
  {  73, "Emu_Project",               kBlock,
      { { BytesTo, EValue::Points, "rows" }, { Value, EValue::Stride, "" }, { BytesFrom, EValue::Points, "points" }, { BytesFrom, EValue::Camera, "camera" }, { F32From, EValue::Number, "bias" }, { Value, EValue::Count, "" } },
      "Projects points {x, y, z} by the camera of twelve words, all in 16.16 fixed point, onto the picture: {x, y, w} each, zeros if too near. Words: 1 to 3 position, 4 distance, 5 yaw, 6 pitch, 8 focal length, 9 scale, 11 and 12 centre." },
  {  74, "Emu_GetInputPort",          kBlock,
      { { U64To, EValue::Integer, "port" }, { Value, EValue::Integer, "number" } },
      "The guest's input word of the first (0) or second player, active low." },
  {  75, "Emu_GetPlayerExtra",        kBlock,
      { { U32To, EValue::Integer, "bits" }, { Value, EValue::Integer, "player" } },
      "The system bits from 9 up of the first (0) or second player." },
};
// clang-format on

}  // namespace

std::span<const SFunction, kFunctionCount> ComponentFunctions() { return kFunctions; }

bool IsOutput(EFunctionWord word) { return word >= U8To; }

bool IsArgument(const SFunctionWord& word) {
  switch (word.value) {
    case EValue::Nothing:
    case EValue::Length:
    case EValue::Stride:
    case EValue::Count:
      return false;
    default:
      return word.word != None && !IsOutput(word.word);
  }
}

std::string Signature(const SFunction& function) {
  std::string arguments;
  std::string result;
  std::string close;
  for (const SFunctionWord& word : function.words) {
    if (IsArgument(word)) {
      const bool bOptional = word.value == EValue::Optional;
      if (!arguments.empty()) arguments += bOptional ? " [, " : ", ";
      arguments += word.name;
      if (bOptional) close += "]";
    } else if (IsOutput(word.word) && word.value != EValue::Success) {
      result = std::string(" -> ") + word.name;
    }
  }
  return function.name + ("(" + arguments + close + ")") + result;
}

}  // namespace vx

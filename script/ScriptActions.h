// What the rows of the script table do, by the part of the machine that they reach.
#pragma once

#include "script/ScriptTable.h"

namespace vx::script {

// Hook lists (ScriptHooks.cpp).
void AddFirstResetCallback(const SScriptCall& call);
void AddResetCallback(const SScriptCall& call);
void AddFrameCallback(const SScriptCall& call);

// Guest memory (MemoryActions.cpp).
void VirtualToFlat(const SScriptCall& call);
void VirtualToPhysical(const SScriptCall& call);
void Read8(const SScriptCall& call);
void Read16(const SScriptCall& call);
void Read32(const SScriptCall& call);
void Read64(const SScriptCall& call);
void ReadBlock(const SScriptCall& call);
void Write8(const SScriptCall& call);
void Write16(const SScriptCall& call);
void Write32(const SScriptCall& call);
void Write64(const SScriptCall& call);
void WriteBlock(const SScriptCall& call);

// Main processor (ProcessorActions.cpp).
void SetMipsBreakpoint(const SScriptCall& call);
void ClearMipsBreakpoint(const SScriptCall& call);
void GetPc(const SScriptCall& call);
void SetPc(const SScriptCall& call);
void SetNextPc(const SScriptCall& call);
void GetGpr(const SScriptCall& call);
void SetGpr(const SScriptCall& call);
void GetLo(const SScriptCall& call);
void SetLo(const SScriptCall& call);
void GetHi(const SScriptCall& call);
void SetHi(const SScriptCall& call);
void GetLlFlag(const SScriptCall& call);
void SetLlFlag(const SScriptCall& call);
void GetFpr(const SScriptCall& call);
void SetFpr(const SScriptCall& call);
void GetFpr32(const SScriptCall& call);
void SetFpr32(const SScriptCall& call);
void GetCop0(const SScriptCall& call);
void SetCop0(const SScriptCall& call);
void AddCycles(const SScriptCall& call);
void BreakSlice(const SScriptCall& call);

// Sound processor (DspActions.cpp, DspHooks.cpp).
void DspPatch(const SScriptCall& call);
void DspUnpatch(const SScriptCall& call);
void GetDspReg(const SScriptCall& call);
void SetDspReg(const SScriptCall& call);
void GetDspDag(const SScriptCall& call);
void SetDspDag(const SScriptCall& call);
void ReadDspData(const SScriptCall& call);
void ReadDspProgram(const SScriptCall& call);
void WriteDspData(const SScriptCall& call);
void WriteDspProgram(const SScriptCall& call);
void ReadDspBank0(const SScriptCall& call);
void ReadDspBank1(const SScriptCall& call);
void ReadDspInternal(const SScriptCall& call);
void WriteDspBank0(const SScriptCall& call);
void WriteDspBank1(const SScriptCall& call);
void WriteDspInternal(const SScriptCall& call);
void GetDspStack(const SScriptCall& call);
void SetDspStack(const SScriptCall& call);

// Positional sound (SoundActions.cpp).
void SetSoundInstances(const SScriptCall& call);
void IsSoundPositional(const SScriptCall& call);
void GetSoundChannel(const SScriptCall& call);
void SetSoundChannel(const SScriptCall& call);
void SetListener(const SScriptCall& call);
void PlayPositional(const SScriptCall& call);

// The board and services (BoardActions.cpp, Projection.cpp).
void GetCodeHash(const SScriptCall& call);
void GetDiskId(const SScriptCall& call);
void GetFrameNumber(const SScriptCall& call);
void GetTime(const SScriptCall& call);
void SetStepMode(const SScriptCall& call);
void GetStepInstance(const SScriptCall& call);
void GetStepRequests(const SScriptCall& call);
void HashString(const SScriptCall& call);
void LoadBlob(const SScriptCall& call);
void StoreBlob(const SScriptCall& call);
void Project(const SScriptCall& call);
void GetInputPort(const SScriptCall& call);
void GetPlayerExtra(const SScriptCall& call);

}  // namespace vx::script

// What the engine's parts tell each other: the functions that a script gets.
#pragma once

#include <span>

#include "host/lua/Engine.h"

namespace vx {

// The component's functions, by their table.
struct SComponentCall {
  static void Open(lua_State* L);
  static int Call(lua_State* L);
};

// The libraries of the language that are safe to have.
struct SSandbox {
  static void Open(lua_State* L, bool bAllLibraries);
  static int AfterCatch(lua_State* L, int status, lua_KContext context);
  static int Catch(lua_State* L);
  static int Handle(lua_State* L);
  static int AfterHandled(lua_State* L, int status, lua_KContext context);
  static int CatchHandled(lua_State* L);
  static int Begin(lua_State* L);
  static int Wrap(lua_State* L);
  static int Resume(lua_State* L);
  static int Print(lua_State* L);
};

// The host's own functions, in the table `vx`.
struct SHostFunction {
  const char* signature;  // "text(x, y, text [, color])"
  const char* sentence;   // for the manual
  lua_CFunction function;
};
struct SHostFunctions {
  static const SHostFunction kRows[];

  static void Open(lua_State* L);
  static int Append(lua_State* L, std::vector<u32>& list);
  static int OnInput(lua_State* L);
  static int OnFrame(lua_State* L);
  static int OnBranches(lua_State* L);
  static int Size(lua_State* L);
  static int Pixel(lua_State* L);
  static int Line(lua_State* L);
  static int Box(lua_State* L);
  static int Fill(lua_State* L);
  static int Text(lua_State* L);
  static int Branch(lua_State* L);
  static int GetInput(lua_State* L);
  static int SetInput(lua_State* L);
  static int SaveState(lua_State* L);
  static int LoadState(lua_State* L);
  static int FreeState(lua_State* L);
  static int Reset(lua_State* L);
  static int Pause(lua_State* L);
  static int Stop(lua_State* L);
  static int ReadText(lua_State* L);
};
std::span<const SHostFunction> HostFunctions();

}  // namespace vx

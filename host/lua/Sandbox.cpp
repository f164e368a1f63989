// The libraries that a script has. What a script could hang the run with, in one call of a library
// that no count of instructions interrupts, is bounded here; what could catch the error that ends a
// script's turn lets it through.
#include <cstring>
#include <string_view>

#include "host/lua/Internals.h"

namespace vx {

namespace {

constexpr u64 kMostRepeated = u64{64} << 20;  // bytes
constexpr u64 kMostSteps = 2'000'000'000;     // of matching a pattern, at worst
constexpr u64 kCatchWork = 200;               // what catching an error counts for, in instructions
constexpr lua_Integer kMostMoved = 1 << 24;   // elements

// Calls the library's own function, which is the first upvalue, with all arguments.
int CallOriginal(lua_State* L) {
  lua_pushvalue(L, lua_upvalueindex(1));
  lua_insert(L, 1);
  lua_call(L, lua_gettop(L) - 1, LUA_MULTRET);
  return lua_gettop(L);
}

// Puts a function in place of a library's, with that one for its upvalue.
void Replace(lua_State* L, const char* name, lua_CFunction function) {
  lua_getfield(L, -1, name);
  lua_pushcclosure(L, function, 1);
  lua_setfield(L, -2, name);
}

void Remove(lua_State* L, const char* name) {
  lua_pushnil(L);
  lua_setfield(L, -2, name);
}

// --- Strings -----------------------------------------------------------------------------------

int Repeat(lua_State* L) {
  size_t bytes = 0;
  size_t between = 0;
  luaL_checklstring(L, 1, &bytes);
  const lua_Integer count = luaL_checkinteger(L, 2);
  luaL_optlstring(L, 3, "", &between);
  if (count > 0 && bytes + between == 0) {
    lua_pushliteral(L, "");
    return 1;
  }
  if (count > 0 && static_cast<u64>(count) > kMostRepeated / (bytes + between)) {
    return luaL_error(L, "the resulting string is too large");
  }
  return CallOriginal(L);
}

// The steps that matching can take at worst: every place of the text, and for each repetition of
// the pattern every length.
int Match(lua_State* L) {
  size_t bytes = 0;
  size_t patternBytes = 0;
  luaL_checklstring(L, 1, &bytes);
  const char* const pattern = luaL_checklstring(L, 2, &patternBytes);
  f64 steps = static_cast<f64>(bytes) + 1.0;
  u32 repetitions = 0;
  for (size_t i = 0; i < patternBytes; ++i) {
    if (pattern[i] == '%') {
      ++i;
    } else if (std::strchr("*+-", pattern[i]) != nullptr && pattern[i] != 0) {
      // The last repetition has nothing behind it to go back for.
      if (++repetitions > 1) steps *= static_cast<f64>(bytes) + 1.0;
    } else if (pattern[i] == '?') {
      steps *= 2.0;
    }
  }
  steps *= repetitions > 0 ? 2.0 : static_cast<f64>(patternBytes) / 8.0 + 1.0;
  if (steps > static_cast<f64>(kMostSteps)) {
    return luaL_error(L, "the pattern could take too long on a text of %d bytes",
                      static_cast<int>(bytes));
  }
  return CallOriginal(L);
}

// --- Tables ------------------------------------------------------------------------------------

// A length that a script makes up could be walked for ever.
int PlainTable(lua_State* L) {
  if (luaL_getmetafield(L, 1, "__len") != LUA_TNIL) {
    return luaL_argerror(L, 1, "a table with a length of its own is not taken");
  }
  return CallOriginal(L);
}

int Move(lua_State* L) {
  const lua_Integer from = luaL_checkinteger(L, 2);
  const lua_Integer to = luaL_checkinteger(L, 3);
  const bool bMany = to >= from && static_cast<u64>(to) - static_cast<u64>(from) >= kMostMoved;
  if (bMany) return luaL_error(L, "there are too many elements to move");
  return CallOriginal(L);
}

// --- Base --------------------------------------------------------------------------------------

// Finalizers run uncounted, so there are none.
int SetMetatable(lua_State* L) {
  if (lua_istable(L, 2)) {
    lua_pushliteral(L, "__gc");
    if (lua_rawget(L, 2) != LUA_TNIL) return luaL_argerror(L, 2, "__gc is not available");
    lua_pop(L, 1);
  }
  return CallOriginal(L);
}

// Text only, and whole: code of the machine under the language could do anything.
int Load(lua_State* L) {
  size_t bytes = 0;
  const char* const text = luaL_checklstring(L, 1, &bytes);
  const char* const name = luaL_optstring(L, 2, text);
  const bool bEnvironment = !lua_isnone(L, 4);
  if (luaL_loadbufferx(L, text, bytes, name, "t") != LUA_OK) {
    lua_pushnil(L);
    lua_insert(L, -2);
    return 2;
  }
  if (bEnvironment) {
    lua_pushvalue(L, 4);
    if (lua_setupvalue(L, -2, 1) == nullptr) lua_pop(L, 1);
  }
  return 1;
}

int CollectGarbage(lua_State* L) {
  const std::string_view option = luaL_optstring(L, 1, "collect");
  if (option == "count") {
    lua_pushnumber(L, lua_gc(L, LUA_GCCOUNT) + lua_gc(L, LUA_GCCOUNTB) / 1024.0);
    return 1;
  }
  if (option != "collect") return luaL_argerror(L, 1, "only \"collect\" and \"count\" are there");
  lua_pushinteger(L, lua_gc(L, LUA_GCCOLLECT));
  return 1;
}

void OpenLibrary(lua_State* L, const char* name, lua_CFunction open) {
  luaL_requiref(L, name, open, 1);
  lua_pop(L, 1);
}

void ReplaceIn(lua_State* L, const char* library, std::initializer_list<luaL_Reg> functions) {
  lua_getglobal(L, library);
  for (const luaL_Reg& row : functions) Replace(L, row.name, row.func);
  lua_pop(L, 1);
}

}  // namespace

// pcall and its kin catch the error that ends a script's turn like any other: it is raised anew
// behind them.
int SSandbox::AfterCatch(lua_State* L, int, lua_KContext) {
  CScriptEngine::Of(L).Charge(L, 0);
  return lua_gettop(L);
}

int SSandbox::Catch(lua_State* L) {
  CScriptEngine::Of(L).Charge(L, kCatchWork);
  lua_pushvalue(L, lua_upvalueindex(1));
  lua_insert(L, 1);
  lua_callk(L, lua_gettop(L) - 1, LUA_MULTRET, 0, AfterCatch);
  return AfterCatch(L, LUA_OK, 0);
}

// Where a count runs out, no further counting goes on until the error has been caught: the
// script's own handler is not asked then.
int SSandbox::Handle(lua_State* L) {
  if (CScriptEngine::Of(L).IsExhausted()) return 1;
  lua_pushvalue(L, lua_upvalueindex(1));
  lua_insert(L, 1);
  lua_call(L, 1, 1);
  return 1;
}

int SSandbox::AfterHandled(lua_State* L, int status, lua_KContext) {
  CScriptEngine::Of(L).Charge(L, 0);
  lua_pushboolean(L, status == LUA_OK || status == LUA_YIELD ? 1 : 0);
  lua_replace(L, 1);
  return lua_gettop(L);
}

int SSandbox::CatchHandled(lua_State* L) {
  CScriptEngine::Of(L).Charge(L, kCatchWork);
  luaL_checkany(L, 1);
  luaL_checktype(L, 2, LUA_TFUNCTION);
  lua_pushvalue(L, 2);
  lua_pushcclosure(L, Handle, 1);
  lua_pushvalue(L, 1);
  lua_replace(L, 2);  // the function behind its handler
  lua_replace(L, 1);
  const int status = lua_pcallk(L, lua_gettop(L) - 2, LUA_MULTRET, 1, 0, AfterHandled);
  return AfterHandled(L, status, 0);
}

// A coroutine begins its count of instructions anew.
int SSandbox::Begin(lua_State* L) {
  constexpr u64 kUncounted = 1000;
  CScriptEngine::Of(L).Charge(L, kUncounted);
  return CallOriginal(L);
}

// A coroutine as a function. Unlike the library's own one it does not close what fails: that would
// run uncounted.
int SSandbox::Wrap(lua_State* L) {
  luaL_checktype(L, 1, LUA_TFUNCTION);
  constexpr u64 kUncounted = 1000;
  CScriptEngine::Of(L).Charge(L, kUncounted);
  lua_State* const coroutine = lua_newthread(L);
  lua_pushvalue(L, 1);
  lua_xmove(L, coroutine, 1);
  lua_pushcclosure(L, Resume, 1);
  return 1;
}

int SSandbox::Resume(lua_State* L) {
  CScriptEngine::Of(L).Charge(L, kCatchWork);
  lua_State* const coroutine = lua_tothread(L, lua_upvalueindex(1));
  const int count = lua_gettop(L);
  if (!lua_checkstack(coroutine, count)) return luaL_error(L, "too many arguments to resume");
  const bool bDone = lua_status(coroutine) == LUA_OK && lua_gettop(coroutine) == 0;
  if (bDone) return luaL_error(L, "cannot resume dead coroutine");
  lua_xmove(L, coroutine, count);
  int results = 0;
  const int status = lua_resume(coroutine, L, count, &results);
  CScriptEngine::Of(L).Charge(L, 0);
  if (status != LUA_OK && status != LUA_YIELD) {
    lua_xmove(coroutine, L, 1);
    return lua_error(L);
  }
  if (!lua_checkstack(L, results + 1)) {
    lua_pop(coroutine, results);
    return luaL_error(L, "too many results to resume");
  }
  lua_xmove(coroutine, L, results);
  return results;
}

int SSandbox::Print(lua_State* L) {
  std::string line;
  const int count = lua_gettop(L);
  for (int i = 1; i <= count; ++i) {
    size_t bytes = 0;
    const char* const text = luaL_tolstring(L, i, &bytes);
    if (i > 1) line += '\t';
    line.append(text, bytes);
    lua_pop(L, 1);
  }
  const CScriptEngine& engine = CScriptEngine::Of(L);
  if (engine.port_.print) engine.port_.print(line);
  return 0;
}

void SSandbox::Open(lua_State* L, bool bAllLibraries) {
  if (bAllLibraries) {
    luaL_openlibs(L);
  } else {
    OpenLibrary(L, LUA_GNAME, luaopen_base);
    OpenLibrary(L, LUA_COLIBNAME, luaopen_coroutine);
    OpenLibrary(L, LUA_TABLIBNAME, luaopen_table);
    OpenLibrary(L, LUA_STRLIBNAME, luaopen_string);
    OpenLibrary(L, LUA_MATHLIBNAME, luaopen_math);
    OpenLibrary(L, LUA_UTF8LIBNAME, luaopen_utf8);
    lua_pushglobaltable(L);
    for (const char* const name : {"dofile", "loadfile", "warn"}) Remove(L, name);
    Replace(L, "load", Load);
    Replace(L, "collectgarbage", CollectGarbage);
    lua_getfield(L, -1, LUA_STRLIBNAME);
    Remove(L, "dump");
    lua_pop(L, 2);
  }
  ReplaceIn(L, LUA_GNAME,
            {{"pcall", Catch},
             {"xpcall", CatchHandled},
             {"setmetatable", SetMetatable},
             {"print", Print}});
  ReplaceIn(L, LUA_COLIBNAME, {{"resume", Catch}, {"create", Begin}, {"wrap", Wrap}});
  lua_getglobal(L, LUA_COLIBNAME);
  Remove(L, "close");  // it would run a script's code uncounted
  lua_pop(L, 1);
  ReplaceIn(
      L, LUA_STRLIBNAME,
      {{"rep", Repeat}, {"find", Match}, {"match", Match}, {"gmatch", Match}, {"gsub", Match}});
  ReplaceIn(L, LUA_TABLIBNAME,
            {{"insert", PlainTable},
             {"remove", PlainTable},
             {"sort", PlainTable},
             {"concat", PlainTable},
             {"unpack", PlainTable},
             {"move", Move}});
  // The same random numbers in each run: a run is a function of its input.
  lua_getglobal(L, LUA_MATHLIBNAME);
  lua_getfield(L, -1, "randomseed");
  lua_pushinteger(L, 0);
  lua_call(L, 1, 0);
  lua_pop(L, 1);
}

}  // namespace vx

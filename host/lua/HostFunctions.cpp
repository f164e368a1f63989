// The host's own functions for scripts, in the table `vx`: callbacks of the frame, drawing, input,
// states and the run.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <string_view>

#include "host/ControlNames.h"
#include "host/HostError.h"
#include "host/InputFile.h"
#include "host/lua/Internals.h"

namespace vx {

namespace {

constexpr char kStateType[] = "vx.state";
constexpr u64 kMostTextBytes = u64{4} << 20;
constexpr u64 kStateWork = 1'000'000;  // what a state counts for, in instructions
constexpr u8 kKeepHooks = 1;  // a state that does not wake the reset hooks when it is loaded
constexpr lua_Integer kWhite = 0xFFFFFF;

struct SHeldState {
  std::vector<u8>* bytes;
};

// A coordinate; what is far off stays off.
i32 Coordinate(lua_State* L, int argument) {
  constexpr lua_Number kFar = 100000.0;
  const lua_Number value = luaL_checknumber(L, argument);
  return static_cast<i32>(std::isnan(value) ? -kFar : std::floor(std::clamp(value, -kFar, kFar)));
}

u32 Color(lua_State* L, int argument) {
  return static_cast<u32>(luaL_optinteger(L, argument, kWhite)) & 0xFFFFFF;
}

u32 Alpha(lua_State* L, int argument) {
  return static_cast<u32>(std::clamp<lua_Integer>(luaL_optinteger(L, argument, 255), 0, 255));
}

u32 Player(lua_State* L, int argument) {
  const lua_Integer player = luaL_checkinteger(L, argument);
  if (player < 1 || player > static_cast<lua_Integer>(kHostPlayers)) {
    luaL_argerror(L, argument, "a player is 1 or 2");
  }
  return static_cast<u32>(player - 1);
}

u32 Bits(lua_State* L, int argument) { return static_cast<u32>(luaL_optinteger(L, argument, 0)); }

}  // namespace

// --- Callbacks ---------------------------------------------------------------------------------

int SHostFunctions::OnInput(lua_State* L) {
  CScriptEngine& engine = CScriptEngine::Of(L);
  return Append(L, engine.onInput_);
}
int SHostFunctions::OnFrame(lua_State* L) {
  CScriptEngine& engine = CScriptEngine::Of(L);
  return Append(L, engine.onFrame_);
}
int SHostFunctions::OnBranches(lua_State* L) {
  CScriptEngine& engine = CScriptEngine::Of(L);
  return Append(L, engine.onBranches_);
}

// A function stands once in each list.
int SHostFunctions::Append(lua_State* L, std::vector<u32>& list) {
  const u32 callback = CScriptEngine::Of(L).CallbackOf(L, 1);
  if (std::find(list.begin(), list.end(), callback) == list.end()) list.push_back(callback);
  return 0;
}

// --- Drawing -----------------------------------------------------------------------------------

int SHostFunctions::Size(lua_State* L) {
  const COverlay& overlay = CScriptEngine::Of(L).overlay_;
  lua_pushinteger(L, overlay.Width());
  lua_pushinteger(L, overlay.Height());
  return 2;
}

int SHostFunctions::Pixel(lua_State* L) {
  CScriptEngine::Of(L).overlay_.Pixel(Coordinate(L, 1), Coordinate(L, 2), Color(L, 3), Alpha(L, 4));
  return 0;
}

int SHostFunctions::Line(lua_State* L) {
  CScriptEngine& engine = CScriptEngine::Of(L);
  engine.Charge(L, 200);
  engine.overlay_.Line(Coordinate(L, 1), Coordinate(L, 2), Coordinate(L, 3), Coordinate(L, 4),
                       Color(L, 5), Alpha(L, 6));
  return 0;
}

int SHostFunctions::Box(lua_State* L) {
  CScriptEngine& engine = CScriptEngine::Of(L);
  engine.Charge(L, 400);
  engine.overlay_.Box(Coordinate(L, 1), Coordinate(L, 2), Coordinate(L, 3), Coordinate(L, 4),
                      Color(L, 5), Alpha(L, 6));
  return 0;
}

int SHostFunctions::Fill(lua_State* L) {
  CScriptEngine& engine = CScriptEngine::Of(L);
  const i32 width = Coordinate(L, 3);
  const i32 height = Coordinate(L, 4);
  const i64 dots = i64{std::clamp(width, 0, engine.overlay_.Width())} *
                   std::clamp(height, 0, engine.overlay_.Height());
  engine.Charge(L, static_cast<u64>(dots));
  engine.overlay_.Fill(Coordinate(L, 1), Coordinate(L, 2), width, height, Color(L, 5), Alpha(L, 6));
  return 0;
}

int SHostFunctions::Text(lua_State* L) {
  constexpr size_t kMostLetters = 4096;
  CScriptEngine& engine = CScriptEngine::Of(L);
  size_t bytes = 0;
  const char* const text = luaL_checklstring(L, 3, &bytes);
  bytes = std::min(bytes, kMostLetters);
  engine.Charge(L, bytes * 32);
  engine.overlay_.Text(Coordinate(L, 1), Coordinate(L, 2), std::string_view(text, bytes),
                       Color(L, 4), Alpha(L, 5));
  return 0;
}

int SHostFunctions::Branch(lua_State* L) {
  CScriptEngine& engine = CScriptEngine::Of(L);
  const lua_Integer number = luaL_checkinteger(L, 1);
  if (number != 1 && number != 2) return luaL_argerror(L, 1, "a branch is 1 or 2");
  const std::vector<u32>& picture = engine.branches_[number - 1];
  const bool bThere = picture.size() == static_cast<size_t>(engine.overlay_.Width()) *
                                            static_cast<size_t>(engine.overlay_.Height());
  if (bThere) {
    engine.Charge(L, picture.size());
    engine.overlay_.Picture(picture.data(), Coordinate(L, 2), Coordinate(L, 3), Coordinate(L, 4),
                            Coordinate(L, 5));
  }
  lua_pushboolean(L, bThere ? 1 : 0);
  return 1;
}

// --- Input -------------------------------------------------------------------------------------

int SHostFunctions::GetInput(lua_State* L) {
  const SMovieInput& input = CScriptEngine::Of(L).input_;
  const u32 player = Player(L, 1);
  lua_pushinteger(L, input.padBits[player]);
  lua_pushinteger(L, input.systemBits[player]);
  return 2;
}

int SHostFunctions::SetInput(lua_State* L) {
  CScriptEngine& engine = CScriptEngine::Of(L);
  if (engine.bMachineRuns_) return luaL_error(L, "input is set in vx.on_input");
  const u32 player = Player(L, 1);
  luaL_checkinteger(L, 2);
  engine.input_.padBits[player] = Bits(L, 2);
  if (!lua_isnoneornil(L, 3)) engine.input_.systemBits[player] = Bits(L, 3);
  return 0;
}

// --- States and the run ------------------------------------------------------------------------

int SHostFunctions::SaveState(lua_State* L) {
  CScriptEngine& engine = CScriptEngine::Of(L);
  engine.RequireBetweenFrames(L, "vx.save_state");
  engine.Charge(L, kStateWork);
  auto* const held = static_cast<SHeldState*>(lua_newuserdatauv(L, sizeof(SHeldState), 0));
  held->bytes = nullptr;
  luaL_setmetatable(L, kStateType);
  const u64 capacity = engine.port_.table.GetStateBufferSize();
  if (engine.stateUsed_ + capacity > engine.limits_.stateBytes) {
    lua_gc(L, LUA_GCCOLLECT);
    if (engine.stateUsed_ + capacity > engine.limits_.stateBytes) {
      return luaL_error(L, "the script holds too many states");
    }
  }
  std::vector<u8> buffer(capacity);
  SStateStream stream{buffer.data(), static_cast<u32>(capacity), 0, 0};
  engine.port_.machine.SaveState(&stream, kKeepHooks);
  if (stream.position == 0 || stream.position > capacity) {
    return luaL_error(L, "the machine's state does not fit");
  }
  held->bytes = new std::vector<u8>(buffer.begin(), buffer.begin() + stream.position);
  engine.stateUsed_ += held->bytes->size();
  return 1;
}

int SHostFunctions::LoadState(lua_State* L) {
  CScriptEngine& engine = CScriptEngine::Of(L);
  auto* const held = static_cast<SHeldState*>(luaL_checkudata(L, 1, kStateType));
  engine.RequireBetweenFrames(L, "vx.load_state");
  engine.Charge(L, kStateWork);
  if (held->bytes == nullptr) return luaL_argerror(L, 1, "the state is empty");
  SStateStream stream{held->bytes->data(), static_cast<u32>(held->bytes->size()), 0, 0};
  if (!engine.port_.machine.LoadState(&stream)) {
    return luaL_error(L, "the state is not one of this machine");
  }
  return 0;
}

int SHostFunctions::FreeState(lua_State* L) {
  auto* const held = static_cast<SHeldState*>(lua_touserdata(L, 1));
  if (held->bytes != nullptr) CScriptEngine::Of(L).stateUsed_ -= held->bytes->size();
  delete held->bytes;
  held->bytes = nullptr;
  return 0;
}

int SHostFunctions::Reset(lua_State* L) {
  CScriptEngine& engine = CScriptEngine::Of(L);
  engine.RequireBetweenFrames(L, "vx.reset");
  engine.Charge(L, kStateWork);
  if (engine.port_.reset) engine.port_.reset();
  return 0;
}

int SHostFunctions::Pause(lua_State* L) {
  CScriptEngine::Of(L).bPause_ = true;
  return 0;
}

int SHostFunctions::Stop(lua_State* L) {
  CScriptEngine::Of(L).bStopped_ = true;
  return 0;
}

// A plain name only: what lies beside the script or the pack is the script's to read, nothing else.
int SHostFunctions::ReadText(lua_State* L) {
  CScriptEngine& engine = CScriptEngine::Of(L);
  const std::string_view name = luaL_checkstring(L, 1);
  if (name.empty() || name.front() == '.' || name.find('/') != std::string_view::npos) {
    return luaL_argerror(L, 1, "a plain file name is expected");
  }
  engine.Charge(L, kStateWork);
  for (const std::string& folder : engine.port_.folders) {
    const std::string path = folder + std::string(name);
    if (!PathExists(path)) continue;
    std::string text;
    std::string reason;
    try {
      text = ReadInputFile(path, kMostTextBytes);
    } catch (const CHostError& error) {
      reason = error.what();
    }
    if (!reason.empty()) return luaL_error(L, "%s", reason.c_str());
    lua_pushlstring(L, text.data(), text.size());
    return 1;
  }
  lua_pushnil(L);
  return 1;
}

// --- The table ---------------------------------------------------------------------------------

// clang-format off
const SHostFunction SHostFunctions::kRows[] = {
  { "on_input(callback)",    "Has the function called before each frame; the place to set input and to save or load states.", OnInput },
  { "on_frame(callback)",    "Has the function called after each frame; the place to draw.", OnFrame },
  { "on_branches(callback)", "Has the function called, before those of on_frame, when both branches of look-ahead have a picture.", OnBranches },
  { "size() -> width, height", "The picture's size.", Size },
  { "pixel(x, y [, color [, alpha]])", "Draws a dot over this frame's picture. Colours are 0xRRGGBB, white if left out; alpha is 0 to 255.", Pixel },
  { "line(x1, y1, x2, y2 [, color [, alpha]])", "Draws a line.", Line },
  { "box(x, y, width, height [, color [, alpha]])", "Draws a frame.", Box },
  { "fill(x, y, width, height [, color [, alpha]])", "Fills a rectangle.", Fill },
  { "text(x, y, text [, color [, alpha]])", "Writes text, eight dots to a letter and to a line; capitals only.", Text },
  { "branch(number, x, y, width, height) -> drawn", "Draws the picture of branch 1 or 2 into a rectangle, if this frame has one.", Branch },
  { "get_input(player) -> pad, system", "What player 1 or 2 holds in this frame, as bits of vx.pad and vx.system.", GetInput },
  { "set_input(player, pad [, system])", "Replaces what a player holds in the coming frame.", SetInput },
  { "save_state() -> state", "The machine's whole state, between frames.", SaveState },
  { "load_state(state)", "Puts the machine back to a state, between frames. Callbacks and breakpoints stay.", LoadState },
  { "reset()", "Switches the board off and on, between frames.", Reset },
  { "pause()", "Pauses a run in a window after this frame, as the P key does; N runs single frames.", Pause },
  { "stop()", "Ends the run after this frame.", Stop },
  { "read_text(name) -> text", "The text of a file beside the script or the pack; nil if there is none.", ReadText },
};
// clang-format on

std::span<const SHostFunction> HostFunctions() { return SHostFunctions::kRows; }

void SHostFunctions::Open(lua_State* L) {
  luaL_newmetatable(L, kStateType);
  lua_pushcfunction(L, FreeState);
  lua_setfield(L, -2, "__gc");
  lua_pushboolean(L, 0);
  lua_setfield(L, -2, "__metatable");
  lua_pop(L, 1);

  lua_newtable(L);
  for (const SHostFunction& row : kRows) {
    const std::string_view signature = row.signature;
    const std::string name(signature.substr(0, signature.find('(')));
    lua_pushcfunction(L, row.function);
    lua_setfield(L, -2, name.c_str());
  }
  SInputBinding bindings[kInputBindingCount] = {};
  CScriptEngine::Of(L).port_.table.GetInputBindings(bindings);
  lua_newtable(L);
  lua_newtable(L);
  for (const SControl& control : ListControls(bindings)) {
    if (control.kind == EControlKind::Host || control.player != 0) continue;
    const std::string full = ControlName(control);
    const std::string name = full.substr(full.find(':') + 1);
    lua_pushinteger(L, control.bit);
    lua_setfield(L, control.kind == EControlKind::Pad ? -3 : -2, name.c_str());
  }
  lua_setfield(L, -3, "system");
  lua_setfield(L, -2, "pad");
  lua_setglobal(L, "vx");
}

}  // namespace vx

#include "host/lua/Engine.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <utility>

#include "host/lua/Internals.h"
#include "host/Text.h"

namespace vx {

namespace {

constexpr int kCountEvery = 1000;                   // instructions between two looks at the budget
constexpr u64 kPatienceNs = 10'000'000'000;         // for what instructions do not count
constexpr size_t kLargestBlock = size_t{64} << 20;  // one string, one table's array
constexpr u32 kMostCallbacks = 10000;
constexpr char kFunctionNumbers = 0;  // key of the table from functions to numbers

u64 ClockNs() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<u64>(std::chrono::duration_cast<std::chrono::nanoseconds>(now).count());
}

}  // namespace

// --- Life --------------------------------------------------------------------------------------

CScriptEngine::CScriptEngine(SScriptPort port, const SScriptLimits& limits)
    : port_(std::move(port)),
      limits_(limits),
      current_(&port_.machine),
      overlay_(port_.machine.GetWidth(), port_.machine.GetHeight()) {
  lua_ = lua_newstate(Allocate, this);
  if (lua_ == nullptr) {
    ReportError("there is no memory for a script");
    return;
  }
  *static_cast<CScriptEngine**>(lua_getextraspace(lua_)) = this;
  lua_checkstack(lua_, 64);
  lua_pushcfunction(lua_, Open);
  if (lua_pcall(lua_, 0, 0, 0) != LUA_OK) ReportError(TakeMessage(LUA_ERRRUN, "script"));
  lua_sethook(lua_, OnCount, LUA_MASKCOUNT, kCountEvery);
}

CScriptEngine::~CScriptEngine() {
  port_.table.ScriptReset();
  const std::lock_guard lock(lock_);
  if (lua_ != nullptr) lua_close(lua_);
}

int CScriptEngine::Open(lua_State* L) {
  CScriptEngine& engine = Of(L);
  SSandbox::Open(L, engine.limits_.bAllLibraries);
  SComponentCall::Open(L);
  SHostFunctions::Open(L);
  lua_newtable(L);
  lua_rawsetp(L, LUA_REGISTRYINDEX, &kFunctionNumbers);
  return 0;
}

void CScriptEngine::Run(const std::string& name, const std::string& text) {
  const std::lock_guard lock(lock_);
  if (lua_ == nullptr) return;
  name_ = name;
  StartBudget();
  lua_pushcfunction(lua_, OnError);
  const int handler = lua_gettop(lua_);
  ++depth_;
  int status = luaL_loadbufferx(lua_, text.data(), text.size(), ("@" + name).c_str(), "t");
  if (status == LUA_OK) status = lua_pcall(lua_, 0, 0, handler);
  --depth_;
  if (status != LUA_OK) ReportError(TakeMessage(status, name));
  lua_settop(lua_, handler - 1);
}

// --- Bounds ------------------------------------------------------------------------------------

void* CScriptEngine::Allocate(void* context, void* block, size_t oldBytes,
                              size_t newBytes) noexcept {
  auto& engine = *static_cast<CScriptEngine*>(context);
  const u64 before = block != nullptr ? oldBytes : 0;
  if (newBytes == 0) {
    std::free(block);
    engine.memoryUsed_ -= before;
    return nullptr;
  }
  const u64 after = engine.memoryUsed_ - before + newBytes;
  if (newBytes > before && (newBytes > kLargestBlock || after > engine.limits_.memoryBytes)) {
    return nullptr;
  }
  void* const fresh = std::realloc(block, newBytes);
  if (fresh != nullptr) engine.memoryUsed_ = after;
  return fresh;
}

void CScriptEngine::StartBudget() {
  budget_ = static_cast<i64>(limits_.instructions);
  startedNs_ = ClockNs();
  bLate_ = false;
}

void CScriptEngine::OnCount(lua_State* L, lua_Debug*) { Of(L).Charge(L, kCountEvery); }

void CScriptEngine::Charge(lua_State* L, u64 instructions) {
  budget_ -= static_cast<i64>(std::min<u64>(instructions, u64{1} << 40));
  if (budget_ >= 0 && ClockNs() - startedNs_ > kPatienceNs) {
    bLate_ = true;
    budget_ = -1;
  }
  if (budget_ >= 0) return;
  if (bLate_)
    luaL_error(L, "took longer than %d seconds", static_cast<int>(kPatienceNs / 1000000000));
  luaL_error(L, "ran for more than %I instructions in one frame",
             static_cast<LUAI_UACINT>(limits_.instructions));
}

// --- Errors ------------------------------------------------------------------------------------

// Makes a text of any error, with the place in the script where it came from.
int CScriptEngine::OnError(lua_State* L) {
  if (lua_type(L, 1) != LUA_TSTRING) {
    luaL_tolstring(L, 1, nullptr);
    lua_replace(L, 1);
  }
  lua_Debug debug;
  for (int level = 1; lua_getstack(L, level, &debug) != 0; ++level) {
    lua_getinfo(L, "Sl", &debug);
    if (debug.currentline <= 0) continue;
    const std::string place = std::string(debug.short_src) + ":";
    if (std::string_view(lua_tostring(L, 1)).starts_with(place)) break;
    lua_pushfstring(L, "%s:%d: %s", debug.short_src, debug.currentline, lua_tostring(L, 1));
    return 1;
  }
  lua_settop(L, 1);
  return 1;
}

std::string CScriptEngine::TakeMessage(int status, const std::string& where) {
  const char* const text = lua_type(lua_, -1) == LUA_TSTRING ? lua_tostring(lua_, -1) : nullptr;
  std::string message = text != nullptr ? text : "an error without a text";
  // Errors of memory and of the error's own handling come without their place.
  if (status == LUA_ERRMEM || status == LUA_ERRERR) message = where + ": " + message;
  lua_pop(lua_, 1);
  return message;
}

void CScriptEngine::ReportError(const std::string& message) {
  ++errorCount_;
  if (port_.error) port_.error(message);
}

// --- Callbacks ---------------------------------------------------------------------------------

u32 CScriptEngine::CallbackOf(lua_State* L, int argument) {
  luaL_checktype(L, argument, LUA_TFUNCTION);
  lua_rawgetp(L, LUA_REGISTRYINDEX, &kFunctionNumbers);
  lua_pushvalue(L, argument);
  if (lua_rawget(L, -2) == LUA_TNUMBER) {
    const auto number = static_cast<u32>(lua_tointeger(L, -1));
    lua_pop(L, 2);
    return number;
  }
  lua_pop(L, 1);
  if (callbacks_.size() == kMostCallbacks) luaL_error(L, "there are too many callbacks");
  lua_Debug debug;
  lua_pushvalue(L, argument);
  lua_getinfo(L, ">S", &debug);
  SCallback callback;
  callback.where = Format("%s:%d", debug.short_src, std::max(debug.linedefined, 0));
  lua_pushvalue(L, argument);
  callback.reference = luaL_ref(L, LUA_REGISTRYINDEX);
  callbacks_.push_back(std::move(callback));
  const auto number = static_cast<u32>(callbacks_.size());
  lua_pushvalue(L, argument);
  lua_pushinteger(L, number);
  lua_rawset(L, -3);
  lua_pop(L, 1);
  return number;
}

CScriptEngine::EAnswer CScriptEngine::Call(u32 callback,
                                           std::initializer_list<lua_Integer> arguments) {
  if (lua_ == nullptr || callback == 0 || callback > callbacks_.size()) return EAnswer::GoOn;
  const int reference = callbacks_[callback - 1].reference;
  if (reference == LUA_NOREF) return EAnswer::GoOn;
  lua_pushcfunction(lua_, OnError);
  const int handler = lua_gettop(lua_);
  lua_rawgeti(lua_, LUA_REGISTRYINDEX, reference);
  for (const lua_Integer argument : arguments) lua_pushinteger(lua_, argument);
  ++depth_;
  const int status = lua_pcall(lua_, static_cast<int>(arguments.size()), 1, handler);
  --depth_;
  EAnswer answer = EAnswer::GoOn;
  if (status != LUA_OK) {
    Drop(callback, TakeMessage(status, callbacks_[callback - 1].where));
  } else if (lua_isboolean(lua_, -1) && lua_toboolean(lua_, -1) == 0) {
    answer = EAnswer::LeaveOut;
  }
  lua_settop(lua_, handler - 1);
  return answer;
}

// What has used up the frame's budget goes; the others get one of their own.
void CScriptEngine::Drop(u32 callback, const std::string& message) {
  SCallback& entry = callbacks_[callback - 1];
  lua_rawgetp(lua_, LUA_REGISTRYINDEX, &kFunctionNumbers);
  lua_rawgeti(lua_, LUA_REGISTRYINDEX, entry.reference);
  lua_pushnil(lua_);
  lua_rawset(lua_, -3);
  lua_pop(lua_, 1);
  luaL_unref(lua_, LUA_REGISTRYINDEX, entry.reference);
  entry.reference = LUA_NOREF;
  if (IsExhausted()) StartBudget();
  ReportError(message + " (the function at " + entry.where + " is not called any more)");
}

// What a callback adds to the list waits for the next time.
void CScriptEngine::CallList(const std::vector<u32>& list) {
  const size_t count = list.size();
  for (size_t i = 0; i < count; ++i) Call(list[i], {});
}

CScriptEngine::EAnswer CScriptEngine::CallFromHook(
    CQuillonMachineBase* machine, u32 callback,
    std::initializer_list<lua_Integer> arguments) noexcept {
  const std::lock_guard lock(lock_);
  if (depth_ != 0) return EAnswer::GoOn;  // out of a function that the script has called
  const bool bBefore = std::exchange(bMachineRuns_, true);
  if (!bBefore) StartBudget();  // in a frame that is not the script's, as of a rewind
  current_ = machine;
  const EAnswer answer = Call(callback, arguments);
  current_ = &port_.machine;
  bMachineRuns_ = bBefore;
  return answer;
}

i32 CScriptEngine::OnDspHook(CQuillonMachineBase* machine, u32 hook, u32 argument) noexcept {
  return CallFromHook(machine, hook, {argument}) == EAnswer::GoOn ? 1 : 0;
}

i32 CScriptEngine::OnMipsHook(CQuillonMachineBase* machine, u32 hook, u32 first,
                              u32 second) noexcept {
  return CallFromHook(machine, hook, {first, second}) == EAnswer::GoOn ? 1 : 0;
}

void CScriptEngine::Register(const SRegistration& registration) {
  if (bMachineRuns_) {
    waiting_.push_back(registration);
    return;
  }
  u32 words[2] = {registration.callback, 0};
  port_.table.ScriptCallStatic(reinterpret_cast<u64>(words), registration.function, 0);
}

void CScriptEngine::RegisterWaiting() {
  for (const SRegistration& registration : waiting_) Register(registration);
  waiting_.clear();
}

void CScriptEngine::RequireBetweenFrames(lua_State* L, const char* what) const {
  if (bMachineRuns_) {
    luaL_error(L, "%s works between frames: in vx.on_input and vx.on_frame", what);
  }
}

// --- The frame ---------------------------------------------------------------------------------

void CScriptEngine::BeforeFrame(SMovieInput& input) {
  const std::lock_guard lock(lock_);
  taken_.clear();
  shown_.clear();
  for (std::vector<u32>& branch : branches_) branch.clear();
  overlay_.Clear();
  RegisterWaiting();
  StartBudget();
  input_ = input;
  CallList(onInput_);
  input = input_;
  bMachineRuns_ = true;
}

void CScriptEngine::TakePicture(const u32* pixels, u32 width, u32 height) {
  const std::lock_guard lock(lock_);
  taken_.assign(pixels, pixels + size_t{width} * height);
}

void CScriptEngine::TakeBranches(const u32* pixelsA, const u32* pixelsB, u32 width, u32 height) {
  const std::lock_guard lock(lock_);
  branches_[0].assign(pixelsA, pixelsA + size_t{width} * height);
  if (pixelsB != nullptr) branches_[1].assign(pixelsB, pixelsB + size_t{width} * height);
}

void CScriptEngine::AfterFrame() {
  const std::lock_guard lock(lock_);
  bMachineRuns_ = false;
  RegisterWaiting();
  if (!branches_[1].empty()) CallList(onBranches_);
  CallList(onFrame_);
  if (taken_.empty()) return;
  shown_ = taken_;
  overlay_.Compose(shown_);
}

bool CScriptEngine::TakePause() { return std::exchange(bPause_, false); }

}  // namespace vx

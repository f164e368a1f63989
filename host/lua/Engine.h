// CScriptEngine: one Lua script beside one machine. It has the component's script functions by
// name, functions of the host in the table `vx`, and callbacks; see MANUAL.md.
//
// A script can do no harm but to its own run: it gets libraries without files and processes, a
// count of instructions for each frame, a bound on memory, and no way to run machine code of Lua.
// An error is reported with file and line; a callback with an error is not called again.
//
// The order of a frame: BeforeFrame, the machine's frame with the component's hooks in it, the
// pictures, AfterFrame. All but the hooks are called by the one host thread.
#pragma once

#include <lua.hpp>

#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "host/lua/FunctionTable.h"
#include "host/lua/Overlay.h"
#include "host/Movie.h"
#include "host/ScriptHandler.h"

namespace vx {

struct SScriptLimits {
  u64 instructions = 50'000'000;  // of all callbacks in a frame; of the script's first run too
  u64 memoryBytes = u64{256} << 20;
  u64 stateBytes = u64{512} << 20;  // of all states that the script holds
  bool bAllLibraries = false;       // files, processes and modules too
};

// What the engine works on; all of it outlives the engine.
struct SScriptPort {
  const SMachineTable& table;
  CQuillonMachineBase& machine;
  std::function<void()> reset;                         // power-on state, settings applied
  std::function<void(const std::string& line)> print;  // what the script says
  std::function<void(const std::string& line)> error;  // what is wrong with the script
  std::vector<std::string> folders;                    // whose texts the script may read
};

class CScriptEngine final : public CScriptHandler {
 public:
  CScriptEngine(SScriptPort port, const SScriptLimits& limits);
  ~CScriptEngine();
  CScriptEngine(const CScriptEngine&) = delete;
  CScriptEngine& operator=(const CScriptEngine&) = delete;

  // Runs the script's text from its begin to its end. `name` stands in messages.
  void Run(const std::string& name, const std::string& text);

  // Lets the script change what is held in the coming frame.
  void BeforeFrame(SMovieInput& input);
  // The frame's picture as the machine made it, or both branches' pictures in its place.
  void TakePicture(const u32* pixels, u32 width, u32 height);
  void TakeBranches(const u32* pixelsA, const u32* pixelsB, u32 width, u32 height);
  // Calls the script for the frame that has run, and draws over its picture.
  void AfterFrame();

  // The frame's picture with what was drawn on it, and without. Empty if it had none.
  const std::vector<u32>& Shown() const { return shown_; }
  const std::vector<u32>& Taken() const { return taken_; }

  // Whether the script has asked for the end of the run.
  bool IsStopped() const { return bStopped_; }
  // Whether it has asked for a pause since the last call.
  bool TakePause();
  u32 ErrorCount() const { return errorCount_; }

  i32 OnDspHook(CQuillonMachineBase* machine, u32 hook, u32 argument) noexcept override;
  i32 OnMipsHook(CQuillonMachineBase* machine, u32 hook, u32 first, u32 second) noexcept override;

 private:
  friend struct SComponentCall;
  friend struct SHostFunctions;
  friend struct SSandbox;

  struct SCallback {
    int reference = LUA_NOREF;  // gone: the callback is not called any more
    std::string where;          // "file:line" of its begin
  };
  struct SRegistration {
    u32 function;
    u32 callback;
  };
  enum class EAnswer { GoOn, LeaveOut };

  static CScriptEngine& Of(lua_State* L) {
    return **static_cast<CScriptEngine**>(lua_getextraspace(L));
  }
  static void* Allocate(void* context, void* block, size_t oldBytes, size_t newBytes) noexcept;
  static void OnCount(lua_State* L, lua_Debug* debug);
  static int Open(lua_State* L);
  static int OnError(lua_State* L);

  // Takes work from the budget; raises an error once it is used up.
  void Charge(lua_State* L, u64 instructions);
  bool IsExhausted() const { return budget_ < 0; }
  void StartBudget();
  // The number of the function at this argument; the same function has the same number.
  u32 CallbackOf(lua_State* L, int argument);
  void Register(const SRegistration& registration);
  void RegisterWaiting();
  void RequireBetweenFrames(lua_State* L, const char* what) const;

  EAnswer Call(u32 callback, std::initializer_list<lua_Integer> arguments);
  void CallList(const std::vector<u32>& list);
  EAnswer CallFromHook(CQuillonMachineBase* machine, u32 callback,
                       std::initializer_list<lua_Integer> arguments) noexcept;
  void Drop(u32 callback, const std::string& message);
  void ReportError(const std::string& message);
  std::string TakeMessage(int status, const std::string& where);

  SScriptPort port_;
  SScriptLimits limits_;
  std::recursive_mutex lock_;  // over everything below: hooks can come from workers
  lua_State* lua_ = nullptr;
  u64 memoryUsed_ = 0;
  u64 stateUsed_ = 0;
  i64 budget_ = 0;
  u64 startedNs_ = 0;   // of the clock, when the budget began
  bool bLate_ = false;  // by that clock
  u32 depth_ = 0;       // of calls into the script
  u32 errorCount_ = 0;
  bool bMachineRuns_ = false;
  bool bStopped_ = false;
  bool bPause_ = false;
  std::string name_;

  std::vector<SCallback> callbacks_;  // by number less 1
  std::vector<u32> onInput_, onFrame_, onBranches_;
  std::vector<SRegistration> waiting_;  // for the frame's end: a hook must not take the list's lock
  CQuillonMachineBase* current_;        // the machine that functions work on
  SMovieInput input_;
  std::vector<u8> scratch_;  // script memory of one call

  COverlay overlay_;
  std::vector<u32> taken_, shown_, branches_[2];
};

}  // namespace vx

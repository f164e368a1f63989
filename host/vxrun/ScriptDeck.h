// The script of a run: read from its file, fed with frames, told about on the terminal.
#pragma once

#include <string>
#include <vector>

#include "host/Component.h"
#include "host/lua/Engine.h"
#include "host/Session.h"
#include "host/vxrun/Options.h"

namespace vx {

class CScriptDeck {
 public:
  static bool IsNeeded(const SOptions& options) { return !options.scriptPath.empty(); }

  // Throws CHostError (FileUnreadable). The session outlives the deck.
  CScriptDeck(const SOptions& options, const CComponent& component, CSession& session);
  ~CScriptDeck();
  CScriptDeck(const CScriptDeck&) = delete;
  CScriptDeck& operator=(const CScriptDeck&) = delete;

  // Runs the file, once the session has started.
  void Start();
  CScriptEngine& Engine() { return engine_; }

 private:
  std::string path_;
  std::string text_;
  CScriptEngine engine_;
};

}  // namespace vx

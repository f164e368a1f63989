// Where the component's hooks go when a host runs scripts.
#pragma once

#include "plugin/Quillon.h"

namespace vx {

// Called on the thread that runs the machine; with look-ahead that can be one of two workers, with
// a clone of the machine. An answer other than 0 lets what was interrupted go on.
class CScriptHandler {
 public:
  virtual i32 OnDspHook(CQuillonMachineBase* machine, u32 hook, u32 argument) noexcept = 0;
  virtual i32 OnMipsHook(CQuillonMachineBase* machine, u32 hook, u32 first,
                         u32 second) noexcept = 0;

 protected:
  ~CScriptHandler() = default;
};

}  // namespace vx

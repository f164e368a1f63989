// The component as any host meets it: a library of which two functions are known by name.
#pragma once

#include <string>

#include "plugin/Quillon.h"

namespace vx::test {

// Loads a copy of the component's file, so that each object has process-wide state of its own, and
// unloads it at the end. Throws std::runtime_error if that fails.
class CLoadedComponent {
 public:
  explicit CLoadedComponent(const SHostApi* host);
  ~CLoadedComponent();
  CLoadedComponent(const CLoadedComponent&) = delete;
  CLoadedComponent& operator=(const CLoadedComponent&) = delete;

  // Answer of QuillonPlugin_Init.
  bool bInitialised = false;
  u32 apiVersion = 0;
  SPluginDesc desc;
  const SMachineTable* table = nullptr;

 private:
  void* Find(const char* name) const;

  void* library_ = nullptr;
};

}  // namespace vx::test

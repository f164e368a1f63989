// The component as a loaded library: found, checked, started, and shut down again.
#pragma once

#include <string>

#include "plugin/Quillon.h"

namespace vx {

// Loads the library at `path`, compares its version and kind, hands it the host's services and
// starts it. Throws CHostError (ComponentUnusable) with a sentence that names the file. Machines
// are destroyed before the component is. One host thread.
class CComponent {
 public:
  explicit CComponent(const std::string& path);
  ~CComponent();
  CComponent(const CComponent&) = delete;
  CComponent& operator=(const CComponent&) = delete;

  const SMachineTable& Table() const { return *table_; }
  const std::string& Path() const { return path_; }
  const char* Description() const { return description_; }

  // Frames a second and main processor cycles a microsecond under the current settings.
  f64 FrameRate() const { return table_->GetFrameRate(); }
  u32 ClockMHz() const;

 private:
  void Open();
  void Start();

  std::string path_;
  void* library_ = nullptr;
  SPluginDesc desc_{};
  const SMachineTable* table_ = nullptr;
  const char* description_ = "";
};

}  // namespace vx

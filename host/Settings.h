// The component's user settings, as a person sees them: text in, text out.
#pragma once

#include <string>

#include "plugin/Quillon.h"

namespace vx {

// Wraps the component's own list; values are read and written in place. A machine takes changes at
// its next ApplySettings.
class CSettings {
 public:
  explicit CSettings(const SSettingList* list);

  // Takes "KEY=VALUE": the number of a value, one of its names, or for a switch also on and off,
  // true and false, yes and no. Throws CHostError (Usage) for an unknown key or a value that is out
  // of range or between steps, and changes nothing then.
  void Set(const std::string& assignment);

  // One setting a line: key, current value, default, range and names.
  std::string Describe() const;

 private:
  const SSettingRecord* Find(const std::string& key) const;

  const SSettingRecord* begin_ = nullptr;
  const SSettingRecord* end_ = nullptr;
};

}  // namespace vx

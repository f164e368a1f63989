// The component's user settings, as a person sees them: text in, text out.
#pragma once

#include <string>
#include <vector>

#include "plugin/Quillon.h"

namespace vx {

// Wraps the component's own list; values are read and written in place. A machine takes changes at
// its next ApplySettings.
class CSettings {
 public:
  explicit CSettings(const SSettingList* list);

  // Takes "KEY=VALUE": the number of a value, one of its names, or for a switch also on and off,
  // true and false, yes and no. Throws CHostError (Usage) for an unknown key or a value that is out
  // of range or between steps, and changes nothing then. `origin` is what the sentence begins with:
  // where the assignment was written.
  void Set(const std::string& assignment, const std::string& origin);
  // The same for an assignment of the command line.
  void Set(const std::string& assignment) { Set(assignment, "--set " + assignment + ": "); }

  // One setting a line: key, current value, default, range and names.
  std::string Describe() const;
  // All current values, each as "KEY=VALUE".
  std::vector<std::string> Assignments() const;
  // All current values as the lines of a settings file, each below a comment with its range.
  std::string FileText() const;

 private:
  const SSettingRecord* Find(const std::string& key) const;

  const SSettingRecord* begin_ = nullptr;
  const SSettingRecord* end_ = nullptr;
};

}  // namespace vx

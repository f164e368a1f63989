// What a person has set up: settings and controls, from files and from the command line.
#pragma once

#include <vector>

#include "host/Bindings.h"
#include "host/Component.h"
#include "host/vxrun/Options.h"

namespace vx {

// Puts all settings to their defaults, then takes the settings file: the one that is named, or else
// the user's own if there is one. Throws CHostError.
void TakeSettingsFile(const SOptions& options, const CComponent& component);

// Takes what --set says. Throws CHostError.
void TakeSettingOptions(const SOptions& options, const CComponent& component);

// Keeps the settings as they are now for the runs to come. Throws CHostError.
void SaveSettings(const SOptions& options, const CComponent& component);

// The controls by default, changed by the controls file: the one that is named, or else the user's
// own if there is one. Throws CHostError.
std::vector<SBinding> LoadControls(const SOptions& options, const CComponent& component);

// All controls that the component and the host have.
std::vector<SControl> ListControls(const CComponent& component);

}  // namespace vx

#include "host/vxrun/Setup.h"

#include "host/ControlsFile.h"
#include "host/Folders.h"
#include "host/HostError.h"
#include "host/InputFile.h"
#include "host/SettingsFile.h"
#include "host/vxrun/Controls.h"

namespace vx {

namespace {

// The file that is named, or the user's own of that name; empty when there is neither.
std::string ConfigFile(const std::string& named, const char* ownName) {
  if (!named.empty()) return named;
  const std::string folder = DefaultConfigFolder();
  return folder.empty() || !PathExists(folder + ownName) ? "" : folder + ownName;
}

constexpr const char* kSettingsName = "settings.conf";
constexpr const char* kControlsName = "controls.conf";

CSettings Settings(const CComponent& component) {
  return CSettings(component.Table().GetSettings());
}

}  // namespace

void TakeSettingsFile(const SOptions& options, const CComponent& component) {
  component.Table().ResetSettings();
  const std::string path = ConfigFile(options.settingsPath, kSettingsName);
  // A file that is only about to be made need not be there yet.
  if (path.empty() || (options.bSaveSettings && !PathExists(path))) return;
  CSettings settings = Settings(component);
  ReadSettingsFile(settings, path);
}

void TakeSettingOptions(const SOptions& options, const CComponent& component) {
  CSettings settings = Settings(component);
  for (const std::string& assignment : options.settings) settings.Set(assignment);
}

void SaveSettings(const SOptions& options, const CComponent& component) {
  const std::string folder = DefaultConfigFolder();
  if (options.settingsPath.empty() && folder.empty()) {
    throw CHostError(EExitCode::OutputFailed,
                     "--save-settings: there is no home folder; name a file with --settings");
  }
  WriteSettingsFile(Settings(component),
                    options.settingsPath.empty() ? folder + kSettingsName : options.settingsPath);
}

std::vector<SControl> ListControls(const CComponent& component) {
  SInputBinding table[kInputBindingCount] = {};
  component.Table().GetInputBindings(table);
  return ListControls(table);
}

std::vector<SBinding> LoadControls(const SOptions& options, const CComponent& component) {
  SInputBinding table[kInputBindingCount] = {};
  component.Table().GetInputBindings(table);
  std::vector<SBinding> bindings = MakeBindings(table);
  const std::string path = ConfigFile(options.controlsPath, kControlsName);
  if (!path.empty()) ReadControlsFile(bindings, path, ListControls(table), IsKnownSource);
  return bindings;
}

}  // namespace vx

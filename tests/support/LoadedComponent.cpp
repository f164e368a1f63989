#include "tests/support/LoadedComponent.h"

#include <dlfcn.h>

#include <cstring>
#include <filesystem>
#include <stdexcept>

#include "tests/tools/TestFolder.h"

namespace vx::test {

CLoadedComponent::CLoadedComponent(const SHostApi* host) {
  const CTestFolder folder;
  const std::filesystem::path copy = folder / "component.so";
  std::filesystem::copy_file(VX_COMPONENT, copy);
  library_ = dlopen(copy.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library_ == nullptr) throw std::runtime_error(dlerror());
  const auto getVersion = reinterpret_cast<QuillonPluginGetApiVersion>(Find(kExportGetApiVersion));
  const auto init = reinterpret_cast<QuillonPluginInit>(Find(kExportInit));
  apiVersion = getVersion();
  std::memset(static_cast<void*>(&desc), 0xA5, sizeof(desc));
  bInitialised = init(&desc, host);
  table = desc.GetMachineTable();
}

CLoadedComponent::~CLoadedComponent() { dlclose(library_); }

void* CLoadedComponent::Find(const char* name) const {
  void* const function = dlsym(library_, name);
  if (function == nullptr) throw std::runtime_error(dlerror());
  return function;
}

}  // namespace vx::test

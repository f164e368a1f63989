#include "host/Component.h"

#include <dlfcn.h>
#include <sys/stat.h>

#include "host/HostError.h"
#include "host/HostServices.h"
#include "host/Text.h"

namespace vx {

namespace {

[[noreturn]] void Fail(const std::string& path, const std::string& sentence) {
  throw CHostError(EExitCode::ComponentUnusable, path + ": " + sentence);
}

// The loader's own message without the file name, which our sentence begins with already.
std::string LoaderReason(const std::string& path) {
  const char* raw = dlerror();
  std::string reason = raw == nullptr ? "unknown reason" : raw;
  if (reason.starts_with(path + ": ")) reason.erase(0, path.size() + 2);
  return reason;
}

}  // namespace

CComponent::CComponent(const std::string& path) : path_(path) {
  // Without a slash the loader would search its library folders instead of this one.
  if (path_.find('/') == std::string::npos) path_.insert(0, "./");
  Open();
  try {
    Start();
  } catch (...) {
    dlclose(library_);
    throw;
  }
}

void CComponent::Open() {
  struct stat status {};
  if (stat(path_.c_str(), &status) != 0) {
    Fail(path_, "there is no such component; build it, or name it with --component");
  }
  if (!S_ISREG(status.st_mode)) Fail(path_, "is not a component file");
  library_ = dlopen(path_.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library_ == nullptr) Fail(path_, "cannot be loaded: " + LoaderReason(path_));
}

void CComponent::Start() {
  const auto getApiVersion =
      reinterpret_cast<QuillonPluginGetApiVersion>(dlsym(library_, kExportGetApiVersion));
  const auto init = reinterpret_cast<QuillonPluginInit>(dlsym(library_, kExportInit));
  if (getApiVersion == nullptr || init == nullptr) {
    Fail(path_, std::string("is not a machine component: it does not export ") +
                    (getApiVersion == nullptr ? kExportGetApiVersion : kExportInit));
  }
  const u32 version = getApiVersion();
  if (version != kApiVersion) {
    Fail(path_, Format("is a component of version %u; this program needs version %u", version,
                       kApiVersion));
  }
  CHostServices& services = CHostServices::Get();
  if (!init(&desc_, services.Api())) Fail(path_, "refuses this host");
  const u32 kind = desc_.GetComponentKind == nullptr ? 0 : desc_.GetComponentKind();
  if (kind != kComponentKind) {
    Fail(path_,
         Format("is a component of kind %u; this program needs kind %u", kind, kComponentKind));
  }
  if (desc_.GetDescription != nullptr) description_ = desc_.GetDescription();
  table_ = desc_.GetMachineTable == nullptr ? nullptr : desc_.GetMachineTable();
  if (table_ == nullptr) Fail(path_, "offers no machine");

  services.ClearInflateFailures();
  if (!table_->Startup()) Fail(path_, "cannot be started");
  if (services.InflateFailureCount() != 0) {
    table_->Shutdown();
    Fail(path_, "is damaged: the data that it holds does not unpack");
  }
}

CComponent::~CComponent() {
  table_->Shutdown();
  dlclose(library_);
}

u32 CComponent::ClockMHz() const {
  SConfigBlob blob{};
  table_->SaveConfigBlob(&blob);
  return blob.clockMHz;
}

}  // namespace vx

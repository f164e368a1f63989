// The component's two exports.
#include "machine/HostAccess.h"
#include "plugin/MachineTable.h"
#include "plugin/Quillon.h"

namespace vx {

namespace {

const SMachineTable* g_machineTable = nullptr;

u32 GetComponentKind() noexcept { return kComponentKind; }
const char* GetAuthorName() noexcept { return "The VX Board authors"; }
const char* GetDescription() noexcept { return "VX machine component."; }
void ComponentIdle() noexcept {}
const SMachineTable* GetMachineTable() noexcept { return g_machineTable; }

}  // namespace

}  // namespace vx

extern "C" {

[[gnu::visibility("default")]] vx::u32 QuillonPlugin_GetAPIVersion() noexcept {
  return vx::kApiVersion;
}

[[gnu::visibility("default")]] bool QuillonPlugin_Init(vx::SPluginDesc* desc,
                                                       const vx::SHostApi* host) noexcept {
  vx::SetHost(host);
  vx::g_machineTable = vx::FillMachineTable();
  *desc = {vx::GetComponentKind, vx::GetAuthorName, vx::GetDescription, vx::ComponentIdle, {},
           vx::GetMachineTable};
  return true;
}

}  // extern "C"

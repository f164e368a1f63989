#include "machine/HostAccess.h"

namespace vx {

namespace {

constexpr SHostApi kNoHost{};
const SHostApi* g_host = &kNoHost;

}  // namespace

const SHostApi& Host() { return *g_host; }

void SetHost(const SHostApi* host) { g_host = host != nullptr ? host : &kNoHost; }

}  // namespace vx

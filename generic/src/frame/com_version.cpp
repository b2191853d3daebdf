// The version of the library. The header says it for callers, the project for packages.
#include "vdxcomn/version.h"

#include <cstdint>

#define VDX_TEXT_OF(number) #number
#define VDX_DOTTED(major, minor, patch) \
  VDX_TEXT_OF(major) "." VDX_TEXT_OF(minor) "." VDX_TEXT_OF(patch)

extern "C" {

const char* comn_version() {
  return VDX_DOTTED(VDX_VERSION_MAJOR, VDX_VERSION_MINOR, VDX_VERSION_PATCH);
}

std::int32_t comn_version_number() { return VDX_VERSION_NUMBER; }

}  // extern "C"

static_assert(VDX_VERSION_NUMBER == VDX_PROJECT_VERSION,
              "version.h and CMakeLists.txt name one version");

// The version record: constant data of this build.
#include "zemsr.h"

namespace {
constexpr ZemLibraryVersion kVersion = {
    6, 1, 137, 782, {'e', '9', 0, 0}, "zemsre9-6.1.dll", "6.1 build 137.20", "Jun 10 2009",
};
}  // namespace

extern "C" ZEMSR_API const ZemLibraryVersion* zemsrGetLibVersion(void) { return &kVersion; }

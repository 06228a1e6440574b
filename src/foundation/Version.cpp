#include <TesselU/foundation/Version.h>

#include <string_view>

namespace Zan {

static_assert(std::string_view(TESSELU_VERSION) == TESSELU_PROJECT_VERSION,
              "the header's version is that of the build");

const char* Version() noexcept {
    return TESSELU_VERSION;
}

}  // namespace Zan

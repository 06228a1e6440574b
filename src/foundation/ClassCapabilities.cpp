#include "foundation/ClassCapabilities.h"

#include <utility>

#if defined(_MSC_VER)
#pragma warning(disable : 4073)
#pragma init_seg(lib)
#endif

namespace Zan {

struct ClassRecords {
    template <std::size_t... owners>
    static constexpr auto NotDetected(std::index_sequence<owners...>) noexcept {
        return std::array{(static_cast<void>(owners), CPUcapabilities(CPUcapabilities::NotYet()))...};
    }
};

constinit std::array<CPUcapabilities, kCapabilityOwners> classCapabilities =
    ClassRecords::NotDetected(std::make_index_sequence<kCapabilityOwners>());

namespace {

// The static library is initialised among the host's own objects: this comes first, where priorities exist.
#if defined(__ELF__) || defined(__MINGW32__)
__attribute__((constructor(101)))
#endif
void DetectAtLoad() noexcept {
    for (CPUcapabilities& record : classCapabilities) {
        record = CPUcapabilities();
    }
}

#if !defined(__ELF__) && !defined(__MINGW32__)
[[maybe_unused]] const bool kDetectedAtLoad = (DetectAtLoad(), true);
#endif

}  // namespace
}  // namespace Zan

#include "foundation/ClassCapabilities.h"

#include <utility>

// The static library is initialised among the host's own objects. What this marks comes first.
#if defined(__ELF__) || defined(__MINGW32__)
#define TESSELU_INITIALISED_FIRST __attribute__((init_priority(101)))
#elif defined(_MSC_VER)
#pragma warning(disable : 4073)
#pragma init_seg(lib)
#define TESSELU_INITIALISED_FIRST
#else
#define TESSELU_INITIALISED_FIRST
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

struct DetectAtLoad {
    DetectAtLoad() noexcept {
        for (CPUcapabilities& record : classCapabilities) {
            record = CPUcapabilities();
        }
    }
};

TESSELU_INITIALISED_FIRST const DetectAtLoad detectAtLoad;

}  // namespace
}  // namespace Zan

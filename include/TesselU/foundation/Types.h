#ifndef TESSELU_FOUNDATION_TYPES_H
#define TESSELU_FOUNDATION_TYPES_H

#include <TesselU/foundation/Export.h>

#include <climits>
#include <cstddef>
#include <cstdint>

namespace Zan {

/// The 32-bit integers of the interface: a pixel word, a size, a pitch, a status. They are the `long` types
/// themselves where those have 32 bits, so that source written for such a target compiles unchanged.
#if LONG_MAX == 2147483647L
using Long32 = long;
using ULong32 = unsigned long;
#else
using Long32 = std::int32_t;
using ULong32 = std::uint32_t;
#endif

static_assert(sizeof(Long32) == 4 && sizeof(ULong32) == 4, "a pixel word has 32 bits");

}  // namespace Zan

#endif  // TESSELU_FOUNDATION_TYPES_H

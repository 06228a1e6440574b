#ifndef TESSELU_SRC_FOUNDATION_COPYMETHOD_H
#define TESSELU_SRC_FOUNDATION_COPYMETHOD_H

#include <TesselU/foundation/Types.h>

namespace Zan {

/// How `CPUfeatures::CopyBytes` moves a line on a processor of some ability. All methods copy exactly the
/// bytes asked for.
enum class CopyMethod {
    kNothing,     ///< a count of 0 or less
    kLinesSSE2,   ///< whole lines of a 720-pixel 4:2:2 picture, non-temporal stores of 16 bytes
    kMaskedSSE2,  ///< masked stores of 16 bytes, then single bytes
    kLinesMMX,    ///< whole lines through a block buffer, non-temporal stores of 8 bytes
    kBlocksMMX,   ///< blocks of 2048 bytes the same way, then words and bytes
    kMaskedMMX,   ///< masked stores of 8 bytes, then single bytes
    kWords        ///< 32-bit words, then single bytes
};

/// The method for one copy on a processor of that ability.
CopyMethod ChooseCopyMethod(bool sse2, bool mmx, const void* dst, const void* src, Long32 count) noexcept;

/// How many words `CPUfeatures::FillWords` stores at a time on a processor of that ability: 8, 4 or 1.
ULong32 ChooseFillStep(bool sse2, bool mmx, const void* dst, ULong32 count) noexcept;

}  // namespace Zan

#endif  // TESSELU_SRC_FOUNDATION_COPYMETHOD_H

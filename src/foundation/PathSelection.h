#ifndef TESSELU_SRC_FOUNDATION_PATHSELECTION_H
#define TESSELU_SRC_FOUNDATION_PATHSELECTION_H

#include <TesselU/foundation/CPUcapabilities.h>
#include <TesselU/foundation/ProcessingStyle.h>

#include <cstddef>

namespace Zan {

/// Which arithmetic, block and tail an operation runs. The instructions are chosen elsewhere, by the SIMD
/// target, and never show in a result.
enum class Path : std::size_t { kRefused, kFloat, kScalar, kMMX, kSSE, kSSE2 };
constexpr std::size_t kPaths = 6;

/// What a style asks for. With `kVector` the processor decides, see `VectorRule`.
enum class Ask : unsigned char { kRefuse, kFloat, kScalar, kVector };

/// An operation's answer to each style.
struct StyleRule {
    Ask flp, fp, integer, flpSimd, best, other;

    constexpr Ask operator()(unsigned style) const noexcept {
        switch (style) {
            case kFlp:
                return flp;
            case kFP:
                return fp;
            case kInt_MMXorSIMD:
                return integer;
            case kFlp_SIMD:
                return flpSimd;
            case kBestAvailable:
                return best;
            default:
                return other;
        }
    }
};

/// What `Ask::kVector` means on each kind of processor. The MMX-only flag holds back the SSE form alone; an
/// operation without a kernel of its own for SSE2 uses its SSE form there.
struct VectorRule {
    bool hasSSE2;
    Path sse;
    Path otherwise;
    /// The SSE form works on the registers of SSE itself, not on those of MMX.
    bool needsSIMD = false;
};

inline Path ChoosePath(const StyleRule& styles, const VectorRule& vectors, unsigned style,
                       const CPUcapabilities& processor, bool mmxOnly) noexcept {
    switch (styles(style)) {
        case Ask::kFloat:
            return Path::kFloat;
        case Ask::kScalar:
            return Path::kScalar;
        case Ask::kVector:
            if (vectors.hasSSE2 && processor.IsSSE2supported()) {
                return Path::kSSE2;
            }
            if (vectors.needsSIMD) {
                return processor.IsSIMDsupported() ? vectors.sse : vectors.otherwise;
            }
            return processor.IsSSE_MMXsupported() && !mmxOnly ? vectors.sse : vectors.otherwise;
        case Ask::kRefuse:
            break;
    }
    return Path::kRefused;
}

}  // namespace Zan

#endif  // TESSELU_SRC_FOUNDATION_PATHSELECTION_H

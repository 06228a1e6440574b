#include "convert/kernels/ConversionKernels.h"

#include "convert/kernels/CopyKernels.h"
#include "simd/Dispatch.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "convert/kernels/ConversionKernels.cpp"
#include "simd/Foreach.h"
// After it: these are compiled once per target.
#include "convert/kernels/Arithmetic-inl.h"
#include "convert/kernels/Conversion-inl.h"
#include "convert/kernels/Formats-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {

#define TESSELU_COMPOSE(NAME, ...)             \
    void NAME(const ConversionJob& job) {      \
        Convert<Conversion<__VA_ARGS__>>(job); \
    }
TESSELU_CONVERSIONS(TESSELU_COMPOSE)
#undef TESSELU_COMPOSE

}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

#define TESSELU_DISPATCH_CONVERSION(NAME, ...)                                                   \
    void NAME(const ConversionJob& job) {                                                        \
        static constexpr simd::Kernel<void(const ConversionJob&)> kernel = TESSELU_KERNEL(NAME); \
        kernel(job);                                                                             \
    }
TESSELU_CONVERSIONS(TESSELU_DISPATCH_CONVERSION)
#undef TESSELU_DISPATCH_CONVERSION

void MakeMonochromeLinesAndCopyAlpha(const ConversionJob& job) {
    MakeMonochromeLines(job);
    CopyAlphaPlane(job);
}

}  // namespace Zan

#endif  // HWY_ONCE

// Shaping and unshaping without a matrix.

#include "convert/kernels/ConversionKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "convert/kernels/Shaping.cpp"
#include "simd/Foreach.h"
// After it: these are compiled once per target.
#include "convert/kernels/Packed-inl.h"
#include "convert/kernels/Shaping-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

/// `Operation` on pixels: Formula(block), and Vector(v) on vectors of them.
template <class Operation>
struct ShapePixels {
    HWY_INLINE HWY_ATTR ShapePixels() {}
    void Formula(Block& block) const { Operation::Formula(block); }
    void Doubles(Block& block) const { Operation::Formula(block); }
    template <class Run>
    static void WithForm(const ConversionJob&, const Run& run) {
        run(std::type_identity<ShapePixels>());
    }

#if HWY_TARGET != HWY_SCALAR
    template <class Reader, class Writer>
    static constexpr std::size_t kStep = kVectorPixels;

    template <class Reader, class Writer, class Store>
    HWY_INLINE HWY_ATTR void Step(const Reader& reader, const Writer& writer, const Rows& at, std::size_t x,
                                  Store store) const {
        VU32 pixels[2];
        reader.LoadPixels(at, 0, x, pixels);
        const VU32 made[2] = {operation.Vector(pixels[0]), operation.Vector(pixels[1])};
        writer.PutPixels(at, 0, x, made, store);
    }

private:
    Operation operation;
#endif
};

/// The same on pairs that share chroma, in lanes.
template <class Operation>
struct ShapeLanes {
    void Formula(Block& block) const { Operation::Formula(block); }
    void Doubles(Block& block) const { Operation::Formula(block); }
    template <class Run>
    static void WithForm(const ConversionJob&, const Run& run) {
        run(std::type_identity<ShapeLanes>());
    }

#if HWY_TARGET != HWY_SCALAR
    template <class Reader, class Writer>
    static constexpr std::size_t kStep = Writer::kSteps* kVectorPixels;

    template <class Reader, class Writer, class Store>
    HWY_INLINE HWY_ATTR void Step(const Reader& reader, const Writer& writer, const Rows& at, std::size_t x,
                                  Store store) const {
        typename Writer::Lanes lanes;
        for (std::size_t i = 0; i < Writer::kSteps; ++i) {
            const PairLanes made =
                Operation::Vector(reader.template LoadPairs<0>(at, 0, x + i * kVectorPixels));
            lanes.luma[i] = made.luma;
            lanes.chroma[i] = made.chroma;
            lanes.alpha[i] = made.alpha;
        }
        writer.template PutLanes<false>(at, x, lanes, store);
    }
#endif
};

struct ShapeRgb {
    static void Formula(Block& block) { ForEachPixel(block, ShapeRgbPixel); }
#if HWY_TARGET != HWY_SCALAR
    static HWY_INLINE HWY_ATTR VU32 Vector(VU32 pixels) {
        return ShapedPixels(pixels);
    }
#endif
};
struct UnshapeRgb {
    static void Formula(Block& block) { ForEachPixel(block, UnshapeRgbPixel); }
#if HWY_TARGET != HWY_SCALAR
    HWY_INLINE HWY_ATTR UnshapeRgb() {}
    HWY_INLINE HWY_ATTR VU32 Vector(VU32 pixels) const {
        return unshaped(pixels);
    }

private:
    PixelUnshaper unshaped;
#endif
};
struct ShapeYCrCb {
    static void Formula(Block& block) { ShapePairs(block); }
#if HWY_TARGET != HWY_SCALAR
    static HWY_INLINE HWY_ATTR PairLanes Vector(const PairLanes& pairs) {
        return ShapedPairs(pairs);
    }
#endif
};
struct UnshapeYCrCb {
    static void Formula(Block& block) { UnshapePairs(block); }
#if HWY_TARGET != HWY_SCALAR
    static HWY_INLINE HWY_ATTR PairLanes Vector(const PairLanes& pairs) {
        return UnshapedPairs(pairs);
    }
#endif
};

// ---- Kernels ---------------------------------------------------------------------------------------------

void RGB32Shaped(const ConversionJob& job) {
    Convert<Pixels32Reader, ShapePixels<ShapeRgb>, Pixels32Writer>(job);
}
void RGB32Unshaped(const ConversionJob& job) {
    Convert<Pixels32Reader, ShapePixels<UnshapeRgb>, Pixels32Writer>(job);
}
void CbYCrY4Shaped(const ConversionJob& job) {
    Convert<CbYCrY4Reader, ShapeLanes<ShapeYCrCb>, CbYCrY4Writer>(job);
}
void CbYCrY4Unshaped(const ConversionJob& job) {
    Convert<CbYCrY4Reader, ShapeLanes<UnshapeYCrCb>, CbYCrY4Writer>(job);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

TESSELU_KERNEL(ConversionKernel, kShapeRGB32, RGB32Shaped);
TESSELU_KERNEL(ConversionKernel, kUnshapeRGB32, RGB32Unshaped);
TESSELU_KERNEL(ConversionKernel, kShapeCbYCrY4, CbYCrY4Shaped);
TESSELU_KERNEL(ConversionKernel, kUnshapeCbYCrY4, CbYCrY4Unshaped);

}  // namespace Zan

#endif  // HWY_ONCE

// Repacks: bytes to bytes, no matrix.

#include "convert/kernels/ConversionKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "convert/kernels/Repack.cpp"
#include "simd/Foreach.h"
// After it: these are compiled once per target.
#include "convert/kernels/Packed-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

/// Pair by pair: `Op` is Bytes(in, out) on four and Vector(v) on many. With `Alpha` a plane of alpha is
/// copied.
template <class Op, bool Alpha = false>
class Repack {
public:
    static constexpr std::size_t kUnit = 2;

    template <ReadsPairBytes Reader, class Writer>
    void Unit(const Reader& reader, const Writer& writer, const Rows& at, std::size_t x) const {
        Tail(reader, writer, at, x, 2);
    }

    template <ReadsPairBytes Reader, class Writer>
    void Tail(const Reader& reader, const Writer& writer, const Rows& at, std::size_t x,
              std::size_t columns) const {
        std::uint8_t out[4];
        Op::Bytes(reader.Bytes(at, x), out);
        writer.Put(at, x, out, columns);
        if constexpr (Alpha) {
            std::memcpy(at.out[3][0] + x, at.in[3][0] + x, columns);
        }
    }

    template <class Run>
    static void WithForm(const ConversionJob&, const Run& run) {
        run(Repack());
    }

#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kVectors = 4;
    static constexpr std::size_t kStep = kVectors * kVectorPixels;

    template <class Reader, class Writer, class Store>
    HWY_INLINE HWY_ATTR void Step(const Reader& reader, const Writer& writer, const Rows& at, std::size_t x,
                                  Store store) const {
        const DU8 d;
        const std::uint8_t* in = reader.Bytes(at, x);
        VU8 pairs[kVectors], alpha[kVectors / 2];
        for (std::size_t i = 0; i < kVectors; ++i) {
            pairs[i] = hn::LoadU(d, in + i * kVectorBytes);
        }
        for (std::size_t i = 0; Alpha && i < kVectors / 2; ++i) {
            alpha[i] = hn::LoadU(d, at.in[3][0] + x + i * kVectorBytes);
        }
        std::uint8_t* out = writer.Bytes(at, x);
        for (std::size_t i = 0; i < kVectors; ++i) {
            store(d, Op::Vector(pairs[i]), out + i * kVectorBytes);
        }
        for (std::size_t i = 0; Alpha && i < kVectors / 2; ++i) {
            store(d, alpha[i], at.out[3][0] + x + i * kVectorBytes);
        }
    }
#endif
};

/// Swaps the bytes of 16-bit words.
struct SwapInWords {
    static void Bytes(const std::uint8_t* in, std::uint8_t (&out)[4]) {
        out[0] = in[1];
        out[1] = in[0];
        out[2] = in[3];
        out[3] = in[2];
    }
#if HWY_TARGET != HWY_SCALAR
    static HWY_INLINE HWY_ATTR VU8 Vector(VU8 v) {
        alignas(16) static constexpr std::uint8_t kSwap[16] = {1, 0, 3,  2,  5,  4,  7,  6,
                                                               9, 8, 11, 10, 13, 12, 15, 14};
        return hn::TableLookupBytes(v, InEveryBlock(kSwap));
    }
#endif
};

/// Keeps luma and makes chroma 128, in Cb, Y0, Cr, Y1.
struct NeutralChroma {
    static void Bytes(const std::uint8_t* in, std::uint8_t (&out)[4]) {
        out[0] = out[2] = 128;
        out[1] = in[1];
        out[3] = in[3];
    }
#if HWY_TARGET != HWY_SCALAR
    static HWY_INLINE HWY_ATTR VU8 Vector(VU8 v) {
        const DU16 d;
        return hn::BitCast(DU8(), hn::Or(hn::And(hn::BitCast(d, v), hn::Set(d, 0xFF00)), hn::Set(d, 0x0080)));
    }
#endif
};

// ---- Kernels
// -----------------------------------------------------------------------------------------------

void CbYCrYToYCbYCr(const ConversionJob& job) {
    Convert<PairBytesReader, Repack<SwapInWords>, PairBytesWriter<2>, 2>(job);
}
void YCbYCrToCbYCrY(const ConversionJob& job) {
    Convert<PairBytesReader, Repack<SwapInWords>, PairBytesWriter<3>, 2>(job);
}
void Monochrome(const ConversionJob& job) {
    Convert<PairBytesReader, Repack<NeutralChroma>, PairBytesWriter<3>, 2>(job);
}
void MonochromeAndAlpha(const ConversionJob& job) {
    Convert<PairBytesAlphaReader, Repack<NeutralChroma, true>, PairBytesAlphaWriter<3>, 2>(job);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

TESSELU_KERNEL(ConversionKernel, kSwapCbYCrYToYCbYCr, CbYCrYToYCbYCr);
TESSELU_KERNEL(ConversionKernel, kSwapYCbYCrToCbYCrY, YCbYCrToCbYCrY);
TESSELU_KERNEL(ConversionKernel, kMakeMonochromeLines, Monochrome);
TESSELU_KERNEL(ConversionKernel, kMakeMonochromeLinesAndCopyAlpha, MonochromeAndAlpha);

}  // namespace Zan

#endif  // HWY_ONCE

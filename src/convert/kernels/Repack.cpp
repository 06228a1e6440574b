// Repacks: bytes to bytes, no matrix.

#include "convert/kernels/ConversionKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "convert/kernels/Repack.cpp"
#include "simd/Foreach.h"
// After it: these are compiled once per target.
#include "convert/kernels/Packed-inl.h"
#include "convert/kernels/Planar-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

/// Samples as they are: chroma repeated or averaged as the formats ask for.
class Repack {
public:
    void Formula(Block&) const {}
    void Doubles(Block&) const {}

    template <class Run>
    static void WithForm(const ConversionJob&, const Run& run) {
        run(std::type_identity<Repack>());
    }

#if HWY_TARGET == HWY_SCALAR

    explicit Repack(const ConversionJob&) {}

#else

    HWY_INLINE HWY_ATTR explicit Repack(const ConversionJob& job) : fill(hn::Set(DI16(), job.alphaFill)) {}

    /// Bytes go as they are where chroma need not be looked at.
    template <class Reader>
    static constexpr bool kDeals = requires {
        &Reader::LoadDealt;
    };

    template <class Reader, class Writer>
    static constexpr std::size_t kStep = (kDeals<Reader> ? 2 : Writer::kSteps) * kVectorPixels;

    template <class Reader, class Writer, class Store>
    HWY_INLINE HWY_ATTR void Step(const Reader& reader, const Writer& writer, const Rows& at, std::size_t x,
                                  Store store) const {
        if constexpr (kDeals<Reader>) {
            writer.PutDealt(at, x, reader.LoadDealt(at, 0, x), store);
        } else {
            PutLanes(reader, writer, at, x, store);
        }
    }

private:
    template <class Reader, class Writer, class Store>
    HWY_INLINE HWY_ATTR void PutLanes(const Reader& reader, const Writer& writer, const Rows& at,
                                      std::size_t x, Store store) const {
        constexpr std::size_t kSteps = Writer::kSteps, kLines = Writer::kLines;
        typename Writer::Lanes lanes;
        for (std::size_t line = 0; line < kLines; ++line) {
            VI16 luma[kSteps];
            for (std::size_t i = 0; i < kSteps; ++i) {
                const PairLanes pairs = reader.LoadLanes(at, line, x + i * kVectorPixels);
                luma[i] = pairs.luma;
                lanes.chroma[i] =
                    line == 0 ? pairs.chroma : hn::ShiftRight<1>(hn::Add(lanes.chroma[i], pairs.chroma));
                if constexpr (Writer::kHasAlpha) {
                    lanes.alpha[i] = Reader::kHasAlpha ? pairs.alpha : fill;
                }
            }
            lanes.TakeLuma(line, luma);
        }
        writer.template PutLanes<false>(at, x, lanes, store);
    }

    VI16 fill;
#endif
};

/// The same between pixels that all have their samples.
class RepackPixels {
public:
    void Formula(Block&) const {}
    void Doubles(Block&) const {}

    template <class Run>
    static void WithForm(const ConversionJob&, const Run& run) {
        run(std::type_identity<RepackPixels>());
    }

#if HWY_TARGET == HWY_SCALAR

    explicit RepackPixels(const ConversionJob&) {}

#else

    HWY_INLINE HWY_ATTR explicit RepackPixels(const ConversionJob& job)
        : fill(hn::Set(DU32(), static_cast<std::uint32_t>(job.alphaFill) << 24)) {}

    template <class Reader, class Writer>
    static constexpr std::size_t kStep = Writer::kSteps* kVectorPixels;

    template <class Reader, class Writer, class Store>
    HWY_INLINE HWY_ATTR void Step(const Reader& reader, const Writer& writer, const Rows& at, std::size_t x,
                                  Store store) const {
        VU32 pixels[2 * Writer::kSteps];
        for (std::size_t i = 0; i < Writer::kSteps; ++i) {
            VU32 loaded[2];
            reader.LoadPixels(at, 0, x + i * kVectorPixels, loaded);
            for (std::size_t k = 0; k < 2; ++k) {
                pixels[2 * i + k] = Reader::kHasAlpha ? loaded[k] : hn::Or(loaded[k], fill);
            }
        }
        writer.PutPixels(at, 0, x, pixels, store);
    }

private:
    VU32 fill;
#endif
};

/// Pairs of four bytes to pairs of four bytes, whatever lies where: `Op` is Vector(v) on many of them. With
/// alpha its plane is copied.
template <class Op>
class RepackBytes {
public:
    void Formula(Block& block) const { Op::Formula(block); }
    void Doubles(Block& block) const { Op::Formula(block); }

    template <class Run>
    static void WithForm(const ConversionJob&, const Run& run) {
        run(std::type_identity<RepackBytes>());
    }

#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kVectors = 4;
    template <class Reader, class Writer>
    static constexpr std::size_t kStep = kVectors* kVectorPixels;

    template <class Reader, class Writer, class Store>
    HWY_INLINE HWY_ATTR void Step(const Reader&, const Writer&, const Rows& at, std::size_t x,
                                  Store store) const {
        const DU8 d;
        const std::uint8_t* in = at.in[0][0] + 2 * x;
        VU8 pairs[kVectors], alpha[kVectors / 2];
        for (std::size_t i = 0; i < kVectors; ++i) {
            pairs[i] = hn::LoadU(d, in + i * kVectorBytes);
        }
        for (std::size_t i = 0; Reader::kHasAlpha && i < kVectors / 2; ++i) {
            alpha[i] = hn::LoadU(d, at.in[3][0] + x + i * kVectorBytes);
        }
        std::uint8_t* out = at.out[0][0] + 2 * x;
        for (std::size_t i = 0; i < kVectors; ++i) {
            store(d, Op::Vector(pairs[i]), out + i * kVectorBytes);
        }
        for (std::size_t i = 0; Reader::kHasAlpha && i < kVectors / 2; ++i) {
            store(d, alpha[i], at.out[3][0] + x + i * kVectorBytes);
        }
    }
#endif
};

/// Swaps the bytes of 16-bit words: what reader and writer of the two orders of 4:2:2 do together.
struct SwapInWords {
    static void Formula(Block&) {}
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
    static void Formula(Block& block) {
        ForEachPixel(block, [](Pixel& pixel) { pixel.sample[0] = pixel.sample[2] = 128; });
    }
#if HWY_TARGET != HWY_SCALAR
    static HWY_INLINE HWY_ATTR VU8 Vector(VU8 v) {
        const DU16 d;
        return hn::BitCast(DU8(), hn::Or(hn::And(hn::BitCast(d, v), hn::Set(d, 0xFF00)), hn::Set(d, 0x0080)));
    }
#endif
};

// ---- Kernels ---------------------------------------------------------------------------------------------

void RGB32ToRGB24(const ConversionJob& job) {
    Convert<Pixels32Reader, RepackPixels, Pixels24Writer>(job);
}
void RGB24ToRGB32(const ConversionJob& job) {
    Convert<Pixels24Reader, RepackPixels, Pixels32Writer>(job);
}
void CbYCrAToCbYCrY(const ConversionJob& job) {
    Convert<Pixels32Reader, Repack, CbYCrYWriter>(job);
}
void CbYCrYToCbYCrA(const ConversionJob& job) {
    Convert<CbYCrYReader, Repack, Pixels32Writer>(job);
}
void CbYCrYToYCbYCr(const ConversionJob& job) {
    Convert<CbYCrYReader, RepackBytes<SwapInWords>, YCbYCrWriter>(job);
}
void YCbYCrToCbYCrY(const ConversionJob& job) {
    Convert<YCbYCrReader, RepackBytes<SwapInWords>, CbYCrYWriter>(job);
}
void CbYCrYToPlanar420(const ConversionJob& job) {
    Convert<CbYCrYReader, Repack, Planar420Writer, simd::LinePairs>(job);
}
void CbYCrYToPlanar422(const ConversionJob& job) {
    Convert<CbYCrYReader, Repack, Planar422Writer>(job);
}
void CbYCrYToPlanarGrouped(const ConversionJob& job) {
    Convert<CbYCrYReader, Repack, GroupedWriter>(job);
}
void PlanarGroupedToCbYCrY(const ConversionJob& job) {
    Convert<GroupedReader, Repack, CbYCrYWriter>(job);
}
void Planar422ToCbYCrY(const ConversionJob& job) {
    Convert<Planar422Reader, Repack, CbYCrYWriter>(job);
}
void YCbCrAToCbYCrY4(const ConversionJob& job) {
    Convert<YCbCrAReader, Repack, CbYCrY4Writer>(job);
}
void CbYCrAToCbYCrY4(const ConversionJob& job) {
    Convert<Pixels32Reader, Repack, CbYCrY4Writer>(job);
}
void CbYCrY4ToCbYCrA(const ConversionJob& job) {
    Convert<CbYCrY4Reader, Repack, Pixels32Writer>(job);
}
void Monochrome(const ConversionJob& job) {
    Convert<CbYCrYReader, RepackBytes<NeutralChroma>, CbYCrYWriter>(job);
}
void MonochromeAndAlpha(const ConversionJob& job) {
    Convert<CbYCrY4Reader, RepackBytes<NeutralChroma>, CbYCrY4Writer>(job);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

TESSELU_KERNEL(ConversionKernel, kPackRGB32ToRGB24, RGB32ToRGB24);
TESSELU_KERNEL(ConversionKernel, kUnpackRGB24ToRGB32, RGB24ToRGB32);
TESSELU_KERNEL(ConversionKernel, kPackCbYCrAToCbYCrY, CbYCrAToCbYCrY);
TESSELU_KERNEL(ConversionKernel, kUnpackCbYCrYToCbYCrA, CbYCrYToCbYCrA);
TESSELU_KERNEL(ConversionKernel, kSwapCbYCrYToYCbYCr, CbYCrYToYCbYCr);
TESSELU_KERNEL(ConversionKernel, kSwapYCbYCrToCbYCrY, YCbYCrToCbYCrY);
TESSELU_KERNEL(ConversionKernel, kPackCbYCrYToPlanar420, CbYCrYToPlanar420);
TESSELU_KERNEL(ConversionKernel, kPackCbYCrYToPlanar422, CbYCrYToPlanar422);
TESSELU_KERNEL(ConversionKernel, kPackCbYCrYToPlanarGrouped, CbYCrYToPlanarGrouped);
TESSELU_KERNEL(ConversionKernel, kUnpackPlanarGroupedToCbYCrY, PlanarGroupedToCbYCrY);
TESSELU_KERNEL(ConversionKernel, kUnpackPlanar422ToCbYCrY, Planar422ToCbYCrY);
TESSELU_KERNEL(ConversionKernel, kPackYCbCrAToCbYCrY4, YCbCrAToCbYCrY4);
TESSELU_KERNEL(ConversionKernel, kPackCbYCrAToCbYCrY4, CbYCrAToCbYCrY4);
TESSELU_KERNEL(ConversionKernel, kUnpackCbYCrY4ToCbYCrA, CbYCrY4ToCbYCrA);
TESSELU_KERNEL(ConversionKernel, kMakeMonochromeLines, Monochrome);
TESSELU_KERNEL(ConversionKernel, kMakeMonochromeLinesAndCopyAlpha, MonochromeAndAlpha);

}  // namespace Zan

#endif  // HWY_ONCE

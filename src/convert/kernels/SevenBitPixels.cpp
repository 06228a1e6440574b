// Pixels to pixels with input as sample * 128 and output in 16ths; alpha rides through.

#include <cstdlib>

#include "convert/Coefficients.h"
#include "convert/kernels/ConversionKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "convert/kernels/SevenBitPixels.cpp"
#include "simd/Foreach.h"
// After it: these are compiled once per target.
#include "convert/kernels/Packed-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

/// `Plus`: colour is limited to 16...235 first, and a plus function runs on the result.
template <bool Plus>
class SevenBitPixels {
public:
    explicit SevenBitPixels(const ConversionJob& job) : c(*job.coefficients), function(job.plusFunction) {}

    void Formula(Block& block) const {
        ForEachPixel(block, [&](Pixel& pixel) {
            const Pixel in = Limited(pixel);
            pixel = SevenBitColor(c, in);
            pixel.sample[3] = SevenBitAlpha(c, in.sample[3]);
            Finish(pixel);
        });
    }

    void Doubles(Block& block) const {
        ForEachPixel(block, [&](Pixel& pixel) {
            const Pixel in = Limited(pixel);
            pixel = ColorInDoubles(c, in);
            pixel.sample[3] = AlphaInDoubles(c, in.sample[3]);
            Finish(pixel);
        });
    }

    template <class Run>
    static void WithForm(const ConversionJob& job, const Run& run);

protected:
    static Pixel Limited(Pixel pixel) {
        for (std::size_t j = 0; Plus && j < 3; ++j) {
            pixel.sample[j] = std::clamp<std::uint8_t>(pixel.sample[j], 16, 235);
        }
        return pixel;
    }
    void Finish(Pixel& pixel) const {
        if constexpr (Plus) {
            pixel = PlusResult(function, pixel);
        }
    }

    const FixedPointCoefficients& c;
    unsigned function;
};

#if HWY_TARGET == HWY_SCALAR

template <bool Plus>
template <class Run>
void SevenBitPixels<Plus>::WithForm(const ConversionJob&, const Run& run) {
    run(std::type_identity<SevenBitPixels>());
}

#else

/// The plus functions as one: colour * factor / 255 - weight * (255 - alpha) / 255, where the factor and the
/// new alpha are (alpha ^ turned) | filled.
class PlusLanes {
public:
    HWY_INLINE HWY_ATTR explicit PlusLanes(unsigned function) {
        const DI16 d;
        const bool byAlpha = function == 2, byRest = function == 3;
        factorTurned = hn::Set(d, byRest ? 255 : 0);
        factorFilled = hn::Set(d, byAlpha || byRest ? 0 : 255);
        alphaTurned = hn::Set(d, function == 1 || byRest ? 255 : 0);
        alphaFilled = hn::Set(d, function == 6 ? 255 : 0);
        const bool lessShare = function == 4 || function == 5;
        chromaWeight = hn::Set(d, lessShare ? 128 : 0);
        lumaWeight = hn::Set(d, static_cast<std::int16_t>(function == 4 ? 16 : function == 5 ? 235 : 0));
    }

    HWY_INLINE HWY_ATTR void Finish(VI16 (&of)[4]) const {
        const DI16 d;
        const VI16 full = hn::Set(d, 255);
        for (VI16& lanes : of) {
            lanes = hn::Min(hn::Max(lanes, hn::Zero(d)), full);
        }
        const VI16 alpha = of[3], rest = hn::Sub(full, alpha);
        const VI16 factor = hn::Or(hn::Xor(alpha, factorTurned), factorFilled);
        for (std::size_t j = 0; j < 3; ++j) {
            const VU16 share = hn::Add(hn::BitCast(DU16(), hn::Mul(j == 1 ? lumaWeight : chromaWeight, rest)),
                                       hn::Set(DU16(), 254));
            const VI16 color = DividedBy255(hn::BitCast(DU16(), hn::Mul(of[j], factor)));
            of[j] = hn::Sub(color, DividedBy255(share));
        }
        of[3] = hn::Or(hn::Xor(alpha, alphaTurned), alphaFilled);
    }

private:
    /// t / 255, truncated.
    static HWY_INLINE HWY_ATTR VI16 DividedBy255(VU16 t) {
        const DU16 d;
        const VU16 sum = hn::Add(hn::Add(t, hn::ShiftRight<8>(t)), hn::Set(d, 1));
        return hn::BitCast(DI16(), hn::ShiftRight<8>(sum));
    }

    VI16 factorTurned, factorFilled, alphaTurned, alphaFilled, chromaWeight, lumaWeight;
};

/// Components 0 and 2, and 1 and 3, of pixels in 16-bit lanes.
struct SplitVector {
    VI16 of02, of13;

    HWY_INLINE HWY_ATTR explicit SplitVector(VU32 pixels) {
        const DU16 d;
        of02 = hn::BitCast(DI16(), hn::And(hn::BitCast(d, pixels), hn::Set(d, 0xFF)));
        of13 = hn::BitCast(DI16(), hn::ShiftRight<8>(hn::BitCast(d, pixels)));
    }
};

/// What the vector forms share: `Form` makes rows 0 to 2 of a vector of pixels, 32 bits each.
template <bool Plus, class Form>
class VectorPixels : public SevenBitPixels<Plus> {
protected:
    using SevenBitPixels<Plus>::c;

public:
    template <class Reader, class Writer>
    static constexpr std::size_t kStep = kVectorPixels;

    HWY_INLINE HWY_ATTR explicit VectorPixels(const ConversionJob& job)
        : SevenBitPixels<Plus>(job), plus(job.plusFunction) {}

    template <class Reader, class Writer, class Store>
    HWY_INLINE HWY_ATTR void Step(const Reader& reader, const Writer& writer, const Rows& at, std::size_t x,
                                  Store store) const {
        const DU8 d;
        const DU32 d32;
        VU32 pixels[2];
        reader.LoadPixels(at, 0, x, pixels);
        if constexpr (Plus) {
            for (VU32& v : pixels) {
                const VU8 raised = hn::Max(hn::BitCast(d, v), hn::BitCast(d, hn::Set(d32, 0x00101010)));
                v = hn::BitCast(d32, hn::Min(raised, hn::BitCast(d, hn::Set(d32, 0xFFEBEBEB))));
            }
        }
        const Form& form = static_cast<const Form&>(*this);
        const SplitVector low(pixels[0]), high(pixels[1]);
        Components out[1];
        for (std::size_t i = 0; i < 3; ++i) {
            out[0].of[i] = form.Row(i, low, high);
        }
        out[0].of[3] = form.Alpha(PackToShorts(hn::BitCast(DI32(), hn::ShiftRight<24>(pixels[0])),
                                               hn::BitCast(DI32(), hn::ShiftRight<24>(pixels[1]))));
        if constexpr (Plus) {
            plus.Finish(out[0].of);
        }
        writer.PutComponents(at, 0, x, out, store);
    }

private:
    PlusLanes plus;
};

/// ((sum of c * (128 x + before)) >> 16 + after) >> 4 as (sum of c * x + start) >> 13, with every offset in
/// `start`. Holds where `SevenBitSumsFit`. `Fused` as in AddMulAddPairs.
template <bool Plus, bool Fused = false>
class FoldedSevenBitPixels : public VectorPixels<Plus, FoldedSevenBitPixels<Plus, Fused> > {
    using Base = VectorPixels<Plus, FoldedSevenBitPixels<Plus, Fused> >;
    using Base::c;

public:
    HWY_INLINE HWY_ATTR explicit FoldedSevenBitPixels(const ConversionJob& job) : Base(job) {
        for (std::size_t i = 0; i < 3; ++i) {
            const auto& row = c.matrixFixed[i];
            start[i] = hn::Set(DI32(), job.coefficients->sevenBitOffsets[i]);
            weights02[i] = WordPairs(row[0], row[2]);
            weights13[i] = WordPairs(row[1], row[3]);
        }
        const int offset = ((c.offsetFixed[0][3] >> 3) + c.offsetFixed[1][3]) >> 4;
        alphaOffset = hn::Set(DI16(), static_cast<std::int16_t>(offset));
        wideAlphaOffset = hn::Set(DI32(), offset);
    }

    template <class Reader, class Writer, class Store>
    HWY_INLINE HWY_ATTR void Step(const Reader& reader, const Writer& writer, const Rows& at, std::size_t x,
                                  Store store) const {
        if constexpr (Plus) {
            Base::Step(reader, writer, at, x, store);
        } else {
            VU32 pixels[2];
            reader.LoadPixels(at, 0, x, pixels);
            const VU32 made[2] = {Converted(pixels[0]), Converted(pixels[1])};
            writer.PutPixels(at, 0, x, made, store);
        }
    }

    /// Whether the offsets of alpha can be one.
    static bool AlphaFits(const FixedPointCoefficients& c) {
        return std::abs(c.offsetFixed[0][3]) <= 127 && std::abs(c.offsetFixed[1][3]) <= 16384;
    }
    HWY_INLINE HWY_ATTR VI16 Alpha(VI16 alpha) const { return hn::Add(alpha, alphaOffset); }

    HWY_INLINE HWY_ATTR VI16 Row(std::size_t i, const SplitVector& low, const SplitVector& high) const {
        return PackToShorts(Sum(i, low), Sum(i, high));
    }

private:
    HWY_INLINE HWY_ATTR VU32 Converted(VU32 pixels) const {
        // In each block components 0, 2, 1 and 3 of four pixels.
        alignas(16) static constexpr std::uint8_t kInPixels[16] = {0, 8,  4, 12, 1, 9,  5, 13,
                                                                   2, 10, 6, 14, 3, 11, 7, 15};
        const SplitVector in(pixels);
        const VI32 alpha = hn::Add(hn::BitCast(DI32(), hn::ShiftRight<24>(pixels)), wideAlphaOffset);
        const VU8 made = PackToBytes(PackToShorts(Sum(0, in), Sum(2, in)), PackToShorts(Sum(1, in), alpha));
        return hn::BitCast(DU32(), hn::TableLookupBytes(made, InEveryBlock(kInPixels)));
    }

    HWY_INLINE HWY_ATTR VI32 Sum(std::size_t i, const SplitVector& in) const {
        const VI32 first = AddMulAddPairs<Fused>(start[i], in.of02, weights02[i]);
        return hn::ShiftRight<13>(AddMulAddPairs<Fused>(first, in.of13, weights13[i]));
    }

    VI16 weights02[3], weights13[3], alphaOffset;
    VI32 start[3], wideAlphaOffset;
};

/// The same as (sum of c * 8 x + start) >> 16, so that results are the high halves, where alpha stays as it
/// is. `SharedLuma`: component 1 weighs alike in all rows, and component 3 nothing. Holds where
/// `SevenBitSumsFit`. `Fused` as in AddMulAddPairs.
template <bool SharedLuma, bool Fused = false>
class HighSevenBitPixels : public SevenBitPixels<false> {
    using SevenBitPixels<false>::c;

public:
    template <class Reader, class Writer>
    static constexpr std::size_t kStep = kVectorPixels;

    HWY_INLINE HWY_ATTR explicit HighSevenBitPixels(const ConversionJob& job) : SevenBitPixels<false>(job) {
        // In each block components 0 and 2 of four pixels in turn, then component 1 in every other byte.
        alignas(16) static constexpr std::uint8_t kInPixels[16] = {0, 8,  1, 9,  2, 10, 3, 11,
                                                                   4, 12, 5, 13, 6, 14, 7, 15};
        for (std::size_t i = 0; i < 3; ++i) {
            const auto& row = c.matrixFixed[i];
            start[i] = hn::Set(DI32(), job.coefficients->sevenBitOffsets[i] * 8);
            weights02[i] = WordPairs(row[0], row[2]);
            weights13[i] = WordPairs(row[1], row[3]);
        }
        eightTimes02 = hn::BitCast(DI8(), hn::Set(DU16(), 0x0008));
        eightTimes13 = hn::BitCast(DI8(), hn::Set(DU16(), 0x0800));
        inPixels = InEveryBlock(kInPixels);
    }

    /// Whether the offsets of alpha come to nothing.
    static bool AlphaStays(const FixedPointCoefficients& c) {
        return FoldedSevenBitPixels<false>::AlphaFits(c) &&
               ((c.offsetFixed[0][3] >> 3) + c.offsetFixed[1][3]) >> 4 == 0;
    }
    static bool LumaIsShared(const FixedPointCoefficients& c) {
        const auto& m = c.matrixFixed;
        return m[0][1] == m[1][1] && m[0][1] == m[2][1] && (m[0][3] | m[1][3] | m[2][3]) == 0;
    }

    template <class Reader, class Writer, class Store>
    HWY_INLINE HWY_ATTR void Step(const Reader& reader, const Writer& writer, const Rows& at, std::size_t x,
                                  Store store) const {
        VU32 pixels[2];
        reader.LoadPixels(at, 0, x, pixels);
        const VU32 made[2] = {Converted(pixels[0]), Converted(pixels[1])};
        writer.PutPixels(at, 0, x, made, store);
    }

private:
    HWY_INLINE HWY_ATTR VU32 Converted(VU32 pixels) const {
#if HWY_ARCH_X86
        const VU8 bytes = hn::BitCast(DU8(), pixels);
        const VI16 of02 = MulAddPairs(bytes, eightTimes02), of13 = MulAddPairs(bytes, eightTimes13);
#else
        const SplitVector split(pixels);
        const VI16 of02 = hn::ShiftLeft<3>(split.of02), of13 = hn::ShiftLeft<3>(split.of13);
#endif
        VI32 luma = hn::Zero(DI32());
        if constexpr (SharedLuma && !Fused) {
            luma = MulAddPairs(of13, weights13[0]);
        }
        const auto row = [&](std::size_t i) HWY_ATTR {
            const VI32 chroma = AddMulAddPairs<Fused>(start[i], of02, weights02[i]);
            if constexpr (SharedLuma && !Fused) {
                return hn::Add(chroma, luma);
            } else {
                return AddMulAddPairs<Fused>(chroma, of13, weights13[i]);
            }
        };
        const VI16 made02 = HighHalves(row(0), row(2));
        const VI16 made1 = hn::BitCast(DI16(), hn::ShiftRight<16>(row(1)));
        const VU8 made = hn::TableLookupBytes(PackToBytes(made02, made1), inPixels);
        return hn::IfVecThenElse(hn::Set(DU32(), 0xFF000000U), pixels, hn::BitCast(DU32(), made));
    }

    VI16 weights02[3], weights13[3];
    VI32 start[3];
    VI8 eightTimes02, eightTimes13;
    VU8 inPixels;
};

/// The formula to the letter, with the wraps and saturations of 16 bits: for coefficients that fit no other.
template <bool Plus>
class LiteralSevenBitPixels : public VectorPixels<Plus, LiteralSevenBitPixels<Plus> > {
    using Base = VectorPixels<Plus, LiteralSevenBitPixels<Plus> >;
    using Base::c;

public:
    static constexpr bool kStaysInCache = true;

    HWY_INLINE HWY_ATTR explicit LiteralSevenBitPixels(const ConversionJob& job) : Base(job) {
        before02 = WordPairs(c.offsetFixed[0][0], c.offsetFixed[0][2]);
        before13 = WordPairs(c.offsetFixed[0][1], c.offsetFixed[0][3]);
        for (std::size_t i = 0; i < 3; ++i) {
            const auto& row = c.matrixFixed[i];
            weights[i][0] = WordPairs(row[0], 0);
            weights[i][1] = WordPairs(row[1], 0);
            weights[i][2] = WordPairs(0, row[2]);
            weights[i][3] = WordPairs(0, row[3]);
            after[i] = hn::Set(DI16(), c.offsetFixed[1][i]);
        }
        alphaBefore = hn::Set(DI16(), c.offsetFixed[0][3]);
        alphaAfter = hn::Set(DI16(), c.offsetFixed[1][3]);
    }

    HWY_INLINE HWY_ATTR VI16 Alpha(VI16 alpha) const {
        const VI16 shifted = hn::ShiftRight<3>(hn::Add(hn::ShiftLeft<7>(alpha), alphaBefore));
        return hn::ShiftRight<4>(hn::Add(shifted, alphaAfter));
    }
    HWY_INLINE HWY_ATTR VI16 Row(std::size_t i, const SplitVector& low, const SplitVector& high) const {
        const VI16 sums = PackToShorts(HighSum(i, low), HighSum(i, high));
        return hn::ShiftRight<4>(hn::Add(sums, after[i]));
    }

private:
    /// (sum of products) >> 16. The sum may take 34 bits: halves are added apart.
    HWY_INLINE HWY_ATTR VI32 HighSum(std::size_t i, const SplitVector& in) const {
        const DI32 d32;
        const auto times128 = [&](VI16 v, VI16 before)
                                  HWY_ATTR { return hn::Add(hn::ShiftLeft<7>(v), before); };
        const VI16 of02 = times128(in.of02, before02), of13 = times128(in.of13, before13);
        VI32 highs = hn::Zero(d32), lows = hn::Zero(d32);
        for (std::size_t j = 0; j < 4; ++j) {
            const VI32 product = MulAddPairs(j % 2 == 0 ? of02 : of13, weights[i][j]);
            highs = hn::Add(highs, hn::ShiftRight<16>(product));
            lows = hn::Add(lows, hn::And(product, hn::Set(d32, 0xFFFF)));
        }
        return hn::Add(highs, hn::ShiftRight<16>(lows));
    }

    VI16 before02, before13, weights[3][4], after[3], alphaBefore, alphaAfter;
};

template <bool Plus>
template <class Run>
void SevenBitPixels<Plus>::WithForm(const ConversionJob& job, const Run& run) {
    const FixedPointCoefficients& c = *job.coefficients;
    if constexpr (!Plus) {
        using High = HighSevenBitPixels<false>;
        if (High::AlphaStays(c) && (job.hasDefaults || SevenBitSumsFit(c))) {
#if HWY_TARGET == HWY_AVX3
            if (simd::CurrentTarget() == simd::kAVX512DL) {
                run(std::type_identity<HighSevenBitPixels<false, true> >());
                return;
            }
#endif
            if (High::LumaIsShared(c)) {
                run(std::type_identity<HighSevenBitPixels<true> >());
            } else {
                run(std::type_identity<High>());
            }
            return;
        }
    }
    if (job.hasDefaults || (SevenBitSumsFit(c) && FoldedSevenBitPixels<Plus>::AlphaFits(c))) {
#if HWY_TARGET == HWY_AVX3
        if (simd::CurrentTarget() == simd::kAVX512DL) {
            run(std::type_identity<FoldedSevenBitPixels<Plus, true> >());
            return;
        }
#endif
        run(std::type_identity<FoldedSevenBitPixels<Plus> >());
    } else {
        run(std::type_identity<LiteralSevenBitPixels<Plus> >());
    }
}

#endif  // HWY_TARGET

// ---- Kernels ---------------------------------------------------------------------------------------------

void Pixels32ToPixels32(const ConversionJob& job) {
    Convert<Pixels32Reader, SevenBitPixels<false>, Pixels32Writer>(job);
}
void Plus(const ConversionJob& job) {
    Convert<Pixels32Reader, SevenBitPixels<true>, Pixels32Writer>(job);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

TESSELU_KERNEL(ConversionKernel, kConvertRGB32ToCbYCrA, Pixels32ToPixels32);
TESSELU_KERNEL(ConversionKernel, kConvertPlus, Plus);

}  // namespace Zan

#endif  // HWY_ONCE

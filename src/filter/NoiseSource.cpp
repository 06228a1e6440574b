#include <TesselU/filter/NoiseSource.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <ctime>

#include "filter/RandomNumbers.h"
#include "filter/kernels/Noise.h"
#include "foundation/Elementary.h"

namespace Zan {
namespace {

/// One for the process.
std::atomic<std::uint32_t> randomState{1};

NoiseJob JobOf(ULong32* src, ULong32* dst, ULong32 width, ULong32 height, ULong32 srcPitch,
               ULong32 dstPitch) noexcept {
    const auto plane = [](ULong32* first, ULong32 pitch) {
        return Plane{reinterpret_cast<std::uint8_t*>(first), static_cast<std::ptrdiff_t>(pitch)};
    };
    const std::size_t bytes = 4 * std::size_t{width};
    return {{plane(src, srcPitch)}, {plane(dst, dstPitch)}, bytes, height, bytes};
}

template <class Noise>
void Run(const NoiseKernel<Noise>& kernel, const NoiseJob& job, const Noise& noise,
         const ULong32* seed) noexcept {
    // No more than 2^32 draws make a difference.
    const RandomLeap leap = LeapOver(std::uint64_t{Noise::kDraws} * job.width * job.height);
    std::uint32_t state;
    if (seed != nullptr) {
        state = static_cast<std::uint32_t>(*seed);
        randomState.store(leap(state), std::memory_order_relaxed);
    } else {
        state = randomState.load(std::memory_order_relaxed);
        while (!randomState.compare_exchange_weak(state, leap(state), std::memory_order_relaxed)) {
        }
    }
    if (job.width != 0 && job.height != 0) {
        kernel(job, noise, state);
    }
}

}  // namespace

GaussianTables::GaussianTables() noexcept {
    for (std::uint32_t draw = 0; draw < kDrawnValues; ++draw) {
        logarithms[draw] = Logarithm(Uniform(draw));
        cosines[draw] = Cosine(Angle(draw));
    }
}

const GaussianTables& GaussianTables::Instance() noexcept {
    static const GaussianTables tables;
    return tables;
}

NoiseSource::NoiseSource() {
    randomState.store(static_cast<std::uint32_t>(std::time(nullptr)), std::memory_order_relaxed);
}

void NoiseSource::EnableSameRandomSeed(bool enable) {
    sameRandomSeed = enable;
}

void NoiseSource::SetRandomSeed(ULong32 seed) {
    randomSeed = seed;
}

Long32 NoiseSource::AddGaussian(ULong32* src, ULong32* dst, ULong32 width, ULong32 height, ULong32 srcPitch,
                                ULong32 dstPitch, double variance, double mean) {
    if (src == nullptr || dst == nullptr) {
        return -1;
    }
    Run(kAddGaussian, JobOf(src, dst, width, height, srcPitch, dstPitch),
        GaussianNoise{&GaussianTables::Instance(), variance, mean}, sameRandomSeed ? &randomSeed : nullptr);
    return kStatusOk;
}

Long32 NoiseSource::AddUniform(ULong32* src, ULong32* dst, ULong32 width, ULong32 height, ULong32 srcPitch,
                               ULong32 dstPitch, double low, double high) {
    if (src == nullptr || dst == nullptr) {
        return -1;
    }
    const double span = high - low;
    if (!(low >= -255.0 && high <= 255.0 && low <= high && span <= 255.0)) {
        return -2;
    }
    Run(kAddUniform, JobOf(src, dst, width, height, srcPitch, dstPitch), UniformNoise{low, span},
        sameRandomSeed ? &randomSeed : nullptr);
    return kStatusOk;
}

Long32 NoiseSource::UniformBitErrors(ULong32* src, ULong32* dst, ULong32 width, ULong32 height,
                                     ULong32 srcPitch, ULong32 dstPitch, double probability) {
    if (src == nullptr || dst == nullptr) {
        return -1;
    }
    if (!(probability >= 0.0 && probability <= 1.0)) {
        return -2;
    }
    const auto threshold = static_cast<std::uint32_t>(probability * 32767.0 + 0.5);
    Run(kFlipBits, JobOf(src, dst, width, height, srcPitch, dstPitch), BitErrors{threshold},
        sameRandomSeed ? &randomSeed : nullptr);
    return kStatusOk;
}

}  // namespace Zan

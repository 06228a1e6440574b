// Noise and both filters against it on pictures of any size, pitch and address that end where their memory
// ends, with any setting, in place or not: nothing outside is touched, and instructions never show in a
// result.

#include "Calls.h"
#include "Input.h"

#include <TesselU/filter/NoiseReduction.h>
#include <TesselU/filter/NoiseSource.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "simd/Job.h"
#include "simd/Targets.h"

namespace {

using namespace Zan;

fuzz::Calls calls;

/// Rows of words, and the bytes between them; the last row ends where the memory ends.
class Picture {
public:
    Picture(fuzz::Input& input, std::size_t rowWords, std::size_t rowCount)
        : before(input.Below(17)),
          pitch(4 * rowWords + (input.Flip() ? 0 : input.Below(13))),
          bytes(rowCount == 0 ? 0 : pitch * (rowCount - 1) + 4 * rowWords),
          memory(new std::uint8_t[before + bytes]) {
        Fill(input);
    }
    Picture(const Picture& other)
        : before(other.before),
          pitch(other.pitch),
          bytes(other.bytes),
          memory(new std::uint8_t[before + bytes]) {
        std::copy_n(other.memory.get(), before + bytes, memory.get());
    }
    Picture& operator=(const Picture&) = delete;

    /// Flat, nearly flat or anything, with bytes of the input in front.
    void Fill(fuzz::Input& input) {
        std::uint32_t state = input.Raw<std::uint32_t>();
        const std::uint32_t range = input.Pick({1U, 3U, 12U, 60U, 256U}), least = input.Byte();
        const unsigned given = input.Below(9);
        for (std::size_t i = 0; i < before + bytes; ++i) {
            state = state * 1664525U + 1013904223U;
            memory[i] =
                i - before < given ? input.Byte() : static_cast<std::uint8_t>(least + (state >> 16) % range);
        }
    }

    ULong32* data(std::size_t row = 0) {
        return reinterpret_cast<ULong32*>(memory.get() + before + (bytes == 0 ? 0 : row * pitch));
    }
    ULong32 Pitch() const { return static_cast<ULong32>(pitch); }
    bool operator==(const Picture& other) const {
        return std::memcmp(memory.get(), other.memory.get(), before + bytes) == 0;
    }

private:
    std::size_t before, pitch, bytes;
    std::unique_ptr<std::uint8_t[]> memory;
};

/// A source of up to five frames one above the other, and a destination.
struct Scene {
    explicit Scene(fuzz::Input& input)
        : width(input.Once(64) ? input.Below(600) : input.Below(input.Once(4) ? 40 : 9)),
          height(input.Once(64) ? input.Below(40) : input.Below(4)),
          frames(input, width, std::size_t{5} * height),
          out(input, width, height) {}

    std::size_t width, height;  ///< in words
    Picture frames, out;
};

struct Settings {
    Settings(fuzz::Input& input, const Scene& scene)
        : operation(input.Below(8)), inPlace(input.Once(4)), isMissing(input.Once(64)) {
        seed = input.Raw<std::uint32_t>();
        switch (operation) {
            case 0:
                a = input.Flip() ? input.Real() : input.Below(2000);
                b = input.Flip() ? 0 : input.Real();
                break;
            case 1:
                a = input.Flip() ? input.Real() : input.Below(256) - 255.0;
                b = input.Once(8) ? input.Real() : a + input.Below(1024) / 4.0;
                break;
            case 2:
                a = input.Real();
                break;
            default:
                for (std::size_t i = 0; i < 3; ++i) {
                    levels[i] = input.Once(8) ? input.Raw<float>() : static_cast<float>(input.Below(400)) / 4;
                    weights[i] = input.Real();
                    others[i] = input.Flip() ? input.Real() : input.Below(9) / 8.0;
                }
                isWeighted = input.Flip();
                hasOthers = input.Flip();
                window[0] = Side(input, scene, 40);
                window[1] = Side(input, scene, 12);
                window[2] = input.Pick({1U, 1U, 1U, 3U, 5U});
                control = input.Enumeration<NoiseReduction::AlphaControlEnum>(4);
                limits = input.Flip();
                automatic = input.Once(4);
                a = input.Flip() ? 1 : input.Real();
                format = input.Once(16) ? input.Below(5) : input.Pick({0U, 2U, 2U, 2U});
                implementation = input.Below(5);
                isOdd = input.Flip();
                low = input.Byte();
                high = input.Byte();
        }
    }

    /// Mostly small and odd, and always so in pictures that are not: each of their samples takes as long as
    /// the window is large.
    static ULong32 Side(fuzz::Input& input, const Scene& scene, unsigned limit) {
        if (scene.width * scene.height > 64) {
            return 2 * input.Below(3) + 1;
        }
        if (input.Once(16)) {
            return input.Pick({0U, 2U, 257U, 259U, 0x7FFFFFFFU, 0xFFFFFFFFU, 8U, 101U});
        }
        return 2 * input.Below(input.Once(8) ? limit : 3) + 1;
    }

    unsigned operation;
    bool inPlace, isMissing;
    ULong32 seed = 2;
    double a = 0, b = 0;
    float levels[3] = {};
    double weights[3] = {}, others[3] = {};
    bool isWeighted = false, hasOthers = false;
    ULong32 window[3] = {1, 1, 1};
    NoiseReduction::AlphaControlEnum control{};
    bool limits = false, automatic = false, isOdd = false;
    ULong32 format = 2, implementation = 0;
    unsigned char low = 0, high = 0;
};

Long32 Run(Settings settings, NoiseReduction& filter, Scene& scene) {
    const auto width = static_cast<ULong32>(scene.width), height = static_cast<ULong32>(scene.height);
    Picture& to = settings.inPlace && settings.operation != 4 ? scene.frames : scene.out;
    ULong32* const from = settings.isMissing ? nullptr : scene.frames.data();
    const ULong32 pairs = width == 0 ? 0 : 2 * width - (settings.isOdd ? 1 : 0);
    const ULong32 pitch = scene.frames.Pitch();
    NoiseSource source;
    source.SetRandomSeed(settings.seed);
    switch (settings.operation) {
        case 0:
            return source.AddGaussian(from, to.data(), width, height, pitch, to.Pitch(), settings.a,
                                      settings.b);
        case 1:
            return source.AddUniform(from, to.data(), width, height, pitch, to.Pitch(), settings.a,
                                     settings.b);
        case 2:
            return source.UniformBitErrors(from, to.data(), width, height, pitch, to.Pitch(), settings.a);
        case 3: {
            ULong32 *previous = scene.frames.data(height), *next = scene.frames.data(std::size_t{2} * height);
            return filter.DoFilterSAT(previous, from, next, to.data(), pairs, height, pitch, to.Pitch(),
                                      settings.low, settings.high,
                                      settings.hasOthers ? settings.others : nullptr,
                                      settings.isWeighted ? settings.weights : nullptr, settings.seed);
        }
        default: {
            ULong32* frames[5];
            for (std::size_t i = 0; i < 5; ++i) {
                frames[i] = scene.frames.data(i * height);
            }
            // The sum of a window that is both wide and high takes its time by the formula.
            const bool isPairs = settings.format == 2;
            filter.SetBaseNoiseLevel(settings.levels);
            filter.AutomaticNoiseLevelAdjustment(settings.automatic);
            return filter.DoFilterSSF(settings.isMissing ? nullptr : frames, scene.out.data(),
                                      isPairs ? pairs : width, height, pitch, scene.out.Pitch(),
                                      settings.isWeighted ? settings.weights : nullptr, settings.window[0],
                                      settings.window[1], settings.window[2], settings.control,
                                      settings.limits, settings.a, settings.format, settings.implementation);
        }
    }
}

bool AreSameLevels(NoiseReduction& a, NoiseReduction& b) {
    float ofA[4], ofB[4];
    a.GetMeasuredNoiseLevel(ofA);
    b.GetMeasuredNoiseLevel(ofB);
    return std::memcmp(ofA, ofB, sizeof ofA) == 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    Scene first(input);
    Scene second(first);
    NoiseReduction filter, other;
    for (unsigned round = 0; round < 64 && (round == 0 || !input.Empty()); ++round) {
        const Settings settings(input, first);
        const auto target = static_cast<simd::Target>(1 + input.Below(simd::kTargetCount - 1));
        simd::ForceStreaming(input.Flip() ? 1 : 0);
        Long32 status, otherStatus;
        {
            const simd::ScopedTarget scope(simd::kPortable);
            status = Run(settings, filter, first);
        }
        {
            const simd::ScopedTarget scope(simd::IsTargetAvailable(target) ? target : simd::BestTarget());
            otherStatus = Run(settings, other, second);
        }
        simd::ForceStreaming(-1);
        calls.Add(2);
        if (status != otherStatus || !(first.frames == second.frames) || !(first.out == second.out) ||
            !AreSameLevels(filter, other)) {
            std::abort();
        }
    }
    return 0;
}

#include <TesselU/filter/DeepDefocus.h>
#include <TesselU/filter/NoiseReduction.h>
#include <TesselU/filter/NoiseSource.h>

#include <algorithm>
#include <memory>
#include <random>

#include "Ours.h"
#include "Wrapped.h"

namespace bench {

std::vector<std::uint8_t*> NoisyFrames::Pointers() {
    std::vector<std::uint8_t*> pointers;
    for (std::vector<std::uint8_t>& frame : frames) {
        pointers.push_back(frame.data());
    }
    return pointers;
}

NoisyFrames::NoisyFrames(const Pictures& p) {
    std::mt19937 random(3);
    for (std::size_t i = 0; i < kNoisyFrames; ++i) {
        std::vector<std::uint8_t> frame(2 * p.size.pixels());
        for (std::size_t at = 0; at < frame.size(); ++at) {
            // Nearly a normal distribution, and quickly drawn.
            const auto bits = static_cast<std::uint32_t>(random());
            const int noise = static_cast<int>((bits & 7) + (bits >> 8 & 7) + (bits >> 16 & 7)) - 10;
            frame[at] = static_cast<std::uint8_t>(std::clamp(p.photoPairs[at] + noise, 0, 255));
        }
        frames.push_back(std::move(frame));
    }
}

void EnterFilters(Contests& contests, const Pictures& p) {
    const Size size = p.size;
    const Picture photo = Pixels(size, p.photo), out = Pixels(size, p.out);
    const auto blur = [&](Operation operation, unsigned box, ProcessingStyleEnum style) {
        contests[operation].Enter(kOurs, "ours", Promise::kSameBytes,
                                  [=, w = Number(size.width), h = Number(size.height)]() -> int {
                                      return DeepDefocus().Do(photo->view, out->view, box, box, 0, w, 0, h,
                                                              style);
                                  });
    };
    blur(Operation::kBlur5, 5, kBestAvailable);
    blur(Operation::kBlur31, 31, kBestAvailable);
    blur(Operation::kBlur101, 101, kBestAvailable);
    blur(Operation::kBlur5Fixed, 5, kFP);
    blur(Operation::kBlur31Fixed, 31, kFP);

    const auto w = Number(size.width), h = Number(size.height);
    const auto frames = std::make_shared<NoisyFrames>(p);
    auto reduction = std::make_shared<NoiseReduction>();
    float levels[3] = {kNoiseLevel, kNoiseLevel, kNoiseLevel};
    reduction->SetBaseNoiseLevel(levels);
    const auto adaptive = [&](Operation operation, const plain::Window& window) {
        contests[operation].Enter(
            kOurs, "ours", Promise::kSameBytes,
            [=, to = Words(p.out), keep = frames, from = frames->Pointers()]() -> int {
                ULong32* pointers[kNoisyFrames];
                for (std::size_t i = 0; i < kNoisyFrames; ++i) {
                    pointers[i] = Words(from[i]);
                }
                return reduction->DoFilterSSF(
                    pointers, to, w, h, 2 * w, 2 * w, nullptr, static_cast<ULong32>(window.width),
                    static_cast<ULong32>(window.height), static_cast<ULong32>(window.frames),
                    static_cast<NoiseReduction::AlphaControlEnum>(3), false, kDetail, 2, 3);
            });
    };
    contests[Operation::kDenoiseSAT].Enter(
        kOurs, "ours", Promise::kSameBytes, [=, to = Words(p.out)]() -> int {
            const std::vector<std::uint8_t*> from = frames->Pointers();
            return NoiseReduction().DoFilterSAT(Words(from[0]), Words(from[1]), Words(from[2]), to, w, h,
                                                2 * w, 2 * w, kLowMotion, kHighMotion, nullptr, nullptr, 0);
        });
    adaptive(Operation::kDenoise119, kWindow119);
    adaptive(Operation::kDenoise331, kWindow331);
    adaptive(Operation::kDenoise333, kWindow333);

    const auto noise = [&](Operation operation, auto run) {
        auto source = std::make_shared<NoiseSource>();
        contests[operation].Enter(
            kOurs, "ours", Promise::kSameBytes,
            [=, from = Words(p.photo), to = Words(p.out)]() -> int { return run(*source, from, to); });
    };
    noise(Operation::kNoiseUniform, [=](NoiseSource& source, ULong32* from, ULong32* to) {
        return source.AddUniform(from, to, w, h, 4 * w, 4 * w, -kNoiseReach, kNoiseReach);
    });
    noise(Operation::kNoiseGaussian, [=](NoiseSource& source, ULong32* from, ULong32* to) {
        return source.AddGaussian(from, to, w, h, 4 * w, 4 * w, kNoiseVariance, 0);
    });
    noise(Operation::kNoiseBits, [=](NoiseSource& source, ULong32* from, ULong32* to) {
        return source.UniformBitErrors(from, to, w, h, 4 * w, 4 * w, kNoiseErrors);
    });
}

}  // namespace bench

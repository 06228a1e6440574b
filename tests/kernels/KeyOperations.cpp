#include <TesselU/key/ChromaKeyerYUV.h>

#include "kernels/CasePictures.h"

namespace kernelcheck {

namespace {

using namespace Zan;

/// A number between two, or now and then one of them.
double Between(Random& random, double low, double high) {
    const std::size_t n = Pick(random, 0, 9);
    return n == 0 ? low : n == 1 ? high : std::uniform_real_distribution<double>(low, high)(random);
}

/// Settings of all kinds: wide wedges, so that much of the noise is keyed, and those at the ends.
ChromaKeyerYUV AnyKeyer(Random& random, ULong32 height) {
    ChromaKeyerYUV keyer;
    const bool isWild = Pick(random, 0, 3) == 0;
    static constexpr double kHues[] = {0, 45, 90, 180, 270, 351};
    const std::size_t hue = Pick(random, 0, 2 * std::size(kHues));
    keyer.SetHueAngle(hue < std::size(kHues) ? kHues[hue] : Between(random, 0, 360));
    keyer.SetAcceptanceAngle(Between(random, isWild ? 1 : 60, 179));
    if (Pick(random, 0, 2) == 0) {
        // Values that chroma has, too.
        const double sixteenths = static_cast<double>(Pick(random, 0, 16)) / 16;
        keyer.SetSaturationMinimum(Pick(random, 0, 1) == 0 ? sixteenths : Between(random, 0, 1));
    }
    keyer.SetSpillSuppressionAngle(Between(random, 0, 360));
    keyer.SetSpillSuppressionGain(Between(random, 0, isWild ? 256 : 2));
    keyer.SetKeyGain(Between(random, 0, isWild ? 256 : 4));
    keyer.SetKeyOffset(Between(random, -1, 1));
    keyer.SetInvertKeyBeforePostProcessing(Pick(random, 0, 1) == 1);
    keyer.SetInvertKeyAfterPostProcessing(Pick(random, 0, 1) == 1);
    if (Pick(random, 0, 2) == 0) {
        const std::size_t rows = Pick(random, 0, height);
        keyer.SetSplitScreenHeight(Size(rows), Pick(random, 0, 1) == 1);
    }
    return keyer;
}

/// `hasBackground`, `hasKey`: whether the call has those views.
Operation Key(const char* name, AggregateChannelSamplingEnum from, AggregateChannelSamplingEnum to,
              ProcessingStyleEnum style, bool hasBackground, bool hasKey) {
    std::string title = "ChromaKeyerYUV, ";
    title += name;
    title += hasBackground ? ", background" : "";
    title += hasKey ? ", key" : "";
    return {title, [=](Case& c) -> Operation::Run {
                const auto foreground = PictureOf(c, from, kYCrCb);
                if (from == k4224) {
                    foreground->SetAlphaChannelDescription(kAlphaVarying);
                }
                const auto background =
                    hasBackground ? PictureOf(c, k422 == from ? k4224 : from, kYCrCb) : nullptr;
                auto result = PictureOf(c, to, kYCrCb);
                if (to == from && Pick(c.random, 0, 3) == 0) {
                    result = foreground;
                } else if (hasBackground && to == k4224 && from == k422 && Pick(c.random, 0, 3) == 0) {
                    result = background;
                }
                std::shared_ptr<Image> key;
                if (hasKey) {
                    key = ImageOn({&c.Add(EvenWidth(c), c.height, 1, 0, Plane::Kind::kImage)}, kAlphaOnly,
                                  k4444, EvenWidth(c), c.height);
                }
                ChromaKeyerYUV keyer = AnyKeyer(c.random, Size(c.height));
                return [=, &c]() mutable {
                    ImageView in = ViewOf(foreground, c), out = ViewOf(result, c), behind, keys;
                    if (hasBackground) {
                        behind = ViewOf(background, c);
                    }
                    if (hasKey) {
                        keys = ViewOf(key, c);
                    }
                    return keyer.Do(in, hasBackground ? &behind : nullptr, out, hasKey ? &keys : nullptr,
                                    style);
                };
            }};
}

}  // namespace

std::vector<Operation> KeyOperations() {
    static constexpr struct {
        const char* name;
        AggregateChannelSamplingEnum from, to;
        ProcessingStyleEnum style;
    } kForms[] = {{"pixels, doubles", k4444, k4444, kFlp},
                  {"pixels, fixed point", k4444, k4444, kFP},
                  {"pairs, doubles", k422, k4224, kFlp},
                  {"pairs, SSE", k422, k422, kFlp_SIMD},
                  {"pairs, fixed point", k422, k4224, kFP},
                  {"pairs with alpha, doubles", k4224, k422, kFlp},
                  {"pairs with alpha, SSE", k4224, k4224, kBestAvailable}};
    std::vector<Operation> operations;
    for (const auto& form : kForms) {
        for (const bool hasBackground : {false, true}) {
            for (const bool hasKey : {false, true}) {
                operations.push_back(Key(form.name, form.from, form.to, form.style, hasBackground, hasKey));
            }
        }
    }
    return operations;
}

}  // namespace kernelcheck

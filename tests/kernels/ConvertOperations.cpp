#include <TesselU/convert/ColorSpaceConverter.h>
#include <TesselU/convert/ConverterFormat.h>
#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>

#include <array>
#include <memory>

#include "convert/Formats.h"
#include "convert/Pairs.h"
#include "kernels/Operations.h"

namespace kernelcheck {

namespace {

using namespace Zan;

/// How an image must be made for the converter to see a format code in it.
struct Recipe {
    ColorSpaceEnum space;
    AggregateChannelSamplingEnum sampling;
    ComponentOrderEnum order;
    PixelPackingEnum packing;
    ScanStyleEnum scan = kProgressive;
    ShapedEnum shaped = kUnshaped;
    ColorEnum color = kFullColor;
    float blackAndWhite[2] = {-1, -1};  ///< levels to set; as the image has them if negative
    float clamp[2] = {-1, -1};
};

constexpr float kBlack601 = 16.0F / 255, kWhite601 = 235.0F / 255;

const Recipe* RecipeOf(ULong32 code) {
    static const Recipe recipes[] = {
        /* 0 */ {kRGB, k4444, kBGRA, kPacked},
        /* 1 */ {kYCrCb, k4444, kCbYCrA, kPacked},
        /* 2 */ {kYCrCb, k422, kCbYCrA, kPacked},
        /* 3 */
        {kRGB, k4444, kBGRA, kPacked, kProgressive, kUnshaped, kFullColor, {0, 1}, {kBlack601, kWhite601}},
        /* 4 */
        {kRGB,
         k4444,
         kBGRA,
         kPacked,
         kProgressive,
         kUnshaped,
         kFullColor,
         {kBlack601, kWhite601},
         {kBlack601, kWhite601}},
        /* 5 */
        {kRGB, k4444, kBGRA, kPacked, kProgressive, kUnshaped, kFullColor, {kBlack601, kWhite601}, {0, 1}},
        /* 6 */ {kYCrCb, k420, kYCbCrPlanes, kPlanar},
        /* 7 */ {kYCrCb, k422, kYCbCrPlanes, kPlanar},
        /* 8 */ {kYCrCb, k420, kYCbCrPlanes, kPlanar, kUpperFieldFirst},
        /* 9 */ {kYCrCb, k411, kYCbCrPlanes, kPlanar},
        /* 10 */ {kRGB, k444, kBGRA, kPacked},
        /* 11 */ {kYCrCb, k422, kYCbYCr, kPacked},
        /* 12 */ {kYCrCb, k422, kYPlaneCbCrPlane, kPlanar},
        /* 13 */ {kYCrCb, k4444, kYCbCrA, kPacked},
        /* 14 */ {kRGB, k4444, kBGRA, kPacked, kProgressive, kShaped},
        /* 15 */ {kYCrCb, k4444, kCbYCrA, kPacked, kProgressive, kShaped},
        /* 16 */ {kYCrCb, k4224, kCbYCrA, kPacked, kProgressive, kShaped},
        /* 17 */ {kYCrCb, k4224, kCbYCrA, kPacked},
        /* 18 */ {kYCrCb, k422, kCbYCrA, kPacked, kProgressive, kUnshaped, kMonochrome},
        /* 19 */ {kYCrCb, k4224, kCbYCrA, kPacked, kProgressive, kUnshaped, kMonochrome},
        /* 20 */ {},
        /* 21 */ {kYCrCb, k444, kCbYCrA, kPacked},
        /* 22 */ {kYCrCb, k4224, kCbYCrA, kPacked, kProgressive, kShaped, kMonochrome},
        /* 23 */ {kYCrCb, k4444, kYCbCrA, kPacked, kProgressive, kShaped},
        /* 24 */ {kYCrCb, k444, kYCbCrA, kPacked},
        /* 25 */ {kAlphaOnly, k4444, kBGRA, kPacked},
    };
    // No image is seen as code 20; only plain memory is.
    return code == kFmtRGB32ShapedOpaque || code > kFmtAlpha8 ? nullptr : &recipes[code];
}

std::size_t RoundUp(std::size_t n, std::size_t to) {
    return (n + to - 1) / to * to;
}

/// An image of the recipe, at least `c.width` by `c.height` and `more` lines, on `planes`, or on guarded ones
/// of its own, which are then named there.
std::shared_ptr<Image> Make(Case& c, const Recipe& recipe, std::size_t more,
                            std::vector<const Plane*>& planes) {
    const std::size_t across = recipe.sampling == k411                            ? 4
                               : recipe.space == kYCrCb && recipe.sampling > k444 ? 2
                                                                                  : 1;
    const std::size_t w = RoundUp(c.width, across),
                      h = RoundUp(c.height + more, recipe.sampling == k420 ? 4 : 1);
    struct Size {
        std::size_t bytes, rows;
    };
    std::vector<Size> sizes;
    if (recipe.space == kAlphaOnly)
        sizes = {{w, h}};
    else if (recipe.packing == kPacked)
        sizes = {{recipe.sampling == k4444 ? 4 * w : recipe.sampling == k444 ? 3 * w : 2 * w, h}};
    else if (recipe.order == kYPlaneCbCrPlane)
        sizes = {{w, h}, {RoundUp(w, 16), h}};
    else if (recipe.sampling == k420)
        sizes = {{w, h}, {w / 2, h / 2}, {w / 2, h / 2}};
    else
        sizes = {{w, h}, {w / across, h}, {w / across, h}};
    if (recipe.sampling == k4224)
        sizes.push_back({w, h});

    std::vector<unsigned char*> memory;
    std::vector<ULong32> pitches;
    for (std::size_t i = 0; i < sizes.size(); ++i) {
        if (i == planes.size()) {
            planes.push_back(&c.Add(sizes[i].bytes, sizes[i].rows, 4, 0, Plane::Kind::kImage));
        }
        memory.push_back(planes[i]->row());
        pitches.push_back(static_cast<ULong32>(planes[i]->pitch()));
    }
    const ImageDescriptor format(static_cast<ULong32>(w), static_cast<ULong32>(h), recipe.space,
                                 recipe.sampling, recipe.order, recipe.packing, recipe.scan,
                                 recipe.scan == kProgressive ? kNoFields : kInterleavedFields, kTopLeft, 1.0F,
                                 recipe.shaped);
    auto image = std::make_shared<Image>(memory.data(), pitches.data(), format, 1U, 1U);
    if (image->GetImageDescriptor() == nullptr) {
        return image;
    }
    image->SetColor(recipe.color);
    for (ULong32 channel = 0; channel < image->GetNumberOfChannels(); ++channel) {
        if (recipe.blackAndWhite[0] >= 0) {
            image->SetBlackAndWhiteLevel(recipe.blackAndWhite[0], recipe.blackAndWhite[1], channel);
        }
        if (recipe.clamp[0] >= 0) {
            image->SetClampLowAndHighLevel(recipe.clamp[0], recipe.clamp[1], channel);
        }
    }
    return image;
}

/// Where the destination lies.
enum class Placed {
    kApart,
    kOnSource,   ///< the same rows
    kOneRowDown  ///< row n of the destination is row n + 1 of the source
};

Operation Conversion(const PairRecord& pair, CPUinstructionSetEnum set, Placed placed) {
    const auto source = static_cast<ULong32>(pair.source),
               destination = static_cast<ULong32>(pair.destination);
    const std::string name =
        std::string(set == kSSE2 ? pair.integer.nameWithSse2 : pair.integer.nameWithoutSse2) +
        (placed == Placed::kOnSource     ? ", in place"
         : placed == Placed::kOneRowDown ? ", one row down"
                                         : "");
    const Long32 down = placed == Placed::kOneRowDown ? 1 : 0;
    return {
        std::to_string(source) + " to " + std::to_string(destination) + ", " + name,
        [=](Case& c) -> Operation::Run {
            std::vector<const Plane*> planes;
            auto from = Make(c, *RecipeOf(source), static_cast<std::size_t>(down), planes);
            if (placed == Placed::kApart) {
                planes.clear();
            }
            auto to = Make(c, *RecipeOf(destination), static_cast<std::size_t>(down), planes);
            // Mostly the default matrix; now and then the caller's, tame or beyond all bounds.
            std::array<double, 16> matrix;
            std::array<double, 8> offset;
            const std::size_t kind = Pick(c.random, 0, 5);
            const double reach = kind == 0 ? 2 : 40000;
            for (double& m : matrix) {
                m = std::uniform_real_distribution<double>(-reach, reach)(c.random) / (kind == 0 ? 1 : 4000);
            }
            for (double& o : offset) {
                o = std::uniform_real_distribution<double>(-reach, reach)(c.random) * (kind == 0 ? 60 : 1);
            }
            const bool ownMatrix = kind < 2, ownOffset = kind < 2 && Pick(c.random, 0, 1) != 0;
            const auto fill = static_cast<unsigned char>(c.random());
            return [=, w = static_cast<Long32>(c.width), h = static_cast<Long32>(c.height)] {
                ImageView in(from.get(), Rectangle(0, 0, w, h), kFrame);
                ImageView out(to.get(), Rectangle(0, down, w, h), kFrame);
                ColorSpaceConverter converter;
                converter.SetAlphaChannel(fill);
                auto m = matrix;
                auto o = offset;
                return converter.Do(in, out, kInt_MMXorSIMD, ownMatrix ? m.data() : nullptr,
                                    ownOffset ? o.data() : nullptr);
            };
        },
        set};
}

}  // namespace

std::vector<Operation> ConvertOperations() {
    std::vector<Operation> all;
    for (const PairRecord& pair : Pairs()) {
        for (const CPUinstructionSetEnum set : {kMMX, kSSE2}) {
            if (pair.integer.run != nullptr && RecipeOf(static_cast<ULong32>(pair.source)) != nullptr &&
                RecipeOf(static_cast<ULong32>(pair.destination)) != nullptr) {
                all.push_back(Conversion(pair, set, Placed::kApart));
                const auto &in = Formats()[static_cast<std::size_t>(pair.source)].planes,
                           &out = Formats()[static_cast<std::size_t>(pair.destination)].planes;
                if (in.data() == out.data()) {
                    // A copy onto itself shows nothing.
                    if (std::string(pair.integer.nameWithSse2).find("Copy") != 0) {
                        all.push_back(Conversion(pair, set, Placed::kOnSource));
                    }
                    all.push_back(Conversion(pair, set, Placed::kOneRowDown));
                }
            }
        }
    }
    return all;
}

}  // namespace kernelcheck

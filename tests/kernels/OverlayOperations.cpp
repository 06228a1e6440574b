#include <TesselU/overlay/Mixup.h>

#include <memory>
#include <string>
#include <vector>

#include "kernels/CasePictures.h"

namespace kernelcheck {

namespace {

using namespace Zan;
using MixupPosition::Mixup;

/// Bits of a pixel and what they stand for.
struct Kind {
    const char* name;
    ColorSpaceEnum space;
    AggregateChannelSamplingEnum sampling;
    std::size_t bytes;
};
constexpr Kind kRgb24{"RGB24", kRGB, k444, 3}, kRgb32{"RGB32", kRGB, k4444, 4};
constexpr Kind kYuv16{"YUV16", kYCrCb, k422, 2}, kYuv24{"YUV24", kYCrCb, k4224, 2};

/// As large as the case, with an alpha plane where the kind has one.
std::shared_ptr<Image> Make(Case& c, const Kind& kind, ShapedEnum shaped) {
    const std::size_t width = kind.space == kRGB ? c.width : EvenWidth(c);
    std::vector<Plane*> planes = {&c.Add(kind.bytes * width, c.height, 1, 0, Plane::Kind::kImage)};
    if (kind.sampling == k4224) {
        planes.push_back(&c.Add(width, c.height, 1, 0, Plane::Kind::kImage));
    }
    auto image = ImageOn(planes, kind.space, kind.sampling, width, c.height);
    image->SetPixelShaping(shaped);
    return image;
}

/// 0, or any number of 256ths up to the size of the case.
double Offset(Case& c, std::size_t size) {
    const auto most = static_cast<double>(256 * size);
    const double n = std::uniform_real_distribution<double>(-most, most)(c.random);
    return Pick(c.random, 0, 3) == 0 ? 0 : static_cast<double>(static_cast<int>(n)) / 256;
}

Operation Overlay(const Kind& back, const Kind& fore, ShapedEnum shaped, bool moves) {
    std::string name = "overlay, ";
    name.append(fore.name).append(shaped == kShaped ? " shaped" : "").append(" over ").append(back.name);
    return {name + (moves ? ", moving" : ""), [=](Case& c) -> Operation::Run {
                auto f = Make(c, fore, shaped), b = Make(c, back, kUnshaped);
                auto out = Pick(c.random, 0, 3) == 0 ? b : Make(c, back, kUnshaped);
                const double x = Offset(c, c.width), y = Offset(c, c.height);
                return [=, &c] {
                    ImageView viewF = ViewOf(f, c), viewB = ViewOf(b, c), viewOut = ViewOf(out, c);
                    return moves ? Mixup().DoAt(viewF, viewB, viewOut, x, y, true, kBestAvailable)
                                 : Mixup().Do(viewF, viewB, viewOut, kBestAvailable);
                };
            }};
}

}  // namespace

std::vector<Operation> OverlayOperations() {
    std::vector<Operation> all;
    const Kind kinds[2][2] = {{kRgb24, kRgb32}, {kYuv16, kYuv24}};
    for (const auto& space : kinds) {
        for (const Kind& back : space) {
            for (const Kind& fore : space) {
                for (const bool moves : {false, true}) {
                    all.push_back(Overlay(back, fore, kUnshaped, moves));
                    if (fore.sampling == k4444 || fore.sampling == k4224) {
                        all.push_back(Overlay(back, fore, kShaped, moves));
                    }
                }
            }
        }
    }
    return all;
}

}  // namespace kernelcheck

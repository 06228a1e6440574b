#include <TesselU/key/LinearKeyer.h>
#include <TesselU/key/LumaKeyer.h>

#include "kernels/CasePictures.h"
#include "kernels/Operations.h"

namespace kernelcheck {

namespace {

using namespace Zan;

/// A picture, and a key of its own or on the alpha plane of the picture.
struct Keyed {
    std::shared_ptr<Image> picture, key;

    Keyed(Case& c, AggregateChannelSamplingEnum sampling) : picture(PictureOf(c, sampling, kYCrCb)) {
        const std::size_t even = EvenWidth(c);
        Plane& plane = sampling == k4224 && Pick(c.random, 0, 3) == 0
                           ? c.planes.back()
                           : c.Add(even, c.height, 1, 0, Plane::Kind::kImage);
        key = ImageOn({&plane}, kAlphaOnly, k4444, even, c.height);
    }
};

/// Any bytes; now and then what a keyer starts with.
template <class Keyer>
Keyer RandomTable(Random& random) {
    Keyer keyer;
    if (Pick(random, 0, 7) != 0) {
        for (unsigned i = 0; i < 256; ++i) {
            keyer.SetLUT(static_cast<unsigned char>(i), static_cast<unsigned char>(random()));
        }
    }
    return keyer;
}

template <class Keyer>
Operation Keying(std::string name, AggregateChannelSamplingEnum sampling) {
    name += sampling == k4224 ? ", k4224" : ", k422";
    return {name, [=](Case& c) -> Operation::Run {
                const Keyed keyed(c, sampling);
                const auto keyer = RandomTable<Keyer>(c.random);
                return [=, images = keyed, from = ViewOf(keyed.picture, c), to = ViewOf(keyed.key, c)] {
                    ImageView source = from, key = to;
                    return keyer.Do(source, key, kBestAvailable);
                };
            }};
}

}  // namespace

std::vector<Operation> KeyTableOperations() {
    return {Keying<LinearKeyer>("LinearKeyer", k4224), Keying<LumaKeyer>("LumaKeyer", k422),
            Keying<LumaKeyer>("LumaKeyer", k4224)};
}

}  // namespace kernelcheck

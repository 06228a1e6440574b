#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>
#include <TesselU/tone/CubeLUT.h>

#include <memory>
#include <sstream>

#include "kernels/Operations.h"

namespace kernelcheck {

namespace {

using namespace Zan;

enum class Domain { kDefault, kOdd };

/// A table full of noise; `most` is the largest value of it.
std::shared_ptr<CubeLUT> RandomTable(Random& random, int dimensions, std::size_t side, Domain domain,
                                     double most) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    if (domain == Domain::kOdd) {
        text << "DOMAIN_MIN -0.25 0.125 0.1\nDOMAIN_MAX 0.75 2 0.3\n";
    }
    text << "LUT_" << dimensions << "D_SIZE " << side << '\n';
    std::uniform_real_distribution<double> value(1 - most, most);
    for (std::size_t row = 0; row < (dimensions == 1 ? side : side * side * side); ++row) {
        text << value(random) << ' ' << value(random) << ' ' << value(random) << '\n';
    }
    const std::string cube = text.str();
    auto table = std::make_shared<CubeLUT>();
    ULong32 line = 0;
    return table->Read(cube.data(), cube.size(), line) == 0 ? table : nullptr;
}

struct Shape {
    int dimensions;  // 0: the identity
    std::size_t side;
    Domain domain;
    double most;
};

std::string NameOf(const Shape& shape) {
    return std::to_string(shape.dimensions) + "D of " + std::to_string(shape.side) +
           (shape.domain == Domain::kOdd ? ", odd domain" : "") + (shape.most > 1 ? ", beyond 1" : "");
}

std::shared_ptr<CubeLUT> TableOf(Random& random, const Shape& shape) {
    return shape.dimensions == 0
               ? std::make_shared<CubeLUT>()
               : RandomTable(random, shape.dimensions, shape.side, shape.domain, shape.most);
}

Plane& Destination(Case& c, Plane& source, std::size_t rowBytes) {
    return Pick(c.random, 0, 3) == 0 ? source : c.Add(rowBytes, c.height, 4, 0, Plane::Kind::kImage);
}

/// Plain words, whose top byte is cleared.
Operation Words(const Shape& shape) {
    Random random(7);
    return {"LookUpTable3D, " + NameOf(shape), [table = TableOf(random, shape)](Case& c) -> Operation::Run {
                Plane& in = c.Add(4 * c.width, c.height, 4);
                Plane& out = Pick(c.random, 0, 3) == 0 ? in : c.Add(4 * c.width, c.height, 4);
                return [=, &in, &out, w = static_cast<ULong32>(c.width), h = static_cast<ULong32>(c.height)] {
                    const LookUpTable3D& base = *table;
                    return base.Do(reinterpret_cast<ULong32*>(in.row()),
                                   reinterpret_cast<ULong32*>(out.row()), w, h,
                                   static_cast<ULong32>(in.pitch()), static_cast<ULong32>(out.pitch()), 2);
                };
            }};
}

/// Views on pictures with or without alpha.
Operation Views(const Shape& shape, AggregateChannelSamplingEnum sampling) {
    Random random(8);
    return {"CubeLUT, " + std::string(sampling == k4444 ? "32 bits, " : "24 bits, ") + NameOf(shape),
            [table = TableOf(random, shape), sampling](Case& c) -> Operation::Run {
                const std::size_t rowBytes = (sampling == k4444 ? 4 : 3) * c.width;
                Plane& in = c.Add(rowBytes, c.height, 1, 0, Plane::Kind::kImage);
                Plane& out = Destination(c, in, rowBytes);
                const ImageDescriptor format(static_cast<ULong32>(c.width), static_cast<ULong32>(c.height),
                                             kRGB, sampling, kBGRA, kPacked, kProgressive, kNoFields,
                                             kTopLeft, 1.0F, kUnshaped);
                const auto from =
                    std::make_shared<Image>(in.row(), static_cast<ULong32>(in.pitch()), format, 1U, 1U);
                const auto to =
                    std::make_shared<Image>(out.row(), static_cast<ULong32>(out.pitch()), format, 1U, 1U);
                return [=] {
                    ImageView source(from.get()), destination(to.get());
                    return table->Do(source, destination);
                };
            }};
}

}  // namespace

std::vector<Operation> CubeOperations() {
    std::vector<Operation> all;
    // Sides whose points can and cannot be numbered in 16 bits, and the least and the greatest.
    static constexpr Shape kShapes[] = {{0, 0, Domain::kDefault, 1},    {1, 17, Domain::kDefault, 1},
                                        {3, 2, Domain::kDefault, 1},    {3, 33, Domain::kDefault, 1},
                                        {3, 33, Domain::kOdd, 1},       {3, 17, Domain::kDefault, 1.5},
                                        {3, 5, Domain::kDefault, 1000}, {3, 65, Domain::kDefault, 1}};
    for (const Shape& shape : kShapes) {
        all.push_back(Words(shape));
        all.push_back(Views(shape, k4444));
        all.push_back(Views(shape, k444));
    }
    return all;
}

}  // namespace kernelcheck

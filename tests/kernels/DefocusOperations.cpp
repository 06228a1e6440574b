#include <TesselU/filter/DeepDefocus.h>

#include <algorithm>
#include <string>

#include "kernels/CasePictures.h"

namespace kernelcheck {

namespace {

using namespace Zan;

/// Boxes that are summed in different ways: by their area, their height and the size of their picture.
enum class Box {
    kSmall,  ///< the area is below 256
    kLarge,
    kTall,  ///< more than 257 rows
    kHuge   ///< more than 4 columns of 5
};

/// An odd number from 1 to `most`.
std::size_t AnyOdd(Random& random, std::size_t most) {
    return (Pick(random, 0, most == 0 ? 0 : most - 1) & ~std::size_t{1}) + 1;
}

Operation Blur(Box box, ProcessingStyleEnum style, ULong32 bits) {
    static constexpr const char* kNames[] = {"small", "large", "tall", "huge"};
    std::string name = "DeepDefocus, ";
    name.append(kNames[static_cast<std::size_t>(box)]).append(" box, style ").append(std::to_string(style));
    name.append(", ").append(std::to_string(bits)).append(" bits");
    return {name, [=](Case& c) -> Operation::Run {
                Random& random = c.random;
                std::size_t width = c.width, height = c.height, boxWidth = 1, boxHeight = 1;
                switch (box) {
                    case Box::kSmall:
                        boxHeight = AnyOdd(random, std::min<std::size_t>(height, 7));
                        boxWidth = AnyOdd(random, std::min(width, 255 / boxHeight));
                        break;
                    case Box::kLarge:
                        height += 33;
                        boxHeight = 33 - 2 * Pick(random, 0, 9);
                        boxWidth = AnyOdd(random, std::min<std::size_t>(width, 61));
                        break;
                    case Box::kTall:
                        width = width % 97;
                        height += 263;
                        boxHeight = 263 - 2 * Pick(random, 0, 3);
                        boxWidth = AnyOdd(random, std::min<std::size_t>(width, 19));
                        break;
                    case Box::kHuge:
                        height += 11;
                        boxHeight = 11;
                        boxWidth = AnyOdd(random, width / 5) + width / 5 * 4;
                        boxWidth -= boxWidth % 2 == 0 ? 1 : 0;
                        break;
                }
                const auto picture = [&] {
                    return ImageOn({&c.Add(4 * width, height, 1, 0, Plane::Kind::kImage)}, kRGB, k4444, width,
                                   height);
                };
                const auto from = picture(), to = picture();
                const auto limits = [&random](std::size_t size) {
                    // Mostly all of it.
                    const bool isPart = Pick(random, 0, 2) == 0;
                    const std::size_t start = isPart ? Pick(random, 0, size) : 0;
                    const std::size_t end = isPart ? Pick(random, start, size + 2) : size;
                    return std::pair{Size(start), Size(end)};
                };
                const auto columns = limits(width), rows = limits(height);
                return [=] {
                    ImageView source(from.get()), destination(to.get());
                    return DeepDefocus(bits).Do(source, destination, static_cast<double>(boxWidth),
                                                static_cast<double>(boxHeight), columns.first, columns.second,
                                                rows.first, rows.second, style);
                };
            }};
}

}  // namespace

std::vector<Operation> DefocusOperations() {
    std::vector<Operation> all;
    for (const Box box : {Box::kSmall, Box::kLarge, Box::kTall, Box::kHuge}) {
        all.push_back(Blur(box, kBestAvailable, 8));
        // The scale depends on the bits: none or more are shifted away before sums are multiplied.
        for (const ULong32 bits : {1U, 8U, 16U}) {
            all.push_back(Blur(box, kFP, bits));
        }
    }
    return all;
}

}  // namespace kernelcheck

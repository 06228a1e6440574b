// Blurs of pictures and views of any kind by boxes of any size: what is refused writes nothing, a source
// stays as it is, and the threaded front writes the same bytes with the same status.

#include "Calls.h"
#include "HostilePicture.h"
#include "Input.h"
#include "Levels.h"

#include <TesselU/filter/DeepDefocus.h>
#include <TesselU/filter/DeepDefocusMT.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>

namespace {

using namespace Zan;

fuzz::Calls calls;

/// Sizes near those that there are, near whole numbers and halves, and any at all.
double AnySize(fuzz::Input& input, std::uint32_t size) {
    switch (input.Below(8)) {
        case 0:
            return input.Real();
        case 1:
            return input.Raw<double>();
        case 2:
            return static_cast<double>(size) + (static_cast<double>(input.Below(9)) - 4.0) / 2.0;
        case 3:
            return static_cast<double>(input.Byte()) / 2.0;
        default:
            // Odd and mostly small enough.
            return static_cast<double>(2 * input.Below(size < 2 ? 2 : (size + 1) / 2) + 1);
    }
}

struct Arguments {
    double horizontal, vertical;
    ULong32 xStart, xEnd, yStart, yEnd;
    ProcessingStyleEnum style;
};

ULong32 AnyLimit(fuzz::Input& input, std::uint32_t size, ULong32 usual) {
    return input.Once(3) ? static_cast<ULong32>(input.Coordinate(size)) : usual;
}

Arguments AnyArguments(fuzz::Input& input, const ImageView& view) {
    Arguments arguments{};
    arguments.horizontal = AnySize(input, view.GetWidth());
    arguments.vertical = AnySize(input, view.GetHeight());
    arguments.xStart = AnyLimit(input, view.GetWidth(), 0);
    arguments.xEnd = AnyLimit(input, view.GetWidth(), 0xFFFFFFFFU);
    arguments.yStart = AnyLimit(input, view.GetHeight(), 0);
    arguments.yEnd = AnyLimit(input, view.GetHeight(), 0xFFFFFFFFU);
    arguments.style = input.Enumeration<ProcessingStyleEnum>(7);
    // Boxes that are summed by themselves take their time: of large ones in large pictures one is enough.
    constexpr double kMostSamples = 1e6;
    const double boxes = static_cast<double>(view.GetWidth()) * view.GetHeight();
    const double samples = std::min(arguments.horizontal, static_cast<double>(view.GetWidth())) *
                           std::min(arguments.vertical, static_cast<double>(view.GetHeight()));
    const auto style = static_cast<unsigned>(arguments.style);
    if ((style == kStyle4 || style > kBestAvailable) && boxes * samples > kMostSamples) {
        arguments.xEnd = arguments.xStart + 1;
        arguments.yEnd = arguments.yStart + 1;
    }
    return arguments;
}

template <class Filter>
Long32 Blur(Filter& filter, ImageView& source, ImageView& destination, const Arguments& a) {
    calls.Add();
    return filter.Do(source, destination, a.horizontal, a.vertical, a.xStart, a.xEnd, a.yStart, a.yEnd,
                     a.style);
}

/// Whether the rows of a view lie apart. Where they do not, the row that is written last is seen, which with
/// bands at the same time is any.
bool HasRowsApart(const ImageView& view) {
    return view.GetHeight() < 2 ||
           std::abs(std::int64_t{view.GetPitch(0)}) >= 4 * std::int64_t{view.GetWidth()};
}

/// Fronts of some numbers of workers and bits, whose threads live as long as the program.
DeepDefocusMT& AnyFront(fuzz::Input& input, ULong32& bits) {
    static const std::array<ULong32, 4> kBits = {8, 8, 1, 16};
    static std::array<std::unique_ptr<DeepDefocusMT>, 4> fronts;
    const unsigned i = input.Below(4);
    if (!fronts[i]) {
        fronts[i] = std::make_unique<DeepDefocusMT>(i + 1, kBits[i]);
    }
    bits = kBits[i];
    return *fronts[i];
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const fuzz::Levels levels(input);
    fuzz::HostilePicture from(input), to(input);
    const std::uint64_t pixels = from.Sum();
    do {
        ImageView source = from.View(input), destination = to.View(input);
        if (input.Once(16)) {
            (input.Flip() ? source : destination) = ImageView();
        }
        const Arguments arguments = AnyArguments(input, source);
        ULong32 bits = input.Once(8) ? input.Raw<ULong32>() : 8;
        DeepDefocusMT* const front = input.Once(8) ? &AnyFront(input, bits) : nullptr;
        const DeepDefocus filter(bits);
        const std::uint64_t before = to.Sum();
        const Long32 status = Blur(filter, source, destination, arguments);
        const std::uint64_t after = to.Sum();
        if (status != 0 && after != before) {
            std::abort();
        }
        // Once more: the same bytes, so that nothing changes.
        if (front != nullptr && (Blur(*front, source, destination, arguments) != status ||
                                 (to.Sum() != after && HasRowsApart(destination)))) {
            std::abort();
        }
    } while (!input.Empty());
    if (from.Sum() != pixels) {
        std::abort();
    }
    return 0;
}

// Fills of frames and of fields whose rows lie anywhere, against plain loops.

#include <TesselU/composite/ZanCompositor.h>
#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>

#include "simd/RowLayouts.h"
#include "support/Choices.h"

namespace {

using namespace rows_test;
using namespace Zan;
using test_support::kSanitized;
using Planes = Operation::Planes;
using Pitches = Operation::Pitches;

constexpr ULong32 kColour = 0x7BC35A81U, kMask = 0x00FF0FF0U;

/// Fills every line of a frame, or every second one of a picture with twice as many.
template <ColorSpaceEnum space, ProcessingStyleEnum style, ULong32 mask, bool isField>
Long32 Run(const Planes& p, const Pitches& pitch, ULong32 width, ULong32 height) {
    const ULong32 lines = isField ? 2 * height - 1 : height;
    const ULong32 apart = static_cast<ULong32>(pitch[0]) / (isField ? 2 : 1);
    Image image(
        p[0], apart,
        ImageDescriptor(width, lines, space, k4444, kBGRA, kPacked, isField ? kUpperFieldFirst : kProgressive,
                        kInterleavedFields, kTopLeft, 1.0F, kUnshaped),
        1, 1);
    ImageView view(&image, Rectangle(0, 0, static_cast<Long32>(width), static_cast<Long32>(lines)),
                   isField ? kUpperField : kFrame);
    EXPECT_EQ(view.GetHeight(), height);
    return ZanCompositor().Fill(view, kColour, mask, style);
}

template <std::size_t bytes, ULong32 mask>
void Fill(const Planes&, std::uint8_t* out, std::size_t width) {
    for (std::size_t i = 0; i < bytes * width; ++i) {
        const std::size_t shift = bytes == 4 ? 8 * (i % 4) : 0;
        const auto m = static_cast<std::uint8_t>(mask >> shift),
                   c = static_cast<std::uint8_t>(kColour >> shift);
        out[i] = static_cast<std::uint8_t>((out[i] & ~m) | (c & m));
    }
}

template <ProcessingStyleEnum style, ULong32 mask, bool isField>
void AddFills(std::vector<Operation>& fills, const std::string& name, CPUinstructionSetEnum set) {
    // What rows shorter than the way to a boundary get is told elsewhere.
    fills.push_back(
        {"words " + name, set, {8}, {Steps::kWholeWords}, 4, Run<kRGB, style, mask, isField>, Fill<4, mask>});
    fills.push_back({"bytes " + name,
                     set,
                     {2},
                     {Steps::kBytes},
                     16,
                     Run<kAlphaOnly, style, mask, isField>,
                     Fill<1, mask>});
}

TEST(FillRows, AnyWidthAtAnyAddressAndPitch) {
    constexpr ULong32 kAll = 0xFFFFFFFFU;
    std::vector<Operation> fills;
    AddFills<kFP, kAll, false>(fills, "by words", kSSE2);
    AddFills<kBestAvailable, kAll, false>(fills, "by SSE2", kSSE2);
    AddFills<kBestAvailable, kAll, true>(fills, "of a field by SSE2", kSSE2);
    AddFills<kBestAvailable, kAll, false>(fills, "by SSE", kSSE_MMX);
    AddFills<kBestAvailable, kAll, true>(fills, "of a field by MMX", kMMX);
    AddFills<kBestAvailable, kMask, false>(fills, "under a mask", kSSE2);
    AddFills<kBestAvailable, kMask, true>(fills, "of a field under a mask", kSSE2);
    const std::vector<unsigned>& widths = Widths();
    std::size_t number = RandomFrom<std::size_t>(0, 400);
    for (const Operation& fill : fills) {
        for (unsigned run = 0; run < (kSanitized ? 64U : 460U); ++run) {
            Layout layout{std::max(fill.leastWidth, widths[++number % widths.size()]), 1 + run % 5, {}};
            const std::size_t rowBytes = fill.RowBytes(0, layout.width);
            std::ptrdiff_t pitch = std::abs(AnyPitch(rowBytes, fill.steps[0])) / 4 * 4;
            if (fill.name.find("field") != std::string::npos) {
                pitch = 2 * std::max(pitch, static_cast<std::ptrdiff_t>(rowBytes));
            } else {
                pitch = std::max(pitch, static_cast<std::ptrdiff_t>(rowBytes));
            }
            // Rows of words begin at words.
            layout.Add(rowBytes, pitch, fill.steps[0] == Steps::kBytes ? run % 64 : run * 4 % 64);
            ASSERT_NO_FATAL_FAILURE(Check(fill, layout));
        }
    }
}

}  // namespace

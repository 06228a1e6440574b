// Tables, their curves, negatives and posterising on pictures and views of any kind: whatever they are
// handed, they stay inside the planes, and what is refused changes nothing.

#include "Calls.h"
#include "HostilePicture.h"
#include "Input.h"
#include "Levels.h"

#include <TesselU/tone/InvertLUT.h>
#include <TesselU/tone/LookUpTable.h>
#include <TesselU/tone/Posterize.h>
#include <TesselU/tone/PosterizeLUT.h>

#include <cstdlib>
#include <vector>

namespace {

using namespace Zan;

fuzz::Calls calls;

ProcessingStyleEnum AnyStyle(fuzz::Input& input) {
    return input.Enumeration<ProcessingStyleEnum>(7);
}

double Curve(double x) {
    return 1.2 - x * x;
}

/// Now and then more than there is memory for.
LookUpTable AnyTables(fuzz::Input& input) {
    const ULong32 count = input.Once(4) ? input.Below(6) : 3 + input.Below(2);
    const ULong32 entries = input.Once(3) ? input.Below(400) : 256;
    if (input.Once(64)) {
        return LookUpTable(count, 0xFFFFFFFFU, 16 + input.Raw<ULong32>() / 2);
    }
    return LookUpTable(count, entries, input.Once(4) ? input.Below(70) : 8);
}

void Change(fuzz::Input& input, LookUpTable& tables) {
    const ULong32 lut = input.Once(8) ? input.Raw<ULong32>() : input.Below(5);
    // An object without memory for its tables has no less entries than it was asked for.
    const bool hasTables = tables.GetPointerToLUT(0) != nullptr;
    switch (input.Below(6)) {
        case 0:
            tables.SetLUT(lut, input.Once(8) ? input.Raw<ULong32>() : input.Below(300), input.Raw<ULong32>());
            break;
        case 1:
            if (hasTables) {
                tables.SetLUTtoIdentity(lut);
            }
            break;
        case 2:
            tables.SetLUTtoGammaCorrect(lut, input.Enumeration<TypeOfGamma>(6), input.Real(), input.Real());
            break;
        case 3:
            tables.SetLUTbyFunction(lut, input.Once(8) ? nullptr : &Curve, input.Real(), input.Real());
            break;
        case 4: {
            const auto seed = input.Raw<ULong32>();
            for (ULong32 i = 0; i < tables.GetNumberOfLUTentries() && hasTables; ++i) {
                tables.SetLUT(lut, i, seed * (i + 1) >> 8);
            }
            break;
        }
        default:
            tables.GetLUT(lut, input.Raw<ULong32>());
            break;
    }
}

/// A plane in memory that ends with its last row.
struct ExactPlane {
    std::vector<std::uint8_t> memory;
    std::uint8_t* first = nullptr;
    Long32 pitch = 0;

    ExactPlane(fuzz::Input& input, std::size_t rowBytes, std::size_t rows) {
        const std::size_t step = rowBytes + input.Below(20);
        const bool upwards = input.Flip();
        const std::size_t toLast = rows == 0 ? 0 : step * (rows - 1);
        memory.resize(rows == 0 ? 0 : toLast + rowBytes, input.Byte());
        // Where nothing is read or written any address does.
        static std::uint8_t nothing[4];
        first = memory.empty() ? nothing : memory.data() + (upwards ? toLast : 0);
        pitch = upwards ? -static_cast<Long32>(step) : static_cast<Long32>(step);
        if (input.Once(16)) {
            first = nullptr;
        }
    }
    ULong32* Words() { return reinterpret_cast<ULong32*>(first); }
};

void ByAlpha(fuzz::Input& input) {
    const LookUpTable tables(input.Once(8) ? input.Below(4) : 3, input.Once(16) ? 65536 : input.Below(700),
                             input.Once(4) ? 16 : 8);
    const fuzz::Levels levels(input);
    const std::size_t width = input.Below(80), height = input.Below(9), even = width / 2 * 2;
    ExactPlane in(input, 2 * even, height), out(input, 2 * even, height);
    ExactPlane alphaIn(input, width, height), alphaOut(input, width, height);
    const std::vector<std::uint8_t> before = out.memory, alphaBefore = alphaOut.memory;
    calls.Add();
    const Long32 status = tables.Do_ButUseComponentAndAlphaYCrCb4224(
        in.Words(), alphaIn.first, out.Words(), alphaOut.first, static_cast<ULong32>(width),
        static_cast<ULong32>(height), in.pitch, alphaIn.pitch, out.pitch, alphaOut.pitch);
    if (status != 0 && (out.memory != before || alphaOut.memory != alphaBefore)) {
        std::abort();
    }
}

/// Pictures of the formats that the operations take; any other kind is refused before a plane is touched.
void MakePairs(fuzz::HostilePicture& picture) {
    ImageDescriptor* record = picture.GetImage().GetImageDescriptor();
    if (record != nullptr && record->colorSpace != kAlphaOnly) {
        record->colorSpace = kYCrCb;
        record->pixelPacking = kPacked;
        if (record->channelSampling != k4224) {
            record->channelSampling = k422;
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    if (input.Once(6)) {
        for (unsigned round = 0; round < fuzz::kMostRounds && !input.Empty(); ++round) {
            ByAlpha(input);
        }
        return 0;
    }
    LookUpTable tables = AnyTables(input);
    const LookUpTable shared(tables);
    InvertLUT invert;
    PosterizeLUT posterized;
    Posterize posterize;
    fuzz::HostilePicture pictures[] = {fuzz::HostilePicture(input), fuzz::HostilePicture(input)};
    if (!input.Once(4)) {
        MakePairs(pictures[0]);
        MakePairs(pictures[1]);
    }
    std::uint64_t before = Sum(pictures);
    for (unsigned round = 0; round < fuzz::kMostRounds && !input.Empty(); ++round) {
        ImageView views[] = {pictures[0].View(input), pictures[input.Once(4) ? 0 : 1].View(input)};
        const fuzz::Levels ofCall(input);
        if (input.Once(4)) {
            Change(input, tables);
            invert.SetInvert(input.Enumeration<InvertLUT::WhichChannelEnum>(4), input.Flip());
            posterize.SetLevels(input.Enumeration<Posterize::WhichChannelEnum>(3), input.Real());
            posterized.SetLevels(input.Enumeration<PosterizeLUT::WhichChannelEnum>(4), input.Real());
        }
        calls.Add();
        const ProcessingStyleEnum style = AnyStyle(input);
        Long32 status = 0;
        switch (input.Below(4)) {
            case 0:
                status = shared.Do(views[0], views[1], style);
                break;
            case 1:
                status = invert.Do(views[0], views[1], style);
                break;
            case 2:
                status = posterized.Do(views[0], views[1], style);
                break;
            default:
                status = posterize.Do(views[0], views[1], style);
                break;
        }
        const std::uint64_t after = Sum(pictures);
        if (status != 0 && after != before) {
            std::abort();
        }
        before = after;
    }
    return 0;
}

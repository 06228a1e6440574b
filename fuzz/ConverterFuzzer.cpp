// Conversions, with any matrix. Between pictures and views of any kind they stay inside the planes; between
// addresses they touch the rows that the formats have there and nothing else. What is refused changes
// nothing, for a reason that is documented.

#include "Calls.h"
#include "HostilePicture.h"
#include "Input.h"
#include "Levels.h"
#include "PlainMemory.h"

#include <TesselU/convert/ColorSpaceConverter.h>
#include <TesselU/convert/ConversionMatrix.h>
#include <TesselU/foundation/Status.h>

#include <algorithm>
#include <cstdlib>
#include <initializer_list>
#include <limits>

#include "convert/Pairs.h"

using namespace Zan;

namespace {

fuzz::Calls calls;

void Require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

bool IsOneOf(Long32 status, std::initializer_list<Long32> statuses) {
    return std::find(statuses.begin(), statuses.end(), status) != statuses.end();
}

ProcessingStyleEnum AnyStyle(fuzz::Input& input) {
    return input.Enumeration<ProcessingStyleEnum>(7);
}

double AnyEntry(fuzz::Input& input) {
    using Limits = std::numeric_limits<double>;
    return input.Once(8) ? input.Pick({Limits::quiet_NaN(), Limits::infinity(), -Limits::infinity(),
                                       Limits::max(), Limits::lowest(), Limits::denorm_min(), -0.0,
                                       2147483648.0, -2147483649.0, 1e19, 32767.0 / 8192, -4.0})
                         : input.Real();
}

/// A matrix and offsets as hosts pass them, with some entries changed, or any at all.
struct Coefficients {
    explicit Coefficients(fuzz::Input& input) : hasMatrix(input.Once(3)), hasOffset(input.Once(3)) {
        DefaultMatrixForFormats(matrix, offset, input.Below(kConverterFormats),
                                input.Below(kConverterFormats));
        const unsigned changes = hasMatrix || hasOffset ? input.Below(8) : 0;
        for (unsigned i = 0; i < changes; ++i) {
            (input.Flip() ? matrix[input.Below(16)] : offset[input.Below(8)]) = AnyEntry(input);
        }
        if (hasMatrix && input.Once(4)) {
            std::generate(std::begin(matrix), std::end(matrix), [&] { return AnyEntry(input); });
        }
        if (hasOffset && input.Once(4)) {
            std::generate(std::begin(offset), std::end(offset), [&] { return AnyEntry(input) * 16; });
        }
    }

    double* Matrix() { return hasMatrix ? matrix : nullptr; }
    double* Offset() { return hasOffset ? offset : nullptr; }

    const bool hasMatrix, hasOffset;
    double matrix[16];
    double offset[8];
};

void Change(ColorSpaceConverter& converter, fuzz::Input& input) {
    converter.SetMMXonlyStyle(input.Once(4));
    converter.SetAlphaChannel(input.Byte());
    converter.SetPlusFunction(input.Once(16) ? input.Raw<ULong32>() : input.Below(7));
}

/// Null for numbers that are no codes.
const FormatRecord* RecordOf(std::size_t code) {
    return code < kConverterFormats ? &Formats()[code] : nullptr;
}

/// Of a pair that some path has, or of any formats.
FormatPair AnyPair(fuzz::Input& input) {
    const auto any = [&] { return static_cast<ConverterFormat>(input.Below(kConverterFormats)); };
    if (input.Once(4)) {
        const ConverterFormat source = any();
        return {source, any()};
    }
    const PairRecord& pair = Pairs()[input.Below(static_cast<unsigned>(Pairs().size()))];
    return {pair.source, pair.destination};
}

// ---- pictures ----

void ConvertViews(ColorSpaceConverter& converter, fuzz::Input& input) {
    Coefficients coefficients(input);
    const FormatPair formats = AnyPair(input);
    fuzz::HostilePicture first(input, RecordOf(static_cast<std::size_t>(formats.source)));
    fuzz::HostilePicture second(
        input, input.Once(16) ? nullptr : RecordOf(static_cast<std::size_t>(formats.destination)));
    const auto sum = [&] { return first.Sum() * 31 + second.Sum(); };
    std::uint64_t before = sum();
    for (unsigned call = 0; call < 8 && !input.Empty(); ++call) {
        ImageView source = first.View(input);
        ImageView destination = input.Once(16) ? first.View(input) : second.View(input);
        Long32 status = 0;
        calls.Add();
        switch (input.Below(8)) {
            case 6:
                status = converter.Shape(destination, AnyStyle(input));
                Require(IsOneOf(status, {kStatusOk, kStatusNullPointer, kStatusUnsupportedFormat,
                                         kStatusUnsupportedField}));
                Require(status != kStatusOk || destination.GetImage()->GetPixelShaping() == kShaped);
                break;
            case 7:
                status = converter.Unshape(destination, AnyStyle(input));
                Require(IsOneOf(status, {kStatusOk, kStatusNullPointer, kStatusUnsupportedFormat,
                                         kStatusUnsupportedField}));
                Require(status != kStatusOk || destination.GetImage()->GetPixelShaping() == kUnshaped);
                break;
            default:
                status = converter.Do(source, destination, AnyStyle(input), coefficients.Matrix(),
                                      coefficients.Offset());
                Require(IsOneOf(
                    status, {kStatusOk, kStatusNullPointer, kStatusUnsupportedKind, kStatusMismatch,
                             kStatusUnsupportedFormat, kStatusUnsupportedFunction, kStatusUnsupportedField}));
                break;
        }
        const std::uint64_t after = sum();
        Require(status == kStatusOk || after == before);
        before = after;
        if (input.Once(4)) {
            Change(converter, input);
        }
    }
}

// ---- addresses ----

constexpr ULong32 kMostWidth = 300, kMostHeight = 40;

/// Leaves planes in a converter that hold any format up to kMostWidth by kMostHeight: those that calls with
/// addresses do not give.
class PlanesLeft {
public:
    PlanesLeft(ColorSpaceConverter& converter, std::uint8_t* memory)
        : image(Planes(memory), pitches,
                ImageDescriptor(kPitch, kRows, kYCrCb, k422, kYCbCrPlanes, kPlanar, kProgressive, kNoFields,
                                kTopLeft, 1.0F, kUnshaped),
                1, 1) {
        ChannelDescriptor alpha;
        alpha.SetAlpha(0.0F, kPitch, kRows, kProgressive, kNoFields, 8);
        image.AddChannel(planes[3], kPitch, alpha, 1, 1);
        ImageView view(&image);
        // Whatever becomes of it, the planes have been taken.
        converter.Do(view, view, kGeneralFormat, nullptr, nullptr);
    }

    static constexpr ULong32 kPitch = 304, kRows = kMostHeight + 2;
    static constexpr std::size_t kBytes = 4 * std::size_t{kPitch} * kRows;

private:
    unsigned char** Planes(std::uint8_t* memory) {
        for (std::size_t i = 0; i < 4; ++i) {
            planes[i] = memory + i * (kBytes / 4);
        }
        return planes;
    }

    unsigned char* planes[4];
    ULong32 pitches[4] = {kPitch, kPitch, kPitch, kPitch};
    Image image;
};

/// A code, now and then another number in its place.
ULong32 CodeOr(fuzz::Input& input, ConverterFormat code) {
    return input.Once(64) ? (input.Flip() ? input.Raw<ULong32>() : 100) : static_cast<ULong32>(code);
}

/// In bytes, of lines that may lie apart or upon each other.
Long32 AnyPitch(fuzz::Input& input, const FormatRecord* format, ULong32 width) {
    Long32 pitch = 0;
    switch (input.Below(8)) {
        case 0:
            pitch = static_cast<Long32>(input.Below(2048));
            break;
        case 1:
            pitch = static_cast<Long32>(input.Below(16));
            break;
        default:
            pitch = format == nullptr ? 0 : static_cast<Long32>(format->planes[0].RowBytes(width));
            pitch += input.Flip() ? static_cast<Long32>(input.Below(80)) : 0;
            break;
    }
    if (!input.Once(4)) {
        pitch = pitch / 4 * 4;
    }
    return input.Once(4) ? -pitch : pitch;
}

void ConvertAddresses(ColorSpaceConverter& converter, fuzz::Input& input) {
    static fuzz::PlainMemory memoryOfSource, memoryOfDestination;
    static std::uint8_t memoryOfPlanes[PlanesLeft::kBytes];
    const bool hasPlanes = input.Flip();
    if (hasPlanes) {
        const PlanesLeft left(converter, memoryOfPlanes);
    }
    Coefficients coefficients(input);
    for (unsigned call = 0; call < 8 && !input.Empty(); ++call) {
        const FormatPair formats = AnyPair(input);
        const ULong32 sourceCode = CodeOr(input, formats.source);
        const ULong32 destinationCode = CodeOr(input, formats.destination);
        const FormatRecord *from = RecordOf(sourceCode), *to = RecordOf(destinationCode);
        ULong32 width = input.Below(input.Once(8) ? kMostWidth + 1 : 50);
        ULong32 height = input.Below(input.Once(8) ? kMostHeight + 1 : 8);
        const Long32 sourcePitch = AnyPitch(input, from, width);
        const Long32 destinationPitch = AnyPitch(input, to, width);
        const bool inPlace = input.Once(16), isNegative = input.Once(32);
        const auto style = static_cast<ULong32>(AnyStyle(input));

        // Without memory for it, this must be refused for its width.
        if (isNegative) {
            width = 0;
        }
        const PairRecord* pair = from != nullptr && to != nullptr ? FindPair(from->code, to->code) : nullptr;
        const bool derives = pair != nullptr && pair->Has(kDerivesPlanes);
        fuzz::PlainMemory& source = inPlace ? memoryOfDestination : memoryOfSource;
        source.Clear(input.Byte());
        if (!inPlace) {
            memoryOfDestination.Clear(input.Byte());
        }
        if (from != nullptr) {
            source.Add(*from, width, height, sourcePitch, derives);
        }
        if (to != nullptr) {
            memoryOfDestination.Add(*to, width, height, destinationPitch, derives);
        }
        std::uint8_t* first = source.Open(input.Byte());
        std::uint8_t* out = inPlace ? first : memoryOfDestination.Open(input.Byte());
        if (first == nullptr || out == nullptr) {
            continue;
        }
        const bool isNull = input.Once(32);
        if (isNull) {
            (input.Flip() ? first : out) = nullptr;
        }
        if (isNegative) {
            width = input.Raw<ULong32>() | 0x80000000U;
        }

        calls.Add();
        const auto words = [](std::uint8_t* address) {
            return static_cast<ULong32*>(static_cast<void*>(address));
        };
        const Long32 status =
            converter.Do(words(first), words(out), width, height, sourcePitch, destinationPitch, sourceCode,
                         destinationCode, style, coefficients.Matrix(), coefficients.Offset());
        if (isNull) {
            Require(status == kStatusNullPointer);
        } else if (isNegative) {
            Require(IsOneOf(status, {kStatusUnsupportedKind, kStatusMismatch}));
        } else {
            Require(IsOneOf(status, {kStatusOk, kStatusNullPointer, kStatusUnsupportedKind,
                                     kStatusUnsupportedFormat, kStatusUnsupportedFunction}));
            // Planes that nobody gave are the only ones that can be missing.
            Require(status != kStatusNullPointer || !hasPlanes);
        }
        Require(status == kStatusOk ? memoryOfDestination.IsIntactAround()
                                    : memoryOfDestination.IsUntouched());
        Require(inPlace || source.IsUntouched());
        if (input.Once(4)) {
            Change(converter, input);
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const fuzz::Levels levels(input);
    ColorSpaceConverter converter;
    Change(converter, input);
    if (input.Flip()) {
        ConvertViews(converter, input);
    } else {
        ConvertAddresses(converter, input);
    }
    return 0;
}

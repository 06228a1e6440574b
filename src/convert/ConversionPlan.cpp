#include "convert/ConversionPlan.h"

#include <TesselU/foundation/Status.h>

#include "simd/Lines.h"

namespace Zan {
namespace {

constexpr ULong32 kPlusFunctions = 7;

/// The tests of a path, in their order. `badPitchBits` are those that no pitch may have.
Long32 Refusal(const ConversionRequest& request, const PairRecord* pair, PairPaths path,
               std::ptrdiff_t badPitchBits) noexcept {
    const Plane &source = request.source.plane[0], &destination = request.destination.plane[0];
    if (source.first == nullptr || destination.first == nullptr) {
        return kStatusNullPointer;
    }
    if (((source.pitch | destination.pitch) & badPitchBits) != 0) {
        return kStatusUnsupportedKind;
    }
    if (request.width < 0) {
        return kStatusMismatch;
    }
    if (path != kOnGeneral && (pair == nullptr || !pair->IsOn(path))) {
        return kStatusUnsupportedFormat;
    }
    if (pair != nullptr && pair->hasPlusFunction && path != kOnGeneral &&
        request.plusFunction >= kPlusFunctions) {
        return kStatusUnsupportedFunction;
    }
    return kStatusOk;
}

void TakePlanes(const ConversionSide& side, std::array<Plane, 4>& planes) noexcept {
    const FormatRecord& format = Formats()[static_cast<std::size_t>(side.format)];
    for (const simd::PlaneUse& use : format.planes) {
        planes[use.index] = side.plane[use.index];
    }
    planes[0] = planes[0].In(format.pitch);
}

Long32 PrepareInteger(const ConversionRequest& request, const PairRecord* pair,
                      ConversionPlan& plan) noexcept {
    if (const Long32 status = Refusal(request, pair, kOnInteger, 0); status != kStatusOk) {
        return status;
    }
    if (pair->integer.run == nullptr) {
        return kStatusUnsupportedFormat;
    }
    ConversionJob& job = plan.job;
    job.planes.width = static_cast<std::size_t>(request.width);
    job.planes.height = request.height;
    for (const ConversionSide* side : {&request.source, &request.destination}) {
        if (!PlanesHold(Formats()[static_cast<std::size_t>(side->format)], side->plane, job.planes.width,
                        job.planes.height, side->selection)) {
            return kStatusUnsupportedField;
        }
    }
    TakePlanes(request.source, job.planes.source);
    TakePlanes(request.destination, job.planes.destination);
    job.alphaFill = request.alphaFill;
    plan.pair = pair;
    plan.kernel = pair->integer.run;
    if (pair->source == pair->destination) {
        job.coefficients = nullptr;
        job.hasDefaults = false;
        return kStatusOk;
    }
    const FixedPointCoefficients& defaults = DefaultCoefficients(pair->kind, pair->form);
    job.coefficients = &defaults;
    job.hasDefaults = request.matrix == nullptr && request.offset == nullptr;
    if (!job.hasDefaults) {
        MakeCoefficients(request.matrix != nullptr ? request.matrix : &defaults.matrix[0][0],
                         request.offset != nullptr ? request.offset : &defaults.offset[0][0], pair->form,
                         plan.ownCoefficients);
        job.coefficients = &plan.ownCoefficients;
    }
    return kStatusOk;
}

/// A path that has its tests, but no kernels yet.
Long32 PrepareLater(const ConversionRequest& request, const PairRecord* pair, PairPaths path,
                    std::ptrdiff_t badPitchBits) noexcept {
    const Long32 status = Refusal(request, pair, path, badPitchBits);
    return status != kStatusOk ? status : Long32{kStatusUnsupportedFormat};
}

}  // namespace

Long32 Prepare(const ConversionRequest& request, const CPUcapabilities& processor,
               ConversionPlan& plan) noexcept {
    const PairRecord* pair = FindPair(request.source.format, request.destination.format);
    switch (request.style) {
        case kFlp:
            return PrepareLater(request, pair, kOnFloat, 0);
        case kFP:
            return PrepareLater(request, pair, kOnFixedPoint, 3);
        case kFlp_SIMD: {
            // Only this bit: an odd pitch passes.
            const Long32 status = Refusal(request, pair, kOnFloatSimd, 2);
            if (status == kStatusOk && !processor.IsSIMDsupported()) {
                return kStatusUnsupportedFunction;
            }
            return status != kStatusOk ? status : Long32{kStatusUnsupportedFormat};
        }
        case kGeneralFormat:
            return PrepareLater(request, pair, kOnGeneral, 0);
        case kBestAvailable: {
            Long32 status = PrepareInteger(request, pair, plan);
            if (status == kStatusUnsupportedFormat) {
                status = PrepareLater(request, pair, kOnFloat, 0);
            }
            if (status == kStatusUnsupportedFormat) {
                status = PrepareLater(request, pair, kOnGeneral, 0);
            }
            return status;
        }
        default:
            return PrepareInteger(request, pair, plan);
    }
}

std::size_t StripLines(const ConversionPlan& plan) noexcept {
    std::size_t lines = 1;
    for (const ConverterFormat code : {plan.pair->source, plan.pair->destination}) {
        if (code == kFmtPlanar420Interlaced) {
            return simd::FieldLinePairs::kPeriod;
        }
        if (code == kFmtPlanar420) {
            lines = simd::LinePairs::kPeriod;
        }
    }
    return lines;
}

void Run(const ConversionPlan& plan, std::size_t firstLine, std::size_t lines) noexcept {
    ConversionJob job = plan.job;
    job.planes.height = lines;
    if (firstLine != 0) {
        const auto skip = [firstLine](ConverterFormat code, std::array<Plane, 4>& planes) {
            for (const simd::PlaneUse& use : Formats()[static_cast<std::size_t>(code)].planes) {
                planes[use.index].first = planes[use.index].Row(use.halfHeight ? firstLine / 2 : firstLine);
            }
        };
        skip(plan.pair->source, job.planes.source);
        skip(plan.pair->destination, job.planes.destination);
    }
    (*plan.kernel)(job);
}

}  // namespace Zan

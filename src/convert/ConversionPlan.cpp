#include "convert/ConversionPlan.h"

#include <TesselU/foundation/Status.h>

#include <algorithm>

#include "simd/Lines.h"

namespace Zan {
namespace {

constexpr ULong32 kPlusFunctions = 7;

std::span<const simd::PlaneUse> PlanesOf(ConverterFormat code) noexcept {
    return static_cast<std::size_t>(code) < kConverterFormats
               ? Formats()[static_cast<std::size_t>(code)].planes
               : std::span<const simd::PlaneUse>();
}

/// The tests that come before any look at the pair, in their order. `badPitchBits` are those that no pitch
/// may have.
Long32 Refusal(const ConversionRequest& request, const ConversionJob& job,
               std::ptrdiff_t badPitchBits) noexcept {
    const Plane &source = job.planes.source[0], &destination = job.planes.destination[0];
    if (source.first == nullptr || destination.first == nullptr) {
        return kStatusNullPointer;
    }
    if (((source.pitch | destination.pitch) & badPitchBits) != 0) {
        return kStatusUnsupportedKind;
    }
    return request.width < 0 ? kStatusMismatch : kStatusOk;
}

/// Whether a path looks at a plane of the source.
bool IsRead(const simd::PlaneUse& use, const PairRecord* pair) noexcept {
    return use.index != 3 || pair == nullptr || !pair->Has(kDropsAlpha);
}

/// Tests the planes that the formats need, and takes pitches in the units of the formats; `words` is that of
/// those which have words. What the tests showed spares the walk its own.
Long32 TakePlanes(const ConversionRequest& request, const PairRecord* pair, PitchUnit words,
                  ConversionJob& job) noexcept {
    bool isInside = true;
    const auto fits = [&](const simd::PlaneUse& use, const Plane& plane, Selection selection) {
        const PlaneFit fit = FitOf(use, plane, job.planes.width, job.planes.height, selection);
        isInside = isInside && fit == PlaneFit::kInside;
        return fit != PlaneFit::kOutside;
    };
    const auto take = [&](ConverterFormat code, std::array<Plane, 4>& planes, Selection selection,
                          bool isSource) -> Long32 {
        if (pair == nullptr && !HasGeneralForm(code)) {
            return kStatusOk;
        }
        for (const simd::PlaneUse& use : PlanesOf(code)) {
            if (isSource && !IsRead(use, pair)) {
                continue;
            }
            const Plane& plane = planes[use.index];
            if (plane.first == nullptr) {
                return kStatusNullPointer;
            }
            if (!fits(use, plane, selection)) {
                return kStatusUnsupportedField;
            }
        }
        // Line pairs of fields may need a line of chroma more than the picture has.
        isInside = isInside && (code != kFmtPlanar420Interlaced ||
                                job.planes.height % simd::FieldLinePairs::kPeriod == 0);
        if (static_cast<std::size_t>(code) < kConverterFormats) {
            const PitchUnit unit = Formats()[static_cast<std::size_t>(code)].pitch;
            const std::ptrdiff_t pitch = planes[0].pitch;
            planes[0] = planes[0].In(unit == PitchUnit::kWords ? words : unit);
            // Rounded down, a negative pitch reaches further.
            if (planes[0].pitch < pitch && pitch < 0 && !fits(PlanesOf(code)[0], planes[0], selection)) {
                return kStatusUnsupportedField;
            }
        }
        return kStatusOk;
    };
    Long32 status = take(request.source, job.planes.source, request.sourceSelection, true);
    if (status == kStatusOk) {
        status = take(request.destination, job.planes.destination, request.destinationSelection, false);
    }
    job.planes.isInside = isInside && status == kStatusOk;
    return status;
}

void TakeCoefficients(const ConversionRequest& request, ConversionKind kind, const CoefficientForm& form,
                      bool alphaTakesPart, ConversionPlan& plan) noexcept {
    const PreparedCoefficients& defaults = DefaultCoefficients(kind, form);
    plan.job.coefficients = &defaults;
    plan.job.hasDefaults = request.matrix == nullptr && request.offset == nullptr;
    if (!plan.job.hasDefaults) {
        MakeCoefficients(request.matrix != nullptr ? request.matrix : &defaults.matrix[0][0],
                         request.offset != nullptr ? request.offset : &defaults.offset[0][0], form,
                         alphaTakesPart, plan.ownCoefficients);
        plan.job.coefficients = &plan.ownCoefficients;
    }
}

/// What a path makes of a pair that it has.
struct PathWork {
    PairPaths path;
    const ConversionKernel* kernel;
    ConversionKind kind;
    CoefficientForm form = kOffsetsIn16ths;
    std::size_t group = 0;  ///< columns of the main loop, a power of two; 0: there is none
    bool inDoubles = false;
    bool alphaTakesPart = false;
};

Long32 PreparePair(const ConversionRequest& request, const PairRecord& pair, const PathWork& work,
                   ConversionPlan& plan) noexcept {
    ConversionJob& job = plan.job;
    plan.path = work.path;
    plan.kernel = work.kernel;
    plan.isTransposed = work.form.isTransposed;
    job.inDoubles = work.inDoubles;
    if (work.path == kOnInteger && pair.source == pair.destination) {
        job.coefficients = nullptr;
        job.hasDefaults = false;
    } else {
        TakeCoefficients(request, work.kind, work.form, work.alphaTakesPart, plan);
    }
    if (pair.Has(kPlusFunction) && request.plusFunction >= kPlusFunctions) {
        return kStatusUnsupportedFunction;
    }
    const PitchUnit words = work.path == kOnInteger ? PitchUnit::kWords : PitchUnit::kWordsBelow;
    if (const Long32 status = TakePlanes(request, &pair, words, job); status != kStatusOk) {
        return status;
    }
    job.planes.whole = work.group == 0 ? 0 : job.planes.width & ~(work.group - 1);
    return kStatusOk;
}

Long32 PrepareInteger(const ConversionRequest& request, const PairRecord* pair,
                      const CPUcapabilities& processor, ConversionPlan& plan) noexcept {
    if (const Long32 status = Refusal(request, plan.job, 0); status != kStatusOk) {
        return status;
    }
    if (pair == nullptr || !pair->IsOn(kOnInteger)) {
        return kStatusUnsupportedFormat;
    }
    const IntegerKernel& kernel = pair->integer;
    const std::size_t group = processor.IsSSE2supported() ? kernel.group : kernel.groupWithoutSse2;
    // Pixels go through the matrix with all four lanes, also where the fourth has no sample.
    const simd::PlaneUse* planes = PlanesOf(pair->source).data();
    const bool hasFourLanes = planes == kPixels32Planes.data() || planes == kPixels24Planes.data();
    return PreparePair(request, *pair,
                       {kOnInteger, kernel.run, pair->kind, pair->form, group, false, hasFourLanes}, plan);
}

Long32 PrepareFloat(const ConversionRequest& request, const PairRecord* pair, ConversionPlan& plan) noexcept {
    if (const Long32 status = Refusal(request, plan.job, 0); status != kStatusOk) {
        return status;
    }
    if (pair == nullptr || !pair->IsOn(kOnFloat)) {
        return kStatusUnsupportedFormat;
    }
    // Kernels without a matrix have one arithmetic, which their main loop may run.
    const std::size_t group = pair->integer.group == 1 ? 1 : 0;
    return PreparePair(request, *pair,
                       {kOnFloat, pair->floating, pair->floatKind, kOffsetsIn16ths, group, true, false},
                       plan);
}

Long32 PrepareFixedPoint(const ConversionRequest& request, const PairRecord* pair,
                         ConversionPlan& plan) noexcept {
    if (const Long32 status = Refusal(request, plan.job, 3); status != kStatusOk) {
        return status;
    }
    if (pair == nullptr || !pair->IsOn(kOnFixedPoint)) {
        return kStatusUnsupportedFormat;
    }
    const bool isCopy = pair->source == pair->destination;
    return PreparePair(request, *pair,
                       {kOnFixedPoint, isCopy ? pair->integer.run : &kConvertFixedPoint, pair->kind,
                        kOffsetsIn16ths, 1, false, false},
                       plan);
}

Long32 PrepareSinglePrecision(const ConversionRequest& request, const PairRecord* pair,
                              const CPUcapabilities& processor, ConversionPlan& plan) noexcept {
    // Only this bit: an odd pitch passes.
    if (const Long32 status = Refusal(request, plan.job, 2); status != kStatusOk) {
        return status;
    }
    if (pair == nullptr || !pair->IsOn(kOnFloatSimd)) {
        return kStatusUnsupportedFormat;
    }
    if (!processor.IsSIMDsupported()) {
        return kStatusUnsupportedFunction;
    }
    // A caller's offsets are not taken.
    ConversionRequest withMatrix = request;
    withMatrix.offset = nullptr;
    return PreparePair(withMatrix, *pair,
                       {kOnFloatSimd, &kConvertSinglePrecision, pair->kind, kOffsetsIn16ths, 1, true, true},
                       plan);
}

Long32 PrepareGeneral(const ConversionRequest& request, ConversionPlan& plan) noexcept {
    if (const Long32 status = Refusal(request, plan.job, 0); status != kStatusOk) {
        return status;
    }
    const Long32 status = TakePlanes(request, nullptr, PitchUnit::kBytes, plan.job);
    if (status != kStatusOk) {
        return status;
    }
    plan.path = kOnGeneral;
    plan.kernel = &kConvertGeneral;
    plan.job.coefficients = nullptr;
    return kStatusOk;
}

}  // namespace

Long32 Prepare(const ConversionRequest& request, const CPUcapabilities& processor,
               ConversionPlan& plan) noexcept {
    ConversionJob& job = plan.job;
    job.source = request.source;
    job.destination = request.destination;
    job.planes.width = static_cast<std::size_t>(std::max<Long32>(request.width, 0));
    job.planes.height = request.height;
    job.alphaFill = request.alphaFill;
    job.plusFunction = static_cast<std::uint8_t>(request.plusFunction);
    const PairRecord* pair = FindPair(request.source, request.destination);
    switch (request.style) {
        case kFlp:
            return PrepareFloat(request, pair, plan);
        case kFP:
            return PrepareFixedPoint(request, pair, plan);
        case kFlp_SIMD:
            return PrepareSinglePrecision(request, pair, processor, plan);
        case kGeneralFormat:
            return PrepareGeneral(request, plan);
        case kBestAvailable: {
            Long32 status = PrepareInteger(request, pair, processor, plan);
            if (status == kStatusUnsupportedFormat) {
                status = PrepareFloat(request, pair, plan);
            }
            return status == kStatusUnsupportedFormat ? PrepareGeneral(request, plan) : status;
        }
        default:
            return PrepareInteger(request, pair, processor, plan);
    }
}

std::size_t StripLines(const ConversionPlan& plan) noexcept {
    std::size_t lines = 1;
    for (const ConverterFormat code : {plan.job.source, plan.job.destination}) {
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
    if (firstLine == 0 && lines == plan.job.planes.height) {
        (*plan.kernel)(plan.job);
        return;
    }
    ConversionJob job = plan.job;
    job.planes.height = lines;
    const auto skip = [firstLine](ConverterFormat code, std::array<Plane, 4>& planes) {
        for (const simd::PlaneUse& use : PlanesOf(code)) {
            planes[use.index].first = planes[use.index].Row(use.halfHeight ? firstLine / 2 : firstLine);
        }
    };
    skip(job.source, job.planes.source);
    skip(job.destination, job.planes.destination);
    (*plan.kernel)(job);
}

}  // namespace Zan

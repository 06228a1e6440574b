#include <TesselU/filter/DeepDefocus.h>
#include <TesselU/foundation/Status.h>

#include <algorithm>
#include <cmath>

#include "filter/kernels/BoxBlur.h"
#include "filter/kernels/BoxFormula.h"
#include "foundation/ClassCapabilities.h"
#include "foundation/PathSelection.h"
#include "image/ViewFormat.h"
#include "image/ViewPlane.h"
#include "simd/Job.h"

namespace Zan {
namespace {

constexpr Long32 kStatusNoSize = -1, kStatusEvenSize = -2, kStatusBoxTooLarge = -3,
                 kStatusPictureTooLarge = -4, kStatusNoScale = -5;

constexpr std::size_t kBytesPerPixel = 4;
constexpr double kMaxUInt32 = 4294967295.0;

// `kFloat` is the box summed afresh, in double precision.
constexpr StyleRule kStyles = {Ask::kScalar, Ask::kScalar, Ask::kVector,
                               Ask::kVector, Ask::kVector, Ask::kFloat};
constexpr StyleRule kStylesThatRound = {Ask::kRefuse, Ask::kRefuse, Ask::kVector,
                                        Ask::kVector, Ask::kVector, Ask::kRefuse};
// Both forms in single precision are one arithmetic.
constexpr VectorRule kSingles = {true, Path::kSSE, Path::kScalar, true};

/// A size truncated, and above `limit` that. Never odd by itself.
ULong32 TruncatedSize(double size, ULong32 limit) noexcept {
    if (size > limit) {
        return limit;
    }
    return size >= 1.0 ? static_cast<ULong32>(size) : 0;  // 0 for what is not a number
}

/// A size rounded, cut to `limit`, then made odd.
ULong32 OddSize(double size, ULong32 limit) noexcept {
    if (std::isnan(size)) {
        return 0;
    }
    const double rounded = size < 1.0 ? 1.0 : size + 0.5;
    return (rounded > limit ? limit : static_cast<ULong32>(rounded)) | 1U;
}

/// The largest sample of `bits` bits.
double LargestSample(ULong32 bits) noexcept {
    constexpr ULong32 kBeyondDouble = 2000;
    return std::ldexp(1.0, static_cast<int>(std::min(bits, kBeyondDouble))) - 1.0;
}

/// The scale of the integer form; false where there is none.
bool FindScale(double area, double largestSample, SumToByte& rule) noexcept {
    constexpr unsigned kMostPreShift = 32, kMostTotalShift = 31;
    constexpr double kMost = 65535.0, kLeast = 32768.0;
    rule.form = SumToByte::Form::kFixed;
    rule.preShift = 0;
    for (double sum = area * largestSample; sum > kMost && rule.preShift < kMostPreShift; sum /= 2.0) {
        ++rule.preShift;
    }
    rule.totalShift = 0;
    double inverse = 1.0 / area;
    for (; inverse < kLeast; inverse *= 2.0) {
        if (++rule.totalShift > kMostTotalShift) {
            return false;
        }
    }
    rule.multiplier = static_cast<std::uint32_t>(inverse + 0.5 > kMost ? inverse : inverse + 0.5);
    return true;
}

/// Refuses what is not four channels at full rate: 0, 1 or 4.
Long32 TestFormats(const ImageView& source, const ImageView& destination) noexcept {
    constexpr ULong32 kChannels = 4;
    for (const ImageView* view : {&source, &destination}) {
        if (view->GetImage() == nullptr || view->GetImage()->GetImageDescriptor() == nullptr) {
            return kStatusNullPointer;
        }
    }
    for (const ImageView* view : {&source, &destination}) {
        const Image& image = *view->GetImage();
        if (image.GetChannelSampling() != k4444 || image.GetNumberOfChannels() != kChannels) {
            return kStatusUnsupportedFormat;
        }
    }
    return kStatusOk;
}

Long32 SelectPlanes(const ImageView& source, const ImageView& destination, ViewSize size,
                    BoxJob& job) noexcept {
    const Long32 ofSource = SelectPlane(source, 0, size.height, job.source);
    const Long32 ofDestination = SelectPlane(destination, 0, size.height, job.destination);
    for (const Long32 status : {kStatusNullPointer, kStatusUnsupportedField}) {
        if (ofSource == status || ofDestination == status) {
            return status;
        }
    }
    // A box may read each pixel of the working size. Samples below 8 bits or planes have shorter lines.
    const std::size_t rowBytes = kBytesPerPixel * std::size_t{size.width};
    return job.source.Holds(rowBytes, size.height) && job.destination.Holds(rowBytes, size.height)
               ? kStatusOk
               : kStatusUnsupportedField;
}

/// What is wrong with the size of a box in a picture of `size`, if anything.
Long32 TestBox(ULong32 boxWidth, ULong32 boxHeight, ViewSize size) noexcept {
    constexpr ULong32 kLargestPicture = 0x80000000U;
    if (boxWidth == 0 || boxHeight == 0) {
        return kStatusNoSize;
    }
    if (boxWidth % 2 == 0 || boxHeight % 2 == 0) {
        return kStatusEvenSize;
    }
    if (boxWidth >= size.width || boxHeight >= size.height) {
        return kStatusBoxTooLarge;
    }
    return size.width > kLargestPicture || size.height > kLargestPicture ? kStatusPictureTooLarge : kStatusOk;
}

}  // namespace

constinit CPUcapabilities& DeepDefocus::CPUinstructionSet = classCapabilities[kOwnerDeepDefocus];

Long32 DeepDefocus::Do(ImageView& source, ImageView& destination, double horizontalSize, double verticalSize,
                       ULong32 xStart, ULong32 xEnd, ULong32 yStart, ULong32 yEnd,
                       ProcessingStyleEnum style) const {
    const auto code = static_cast<unsigned>(style);
    const Path path = ChoosePath(kStyles, kSingles, code, CPUinstructionSet, false);

    if (const Long32 status = TestFormats(source, destination); status != kStatusOk) {
        return status;
    }
    BoxJob job{};
    const ViewSize size = SmallestSize(source, destination);
    if (const Long32 status = SelectPlanes(source, destination, size, job); status != kStatusOk) {
        return status;
    }
    if (LargestSample(bitsPerSample) * horizontalSize * verticalSize > kMaxUInt32) {
        return kStatusAccumulatorOverflow;
    }
    const auto resolve = kStylesThatRound(code) == Ask::kVector ? &OddSize : &TruncatedSize;
    const ULong32 boxWidth = resolve(horizontalSize, size.width),
                  boxHeight = resolve(verticalSize, size.height);
    if (const Long32 status = TestBox(boxWidth, boxHeight, size); status != kStatusOk) {
        return status;
    }
    const double area = static_cast<double>(boxWidth) * static_cast<double>(boxHeight);
    if (path == Path::kScalar && !FindScale(area, LargestSample(bitsPerSample), job.toByte)) {
        return kStatusNoScale;
    }

    job.width = size.width;
    job.height = size.height;
    job.left = xStart;
    job.right = std::min(xEnd, size.width);
    job.top = yStart;
    job.bottom = std::min(yEnd, size.height);
    job.boxWidth = boxWidth;
    job.boxHeight = boxHeight;
    if (path != Path::kFloat) {
        job.right = std::max(job.right, job.left + 1);
    }
    if (job.top >= job.bottom || job.left >= job.right || job.left >= job.width) {
        return kStatusOk;
    }
    if (path == Path::kFloat) {
        const double inverse = 1.0 / area;
        BlurAfresh<std::uint32_t>(job, [inverse](std::uint32_t sum) {
            return static_cast<std::uint8_t>(static_cast<std::uint32_t>(sum * inverse + 0.5));
        });
        return kStatusOk;
    }
    if (path != Path::kScalar) {
        job.toByte.inverse = static_cast<float>(1.0 / area);
    }
    // What is written through the cache is fetched first.
    constexpr std::size_t kMovedPerPixel = 3 * kBytesPerPixel;
    job.streams = simd::ExceedsCache(kMovedPerPixel * (job.right - job.left) * (job.bottom - job.top));
    BoxMemory memory;
    kBlurBox(job, memory);
    return kStatusOk;
}

}  // namespace Zan

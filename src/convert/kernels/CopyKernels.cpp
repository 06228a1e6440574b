#include "convert/kernels/CopyKernels.h"

#include <cstring>

#include "simd/LongRuns.h"

namespace Zan {
namespace {

// Shorter rows do not pay for the start of a long run.
constexpr std::size_t kLeastLongRun = 1024;

bool LieApart(const ViewPlane& a, const ViewPlane& b) noexcept {
    const auto address = [](const std::uint8_t* p) { return reinterpret_cast<std::uintptr_t>(p); };
    return address(a.end) <= address(b.begin) || address(b.end) <= address(a.begin);
}

// Rows of source and destination may be the same memory.
void CopyRows(const ViewPlane& source, std::ptrdiff_t sourcePitch, const ViewPlane& destination,
              std::ptrdiff_t destinationPitch, std::size_t rowBytes, std::size_t rows) {
    if (rowBytes == 0 || rows == 0) {
        return;
    }
    if (const auto contiguous = static_cast<std::ptrdiff_t>(rowBytes);
        sourcePitch == contiguous && destinationPitch == contiguous) {
        rowBytes *= rows;
        rows = 1;
    }
    const bool longRuns =
        rowBytes >= kLeastLongRun && simd::LongRunsPay(rowBytes * rows) && LieApart(source, destination);
    for (std::size_t row = 0; row < rows; ++row) {
        const auto y = static_cast<std::ptrdiff_t>(row);
        std::uint8_t* to = destination.first + y * destinationPitch;
        const std::uint8_t* from = source.first + y * sourcePitch;
        if (longRuns) {
            simd::CopyLongRun(to, from, rowBytes);
        } else {
            std::memmove(to, from, rowBytes);
        }
    }
}

void CopyLines(const ConversionJob& job, std::size_t words) {
    CopyRows(job.source[0], WordPitch(job.source[0].pitch), job.destination[0],
             WordPitch(job.destination[0].pitch), 4 * words, job.height);
}

void CopyBytes(const ConversionJob& job, std::size_t plane, std::size_t bytes) {
    CopyRows(job.source[plane], job.source[plane].pitch, job.destination[plane], job.destination[plane].pitch,
             bytes, job.height);
}

}  // namespace

void CopyWordsPerColumn(const ConversionJob& job) {
    CopyLines(job, job.width);
}

void CopyWordsPerPair(const ConversionJob& job) {
    CopyLines(job, job.width / 2);
}

void CopyPairsAndAlpha(const ConversionJob& job) {
    CopyLines(job, job.width / 2);
    CopyBytes(job, 3, job.width);
}

void CopyAlphaPlane(const ConversionJob& job) {
    CopyBytes(job, 3, job.width);
}

void CopyTriples(const ConversionJob& job) {
    CopyBytes(job, 0, 3 * job.width);
}

void CopyBytesPerColumn(const ConversionJob& job) {
    CopyBytes(job, 0, job.width);
}

}  // namespace Zan

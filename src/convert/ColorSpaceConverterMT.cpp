#include <TesselU/convert/ColorSpaceConverterMT.h>
#include <TesselU/image/ImageView.h>

#include <algorithm>

#include "foundation/ClassCapabilities.h"
#include "foundation/Worker.h"

namespace Zan {
namespace {

/// A strip of what a view selects, whatever its field.
ImageView StripView(const ImageView& whole, Strip strip) noexcept {
    const Rectangle region = whole.GetRegionOfInterest();
    ImageView view = whole;
    view.SetRegionOfInterest({region.getLeft(), region.getTop() + static_cast<Long32>(strip.first),
                              region.getWidth(), static_cast<Long32>(strip.rows)},
                             kFrame);
    return view;
}

}  // namespace

class ColorSpaceConverterMT::Workers {
public:
    struct Job {
        ColorSpaceConverter filter;
        ImageView source, destination;
        ProcessingStyleEnum style = kBestAvailable;
        double* matrix = nullptr;
        double* offset = nullptr;
        bool isFollowed = false;

        Long32 Run() noexcept {
            return filter.DoStrip(source, destination, style, matrix, offset, isFollowed);
        }
    };

    explicit Workers(ULong32 count) : all(count, [] { return Job(); }) {}

    template <class Set>
    void ForEachFilter(Set set) noexcept {
        for (ULong32 i = 0; i < all.Count(); ++i) {
            set(all[i].filter);
        }
    }

    StripWorkers<Job> all;
};

constinit CPUcapabilities& ColorSpaceConverterMT::CPUinstructionSet =
    classCapabilities[kOwnerColorSpaceConverterMT];

ColorSpaceConverterMT::ColorSpaceConverterMT() {
    CreateNew(CPUinstructionSet.GetNumberOfPhysicalProcessors());
}

ColorSpaceConverterMT::ColorSpaceConverterMT(ULong32 count) {
    CreateNew(count);
}

void ColorSpaceConverterMT::CreateNew(ULong32 workerCount) {
    workers = new Workers(WorkersFor(workerCount));
}

ColorSpaceConverterMT::~ColorSpaceConverterMT() {
    delete workers;
}

Long32 ColorSpaceConverterMT::Do(ImageView& source, ImageView& destination, ProcessingStyleEnum callStyle,
                                 double* callMatrix, double* callOffset) {
    StripWorkers<Workers::Job>& all = workers->all;
    const auto rows = static_cast<ULong32>(std::max<Long32>(
        std::min(source.GetRegionOfInterest().getHeight(), destination.GetRegionOfInterest().getHeight()),
        0));
    for (ULong32 i = 0; i < all.Count(); ++i) {
        const Strip strip = StripOf(rows, all.Count(), i);
        Workers::Job& job = all[i];
        job.source = StripView(source, strip);
        job.destination = StripView(destination, strip);
        job.style = callStyle;
        job.matrix = callMatrix;
        job.offset = callOffset;
        job.isFollowed = i + 1 != all.Count();
    }
    return all.RunAll();
}

void ColorSpaceConverterMT::SetPlusFunction(ULong32 function) noexcept {
    workers->ForEachFilter([function](ColorSpaceConverter& filter) { filter.SetPlusFunction(function); });
}

void ColorSpaceConverterMT::SetAlphaChannel(unsigned char value) noexcept {
    workers->ForEachFilter([value](ColorSpaceConverter& filter) { filter.SetAlphaChannel(value); });
}

void ColorSpaceConverterMT::SetMMXonlyStyle(bool only) noexcept {
    workers->ForEachFilter([only](ColorSpaceConverter& filter) { filter.SetMMXonlyStyle(only); });
}

void ColorSpaceConverterMT::GetMatrixCoef(double* out) const noexcept {
    workers->all[0].filter.GetMatrixCoef(out);
}

void ColorSpaceConverterMT::GetOffset(double* out) const noexcept {
    workers->all[0].filter.GetOffset(out);
}

}  // namespace Zan

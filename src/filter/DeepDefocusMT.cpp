#include <TesselU/filter/DeepDefocusMT.h>
#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>

#include <algorithm>

#include "foundation/ClassCapabilities.h"
#include "foundation/Worker.h"

namespace Zan {

class DeepDefocusMT::Workers {
public:
    struct Job {
        explicit Job(ULong32 bits) noexcept : filter(bits) {}

        DeepDefocus filter;
        ImageView source, destination;
        double horizontalSize = 0, verticalSize = 0;
        ULong32 xStart = 0, xEnd = 0, yStart = 0, yEnd = 0;
        ProcessingStyleEnum style = kBestAvailable;

        Long32 Run() noexcept {
            return filter.Do(source, destination, horizontalSize, verticalSize, xStart, xEnd, yStart, yEnd,
                             style);
        }
    };

    Workers(ULong32 count, ULong32 bits) : all(count, [bits] { return Job(bits); }) {}

    StripWorkers<Job> all;
};

constinit CPUcapabilities& DeepDefocusMT::CPUinstructionSet = classCapabilities[kOwnerDeepDefocusMT];

DeepDefocusMT::DeepDefocusMT(ULong32 bits) {
    CreateNew(CPUinstructionSet.GetNumberOfPhysicalProcessors(), bits);
}

DeepDefocusMT::DeepDefocusMT(ULong32 count, ULong32 bits) {
    CreateNew(count, bits);
}

void DeepDefocusMT::CreateNew(ULong32 workerCount, ULong32 bits) {
    workers = new Workers(WorkersFor(workerCount), bits);
}

DeepDefocusMT::~DeepDefocusMT() {
    delete workers;
}

Long32 DeepDefocusMT::Do(ImageView& source, ImageView& destination, double horizontalSize,
                         double verticalSize, ULong32 xStart, ULong32 xEnd, ULong32 yStart, ULong32 yEnd,
                         ProcessingStyleEnum style) {
    StripWorkers<Workers::Job>& all = workers->all;
    const Image* const image = source.GetImage();
    const ULong32 wanted = yEnd > yStart ? yEnd - yStart : 0;
    const ULong32 rows = image == nullptr ? 0 : std::min(image->GetHeight(), wanted);
    for (ULong32 i = 0; i < all.Count(); ++i) {
        const Strip band = StripOf(rows, all.Count(), i);
        Workers::Job& job = all[i];
        job.source = source;
        job.destination = destination;
        job.horizontalSize = horizontalSize;
        job.verticalSize = verticalSize;
        job.xStart = xStart;
        job.xEnd = xEnd;
        job.yStart = yStart + band.first;
        job.yEnd = i + 1 == all.Count() ? yEnd : job.yStart + band.rows;
        job.style = style;
    }
    return all.RunAll();
}

}  // namespace Zan

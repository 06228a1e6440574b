// Corrections by any record, on pictures and views of any kind: whatever they are handed, they stay inside
// the planes, and what is refused changes nothing.

#include "Calls.h"
#include "HostilePicture.h"
#include "Input.h"
#include "Levels.h"

#include <TesselU/tone/BaseColorCorrection.h>

#include <cstdlib>
#include <cstring>

#include "foundation/CapabilitySeam.h"

namespace {

using namespace Zan;

fuzz::Calls calls;
using BaseCC::tagBASECOLORCORRINFO;

/// Few pictures are of the one kind by themselves.
void MakeCorrectable(fuzz::Input& input, fuzz::HostilePicture& picture) {
    ImageDescriptor* const record = picture.GetImage().GetImageDescriptor();
    if (record == nullptr || record->colorSpace == kAlphaOnly) {
        return;
    }
    record->colorSpace = kYCrCb;
    record->pixelPacking = kPacked;
    record->channelSampling = input.Flip() ? k422 : k4224;
}

tagBASECOLORCORRINFO AnyRecord(fuzz::Input& input) {
    auto record = input.Raw<tagBASECOLORCORRINFO>();
    if (!input.Once(16)) {
        record.size = sizeof record;
    }
    // Groups that ask for nothing.
    const unsigned groups = input.Byte();
    auto* const bytes = reinterpret_cast<unsigned char*>(&record);
    constexpr struct {
        std::size_t from, bytes;
    } kGroups[] = {{4, 2}, {6, 4}, {10, 6}, {16, 2}, {18, 2}, {20, 6}, {26, 6}, {32, 6}};
    for (unsigned i = 0; i < 8; ++i) {
        if ((groups >> i & 1) != 0) {
            std::memset(bytes + kGroups[i].from, 0, kGroups[i].bytes);
        }
    }
    return record;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const fuzz::Levels levels(input);
    CapabilitySeam::UseSSE2(*CPUfeatures::Instance(), input.Flip());

    fuzz::HostilePicture first(input), second(input);
    if (!input.Once(8)) {
        MakeCorrectable(input, first);
        MakeCorrectable(input, second);
    }
    BaseCC::BaseColorCorrection corrector;
    for (unsigned round = 0; round < fuzz::kMostRounds && !input.Empty(); ++round) {
        ImageView source = first.View(input), destination = (input.Flip() ? first : second).View(input);
        if (!input.Once(4)) {
            source.SetFieldOfInterest(input.Flip() ? kFrame : input.Flip() ? kUpperField : kLowerField);
        }
        const tagBASECOLORCORRINFO record = AnyRecord(input);
        const std::uint64_t before = first.Sum() * 31 + second.Sum();
        calls.Add();
        const Long32 status =
            corrector.Do(source, destination, record, input.Enumeration<ProcessingStyleEnum>(7));
        if (status != 0 && first.Sum() * 31 + second.Sum() != before) {
            std::abort();
        }
    }
    return 0;
}

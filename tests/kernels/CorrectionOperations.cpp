#include <TesselU/tone/BaseColorCorrection.h>

#include <iterator>

#include "kernels/Operations.h"
#include "tone/correction/Context.h"

namespace kernelcheck {

namespace {

using namespace Zan;
using namespace Zan::BaseCC;

std::int16_t Parameter(Random& random) {
    static constexpr std::int16_t kSpecial[] = {1, -1, 255, -255, 128, -128, 300, -32768, 32767};
    const std::size_t n = Pick(random, 0, 3 * std::size(kSpecial));
    return n < std::size(kSpecial) ? kSpecial[n]
                                   : static_cast<std::int16_t>(static_cast<int>(Pick(random, 0, 510)) - 255);
}

/// Which groups of parameters a record has.
struct Groups {
    bool luma = false, adjustment = false, hue = false, saturation = false;
    bool red = false, green = false, blue = false;
    int flags = 0;
};

tagBASECOLORCORRINFO RecordOf(Random& random, const Groups& groups) {
    tagBASECOLORCORRINFO record;
    const auto some = [&random](bool wanted) { return wanted ? Parameter(random) : std::int16_t{0}; };
    record.flags = static_cast<std::int16_t>(groups.flags);
    record.brightness = some(groups.adjustment);
    record.contrast = some(groups.adjustment);
    record.lumaHigh = some(groups.luma);
    record.lumaMid = some(groups.luma);
    record.lumaLow = some(groups.luma);
    record.hue = some(groups.hue);
    record.saturation = some(groups.saturation);
    record.redHigh = some(groups.red);
    record.redMid = some(groups.red);
    record.redLow = some(groups.red);
    record.greenHigh = some(groups.green);
    record.greenMid = some(groups.green);
    record.greenLow = some(groups.green);
    record.blueHigh = some(groups.blue);
    record.blueMid = some(groups.blue);
    record.blueLow = some(groups.blue);
    return record;
}

Operation Correction(const char* name, const Groups& groups) {
    return {std::string("colour correction, ") + name, [groups](Case& c) -> Operation::Run {
                Plane& in = c.Add(2 * c.width, c.height);
                Plane& out = Pick(c.random, 0, 3) == 0 ? in : c.Add(2 * c.width, c.height);
                const tagBASECOLORCORRINFO record = RecordOf(c.random, groups);
                PictureDescriptor from, to;
                from.width = to.width = static_cast<ULong32>(c.width);
                from.height = to.height = static_cast<ULong32>(c.height);
                return [=, &in, &out]() mutable {
                    from.lines = {in.row(), in.pitch()};
                    to.lines = {out.row(), out.pitch()};
                    Context context(false);
                    context.Configure(record, true);
                    return context.Run(from, to);
                };
            }};
}

}  // namespace

std::vector<Operation> CorrectionOperations() {
    return {
        Correction("luma", {.luma = true}),
        Correction("contrast", {.adjustment = true}),
        Correction("hue", {.hue = true}),
        Correction("saturation", {.saturation = true}),
        Correction("luma and chroma", {.luma = true, .adjustment = true, .hue = true, .saturation = true}),
        Correction("legal limits", {.flags = 2}),
        Correction("narrow chroma", {.flags = 4}),
        Correction("red", {.red = true}),
        Correction("green", {.green = true}),
        Correction("blue", {.blue = true}),
        Correction("red, green and blue", {.red = true, .green = true, .blue = true, .flags = 6}),
        Correction("everything", {true, true, true, true, true, true, true, 3}),
    };
}

}  // namespace kernelcheck

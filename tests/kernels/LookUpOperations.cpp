#include <TesselU/tone/LookUpTable.h>
#include <TesselU/tone/Posterize.h>

#include <array>

#include "kernels/CasePictures.h"
#include "kernels/Operations.h"

namespace kernelcheck {

namespace {

using namespace Zan;

/// Tables of any bytes; chroma mostly has two, else one.
std::shared_ptr<LookUpTable> RandomTables(Random& random, ULong32 count, ULong32 entries) {
    auto tables = std::make_shared<LookUpTable>(count, entries, 8);
    for (ULong32 lut = 0; lut < count; ++lut) {
        for (ULong32 i = 0; i < entries; ++i) {
            tables->SetLUT(lut, i, static_cast<ULong32>(random()));
        }
    }
    switch (Pick(random, 0, 7)) {
        case 0:
            for (ULong32 i = 0; i < entries; ++i) {
                tables->SetLUT(2, i, tables->GetLUT(0, i));
            }
            break;
        case 1:
            tables->SetLUTtoIdentity(0);
            tables->SetLUTtoIdentity(2);
            break;
        case 2:
            tables->SetLUTtoIdentity(static_cast<ULong32>(Pick(random, 0, count - 1)));
            break;
        default:
            break;
    }
    return tables;
}

Operation LookUp(ULong32 count, ULong32 entries, AggregateChannelSamplingEnum sampling) {
    // Appended, since GCC 12 takes the sum of a literal and a temporary for an overlap on 32 bits.
    std::string name = "LookUpTable, ";
    name += std::to_string(count) + " tables of " + std::to_string(entries);
    name += sampling == k4224 ? ", k4224" : ", k422";
    return {name, [=](Case& c) -> Operation::Run {
                auto in = PictureOf(c, sampling, kYCrCb);
                auto out = Pick(c.random, 0, 3) == 0 ? in : PictureOf(c, sampling, kYCrCb);
                const auto tables = RandomTables(c.random, count, entries);
                return [=, from = ViewOf(in, c), to = ViewOf(out, c), images = std::array{in, out}] {
                    ImageView source = from, destination = to;
                    return tables->Do(source, destination, kBestAvailable);
                };
            }};
}

Operation ByAlpha(ULong32 entries) {
    std::string name = "LookUpTable by component and alpha, ";
    name += std::to_string(entries) + " entries";
    return {name, [=](Case& c) -> Operation::Run {
                const std::size_t even = EvenWidth(c);
                Plane &in = c.Add(2 * even, c.height, 4), &alphaIn = c.Add(c.width, c.height);
                const bool inPlace = Pick(c.random, 0, 3) == 0;
                Plane& out = inPlace ? in : c.Add(2 * even, c.height, 4);
                Plane& alphaOut = inPlace ? alphaIn : c.Add(c.width, c.height);
                const auto tables = RandomTables(c.random, 3, entries);
                return [=, &in, &out, &alphaIn, &alphaOut, w = Size(c.width), h = Size(c.height)] {
                    return tables->Do_ButUseComponentAndAlphaYCrCb4224(
                        reinterpret_cast<ULong32*>(in.row()), alphaIn.row(),
                        reinterpret_cast<ULong32*>(out.row()), alphaOut.row(), w, h,
                        static_cast<Long32>(in.pitch()), static_cast<Long32>(alphaIn.pitch()),
                        static_cast<Long32>(out.pitch()), static_cast<Long32>(alphaOut.pitch()));
                };
            }};
}

Operation Posterised(ProcessingStyleEnum style) {
    return {"Posterize, style " + std::to_string(style), [=](Case& c) -> Operation::Run {
                auto in = PictureOf(c, k422, kYCrCb);
                auto out = Pick(c.random, 0, 3) == 0 ? in : PictureOf(c, k422, kYCrCb);
                auto effect = std::make_shared<Posterize>();
                effect->SetLevels(static_cast<double>(Pick(c.random, 1, 255)));
                effect->SetLevels(Posterize::kChannelY, static_cast<double>(Pick(c.random, 1, 255)));
                return [=, from = ViewOf(in, c), to = ViewOf(out, c), images = std::array{in, out}] {
                    ImageView source = from, destination = to;
                    return effect->Do(source, destination, style);
                };
            }};
}

}  // namespace

std::vector<Operation> LookUpOperations() {
    return {LookUp(3, 256, k422), LookUp(4, 256, k4224), LookUp(4, 100, k4224), ByAlpha(65536),
            ByAlpha(30000),       Posterised(kFlp),      Posterised(kFP)};
}

}  // namespace kernelcheck

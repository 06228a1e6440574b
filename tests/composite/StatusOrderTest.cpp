// Which refusal comes first when several are due: the style of an operation that has not all of them, the
// format, the memory, the selection.

#include "composite/Operations.h"

using namespace composite_test;

namespace {

enum Fault : unsigned { kStyle = 1, kFormat = 2, kNoMemory = 4, kOutside = 8, kAllFaults = 16 };

struct Refusal {
    Fault fault;
    Zan::Long32 status;
};

constexpr Refusal kOrder[] = {{kStyle, 100}, {kFormat, 4}, {kNoMemory, 1}, {kOutside, 98}};

Zan::Long32 FirstOf(unsigned faults) {
    for (const Refusal& refusal : kOrder) {
        if ((faults & refusal.fault) != 0) {
            return refusal.status;
        }
    }
    return 0;
}

// A format that no operation with a format test takes in this place: as a key one of two bytes a pixel that
// is no alpha, as a picture three samples.
Format Unsuited(const Format& format, bool isKey) {
    Format other = Format::YCrCb(format.width, format.height, isKey ? Zan::k422 : Zan::k444);
    return other.Interlaced();
}

// One call with some faults on one of its planes.
void ExpectFirst(Zan::ZanCompositor& compositor, const ViewOperation& operation,
                 const ViewOperation::Plane& plane, unsigned faults) {
    std::vector<Format> formats = operation.operands(16, 6);
    for (Format& format : formats) {
        format = format.Interlaced();
    }
    if ((faults & kFormat) != 0) {
        formats[plane.operand] = Unsuited(formats[plane.operand], formats.size() == 4 && plane.operand == 2);
    }
    if ((faults & kOutside) != 0) {
        formats[plane.operand] = formats[plane.operand].BottomLeft();
    }
    Call call(formats);
    Zan::ImageView& view = call.views[plane.operand];
    if ((faults & kOutside) != 0) {
        view.SetFieldOfInterest(Zan::kLowerField);
    }
    if ((faults & kNoMemory) != 0) {
        // A three-sample picture has no channel 3 to lose.
        auto& channels = view.GetImage()->GetImageDescriptor()->channels;
        channels[plane.channel < channels.size() ? plane.channel : 0].memory =
            Tuk::RCPtr<Zan::AlignedMemoryBuffer>();
    }
    const std::vector<Bytes> before = call.Contents();
    constexpr Zan::ULong32 kUntouched = 0xC0FFEE11U;
    Zan::ULong32 result = kUntouched;
    const auto style = (faults & kStyle) != 0 ? Zan::kFlp : Zan::kBestAvailable;
    EXPECT_EQ(operation.run(compositor, call.views, style, result), FirstOf(faults))
        << operation.name << ", operand " << plane.operand << ", channel " << plane.channel << ", faults "
        << faults;
    EXPECT_EQ(result, kUntouched) << operation.name;
    EXPECT_EQ(call.Contents(), before) << operation.name;
}

TEST(StatusOrder, OfOperationsOnViews) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (const ViewOperation& operation : ViewOperations()) {
            if (operation.isPass && !machine.HasSse2()) {
                continue;
            }
            for (const ViewOperation::Plane& plane : operation.planes) {
                for (unsigned faults = 1; faults < kAllFaults; ++faults) {
                    // Passes look at no format, the others at no style. Sources of a wipe may lack alpha.
                    const bool mayLack = operation.planes.size() > 4 && plane.channel == 3;
                    if ((faults & (operation.isPass ? kFormat : kStyle)) != 0 ||
                        ((faults & kNoMemory) != 0 && mayLack)) {
                        continue;
                    }
                    ExpectFirst(compositor, operation, plane, faults);
                }
            }
        }
    });
}

// Without SSE2 a pass has no path at all, whatever else is wrong.
TEST(StatusOrder, OfPassesWithoutTheirInstructions) {
    for (const auto set : {Zan::kScalarOnly, Zan::kMMX, Zan::kSSE_MMX, Zan::kSIMD}) {
        const Zan::ScopedInstructionSet scope(set);
        Zan::ZanCompositor compositor;
        for (const ViewOperation& operation : ViewOperations()) {
            if (!operation.isPass) {
                continue;
            }
            std::vector<Zan::ImageView> views(operation.operands(1, 1).size());
            Zan::ULong32 result = 5;
            EXPECT_EQ(operation.run(compositor, views, Zan::kBestAvailable, result), 100) << operation.name;
            EXPECT_EQ(result, 5U);
        }
    }
}

// A refused code path is refused before anything is asked of the planes.
TEST(StatusOrder, OfOperationsOnPlainMemory) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (const RawOperation& operation : RawOperations()) {
            const RawOperation::Planes nothing(operation.pixelBytes.size(), nullptr);
            const RawOperation::Pitches pitches(operation.pixelBytes.size(), 64);
            for (const unsigned path : {0U, 1U, 2U, 3U, 4U, 5U, 6U, 1000U, 0xFFFFFFFFU}) {
                const bool has =
                    std::count(operation.codePaths.begin(), operation.codePaths.end(), path) != 0;
                const bool differencesWithoutSse =
                    operation.name == "SumOfAbsDiffs" && path == 2 && !machine.TakesSse();
                if (!has || differencesWithoutSse) {
                    EXPECT_EQ(operation.run(compositor, nothing, pitches, 16, 4, path), 100)
                        << operation.name << ", path " << path;
                }
            }
        }
    });
}

}  // namespace

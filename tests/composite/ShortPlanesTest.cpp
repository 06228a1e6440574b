// Planes that are shorter than their image says: by a line, by a byte. A row that begins outside is refused;
// of a row that begins inside, what lies beyond the end is left out.

#include "composite/Operations.h"

using namespace composite_test;

namespace {

// Memory of its own for a plane of a picture, with the first bytes of what the plane held.
std::unique_ptr<FencedMemory> Shorten(Picture& picture, Zan::ULong32 channel, Zan::ULong32 bytesPerLine,
                                      Zan::ULong32 lines) {
    auto memory = std::make_unique<FencedMemory>(std::size_t{bytesPerLine} * lines);
    const auto* whole = static_cast<const std::uint8_t*>(picture->GetMemoryPointer(channel));
    std::copy_n(whole, memory->Length(), memory->Data());
    const Tuk::RCPtr<Zan::AlignedMemoryBuffer> buffer(
        new Zan::AlignedMemoryBuffer(memory->Data(), bytesPerLine, lines, 1, 1, Zan::kNoAliasWorkAround));
    // The colour channels of a packed picture are one plane.
    auto& channels = picture->GetImageDescriptor()->channels;
    for (Zan::ULong32 i = 0; i < channels.size(); ++i) {
        const bool isSeparateAlpha = i == 3 && picture->GetChannelSampling() == Zan::k4224;
        if (isSeparateAlpha == (channel == 3)) {
            channels[i].memory = buffer;
        }
    }
    return memory;
}

Zan::ULong32 LineBytes(Picture& picture, Zan::ULong32 channel, Zan::ULong32 lines) {
    return picture->GetMemorySize(channel) / lines;
}

TEST(ShortPlanes, ByOneLineAreRefused) {
    constexpr Zan::ULong32 kLines = 5;
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (const ViewOperation& operation : ViewOperations()) {
            if (operation.isPass && !machine.HasSse2()) {
                continue;
            }
            for (const ViewOperation::Plane& plane : operation.planes) {
                for (const auto style : {Zan::kFP, Zan::kBestAvailable}) {
                    if (operation.isPass && style != Zan::kBestAvailable) {
                        continue;
                    }
                    Call call(operation.operands(20, kLines));
                    Picture& picture = *call.pictures[plane.operand];
                    const auto memory = Shorten(picture, plane.channel,
                                                LineBytes(picture, plane.channel, kLines), kLines - 1);
                    const std::vector<Bytes> before = call.Contents();
                    const Bytes planeBefore = memory->Snapshot();
                    Zan::ULong32 result = 5;
                    EXPECT_EQ(operation.run(compositor, call.views, style, result), 98)
                        << operation.name << ", operand " << plane.operand << ", channel " << plane.channel;
                    EXPECT_EQ(call.Contents(), before) << operation.name;
                    EXPECT_EQ(memory->Snapshot(), planeBefore) << operation.name;
                    EXPECT_EQ(result, 5U) << operation.name;
                    // The lines that are there will do.
                    for (Zan::ImageView& view : call.views) {
                        view.SetRegionOfInterest(Zan::Rectangle(0, 0, 20, kLines - 1), Zan::kFrame);
                    }
                    EXPECT_EQ(operation.run(compositor, call.views, style, result), 0) << operation.name;
                }
            }
        }
    });
}

// The bytes that belong to a plane of one line.
Bytes LineOf(Picture& picture, Zan::ULong32 channel, std::size_t bytes) {
    const auto* first = static_cast<const std::uint8_t*>(picture->GetMemoryPointer(channel));
    return Bytes(first, first + bytes);
}

// One line, one byte short: all blocks that fit are as in the whole plane, and the bytes of the last one are
// either as in the whole plane or as they were.
TEST(ShortPlanes, ByOneByteAreClipped) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (const ViewOperation& operation : ViewOperations()) {
            if (operation.isPass && !machine.HasSse2()) {
                continue;
            }
            for (const ViewOperation::Plane& plane : operation.planes) {
                for (const Zan::ULong32 width : {2U, 8U, 24U, 66U}) {
                    for (const auto style : {Zan::kFP, Zan::kBestAvailable}) {
                        if (operation.isPass && style != Zan::kBestAvailable) {
                            continue;
                        }
                        SCOPED_TRACE(::testing::Message()
                                     << operation.name << ", operand " << plane.operand << ", channel "
                                     << plane.channel << ", width " << width << ", style " << style);
                        Call call(operation.operands(width, 1));
                        // The whole call, on a copy of the destination's bytes that is put back.
                        const std::size_t last = call.pictures.size() - 1;
                        Picture& written = *call.pictures[last];
                        const Zan::ULong32 writtenChannel = plane.operand == last ? plane.channel : 0;
                        const std::size_t lineBytes = written->GetMemorySize(writtenChannel);
                        const Bytes old = LineOf(written, writtenChannel, lineBytes);
                        const Bytes oldColour = LineOf(written, 0, written->GetMemorySize(0));
                        Zan::ULong32 wholeResult = 0;
                        ASSERT_EQ(operation.run(compositor, call.views, style, wholeResult), 0);
                        const Bytes whole = LineOf(written, writtenChannel, lineBytes);
                        std::copy(oldColour.begin(), oldColour.end(),
                                  static_cast<std::uint8_t*>(written->GetMemoryPointer(0)));
                        std::copy(old.begin(), old.end(),
                                  static_cast<std::uint8_t*>(written->GetMemoryPointer(writtenChannel)));

                        Picture& picture = *call.pictures[plane.operand];
                        const auto memory =
                            Shorten(picture, plane.channel, picture->GetMemorySize(plane.channel) - 1, 1);
                        const Bytes guardBefore = memory->Snapshot();
                        Zan::ULong32 result = 0;
                        ASSERT_EQ(operation.run(compositor, call.views, style, result), 0);
                        EXPECT_EQ(result & ~wholeResult, 0U) << "bits that no word has";
                        const Bytes guard = memory->Snapshot();
                        EXPECT_TRUE(std::equal(
                            guard.begin(), guard.begin() + static_cast<std::ptrdiff_t>(memory->GuardLength()),
                            guardBefore.begin()))
                            << "before the plane";
                        if (!operation.writes) {
                            continue;
                        }
                        const std::size_t there = lineBytes - (plane.operand == last ? 1 : 0);
                        const Bytes now = LineOf(written, writtenChannel, there);
                        const std::size_t block = writtenChannel == 3 ? 1 : operation.blockBytes;
                        const std::size_t complete = (lineBytes - 1) / block * block;
                        for (std::size_t i = 0; i < there; ++i) {
                            ASSERT_TRUE(now[i] == whole[i] || (i >= complete && now[i] == old[i])) << i;
                        }
                    }
                }
            }
        }
    });
}

}  // namespace

#include <TesselU/composite/ZanCompositor.h>
#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>
#include <gtest/gtest.h>

#include <vector>

#include "composite/Operations.h"

using namespace Zan;
using namespace composite_test;

namespace {

ImageDescriptor Rgb(ULong32 width, ULong32 height) {
    return {width, height, kRGB, kProgressive, kNoFields, kTopLeft, 1.0F};
}

}  // namespace

// A host may write into the descriptor of its image: one line that calls itself billions of rows is refused
// at once.
TEST(HostileViews, OneLineThatClaimsBillionsOfRows) {
    std::vector<unsigned char> memory(64, 7);
    Image image(memory.data(), 64, Rgb(16, 1), 1, 1);
    image.GetImageDescriptor()->height = 0x7FFFFFFFU;
    ImageView view(&image);
    const ScopedInstructionSet set(kSSE2);
    ZanCompositor compositor;
    EXPECT_EQ(compositor.Fill(view, 0, 0xFFFFFFFFU, kFP), kStatusUnsupportedField);
    ULong32 result = 5;
    EXPECT_EQ(compositor.ReadOnlySingleSource(view, result, kBestAvailable), kStatusUnsupportedField);
    EXPECT_EQ(result, 5U);
    EXPECT_EQ(memory, std::vector<unsigned char>(64, 7));
}

// The first view gives the size of a pass; a second view without rows gives nothing to it.
TEST(HostileViews, SecondSourceWithoutRows) {
    std::vector<unsigned char> memory(64 * 4, 1);
    std::vector<unsigned char> other(64 * 4, 0x80);
    Image first(memory.data(), 64, Rgb(16, 4), 1, 1);
    Image second(other.data(), 64, Rgb(16, 4), 1, 1);
    ImageView whole(&first);
    ImageView none(&second, Rectangle(0, 2000000000, 16, 4), kFrame);
    ASSERT_EQ(none.GetHeight(), 0U);
    const ScopedInstructionSet set(kSSE2);
    ZanCompositor compositor;
    ULong32 result = 0;
    ASSERT_EQ(compositor.ReadOnlyTwoSources(whole, none, result, kBestAvailable), kStatusOk);
    EXPECT_EQ(result, 0x01010101U);
}

// Rows of which 32 bits cannot count the bytes: 0x40000004 words are 16 bytes there. They are as long as the
// memory, and no longer; that a byte of it is written says that they are not taken for nothing either.
TEST(HostileViews, RowsThatClaimMoreBytesThanThereAreAddresses) {
    OnEveryMachine([](ZanCompositor& compositor, const Machine& machine) {
        for (const ViewOperation& operation : ViewOperations()) {
            if (operation.isPass && !machine.HasSse2()) {
                continue;
            }
            for (const ULong32 width : {0x40000004U, 0x7FFFFFFEU, 0x7FFFFFFFU}) {
                Call call(operation.operands(64, 2));
                for (ImageView& view : call.views) {
                    view.GetImage()->GetImageDescriptor()->width = width;
                    view.Set(view.GetImage());
                    ASSERT_EQ(view.GetWidth(), width);
                }
                const Bytes colour = call.pictures.back()->Colour(), alpha = call.pictures.back()->Alpha();
                ULong32 result = 0;
                EXPECT_EQ(operation.run(compositor, call.views, kBestAvailable, result), kStatusOk)
                    << operation.name;
                EXPECT_TRUE(call.pictures.back()->GuardsHold(colour, alpha)) << operation.name;
                if (operation.writes) {
                    EXPECT_FALSE(call.pictures.back()->Colour() == colour &&
                                 call.pictures.back()->Alpha() == alpha)
                        << operation.name;
                }
            }
        }
    });
}

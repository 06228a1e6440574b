#include "composite/FillModel.h"

using namespace composite_test;

namespace {

TEST(FillAlpha, EveryWidthAndStyle) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (const int style : AllStyles()) {
            for (Zan::Long32 width = 1; width <= 50; ++width) {
                for (const Zan::Long32 left : {0, 2, 6, 14}) {
                    Picture picture(
                        Format::YCrCb(66, 4, Zan::k4224).Padded(4, static_cast<Zan::ULong32>(width % 7)));
                    Zan::ImageView view = Part(picture, left, 1, width, 3);
                    PlaneModel expected = picture.Model(view, 3);
                    const Bytes colourBefore = picture.Colour();
                    Paint paint(expected, picture.Begin(3), picture.End(3),
                                reinterpret_cast<std::uintptr_t>(view.GetMemoryPointer(3)));
                    ExpectBytes(paint, ByteKernel(style, machine), view.GetPitch(3),
                                static_cast<unsigned>(width), 3, 0x5AU);
                    ASSERT_EQ(compositor.FillAlpha(view, 0xFFFFFF5AU, Style(style)), 0);
                    ASSERT_TRUE(Matches(expected, picture.Alpha()))
                        << width << " left " << left << " style " << style;
                    ASSERT_EQ(picture.Colour(), colourBefore);
                }
            }
        }
    });
}

TEST(FillAlpha, FieldsAndBottomLeftPictures) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (const int style : {1, 2, 3, 5}) {
            for (int kind = 0; kind < 3; ++kind) {
                Format format = Format::YCrCb(22, 6, Zan::k4224).Padded(0, 3);
                format = kind == 0 ? format.BottomLeft() : format.Interlaced();
                Picture picture(format);
                Zan::ImageView view = Part(picture, 0, 1, 22, 5,
                                           kind == 0   ? Zan::kFrame
                                           : kind == 1 ? Zan::kUpperField
                                                       : Zan::kLowerField);
                PlaneModel expected = picture.Model(view, 3);
                Paint paint(expected, picture.Begin(3), picture.End(3),
                            reinterpret_cast<std::uintptr_t>(view.GetMemoryPointer(3)));
                ExpectBytes(paint, ByteKernel(style, machine), view.GetPitch(3), 22,
                            static_cast<unsigned>(view.GetHeight()), 7);
                ASSERT_EQ(compositor.FillAlpha(view, 7, Style(style)), 0);
                ASSERT_TRUE(Matches(expected, picture.Alpha())) << kind << " style " << style;
            }
        }
    });
}

TEST(FillAlpha, Refusals) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine&) {
        for (const int style : AllStyles()) {
            for (const Format& format : {Format::Rgb(8, 2), Format::YCrCb(8, 2, Zan::k422),
                                         Format::YCrCb(8, 2, Zan::k4444), Format::Grey(8, 2)}) {
                Picture picture(format);
                Zan::ImageView view(picture);
                const Bytes before = picture.Colour();
                EXPECT_EQ(compositor.FillAlpha(view, 1, Style(style)), 4);
                EXPECT_EQ(picture.Colour(), before);
            }
            Picture picture(Format::YCrCb(8, 2, Zan::k4224));
            picture->GetImageDescriptor()->channels[3].memory = Tuk::RCPtr<Zan::AlignedMemoryBuffer>();
            Zan::ImageView view(picture);
            EXPECT_EQ(compositor.FillAlpha(view, 1, Style(style)), 1);
            Zan::ImageView nothing;
            const Zan::Long32 status = compositor.FillAlpha(nothing, 1, Style(style));
            EXPECT_TRUE(status == 1 || status == 4) << status;
        }
    });
}

}  // namespace

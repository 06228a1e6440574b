// gallery_operations A B FOLDER: a PNG picture of each operation of the library on the pictures A and B, and
// a line for it on standard output: "file<tab>family<tab>operation".

#include <TesselU/TesselU.h>

#include <cstdio>
#include <cstring>
#include <functional>
#include <stdexcept>
#include <string>

#include "media/PngEncoder.h"
#include "media/Reader.h"

namespace {

using namespace Zan;
using tool::ImagePtr;
using tool::Line;
using tool::Whole;

constexpr double kHalfWay = 0.5;

void Check(Long32 status) {
    if (status != kStatusOk) {
        throw std::runtime_error("the library returned status " + std::to_string(status));
    }
}

ULong32* Words(const ImagePtr& image, ULong32 channel = 0) {
    return static_cast<ULong32*>(image->GetMemoryPointer(channel));
}

Long32 Pitch(const ImagePtr& image, ULong32 channel = 0) {
    return static_cast<Long32>(image->GetPitch(channel));
}

class Gallery {
public:
    Gallery(const std::string& a, const std::string& b, std::string newFolder)
        : folder(std::move(newFolder)) {
        for (const auto& [path, picture] : {std::pair(&a, &rgbA), {&b, &rgbB}}) {
            tool::Reader reader(*path);
            format.width = reader.Width();
            format.height = reader.Height();
            *picture = Load(reader);
        }
        key = New(kFmtAlpha8);
        DrawKey(48);
        oval = New(kFmtAlpha8);
        DrawMask(*oval, 3, 0.5F);
    }

    void Compositing() {
        Show("compositor", "Fill", [&](ImageView& out) {
            Copy(rgbA, out);
            const Rectangle part(Side(0.25), Side(0.1), Side(0.75), Side(0.4));
            ImageView region(out.GetImage(), part, kFrame);
            Check(compositor.Fill(region, 0xFF2060C0, 0xFFFFFFFF, kBestAvailable));
        });
        Show("compositor", "Fill under a mask", [&](ImageView& out) {
            Copy(rgbA, out);
            Check(compositor.Fill(out, 0xFF0000FF, 0x000000FF, kBestAvailable));
        });
        Show("compositor", "ReadTwoSourcesWriteDst", [&](ImageView& out) {
            ImageView a = Whole(*rgbA), b = Whole(*rgbB);
            Check(compositor.ReadTwoSourcesWriteDst(a, b, out, kBestAvailable));
        });
        Show("compositor", "CrossDissolve", [&](ImageView& out) {
            ImageView a = Whole(*rgbA), b = Whole(*rgbB);
            Check(compositor.CrossDissolve(a, b, out, kHalfWay, kBestAvailable));
        });
        Show("compositor", "CompositeTwoSources", [&](ImageView& out) {
            const ImagePtr front = WithAlpha(rgbB);
            ImageView a = Whole(*rgbA), b = Whole(*front);
            Check(compositor.CompositeTwoSources(a, b, out, kBestAvailable));
        });
        Show("compositor", "CompositeTwoSrcAndAlpha", [&](ImageView& out) {
            ImageView a = Whole(*rgbA), b = Whole(*rgbB), alpha = Whole(*oval);
            Check(compositor.CompositeTwoSrcAndAlpha(a, b, alpha, out, kBestAvailable));
        });
        Show("compositor", "CompositeUnshapedAoverBwithFadeOfA", [&](ImageView& out) {
            const ImagePtr front = WithAlpha(rgbB);
            ImageView a = Whole(*front), b = Whole(*rgbA);
            out.GetImage()->SetPixelShaping(kShaped);
            Check(compositor.CompositeUnshapedAoverBwithFadeOfA(a, b, out, 0.7, kBestAvailable));
            out.GetImage()->SetPixelShaping(kUnshaped);
        });
        Show("compositor", "AoverB", [&](ImageView& out) { AoverB(out); });
        Show("compositor", "CompositeTwoSrcAndAlphaGradient", [&](ImageView& out) {
            ImageView a = Whole(*rgbA), b = Whole(*rgbB), map = Whole(*key);
            Check(compositor.CompositeTwoSrcAndAlphaGradient(a, b, map, out, kHalfWay, 24, kBestAvailable));
        });
        Show("compositor", "CompositeTwoSrcAndAlphaGradientWithBorder", [&](ImageView& out) {
            ImageView a = Whole(*rgbA), b = Whole(*rgbB), map = Whole(*key);
            Check(compositor.CompositeTwoSrcAndAlphaGradientWithBorder(a, b, map, out, kHalfWay, 4, 20, 12,
                                                                       0xFFFFC000, kBestAvailable));
        });
    }

    void PlainMemory() {
        const ULong32 w = format.width, h = format.height;
        Show("compositor, plain memory", "CompositeTwoSrcCSCAndAlphaGradient", [&](ImageView& out) {
            const ImagePtr a = Converted(rgbA, kFmtCbYCrY), b = Converted(rgbB, kFmtCbYCrY);
            Check(compositor.CompositeTwoSrcCSCAndAlphaGradient(
                Words(a), Words(b), Words(key), static_cast<ULong32*>(out.GetMemoryPointer(0)), w, h,
                Pitch(a), Pitch(b), Pitch(key), out.GetPitch(0), kHalfWay, 0.1, kInt_MMXorSIMD));
        });
        Show("compositor, plain memory", "SumOfAbsDiffs", [&](ImageView& out) {
            const ImagePtr sums = New(kFmtAlpha8);
            Check(compositor.SumOfAbsDiffs(Words(rgbA), Words(rgbB), Line(*sums, 0), w, h, Pitch(rgbA),
                                           Pitch(rgbB), Pitch(sums), kFP));
            Spread(*sums, out);
        });
        Show("compositor, plain memory", "XSubPixelPosition", [&](ImageView& out) {
            Check(compositor.XSubPixelPosition(Words(rgbA), static_cast<ULong32*>(out.GetMemoryPointer(0)), w,
                                               h, Pitch(rgbA), out.GetPitch(0), kHalfWay, kFP));
        });
    }

    void Conversions() {
        for (const auto& [samples, name] : {std::pair(kFmtCbYCrY, "to packed 4:2:2 and back"),
                                            {kFmtPlanar420, "to planar 4:2:0 and back"},
                                            {kFmtPlanar411, "to planar 4:1:1 and back"},
                                            {kFmtCbYCrYMono, "to monochrome and back"}}) {
            Show("converter", name, [&, wanted = samples](ImageView& out) {
                const ImagePtr between = Converted(rgbA, wanted);
                ImageView from = Whole(*between);
                Check(converter.Do(from, out, kBestAvailable, nullptr, nullptr));
            });
        }
        Show("converter", "Shape", [&](ImageView& out) {
            const ImagePtr picture = WithAlpha(rgbA);
            ImageView view = Whole(*picture);
            Check(converter.Shape(view, kBestAvailable));
            Copy(picture, out);
        });
        Show("converter", "Unshape", [&](ImageView& out) {
            const ImagePtr picture = WithAlpha(rgbA);
            ImageView view = Whole(*picture);
            Check(converter.Shape(view, kBestAvailable));
            Check(converter.Unshape(view, kBestAvailable));
            Copy(picture, out);
        });
    }

    void Masks() {
        const char* const names[] = {"half plane", "rectangle", "ellipse"};
        for (ULong32 shape = 1; shape <= 3; ++shape) {
            Show("masks", names[shape - 1], [&](ImageView& out) {
                const ImagePtr mask = New(kFmtAlpha8);
                std::memset(Line(*mask, 0), 0, mask->GetMemorySize(0));
                DrawMask(*mask, shape, 0.3F);
                Spread(*mask, out);
            });
        }
    }

private:
    ImagePtr New(ConverterFormat samples) const {
        tool::PictureFormat wanted = format;
        wanted.samples = samples;
        return tool::NewPicture(wanted);
    }

    ImagePtr Load(tool::Reader& reader) const {
        tool::PictureFormat wanted = format;
        wanted.samples = kFmtRGB32;
        reader.SetTarget(wanted, reader.Aspect());
        const tool::SharedPicture picture = reader.PictureAt(0, 0);
        ImagePtr own = New(kFmtRGB32);
        for (unsigned y = 0; y < format.height; ++y) {
            std::memcpy(Line(*own, y), Line(*picture, y), std::size_t{format.width} * 4);
        }
        return own;
    }

    Long32 Side(double part) const {
        return static_cast<Long32>(part * (format.width < format.height ? format.width : format.height));
    }

    void Copy(const ImagePtr& from, ImageView& to) const {
        for (unsigned y = 0; y < format.height; ++y) {
            std::memcpy(Line(*to.GetImage(), y), Line(*from, y), std::size_t{format.width} * 4);
        }
    }

    /// Grey to opaque RGB.
    void Spread(const Image& grey, ImageView& to) const {
        for (unsigned y = 0; y < format.height; ++y) {
            std::uint8_t* out = Line(*to.GetImage(), y);
            for (unsigned x = 0; x < format.width; ++x) {
                std::memset(out + 4 * x, Line(grey, y)[x], 3);
                out[4 * x + 3] = 255;
            }
        }
    }

    ImagePtr WithAlpha(const ImagePtr& picture) const {
        ImagePtr made = New(kFmtRGB32);
        for (unsigned y = 0; y < format.height; ++y) {
            std::memcpy(Line(*made, y), Line(*picture, y), std::size_t{format.width} * 4);
            for (unsigned x = 0; x < format.width; ++x) {
                Line(*made, y)[4 * x + 3] = Line(*oval, y)[x];
            }
        }
        return made;
    }

    ImagePtr Converted(const ImagePtr& picture, ConverterFormat samples) {
        ImagePtr made = New(samples);
        ImageView from = Whole(*picture), to = Whole(*made);
        Check(converter.Do(from, to, kBestAvailable, nullptr, nullptr));
        return made;
    }

    void DrawKey(ULong32 pattern) {
        GradientGenerator::WgrGradientData map = {sizeof map, format.width,  format.height, Pitch(key), 8, 8,
                                                  255,        Line(*key, 0), 16 / 9.0F,     0.25F,      0};
        Check(GradientGenerator::WgrGenerateGradient(&map, pattern));
    }

    void DrawMask(Image& mask, ULong32 shape, float softness) const {
        std::memset(Line(mask, 0), 0, mask.GetMemorySize(0));
        const auto w = static_cast<float>(format.width), h = static_cast<float>(format.height);
        GradientGenerator::WgrMaskData data = {};
        data.structSize = sizeof data;
        data.width = format.width;
        data.height = format.height;
        data.pitch = static_cast<Long32>(mask.GetPitch(0));
        data.bitsPerSample = data.significantBits = 8;
        data.peakValue = 255;
        data.pixels = Line(mask, 0);
        data.aspectRatio = 1;
        data.x0 = w / 5;
        data.y0 = h / 8;
        data.x1 = w - data.x0;
        data.y1 = h - data.y0;
        data.softnessX = data.softnessY = softness;
        Check(GradientGenerator::WgrGenerateMask(&data, shape));
    }

    /// Its result counts from 0, and takes alpha of the first line.
    void AoverB(ImageView& out) {
        const ImagePtr a = New(kFmtCbYCrY4), b = New(kFmtCbYCrY4Shaped), mixed = New(kFmtCbYCrY4Shaped);
        ImageView from = Whole(*rgbB), to = Whole(*a);
        Check(converter.Do(from, to, kBestAvailable, nullptr, nullptr));
        const ImagePtr behind = Converted(rgbA, kFmtCbYCrY);
        for (unsigned y = 0; y < format.height; ++y) {
            std::memcpy(Line(*b, y), Line(*behind, y), std::size_t{format.width} * 2);
            std::memset(Line(*b, y, tool::kAlphaChannel), 255, format.width);
            for (unsigned x = 0; x < format.width; ++x) {
                Line(*a, y, tool::kAlphaChannel)[x] = static_cast<std::uint8_t>(255 * x / (format.width - 1));
            }
        }
        b->SetPixelShaping(kShaped2);
        mixed->SetPixelShaping(kShaped2);
        ImageView viewA = Whole(*a), viewB = Whole(*b), viewMixed = Whole(*mixed);
        Check(compositor.AoverB(viewA, viewB, viewMixed, kBestAvailable));
        for (unsigned y = 0; y < format.height; ++y) {
            for (unsigned i = 0; i < 2 * format.width; ++i) {
                std::uint8_t& sample = Line(*behind, y)[i];
                sample = static_cast<std::uint8_t>(Line(*mixed, y)[i] + (i % 2 == 0 ? 128 : 16));
            }
        }
        ImageView shown = Whole(*behind);
        Check(converter.Do(shown, out, kBestAvailable, nullptr, nullptr));
    }

    void Show(const char* family, const char* operation, const std::function<void(ImageView&)>& make) {
        const ImagePtr made = New(kFmtRGB32);
        ImageView out = Whole(*made);
        std::memset(Line(*made, 0), 0, made->GetMemorySize(0));
        make(out);
        tool::Raster raster(format.width, format.height);
        for (unsigned y = 0; y < format.height; ++y) {
            for (unsigned x = 0; x < format.width; ++x) {
                for (int i = 0; i < 3; ++i) {
                    raster.At(x, y)[i] = Line(*made, y)[4 * x + 2 - static_cast<unsigned>(i)];
                }
            }
        }
        const std::string name = "operation-" + std::to_string(++count) + ".png";
        tool::OutputFile file(folder + "/" + name);
        tool::WritePng(file, raster);
        std::printf("%s\t%s\t%s\n", name.c_str(), family, operation);
    }

    std::string folder;
    tool::PictureFormat format;
    ImagePtr rgbA, rgbB, key, oval;
    ZanCompositor compositor;
    ColorSpaceConverter converter;
    int count = 0;
};

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: gallery_operations A B FOLDER\n");
        return 2;
    }
    try {
        Gallery gallery(argv[1], argv[2], argv[3]);
        gallery.Compositing();
        gallery.PlainMemory();
        gallery.Conversions();
        gallery.Masks();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "gallery_operations: %s\n", error.what());
        return 1;
    }
    return 0;
}

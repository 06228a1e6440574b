#include "Gallery.h"

#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace gallery {

void Check(Long32 status) {
    if (status != kStatusOk) {
        throw std::runtime_error("the library returned status " + std::to_string(status));
    }
}

Gallery::Gallery(const std::string& a, const std::string& b, std::string newFolder)
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

void Gallery::Show(const char* family, const char* operation, const std::function<void(ImageView&)>& make) {
    const ImagePtr made = New(kFmtRGB32);
    ImageView out = Whole(*made);
    std::memset(Line(*made, 0), 0, made->GetMemorySize(0));
    make(out);
    Write(family, operation, RasterOf(*made));
}

void Gallery::Beside(const char* operation, const std::function<void(ImageView&)>& make) {
    const ImagePtr made = New(kFmtRGB32);
    ImageView out = Whole(*made);
    make(out);
    tool::Raster both(2 * format.width, format.height);
    tool::Place(both, RasterOf(*rgbA), 0, 0);
    tool::Place(both, RasterOf(*made), format.width, 0);
    Write("tone", operation, both);
}

void Gallery::Write(const char* family, const char* operation, const tool::Raster& raster) {
    const std::string name = "operation-" + std::to_string(++count) + ".png";
    tool::OutputFile file(folder + "/" + name);
    tool::WritePng(file, raster);
    std::printf("%s\t%s\t%s\n", name.c_str(), family, operation);
}

tool::Raster Gallery::RasterOf(const Image& rgb) const {
    tool::Raster raster(format.width, format.height);
    for (unsigned y = 0; y < format.height; ++y) {
        for (unsigned x = 0; x < format.width; ++x) {
            for (int i = 0; i < 3; ++i) {
                raster.At(x, y)[i] = Line(rgb, y)[4 * x + 2 - static_cast<unsigned>(i)];
            }
        }
    }
    return raster;
}

ImagePtr Gallery::Load(tool::Reader& reader) const {
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

ImagePtr Gallery::New(ConverterFormat samples) const {
    tool::PictureFormat wanted = format;
    wanted.samples = samples;
    return tool::NewPicture(wanted);
}

ImagePtr Gallery::WithAlpha(const ImagePtr& picture) const {
    ImagePtr made = New(kFmtRGB32);
    for (unsigned y = 0; y < format.height; ++y) {
        std::memcpy(Line(*made, y), Line(*picture, y), std::size_t{format.width} * 4);
        for (unsigned x = 0; x < format.width; ++x) {
            Line(*made, y)[4 * x + 3] = Line(*oval, y)[x];
        }
    }
    return made;
}

ImagePtr Gallery::Converted(const ImagePtr& picture, ConverterFormat samples) {
    ImagePtr made = New(samples);
    ImageView from = Whole(*picture), to = Whole(*made);
    Check(converter.Do(from, to, kBestAvailable, nullptr, nullptr));
    return made;
}

Long32 Gallery::Side(double part) const {
    return static_cast<Long32>(part * (format.width < format.height ? format.width : format.height));
}

void Gallery::Copy(const ImagePtr& from, ImageView& to) const {
    for (unsigned y = 0; y < format.height; ++y) {
        std::memcpy(Line(*to.GetImage(), y), Line(*from, y), std::size_t{format.width} * 4);
    }
}

void Gallery::Spread(const Image& grey, ImageView& to) const {
    for (unsigned y = 0; y < format.height; ++y) {
        std::uint8_t* out = Line(*to.GetImage(), y);
        for (unsigned x = 0; x < format.width; ++x) {
            std::memset(out + 4 * x, Line(grey, y)[x], 3);
            out[4 * x + 3] = 255;
        }
    }
}

}  // namespace gallery

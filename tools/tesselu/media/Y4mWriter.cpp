#include "media/Y4mWriter.h"

#include "Errors.h"
#include "media/Planes.h"

namespace tool {
namespace {

const char* Interlacing(Zan::ScanStyleEnum scan) {
    switch (scan) {
        case Zan::kUpperFieldFirst:
            return "It";
        case Zan::kLowerFieldFirst:
            return "Ib";
        default:
            return "Ip";
    }
}

}  // namespace

Y4mWriter::Y4mWriter(const std::string& path, const PictureFormat& format)
    : file(path),
      out(path, std::ios::binary | std::ios::trunc),
      planes(std::size_t{2} * format.width * format.height) {
    out << "YUV4MPEG2 W" << format.width << " H" << format.height << " F" << format.rate.num << ':'
        << format.rate.den << ' ' << Interlacing(format.scan) << " A" << format.pixelAspect.num << ':'
        << format.pixelAspect.den << " C422\n";
    Check();
}

void Y4mWriter::Write(Zan::Image& picture) {
    const std::size_t luma = planes.size() / 2;
    const int pitch = static_cast<int>(picture.GetWidth());
    ToPlanes(picture, {planes.data(), planes.data() + luma, planes.data() + luma + luma / 2},
             {pitch, pitch / 2, pitch / 2});
    out << "FRAME\n";
    out.write(reinterpret_cast<const char*>(planes.data()), static_cast<std::streamsize>(planes.size()));
    Check();
}

void Y4mWriter::Finish() {
    out.close();
    Check();
    file.Keep();
}

void Y4mWriter::Check() const {
    if (!out)
        throw Failure(file.Path() + ": cannot be written");
}

}  // namespace tool

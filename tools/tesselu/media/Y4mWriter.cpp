#include "media/Y4mWriter.h"

#include <cstring>
#include <string_view>

#include "Errors.h"
#include "media/Planes.h"
#include "media/Resampler.h"

namespace tool {
namespace {

constexpr std::string_view kFrameWord = "FRAME\n";

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
      planes(ShellOf(AV_PIX_FMT_YUV422P, static_cast<int>(format.width), static_cast<int>(format.height))),
      frame(kFrameWord.size() + std::size_t{2} * format.width * format.height) {
    const std::string header = "YUV4MPEG2 W" + std::to_string(format.width) + " H" +
                               std::to_string(format.height) + " F" + std::to_string(format.rate.num) + ":" +
                               std::to_string(format.rate.den) + " " + Interlacing(format.scan) + " A" +
                               std::to_string(format.pixelAspect.num) + ":" +
                               std::to_string(format.pixelAspect.den) + " C422 XCOLORRANGE=LIMITED\n";
    file.Write(header.data(), header.size());
    std::memcpy(frame.data(), kFrameWord.data(), kFrameWord.size());
    const std::size_t luma = std::size_t{format.width} * format.height;
    planes->data[0] = frame.data() + kFrameWord.size();
    planes->data[1] = planes->data[0] + luma;
    planes->data[2] = planes->data[1] + luma / 2;
    planes->linesize[0] = planes->width;
    planes->linesize[1] = planes->linesize[2] = planes->width / 2;
}

void Y4mWriter::Write(const Zan::Image& picture) {
    ToPlanes(picture, *planes);
    file.Write(frame.data(), frame.size());
}

void Y4mWriter::Finish() {
    file.Keep();
}

}  // namespace tool

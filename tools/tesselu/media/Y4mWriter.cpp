#include "media/Y4mWriter.h"

#include <cstring>
#include <string_view>

#include "Errors.h"
#include "media/Planes.h"
#include "media/Resampler.h"
#include "media/Samples.h"

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

/// Of 4:2:0 the chroma stands to the left, as in all video of our days.
const char* ColourSpace(AVPixelFormat format) {
    switch (format) {
        case AV_PIX_FMT_YUV420P:
            return "420mpeg2";
        case AV_PIX_FMT_YUV411P:
            return "411";
        case AV_PIX_FMT_YUV444P:
            return "444";
        case AV_PIX_FMT_GRAY8:
            return "mono";
        default:
            return "422";
    }
}

}  // namespace

Y4mWriter::Y4mWriter(const std::string& path, const PictureFormat& format, const StoredFrames& newStored)
    : stored(newStored),
      file(path),
      planes(ShellOf(stored.format, static_cast<int>(format.width), static_cast<int>(format.height))) {
    const std::string header = "YUV4MPEG2 W" + std::to_string(format.width) + " H" +
                               std::to_string(format.height) + " F" + std::to_string(format.rate.num) + ":" +
                               std::to_string(format.rate.den) + " " + Interlacing(format.scan) + " A" +
                               std::to_string(format.pixelAspect.num) + ":" +
                               std::to_string(format.pixelAspect.den) + " C" + ColourSpace(stored.format) +
                               " XCOLORRANGE=" + (HasFullRange(stored.format) ? "FULL" : "LIMITED") + "\n";
    file.Write(header.data(), header.size());
    const int bytes =
        CheckLibav(av_image_get_buffer_size(stored.format, planes->width, planes->height, 1), path);
    frame.resize(kFrameWord.size() + static_cast<std::size_t>(bytes));
    std::memcpy(frame.data(), kFrameWord.data(), kFrameWord.size());
    CheckLibav(av_image_fill_arrays(planes->data, planes->linesize, frame.data() + kFrameWord.size(),
                                    stored.format, planes->width, planes->height, 1),
               path);
}

void Y4mWriter::Write(const Zan::Image& picture) {
    stored.Fill(picture, *planes);
    file.Write(frame.data(), frame.size());
}

void Y4mWriter::Finish() {
    file.Keep();
}

}  // namespace tool

#include "media/PngSequenceWriter.h"

#include "media/Planes.h"

namespace tool {
namespace {

constexpr int kEffort = 4;  ///< of 9; more takes far longer and saves little

AVPixelFormat SamplesOf(const PictureFormat& format) {
    return format.hasAlpha ? AV_PIX_FMT_RGBA : AV_PIX_FMT_RGB24;
}

}  // namespace

PngSequenceWriter::PngSequenceWriter(const std::string& pattern, const PictureFormat& format, long first,
                                     int threads)
    : name(pattern),
      hasAlpha(format.hasAlpha),
      conversion(format),
      encoder(SamplesOf(format), static_cast<int>(format.width), static_cast<int>(format.height), kEffort,
              threads),
      number(first) {
    // The first file is made here, so that a bad place is found before the work.
    file.emplace(name.At(number));
}

void PngSequenceWriter::Write(const Zan::Image& picture) {
    const Zan::Image& rgb = conversion.Convert(picture);
    // The encoder keeps frames for a while, so each has memory of its own.
    const FramePtr frame = NewFrame(hasAlpha ? AV_PIX_FMT_RGBA : AV_PIX_FMT_RGB24,
                                    static_cast<int>(rgb.GetWidth()), static_cast<int>(rgb.GetHeight()));
    for (unsigned y = 0; y < rgb.GetHeight(); ++y) {
        const std::uint8_t* bgra = Line(rgb, y);
        std::uint8_t* out = frame->data[0] + std::ptrdiff_t{frame->linesize[0]} * y;
        if (hasAlpha) {
            const std::uint8_t* alpha = Line(picture, y, kAlphaChannel);
            for (unsigned x = 0; x < rgb.GetWidth(); ++x, bgra += 4, out += 4) {
                out[0] = Unshaped(bgra[2], 0, alpha[x]);
                out[1] = Unshaped(bgra[1], 0, alpha[x]);
                out[2] = Unshaped(bgra[0], 0, alpha[x]);
                out[3] = alpha[x];
            }
        } else {
            for (unsigned x = 0; x < rgb.GetWidth(); ++x, bgra += 4, out += 3) {
                out[0] = bgra[2];
                out[1] = bgra[1];
                out[2] = bgra[0];
            }
        }
    }
    frame->pts = sent++;
    encoder.Send(frame.get());
    Take();
}

void PngSequenceWriter::Take() {
    while (const AVPacket* packet = encoder.Receive()) {
        if (!file)
            file.emplace(name.At(number));
        file->Write(packet->data, static_cast<std::size_t>(packet->size));
        file->Keep();
        file.reset();
        ++number;
    }
}

void PngSequenceWriter::Finish() {
    encoder.Send(nullptr);
    Take();
}

}  // namespace tool

#include "media/PngSequenceWriter.h"

namespace tool {
namespace {

constexpr int kEffort = 4;  ///< of 9; more takes far longer and saves little

AVPixelFormat SamplesOf(const PictureFormat& format) {
    return format.hasAlpha ? AV_PIX_FMT_RGBA : AV_PIX_FMT_RGB24;
}

}  // namespace

PngSequenceWriter::PngSequenceWriter(const std::string& pattern, const PictureFormat& format,
                                     const StoredFrames& newStored, long first, int threads)
    : name(pattern),
      stored(newStored),
      samples(stored.samples ? stored.format : SamplesOf(format)),
      encoder(samples, static_cast<int>(format.width), static_cast<int>(format.height), kEffort, threads),
      number(first) {
    if (!stored.samples) {
        conversion.emplace(format);
    }
    // The first file is made here, so that a bad place is found before the work.
    file.emplace(name.At(number));
}

void PngSequenceWriter::Write(const Zan::Image& picture) {
    // The encoder keeps frames for a while, so each has memory of its own.
    const FramePtr frame =
        NewFrame(samples, static_cast<int>(picture.GetWidth()), static_cast<int>(picture.GetHeight()));
    if (conversion) {
        conversion->Fill(picture, *frame);
    } else {
        stored.Fill(picture, *frame);
    }
    frame->pts = sent++;
    encoder.Send(frame.get());
    Take();
}

void PngSequenceWriter::Take() {
    while (const AVPacket* packet = encoder.Receive()) {
        if (!file) {
            file.emplace(name.At(number));
        }
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

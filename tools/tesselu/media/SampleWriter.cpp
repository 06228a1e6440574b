#include "media/SampleWriter.h"

#include "media/Samples.h"

namespace tool {

SampleWriter::SampleWriter(const std::string& path, const PictureFormat& format)
    : samples(format.Samples()), file(path), bytes(BytesOfFrame(samples, format.width, format.height)) {}

void SampleWriter::Write(const Zan::Image& picture) {
    CopyToBytes(picture, samples, bytes.data());
    file.Write(bytes.data(), bytes.size());
}

void SampleWriter::Finish() {
    file.Keep();
}

}  // namespace tool

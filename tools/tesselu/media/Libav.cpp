#include "media/Libav.h"

#include <new>

#include "Errors.h"

namespace tool {

FramePtr NewFrame() {
    FramePtr frame(av_frame_alloc());
    if (!frame) {
        throw std::bad_alloc();
    }
    return frame;
}

PacketPtr NewPacket() {
    PacketPtr packet(av_packet_alloc());
    if (!packet) {
        throw std::bad_alloc();
    }
    return packet;
}

FramePtr NewFrame(AVPixelFormat format, int width, int height) {
    FramePtr frame = NewFrame();
    frame->format = format;
    frame->width = width;
    frame->height = height;
    if (av_frame_get_buffer(frame.get(), 0) < 0) {
        throw std::bad_alloc();
    }
    return frame;
}

std::string LibavText(int error) {
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(error, text, sizeof text);
    return text;
}

int CheckLibav(int result, const std::string& about) {
    if (result >= 0) {
        return result;
    }
    throw Failure(about + " (" + LibavText(result) + ")");
}

std::string LocalFile(const std::string& path) {
    return "file:" + path;
}

}  // namespace tool

#ifndef TESSELU_TESTS_IMAGE_IMAGEFIXTURES_H
#define TESSELU_TESTS_IMAGE_IMAGEFIXTURES_H

#include <TesselU/foundation/Status.h>
#include <TesselU/image/Image.h>
#include <gtest/gtest.h>

#include <set>
#include <vector>

namespace Zan::test {

/// An image with a null descriptor answers 0 wherever that is safe to ask.
inline void ExpectEmpty(Image& image) {
    EXPECT_EQ(image.GetImageDescriptor(), nullptr);
    EXPECT_EQ(image.GetWidth(), 0U);
    EXPECT_EQ(image.GetHeight(), 0U);
    EXPECT_EQ(image.GetMemoryPointer(0), nullptr);
    EXPECT_EQ(image.GetBufferAlignment(0), 0U);
    EXPECT_EQ(image.GetLineAlignment(0), 0U);
    EXPECT_EQ(image.GetWidth(0), 0U);
    EXPECT_EQ(image.GetHeight(0), 0U);
    EXPECT_EQ(image.GetPitch(0), 0U);
    EXPECT_EQ(image.GetBytesPerLine(0), 0U);
    EXPECT_EQ(image.GetMemorySize(0), 0U);
    EXPECT_EQ(image.GetBytesPerChannel(0), 0.0F);
    EXPECT_EQ(image.GetBytesPerPixel(), 0.0F);
    EXPECT_EQ(image.GetAlphaChannelDescription(), kNoAlpha);
    EXPECT_EQ(image.SetAlphaChannelDescription(kAlphaOpaque), kStatusBadArgument);
    EXPECT_EQ(image.SetBlackAndWhiteLevel(0, 1, 0), kStatusUnsupportedKind);
    EXPECT_EQ(image.SetClampLowAndHighLevel(0, 1, 0), kStatusUnsupportedKind);
    image.SetOrigin(kBottomLeft);
}

/// A host that hands out memory and watches it.
struct Host {
    struct Request {
        ULong32 totalSize;
        ULong32 bufferAlignment;
        ULong32 lineAlignment;
        unsigned char* memory;
    };
    std::vector<Request> requests;
    std::set<void*> lent;
    bool refuse = false;

    ~Host() { EXPECT_TRUE(lent.empty()) << "memory was not given back"; }

    static unsigned char* Alloc(void* context, ULong32 totalSize, ULong32 bufferAlignment,
                                ULong32 lineAlignment) {
        Host& host = *static_cast<Host*>(context);
        auto* const memory = host.refuse ? nullptr : new unsigned char[totalSize];
        host.requests.push_back({totalSize, bufferAlignment, lineAlignment, memory});
        if (memory) {
            host.lent.insert(memory);
        }
        return memory;
    }
    static void Free(void* context, void* memory) {
        Host& host = *static_cast<Host*>(context);
        EXPECT_EQ(host.lent.erase(memory), 1U) << "not ours, or twice";
        delete[] static_cast<unsigned char*>(memory);
    }
};

}  // namespace Zan::test

#endif  // TESSELU_TESTS_IMAGE_IMAGEFIXTURES_H

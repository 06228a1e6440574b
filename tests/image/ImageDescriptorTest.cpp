#include <TesselU/image/ImageDescriptor.h>
#include <gtest/gtest.h>

#include <cstddef>

namespace Zan {
namespace {

// A buffer that shows its reference count and its end.
class CountedBuffer : public AlignedMemoryBuffer {
public:
    explicit CountedBuffer(bool* destroyedFlag = nullptr)
        : AlignedMemoryBuffer(16, 16, kNoAliasWorkAround), destroyed(destroyedFlag) {}
    ~CountedBuffer() override {
        if (destroyed) {
            *destroyed = true;
        }
    }
    void AddReference() noexcept override {
        ++count;
        AlignedMemoryBuffer::AddReference();
    }
    void RemoveReference() noexcept override {
        --count;
        AlignedMemoryBuffer::RemoveReference();
    }

    int count = 0;

private:
    bool* destroyed;
};

TEST(ChannelDescriptor, DefaultIsVersionMinusOneAndZero) {
    const ChannelDescriptor c;
    EXPECT_EQ(c.version, -1.0F);
    EXPECT_FALSE(c.memory);
    EXPECT_EQ(c.width, 0U);
    EXPECT_EQ(c.height, 0U);
    EXPECT_EQ(c.isAlpha, 0U);
    EXPECT_EQ(c.bitsPerSample, 0U);
    EXPECT_EQ(static_cast<int>(c.sampling), 0);
    EXPECT_EQ(static_cast<int>(c.gamma), 0);
    EXPECT_EQ(static_cast<int>(c.scanStyle), 0);
    EXPECT_EQ(static_cast<int>(c.fieldPacking), 0);
    EXPECT_EQ(static_cast<int>(c.alphaDescription), 0);
    EXPECT_EQ(c.blackLevel, 0.0F);
    EXPECT_EQ(c.whiteLevel, 0.0F);
    EXPECT_EQ(c.clampLowLevel, 0.0F);
    EXPECT_EQ(c.clampHighLevel, 0.0F);
}

TEST(ChannelDescriptor, FieldsLieInTheirOrder) {
    constexpr std::size_t kPointer = sizeof(void*);
    EXPECT_EQ(offsetof(ChannelDescriptor, version), 0U);
    EXPECT_EQ(offsetof(ChannelDescriptor, memory), kPointer);
    constexpr std::size_t kAfter = 2 * kPointer;
    EXPECT_EQ(offsetof(ChannelDescriptor, width), kAfter);
    EXPECT_EQ(offsetof(ChannelDescriptor, height), kAfter + 4);
    EXPECT_EQ(offsetof(ChannelDescriptor, isAlpha), kAfter + 8);
    EXPECT_EQ(offsetof(ChannelDescriptor, bitsPerSample), kAfter + 12);
    EXPECT_EQ(offsetof(ChannelDescriptor, sampling), kAfter + 16);
    EXPECT_EQ(offsetof(ChannelDescriptor, gamma), kAfter + 20);
    EXPECT_EQ(offsetof(ChannelDescriptor, scanStyle), kAfter + 24);
    EXPECT_EQ(offsetof(ChannelDescriptor, fieldPacking), kAfter + 28);
    EXPECT_EQ(offsetof(ChannelDescriptor, alphaDescription), kAfter + 32);
    EXPECT_EQ(offsetof(ChannelDescriptor, blackLevel), kAfter + 36);
    EXPECT_EQ(offsetof(ChannelDescriptor, whiteLevel), kAfter + 40);
    EXPECT_EQ(offsetof(ChannelDescriptor, clampLowLevel), kAfter + 44);
    EXPECT_EQ(offsetof(ChannelDescriptor, clampHighLevel), kAfter + 48);
}

TEST(ChannelDescriptor, SetColorFillsEveryField) {
    const Tuk::RCPtr<AlignedMemoryBuffer> buffer(new CountedBuffer);
    ChannelDescriptor c;
    c.isAlpha = 1;
    c.alphaDescription = kAlphaTransparent;
    c.SetColor(2.5F, buffer, 360, 243, kLowerFieldFirst, kNoFields, 16, kHalfBoth, kGammaVideo, 0.125F,
               0.875F, 0.25F, 0.75F);
    EXPECT_EQ(c.version, 2.5F);
    EXPECT_EQ(c.memory.get(), buffer.get());
    EXPECT_EQ(c.width, 360U);
    EXPECT_EQ(c.height, 243U);
    EXPECT_EQ(c.isAlpha, 0U);
    EXPECT_EQ(c.bitsPerSample, 16U);
    EXPECT_EQ(c.sampling, kHalfBoth);
    EXPECT_EQ(c.gamma, kGammaVideo);
    EXPECT_EQ(c.scanStyle, kLowerFieldFirst);
    EXPECT_EQ(c.fieldPacking, kNoFields);
    EXPECT_EQ(c.alphaDescription, kNoAlpha);
    EXPECT_EQ(c.blackLevel, 0.125F);
    EXPECT_EQ(c.whiteLevel, 0.875F);
    EXPECT_EQ(c.clampLowLevel, 0.25F);
    EXPECT_EQ(c.clampHighLevel, 0.75F);
}

void ExpectAlphaRecord(const ChannelDescriptor& c) {
    EXPECT_EQ(c.version, 3.0F);
    EXPECT_EQ(c.width, 720U);
    EXPECT_EQ(c.height, 486U);
    EXPECT_EQ(c.scanStyle, kUpperFieldFirst);
    EXPECT_EQ(c.fieldPacking, kNoFields);
    EXPECT_EQ(c.bitsPerSample, 32U);
    EXPECT_EQ(c.isAlpha, 1U);
    EXPECT_EQ(c.sampling, kFullSampling);
    EXPECT_EQ(c.gamma, kGammaNone);
    EXPECT_EQ(c.alphaDescription, kAlphaVarying);
    EXPECT_EQ(c.blackLevel, 0.0F);
    EXPECT_EQ(c.whiteLevel, 1.0F);
    EXPECT_EQ(c.clampLowLevel, 0.0F);
    EXPECT_EQ(c.clampHighLevel, 1.0F);
}

ChannelDescriptor OddColorRecord(const Tuk::RCPtr<AlignedMemoryBuffer>& buffer) {
    ChannelDescriptor c;
    c.SetColor(9.0F, buffer, 1, 2, kLowerFieldFirst, kFieldPacking1, 8, kQuarterHorizontal, kGammaVideo, 0.5F,
               0.5F, 0.5F, 0.5F);
    return c;
}

TEST(ChannelDescriptor, SetAlphaWithMemory) {
    const Tuk::RCPtr<AlignedMemoryBuffer> before(new CountedBuffer);
    const Tuk::RCPtr<AlignedMemoryBuffer> buffer(new CountedBuffer);
    ChannelDescriptor c = OddColorRecord(before);
    c.SetAlpha(3.0F, buffer, 720, 486, kUpperFieldFirst, kNoFields, 32);
    ExpectAlphaRecord(c);
    EXPECT_EQ(c.memory.get(), buffer.get());
    EXPECT_FALSE(before->IsShared());
}

TEST(ChannelDescriptor, SetAlphaWithoutMemoryLeavesTheMemoryAlone) {
    const Tuk::RCPtr<AlignedMemoryBuffer> before(new CountedBuffer);
    ChannelDescriptor c = OddColorRecord(before);
    c.SetAlpha(3.0F, 720, 486, kUpperFieldFirst, kNoFields, 32);
    ExpectAlphaRecord(c);
    EXPECT_EQ(c.memory.get(), before.get());
}

TEST(ChannelDescriptor, CopiesShareTheMemory) {
    auto* const counted = new CountedBuffer;
    ChannelDescriptor a;
    a.memory = counted;
    EXPECT_EQ(counted->count, 1);
    {
        const ChannelDescriptor b(a);
        EXPECT_EQ(counted->count, 2);
        ChannelDescriptor c;
        c = b;
        EXPECT_EQ(counted->count, 3);
        EXPECT_EQ(c.memory.get(), counted);
    }
    EXPECT_EQ(counted->count, 1);
}

TEST(ImageDescriptor, DefaultHasNoFieldsAndSquarePixels) {
    const ImageDescriptor d;
    EXPECT_EQ(d.version, 0.0F);
    EXPECT_EQ(d.width, 0U);
    EXPECT_EQ(d.height, 0U);
    EXPECT_EQ(d.aspectRatio, 1.0F);
    EXPECT_EQ(d.fieldPacking, kNoFields);
    EXPECT_EQ(static_cast<int>(d.colorSpace), 0);
    EXPECT_EQ(static_cast<int>(d.channelSampling), 0);
    EXPECT_EQ(static_cast<int>(d.componentOrder), 0);
    EXPECT_EQ(static_cast<int>(d.pixelPacking), 0);
    EXPECT_EQ(static_cast<int>(d.shaped), 0);
    EXPECT_EQ(static_cast<int>(d.scanStyle), 0);
    EXPECT_EQ(static_cast<int>(d.origin), 0);
    EXPECT_EQ(static_cast<int>(d.color), 0);
    EXPECT_EQ(static_cast<int>(d.memoryType), 0);
    EXPECT_EQ(static_cast<int>(d.aggregateBits), 0);
    EXPECT_TRUE(d.channels.empty());
    EXPECT_GE(d.channels.capacity(), 4U);
}

TEST(ImageDescriptor, FieldsLieInTheirOrder) {
    EXPECT_EQ(offsetof(ImageDescriptor, version), 0U);
    EXPECT_EQ(offsetof(ImageDescriptor, width), 4U);
    EXPECT_EQ(offsetof(ImageDescriptor, height), 8U);
    EXPECT_EQ(offsetof(ImageDescriptor, aspectRatio), 12U);
    EXPECT_EQ(offsetof(ImageDescriptor, colorSpace), 16U);
    EXPECT_EQ(offsetof(ImageDescriptor, channelSampling), 20U);
    EXPECT_EQ(offsetof(ImageDescriptor, componentOrder), 24U);
    EXPECT_EQ(offsetof(ImageDescriptor, pixelPacking), 28U);
    EXPECT_EQ(offsetof(ImageDescriptor, shaped), 32U);
    EXPECT_EQ(offsetof(ImageDescriptor, scanStyle), 36U);
    EXPECT_EQ(offsetof(ImageDescriptor, fieldPacking), 40U);
    EXPECT_EQ(offsetof(ImageDescriptor, origin), 44U);
    EXPECT_EQ(offsetof(ImageDescriptor, color), 48U);
    EXPECT_EQ(offsetof(ImageDescriptor, memoryType), 52U);
    EXPECT_EQ(offsetof(ImageDescriptor, aggregateBits), 56U);
    EXPECT_EQ(offsetof(ImageDescriptor, channels), sizeof(void*) == 4 ? 60U : 64U);
}

TEST(ImageDescriptor, FullForm) {
    const ImageDescriptor d(720, 486, kYCrCb, k422, kYCbYCr, kPlanar, kLowerFieldFirst, kFieldPacking1,
                            kBottomLeft, 0.9F, kShaped);
    EXPECT_EQ(d.version, 0.0F);
    EXPECT_EQ(d.width, 720U);
    EXPECT_EQ(d.height, 486U);
    EXPECT_EQ(d.colorSpace, kYCrCb);
    EXPECT_EQ(d.channelSampling, k422);
    EXPECT_EQ(d.componentOrder, kYCbYCr);
    EXPECT_EQ(d.pixelPacking, kPlanar);
    EXPECT_EQ(d.scanStyle, kLowerFieldFirst);
    EXPECT_EQ(d.fieldPacking, kFieldPacking1);
    EXPECT_EQ(d.origin, kBottomLeft);
    EXPECT_EQ(d.aspectRatio, 0.9F);
    EXPECT_EQ(d.shaped, kShaped);
    EXPECT_EQ(d.aggregateBits, k8BitsDefault);
    EXPECT_EQ(d.color, kFullColor);
    EXPECT_EQ(d.memoryType, kMemoryType0);
    EXPECT_TRUE(d.channels.empty());
    EXPECT_GE(d.channels.capacity(), 4U);
}

TEST(ImageDescriptor, FullFormWithBits) {
    const ImageDescriptor d(64, 32, kRGB, k444, kCbYCrA, kPacked, kUpperFieldFirst, kInterleavedFields,
                            kTopLeft, k16Bits, 1.5F, kShaped2);
    EXPECT_EQ(d.version, 0.0F);
    EXPECT_EQ(d.width, 64U);
    EXPECT_EQ(d.height, 32U);
    EXPECT_EQ(d.colorSpace, kRGB);
    EXPECT_EQ(d.channelSampling, k444);
    EXPECT_EQ(d.componentOrder, kCbYCrA);
    EXPECT_EQ(d.pixelPacking, kPacked);
    EXPECT_EQ(d.scanStyle, kUpperFieldFirst);
    EXPECT_EQ(d.fieldPacking, kInterleavedFields);
    EXPECT_EQ(d.origin, kTopLeft);
    EXPECT_EQ(d.aggregateBits, k16Bits);
    EXPECT_EQ(d.aspectRatio, 1.5F);
    EXPECT_EQ(d.shaped, kShaped2);
    EXPECT_TRUE(d.channels.empty());
    EXPECT_GE(d.channels.capacity(), 4U);
}

void ExpectShortForm(const ImageDescriptor& d, ColorSpaceEnum space, ComponentOrderEnum order,
                     AggregateBitsPerChannelEnum bits) {
    EXPECT_EQ(d.version, 0.0F);
    EXPECT_EQ(d.width, 100U);
    EXPECT_EQ(d.height, 50U);
    EXPECT_EQ(d.colorSpace, space);
    EXPECT_EQ(d.channelSampling, k4444);
    EXPECT_EQ(d.componentOrder, order);
    EXPECT_EQ(d.pixelPacking, kPacked);
    EXPECT_EQ(d.shaped, kUnshaped);
    EXPECT_EQ(d.scanStyle, kLowerFieldFirst);
    EXPECT_EQ(d.fieldPacking, kFieldPacking1);
    EXPECT_EQ(d.origin, kBottomLeft);
    EXPECT_EQ(d.aspectRatio, 0.5F);
    EXPECT_EQ(d.aggregateBits, bits);
    EXPECT_EQ(d.color, kFullColor);
    EXPECT_EQ(d.memoryType, kMemoryType0);
    EXPECT_TRUE(d.channels.empty());
    EXPECT_GE(d.channels.capacity(), 4U);
}

TEST(ImageDescriptor, ShortFormPicksTheOrderByColourSpace) {
    const struct {
        ColorSpaceEnum space;
        ComponentOrderEnum order;
    } cases[] = {{kRGB, kBGRA}, {kYCrCb, kCbYCrA}, {kColorSpace2, kBGRA}, {kAlphaOnly, kBGRA}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.space);
        ExpectShortForm(
            ImageDescriptor(100, 50, c.space, kLowerFieldFirst, kFieldPacking1, kBottomLeft, 0.5F), c.space,
            c.order, k8BitsDefault);
        ExpectShortForm(
            ImageDescriptor(100, 50, c.space, kLowerFieldFirst, kFieldPacking1, kBottomLeft, k32Bits, 0.5F),
            c.space, c.order, k32Bits);
    }
}

TEST(ImageDescriptor, CopiesRaiseEachCountByOnePerChannel) {
    auto* const shared = new CountedBuffer;
    auto* const single = new CountedBuffer;
    ImageDescriptor d(64, 32, kYCrCb, kProgressive, kNoFields, kTopLeft, 1.0F);
    d.channels.resize(4);
    for (std::size_t i = 0; i < 3; ++i) {
        d.channels[i].memory = shared;
    }
    d.channels[3].memory = single;
    ASSERT_EQ(shared->count, 3);
    ASSERT_EQ(single->count, 1);
    {
        const ImageDescriptor one(d);
        EXPECT_EQ(shared->count, 6);
        EXPECT_EQ(single->count, 2);
        ImageDescriptor two;
        two = one;
        EXPECT_EQ(shared->count, 9);
        EXPECT_EQ(single->count, 3);
        ASSERT_EQ(two.channels.size(), 4U);
        EXPECT_EQ(two.channels[3].memory.get(), single);
    }
    EXPECT_EQ(shared->count, 3);
    EXPECT_EQ(single->count, 1);
}

TEST(ImageDescriptor, CopyTakesEveryField) {
    ImageDescriptor d(720, 486, kYCrCb, k4224, kYCbYCr, kPlanar, kLowerFieldFirst, kFieldPacking1,
                      kBottomLeft, k32Bits, 0.9F, kShaped2);
    d.version = 7.0F;
    d.color = kMonochrome;
    d.memoryType = static_cast<MemoryTypeEnum>(5);
    d.channels.resize(2);
    d.channels[1].width = 17;
    ImageDescriptor assigned;
    assigned = d;
    for (const ImageDescriptor& copy : {ImageDescriptor(d), assigned}) {
        EXPECT_EQ(copy.version, 7.0F);
        EXPECT_EQ(copy.width, 720U);
        EXPECT_EQ(copy.height, 486U);
        EXPECT_EQ(copy.aspectRatio, 0.9F);
        EXPECT_EQ(copy.colorSpace, kYCrCb);
        EXPECT_EQ(copy.channelSampling, k4224);
        EXPECT_EQ(copy.componentOrder, kYCbYCr);
        EXPECT_EQ(copy.pixelPacking, kPlanar);
        EXPECT_EQ(copy.shaped, kShaped2);
        EXPECT_EQ(copy.scanStyle, kLowerFieldFirst);
        EXPECT_EQ(copy.fieldPacking, kFieldPacking1);
        EXPECT_EQ(copy.origin, kBottomLeft);
        EXPECT_EQ(copy.color, kMonochrome);
        EXPECT_EQ(static_cast<int>(copy.memoryType), 5);
        EXPECT_EQ(copy.aggregateBits, k32Bits);
        ASSERT_EQ(copy.channels.size(), 2U);
        EXPECT_EQ(copy.channels[1].width, 17U);
    }
}

TEST(ImageDescriptor, AssignmentDropsWhatTheTargetHeld) {
    bool destroyed = false;
    ImageDescriptor d;
    d.channels.resize(1);
    d.channels[0].memory = new CountedBuffer(&destroyed);
    d = ImageDescriptor();
    EXPECT_TRUE(destroyed);
    EXPECT_TRUE(d.channels.empty());
}

TEST(ImageDescriptor, AssignmentToItselfChangesNothing) {
    auto* const buffer = new CountedBuffer;
    ImageDescriptor d(64, 32, kRGB, kProgressive, kNoFields, kTopLeft, 1.0F);
    d.channels.resize(2);
    d.channels[0].memory = buffer;
    d.channels[1].memory = buffer;
    ImageDescriptor& same = d;
    d = same;
    EXPECT_EQ(d.width, 64U);
    EXPECT_EQ(d.height, 32U);
    ASSERT_EQ(d.channels.size(), 2U);
    EXPECT_EQ(d.channels[0].memory.get(), buffer);
    EXPECT_EQ(buffer->count, 2);
}

TEST(ImageDescriptor, DestructorDropsTheReferences) {
    bool destroyed = false;
    {
        ImageDescriptor d;
        d.channels.resize(1);
        d.channels[0].memory = new CountedBuffer(&destroyed);
        EXPECT_FALSE(destroyed);
    }
    EXPECT_TRUE(destroyed);
}

}  // namespace
}  // namespace Zan

#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include "image/Formats.h"
#include "image/ImageFixtures.h"

// Every test takes pixel memory from a host that fails when a block comes back twice or never.
namespace Zan {
namespace {

using test::Alpha;
using test::ExpectEmpty;
using test::Host;
using test::Planar;
using test::Uyvy;

static_assert(sizeof(Image) == sizeof(void*), "the pointer to the descriptor is the only field");
static_assert(std::is_nothrow_copy_constructible_v<Image> && std::is_nothrow_copy_assignable_v<Image>);
static_assert(std::is_nothrow_move_constructible_v<Image> && std::is_nothrow_move_assignable_v<Image>,
              "a vector that grows moves its images");

Image From(Host& host, const ImageDescriptor& format) {
    return Image(&host, Host::Alloc, Host::Free, format, 64, 16);
}

TEST(ImageCopy, SharesTheDescriptor) {
    Host host;
    const Image image = From(host, Uyvy(16, 8));
    const Image copy = image;
    EXPECT_EQ(copy.GetImageDescriptor(), image.GetImageDescriptor());
    EXPECT_EQ(copy.GetMemoryPointer(0), image.GetMemoryPointer(0));
    EXPECT_EQ(host.requests.size(), 1U) << "no pixel is copied";
}

TEST(ImageCopy, SeesWhatIsChangedThroughAnother) {
    Host host;
    Image image = From(host, Uyvy(16, 8));
    Image copy = image;
    image.SetOrigin(kBottomLeft);
    EXPECT_EQ(copy.GetOrigin(), kBottomLeft);
    ChannelDescriptor alpha;
    alpha.SetAlpha(0.0F, 16, 8, kProgressive, kNoFields, 8);
    EXPECT_EQ(copy.AddChannel(alpha, 128), 3);
    EXPECT_EQ(image.GetChannelSampling(), k4224);
    EXPECT_EQ(image.GetMemoryPointer(3), copy.GetMemoryPointer(3));
}

TEST(ImageCopy, TheLastOwnerFrees) {
    for (const bool originalGoesFirst : {true, false}) {
        SCOPED_TRACE(originalGoesFirst);
        Host host;
        auto original = std::make_unique<Image>(From(host, Planar(16, 8, k420)));
        auto copy = std::make_unique<Image>(*original);
        auto second = std::make_unique<Image>(*copy);
        EXPECT_EQ(host.lent.size(), 3U);
        (originalGoesFirst ? original : second).reset();
        copy.reset();
        EXPECT_EQ(host.lent.size(), 3U);
        Image& last = originalGoesFirst ? *second : *original;
        std::memset(last.GetMemoryPointer(0), 1, last.GetMemorySize(0));
        EXPECT_EQ(last.GetWidth(), 16U);
        original.reset();
        second.reset();
        EXPECT_TRUE(host.lent.empty());
    }
}

TEST(ImageCopy, AssignmentLetsGoOfTheOldPicture) {
    Host host;
    Image a = From(host, Alpha(16, 8));
    Image b = From(host, Alpha(32, 4));
    const Image alsoB = b;
    EXPECT_EQ(host.lent.size(), 2U);
    b = a;
    EXPECT_EQ(b.GetImageDescriptor(), a.GetImageDescriptor());
    EXPECT_EQ(host.lent.size(), 2U) << "another copy still has the old picture";
    EXPECT_EQ(alsoB.GetWidth(), 32U);
    a = alsoB;
    EXPECT_EQ(host.lent.size(), 2U);
    b = alsoB;
    EXPECT_EQ(host.lent.size(), 1U) << "nobody has the first picture any more";
    EXPECT_EQ(a.GetImageDescriptor(), b.GetImageDescriptor());
}

TEST(ImageCopy, AssignmentToItself) {
    Host host;
    Image image = From(host, Alpha(16, 8));
    const ImageDescriptor* const descriptor = image.GetImageDescriptor();
    Image& itself = image;
    image = itself;
    EXPECT_EQ(image.GetImageDescriptor(), descriptor);
    image = std::move(itself);
    EXPECT_EQ(image.GetImageDescriptor(), descriptor);
    const Image copy = image;
    image = copy;
    EXPECT_EQ(image.GetImageDescriptor(), descriptor) << "a copy of itself";
    std::memset(image.GetMemoryPointer(0), 1, image.GetMemorySize(0));
}

TEST(ImageCopy, EmptyImages) {
    Host host;
    Image empty(static_cast<unsigned char*>(nullptr), 0, Alpha(16, 8), 1, 1);
    Image copy = empty;
    ExpectEmpty(copy);
    Image image = From(host, Alpha(16, 8));
    copy = image;
    EXPECT_EQ(copy.GetWidth(), 16U);
    image = empty;
    ExpectEmpty(image);
    EXPECT_EQ(host.lent.size(), 1U);
    copy = empty;
    EXPECT_TRUE(host.lent.empty());
}

TEST(ImageMove, LeavesAnEmptyImage) {
    Host host;
    Image image = From(host, Alpha(16, 8));
    const ImageDescriptor* const descriptor = image.GetImageDescriptor();
    Image moved = std::move(image);
    EXPECT_EQ(moved.GetImageDescriptor(), descriptor);
    ExpectEmpty(image);  // NOLINT: what is left behind is defined

    Image target = From(host, Alpha(32, 4));
    target = std::move(moved);
    EXPECT_EQ(target.GetImageDescriptor(), descriptor);
    ExpectEmpty(moved);  // NOLINT
    EXPECT_EQ(host.lent.size(), 1U) << "what the target had is gone";

    image = target;
    EXPECT_EQ(image.GetImageDescriptor(), descriptor) << "an image that was moved from takes a new one";
    std::swap(image, moved);
    ExpectEmpty(image);
    EXPECT_EQ(moved.GetImageDescriptor(), descriptor);
}

TEST(ImageCopy, InContainers) {
    Host host;
    std::vector<Image> images;
    for (ULong32 i = 1; i <= 40; ++i) {
        images.push_back(From(host, Alpha(16 * i, 2)));
        images.push_back(images.front());
    }
    EXPECT_EQ(host.lent.size(), 40U);
    for (ULong32 i = 1; i <= 40; ++i) {
        EXPECT_EQ(images[2 * (i - 1)].GetWidth(), 16U * i);
        EXPECT_EQ(images[2 * i - 1].GetWidth(), 16U);
    }
    std::sort(images.begin(), images.end(),
              [](const Image& a, const Image& b) { return a.GetWidth() < b.GetWidth(); });
    EXPECT_EQ(images.front().GetWidth(), 16U);
    EXPECT_EQ(images.back().GetWidth(), 640U);
    const std::vector<Image> copies = images;
    images.erase(images.begin(), images.begin() + 41);  // all of the first picture
    EXPECT_EQ(images.front().GetWidth(), 32U);
    EXPECT_EQ(host.lent.size(), 40U);
    images.clear();
    EXPECT_EQ(host.lent.size(), 40U);
    for (const Image& image : copies) {
        std::memset(image.GetMemoryPointer(0), 1, image.GetMemorySize(0));
    }
}

TEST(ImageCopy, OnManyThreads) {
    Host host;
    Image image = From(host, Alpha(64, 4));
    const auto copyAndDrop = [&image] {
        Image last = image;
        for (int i = 0; i < 20000; ++i) {
            const Image copy = last;
            last = i % 2 == 0 ? copy : image;
            ASSERT_NE(copy.GetMemoryPointer(0), nullptr);
        }
    };
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back(copyAndDrop);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(host.lent.size(), 1U);
}

TEST(ImageCopy, TheLastTwoOwnersGoAtTheSameTime) {
    for (int round = 0; round < 200; ++round) {
        Host host;
        auto image = std::make_unique<Image>(From(host, Alpha(64, 4)));
        std::thread other([copy = *image]() mutable {
            std::memset(copy.GetMemoryPointer(0), 1, 64);
            const Image last = std::move(copy);
        });
        image.reset();
        other.join();
        EXPECT_TRUE(host.lent.empty());
    }
}

TEST(ImageCopy, ViewsOnDifferentCopiesSelectTheSamePixels) {
    Host host;
    Image image = From(host, Uyvy(16, 8));
    Image copy = image;
    const ImageView view(&image, Rectangle(4, 2, 8, 4), kFrame);
    const ImageView other(&copy, Rectangle(4, 2, 8, 4), kFrame);
    EXPECT_EQ(view.GetMemoryPointer(0), other.GetMemoryPointer(0));
    EXPECT_EQ(view.GetPitch(0), other.GetPitch(0));
}

}  // namespace
}  // namespace Zan

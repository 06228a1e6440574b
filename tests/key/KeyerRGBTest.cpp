#include <TesselU/key/KeyerRGB.h>
#include <gtest/gtest.h>

#include <type_traits>

namespace {

TEST(KeyerRGB, IsAPlainValue) {
    static_assert(std::is_default_constructible_v<Zan::KeyerRGB>);
    static_assert(std::is_trivially_copyable_v<Zan::KeyerRGB>);
    static_assert(!std::is_polymorphic_v<Zan::KeyerRGB>);
    Zan::KeyerRGB first, second;
    first.SetMMXonlyStyle(true);
    second = first;
    EXPECT_EQ(sizeof second, sizeof(bool));
}

}  // namespace

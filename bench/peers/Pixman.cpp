#include <pixman.h>

#include <cstring>

#include "Ours.h"
#include "peers/Peers.h"

namespace bench {

namespace {

using Handle = std::shared_ptr<pixman_image_t>;

Handle Wrap(pixman_format_code_t format, const Size& size, std::uint8_t* memory, std::size_t pitch) {
    return {pixman_image_create_bits(format, static_cast<int>(size.width), static_cast<int>(size.height),
                                     reinterpret_cast<std::uint32_t*>(memory), static_cast<int>(pitch)),
            pixman_image_unref};
}

/// Picture a, and over it b by the alpha of `mask`: it blends into its destination.
std::function<void()> Blend(const Pictures& p, const Handle& mask) {
    const Size size = p.size;
    const Handle source = Wrap(PIXMAN_x8r8g8b8, size, p.b, 4 * size.width);
    const Handle destination = Wrap(PIXMAN_x8r8g8b8, size, p.out, 4 * size.width);
    return [=, a = p.a, out = p.out] {
        std::memcpy(out, a, 4 * size.pixels());
        pixman_image_composite32(PIXMAN_OP_OVER, source.get(), mask.get(), destination.get(), 0, 0, 0, 0, 0,
                                 0, static_cast<int>(size.width), static_cast<int>(size.height));
    };
}

void Enter(Contests& contests, const Pictures& p) {
    const int w = static_cast<int>(p.size.width), h = static_cast<int>(p.size.height);
    const char* call = "pixman_image_composite32";
    const auto alphaOfB = static_cast<std::uint16_t>((256 - kFadeOf256) * 65535 / 256);
    const pixman_color_t weight = {0, 0, 0, alphaOfB};
    contests[Operation::kDissolvePixels].EnterWork(
        kPixman, call, Promise::kApproximate,
        Blend(p, {pixman_image_create_solid_fill(&weight), pixman_image_unref}));
    for (const Operation over : {Operation::kCompositeTwoSources, Operation::kOverStraight}) {
        contests[over].EnterWork(kPixman, call, Promise::kApproximate,
                                 Blend(p, Wrap(PIXMAN_a8r8g8b8, p.size, p.b, 4 * p.size.width)));
    }
    contests[Operation::kCompositeByPlane].EnterWork(kPixman, call, Promise::kApproximate,
                                                     PixmanBlendByPlane(p, p.key));

    // It blends into its destination, which starts as the background; moved, it interpolates what it takes.
    const auto over = [&](double x, double y) {
        const Handle front = Wrap(PIXMAN_a8r8g8b8, p.size, p.shaped, 4 * p.size.width);
        const Handle to = Wrap(PIXMAN_a8r8g8b8, p.size, p.out, 4 * p.size.width);
        if (x != 0 || y != 0) {
            pixman_transform_t move;
            pixman_transform_init_translate(&move, pixman_double_to_fixed(-x), pixman_double_to_fixed(-y));
            pixman_image_set_transform(front.get(), &move);
            pixman_image_set_filter(front.get(), PIXMAN_FILTER_BILINEAR, nullptr, 0);
        }
        return [=, back = p.b, memory = p.out, bytes = 4 * p.size.pixels()] {
            std::memcpy(memory, back, bytes);
            pixman_image_composite32(PIXMAN_OP_OVER, front.get(), nullptr, to.get(), 0, 0, 0, 0, 0, 0, w, h);
        };
    };
    contests[Operation::kOverlayShaped].EnterWork(kPixman, call, Promise::kApproximate, over(0, 0));
    constexpr const char* kMoved = "pixman_image_composite32, bilinear";
    contests[Operation::kOverlayMovedAlong].EnterWork(kPixman, kMoved, Promise::kApproximate, over(0.375, 0));
    contests[Operation::kOverlayMoved].EnterWork(kPixman, kMoved, Promise::kApproximate, over(0.375, 0.625));

    auto* out = reinterpret_cast<std::uint32_t*>(p.out);
    auto* a = reinterpret_cast<std::uint32_t*>(p.a);
    contests[Operation::kFill].Enter(kPixman, "pixman_fill", Promise::kSameBytes,
                                     [=] { return pixman_fill(out, w, 32, 0, 0, w, h, kColour) ? 0 : 1; });
    contests[Operation::kCopyPixels].Enter(kPixman, "pixman_blt", Promise::kSameBytes, [=] {
        return pixman_blt(a, out, w, w, 32, 32, 0, 0, 0, 0, w, h) ? 0 : 1;
    });
}

// Limited by LimitByEnvironment. It has no code above SSSE3.
std::string Limit(Level level) {
    return level == Level::kBaseline ? "SSE2" : "SSSE3";
}

}  // namespace

std::function<void()> PixmanBlendByPlane(const Pictures& pictures, const std::uint8_t* alpha) {
    return Blend(pictures,
                 Wrap(PIXMAN_a8, pictures.size, const_cast<std::uint8_t*>(alpha), pictures.size.width));
}

Peer Pixman() {
    return {kPixman, pixman_version_string(), Limit, Enter};
}

}  // namespace bench

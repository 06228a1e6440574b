#include <TesselU/overlay/Mixup.h>

#include <algorithm>
#include <memory>

#include "Ours.h"
#include "Wrapped.h"

namespace bench {

namespace {

using MixupPosition::Mixup;

void EnterOver(Contest& contest, const Picture& front, const Picture& back, const Picture& out) {
    contest.Enter(kOurs, "ours", Promise::kSameBytes,
                  [=]() -> int { return Mixup().Do(front->view, back->view, out->view, kBestAvailable); });
}

/// Beside the form for whole pixels, which moves the same bytes.
void EnterMoved(Contest& contest, const Picture& front, const Picture& back, const Picture& out, double x,
                double y) {
    contest.Enter(kOurs, "ours", Promise::kSameBytes, [=]() -> int {
        return Mixup().DoAt(front->view, back->view, out->view, x, y, true, kBestAvailable);
    });
    contest.Enter(kPlain, "ours at whole pixels", Promise::kNone,
                  [=]() -> int { return Mixup().Do(front->view, back->view, out->view, kBestAvailable); });
}

}  // namespace

void EnterOverlays(Contests& contests, const Pictures& p) {
    const Size size = p.size;
    const Picture straight = Pixels(size, p.a), shaped = Pixels(size, p.shaped, kShaped),
                  back = Pixels(size, p.b), out = Pixels(size, p.out);
    EnterOver(contests[Operation::kOverlayShaped], shaped, back, out);
    EnterOver(contests[Operation::kOverlayUnion], straight, back, out);
    const Picture back24 = Pixels24(size, p.b), out24 = Pixels24(size, p.out);
    EnterOver(contests[Operation::kOverlayStraight], straight, back24, out24);
    const Picture pairs = PairsAndAlpha(size, p.a);
    EnterOver(contests[Operation::kOverlayPairs], pairs, Pairs(size, p.b), Pairs(size, p.out));
    EnterOver(contests[Operation::kOverlayPairsShaped], PairsAndAlpha(size, p.a, kShaped), Pairs(size, p.b),
              Pairs(size, p.out));
    EnterOver(contests[Operation::kOverlayPairsUnion], pairs, PairsAndAlpha(size, p.b),
              PairsAndAlpha(size, p.out));
    EnterOver(contests[Operation::kOverlay24], Pixels24(size, p.a), back24, out24);
    EnterOver(contests[Operation::kOverlay16], Pairs(size, p.a), Pairs(size, p.b), Pairs(size, p.out));
    contests[Operation::kCenter].Enter(kOurs, "ours", Promise::kSameBytes, [=]() -> int {
        return Mixup().Center(straight->view, out->view, kBestAvailable);
    });

    // In place, beside the same blend without a frame around it.
    const Size logoSize = {std::min<std::size_t>(256, size.width), std::min<std::size_t>(128, size.height)};
    const Picture logo = Pixels(logoSize, p.a), small = Pixels(logoSize, p.scratch);
    EnterOver(contests[Operation::kOverlayLogo], logo, out, out);
    contests[Operation::kOverlayLogo].Enter(
        kPlain, "ours on a picture of 256x128", Promise::kNone,
        [=]() -> int { return Mixup().Do(logo->view, small->view, small->view, kBestAvailable); });

    EnterMoved(contests[Operation::kOverlayMovedAlong], shaped, back, out, 0.375, 0);
    EnterMoved(contests[Operation::kOverlayMoved], shaped, back, out, 0.375, 0.625);
    EnterMoved(contests[Operation::kOverlayMovedStraight], straight, back, out, 0.375, 0.625);
}

}  // namespace bench

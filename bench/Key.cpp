#include <TesselU/key/ChromaKeyerYUV.h>
#include <TesselU/key/LinearKeyer.h>
#include <TesselU/key/LumaKeyer.h>

#include <memory>

#include "Ours.h"
#include "Wrapped.h"

namespace bench {

namespace {

template <class Keyer>
void SetTable(Keyer& keyer) {
    keyer.Set(0.5, 0.1, 0.3, 1, 0, false);
}

template <class Keyer>
void EnterTable(Contest& contest, const Picture& from, const Picture& to) {
    auto keyer = std::make_shared<Keyer>();
    SetTable(*keyer);
    contest.Enter(kOurs, "ours", Promise::kSameBytes,
                  [=]() -> int { return keyer->Do(from->view, to->view, kBestAvailable); });
}

}  // namespace

void TableOfKeys(std::array<std::uint8_t, 256>& table) {
    LinearKeyer keyer;
    SetTable(keyer);
    for (std::size_t i = 0; i < 256; ++i) {
        table[i] = keyer.GetLUT(static_cast<unsigned char>(i));
    }
}

void EnterKeys(Contests& contests, const Pictures& p) {
    const Size size = p.size;
    auto keyer = std::make_shared<ChromaKeyerYUV>();
    keyer->SetHueAngle(kKeyHue);
    keyer->SetAcceptanceAngle(kKeyAcceptance);
    keyer->SetSaturationMinimum(kKeySaturation);
    keyer->SetSpillSuppressionAngle(kKeyHue);
    keyer->SetSpillSuppressionGain(kKeySpillGain);
    keyer->SetKeyOffset(kKeyOffset);
    keyer->SetKeyGain(kKeyGain);
    keyer->SetInvertKeyAfterPostProcessing(true);
    const auto enter = [&](Operation operation, const Picture& front, const Picture& back, const Picture& out,
                           ProcessingStyleEnum style) {
        contests[operation].Enter(
            kOurs, "ours", Promise::kSameBytes, [=, keys = Key(size, p.scratch)]() -> int {
                return keyer->Do(front->view, &back->view, out->view, &keys->view, style);
            });
    };
    const Picture pairs = Pairs(size, p.photoPairs), ycc = YccPixels(size, p.photoYcc);
    enter(Operation::kKeyPairs, pairs, Pairs(size, p.b), Pairs(size, p.out), kBestAvailable);
    enter(Operation::kKeyPixels, ycc, YccPixels(size, p.b), YccPixels(size, p.out), kFlp);
    enter(Operation::kKeyPairsFixed, pairs, Pairs(size, p.b), Pairs(size, p.out), kFP);
    enter(Operation::kKeyPixelsFixed, ycc, YccPixels(size, p.b), YccPixels(size, p.out), kFP);
    EnterTable<LinearKeyer>(contests[Operation::kKeyOfAlpha], PairsAndAlpha(size, p.photoPairs),
                            Key(size, p.out));
    EnterTable<LumaKeyer>(contests[Operation::kKeyOfLuma], pairs, Key(size, p.out));
}

}  // namespace bench

#include "tone/correction/Stages.h"

#include <algorithm>
#include <numeric>

namespace Zan::BaseCC {

ULong32 AlignmentOf(const void* memory, ULong32 pitch) noexcept {
    const std::uintptr_t bits = reinterpret_cast<std::uintptr_t>(memory) | pitch | 1024;
    return static_cast<ULong32>(bits & (0 - bits));
}

Long32 Stage::Readiness() const noexcept {
    if (!IsConfigured()) {
        return kNotConfigured;
    }
    return IsDefault() ? kIsDefault : kStatusOk;
}

Long32 Stage::Execute(const Pass& pass) noexcept {
    if (const Long32 status = Readiness(); status != kStatusOk) {
        return status;
    }
    CorrectionSettings settings;
    AddTo(pass, settings);
    Correct(pass, settings);
    return kStatusOk;
}

void Correct(const Pass& pass, const CorrectionSettings& settings) noexcept {
    // An odd last pixel has no pair.
    const std::size_t width = pass.source.width & ~ULong32{1};
    const simd::Job<1, 1> job = {
        {pass.source.lines}, {pass.destination.lines}, width, pass.source.height, width};
    const bool colours = std::any_of(std::begin(settings.colours), std::end(settings.colours),
                                     [](const std::uint8_t* table) { return table != nullptr; });
    (colours ? kCorrectColours : kCorrect)(job, settings);
}

// ---- Luma ---------------------------------------------------------------------------------------------

void LumaLevelsStage::BuildTables() noexcept {
    MakeLumaLevels(parameters.levels, parameters.studioRange, table);
}

void LumaLevelsStage::AddTo(const Pass&, CorrectionSettings& settings) noexcept {
    CompleteTables();
    settings.luma = table.data();
}

void BrightnessContrastStage::BuildTables() noexcept {
    MakeContrast(parameters, table, downwards);
}

void BrightnessContrastStage::AddTo(const Pass& pass, CorrectionSettings& settings) noexcept {
    CompleteTables();
    settings.luma = pass.sse2 && pass.destination.alignment >= 16 ? downwards.data() : table.data();
}

void LumaLevelsContrastStage::BuildTables() noexcept {
    if (parameters.luma.levels != Levels{}) {
        MakeLumaLevels(parameters.luma.levels, parameters.luma.studioRange, table);
    } else {
        std::iota(table.begin(), table.end(), std::uint8_t{0});
    }
    if (parameters.adjustment != BrightnessContrast{}) {
        AddContrast(parameters.adjustment, table);
    }
}

void LumaLevelsContrastStage::AddTo(const Pass&, CorrectionSettings& settings) noexcept {
    CompleteTables();
    settings.luma = table.data();
}

// ---- Chroma -------------------------------------------------------------------------------------------

void HueStage::BuildTables() noexcept {
    MakeRotation(parameters.angle, rotation);
}

void HueStage::AddTo(const Pass&, CorrectionSettings& settings) noexcept {
    CompleteTables();
    settings.rotation = &rotation;
}

void SaturationStage::BuildTables() noexcept {
    MakeGain(GainOf(parameters.saturation), gain);
}

void SaturationStage::AddTo(const Pass&, CorrectionSettings& settings) noexcept {
    CompleteTables();
    settings.gain = &gain;
}

void HueSaturationStage::BuildTables() noexcept {
    MakeRotation(parameters.hue.angle, rotation);
    MakeGain(GainOf(parameters.saturation.saturation), gain);
}

void HueSaturationStage::AddTo(const Pass&, CorrectionSettings& settings) noexcept {
    CompleteTables();
    settings.rotation = &rotation;
    settings.gain = &gain;
}

// ---- Limits -------------------------------------------------------------------------------------------

void LegalizeStage::BuildTables() noexcept {
    luma = LimitsLuma() ? SampleLimits{16, 235} : SampleLimits{};
    chroma = LimitsLuma() ? SampleLimits{16, 240} : SampleLimits{};
    if (parameters.limitChroma) {
        chroma = {44, 212};
    }
}

void LegalizeStage::AddTo(const Pass&, CorrectionSettings& settings) noexcept {
    CompleteTables();
    settings.lumaLimits = luma;
    settings.chromaLimits = chroma;
}

}  // namespace Zan::BaseCC

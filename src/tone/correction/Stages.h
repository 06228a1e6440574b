#ifndef TESSELU_SRC_TONE_CORRECTION_STAGES_H
#define TESSELU_SRC_TONE_CORRECTION_STAGES_H

#include <TesselU/foundation/Status.h>

#include <array>

#include "foundation/Plane.h"
#include "tone/correction/Tables.h"

namespace Zan::BaseCC {

/// The extended status `n`.
constexpr Long32 ExtendedStatus(ULong32 n) noexcept {
    return static_cast<Long32>(kExtendedStatusBase + n);
}
inline constexpr Long32 kRecordTooSmall = ExtendedStatus(3);
inline constexpr Long32 kNothingToRun = ExtendedStatus(8);
inline constexpr Long32 kNotConfigured = ExtendedStatus(11);
inline constexpr Long32 kUnknownPicture = ExtendedStatus(28);
inline constexpr Long32 kIsDefault = ExtendedStatus(32);

constexpr ULong32 FourCharacters(char a, char b, char c, char d) noexcept {
    return static_cast<ULong32>(static_cast<unsigned char>(a)) |
           static_cast<ULong32>(static_cast<unsigned char>(b)) << 8 |
           static_cast<ULong32>(static_cast<unsigned char>(c)) << 16 |
           static_cast<ULong32>(static_cast<unsigned char>(d)) << 24;
}

/// What a run is told of a picture, and the lines of it that it takes.
struct PictureDescriptor {
    ULong32 size = 160;
    ULong32 width = 0, height = 0;
    ULong32 fourCharacters = FourCharacters('@', 'Y', 'U', 'V');
    ULong32 channels = 1;
    ULong32 bits = 8;
    ULong32 bitField = 16;
    ULong32 planes = 1;
    ULong32 strideAlignment = 512;
    ULong32 alignment = 1;  ///< of the image, see `AlignmentOf`
    Plane lines;
};

/// The largest power of two, up to 1024, that divides both the address and the pitch.
ULong32 AlignmentOf(const void* memory, ULong32 pitch) noexcept;

/// Which lines a stage corrects into which. The destination is at least as large as the source.
struct Pass {
    const PictureDescriptor& source;
    const PictureDescriptor& destination;
    bool sse2 = false;
};

/// One step of a correction. Every step makes a pair of pixels of a pair of pixels, so that any number of
/// them runs in one pass: each adds its part to the settings of the kernel.
class Stage {
public:
    bool IsConfigured() const noexcept { return isConfigured; }
    void Reset() noexcept { isConfigured = false; }

    /// 0, or why the stage cannot run.
    Long32 Readiness() const noexcept;
    /// Runs this stage alone.
    Long32 Execute(const Pass& pass) noexcept;

    /// Whether the parameters ask for nothing.
    virtual bool IsDefault() const noexcept = 0;
    virtual void AddTo(const Pass& pass, CorrectionSettings& settings) noexcept = 0;

protected:
    Stage() = default;
    ~Stage() = default;

    bool isConfigured = false;
};

/// Runs a whole correction.
void Correct(const Pass& pass, const CorrectionSettings& settings) noexcept;

/// A stage with its parameters, of which `Derived::BuildTables` makes tables.
template <class Derived, class ParameterType>
class StageWith : public Stage {
public:
    using Parameters = ParameterType;

    /// Without `buildTables` the first run makes the tables. What is configured already is not made again.
    Long32 Configure(const Parameters& wanted, bool buildTables) noexcept {
        if (!SameParameters(wanted)) {
            parameters = wanted;
            isConfigured = true;
            hasTables = false;
        }
        if (buildTables) {
            CompleteTables();
        }
        return kStatusOk;
    }
    bool SameParameters(const Parameters& others) const noexcept {
        return isConfigured && parameters == others;
    }
    const Parameters& GetParameters() const noexcept { return parameters; }

protected:
    StageWith() = default;
    ~StageWith() = default;

    void CompleteTables() noexcept {
        if (!hasTables) {
            static_cast<Derived*>(this)->BuildTables();
            hasTables = true;
        }
    }

    Parameters parameters{};
    bool hasTables = false;
};

// ---- Luma ---------------------------------------------------------------------------------------------

struct LumaLevels {
    Levels levels;
    bool studioRange = false;
    bool operator==(const LumaLevels&) const = default;
};

class LumaLevelsStage final : public StageWith<LumaLevelsStage, LumaLevels> {
public:
    bool IsDefault() const noexcept override { return parameters.levels == Levels{}; }
    void AddTo(const Pass& pass, CorrectionSettings& settings) noexcept override;
    void BuildTables() noexcept;

private:
    ByteTable table;
};

/// The one stage whose arithmetic depends on the pictures: into aligned ones brightness is subtracted.
class BrightnessContrastStage final : public StageWith<BrightnessContrastStage, BrightnessContrast> {
public:
    bool IsDefault() const noexcept override { return parameters == BrightnessContrast{}; }
    void AddTo(const Pass& pass, CorrectionSettings& settings) noexcept override;
    void BuildTables() noexcept;

private:
    ByteTable table, downwards;
};

struct LumaLevelsContrast {
    LumaLevels luma;
    BrightnessContrast adjustment;
    bool operator==(const LumaLevelsContrast&) const = default;
};

class LumaLevelsContrastStage final : public StageWith<LumaLevelsContrastStage, LumaLevelsContrast> {
public:
    bool IsDefault() const noexcept override {
        return parameters.luma.levels == Levels{} && parameters.adjustment == BrightnessContrast{};
    }
    void AddTo(const Pass& pass, CorrectionSettings& settings) noexcept override;
    void BuildTables() noexcept;

private:
    ByteTable table;
};

// ---- Chroma -------------------------------------------------------------------------------------------

struct Hue {
    int angle = 0;  ///< in degrees
    bool operator==(const Hue&) const = default;
};

class HueStage final : public StageWith<HueStage, Hue> {
public:
    bool IsDefault() const noexcept override { return parameters == Hue{}; }
    void AddTo(const Pass& pass, CorrectionSettings& settings) noexcept override;
    void BuildTables() noexcept;

private:
    ChromaRotation rotation;
};

struct Saturation {
    int saturation = 0;
    bool operator==(const Saturation&) const = default;
};

class SaturationStage final : public StageWith<SaturationStage, Saturation> {
public:
    bool IsDefault() const noexcept override { return parameters == Saturation{}; }
    void AddTo(const Pass& pass, CorrectionSettings& settings) noexcept override;
    void BuildTables() noexcept;

private:
    ChromaGain gain;
};

struct HueSaturation {
    Hue hue;
    Saturation saturation;
    bool operator==(const HueSaturation&) const = default;
};

class HueSaturationStage final : public StageWith<HueSaturationStage, HueSaturation> {
public:
    bool IsDefault() const noexcept override { return parameters == HueSaturation{}; }
    void AddTo(const Pass& pass, CorrectionSettings& settings) noexcept override;
    void BuildTables() noexcept;

private:
    ChromaRotation rotation;
    ChromaGain gain;
};

// ---- Colours ------------------------------------------------------------------------------------------

/// Levels of the colours whose numbers are given: red is 0, green 1, blue 2.
template <std::size_t... Colours>
class ColourLevelsStage final
    : public StageWith<ColourLevelsStage<Colours...>, std::array<Levels, sizeof...(Colours)>> {
public:
    bool IsDefault() const noexcept override {
        return this->parameters == std::array<Levels, sizeof...(Colours)>{};
    }
    void AddTo(const Pass&, CorrectionSettings& settings) noexcept override {
        this->CompleteTables();
        std::size_t i = 0;
        ((settings.colours[Colours] = tables[i++].data()), ...);
    }
    void BuildTables() noexcept {
        for (std::size_t i = 0; i < sizeof...(Colours); ++i) {
            MakeColourLevels(this->parameters[i], tables[i]);
        }
    }

private:
    ByteTable tables[sizeof...(Colours)];
};

using RedLevelsStage = ColourLevelsStage<0>;
using GreenLevelsStage = ColourLevelsStage<1>;
using BlueLevelsStage = ColourLevelsStage<2>;
using RedGreenLevelsStage = ColourLevelsStage<0, 1>;
using RedBlueLevelsStage = ColourLevelsStage<0, 2>;
using GreenBlueLevelsStage = ColourLevelsStage<1, 2>;
using RgbLevelsStage = ColourLevelsStage<0, 1, 2>;

// ---- Limits -------------------------------------------------------------------------------------------

struct Legal {
    bool legalize = false, limitChroma = false, studioRange = false;
    bool operator==(const Legal&) const = default;
};

class LegalizeStage final : public StageWith<LegalizeStage, Legal> {
public:
    bool IsDefault() const noexcept override { return !LimitsLuma() && !parameters.limitChroma; }
    void AddTo(const Pass& pass, CorrectionSettings& settings) noexcept override;
    void BuildTables() noexcept;

private:
    bool LimitsLuma() const noexcept { return parameters.legalize || parameters.studioRange; }

    SampleLimits luma, chroma;
};

}  // namespace Zan::BaseCC

#endif  // TESSELU_SRC_TONE_CORRECTION_STAGES_H

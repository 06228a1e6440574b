#ifndef TESSELU_TESTS_COMPOSITE_OPERATIONS_H
#define TESSELU_TESTS_COMPOSITE_OPERATIONS_H

#include <algorithm>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "composite/Pictures.h"

// All operations of the compositor in two tables, for what must hold for every one of them.

namespace composite_test {

/// An operation on plain memory. It writes the last of its planes.
struct RawOperation {
    using Planes = std::vector<std::uint8_t*>;
    using Pitches = std::vector<Zan::Long32>;

    std::string name;
    std::vector<std::size_t> pixelBytes;  ///< of each plane
    std::vector<unsigned> codePaths;      ///< that it has; some need integer SSE
    std::function<Zan::Long32(Zan::ZanCompositor&, const Planes&, const Pitches&, Zan::ULong32 width,
                              Zan::ULong32 height, unsigned codePath)>
        run;
};

inline Zan::ULong32* AsWords(std::uint8_t* plane) {
    return reinterpret_cast<Zan::ULong32*>(plane);
}

inline const std::vector<RawOperation>& RawOperations() {
    using Zan::ULong32;
    using Zan::ZanCompositor;
    using Planes = RawOperation::Planes;
    using Pitches = RawOperation::Pitches;
    static const std::vector<RawOperation> operations = {
        {"CrossDissolve",
         {4, 4, 4},
         {0, 1, 2},
         [](ZanCompositor& compositor, const Planes& p, const Pitches& pitch, ULong32 w, ULong32 h,
            unsigned path) {
             return compositor.CrossDissolve(AsWords(p[0]), AsWords(p[1]), AsWords(p[2]), w, h, pitch[0],
                                             pitch[1], pitch[2], 0.37, path);
         }},
        {"CompositeTwoSources",
         {4, 4, 4},
         {2},
         [](ZanCompositor& compositor, const Planes& p, const Pitches& pitch, ULong32 w, ULong32 h,
            unsigned path) {
             return compositor.CompositeTwoSources(AsWords(p[0]), AsWords(p[1]), AsWords(p[2]), w, h,
                                                   pitch[0], pitch[1], pitch[2], path);
         }},
        {"CompositeTwoSrcAndAlpha",
         {4, 4, 1, 4},
         {1, 2},
         [](ZanCompositor& compositor, const Planes& p, const Pitches& pitch, ULong32 w, ULong32 h,
            unsigned path) {
             return compositor.CompositeTwoSrcAndAlpha(AsWords(p[0]), AsWords(p[1]), AsWords(p[2]),
                                                       AsWords(p[3]), w, h, pitch[0], pitch[1], pitch[2],
                                                       pitch[3], path);
         }},
        {"CompositeTwoSrcAndAlphaGradient",
         {4, 4, 1, 4},
         {1, 2},
         [](ZanCompositor& compositor, const Planes& p, const Pitches& pitch, ULong32 w, ULong32 h,
            unsigned path) {
             return compositor.CompositeTwoSrcAndAlphaGradient(AsWords(p[0]), AsWords(p[1]), AsWords(p[2]),
                                                               AsWords(p[3]), w, h, pitch[0], pitch[1],
                                                               pitch[2], pitch[3], 0.3, 0.01, path);
         }},
        {"SumOfAbsDiffs",
         {4, 4, 1},
         {1, 2},
         [](ZanCompositor& compositor, const Planes& p, const Pitches& pitch, ULong32 w, ULong32 h,
            unsigned path) {
             return compositor.SumOfAbsDiffs(AsWords(p[0]), AsWords(p[1]), p[2], w, h, pitch[0], pitch[1],
                                             pitch[2], path);
         }},
        {"XSubPixelPosition",
         {4, 4},
         {1},
         [](ZanCompositor& compositor, const Planes& p, const Pitches& pitch, ULong32 w, ULong32 h,
            unsigned path) {
             return compositor.XSubPixelPosition(AsWords(p[0]), AsWords(p[1]), w, h, pitch[0], pitch[1], 0.6,
                                                 path);
         }},
    };
    return operations;
}

/// An operation on views.
struct ViewOperation {
    struct Plane {
        std::size_t operand;
        Zan::ULong32 channel;
    };

    std::string name;
    std::function<std::vector<Format>(Zan::ULong32 width, Zan::ULong32 height)> operands;
    std::vector<Plane> planes;  ///< that it touches
    std::size_t blockBytes;     ///< of the destination that the fast path writes in one go, or not at all
    bool writes;                ///< into its last operand; else it gives a result
    bool isPass;                ///< has the fast path alone, and refuses other styles with 100
    std::function<Zan::Long32(Zan::ZanCompositor&, std::vector<Zan::ImageView>&, Zan::ProcessingStyleEnum,
                              Zan::ULong32& result)>
        run;
};

namespace view_operations {

using Views = std::vector<Zan::ImageView>;

inline ViewOperation Filling(const std::string& name, const Format& format, Zan::ULong32 mask) {
    return {"Fill of " + name,
            [format](Zan::ULong32 width, Zan::ULong32 height) {
                Format sized = format;
                sized.width = width;
                sized.height = height;
                return std::vector<Format>{sized};
            },
            {{0, 0}},
            format.colorSpace == Zan::kAlphaOnly && format.bits == Zan::k8Bits ? 1U : 4U,
            true,
            false,
            [mask](Zan::ZanCompositor& compositor, Views& views, Zan::ProcessingStyleEnum style,
                   Zan::ULong32&) { return compositor.Fill(views[0], 0x7BC35A81U, mask, style); }};
}

inline ViewOperation Pass(const std::string& name, std::size_t operands, bool writes,
                          Zan::Long32 (*run)(Zan::ZanCompositor&, Views&, Zan::ProcessingStyleEnum,
                                             Zan::ULong32&)) {
    std::vector<ViewOperation::Plane> planes;
    for (std::size_t i = 0; i < operands; ++i) {
        planes.push_back({i, 0});
    }
    return {name,
            [operands](Zan::ULong32 width, Zan::ULong32 height) {
                return std::vector<Format>(operands, Format::Rgb(width, height));
            },
            planes,
            4,
            writes,
            true,
            run};
}

inline ViewOperation Wiping(Zan::AggregateChannelSamplingEnum sampling) {
    std::vector<ViewOperation::Plane> planes = {{0, 0}, {1, 0}, {2, 0}, {3, 0}};
    if (sampling == Zan::k4224) {
        planes.insert(planes.end(), {{0, 3}, {1, 3}, {3, 3}});
    }
    return {"soft wipe of sampling " + std::to_string(sampling),
            [sampling](Zan::ULong32 width, Zan::ULong32 height) {
                const Format colour = sampling == Zan::k4444 ? Format::Rgb(width, height)
                                                             : Format::YCrCb(width, height, sampling);
                return std::vector<Format>{colour, colour, Format::Grey(width, height), colour};
            },
            planes,
            sampling == Zan::k4444 ? 32U : 4U,
            true,
            false,
            [](Zan::ZanCompositor& compositor, Views& views, Zan::ProcessingStyleEnum style, Zan::ULong32&) {
                return compositor.CompositeTwoSrcAndAlphaGradient(views[0], views[1], views[2], views[3], 0.5,
                                                                  90.0, style);
            }};
}

/// A colour format of the samplings that dissolves and wipes take.
inline Format ColourOf(Zan::AggregateChannelSamplingEnum sampling, Zan::ULong32 width, Zan::ULong32 height) {
    return sampling == Zan::k4444 ? Format::Rgb(width, height) : Format::YCrCb(width, height, sampling);
}

inline ViewOperation Dissolving(Zan::AggregateChannelSamplingEnum sampling) {
    std::vector<ViewOperation::Plane> planes = {{0, 0}, {1, 0}, {2, 0}};
    if (sampling == Zan::k4224) {
        planes.insert(planes.end(), {{0, 3}, {1, 3}, {2, 3}});
    }
    return {"dissolve of sampling " + std::to_string(sampling),
            [sampling](Zan::ULong32 width, Zan::ULong32 height) {
                return std::vector<Format>(3, ColourOf(sampling, width, height));
            },
            planes,
            4,
            true,
            false,
            [](Zan::ZanCompositor& compositor, Views& views, Zan::ProcessingStyleEnum style, Zan::ULong32&) {
                return compositor.CrossDissolve(views[0], views[1], views[2], 0.4, style);
            }};
}

inline ViewOperation Bordering(Zan::AggregateChannelSamplingEnum sampling) {
    ViewOperation operation = Wiping(sampling);
    operation.name = "wipe with border of sampling " + std::to_string(sampling);
    operation.blockBytes = 4;
    operation.run = [](Zan::ZanCompositor& compositor, Views& views, Zan::ProcessingStyleEnum style,
                       Zan::ULong32&) {
        return compositor.CompositeTwoSrcAndAlphaGradientWithBorder(
            views[0], views[1], views[2], views[3], 0.5, 40.0, 30.0, 60.0, 0xC0204080U, style);
    };
    return operation;
}

}  // namespace view_operations

inline const std::vector<ViewOperation>& ViewOperations() {
    using namespace view_operations;
    constexpr Zan::ULong32 kNoMask = 0xFFFFFFFFU;
    static const std::vector<ViewOperation> operations = {
        Filling("words", Format::Rgb(0, 0), kNoMask),
        Filling("4:2:2", Format::YCrCb(0, 0, Zan::k422), kNoMask),
        Filling("4:2:2:4", Format::YCrCb(0, 0, Zan::k4224), kNoMask),
        Filling("bytes", Format::Grey(0, 0), kNoMask),
        Filling("grey of two bytes", Format::Grey(0, 0).Bits(Zan::k16Bits), kNoMask),
        Filling("words under a mask", Format::Rgb(0, 0), 0x00FF0FF0U),
        Filling("4:2:2 under a mask", Format::YCrCb(0, 0, Zan::k422), 0x00FF0FF0U),
        Filling("bytes under a mask", Format::Grey(0, 0), 0x3CU),
        {"FillAlpha",
         [](Zan::ULong32 width, Zan::ULong32 height) {
             return std::vector<Format>{Format::YCrCb(width, height, Zan::k4224)};
         },
         {{0, 3}},
         1,
         true,
         false,
         [](Zan::ZanCompositor& compositor, Views& views, Zan::ProcessingStyleEnum style, Zan::ULong32&) {
             return compositor.FillAlpha(views[0], 0x9DU, style);
         }},
        Pass("ReadOnlySingleSource", 1, false,
             [](Zan::ZanCompositor& compositor, Views& views, Zan::ProcessingStyleEnum style,
                Zan::ULong32& result) { return compositor.ReadOnlySingleSource(views[0], result, style); }),
        Pass("ReadOnlyTwoSources", 2, false,
             [](Zan::ZanCompositor& compositor, Views& views, Zan::ProcessingStyleEnum style,
                Zan::ULong32& result) {
                 return compositor.ReadOnlyTwoSources(views[0], views[1], result, style);
             }),
        Pass("ReadTwoSourcesWriteDst", 3, true,
             [](Zan::ZanCompositor& compositor, Views& views, Zan::ProcessingStyleEnum style, Zan::ULong32&) {
                 return compositor.ReadTwoSourcesWriteDst(views[0], views[1], views[2], style);
             }),
        Wiping(Zan::k4444),
        Wiping(Zan::k422),
        Wiping(Zan::k4224),
        Dissolving(Zan::k4444),
        Dissolving(Zan::k422),
        Dissolving(Zan::k4224),
        Bordering(Zan::k4444),
        Bordering(Zan::k422),
        Bordering(Zan::k4224),
    };
    return operations;
}

/// The pictures of one call, and the views on them.
struct Call {
    std::vector<std::unique_ptr<Picture>> pictures;
    std::vector<Zan::ImageView> views;

    explicit Call(const std::vector<Format>& formats) {
        for (const Format& format : formats) {
            pictures.push_back(std::make_unique<Picture>(format));
            views.emplace_back(*pictures.back());
        }
    }
    /// What all planes hold, and what lies around them.
    std::vector<Bytes> Contents() const {
        std::vector<Bytes> all;
        for (const auto& picture : pictures) {
            all.push_back(picture->Colour());
            all.push_back(picture->Alpha());
        }
        return all;
    }
};

}  // namespace composite_test

#endif  // TESSELU_TESTS_COMPOSITE_OPERATIONS_H

// A call cut into strips of rows gives the same bytes as the whole.

#include <utility>

#include "composite/Operations.h"
#include "support/Streaming.h"

using namespace composite_test;

namespace {

// Rows where strips begin, and the end: single rows, pairs, unequal parts, a strip without rows.
const std::vector<std::vector<Zan::ULong32>> kCuts = {
    {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}, {0, 2, 4, 6, 8, 9}, {0, 5, 9}, {0, 1, 8, 9}, {0, 4, 4, 9}};
constexpr Zan::ULong32 kRows = 9;

TEST(Strips, OfOperationsOnPlainMemory) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (const RawOperation& operation : RawOperations()) {
            for (const unsigned path : operation.codePaths) {
                if (operation.name == "SumOfAbsDiffs" && path == 2 && !machine.TakesSse()) {
                    continue;
                }
                for (const Zan::ULong32 width : {7U, 16U, 61U, 300U}) {
                    for (const std::size_t padding : {0U, 4U, 52U}) {
                        std::vector<std::unique_ptr<RawPlane>> planes;
                        RawOperation::Planes first;
                        RawOperation::Pitches pitches;
                        for (std::size_t i = 0; i < operation.pixelBytes.size(); ++i) {
                            const std::size_t rowBytes = operation.pixelBytes[i] * width;
                            // The second plane goes upwards.
                            const auto pitch = static_cast<std::ptrdiff_t>(rowBytes + padding);
                            planes.push_back(
                                std::make_unique<RawPlane>(rowBytes, kRows, i == 1 ? -pitch : pitch, 4 * i));
                            first.push_back(planes.back()->First());
                            pitches.push_back(planes.back()->Pitch());
                        }
                        RawPlane& written = *planes.back();
                        const PlaneModel before = written.Model();
                        ASSERT_EQ(operation.run(compositor, first, pitches, width, kRows, path), 0);
                        PlaneModel whole = written.Model();
                        for (const auto& cuts : kCuts) {
                            std::copy(before.bytes.begin(), before.bytes.end(),
                                      written.First() - before.first);
                            for (std::size_t i = 0; i + 1 < cuts.size(); ++i) {
                                RawOperation::Planes strip = first;
                                for (std::size_t p = 0; p < strip.size(); ++p) {
                                    strip[p] += static_cast<std::ptrdiff_t>(cuts[i]) * pitches[p];
                                }
                                ASSERT_EQ(operation.run(compositor, strip, pitches, width,
                                                        cuts[i + 1] - cuts[i], path),
                                          0);
                            }
                            ASSERT_TRUE(Matches(whole, written.Memory()))
                                << operation.name << ", path " << path << ", width " << width << ", padding "
                                << padding << ", " << cuts.size() - 1 << " strips";
                        }
                    }
                }
            }
        }
    });
}

// Of every view, in a frame or in a field.
struct Columns {
    Zan::WhichFieldEnum field;
    Zan::Long32 left, width;
};

TEST(Strips, OfOperationsOnViews) {
    const Columns parts[] = {{Zan::kFrame, 0, 40},      {Zan::kFrame, 4, 23},     {Zan::kUpperField, 0, 40},
                             {Zan::kLowerField, 2, 31}, {Zan::kFirstField, 0, 3}, {Zan::kFrame, 0, 300}};
    OnEveryMachine([&](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (const ViewOperation& operation : ViewOperations()) {
            if (operation.isPass && !machine.HasSse2()) {
                continue;
            }
            for (const Columns& part : parts) {
                for (const bool padded : {false, true}) {
                    // Planes of words have pitches of whole words: others are cut.
                    const auto width = static_cast<Zan::ULong32>(part.left + part.width + 3) / 4 * 4;
                    std::vector<Format> formats = operation.operands(width, kRows);
                    for (Format& format : formats) {
                        const bool ofBytes =
                            format.colorSpace == Zan::kAlphaOnly && format.bits == Zan::k8Bits;
                        format = format.Padded(padded ? (ofBytes ? 5 : 8) : 0, padded ? 3 : 0).Interlaced();
                    }
                    Call call(formats);
                    Picture& written = *call.pictures.back();
                    const Bytes colourBefore = written.Colour(), alphaBefore = written.Alpha();
                    const auto run = [&](Zan::ULong32 from, Zan::ULong32 to) {
                        for (Zan::ImageView& view : call.views) {
                            view.SetRegionOfInterest(
                                Zan::Rectangle(part.left, static_cast<Zan::Long32>(from), part.width,
                                               static_cast<Zan::Long32>(to - from)),
                                part.field);
                        }
                        Zan::ULong32 result = 0;
                        EXPECT_EQ(operation.run(compositor, call.views, Zan::kBestAvailable, result), 0);
                        return result;
                    };
                    const Zan::ULong32 whole = run(0, kRows);
                    const Bytes colour = written.Colour(), alpha = written.Alpha();
                    for (const auto& cuts : kCuts) {
                        SCOPED_TRACE(::testing::Message()
                                     << operation.name << ", field " << part.field << ", left " << part.left
                                     << ", padded " << padded << ", " << cuts.size() - 1 << " strips");
                        std::copy(colourBefore.begin(), colourBefore.end(),
                                  written.ColourMemory().Data() - written.ColourMemory().GuardLength());
                        std::copy(alphaBefore.begin(), alphaBefore.end(),
                                  written.AlphaMemory().Data() - written.AlphaMemory().GuardLength());
                        Zan::ULong32 together = 0;
                        for (std::size_t i = 0; i + 1 < cuts.size(); ++i) {
                            together |= run(cuts[i], cuts[i + 1]);
                        }
                        ASSERT_EQ(together, whole);
                        ASSERT_EQ(written.Colour(), colour);
                        ASSERT_EQ(written.Alpha(), alpha);
                    }
                }
            }
        }
    });
}

// A destination one line below or above a source: line after line, whether lines touch or not.
TEST(Strips, OfPlanesThatOverlapByLines) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine&) {
        for (const RawOperation& operation : RawOperations()) {
            const std::size_t source = 0, last = operation.pixelBytes.size() - 1;
            if (operation.pixelBytes[last] != operation.pixelBytes[source]) {
                continue;
            }
            for (const unsigned path : operation.codePaths) {
                for (const Zan::ULong32 width : {8U, 16U, 61U, 304U}) {
                    for (const std::size_t padding : {0U, 12U}) {
                        for (const int down : {1, -1}) {
                            SCOPED_TRACE(::testing::Message()
                                         << operation.name << ", path " << path << ", width " << width
                                         << ", padding " << padding << ", down " << down);
                            const std::size_t rowBytes = std::size_t{4} * width;
                            const auto pitch = static_cast<std::ptrdiff_t>(rowBytes + padding);
                            RawPlane shared(rowBytes, kRows + 1, pitch);
                            std::vector<std::unique_ptr<RawPlane>> others;
                            RawOperation::Planes first(last + 1, nullptr);
                            RawOperation::Pitches pitches(last + 1, static_cast<Zan::Long32>(pitch));
                            for (std::size_t i = 1; i < last; ++i) {
                                const std::size_t bytes = operation.pixelBytes[i] * width;
                                others.push_back(std::make_unique<RawPlane>(
                                    bytes, kRows, static_cast<std::ptrdiff_t>(bytes + padding)));
                                first[i] = others.back()->First();
                                pitches[i] = others.back()->Pitch();
                            }
                            first[source] = shared.First() + (down > 0 ? 0 : pitch);
                            first[last] = shared.First() + (down > 0 ? pitch : 0);
                            const PlaneModel before = shared.Model();
                            for (Zan::ULong32 y = 0; y < kRows; ++y) {
                                RawOperation::Planes row = first;
                                for (std::size_t i = 0; i < row.size(); ++i) {
                                    row[i] += static_cast<std::ptrdiff_t>(y) * pitches[i];
                                }
                                ASSERT_EQ(operation.run(compositor, row, pitches, width, 1, path), 0);
                            }
                            const PlaneModel lineByLine = shared.Model();
                            std::copy(before.bytes.begin(), before.bytes.end(),
                                      shared.First() - before.first);
                            ASSERT_EQ(operation.run(compositor, first, pitches, width, kRows, path), 0);
                            ASSERT_TRUE(Matches(lineByLine, shared.Memory()));
                        }
                    }
                }
            }
        }
    });
}

TEST(Strips, OfViewsThatOverlapByLines) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (const ViewOperation& operation : ViewOperations()) {
            if (!operation.writes || operation.planes.size() < 3 ||
                (operation.isPass && !machine.HasSse2())) {
                continue;
            }
            for (const Zan::ULong32 width : {8U, 16U, 64U, 304U}) {
                for (const Zan::ULong32 padding : {0U, 8U}) {
                    for (const Zan::Long32 down : {1, -1}) {
                        SCOPED_TRACE(::testing::Message() << operation.name << ", width " << width
                                                          << ", padding " << padding << ", down " << down);
                        std::vector<Format> formats = operation.operands(width, kRows + 1);
                        for (Format& format : formats) {
                            format = format.Padded(padding, padding);
                        }
                        Call call(formats);
                        Picture& shared = *call.pictures.front();
                        const auto run = [&](Zan::Long32 first, Zan::Long32 rows) {
                            const auto columns = static_cast<Zan::Long32>(width);
                            for (Zan::ImageView& view : call.views) {
                                view.SetRegionOfInterest(Zan::Rectangle(0, first, columns, rows),
                                                         Zan::kFrame);
                            }
                            call.views.front() = Part(shared, 0, first + (down < 0 ? 1 : 0), columns, rows);
                            call.views.back() = Part(shared, 0, first + (down < 0 ? 0 : 1), columns, rows);
                            Zan::ULong32 result = 0;
                            EXPECT_EQ(operation.run(compositor, call.views, Zan::kBestAvailable, result), 0);
                        };
                        const Bytes colourBefore = shared.Colour(), alphaBefore = shared.Alpha();
                        for (Zan::Long32 y = 0; y < static_cast<Zan::Long32>(kRows); ++y) {
                            run(y, 1);
                        }
                        const Bytes colour = shared.Colour(), alpha = shared.Alpha();
                        std::copy(colourBefore.begin(), colourBefore.end(),
                                  shared.ColourMemory().Data() - shared.ColourMemory().GuardLength());
                        std::copy(alphaBefore.begin(), alphaBefore.end(),
                                  shared.AlphaMemory().Data() - shared.AlphaMemory().GuardLength());
                        run(0, static_cast<Zan::Long32>(kRows));
                        ASSERT_EQ(shared.Colour(), colour);
                        ASSERT_EQ(shared.Alpha(), alpha);
                    }
                }
            }
        }
    });
}

}  // namespace

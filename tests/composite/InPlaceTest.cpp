// Operations write over a source as they write elsewhere, in rows of many vector steps too.

#include "composite/Operations.h"

using namespace composite_test;

namespace {

TEST(InPlace, OperationsOnPlainMemory) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine&) {
        for (const RawOperation& operation : RawOperations()) {
            const std::size_t last = operation.pixelBytes.size() - 1;
            for (const unsigned path : operation.codePaths) {
                for (std::size_t over = 0; over < last; ++over) {
                    if (operation.pixelBytes[over] != operation.pixelBytes[last]) {
                        continue;
                    }
                    for (const Zan::ULong32 width : {8U, 61U, 300U, 531U}) {
                        for (const std::size_t shift : {0U, 4U, 7U}) {
                            std::vector<std::unique_ptr<RawPlane>> planes;
                            RawOperation::Planes first;
                            RawOperation::Pitches pitches;
                            for (const std::size_t bytes : operation.pixelBytes) {
                                const auto pitch = static_cast<std::ptrdiff_t>(bytes * width + 4 * shift);
                                planes.push_back(std::make_unique<RawPlane>(bytes * width, 3, pitch, shift));
                                first.push_back(planes.back()->First());
                                pitches.push_back(planes.back()->Pitch());
                            }
                            // Columns that stay unwritten must look alike in both.
                            RawPlane& source = *planes[over];
                            const std::size_t rowBytes = operation.pixelBytes[last] * width;
                            for (std::ptrdiff_t y = 0; y < 3; ++y) {
                                std::copy_n(source.First() + y * source.Pitch(), rowBytes,
                                            first[last] + y * pitches[last]);
                            }
                            ASSERT_EQ(operation.run(compositor, first, pitches, width, 3, path), 0);
                            PlaneModel expected = source.Model();
                            for (std::ptrdiff_t y = 0; y < 3; ++y) {
                                std::copy_n(first[last] + y * pitches[last], rowBytes, &expected.At(y, 0));
                            }
                            first[last] = first[over];
                            ASSERT_EQ(operation.run(compositor, first, pitches, width, 3, path), 0);
                            ASSERT_TRUE(Matches(expected, source.Memory()))
                                << operation.name << ", path " << path << ", over source " << over
                                << ", width " << width << ", shift " << shift;
                        }
                    }
                }
            }
        }
    });
}

TEST(InPlace, OperationsOnViews) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (const ViewOperation& operation : ViewOperations()) {
            if (!operation.writes || operation.planes.size() < 3 ||
                (operation.isPass && !machine.HasSse2())) {
                continue;
            }
            for (const Zan::ULong32 width : {8U, 61U, 300U, 531U}) {
                for (const std::size_t over : {0U, 1U}) {
                    for (const auto style : {Zan::kFlp, Zan::kFP, Zan::kBestAvailable}) {
                        if (operation.isPass && style != Zan::kBestAvailable) {
                            continue;
                        }
                        Call call(operation.operands(width, 3));
                        Picture& source = *call.pictures[over];
                        Picture& written = *call.pictures.back();
                        std::copy_n(source.ColourMemory().Data(), source.ColourMemory().Length(),
                                    written.ColourMemory().Data());
                        std::copy_n(source.AlphaMemory().Data(), source.AlphaMemory().Length(),
                                    written.AlphaMemory().Data());
                        Zan::ULong32 result = 0;
                        ASSERT_EQ(operation.run(compositor, call.views, style, result), 0);
                        call.views.back() = call.views[over];
                        ASSERT_EQ(operation.run(compositor, call.views, style, result), 0);
                        SCOPED_TRACE(::testing::Message() << operation.name << ", over source " << over
                                                          << ", width " << width << ", style " << style);
                        ASSERT_EQ(std::memcmp(source.ColourMemory().Data(), written.ColourMemory().Data(),
                                              source.ColourMemory().Length()),
                                  0);
                        if (source.AlphaMemory().Length() != 0) {
                            ASSERT_EQ(std::memcmp(source.AlphaMemory().Data(), written.AlphaMemory().Data(),
                                                  source.AlphaMemory().Length()),
                                      0);
                        }
                    }
                }
            }
        }
    });
}

}  // namespace

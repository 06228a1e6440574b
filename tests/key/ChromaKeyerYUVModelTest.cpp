// The chroma keyer against a second, plain model, in pictures of all sizes.

#include "key/ChromaCalls.h"

using namespace key_test;

namespace {

TEST(ChromaKeyerYUVModel, EveryWidthOnEveryTarget) {
    OnEveryTarget([] {
        ForWidths(0, [](int width) {
            for (int round = 0; round < (kSanitized ? 2 : 12) && !::testing::Test::HasFatalFailure();
                 ++round) {
                Call call = AnyCall(OneIn(2), AnyLayout(width));
                ExpectAsModel(call, WithAnySplit(AnySettings()), AnyStyle(), ProcessorHasSimd());
            }
        });
    });
}

TEST(ChromaKeyerYUVModel, RowsWideEnoughForEveryStep) {
    OnEveryTarget([] {
        for (int round = 0; round < Rounds(40); ++round) {
            Call call = AnyCall(OneIn(2), AnyLayout(RandomFrom<int>(100, 900)));
            ExpectAsModel(call, WithAnySplit(AnySettings()), AnyStyle(), ProcessorHasSimd());
            if (::testing::Test::HasFatalFailure()) {
                return;
            }
        }
    });
}

TEST(ChromaKeyerYUVModel, EveryStyleAndMachine) {
    for (const auto set : {Zan::kScalarOnly, Zan::kMMX, Zan::kSSE_MMX, Zan::kSIMD, Zan::kSSE2}) {
        const Zan::ScopedInstructionSet scope(set);
        for (const bool mmxOnly : {false, true}) {
            for (const int style : AllStyles()) {
                for (const bool pairs : {false, true}) {
                    for (int round = 0; round < 6; ++round) {
                        SCOPED_TRACE(::testing::Message()
                                     << "instruction set " << set << ", MMX only " << mmxOnly);
                        Call call = AnyCall(pairs, AnyLayout(RandomFrom<int>(1, 70)));
                        ExpectAsModel(call, WithAnySplit(AnySettings()), style, set >= Zan::kSIMD, mmxOnly);
                        if (HasFatalFailure()) {
                            return;
                        }
                    }
                }
            }
        }
    }
}

// Single precision may be one off, but in the same places everywhere.
TEST(ChromaKeyerYUVModel, SinglePrecisionIsTheSameOnEveryTarget) {
    for (int round = 0; round < Rounds(150); ++round) {
        Call call = AnyCall(true, AnyLayout(RandomFrom<int>(2, 400)));
        const Settings settings = WithAnySplit(AnySettings());
        SCOPED_TRACE(Text(settings) + call.Describe());
        Zan::ChromaKeyerYUV keyer = KeyerOf(settings);
        std::vector<Bytes> before, expected;
        for (auto& picture : call.scene.pictures) {
            for (FencedMemory* memory : {&picture->ColourMemory(), &picture->AlphaMemory()}) {
                before.emplace_back(memory->Data(), memory->Data() + memory->Length());
            }
        }
        OnEveryTarget([&] {
            std::size_t i = 0;
            for (auto& picture : call.scene.pictures) {
                for (FencedMemory* memory : {&picture->ColourMemory(), &picture->AlphaMemory()}) {
                    std::copy(before[i].begin(), before[i].end(), memory->Data());
                    ++i;
                }
            }
            call.Do(keyer, AnyOf({2, 3, 5}));
            std::vector<Bytes> after;
            for (auto& picture : call.scene.pictures) {
                after.push_back(picture->Colour());
                after.push_back(picture->Alpha());
            }
            if (expected.empty()) {
                expected = after;
            }
            ASSERT_TRUE(after == expected);
        });
        if (HasFatalFailure()) {
            return;
        }
    }
}

}  // namespace

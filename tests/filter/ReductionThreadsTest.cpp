// Strips and pictures of the noise reduction on several threads at once.

#include <thread>

#include "filter/ReductionCalls.h"

using namespace filter_test;

namespace {

/// The temporal filter on some rows of pictures whose rows lie `words` apart.
void FilterRows(NoiseReduction& filter, std::vector<Picture>& frames, Picture& out, ULong32 width,
                ULong32 first, ULong32 rows) {
    const std::size_t skipped = std::size_t{first} * out.words;
    EXPECT_EQ(filter.DoFilterSAT(frames[0].memory.data() + skipped, frames[1].memory.data() + skipped,
                                 frames[2].memory.data() + skipped, out.memory.data() + skipped, width, rows,
                                 4 * out.words, 4 * out.words, 20, 140, nullptr, nullptr, 0),
              0);
}

// One object serves all threads, and no strip needs another: rows of any width and pitch, cut unevenly.
TEST(NoiseReduction, TemporalStripsOnThreadsMakeTheWhole) {
    NoiseReduction filter;
    unsigned seed = 0;
    for (const ULong32 width : {2U, 3U, 31U, 64U, 67U, 129U, 300U}) {
        for (const ULong32 rows : {1U, 2U, 7U, 13U, 37U}) {
            const ULong32 words = (width + 1) / 2 + width % 3;
            std::vector<Picture> frames = {Random(words, rows, ++seed), Random(words, rows, ++seed),
                                           Random(words, rows, ++seed)};
            // Still in part, so that all three ways of mixing occur.
            for (std::size_t i = 0; i < frames[0].memory.size(); i += 2) {
                frames[0].memory[i] = frames[1].memory[i] ^ 0x03050107U;
                frames[2].memory[i] = frames[1].memory[i];
            }
            Picture whole(words, rows, 0xEEEEEEEEU);
            FilterRows(filter, frames, whole, width, 0, rows);
            for (const ULong32 threads : {2U, 3U, 5U, 64U}) {
                Picture strips(words, rows, 0xEEEEEEEEU);
                std::vector<std::thread> workers;
                for (ULong32 i = 0; i < threads && i < rows; ++i) {
                    const ULong32 first = rows * i / std::min(threads, rows);
                    const ULong32 end = rows * (i + 1) / std::min(threads, rows);
                    workers.emplace_back(
                        [&, first, end] { FilterRows(filter, frames, strips, width, first, end - first); });
                }
                for (std::thread& worker : workers) {
                    worker.join();
                }
                ASSERT_EQ(strips, whole) << width << " x " << rows << ", " << threads << " threads";
            }
        }
    }
}

// Objects share nothing: each of several threads makes from the same frames what one makes alone.
TEST(NoiseReduction, ObjectsOnThreadsDoNotMeet) {
    const std::array<float, 3> levels = {9, 14, 11};
    for (Call& call : AllForms({.windowWidth = 5, .windowHeight = 3, .windowFrames = 3})) {
        const std::vector<Picture> frames = {Random(37, 19, 5, 90, 40), Random(37, 19, 6, 90, 40),
                                             Random(37, 19, 7, 90, 40)};
        call.width = call.format == 2 ? 73 : 37;
        const Picture alone = Filtered(frames, levels, call);
        std::vector<Picture> made(5, Picture(37, 19));
        std::vector<std::thread> workers;
        for (Picture& picture : made) {
            workers.emplace_back([&] { picture = Filtered(frames, levels, call); });
        }
        for (std::thread& worker : workers) {
            worker.join();
        }
        for (const Picture& picture : made) {
            EXPECT_EQ(picture, alone)
                << "format " << call.format << ", implementation " << call.implementation;
        }
    }
}

}  // namespace

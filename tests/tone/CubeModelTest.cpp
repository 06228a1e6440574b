// Colour tables, plain and of text, against a second, plain model.

#include <TesselU/tone/CubeLUT.h>
#include <TesselU/tone/LookUpTable3D.h>

#include <cstdio>

#include "tone/ModelScenes.h"
#include "tone/model/Cube.h"

using namespace tone_test;
using tone_model::Cube;

namespace {

/// What the words of a text are to be like.
struct Text {
    int dimensions = 3, size = 2;
    double least = 0, most = 1;  ///< of the values
    bool ownDomain = false;
    std::array<double, 3> low = {0, 0, 0}, high = {1, 1, 1};
    bool domainAsRange = false;
    bool decorated = false;  ///< title, comments, empty lines, CR LF, a byte order mark
};

std::string Number(double value) {
    char text[64];
    const char* const format = AnyOf({"%.6f", "%.9g", "%e", "%.3f", "%.0f", "%.12f", "%.2E"});
    std::snprintf(text, sizeof text, format, value);
    std::string number = text;
    if (number.compare(0, 2, "0.") == 0 && OneIn(3)) {
        number.erase(0, 1);
    }
    return number;
}

std::string Write(const Text& wanted) {
    const char* const end = wanted.decorated && OneIn(2) ? "\r\n" : "\n";
    std::string text;
    const auto add = [&](const std::string& line) { text += line + end; };
    const auto maybe = [&] {
        if (wanted.decorated && OneIn(3)) {
            add(AnyOf({"", "# a comment", "#", "# LUT_3D_SIZE 7"}));
        }
    };
    if (wanted.decorated && OneIn(2)) {
        text = "\xEF\xBB\xBF";
    }
    maybe();
    if (wanted.decorated) {
        add("TITLE \"A warm evening\"");
        maybe();
    }
    const std::string kind = wanted.dimensions == 1 ? "LUT_1D" : "LUT_3D";
    add(kind + "_SIZE " + std::to_string(wanted.size));
    maybe();
    if (wanted.ownDomain) {
        const auto triple = [](const std::array<double, 3>& v) {
            return " " + std::to_string(v[0]) + " " + std::to_string(v[1]) + " " + std::to_string(v[2]);
        };
        if (wanted.domainAsRange) {
            add(kind + "_INPUT_RANGE " + std::to_string(wanted.low[0]) + " " +
                std::to_string(wanted.high[0]));
        } else {
            add("DOMAIN_MIN" + triple(wanted.low));
            maybe();
            add("DOMAIN_MAX" + triple(wanted.high));
        }
    }
    const int rows = wanted.dimensions == 1 ? wanted.size : wanted.size * wanted.size * wanted.size;
    for (int i = 0; i < rows; ++i) {
        maybe();
        std::string line;
        for (int channel = 0; channel < 3; ++channel) {
            const double share = RandomFrom<int>(0, 1000000) / 1e6;
            line += (channel == 0       ? ""
                     : wanted.decorated ? AnyOf({" ", "\t", "  "})
                                        : " ") +
                    Number(wanted.least + (wanted.most - wanted.least) * share);
        }
        add(line + (wanted.decorated && OneIn(5) ? AnyOf({" ", "\t"}) : ""));
    }
    if (wanted.decorated && OneIn(3)) {
        text.erase(text.size() - (end[0] == '\r' ? 2 : 1));
    }
    return text;
}

/// The library's table and the model's of one text.
struct Both {
    Zan::CubeLUT table;
    Cube model;
    std::string text;

    explicit Both(const Text& wanted) : text(Write(wanted)) {
        Zan::ULong32 line = 77;
        const Zan::Long32 status = table.Read(text.data(), text.size(), line);
        EXPECT_EQ(status, 0) << text.substr(0, 400);
        EXPECT_EQ(line, 0U);
        const bool marked = text.compare(0, 3, "\xEF\xBB\xBF") == 0;
        model = Cube::Of(marked ? text.substr(3) : text);
        EXPECT_EQ(table.GetDimensions(), static_cast<Zan::ULong32>(model.dimensions));
        EXPECT_EQ(table.GetSize(), static_cast<Zan::ULong32>(model.size));
        EXPECT_EQ(std::string(table.GetTitle()), model.title);
    }
};

/// A table over pictures in the model: its words are blue, green, red.
int Apply(const Cube& cube, const Operand& a, Operand& b) {
    const auto takes = [](const Operand& o) {
        return o.colorSpace == Zan::kRGB && o.bits == 8 &&
               (o.sampling == Zan::k4444 || o.sampling == Zan::k444);
    };
    if (!takes(a) || !takes(b) || a.sampling != b.sampling) {
        return 4;
    }
    if (!a.colour.isThere || !b.colour.isThere) {
        return 1;
    }
    const std::ptrdiff_t bytes = a.sampling == Zan::k4444 ? 4 : 3;
    for (std::ptrdiff_t y = 0; y < std::min(a.height, b.height); ++y) {
        for (std::ptrdiff_t x = 0; x < std::min(a.width, b.width); ++x) {
            const std::ptrdiff_t from = a.colour.first + y * a.colour.pitch + bytes * x;
            const std::ptrdiff_t to = b.colour.first + y * b.colour.pitch + bytes * x;
            const std::array<int, 3> out =
                cube.Map({a.colour.At(from + 2), a.colour.At(from + 1), a.colour.At(from)});
            for (std::ptrdiff_t i = 0; i < 3; ++i) {
                b.colour.Put(to + i, static_cast<std::uint8_t>(out[static_cast<std::size_t>(2 - i)]));
            }
            if (bytes == 4) {
                b.colour.Put(to + 3, a.colour.At(from + 3));
            }
        }
    }
    return 0;
}

void ExpectPicture(Scene& scene, const Both& both, int style, bool inPlace = false) {
    ExpectAsModel(
        scene, [&](Zan::ImageView& a, Zan::ImageView& b) { return both.table.Do(a, b, Style(style)); },
        [&](const Operand& a, Operand& b) { return Apply(both.model, a, b); }, inPlace);
}

Text AnyText() {
    Text text;
    text.dimensions = OneIn(4) ? 1 : 3;
    text.size = text.dimensions == 1
                    ? (OneIn(40) ? 65536 : AnyOf({2, 3, 5, 16, 100, 255, 256, 257, 1000, 1024, 4096}))
                    : AnyOf({2, 3, 4, 5, 7, 8, 9, 12, 16, OneIn(4) ? 33 : 17});
    if (OneIn(3)) {
        text.ownDomain = true;
        text.domainAsRange = OneIn(3);
        for (std::size_t i = 0; i < 3; ++i) {
            text.low[i] = text.domainAsRange && i > 0 ? text.low[0] : AnyOf({0.0, -0.5, 0.25, -1.0, 0.125});
            text.high[i] = text.domainAsRange && i > 0 ? text.high[0] : AnyOf({1.0, 1.5, 0.75, 2.0, 0.5});
        }
    }
    if (OneIn(3)) {
        text.least = AnyOf({-0.5, -0.25, -1.0, -3.0, -0.1, -40.0});
        text.most = AnyOf({1.25, 1.4999, 1.5, 2.5, 4.0, 17.0, 100.0});
    }
    text.decorated = OneIn(2);
    return text;
}

/// Colours of every cell, edge and order of fractions, row after row.
std::vector<Zan::ULong32> Colours(std::size_t count) {
    std::vector<Zan::ULong32> words(count);
    for (Zan::ULong32& word : words) {
        const auto byte = [] { return static_cast<Zan::ULong32>(RandomByte()); };
        const Zan::ULong32 grey = byte();
        word = OneIn(6)   ? grey * 0x010101U
               : OneIn(6) ? AnyOf({0U, 255U}) | AnyOf({0U, 255U}) << 8 | AnyOf({0U, 255U}) << 16
                          : byte() | byte() << 8 | byte() << 16;
        word |= byte() << 24;
    }
    return words;
}

Zan::ULong32 Mapped(const Cube& cube, Zan::ULong32 word) {
    const auto sample = [&](int shift) { return static_cast<int>(word >> shift & 255); };
    const std::array<int, 3> out = cube.Map({sample(16), sample(8), sample(0)});
    return static_cast<Zan::ULong32>(out[0] << 16 | out[1] << 8 | out[2]);
}

TEST(CubeModel, EveryKindOfTextOnEveryTarget) {
    OnEveryTarget([] {
        for (int round = 0; round < (kSanitized ? 4 : 25); ++round) {
            const Both both(AnyText());
            SCOPED_TRACE(both.text.substr(0, 300));
            std::vector<Zan::ULong32> words = Colours(1000), out(1000);
            const Zan::LookUpTable3D& base = both.table;
            ASSERT_EQ((OneIn(2) ? base : both.table).Do(words.data(), out.data(), 125, 8, 500, 500, 2), 0);
            for (std::size_t i = 0; i < words.size(); ++i) {
                ASSERT_EQ(out[i], Mapped(both.model, words[i])) << std::hex << words[i];
            }
        }
    });
}

// Whole numbers stay within their one rounding of what tetrahedra give in doubles.
TEST(CubeModel, WithinOneRoundingOfDoubles) {
    for (int round = 0; round < (kSanitized ? 4 : 30); ++round) {
        Text text = AnyText();
        text.least = 0;
        text.most = 1;
        const Both both(text);
        SCOPED_TRACE(both.text.substr(0, 300));
        std::vector<Zan::ULong32> words = Colours(1000), out(1000);
        ASSERT_EQ(both.table.LookUpTable3D::Do(words.data(), out.data(), 1000, 1, 0, 0, 0), 0);
        for (std::size_t i = 0; i < words.size(); ++i) {
            const auto sample = [&](int shift) { return static_cast<int>(words[i] >> shift & 255); };
            const auto exact = both.model.MapInDoubles({sample(16), sample(8), sample(0)});
            for (std::size_t channel = 0; channel < 3; ++channel) {
                const double is = out[i] >> (16 - 8 * channel) & 255;
                // 255 / 65536 for a point's value, and 255 / 16320 / 2 of a step between points for its
                // place.
                ASSERT_LE(std::fabs(is - exact[channel]), 0.5 + 0.004 + 0.024) << std::hex << words[i];
            }
        }
    }
}

TEST(CubeModel, Pictures) {
    OnEveryTarget([] {
        Text small;
        small.size = 9;
        const Both cube(small);
        Text curve;
        curve.dimensions = 1;
        curve.size = 33;
        const Both curves(curve);
        ForWidths(0, [&](int width) {
            Layout layout;
            layout.width = width;
            layout.height = RandomFrom<int>(0, 7);
            const auto sampling = AnyOf({Zan::k4444, Zan::k444});
            Format format = Rgb(sampling);
            format.shaping = AnyOf({Zan::kUnshaped, Zan::kShaped});
            Scene scene = MakeScene({format, Rgb(sampling)}, layout);
            ExpectPicture(scene, OneIn(3) ? curves : cube, AnyOf({0, 1, 2, 3, 5, 99}), OneIn(4));
        });
    });
}

TEST(CubeModel, PicturesThatAreRefused) {
    const Both both(Text{});
    Format deep = Rgb(), deeper = Rgb();
    deep.bits = Zan::k16Bits;
    deeper.bits = Zan::k32Bits;
    const Format refused[] = {Rgb(Zan::k444),    Words(), Pairs(), Grey(),
                              Planar(Zan::k420), deep,    deeper,  {Zan::kYCrCb, Zan::k444, Zan::kCbYCrA}};
    Layout layout;
    layout.fields = layout.bottomLeft = false;
    for (const Format& format : refused) {
        for (const bool first : {true, false}) {
            Scene scene = MakeScene({first ? format : Rgb(), first ? Rgb() : format}, layout);
            ExpectPicture(scene, both, 5);
            scene.pictures[first ? 0 : 1]->Drop(0);
            EXPECT_EQ(both.table.Do(scene.views[0], scene.views[1]), 4);
            Zan::ImageView nothing;
            EXPECT_EQ(both.table.Do(first ? scene.views[0] : nothing, first ? nothing : scene.views[1]), 1);
        }
    }
    for (const bool first : {true, false}) {
        Scene scene = MakeScene({Rgb(), Rgb()}, layout);
        scene.pictures[first ? 0 : 1]->Drop(0);
        ExpectPicture(scene, both, 5);
        Format upward = Rgb();
        upward.origin = Zan::kBottomLeft;
        Picture bad(upward), good(Rgb());
        Zan::ImageView field(bad, Zan::Rectangle(0, 0, 16, 4), Zan::kUpperField), whole(good);
        EXPECT_EQ(both.table.Do(first ? field : whole, first ? whole : field), 98);
    }
}

TEST(CubeModel, IdentityUntilRead) {
    std::vector<Zan::ULong32> words = Colours(256), out(256);
    const Zan::LookUpTable3D plain;
    ASSERT_EQ(plain.Do(words.data(), out.data(), 32, 8, 128, 128, 0), 0);
    for (std::size_t i = 0; i < words.size(); ++i) {
        EXPECT_EQ(out[i], words[i] & 0xFFFFFFU);
    }
    Zan::CubeLUT unread;
    EXPECT_EQ(unread.GetDimensions(), 0U);
    EXPECT_EQ(unread.GetSize(), 0U);
    EXPECT_STREQ(unread.GetTitle(), "");
    Layout layout;
    layout.width = 37;
    Scene scene = MakeScene({Rgb(), Rgb()}, layout);
    ExpectAsModel(
        scene, [&](Zan::ImageView& a, Zan::ImageView& b) { return unread.Do(a, b); },
        [](const Operand& a, Operand& b) { return Apply(Cube(), a, b); });
}

// Plain memory: pitches in all their forms, in place, sizes that count as nothing.
TEST(LookUpTable3DModel, PlainMemory) {
    Text text;
    text.size = 5;
    const Both both(text);
    OnEveryTarget([&] {
        ForWidths(0, [&](int usual) {
            for (const bool identity : {true, false}) {
                const int width = OneIn(20) ? RandomFrom<int>(200, 900) : usual;
                const int height = RandomFrom<int>(0, 7);
                Layout layout;
                layout.width = width;
                layout.height = height;
                layout.pitchUnit = 4;
                Scene scene = MakeScene({Rgb(), Rgb()}, layout);
                const Zan::LookUpTable3D plain;
                const Zan::LookUpTable3D& table = identity ? plain : both.table;
                const bool inPlace = OneIn(4);
                std::vector<Operand> o = scene.Operands();
                if (inPlace) {
                    o[1] = o[0];
                }
                Zan::ImageView& a = scene.views[0];
                Zan::ImageView& b = scene.views[inPlace ? 0 : 1];
                const int lines = std::min(o[0].height, o[1].height);
                const auto word = [](const Zan::ImageView& view) {
                    return static_cast<Zan::ULong32*>(view.GetMemoryPointer(0));
                };
                // Bits that are cleared: none of these pitches has any.
                const auto pitch = [](const Zan::ImageView& view) {
                    return static_cast<Zan::ULong32>(view.GetPitch(0)) | RandomFrom<Zan::ULong32>(0, 3);
                };
                for (std::ptrdiff_t y = 0; y < lines; ++y) {
                    for (std::ptrdiff_t x = 0; x < width; ++x) {
                        const std::ptrdiff_t from = o[0].colour.first + y * o[0].colour.pitch + 4 * x;
                        const std::ptrdiff_t to = o[1].colour.first + y * o[1].colour.pitch + 4 * x;
                        const std::array<int, 3> rgb = {o[0].colour.At(from + 2), o[0].colour.At(from + 1),
                                                        o[0].colour.At(from)};
                        const std::array<int, 3> out = identity ? rgb : both.model.Map(rgb);
                        for (std::ptrdiff_t i = 0; i < 3; ++i) {
                            o[1].colour.Put(to + i,
                                            static_cast<std::uint8_t>(out[static_cast<std::size_t>(2 - i)]));
                        }
                        o[1].colour.Put(to + 3, 0);
                    }
                }
                ASSERT_EQ(table.Do(word(a), word(b), static_cast<Zan::ULong32>(width),
                                   static_cast<Zan::ULong32>(lines), pitch(a), pitch(b),
                                   RandomFrom<unsigned>(0, 9)),
                          0);
                Picture& changed = *scene.pictures[inPlace ? 0 : 1];
                ASSERT_TRUE(SameMemory("words", o[1].colour, changed.Colour())) << scene.Describe();
            }
        });
    });
}

TEST(LookUpTable3DModel, Sizes) {
    const Zan::LookUpTable3D plain;
    Zan::ULong32 in[4] = {0xFF123456U, 1, 2, 3}, out[4] = {9, 9, 9, 9};
    const auto call = [&](Zan::ULong32 width, Zan::ULong32 height) {
        return plain.Do(in, out, width, height, 8, 8, 0);
    };
    EXPECT_EQ(call(0xFFFFFFFFU, 1), -1);
    EXPECT_EQ(call(1, 0xFFFFFFFFU), -1);
    EXPECT_EQ(call(0x80000001U, 0), -1);
    EXPECT_EQ(call(0, 0x80000001U), -1);
    EXPECT_EQ(call(0xFFFFFFFFU, 0x80000000U), -1);
    EXPECT_EQ(call(0x80000000U, 2), 0);
    EXPECT_EQ(call(2, 0x80000000U), 0);
    EXPECT_EQ(call(0, 2), 0);
    EXPECT_EQ(call(2, 0), 0);
    EXPECT_EQ(out[0], 9U);
    EXPECT_EQ(call(2, 2), 0);
    EXPECT_EQ(out[0], 0x123456U);
    EXPECT_EQ(out[3], 3U);
}

// A text that cannot be read leaves the table as it was; copies share what was read.
TEST(CubeModel, ReadingAgain) {
    Text text;
    text.size = 3;
    Both both(text);
    Zan::CubeLUT copy(both.table);
    const std::string broken = "LUT_3D_SIZE 2\n0 0 0\n";
    Zan::ULong32 line = 0;
    EXPECT_EQ(both.table.Read(broken.data(), broken.size(), line), Zan::CubeLUT::kTooFewRows);
    EXPECT_EQ(both.table.GetSize(), 3U);
    Text other;
    other.dimensions = 1;
    other.size = 9;
    const std::string second = Write(other);
    EXPECT_EQ(both.table.Read(second.data(), second.size(), line), 0);
    EXPECT_EQ(both.table.GetDimensions(), 1U);
    EXPECT_EQ(copy.GetDimensions(), 3U);
    const Cube changed = Cube::Of(second);
    for (Zan::ULong32 word : Colours(200)) {
        Zan::ULong32 out = 0;
        EXPECT_EQ(copy.LookUpTable3D::Do(&word, &out, 1, 1, 0, 0, 0), 0);
        EXPECT_EQ(out, Mapped(both.model, word));
        EXPECT_EQ(both.table.LookUpTable3D::Do(&word, &out, 1, 1, 0, 0, 0), 0);
        EXPECT_EQ(out, Mapped(changed, word));
    }
}

TEST(CubeModel, FaultsOfTextAndTheirLines) {
    struct Case {
        const char* text;
        Zan::Long32 status;
        Zan::ULong32 line;
    };
    using Zan::CubeLUT;
    const Case cases[] = {
        {"", CubeLUT::kNoSize, 0},
        {"# nothing\n", CubeLUT::kNoSize, 1},
        {"LUT_3D_SIZE 1\n", CubeLUT::kBadSize, 1},
        {"LUT_3D_SIZE 257\n", CubeLUT::kBadSize, 1},
        {"LUT_1D_SIZE 65537\n", CubeLUT::kBadSize, 1},
        {"LUT_1D_SIZE 1\n", CubeLUT::kBadSize, 1},
        {"LUT_1D_SIZE 2\nLUT_3D_SIZE 2\n", CubeLUT::kRepeated, 2},
        {"LUT_1D_SIZE 2\n0 0 0\nTITLE \"x\"\n", CubeLUT::kOutOfPlace, 3},
        {"\n0 0 0\nLUT_1D_SIZE 2\n", CubeLUT::kOutOfPlace, 2},
        {"LUT_1D_SIZE 2\n0 0 0\n1 1 1\n1 1 1\n", CubeLUT::kTooManyRows, 4},
        {"LUT_1D_SIZE 2\nWHAT\n", CubeLUT::kUnknownLine, 2},
        {"TITLE none\n", CubeLUT::kBadTitle, 1},
        {"TITLE \"a\"\nTITLE \"b\"\n", CubeLUT::kRepeated, 2},
        {"LUT_1D_SIZE 2\n0 0 1e99\n", CubeLUT::kBadNumber, 2},
    };
    for (const Case& c : cases) {
        Zan::CubeLUT table;
        Zan::ULong32 line = 1234;
        const std::string text = c.text;
        EXPECT_EQ(table.Read(text.data(), text.size(), line), c.status) << text;
        EXPECT_EQ(line, c.line) << text;
        EXPECT_EQ(table.GetDimensions(), 0U);
        EXPECT_NE(Zan::CubeLUT::ReadStatusText(c.status), nullptr);
    }
    Zan::CubeLUT table;
    Zan::ULong32 line = 0;
    EXPECT_EQ(table.Read(nullptr, 0, line), CubeLUT::kNoText);
}

}  // namespace

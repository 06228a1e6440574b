#include <TesselU/foundation/Version.h>

#include "ProgramRun.h"

namespace tool::test {
namespace {

using CommandLineTest = ProgramTest;

TEST_F(CommandLineTest, HelpSucceeds) {
    const Outcome help = Run("--help");
    EXPECT_EQ(help.status, 0);
    for (const char* word : {"wipe", "patterns", "info", "testcard"})
        EXPECT_NE(help.out.find(word), std::string::npos) << word;
    EXPECT_EQ(Run("wipe --help").status, 0);
}

TEST_F(CommandLineTest, WrongCallsAreUsageErrors) {
    WriteFlat("a.y4m", 4);
    ExpectOneLine(Run(""), 2, "a command is needed");
    ExpectOneLine(Run("swipe"), 2, "swipe");
    ExpectOneLine(Run("wipe a.y4m"), 2, "");
    ExpectOneLine(Run("wipe a.y4m a.y4m"), 2, "-o");
    ExpectOneLine(Run("wipe a.y4m a.y4m -o out.y4m --frobnicate"), 2, "frobnicate");
    EXPECT_FALSE(Exists("out.y4m"));
}

TEST_F(CommandLineTest, EveryBadOptionIsNamed) {
    WriteFlat("a.y4m", 4);
    const struct {
        const char *options, *named;
    } cases[] = {
        {"--size 0x0", "--size 0x0"},           {"--size 31x16", "--size 31x16"},
        {"--size 32x17", "--size 32x17"},       {"--size 16386x16", "--size 16386x16"},
        {"--size 4294967298x16", "--size"},     {"--size 32", "--size 32"},
        {"--size 32x16x2", "--size 32x16x2"},   {"--size -32x16", "--size"},
        {"--size axb", "--size axb"},           {"--style fast", "--style fast"},
        {"--scan sideways", "--scan sideways"}, {"--softness nan", "--softness"},
        {"--softness inf", "--softness"},       {"--softness -1", "--softness"},
        {"--softness soft", "--softness"},      {"--frames 0", "--frames 0"},
        {"--frames -3", "--frames -3"},         {"--frames 99999999999-", "--frames"},
        {"--pattern 0", "--pattern 0"},         {"--pattern 9", "--pattern 9"},
        {"--pattern 124", "--pattern 124"},     {"--pattern 409", "--pattern 409"},
        {"--pattern -1", "--pattern"},          {"--pattern x", "--pattern"},
    };
    for (const auto& [options, named] : cases) {
        SCOPED_TRACE(options);
        ExpectOneLine(Run(std::string("wipe a.y4m a.y4m -o out.y4m ") + options), 2, named);
        EXPECT_FALSE(Exists("out.y4m"));
    }
}

TEST_F(CommandLineTest, AMissingPatternListsThoseThatExist) {
    WriteFlat("a.y4m", 4);
    ExpectOneLine(Run("wipe a.y4m a.y4m -o out.y4m --pattern 9"), 2, "1-8, 21-26, 41-48, 61-68, 71-74");
}

TEST_F(CommandLineTest, OutputNamesThatSayNothingAreRefused) {
    WriteFlat("a.y4m", 4);
    ExpectOneLine(Run("wipe a.y4m a.y4m -o out.gif"), 2, "out.gif");
    ExpectOneLine(Run("wipe a.y4m a.y4m -o out"), 2, "-o out");
    ExpectOneLine(Run("wipe a.y4m a.y4m -o out.png"), 2, "out.png");
    ExpectOneLine(Run("wipe a.y4m a.y4m -o out-%d-%d.png"), 2, "out-%d-%d.png");
    ExpectOneLine(Run("wipe a.y4m a.y4m -o out-%s.png"), 2, "out-%s.png");
}

TEST_F(CommandLineTest, AnInputIsNeverOverwritten) {
    WriteFlat("a.y4m", 4);
    const std::string before = Contents(In("a.y4m"));
    ExpectOneLine(Run("wipe a.y4m a.y4m -o a.y4m"), 2, "a.y4m");
    ExpectOneLine(Run("wipe a.y4m a.y4m -o ./a.y4m"), 2, "./a.y4m");
    ExpectOneLine(Run("wipe a.y4m a.y4m -o out.y4m --sheet a.y4m"), 2, "--sheet a.y4m");
    ExpectOneLine(Run("wipe a.y4m a.y4m -o out.y4m --sheet out.y4m"), 2, "--sheet out.y4m");
    EXPECT_EQ(Contents(In("a.y4m")), before);
}

TEST_F(CommandLineTest, InputsThatCannotBeReadAreNamed) {
    WriteFlat("a.y4m", 4);
    std::ofstream(In("text.mp4")) << "no film at all\n";
    std::ofstream(In("empty.mkv")) << "";
    std::ofstream(In("cut.y4m")) << "YUV4MPEG2 W32 H16 F50:1 Ip C422\nFRAME\nshort";
    ExpectOneLine(Run("wipe a.y4m missing.mp4 -o out.y4m"), 1, "missing.mp4");
    ExpectOneLine(Run("wipe missing.mp4 a.y4m -o out.y4m"), 1, "missing.mp4");
    ExpectOneLine(Run("wipe a.y4m text.mp4 -o out.y4m"), 1, "text.mp4");
    ExpectOneLine(Run("wipe a.y4m empty.mkv -o out.y4m"), 1, "empty.mkv");
    ExpectOneLine(Run("wipe a.y4m cut.y4m -o out.y4m"), 1, "cut.y4m");
    ExpectOneLine(Run("wipe a.y4m . -o out.y4m"), 1, ".: not a file");
    EXPECT_FALSE(Exists("out.y4m"));
}

TEST_F(CommandLineTest, NumbersAreDecimal) {
    WriteFlat("a.y4m", 2);
    EXPECT_EQ(Run("wipe a.y4m a.y4m -o plain.y4m --pattern 41").status, 0);
    EXPECT_EQ(Run("wipe a.y4m a.y4m -o zero.y4m --pattern 041").status, 0);
    ExpectOneLine(Run("wipe a.y4m a.y4m -o out.y4m --pattern 0x29"), 2, "--pattern 0x29");
    // Octal 51 is 41; there is no pattern 51.
    ExpectOneLine(Run("wipe a.y4m a.y4m -o out.y4m --pattern 051"), 2, "--pattern 51");
}

TEST_F(CommandLineTest, EmptyValuesAreRefused) {
    WriteFlat("a.y4m", 2);
    for (const char* option : {"pattern", "softness", "frames", "length", "size", "scan", "rate",
                               "output-rate", "raw", "sheet", "style", "threads", "to"}) {
        SCOPED_TRACE(option);
        const std::string name = std::string("--") + option;
        ExpectOneLine(Run("wipe a.y4m a.y4m -o out.y4m " + name + "="), 2, name + ": the value is empty");
        ExpectOneLine(Run("wipe a.y4m a.y4m -o out.y4m " + name + " ''"), 2, name + ": the value is empty");
    }
    ExpectOneLine(Run("wipe a.y4m a.y4m -o ''"), 2, "-o: the value is empty");
    ExpectOneLine(Run("wipe a.y4m '' -o out.y4m"), 2, "empty");
    EXPECT_FALSE(Exists("out.y4m"));
}

TEST_F(CommandLineTest, OptionsStandAnywhereAndOnce) {
    WriteFlat("a.y4m", 2);
    EXPECT_EQ(Run("wipe --pattern=1 a.y4m -oout.y4m a.y4m -q").status, 0);
    std::filesystem::copy_file(In("a.y4m"), In("-a.y4m"));
    EXPECT_EQ(Run("wipe -o out.y4m -- -a.y4m a.y4m").status, 0);
    ExpectOneLine(Run("wipe a.y4m a.y4m -o out.y4m --size 16x16 --size 32x32"), 2,
                  "--size 32x32: given twice");
    ExpectOneLine(Run("wipe a.y4m a.y4m a.y4m -o out.y4m"), 2, "one argument too many");
    ExpectOneLine(Run("wipe a.y4m a.y4m -o"), 2, "a value is missing");
    ExpectOneLine(Run("wipe a.y4m a.y4m -o out.y4m --quiet=yes"), 2, "takes no value");
}

TEST_F(CommandLineTest, VersionIsThatOfTheLibrary) {
    EXPECT_EQ(Run("--version").out, "tesselu " TESSELU_VERSION "\n");
    EXPECT_EQ(Run("--version").status, 0);
}

TEST_F(CommandLineTest, HelpNamesStatusesAndTwoExamples) {
    for (const char* command : {"", "wipe ", "dissolve ", "over ", "lut ", "adjust ", "correct ", "scope ",
                                "compare ", "testcard ", "pattern ", "mask ", "patterns ", "info "}) {
        SCOPED_TRACE(command);
        const std::string help = Run(std::string(command) + "--help").out;
        for (const char* part :
             {"Exit status:\n  0 ", "\n  1 ", "\n  2 ", "129, 130, 143", "\nExamples:\n  "}) {
            EXPECT_NE(help.find(part), std::string::npos) << part << help;
        }
        const std::string examples = help.substr(help.find("Examples:"));
        std::size_t count = 0;
        for (std::size_t at = 0; (at = examples.find("tesselu ", at)) != std::string::npos; ++at) {
            count += examples[at - 1] == ' ' && at >= 3 ? 1 : 0;
        }
        EXPECT_GE(count, 2U) << examples;
        std::istringstream lines(help);
        for (std::string line; std::getline(lines, line);) {
            if (line.find("ffmpeg") == std::string::npos) {
                EXPECT_LE(line.size(), 80U) << line;
            }
        }
    }
}

TEST_F(CommandLineTest, ASheetIsAPngPicture) {
    WriteFlat("a.y4m", 2);
    ExpectOneLine(Run("wipe a.y4m a.y4m -o out.y4m --sheet x.jpg"), 2, "--sheet x.jpg");
    ExpectOneLine(Run("patterns --sheet x.jpg"), 2, "--sheet x.jpg");
    EXPECT_FALSE(Exists("x.jpg"));
}

// Where the size is the cause, the size is named.
TEST_F(CommandLineTest, PicturesThatAreTooSmallAreNamedWithTheirSize) {
    WriteFlat("tiny.y4m", 2, 40, 4, 4);
    WriteFlat("a.y4m", 2);
    ExpectOneLine(Run("wipe tiny.y4m a.y4m -o out.y4m"), 2, "tiny.y4m: its 4x4 pixels");
    EXPECT_EQ(Run("wipe tiny.y4m a.y4m -o out.y4m --size 32x32").status, 0);
    EXPECT_EQ(Run("wipe a.y4m tiny.y4m -o out.y4m").status, 0);
    Ffmpeg("-f lavfi -i color=red:s=2x2 -frames:v 1 dot.png");
    Ffmpeg("-f lavfi -i color=red:s=9x3000 -frames:v 1 line.png");
    EXPECT_EQ(Run("wipe a.y4m dot.png -o out.y4m").status, 0);
    EXPECT_EQ(Run("wipe a.y4m line.png -o out.y4m").status, 0);
}

TEST_F(CommandLineTest, InfoTellsVersionAndPaths) {
    const Outcome info = Run("info");
    EXPECT_EQ(info.status, 0);
    for (const char* word : {"TesselU ",       "build: ",         "detected: ",
                             "SIMD target: ",  "ZanCompositor",   "ColorSpaceConverterMT",
                             "LookUpTable ",   "InvertLUT",       "PosterizeLUT",
                             "Posterize ",     "LookUpTable3D",   "CubeLUT",
                             "Histogram",      "ColorAdjustment", "BaseColorCorrection",
                             "ChromaKeyerYUV", "LinearKeyer",     "LumaKeyer",
                             "Mixup",          "DeepDefocus ",    "DeepDefocusMT",
                             "NoiseReduction", "Operations3D",    "Transform3D"})
        EXPECT_NE(info.out.find(word), std::string::npos) << word;
}

TEST_F(CommandLineTest, PatternsMarksWhatIsDrawn) {
    const Outcome patterns = Run("patterns");
    EXPECT_EQ(patterns.status, 0);
    EXPECT_NE(patterns.out.find("*  41  diagonal, from the top left\n"), std::string::npos);
    EXPECT_NE(patterns.out.find(" 353  waterfall, rows from the right\n"), std::string::npos);
    EXPECT_EQ(patterns.out.find(" 124  "), std::string::npos);
}

}  // namespace
}  // namespace tool::test

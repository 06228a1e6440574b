#include "platform/posix/ProcessorFiles.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <initializer_list>
#include <string>

namespace Zan {
namespace {

ProcessorSet SetOf(std::initializer_list<std::size_t> bits) {
    ProcessorSet set;
    for (const std::size_t bit : bits) {
        set.set(bit);
    }
    return set;
}

/// A file with some text, as long as it lives.
class TextFile {
public:
    explicit TextFile(const std::string& text) {
        const int file = ::mkstemp(name.data());
        EXPECT_GE(file, 0);
        EXPECT_EQ(::write(file, text.data(), text.size()), static_cast<ssize_t>(text.size()));
        ::close(file);
    }
    ~TextFile() { ::unlink(name.c_str()); }
    TextFile(const TextFile&) = delete;
    TextFile& operator=(const TextFile&) = delete;

    const char* Path() const { return name.c_str(); }

private:
    std::string name = testing::TempDir() + "tesselu_XXXXXX";
};

TEST(ProcessorFiles, NumbersAreTakenFromTheFront) {
    std::string_view text = "012,7";
    std::size_t number = 99;
    EXPECT_TRUE(TakeNumber(text, number));
    EXPECT_EQ(number, 12U);
    EXPECT_EQ(text, ",7");
    EXPECT_FALSE(TakeNumber(text, number));
    EXPECT_EQ(text, ",7");
    text = "";
    EXPECT_FALSE(TakeNumber(text, number));
    text = "12345678901";
    EXPECT_TRUE(TakeNumber(text, number));
    EXPECT_EQ(number, 123456789U);
    EXPECT_EQ(text, "01");
}

TEST(ProcessorFiles, ListsOfProcessors) {
    EXPECT_EQ(ParseProcessorList("0"), SetOf({0}));
    EXPECT_EQ(ParseProcessorList("0-3"), SetOf({0, 1, 2, 3}));
    EXPECT_EQ(ParseProcessorList("0-3,8,10-11"), SetOf({0, 1, 2, 3, 8, 10, 11}));
    EXPECT_EQ(ParseProcessorList("1023"), SetOf({1023}));
    EXPECT_EQ(ParseProcessorList("1022-999999999"), SetOf({1022, 1023})) << "the set ends there";
    EXPECT_EQ(ParseProcessorList("5-3"), SetOf({}));
    for (const char* const nothing : {"", "-", ",", "none", " 1"}) {
        EXPECT_TRUE(ParseProcessorList(nothing).none()) << nothing;
    }
    for (const char* const one : {"1,", "1,x", "1 2", "1,-3", "1,2-"}) {
        EXPECT_EQ(ParseProcessorList(one), SetOf({1})) << one;
    }
}

TEST(ProcessorFiles, ListInAFile) {
    EXPECT_EQ(ReadProcessorList(TextFile("0-1,4\n").Path()), SetOf({0, 1, 4}));
    EXPECT_EQ(ReadProcessorList(TextFile("2").Path()), SetOf({2})) << "without a line's end";
    EXPECT_TRUE(ReadProcessorList(TextFile("").Path()).none());
    EXPECT_TRUE(ReadProcessorList("/nowhere/at/all").none());
}

TEST(ProcessorFiles, ApicIdsOfTheProcessors) {
    // A line longer than every buffer stands between.
    const std::string flags = "flags\t\t: " + std::string(10000, 'x') + "\n";
    const TextFile file("processor\t: 0\n" + flags +
                        "apicid\t\t: 9\ninitial apicid\t: 0\n\nprocessor\t: 3\n" + flags +
                        "initial apicid\t: 6\n\nprocessor\t: 4\ninitial apicid\t: 257\n\n" +
                        "processor\t: 5\n\nprocessor\t: 4000\ninitial apicid\t: 7\n");
    const ApicIds ids(file.Path());
    std::uint8_t id = 99;
    EXPECT_TRUE(ids.Find(0, id));
    EXPECT_EQ(id, 0);
    EXPECT_TRUE(ids.Find(3, id));
    EXPECT_EQ(id, 6);
    EXPECT_TRUE(ids.Find(4, id));
    EXPECT_EQ(id, 1) << "an id has 8 bits";
    for (const std::size_t unknown : std::initializer_list<std::size_t>{1, 2, 5, 1023, 1024, 4000}) {
        EXPECT_FALSE(ids.Find(unknown, id)) << unknown;
    }
    EXPECT_FALSE(ApicIds("/nowhere/at/all").Find(0, id));
}

}  // namespace
}  // namespace Zan

#include <cstdint>
#include <gmock/gmock.h>
#include <random>
#include <string>
#include <vector>
#include <vesksystemd.hpp>

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using Words = std::vector<std::string>;

Words Split(const std::string& text, const std::string& delimiters)
{
    Words words;
    EXPECT_TRUE(VESK::Systemd::Split(text, words, delimiters));
    return words;
}

TEST(Split, GivesThePiecesBetweenAnyOfTheDelimiters)
{
    EXPECT_THAT(Split("a,b", ","), ElementsAre("a", "b"));
    EXPECT_THAT(Split("a,b;c d", ",; "), ElementsAre("a", "b", "c", "d"));
    EXPECT_THAT(Split("one", ","), ElementsAre("one"));
}

TEST(Split, DropsWhiteSpaceAroundTheTextOnly)
{
    EXPECT_THAT(Split("  a,b \t\r\n\v\f", ","), ElementsAre("a", "b"));
    EXPECT_THAT(Split(" a , b ", ","), ElementsAre("a ", " b"));
    EXPECT_THAT(Split(" a  b ", " "), ElementsAre("a", "", "b"));
}

TEST(Split, GivesAnEmptyPieceBetweenTwoDelimiters)
{
    EXPECT_THAT(Split("a,,b", ","), ElementsAre("a", "", "b"));
    EXPECT_THAT(Split(",a,", ","), ElementsAre("", "a", ""));
    EXPECT_THAT(Split(",", ","), ElementsAre("", ""));
}

TEST(Split, LeavesTheListAsItWasForABlankText)
{
    for (const char* text : {"", " ", " \t\r\n\v\f "}) {
        Words words{"earlier"};
        EXPECT_TRUE(VESK::Systemd::Split(text, words, " "));
        EXPECT_THAT(words, ElementsAre("earlier"));
    }
}

TEST(Split, ReplacesTheListForAnyOther)
{
    Words words{"earlier", "and more"};
    EXPECT_TRUE(VESK::Systemd::Split("a", words, ","));
    EXPECT_THAT(words, ElementsAre("a"));
}

TEST(Split, GivesTheWholeTextWithoutDelimiters)
{
    EXPECT_THAT(Split(" a,b c ", ""), ElementsAre("a,b c"));
}

TEST(Split, TakesAnyByte)
{
    EXPECT_THAT(Split(std::string("a\0b", 3), std::string(1, '\0')), ElementsAre("a", "b"));
    EXPECT_THAT(Split(std::string("a\0b", 3), ","), ElementsAre(std::string("a\0b", 3)));
    EXPECT_THAT(Split("\xff,\xfe\x80", ",\x80"), ElementsAre("\xff", "\xfe", ""));
}

TEST(Split, TakesAPieceOfTheListItself)
{
    Words words{"a,b", ","};
    EXPECT_TRUE(VESK::Systemd::Split(words[0], words, words[1]));
    EXPECT_THAT(words, ElementsAre("a", "b"));
}

TEST(Split, TakesAMillionPieces)
{
    const Words words = Split("x" + std::string(1000000, ','), ",");
    EXPECT_EQ(words.size(), 1000001U);
    EXPECT_EQ(words.front(), "x");
}

// The rules once more, one character at a time.
Words SlowSplit(const std::string& text, const std::string& delimiters)
{
    const std::string blanks = " \t\r\n\v\f";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string::npos) {
        return {};
    }
    Words words(1);
    for (std::size_t i = first; i <= text.find_last_not_of(blanks); ++i) {
        if (delimiters.find(text[i]) != std::string::npos) {
            words.emplace_back();
        } else {
            words.back() += text[i];
        }
    }
    return words;
}

TEST(Split, DoesTheSameToRandomTexts)
{
    std::mt19937 random(20240229); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same texts each time
    const std::string alphabet("ab,;: \t\n\r\v\f\0\x80\xff", 14);
    const auto text = [&](std::uint32_t longest) {
        std::string result(random() % longest, '\0');
        for (char& character : result) {
            character = alphabet[random() % alphabet.size()];
        }
        return result;
    };
    for (int round = 0; round < 5000; ++round) {
        const std::string input = text(40);
        const std::string delimiters = text(20);
        ASSERT_EQ(Split(input, delimiters), SlowSplit(input, delimiters))
            << ::testing::PrintToString(input) << ::testing::PrintToString(delimiters);
    }
}

} // namespace
} // namespace VeskTest

#include "unit_text.h"

#include <cstddef>
#include <gmock/gmock.h>
#include <random>
#include <string>
#include <string_view>

using testing::Eq;
using testing::Optional;
using VESK::Platform::FindSectionValue;
using VESK::Platform::IsWritableSection;
using VESK::Platform::KeyValues;
using VESK::Platform::ReplaceSection;

namespace
{

std::optional<std::string> Name(std::string_view text)
{
    return FindSectionValue(text, "X-Veskline", "Name");
}

TEST(SectionText, FindsTheValueOfAKey)
{
    EXPECT_THAT(Name("[Unit]\nName=other\n[X-Veskline]\nName=File station\n"), Optional(Eq("File station")));
}

TEST(SectionText, HasNoValueForAMissingKeyOrSection)
{
    EXPECT_EQ(Name(""), std::nullopt);
    EXPECT_EQ(Name("Name=outside\n"), std::nullopt);
    EXPECT_EQ(Name("[Unit]\nName=other\n"), std::nullopt);
    EXPECT_EQ(Name("[X-Veskline]\nNames=other\nname=other\n"), std::nullopt);
    EXPECT_EQ(Name("[x-veskline]\nName=other\n"), std::nullopt);
}

TEST(SectionText, DropsBlanksAroundTheEqualsSignAndAtTheLineEnds)
{
    EXPECT_THAT(Name(" \t[X-Veskline] \t\n \tName \t= \ta  b\t \n"), Optional(Eq("a  b")));
}

TEST(SectionText, KeepsEverythingAfterTheFirstEqualsSign)
{
    EXPECT_THAT(Name("[X-Veskline]\nName=a=b # no comment ; either\n"),
                Optional(Eq("a=b # no comment ; either")));
    EXPECT_THAT(Name("[X-Veskline]\nName=\"quoted\" %n $HOME\n"), Optional(Eq("\"quoted\" %n $HOME")));
}

TEST(SectionText, SkipsCommentLines)
{
    EXPECT_THAT(Name("#[X-Veskline]\n[X-Veskline]\n#Name=a\n  ;Name=b\nName=c\n# Name=d"), Optional(Eq("c")));
}

TEST(SectionText, TakesTheLastAssignmentOfTheSection)
{
    EXPECT_THAT(Name("[X-Veskline]\nName=a\nName=b\n"), Optional(Eq("b")));
    EXPECT_THAT(Name("[X-Veskline]\nName=a\nName=\n"), Optional(Eq("")));
    EXPECT_THAT(Name("[X-Veskline]\nName=\nName=b\n"), Optional(Eq("b")));
}

TEST(SectionText, TreatsASectionThatComesTwiceAsOne)
{
    EXPECT_THAT(Name("[X-Veskline]\nName=a\n[Unit]\nName=x\n[X-Veskline]\nOther=b\n"), Optional(Eq("a")));
    EXPECT_THAT(Name("[X-Veskline]\nName=a\n[Unit]\n[X-Veskline]\nName=b\n"), Optional(Eq("b")));
}

TEST(SectionText, TurnsABackslashAtTheLineEndIntoABlank)
{
    EXPECT_THAT(Name("[X-Veskline]\nName=a\\\nb\n"), Optional(Eq("a b")));
    EXPECT_THAT(Name("[X-Veskline]\nName=a \\\n  b\\\nc"), Optional(Eq("a    b c")));
    EXPECT_THAT(Name("[X-Veskline]\nName=a\\\n"), Optional(Eq("a")));
    EXPECT_THAT(Name("[X-Veskline]\nName=a\\\n\nName2=b"), Optional(Eq("a")));
}

TEST(SectionText, SkipsCommentsInsideAContinuedLine)
{
    EXPECT_THAT(Name("[X-Veskline]\nName=a\\\n# one\n;two\\\nb\n"), Optional(Eq("a b")));
}

TEST(SectionText, ContinuesOnlyAfterABackslashThatIsNotItselfEscaped)
{
    EXPECT_THAT(Name("[X-Veskline]\nName=a\\\\\nb=c\n"), Optional(Eq("a\\\\")));
    EXPECT_THAT(Name("[X-Veskline]\nName=a\\\\\\\nb\n"), Optional(Eq("a\\\\ b")));
    EXPECT_THAT(Name("[X-Veskline]\nName=a\\ \nb=c\n"), Optional(Eq("a\\")));
}

TEST(SectionText, TakesNoHeaderFromAContinuedLine)
{
    EXPECT_THAT(Name("[X-Veskline]\nName=a\\\n[Unit]\nOther=b\n"), Optional(Eq("a [Unit]")));
    EXPECT_EQ(Name("[Unit]\nAfter=a\\\n[X-Veskline]\nName=b\n"), std::nullopt);
}

TEST(SectionText, TakesAKeyThatContinuesOnTheNextLine)
{
    EXPECT_THAT(Name("[X-Veskline]\nName\\\n=a\n"), Optional(Eq("a")));
}

TEST(SectionText, ReadsTheLineEndsOfOtherSystems)
{
    EXPECT_THAT(Name("[X-Veskline]\r\nName=a\\\r\nb\r\n"), Optional(Eq("a b")));
    EXPECT_THAT(Name("[X-Veskline]\rName=a\rOther=b"), Optional(Eq("a")));
    EXPECT_THAT(Name(std::string_view("[X-Veskline]\0Name=a\0Other=b", 27)), Optional(Eq("a")));
}

TEST(SectionText, SkipsAByteOrderMarkAtTheStart)
{
    EXPECT_THAT(Name("\xEF\xBB\xBF[X-Veskline]\nName=a\n"), Optional(Eq("a")));
}

TEST(SectionText, TakesNothingFromBehindABrokenHeader)
{
    EXPECT_EQ(Name("[X-Veskline\nName=a\n"), std::nullopt);
    EXPECT_EQ(Name("[X-Veskline]\n[Broken\nName=a\n"), std::nullopt);
    EXPECT_EQ(Name("[\nName=a\n"), std::nullopt);
}

TEST(SectionText, MatchesTheSectionNameExactly)
{
    EXPECT_EQ(Name("[ X-Veskline ]\nName=a\n"), std::nullopt);
    EXPECT_EQ(FindSectionValue("[]\nName=a\n", "", "Name"), "a");
}

TEST(SectionText, SkipsLinesWithoutAnEqualsSign)
{
    EXPECT_THAT(Name("[X-Veskline]\nName\nrubbish\nName=a\nName\n"), Optional(Eq("a")));
}

TEST(SectionText, ReadsAValueOfManyMegabytes)
{
    const std::string value(8UL << 20U, 'v');
    EXPECT_TRUE(Name("[X-Veskline]\nName=" + value) == value);
}

TEST(SectionReplacement, AddsTheFirstSectionOfAnEmptyText)
{
    EXPECT_EQ(ReplaceSection("", "X", {{"B", "2"}, {"A", "1"}}), "[X]\nB=2\nA=1\n");
}

TEST(SectionReplacement, AddsAtTheEndBehindABlankLine)
{
    EXPECT_EQ(ReplaceSection("[Unit]\nA=1\n", "X", {{"B", "2"}}), "[Unit]\nA=1\n\n[X]\nB=2\n");
    EXPECT_EQ(ReplaceSection("[Unit]\nA=1", "X", {{"B", "2"}}), "[Unit]\nA=1\n\n[X]\nB=2\n");
}

TEST(SectionReplacement, AddsBehindALineThatWouldContinue)
{
    for (const char* text : {"[Unit]\nA=1\\", "[Unit]\nA=1\\\n"}) {
        const std::string result = ReplaceSection(text, "X", {{"B", "2"}});
        EXPECT_EQ(FindSectionValue(result, "X", "B"), "2") << result;
        EXPECT_EQ(FindSectionValue(result, "Unit", "A"), "1") << result;
    }
}

TEST(SectionReplacement, PutsTheNewSectionInTheOldOnesPlace)
{
    EXPECT_EQ(ReplaceSection("[A]\na=1\n[X]\nold=1\nolder=2\n[B]\nb=1\n", "X", {{"new", "3"}}),
              "[A]\na=1\n[X]\nnew=3\n[B]\nb=1\n");
}

TEST(SectionReplacement, RemovesEveryFurtherOccurrence)
{
    EXPECT_EQ(ReplaceSection("[X]\nold=1\n[A]\na=1\n[X]\nold=2\n[B]\nb=1\n[X]\n", "X", {{"new", "3"}}),
              "[X]\nnew=3\n[A]\na=1\n[B]\nb=1\n");
}

TEST(SectionReplacement, StaysInTheFirstOccurrenceWhenOnlyALaterOneAssigns)
{
    EXPECT_EQ(ReplaceSection("[X]\n# c\n[A]\na=1\n[X]\nold=2\n", "X", {{"new", "3"}}),
              "[X]\nnew=3\n# c\n[A]\na=1\n");
}

TEST(SectionReplacement, KeepsCommentsAndBlankLinesWhereTheyAre)
{
    EXPECT_EQ(
        ReplaceSection("# top\n\n[X]\n# about old\nold=1\n# between\nolder=2\n\n# about A\n[A]\na=1\n# end",
                       "X", {{"new", "3"}}),
        "# top\n\n[X]\n# about old\nnew=3\n# between\n\n# about A\n[A]\na=1\n# end");
}

TEST(SectionReplacement, KeepsOtherSectionsByteForByte)
{
    const std::string before = "\xEF\xBB\xBF [A] \r\n a = 1 \\\r\n ; comment\r\n  2\r\nrubbish\n";
    const std::string after = "[B\nb=[X]\n\n\n[C]c\nlast=\\\n[X]\\\n";
    EXPECT_EQ(ReplaceSection(before + "[X]\nold=1\n" + after, "X", {{"new", "3"}}),
              before + "[X]\nnew=3\n" + after);
}

TEST(SectionReplacement, DropsALineThatContinuesButNotTheCommentInIt)
{
    EXPECT_EQ(ReplaceSection("[X]\nold=1\\\n# kept\n2\\\n3\n[A]\n", "X", {{"new", "3"}}),
              "[X]\nnew=3\n# kept\n[A]\n");
}

TEST(SectionReplacement, WritesAHeaderAnewThatWouldContinue)
{
    EXPECT_EQ(ReplaceSection("[X] \\\n\nold=1\n", "X", {{"new", "3"}}), "[X]\nnew=3\n");
    EXPECT_EQ(ReplaceSection("[X]", "X", {{"new", "3"}}), "[X]\nnew=3\n");
}

TEST(SectionReplacement, ChangesNothingMoreWhenRepeated)
{
    const std::string once = ReplaceSection("[X]\n# c\nold=1\n\n[A]\na=1\n", "X", {{"n", "3"}, {"m", ""}});
    EXPECT_EQ(ReplaceSection(once, "X", {{"n", "3"}, {"m", ""}}), once);
}

TEST(SectionReplacement, CanEmptyASection)
{
    EXPECT_EQ(ReplaceSection("[X]\nold=1\n[A]\n", "X", {}), "[X]\n[A]\n");
}

TEST(SectionWords, AreRefusedWhenTheyWouldNotReadBack)
{
    EXPECT_TRUE(IsWritableSection("X", {{"Key", "value"}, {"Empty", ""}, {"Odd", "a=[b]#;\\\\"}}));
    EXPECT_FALSE(IsWritableSection("", {}));
    EXPECT_FALSE(IsWritableSection("X\nY", {}));
    for (const char* key : {"", "a=b", "a\nb", "a\rb", " a", "a ", "#a", ";a", "[a"}) {
        EXPECT_FALSE(IsWritableSection("X", {{key, "value"}})) << key;
    }
    for (const char* value : {"a\nb", "a\r", "\n", "a\\", "\\", "a\\\\\\"}) {
        EXPECT_FALSE(IsWritableSection("X", {{"Key", value}})) << value;
    }
}

/** Texts of the pieces that matter to the parser, in any order. */
class RandomText
{
public:
    explicit RandomText(unsigned seed)
        : m_random(seed)
    {
    }

    std::string Text(std::size_t pieces)
    {
        static const std::vector<std::string> kPieces = {"[X]",
                                                         "[A]",
                                                         "[",
                                                         "]",
                                                         "=",
                                                         "K",
                                                         "L",
                                                         " ",
                                                         "\t",
                                                         "\n",
                                                         "\n",
                                                         "\n",
                                                         "\r\n",
                                                         "\r",
                                                         "\\",
                                                         "\\\n",
                                                         "#",
                                                         ";",
                                                         "\n#",
                                                         "K=v",
                                                         "\nK=",
                                                         "\n[X]\n",
                                                         "\n[B]\nK=b\n",
                                                         "\xEF\xBB\xBF",
                                                         std::string(1, '\0')};
        std::string text;
        for (std::size_t count = Number(pieces + 1); count > 0; --count) {
            text += kPieces[Number(kPieces.size())];
        }
        return text;
    }

    std::size_t Number(std::size_t below) { return m_random() % below; }

private:
    std::mt19937 m_random;
};

std::string Stripped(const std::string& value)
{
    const auto first = value.find_first_not_of(" \t");
    return first == std::string::npos ? "" : value.substr(first, value.find_last_not_of(" \t") - first + 1);
}

TEST(SectionTextAtRandom, ReadsBackWhatWasWrittenAndKeepsTheRest)
{
    RandomText random(20240607);
    int written = 0;
    for (int round = 0; round < 50000; ++round) {
        const std::string text = random.Text(24);
        const KeyValues values = {{"K", random.Text(4)}, {"N", random.Text(4)}};
        if (!IsWritableSection("X", values)) {
            continue;
        }
        ++written;
        const std::string result = ReplaceSection(text, "X", values);
        SCOPED_TRACE(testing::PrintToString(text) + " became " + testing::PrintToString(result));
        for (const auto& [key, value] : values) {
            ASSERT_THAT(FindSectionValue(result, "X", key), Optional(Stripped(value)));
        }
        ASSERT_EQ(FindSectionValue(result, "X", "L"), std::nullopt);
        for (const char* section : {"A", "B"}) {
            ASSERT_EQ(FindSectionValue(result, section, "K"), FindSectionValue(text, section, "K"));
        }
        ASSERT_EQ(ReplaceSection(result, "X", values), result);
    }
    EXPECT_GT(written, 5000);
}

TEST(SectionTextAtRandom, TakesAnyBytes)
{
    std::mt19937 random(7);
    for (int round = 0; round < 20000; ++round) {
        std::string text(random() % 64, '\0');
        for (char& byte : text) {
            byte = static_cast<char>(random());
        }
        FindSectionValue(text, "X", "K");
        ASSERT_THAT(FindSectionValue(ReplaceSection(text, "X", {{"K", "v"}}), "X", "K"), Optional(Eq("v")));
    }
}

} // namespace

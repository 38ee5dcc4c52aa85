// The texts of the families' rows, which are checked where they are compiled.
#include <gmock/gmock.h>

#include "units/unit_action.hpp"

namespace VeskTest
{
namespace
{

using VESK::Systemd::ActionKind;
using VESK::Systemd::FormatTakes;
using VESK::Systemd::LogLine;
using VESK::Systemd::UnitAction;

static_assert(FormatTakes("%s:%d [%s] started.", "s"));
static_assert(!FormatTakes("%s:%d [%d] started.", "s"));

TEST(Format, TakesThePlaceAndThenExactlyItsArguments)
{
    EXPECT_TRUE(FormatTakes("%s:%d ", ""));
    EXPECT_TRUE(FormatTakes("%s:%d %s", "s"));
    EXPECT_TRUE(FormatTakes("%s:%d [%s] failed: ret=[%d], reason:\n%s", "sds"));
    EXPECT_TRUE(FormatTakes("%s:%d %d%s", "ds"));
}

TEST(Format, WithoutThePlaceTakesNothing)
{
    for (const char* format : {"", "%s", "%s:%d", "%d:%s [%s]", "[%s] %s:%d ", " %s:%d [%s]"}) {
        EXPECT_FALSE(FormatTakes(format, "s")) << format;
        EXPECT_FALSE(FormatTakes(format, "")) << format;
    }
}

TEST(Format, WithOtherConversionsIsRefused)
{
    for (const char* format : {"%s:%d ", "%s:%d [%d]", "%s:%d [%s] [%s]", "%s:%d [%s] %d", "%s:%d [%s] 100%",
                               "%s:%d 100% [%s]", "%s:%d [%s] 100%%", "%s:%d [%s] %m", "%s:%d [%5s]",
                               "%s:%d [%.*s]", "%s:%d [%1$s]", "%s:%d [%ls]", "%s:%d [%n]", "%s:%d %"}) {
        EXPECT_FALSE(FormatTakes(format, "s")) << format;
    }
    EXPECT_FALSE(FormatTakes("%s:%d [%s] %s %d", "sds")) << "another order";
}

constexpr LogLine Line(const char* format)
{
    return {format, "file.cpp", 7};
}

constexpr const char* kUnits = "%s:%d [%s]";
constexpr const char* kRefused = "%s:%d [%s] [%d] %s";
constexpr const char* kMasksRefused = "%s:%d [%d] %s";

// Made as the program runs; where a row is a constant, the same does not compile.
void MakeRow(ActionKind kind, const char* begin, const char* done, const char* refused, const char* failed)
{
    UnitAction(kind, "verb", Line(begin), Line(done), Line(refused), Line(failed));
}

TEST(Row, IsMadeOfTextsThatTakeWhatTheActionPasses)
{
    for (const ActionKind kind : {ActionKind::Units, ActionKind::UnitFiles}) {
        EXPECT_NO_THROW(MakeRow(kind, kUnits, kUnits, kRefused, kUnits));
        EXPECT_THROW(MakeRow(kind, kUnits, kUnits, kMasksRefused, kUnits), std::logic_error);
    }
    EXPECT_NO_THROW(MakeRow(ActionKind::Masks, kUnits, kUnits, kMasksRefused, kUnits));
    EXPECT_THROW(MakeRow(ActionKind::Masks, kUnits, kUnits, kRefused, kUnits), std::logic_error);
}

TEST(Row, IsRefusedForEachOfItsTexts)
{
    EXPECT_THROW(MakeRow(ActionKind::Units, kRefused, kUnits, kRefused, kUnits), std::logic_error);
    EXPECT_THROW(MakeRow(ActionKind::Units, kUnits, kRefused, kRefused, kUnits), std::logic_error);
    EXPECT_THROW(MakeRow(ActionKind::Units, kUnits, kUnits, kUnits, kUnits), std::logic_error);
    EXPECT_THROW(MakeRow(ActionKind::Units, kUnits, kUnits, kRefused, kRefused), std::logic_error);
}

TEST(Row, KeepsItsPlace)
{
    constexpr int here = __LINE__;
    constexpr LogLine begin = VESK_LINE("%s:%d [%s]");
    constexpr UnitAction row{ActionKind::Units, "verb", begin, Line(kUnits), Line(kRefused), Line(kUnits)};
    EXPECT_STREQ(row.begin.szFormat, "%s:%d [%s]");
    EXPECT_STREQ(row.begin.szFile, "log_line_test.cpp");
    EXPECT_EQ(row.begin.nLine, here + 1);
    EXPECT_STREQ(row.failed.szFile, "file.cpp");
    EXPECT_EQ(row.failed.nLine, 7);
}

} // namespace
} // namespace VeskTest

// Writing a section of keys.
#include "files.hpp"
#include "key_rows.hpp"
#include "paths.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using VESK::Systemd::AddUnitSection;

using KeyValues = std::map<std::string, std::string>;

const std::string kFolder = "/run/systemd/system/foo.service.d";
const std::string kPath = kFolder + "/10-keys.conf";

class UnitSection : public ::testing::Test
{
protected:
    static bool Add(const KeyValues& values, const std::string& folder = kFolder)
    {
        return AddUnitSection(folder, "10-keys.conf", "X-Veskline", values);
    }

    // A line that ends in a platform error with that code.
    static auto Failure(const std::string& what, const std::string& code)
    {
        return ::testing::AllOf(
            Field("level", &SyslogLine::level, 3),
            Field("file", &SyslogLine::file, "systemd_internal_lib.cpp"),
            Field("message", &SyslogLine::message,
                  MatchesRegex("vesksystemd: " + what + " \\[" + code + " [a-z_]+\\.cpp:[0-9]+\\]")));
    }

    SyslogCapture m_log;
};

TEST_F(UnitSection, IsWrittenWithItsKeysInOrderIntoANewFile)
{
    EXPECT_TRUE(Add({{"b", "2"}, {"a", "%s 1"}, {"C", ""}}));
    EXPECT_EQ(ReadText(kPath), "[X-Veskline]\nC=\na=%s 1\nb=2\n");
    EXPECT_THAT(ListFolder(kFolder), ElementsAre("10-keys.conf"));
    EXPECT_THAT(m_log.Take(), IsEmpty());
}

TEST_F(UnitSection, MayHaveNoKeys)
{
    EXPECT_TRUE(Add({}));
    EXPECT_EQ(ReadText(kPath), "[X-Veskline]\n");
}

TEST_F(UnitSection, IsAddedBehindOtherSections)
{
    WriteText(kPath, "# mine\n[Unit]\nAfter=x\n");
    EXPECT_TRUE(Add({{"Name", "Foo"}}));
    EXPECT_EQ(ReadText(kPath), "# mine\n[Unit]\nAfter=x\n\n[X-Veskline]\nName=Foo\n");
}

TEST_F(UnitSection, ReplacesTheOneOfItsNameAndLeavesOthersAlone)
{
    WriteText(kPath, "[Unit]\nAfter=x\n[X-Veskline]\nName=Old\nGone=1\n[Service]\nType=oneshot\n");
    EXPECT_TRUE(Add({{"Name", "New"}}));
    EXPECT_EQ(ReadText(kPath), "[Unit]\nAfter=x\n[X-Veskline]\nName=New\n[Service]\nType=oneshot\n");
    EXPECT_TRUE(Add({{"Name", "New"}}));
    EXPECT_EQ(ReadText(kPath), "[Unit]\nAfter=x\n[X-Veskline]\nName=New\n[Service]\nType=oneshot\n");
}

TEST_F(UnitSection, FailsWhereNoFolderCanBeMade)
{
    WriteText("/run/file", "");
    EXPECT_FALSE(Add({{"a", "1"}}, "/run/file/sub"));
    EXPECT_THAT(m_log.Take(), ElementsAre(Failure("Fail to mkdir \\[/run/file/sub\\]", "0x0500")));
    EXPECT_EQ(ReadText("/run/file"), "");
}

TEST_F(UnitSection, FailsWhereAFolderStandsInTheFilesPlace)
{
    MakeFolder(kPath);
    EXPECT_FALSE(Add({{"a", "1"}}));
    EXPECT_THAT(m_log.Take(),
                ElementsAre(Failure("Fail to VLIBCFileSetSection to \\[" + kPath + "\\]", "0x0[9B]00")));
    EXPECT_THAT(ListFolder(kFolder), ElementsAre("10-keys.conf"));
}

TEST_F(UnitSection, IsNotWrittenWithAKeyOrValueOfSeveralLines)
{
    WriteText(kPath, "[Unit]\n");
    EXPECT_FALSE(Add({{"a\nb", "1"}}));
    EXPECT_FALSE(Add({{"a", "1\n[Service]\nExecStart=/bin/sh"}}));
    const auto line = Failure("Fail to VLIBCFileSetSection to \\[" + kPath + "\\]", "0x0D00");
    EXPECT_THAT(m_log.Take(), ElementsAre(line, line));
    EXPECT_EQ(ReadText(kPath), "[Unit]\n");
}

TEST_F(UnitSection, IsReadBackByTheAccessors)
{
    EXPECT_TRUE(AddUnitSection(kRunUnits, "foo.service", "X-Veskline", {{"Name", "Foo"}}));
    std::string name;
    EXPECT_TRUE(VESKSystemdNameGet("foo", name));
    EXPECT_EQ(name, "Foo");
}

} // namespace
} // namespace VeskTest

#include <filesystem>
#include <gmock/gmock.h>
#include <stdexcept>
#include <string>
#include <vesksystemd.hpp>

#include "files.hpp"
#include "paths.hpp"
#include "syslog_capture.hpp"
#include "unit_files.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using VESK::Systemd::UnitPathGet;

constexpr UnitFolder kFolders[] = {UnitFolder::UsrLocal, UnitFolder::Usr, UnitFolder::Etc, UnitFolder::Run};

void ExpectNotFound(const std::string& unit)
{
    SyslogCapture log;
    VLIBCErrSetEx(0, "", 0);
    try {
        ADD_FAILURE() << UnitPathGet(unit);
    } catch (const std::runtime_error& error) {
        EXPECT_EQ(error.what(), "Unit is not found [" + unit + "]");
    }
    EXPECT_EQ(VLIBCErrGet(), 0x0700);
    EXPECT_STREQ(VLIBCErrorGetFile(), "systemd_internal_lib.cpp");
    EXPECT_GT(VLIBCErrorGetLine(), 0);
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST(UnitPathGet, PrefersTheFoldersInTheirOrder)
{
    for (const UnitFolder folder : kFolders) {
        WriteUnitFile(folder, "foo.service", "");
    }
    for (const UnitFolder folder : kFolders) {
        EXPECT_EQ(UnitPathGet("foo"), UnitFilePath(folder, "foo.service"));
        RemoveAll(UnitFilePath(folder, "foo.service"));
    }
    ExpectNotFound("foo");
}

TEST(UnitPathGet, NormalisesTheName)
{
    WriteUnitFile(UnitFolder::Etc, "foo.service", "");
    WriteUnitFile(UnitFolder::Etc, "foo.socket", "");
    WriteUnitFile(UnitFolder::Etc, "foo.bar.service", "");
    EXPECT_EQ(UnitPathGet("foo"), "/etc/systemd/system/foo.service");
    EXPECT_EQ(UnitPathGet("foo.service"), "/etc/systemd/system/foo.service");
    EXPECT_EQ(UnitPathGet("foo.socket"), "/etc/systemd/system/foo.socket");
    EXPECT_EQ(UnitPathGet("foo.bar"), "/etc/systemd/system/foo.bar.service");
}

TEST(UnitPathGet, FollowsALinkToItsTarget)
{
    WriteText("/tmp/real", "");
    std::filesystem::create_symlink("/tmp/real", UnitFilePath(UnitFolder::Usr, "foo.service"));
    EXPECT_EQ(UnitPathGet("foo"), "/usr/lib/systemd/system/foo.service");
}

TEST(UnitPathGet, LooksPastALinkWithoutATarget)
{
    std::filesystem::create_symlink("/tmp/gone", UnitFilePath(UnitFolder::Usr, "foo.service"));
    ExpectNotFound("foo");
    WriteUnitFile(UnitFolder::Run, "foo.service", "");
    EXPECT_EQ(UnitPathGet("foo"), "/run/systemd/system/foo.service");
}

TEST(UnitPathGet, TakesAMaskForAFile)
{
    std::filesystem::create_symlink("/dev/null", UnitFilePath(UnitFolder::Etc, "foo.service"));
    EXPECT_EQ(UnitPathGet("foo"), "/etc/systemd/system/foo.service");
}

TEST(UnitPathGet, NamesTheUnitAsTheCallerDidWhenThereIsNone)
{
    for (const std::string unit : {"foo", "foo.service", "foo.", "", " ", "a]b", "%s%n"}) {
        ExpectNotFound(unit);
    }
    ExpectNotFound(std::string(100000, 'x'));
}

class EnableStatusChanged : public ::testing::Test
{
protected:
    const std::string folder = std::string(kMarks) + "/";
    SyslogCapture log;
};

TEST_F(EnableStatusChanged, IsAnEmptyFileOfTheNormalisedName)
{
    EXPECT_FALSE(VESK::Systemd::IsEnableStatusChanged("foo"));
    VESK::Systemd::SetEnableStatusChanged("foo");
    VESK::Systemd::SetEnableStatusChanged("foo.socket");
    EXPECT_THAT(ListFolder(folder), ElementsAre("foo.service", "foo.socket"));
    EXPECT_EQ(ReadText(folder + "foo.service"), "");
    EXPECT_TRUE(VESK::Systemd::IsEnableStatusChanged("foo"));
    EXPECT_TRUE(VESK::Systemd::IsEnableStatusChanged("foo.service"));
    EXPECT_TRUE(VESK::Systemd::IsEnableStatusChanged("foo.socket"));
    EXPECT_FALSE(VESK::Systemd::IsEnableStatusChanged("foo.timer"));
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(EnableStatusChanged, StaysWhenSetAgain)
{
    VESK::Systemd::SetEnableStatusChanged("foo");
    VESK::Systemd::SetEnableStatusChanged("foo.service");
    EXPECT_THAT(ListFolder(folder), ElementsAre("foo.service"));
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(EnableStatusChanged, LogsAFolderThatCannotBeMade)
{
    WriteText(kStateFolder, "in the way");
    VESK::Systemd::SetEnableStatusChanged("foo");
    EXPECT_EQ(VLIBCErrGet(), VLIBC_ERR_CHILD);
    EXPECT_THAT(log.Take(), ElementsAre(Error("systemd_internal_lib.cpp",
                                              "vesksystemd: Failed to mkdir -p [" + folder + "] [0x0500 " +
                                                  VLIBCErrorGetFile() + ":" +
                                                  std::to_string(VLIBCErrorGetLine()) + "]")));
    EXPECT_FALSE(VESK::Systemd::IsEnableStatusChanged("foo"));
    EXPECT_EQ(ReadText(kStateFolder), "in the way");
}

TEST_F(EnableStatusChanged, LogsAMissingMkdir)
{
    RemoveAll("/bin/mkdir");
    VESK::Systemd::SetEnableStatusChanged("foo");
    EXPECT_EQ(VLIBCErrGet(), VLIBC_ERR_EXEC);
    EXPECT_THAT(log.Take(), ElementsAre(Error("systemd_internal_lib.cpp",
                                              "vesksystemd: Failed to mkdir -p [" + folder + "] [0x0300 " +
                                                  VLIBCErrorGetFile() + ":" +
                                                  std::to_string(VLIBCErrorGetLine()) + "]")));
}

TEST_F(EnableStatusChanged, LogsAMarkThatCannotBeMade)
{
    MakeFolder(folder);
    std::filesystem::create_symlink("/no-such-folder/mark", folder + ".service");
    VESK::Systemd::SetEnableStatusChanged("");
    const int code = VLIBCErrGet();
    EXPECT_NE(code, 0);
    char number[16];
    std::snprintf(number, sizeof number, "0x%04X", static_cast<unsigned>(code));
    EXPECT_THAT(log.Take(), ElementsAre(Error("systemd_internal_lib.cpp",
                                              "vesksystemd: Failed to touch [" + folder + ".service] [" +
                                                  number + " " + VLIBCErrorGetFile() + ":" +
                                                  std::to_string(VLIBCErrorGetLine()) + "]")));
}

TEST_F(EnableStatusChanged, IsNoneForANameThatLeadsOutOfTheFolder)
{
    MakeFolder(folder + "inside");
    WriteText(std::string(kStateFolder) + "/there.service", "");
    for (const std::string unit : {"/tmp/foo.service", "../foo", "inside/foo", ".", ".."}) {
        VESK::Systemd::SetEnableStatusChanged(unit);
        EXPECT_THAT(log.Take(), ElementsAre(Warning("systemd_internal_lib.cpp",
                                                    "vesksystemd: Failed to set enable-status-changed flag "
                                                    "for [" +
                                                        unit + "]")));
    }
    EXPECT_FALSE(VESK::Systemd::IsEnableStatusChanged("../there"));
    EXPECT_THAT(ListFolder(folder), ElementsAre("inside"));
    EXPECT_THAT(ListFolder(folder + "inside"), IsEmpty());
    EXPECT_THAT(ListFolder(kStateFolder), ElementsAre("enable-status-changed", "there.service"));
}

} // namespace
} // namespace VeskTest

// Which reasons there are, which services have one, and links to the platform's file.

#include <cerrno>
#include <filesystem>
#include <sys/stat.h>

#include "paths.hpp"
#include "proc_spy.hpp"
#include "reasons_ground.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;
using VESK::Systemd::CheckServiceHasReason;
using VESK::Systemd::LinkVeskReason;
using VESK::Systemd::ListServicesWithReason;
using VESK::Systemd::UnlinkReasons;

ino_t Inode(const std::string& path)
{
    struct stat status {
    };
    return lstat(path.c_str(), &status) == 0 ? status.st_ino : 0;
}

TEST_F(Reasons, ListAppendsEveryEntryHiddenOnesAndFoldersIncluded)
{
    Record("foo.service", "a");
    Record("foo.service", ".hidden");
    MakeFolder(ReasonFile("foo.service", "folder"));
    Words reasons = {"before"};
    EXPECT_TRUE(VESKSystemdServiceReasonList("foo", reasons));
    EXPECT_EQ(reasons.front(), "before");
    EXPECT_THAT(reasons, UnorderedElementsAre("before", "a", ".hidden", "folder"));
    EXPECT_THAT(log.Take(), IsEmpty());
    EXPECT_THAT(systemctl.Calls(), IsEmpty());
}

TEST_F(Reasons, ListOfAServiceThatNeverHadAnyIsEmptyAndTrue)
{
    Words reasons;
    EXPECT_TRUE(VESKSystemdServiceReasonList("foo.service", reasons));
    EXPECT_THAT(reasons, IsEmpty());
    EXPECT_EQ(VLIBCErrGet(), 0);
}

TEST_F(Reasons, ListRefusesAUnitThatIsNoService)
{
    WriteText(ReasonsOf("foo.timer/a"), "");
    Words reasons;
    EXPECT_FALSE(VESKSystemdServiceReasonList("foo.timer", reasons));
    EXPECT_EQ(VLIBCErrGet(), 0x0D00);
    EXPECT_THAT(reasons, IsEmpty());
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(Reasons, ListFailsWhenTheFolderIsNone)
{
    WriteText(ReasonFolder("foo.service"), "");
    Words reasons;
    EXPECT_FALSE(VESKSystemdServiceReasonList("foo", reasons));
    EXPECT_EQ(VLIBCErrGet(), 0x0900);
    EXPECT_STREQ(VLIBCErrorGetFile(), "systemd_service_reason_list.cpp");
}

TEST_F(Reasons, ListFailsWhenTheFolderCannotBeReadToItsEnd)
{
    ProcSpy spy;
    Record("foo.service", "a");
    Words reasons = {"before"};
    spy.BreakOff(ReasonFolder("foo.service"), EIO);
    EXPECT_FALSE(VESKSystemdServiceReasonList("foo", reasons));
    EXPECT_EQ(VLIBCErrGet(), 0x0900);
    EXPECT_THAT(reasons, ElementsAre("before"));
    spy.BreakOff(ReasonFolder("foo.service"), ENOENT);
    EXPECT_TRUE(VESKSystemdServiceReasonList("foo", reasons)) << "it was removed meanwhile";
    EXPECT_THAT(reasons, ElementsAre("before"));
}

TEST_F(Reasons, AServiceHasAReasonWhenThereIsAnEntryThatIsNotHidden)
{
    EXPECT_FALSE(CheckServiceHasReason("foo"));
    MakeFolder(ReasonFolder("foo.service"));
    EXPECT_FALSE(CheckServiceHasReason("foo"));
    Record("foo.service", ".hidden");
    EXPECT_FALSE(CheckServiceHasReason("foo"));
    Record("foo.service", "a");
    EXPECT_TRUE(CheckServiceHasReason("foo"));
    EXPECT_TRUE(CheckServiceHasReason("foo.service"));
    EXPECT_FALSE(CheckServiceHasReason("fo"));
}

TEST_F(Reasons, AFolderThatCannotBeReadForAShortageReadsAsAReason)
{
    MakeFolder(ReasonFolder("foo.service"));
    ProcSpy spy;
    for (const int error : {EMFILE, ENFILE, ENOMEM, EIO}) {
        spy.Fail(ReasonFolder("foo.service"), error);
        EXPECT_TRUE(CheckServiceHasReason("foo")) << error;
    }
    for (const int error : {ENOENT, ENOTDIR, EACCES}) {
        spy.Fail(ReasonFolder("foo.service"), error);
        EXPECT_FALSE(CheckServiceHasReason("foo")) << error;
    }
}

TEST_F(Reasons, AFolderThatCannotBeReadToItsEndReadsAsAReason)
{
    Record("foo.service", "a");
    ProcSpy spy;
    spy.BreakOff(ReasonFolder("foo.service"), EIO);
    EXPECT_TRUE(CheckServiceHasReason("foo"));
    spy.BreakOff(ReasonFolder("foo.service"), ENOENT);
    EXPECT_FALSE(CheckServiceHasReason("foo")) << "it was removed meanwhile";
}

TEST_F(Reasons, AHiddenReasonIsStoredAndListedButChangesNothing)
{
    EXPECT_TRUE(Stop(".a", {"foo"}));
    EXPECT_TRUE(Exists(ReasonFile("foo.service", ".a")));
    Words reasons;
    EXPECT_TRUE(VESKSystemdServiceReasonList("foo", reasons));
    EXPECT_THAT(reasons, ElementsAre(".a"));
    EXPECT_TRUE(Start(".a", {"foo"}));
    EXPECT_FALSE(Exists(ReasonFile("foo.service", ".a")));
    EXPECT_THAT(systemctl.Arguments(), ElementsAre("stop foo", "reset-failed foo", "start foo"));
}

TEST_F(Reasons, AServiceThatIsNamedTwiceIsComparedUnderBothNames)
{
    Record("foo.service", "a");
    EXPECT_TRUE(Remove("a", {"foo", "foo.service", "foo"}));
    EXPECT_THAT(systemctl.Arguments(), ElementsAre("reset-failed foo foo.service foo", "daemon-reload"));
}

TEST_F(Reasons, ServicesWithAReasonAreThoseOfTypeServiceThatHaveOne)
{
    Record("foo.service", "a");
    Record("bar.service", "b");
    Record("hidden.service", ".a");
    Record("timer.timer", "a");
    Record("plain", "a");
    MakeFolder(ReasonFolder("empty.service"));
    WriteText(ReasonFolder("file.service"), "");
    Words services = {"before"};
    EXPECT_TRUE(ListServicesWithReason(services));
    EXPECT_EQ(services.front(), "before");
    EXPECT_THAT(services, UnorderedElementsAre("before", "foo.service", "bar.service"));
}

TEST_F(Reasons, ServicesWithAReasonAreNoneWithoutTheFolderAndAnErrorWhenItIsNone)
{
    Words services;
    EXPECT_TRUE(ListServicesWithReason(services));
    EXPECT_EQ(VLIBCErrGet(), 0);
    WriteText(kReasons, "");
    EXPECT_FALSE(ListServicesWithReason(services));
    EXPECT_EQ(VLIBCErrGet(), 0x0900);
    EXPECT_STREQ(VLIBCErrorGetFile(), "systemd_internal_lib.cpp");
    EXPECT_THAT(services, IsEmpty());
}

TEST_F(Reasons, ServicesWithAReasonAreAnErrorWhenTheFolderCannotBeReadToItsEnd)
{
    ProcSpy spy;
    Record("foo.service", "a");
    spy.BreakOff(std::string(kReasons) + "/", EIO);
    Words services = {"before"};
    EXPECT_FALSE(ListServicesWithReason(services));
    EXPECT_EQ(VLIBCErrGet(), 0x0900);
    EXPECT_THAT(services, ElementsAre("before"));
}

TEST_F(Reasons, UnlinkOfNoServiceIsTrue)
{
    Words cleared;
    EXPECT_TRUE(UnlinkReasons("a", {}, cleared, failed));
    EXPECT_THAT(cleared, IsEmpty());
    EXPECT_THAT(failed, IsEmpty());
}

TEST_F(Reasons, UnlinkTellsClearedAndFailedServicesApartInTheirOrder)
{
    Record("foo.service", "a");
    MakeFolder(ReasonFile("bar.service", "a"));
    WriteText(ReasonFolder("file.service"), "");
    Words cleared = {"before"};
    EXPECT_FALSE(UnlinkReasons("a", {"foo", "x.timer", "bar", "never", "file"}, cleared, failed));
    EXPECT_THAT(cleared, ElementsAre("before", "foo", "never"));
    EXPECT_THAT(failed, ElementsAre("x.timer", "bar", "file"));
    EXPECT_THAT(log.Take(),
                ::testing::ElementsAreArray(InOrder({NotUnlinked("bar.service", "a", "Is a directory"),
                                                     NotUnlinked("file.service", "a", "Not a directory")})));
}

TEST_F(Reasons, UnlinkRefusesNamesThatAreNoEntriesOfAFolder)
{
    Record("foo.service", "a");
    WriteText("/run/credentials/db.service/password", "secret");
    Words cleared;
    EXPECT_FALSE(UnlinkReasons("password", {"../../credentials/db", "foo"}, cleared, failed));
    EXPECT_EQ(VLIBCErrGet(), 0x0D00);
    EXPECT_THAT(cleared, ElementsAre("foo"));
    EXPECT_THAT(failed, ElementsAre("../../credentials/db"));
    failed.clear();
    for (const char* reason : {"../../../credentials/db.service/password", ".", ".."}) {
        VLIBCErrSetEx(0, "", 0);
        EXPECT_FALSE(UnlinkReasons(reason, {"foo"}, cleared, failed)) << reason;
        EXPECT_EQ(VLIBCErrGet(), 0x0D00);
    }
    EXPECT_THAT(failed, ElementsAre("foo", "foo", "foo"));
    EXPECT_EQ(ReadText("/run/credentials/db.service/password"), "secret");
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(Reasons, LinkMakesTheFolderAndAHardLink)
{
    WriteText("/tmp/reason.conf", "text");
    RemoveAll("/tmp/links");
    EXPECT_TRUE(LinkVeskReason("/tmp/links/deep/", "/tmp/reason.conf"));
    EXPECT_EQ(Inode("/tmp/links/deep/vesk-reason.conf"), Inode("/tmp/reason.conf"));
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(Reasons, LinkPutsTheNameRightBehindTheFolderAsGiven)
{
    WriteText("/tmp/reason.conf", "text");
    RemoveAll("/tmp/linksvesk-reason.conf");
    EXPECT_TRUE(LinkVeskReason("/tmp/links", "/tmp/reason.conf"));
    EXPECT_TRUE(Exists("/tmp/linksvesk-reason.conf"));
}

TEST_F(Reasons, LinkDoesNotReplaceOneThatIsThere)
{
    WriteText("/tmp/reason.conf", "new");
    WriteText("/tmp/old/vesk-reason.conf", "old");
    EXPECT_FALSE(LinkVeskReason("/tmp/old/", "/tmp/reason.conf"));
    EXPECT_EQ(ReadText("/tmp/old/vesk-reason.conf"), "old");
    EXPECT_THAT(log.Take(),
                ElementsAre(Error("systemd_internal_lib.cpp",
                                  "vesksystemd: Fail to create link from [/tmp/old/vesk-reason.conf] to "
                                  "[/tmp/reason.conf] (File exists).")));
}

TEST_F(Reasons, LinkFailsWithoutItsFolder)
{
    WriteText("/tmp/file", "");
    EXPECT_FALSE(LinkVeskReason("/tmp/file/", "/tmp/reason.conf"));
    char error[64] = "";
    snprintf(error, sizeof error, "[0x%04X %s:%d]", static_cast<unsigned>(VLIBCErrGet()), VLIBCErrorGetFile(),
             VLIBCErrorGetLine());
    EXPECT_NE(VLIBCErrGet(), 0);
    EXPECT_THAT(log.Take(),
                ElementsAre(Error("systemd_internal_lib.cpp",
                                  std::string("vesksystemd: Fail to mkdir [/tmp/file/] ") + error)));
}

} // namespace
} // namespace VeskTest

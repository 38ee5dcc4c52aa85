// Which file, section and key is read.
#include <stdexcept>

#include "files.hpp"
#include "key_rows.hpp"

namespace VeskTest
{
namespace
{

using VESK::Systemd::UnitSectionKeyGet;
using VESK::Systemd::XVesklineKeyGet;

void WriteName(UnitFolder folder, const std::string& unit, const std::string& name)
{
    WriteUnitFile(folder, unit, "[X-Veskline]\nName=" + name + "\n");
}

std::string NameOf(const std::string& unit)
{
    std::string name;
    return VESKSystemdNameGet(unit, name) ? name : "none";
}

TEST(KeyReader, TakesTheFirstOfTheFourFolders)
{
    const std::vector<UnitFolder> folders{UnitFolder::UsrLocal, UnitFolder::Usr, UnitFolder::Etc,
                                          UnitFolder::Run};
    for (const UnitFolder folder : folders) {
        WriteName(folder, "foo.service", UnitFilePath(folder, ""));
    }
    for (const UnitFolder folder : folders) {
        EXPECT_EQ(NameOf("foo"), UnitFilePath(folder, ""));
        RemoveAll(UnitFilePath(folder, "foo.service"));
    }
    EXPECT_EQ(NameOf("foo"), "none");
}

TEST(KeyReader, DoesNotLookFurtherWhenTheFirstFileLacksTheKey)
{
    WriteUnitFile(UnitFolder::Usr, "foo.service", "[Unit]\n");
    WriteName(UnitFolder::Etc, "foo.service", "second");
    EXPECT_EQ(NameOf("foo"), "none");
}

TEST(KeyReader, TakesABareNameForAService)
{
    WriteName(UnitFolder::Usr, "foo.service", "service");
    WriteName(UnitFolder::Usr, "foo.socket", "socket");
    WriteName(UnitFolder::Usr, "foo.bar.service", "dotted");
    EXPECT_EQ(NameOf("foo"), "service");
    EXPECT_EQ(NameOf("foo.socket"), "socket");
    EXPECT_EQ(NameOf("foo.bar"), "dotted");
}

TEST(KeyReader, ReadsTheTemplateForAnInstance)
{
    WriteName(UnitFolder::Usr, "foo@.service", "template");
    WriteName(UnitFolder::Usr, "foo@.socket", "socket template");
    for (const char* unit :
         {"foo@disk1.service", "foo@.service", "foo@x", "foo@", "foo@x.bar", "foo@a@b.service"}) {
        EXPECT_EQ(NameOf(unit), "template") << unit;
    }
    EXPECT_EQ(NameOf("foo@x.socket"), "socket template");
    EXPECT_EQ(NameOf("foo"), "none");
}

TEST(KeyReader, NeverReadsAnInstancesOwnFile)
{
    WriteName(UnitFolder::Etc, "foo@disk1.service", "instance");
    EXPECT_EQ(NameOf("foo@disk1.service"), "none");
    EXPECT_EQ(VLIBCErrGet(), 0x0700);
    WriteName(UnitFolder::Run, "foo@.service", "template");
    EXPECT_EQ(NameOf("foo@disk1.service"), "template");
}

TEST(KeyReader, ReadsAnInstancesOwnFileWhenAskedForAnotherSection)
{
    WriteUnitFile(UnitFolder::Etc, "foo@disk1.service", "[Service]\nType=oneshot\n");
    EXPECT_EQ(UnitSectionKeyGet("foo@disk1.service", "Service", "Type"), "oneshot");
}

TEST(KeyReader, TellsSectionsAndKeysApart)
{
    WriteUnitFile(UnitFolder::Usr, "foo.service",
                  "Name=none\n[X-Vesk]\nName=short\n[X-Veskline]\nname=lower\nName2=two\nName=one\n"
                  "[X-Veskline2]\nName=other\n");
    EXPECT_EQ(XVesklineKeyGet("foo", "Name"), "one");
    EXPECT_EQ(UnitSectionKeyGet("foo", "X-Vesk", "Name"), "short");
    EXPECT_EQ(UnitSectionKeyGet("foo", "X-Veskline", "Nam"), "");
    EXPECT_EQ(UnitSectionKeyGet("foo", "x-veskline", "Name"), "");
}

TEST(KeyReader, GivesNothingForAFileThatCannotBeRead)
{
    MakeFolder(UnitFilePath(UnitFolder::Usr, "foo.service"));
    EXPECT_EQ(XVesklineKeyGet("foo", "Name"), "");
}

TEST(KeyReader, ThrowsForAUnitWithoutAFileAndNamesItAsTheCallerDid)
{
    try {
        UnitSectionKeyGet("no such\n%s", "X-Veskline", "Name");
        ADD_FAILURE() << "nothing was thrown";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "Unit is not found [no such\n%s]");
        EXPECT_EQ(VLIBCErrGet(), 0x0700);
    }
}

TEST(KeyReader, TakesHostileNamesAsNames)
{
    SyslogCapture log;
    for (const std::string& unit : {std::string("%s%n"), std::string("-rf"), std::string("a\nb"),
                                    std::string("\xff\xfe"), std::string(10000, 'x'), std::string("@")}) {
        ClearErrorRecord();
        EXPECT_EQ(NameOf(unit), "none");
        EXPECT_EQ(VLIBCErrGet(), 0x0700);
    }
    EXPECT_THAT(log.Take(), ::testing::IsEmpty());
}

} // namespace
} // namespace VeskTest

// Which files are deleted, and which are not.

#include <filesystem>

#include "paths.hpp"
#include "uninstall_ground.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

constexpr const char* kDropInFolder = "/etc/systemd/system/foo.service.d";

std::string UnitFile()
{
    return WriteUnitFile(UnitFolder::Etc, "foo.service", "[Service]\n");
}

std::string DropIn(const std::string& name)
{
    return WriteDropIn(UnitFolder::Etc, "foo.service", name, "[Service]\n");
}

// A unit one of whose paths is refused keeps all its files.
class UninstallRefusedPath : public Uninstall
{
protected:
    void ExpectAllIsKept()
    {
        EXPECT_FALSE(Run({"foo"}));
        EXPECT_THAT(failed, ElementsAre("foo"));
        EXPECT_TRUE(Exists(unitFile));
        EXPECT_TRUE(Exists(dropIn));
        EXPECT_THAT(log.Take(), ElementsAreArray(LogOf("foo", FilesFailure("foo"))));
    }

    const std::string unitFile = UnitFile();
    const std::string dropIn = DropIn("a.conf");
};

TEST_F(Uninstall, DeletesTheFilesThatTheManagerNamesAndNoOther)
{
    const std::string unitFile = UnitFile();
    const std::string first = DropIn("a.conf");
    const std::string second = WriteDropIn(UnitFolder::Run, "foo.service", "b.conf", "");
    const std::string sameNameElsewhere = WriteUnitFile(UnitFolder::Usr, "foo.service", "");
    Files("foo", unitFile, first + " " + second);

    EXPECT_TRUE(Run({"foo"}));

    EXPECT_THAT(failed, IsEmpty());
    EXPECT_FALSE(Exists(unitFile));
    EXPECT_FALSE(Exists(kDropInFolder));
    EXPECT_FALSE(Exists("/run/systemd/system/foo.service.d"));
    EXPECT_TRUE(Exists(sameNameElsewhere));
    EXPECT_THAT(log.Take(), ElementsAreArray(LogOf("foo")));
}

TEST_F(Uninstall, DeletesTheFilesBetweenTheTwoReloads)
{
    MakeFolder(kEtcUnits);
    Files("foo", "/etc/systemd/system/first", "/etc/systemd/system/second");
    systemctl.On({"daemon-reload"})
        .CreateFile("/etc/systemd/system/first")
        .Then()
        .CreateFile("/etc/systemd/system/second");
    EXPECT_TRUE(Run({"foo"}));
    EXPECT_THAT(ListFolder(kEtcUnits), ElementsAre("second"));
}

TEST_F(Uninstall, DeletesWhatTheUnitSharesWithOthersToo)
{
    const std::string shared = WriteDropIn(UnitFolder::Etc, "service", "10-all.conf", "[Service]\n");
    const std::string unitFile = WriteUnitFile(UnitFolder::Etc, "foo@.service", "[Service]\n");
    Files("foo@1", unitFile, shared);
    EXPECT_TRUE(Run({"foo@1"}));
    EXPECT_FALSE(Exists(shared));
    EXPECT_FALSE(Exists(unitFile));
}

TEST_F(Uninstall, KeepsADropInFolderThatHoldsOtherFiles)
{
    const std::string dropIn = DropIn("a.conf");
    const std::string other = DropIn("not-named.conf");
    Files("foo", "", dropIn);
    EXPECT_TRUE(Run({"foo"}));
    EXPECT_FALSE(Exists(dropIn));
    EXPECT_TRUE(Exists(other));
}

TEST_F(Uninstall, KeepsTheEmptyFolderOfAUnitFileAndOfADropInElsewhere)
{
    WriteText("/tmp/my.d/foo.service", "");
    WriteText("/tmp/plain/a.conf", "");
    Files("foo", "/tmp/my.d/foo.service", "/tmp/plain/a.conf");
    EXPECT_TRUE(Run({"foo"}));
    EXPECT_TRUE(Exists("/tmp/my.d"));
    EXPECT_TRUE(Exists("/tmp/plain"));
    EXPECT_FALSE(Exists("/tmp/my.d/foo.service"));
    EXPECT_FALSE(Exists("/tmp/plain/a.conf"));
}

TEST_F(Uninstall, RemovesALinkAndNotWhatItLeadsTo)
{
    WriteText("/tmp/target", "kept");
    std::filesystem::create_directories(kEtcUnits);
    std::filesystem::create_symlink("/tmp/target", "/etc/systemd/system/foo.service");
    std::filesystem::create_symlink("/tmp", "/etc/systemd/system/to-a-folder");
    std::filesystem::create_symlink("/nowhere", "/etc/systemd/system/dangling");
    Files("foo", "/etc/systemd/system/foo.service",
          "/etc/systemd/system/to-a-folder /etc/systemd/system/dangling");
    EXPECT_TRUE(Run({"foo"}));
    EXPECT_THAT(ListFolder(kEtcUnits), IsEmpty());
    EXPECT_EQ(ReadText("/tmp/target"), "kept");
}

TEST_F(Uninstall, TakesAFileThatIsGoneAlreadyAsDeleted)
{
    const std::string unitFile = UnitFile();
    Files("foo", unitFile, "/etc/systemd/system/foo.service.d/gone.conf");
    EXPECT_TRUE(Run({"foo"}));
    EXPECT_FALSE(Exists(unitFile));
    EXPECT_THAT(log.Take(), ElementsAreArray(LogOf("foo")));
}

TEST_F(Uninstall, HasNothingToDeleteForAUnitWithoutFiles)
{
    Show("foo").Stdout("FragmentPath=\nDropInPaths=\n");
    Show("bar");
    EXPECT_TRUE(Run({"foo", "bar"}));
    EXPECT_THAT(log.Take(), ElementsAreArray(LogOf("foo, bar")));
}

TEST_F(Uninstall, ReadsPathsWhateverTheirOrderBlanksAndEqualsSigns)
{
    WriteText("/tmp/a=b.service", "");
    WriteText("/tmp/c.conf", "");
    WriteText("/tmp/d.conf", "");
    Show("foo").Stdout("DropInPaths=  /tmp/c.conf   /tmp/d.conf \nFragmentPath= /tmp/a=b.service \n");
    EXPECT_TRUE(Run({"foo"}));
    EXPECT_FALSE(Exists("/tmp/a=b.service"));
    EXPECT_FALSE(Exists("/tmp/c.conf"));
    EXPECT_FALSE(Exists("/tmp/d.conf"));
}

TEST_F(Uninstall, ReadsQuotedDropInPaths)
{
    const std::string folder = "/etc/systemd/system/a\\x2db.service.d";
    WriteText(folder + "/one.conf", "");
    WriteText(folder + "/two $\"`.conf", "");
    WriteText(folder + "/plain.conf", "");
    Files("foo", "",
          "\"/etc/systemd/system/a\\\\x2db.service.d/one.conf\" "
          "\"/etc/systemd/system/a\\\\x2db.service.d/two \\$\\\"\\`.conf\" "
          "/etc/systemd/system/a\\x2db.service.d/plain.conf");
    EXPECT_TRUE(Run({"foo"}));
    EXPECT_FALSE(Exists(folder));
}

TEST_F(UninstallRefusedPath, ThatIsRelative)
{
    WriteText("/tmp/relative.conf", "");
    std::filesystem::current_path("/tmp");
    Files("foo", unitFile, dropIn + " relative.conf");
    ExpectAllIsKept();
    EXPECT_TRUE(Exists("/tmp/relative.conf"));
}

TEST_F(UninstallRefusedPath, ThatIsAFolder)
{
    MakeFolder("/tmp/folder");
    Files("foo", unitFile, dropIn + " /tmp/folder");
    ExpectAllIsKept();
    EXPECT_TRUE(Exists("/tmp/folder"));
}

TEST_F(UninstallRefusedPath, ThatIsTheDeviceOfAMask)
{
    Files("foo", "/dev/null", dropIn);
    ExpectAllIsKept();
    EXPECT_TRUE(Exists("/dev/null"));
}

TEST_F(UninstallRefusedPath, ThatIsARelativeUnitFile)
{
    Files("foo", "foo.service", dropIn);
    ExpectAllIsKept();
}

TEST_F(UninstallRefusedPath, InAQuoteThatDoesNotEnd)
{
    Files("foo", unitFile, "\"" + dropIn);
    ExpectAllIsKept();
}

TEST_F(UninstallRefusedPath, OfAPropertyThatWasNotAskedFor)
{
    WriteText("/tmp/source", "");
    Show("foo").Stdout("FragmentPath=" + unitFile + "\nSourcePath=/tmp/source\nDropInPaths=" + dropIn + "\n");
    ExpectAllIsKept();
    EXPECT_TRUE(Exists("/tmp/source"));
}

TEST_F(UninstallRefusedPath, WhenTheManagerSaysSomethingElse)
{
    Show("foo").Stderr("Warning\n").Stdout("FragmentPath=" + unitFile + "\nDropInPaths=" + dropIn + "\n");
    ExpectAllIsKept();
}

TEST_F(UninstallRefusedPath, WhenTheManagerFailsToShowTheUnit)
{
    Show("foo").Stdout("FragmentPath=" + unitFile + "\nDropInPaths=" + dropIn + "\n").Exit(1);
    ExpectAllIsKept();
}

TEST_F(Uninstall, FailsForAUnitWhoseFileCannotBeDeletedAndDeletesItsOthers)
{
    const std::string dropIn = DropIn("a.conf");
    Files("foo", "/proc/version", dropIn);
    EXPECT_FALSE(Run({"foo"}));
    EXPECT_THAT(failed, ElementsAre("foo"));
    EXPECT_FALSE(Exists(dropIn));
    EXPECT_THAT(log.Take(), ElementsAreArray(LogOf("foo", FilesFailure("foo"))));
}

TEST_F(Uninstall, DeletesTheOtherUnitsOfOneThatFails)
{
    const std::string other = WriteUnitFile(UnitFolder::Etc, "other.service", "");
    const std::string last = WriteUnitFile(UnitFolder::Etc, "last.service", "");
    Files("foo", "relative");
    Files("other", other);
    Show("bar").Exit(1);
    Files("last", last);
    for (const char* unit : {"foo", "other", "bar", "last"}) {
        WriteText(Mark(unit) + ".service", "");
        WriteText(Reasons(unit) + ".service/why", "");
    }
    failed = {"before"};

    EXPECT_FALSE(Run({"foo", "other", "bar", "last"}));

    EXPECT_THAT(failed, ElementsAre("before", "foo", "bar"));
    EXPECT_FALSE(Exists(other));
    EXPECT_FALSE(Exists(last));
    EXPECT_THAT(ListFolder(Mark("")), IsEmpty());
    EXPECT_THAT(ListFolder(Reasons("")), IsEmpty());
    EXPECT_THAT(log.Take(), ElementsAreArray(LogOf("foo, other, bar, last",
                                                   InOrder({FilesFailure("foo"), FilesFailure("bar")}))));
}

TEST_F(Uninstall, NamesAFailedUnitOnceEvenWhenItWasAskedForTwice)
{
    Show("foo").Exit(1);
    EXPECT_FALSE(Run({"foo", "foo"}));
    EXPECT_THAT(failed, ElementsAre("foo"));
}

} // namespace
} // namespace VeskTest

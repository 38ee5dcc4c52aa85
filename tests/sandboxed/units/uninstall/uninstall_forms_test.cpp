// The forms for one unit and for C, and refused arguments.

#include "c_list.hpp"
#include "uninstall_ground.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

constexpr const char* kFile = "systemd_uninstall.cpp";

class UninstallForms : public Uninstall
{
protected:
    UninstallForms() { VLIBCErrSetEx(0, "", 0); }

    void ExpectRefused(const std::string& condition)
    {
        EXPECT_EQ(VLIBCErrGet(), 0x0D00);
        EXPECT_STREQ(VLIBCErrorGetFile(), kFile);
        EXPECT_THAT(systemctl.Calls(), IsEmpty());
        EXPECT_THAT(log.Take(), ElementsAre(RefusedArgument(kFile, condition)));
    }
};

TEST_F(UninstallForms, RefuseAnEmptyList)
{
    failed = {"before"};
    EXPECT_FALSE(Run({}));
    EXPECT_THAT(failed, ElementsAre("before"));
    ExpectRefused("!vecUnits.empty()");
}

TEST_F(UninstallForms, RefuseAnEmptyName)
{
    EXPECT_FALSE(VESKSystemdUninstall(std::string()));
    ExpectRefused("!strUnit.empty()");
}

TEST_F(UninstallForms, RefuseAnEmptyNameInC)
{
    EXPECT_EQ(VESKCSystemdUninstall(""), 0);
    ExpectRefused("!strUnit.empty()");
}

TEST_F(UninstallForms, RefuseANullNameInC)
{
    EXPECT_EQ(VESKCSystemdUninstall(nullptr), 0);
    ExpectRefused("nullptr != szUnit");
}

TEST_F(UninstallForms, RefuseANullListInCAndKeepTheListOfFailures)
{
    CList list;
    EXPECT_EQ(VESKCSystemdUninstallGroup(nullptr, list.Address()), 0);
    EXPECT_THAT(list.Items(), IsEmpty());
    ExpectRefused("nullptr != pListUnits");
}

TEST_F(UninstallForms, RefuseAnEmptyListInC)
{
    const CList units;
    EXPECT_EQ(VESKCSystemdUninstallGroup(units.Get(), nullptr), 0);
    ExpectRefused("!vecUnits.empty()");
}

TEST_F(UninstallForms, TakeOneUnit)
{
    const std::string path = WriteUnitFile(UnitFolder::Etc, "foo.service", "");
    Files("foo", path);
    EXPECT_TRUE(VESKSystemdUninstall("foo"));
    EXPECT_FALSE(Exists(path));
    EXPECT_THAT(log.Take(), ElementsAreArray(LogOf("foo")));
}

TEST_F(UninstallForms, TellTheFailureOfOneUnit)
{
    Show("foo").Exit(1);
    EXPECT_FALSE(VESKSystemdUninstall("foo"));
    EXPECT_EQ(VESKCSystemdUninstall("foo"), 0);
}

TEST_F(UninstallForms, TakeOneUnitInC)
{
    EXPECT_EQ(VESKCSystemdUninstall("foo"), 1);
    EXPECT_THAT(log.Take(), ElementsAreArray(LogOf("foo")));
}

TEST_F(UninstallForms, TakeAListInCAndPushTheFailedUnitsToTheCallersList)
{
    Show("b").Exit(1);
    const CList units({"a", "b", "c"});
    CList list({"before"});
    EXPECT_EQ(VESKCSystemdUninstallGroup(units.Get(), list.Address()), 0);
    EXPECT_THAT(list.Items(), ElementsAre("before", "b"));
    EXPECT_THAT(units.Items(), ElementsAre("a", "b", "c"));
    EXPECT_THAT(log.Take(), ElementsAreArray(LogOf("a, b, c", FilesFailure("b"))));
}

TEST_F(UninstallForms, PushNothingInCOnSuccess)
{
    const CList units({"a", "b"});
    CList list({"before"});
    EXPECT_EQ(VESKCSystemdUninstallGroup(units.Get(), list.Address()), 1);
    EXPECT_THAT(list.Items(), ElementsAre("before"));
}

TEST_F(UninstallForms, DoWithoutAListOfFailuresInC)
{
    Show("a").Exit(1);
    const CList units({"a"});
    VLIBCSzList* none = nullptr;
    EXPECT_EQ(VESKCSystemdUninstallGroup(units.Get(), nullptr), 0);
    EXPECT_EQ(VESKCSystemdUninstallGroup(units.Get(), &none), 0);
    EXPECT_EQ(none, nullptr);
}

} // namespace
} // namespace VeskTest

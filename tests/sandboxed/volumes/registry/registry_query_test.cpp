// Whether a unit or a package has registered any of some volumes.

#include <cerrno>

#include "file_calls.hpp"
#include "file_locks.hpp"
#include "paths.hpp"
#include "platform_spy.hpp"
#include "registry_ground.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct Query {
    const char* name;
    bool (*run)(const std::string&, const Words&);
    std::string file; // of foo
};

void PrintTo(const Query& query, std::ostream* stream)
{
    *stream << query.name;
}

class RegistryQuery : public RegistryGround, public ::testing::WithParamInterface<Query>
{
protected:
    RegistryQuery() { VLIBCErrSetEx(0x1234, "other.c", 7); }

    static bool Run(const Words& volumes) { return GetParam().run("foo", volumes); }

    void ExpectSilence()
    {
        EXPECT_THAT(log.Take(), IsEmpty());
        EXPECT_EQ(ErrorRecord(), "[0x1234 other.c:7]");
    }
};

TEST_P(RegistryQuery, FindsAnyOfTheVolumes)
{
    WriteText(GetParam().file, R"(["/volume1"])");
    EXPECT_TRUE(Run({"/volume1"}));
    EXPECT_TRUE(Run({"/volume2", "/volume1"}));
    EXPECT_TRUE(Run({"/volume1", "/volume2"}));
    WriteText(GetParam().file, R"(["/volume3", "/volume4", "/volume1"])");
    EXPECT_TRUE(Run({"/volume1"}));
    EXPECT_TRUE(Run({"", "volume", "/volume4"}));
    ExpectSilence();
}

TEST_P(RegistryQuery, FindsNothingElse)
{
    WriteText(GetParam().file, R"(["/volume1", "/volume2", ""])");
    for (const char* volume : {"/volume", "/volume10", "/volume1/", "volume1", "/VOLUME1", "/"}) {
        EXPECT_FALSE(Run({volume})) << volume;
    }
    EXPECT_TRUE(Run({""})) << "volumes are not checked, only compared";
    ExpectSilence();
}

TEST_P(RegistryQuery, TakesVolumesUpToTheirFirstZeroByte)
{
    WriteText(GetParam().file, R"(["/volume1\u0000/x", "/volume2"])");
    EXPECT_TRUE(Run({"/volume1"}));
    EXPECT_TRUE(Run({std::string("/volume2\0/y", 11)}));
    EXPECT_FALSE(Run({std::string("/volume\0", 8) + "2"}));
    ExpectSilence();
}

TEST_P(RegistryQuery, PassesOverWhatIsNoString)
{
    WriteText(GetParam().file, R"([1, null, true, {"a": "/volume2"}, ["/volume3"], 1.5, "/volume1"])");
    EXPECT_TRUE(Run({"/volume1"}));
    for (const char* volume : {"1", "", "null", "true", "/volume2", "/volume3", "1.5"}) {
        EXPECT_FALSE(Run({volume})) << volume;
    }
    ExpectSilence();
}

TEST_P(RegistryQuery, RefusesNamesThatLeadOutOfTheFolder)
{
    WriteText("/var/etc/veskpkg_conf/reg_volume", Volumes({"/volume1"}));
    WriteText("/tmp/etc/veskpkg_conf/reg_volume", Volumes({"/volume1"}));
    WriteText(std::string(kUnitFolder) + "../outside.service", Volumes({"/volume1"}));
    for (const char* owner : {"..", ".", "../outside", "../../tmp", "foo/..", "/"}) {
        VLIBCErrSetEx(0x1234, "other.c", 7);
        EXPECT_FALSE(GetParam().run(owner, {"/volume1"})) << owner;
        EXPECT_EQ(VLIBCErrGet(), 0x0D00) << owner;
    }
    EXPECT_THAT(log.Take(), IsEmpty());
    VLIBCErrSetEx(0x1234, "other.c", 7);
    EXPECT_FALSE(GetParam().run(std::string(4, '\0'), {"/volume1"}));
    ExpectSilence();
}

TEST_P(RegistryQuery, IsFalseAndSilentForNobodyAndForNoVolumes)
{
    WriteText(GetParam().file, "damaged");
    WriteText(UnitFile(".service"), "damaged");
    WriteText("/var/packages/etc/veskpkg_conf/reg_volume", "damaged");
    EXPECT_FALSE(GetParam().run("", {"/volume1"}));
    EXPECT_FALSE(GetParam().run("foo", {}));
    EXPECT_FALSE(GetParam().run("", {}));
    ExpectSilence();
    RemoveAll("/var/packages/etc");
}

TEST_P(RegistryQuery, IsFalseAndSilentWhenNothingWasEverRegistered)
{
    EXPECT_FALSE(Run({"/volume1"}));
    EXPECT_FALSE(GetParam().run("missing", {"/volume1"}));
    EXPECT_FALSE(Exists("/usr/vesk/etc"));
    EXPECT_FALSE(Exists(kRunFolder));
    EXPECT_THAT(ListFolder("/var/packages/foo"), IsEmpty());
    ExpectSilence();
}

TEST_P(RegistryQuery, TellsOfADamagedFileAndLeavesIt)
{
    WriteText(GetParam().file, R"({"a": "/volume1"})");
    EXPECT_FALSE(Run({"/volume1"}));
    EXPECT_THAT(log.Take(), ElementsAre(NotAnArray(GetParam().file)));
    EXPECT_EQ(ReadText(GetParam().file), R"({"a": "/volume1"})");
    WriteText(GetParam().file, R"(["/volume1")");
    EXPECT_FALSE(Run({"/volume1"}));
    EXPECT_THAT(log.Take(), ElementsAre(NotRead(GetParam().file)));
    EXPECT_EQ(ReadText(GetParam().file), R"(["/volume1")");
    EXPECT_EQ(ErrorRecord(), "[0x1234 other.c:7]");
}

TEST_P(RegistryQuery, TellsOfAFileThatCannotBeOpened)
{
    WriteText(GetParam().file, R"(["/volume1"])");
    FileCalls calls;
    calls.Fail("open " + GetParam().file, {EACCES});
    EXPECT_FALSE(Run({"/volume1"}));
    EXPECT_THAT(log.Take(), ElementsAre(NotRead(GetParam().file)));
    EXPECT_THAT(calls.Take(), ElementsAre("open " + GetParam().file));
}

TEST_P(RegistryQuery, NeedsNoLockAndNoProgram)
{
    WriteText(GetParam().file, R"(["/volume1"])");
    const ForeignLock lock(kLock);
    const PlatformSpy spy;
    ScriptedMkdir mkdir;
    EXPECT_TRUE(Run({"/volume1"}));
    EXPECT_THAT(spy.Locks(), IsEmpty());
    EXPECT_THAT(mkdir->Arguments(), IsEmpty());
    ExpectSilence();
}

INSTANTIATE_TEST_SUITE_P(
    Of, RegistryQuery,
    ::testing::Values(Query{"Unit", VESKSystemdVolumeIsRegisteredByUnit, UnitFile("foo.service")},
                      Query{"Package", VESKSystemdVolumeIsRegisteredByPackage, PackageFile("foo")}),
    NameOf<Query>);

using QueryOfAUnit = RegistryGround;

TEST_F(QueryOfAUnit, FindsItByEitherName)
{
    EXPECT_TRUE(VESKSystemdVolumeRegister("foo", "/volume1"));
    EXPECT_TRUE(VESKSystemdVolumeRegister("foo.slice", "/volume2"));
    EXPECT_TRUE(VESKSystemdVolumeIsRegisteredByUnit("foo", {"/volume1"}));
    EXPECT_TRUE(VESKSystemdVolumeIsRegisteredByUnit("foo.service", {"/volume1"}));
    EXPECT_FALSE(VESKSystemdVolumeIsRegisteredByUnit("foo.slice", {"/volume1"}));
    EXPECT_TRUE(VESKSystemdVolumeIsRegisteredByUnit("foo.slice", {"/volume2"}));
    EXPECT_FALSE(VESKSystemdVolumeIsRegisteredByPackage("foo", {"/volume1", "/volume2"}));
}

} // namespace
} // namespace VeskTest

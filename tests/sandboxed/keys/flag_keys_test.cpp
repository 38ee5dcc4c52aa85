// The keys that are set by "yes", and the one that names a feature of the platform.
#include "files.hpp"
#include "key_rows.hpp"

namespace VeskTest
{
namespace
{

using ::testing::IsEmpty;
using ::testing::Pair;

using Outcome = std::pair<bool, bool>; // result and flag

class FlagKeyTest : public ::testing::TestWithParam<FlagKeyRow>
{
protected:
    // Both forms, which agree; the flag is the opposite of what is expected before.
    Outcome Get(bool before, const std::string& unit = "foo")
    {
        bool flag = before;
        const bool result = GetParam().get(unit, flag);
        bool cFlag = before;
        EXPECT_EQ(GetParam().cGet(unit.c_str(), &cFlag), result ? 1 : 0);
        EXPECT_EQ(cFlag, flag);
        return {result, flag};
    }

    void ExpectFailureWithoutAFile()
    {
        for (const bool before : {false, true}) {
            ClearErrorRecord();
            EXPECT_THAT(Get(before, "no-such"), Pair(false, before));
            EXPECT_EQ(VLIBCErrGet(), 0x0700);
        }
        EXPECT_THAT(m_log.Take(), IsEmpty());
    }

    void ExpectArgumentsRefused()
    {
        bool flag = true;
        EXPECT_FALSE(GetParam().get("", flag));
        EXPECT_TRUE(Refused(m_log, GetParam().file, {"!strUnit.empty()"}));
        EXPECT_EQ(GetParam().cGet(nullptr, nullptr), 0);
        EXPECT_EQ(GetParam().cGet("foo", nullptr), 0);
        EXPECT_EQ(GetParam().cGet("", &flag), 0);
        EXPECT_TRUE(flag);
        EXPECT_TRUE(Refused(m_log, GetParam().file,
                            {"nullptr != szUnit", GetParam().outputCheck, "!strUnit.empty()"}));
    }

    SyslogCapture m_log;
};

class FlagKey : public FlagKeyTest
{
};

TEST_P(FlagKey, IsSetByYes)
{
    WriteKeys(std::string(GetParam().name) + "=yes\n");
    EXPECT_THAT(Get(false), Pair(true, true));
    WriteKeys(std::string(GetParam().name) + " = yes \n");
    EXPECT_THAT(Get(false), Pair(true, true));
}

TEST_P(FlagKey, IsNotSetByAnyOtherValue)
{
    for (const char* value : {"Yes", "YES", "true", "1", "on", "yes yes", "\"yes\"", "no", ""}) {
        WriteKeys(std::string(GetParam().name) + "=" + value + "\n");
        EXPECT_THAT(Get(true), Pair(true, false)) << value;
    }
}

TEST_P(FlagKey, IsNotSetWhereItIsMissing)
{
    WriteKeys("");
    EXPECT_THAT(Get(true), Pair(true, false));
    WriteUnitFile(UnitFolder::Usr, "bare.service", std::string(GetParam().name) + "=yes\n");
    EXPECT_THAT(Get(true, "bare"), Pair(true, false));
}

TEST_P(FlagKey, FailsAndStaysAsItWasForAUnitWithoutAFile)
{
    ExpectFailureWithoutAFile();
}

TEST_P(FlagKey, RefusesArgumentsInTheirOrder)
{
    ExpectArgumentsRefused();
}

INSTANTIATE_TEST_SUITE_P(
    Of, FlagKey,
    ::testing::Values(
        FlagKeyRow{"DefaultEnable", "systemd_is_default_enable.cpp", VESKSystemdIsDefaultEnableGet,
                   VESKCSystemdIsDefaultEnableGet, "nullptr != pblDefaultEnable"},
        FlagKeyRow{"InfoCenterDisplay", "systemd_info_center_display.cpp", VESKSystemdInfoCenterDisplayGet,
                   VESKCSystemdInfoCenterDislayGet, "nullptr != pblDisplay"},
        FlagKeyRow{"NanoUpdateDisplay", "systemd_nano_update_display.cpp", VESKSystemdNanoUpdateDislayGet,
                   VESKCSystemdNanoUpdateDislayGet, "nullptr != pblDisplay"},
        FlagKeyRow{"SupportOneClickEnable", "systemd_support_one_click_enable.cpp",
                   VESKSystemdSupportOneClickEnableGet, VESKCSystemdSupportOneClickEnableGet,
                   "nullptr != pblOneClickEnable"}),
    RowName());

class SupportKey : public FlagKeyTest
{
protected:
    SupportKey()
    {
        WriteText("/usr/vesk/etc/vesk-support.conf", "other=yes\ncamera=yes\ntape=no\nradio=Yes\n");
    }
};

TEST_P(SupportKey, IsTrueForAUnitThatNamesNoFeature)
{
    WriteKeys("");
    EXPECT_THAT(Get(false), Pair(true, true));
    WriteKeys("SupportKey=\n");
    EXPECT_THAT(Get(false), Pair(true, true));
}

TEST_P(SupportKey, IsTrueForAFeatureOfThePlatform)
{
    WriteKeys("SupportKey=camera\n");
    EXPECT_THAT(Get(false), Pair(true, true));
}

TEST_P(SupportKey, IsFalseForAFeatureThatThePlatformLacks)
{
    for (const char* feature : {"tape", "radio", "Camera", "cam", "camera=yes", "yes", "%s"}) {
        WriteKeys(std::string("SupportKey=") + feature + "\n");
        EXPECT_THAT(Get(true), Pair(true, false)) << feature;
    }
}

TEST_P(SupportKey, IsFalseOnAPlatformWithoutAListOfFeatures)
{
    RemoveAll("/usr/vesk/etc/vesk-support.conf");
    WriteKeys("SupportKey=camera\n");
    EXPECT_THAT(Get(true), Pair(true, false));
}

TEST_P(SupportKey, FailsAndStaysAsItWasForAUnitWithoutAFile)
{
    ExpectFailureWithoutAFile();
}

TEST_P(SupportKey, RefusesArgumentsInTheirOrder)
{
    ExpectArgumentsRefused();
}

INSTANTIATE_TEST_SUITE_P(Of, SupportKey,
                         ::testing::Values(FlagKeyRow{"SupportKey", "systemd_is_support.cpp",
                                                      VESKSystemdIsSupportGet, VESKCSystemdIsSupportGet,
                                                      "nullptr != pblSupport"}),
                         RowName());

} // namespace
} // namespace VeskTest

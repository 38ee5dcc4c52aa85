// The keys that hold several items, and the icon.
#include "c_list.hpp"
#include "key_rows.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class FirewallSections : public ::testing::Test
{
protected:
    void WriteValue(const std::string& value) { WriteKeys("FirewallSections=" + value + "\n"); }

    Words m_items{"before"};
    CList m_list{{"before"}};
    SyslogCapture m_log;
};

TEST_F(FirewallSections, ReplaceTheCallersVectorAndAreAppendedToTheCallersList)
{
    WriteValue("smb ftp %s");
    EXPECT_TRUE(VESKSystemdFirewallSectionsGet("foo", m_items));
    EXPECT_THAT(m_items, ElementsAre("smb", "ftp", "%s"));
    EXPECT_EQ(VESKCSystemdFirewallSectionsGet("foo", m_list.Address()), 1);
    EXPECT_THAT(m_list.Items(), ElementsAre("before", "smb", "ftp", "%s"));
    EXPECT_THAT(m_log.Take(), IsEmpty());
}

TEST_F(FirewallSections, HaveAnEmptyItemBetweenTwoBlanks)
{
    WriteValue(" \t smb  ftp   \t");
    EXPECT_TRUE(VESKSystemdFirewallSectionsGet("foo", m_items));
    EXPECT_THAT(m_items, ElementsAre("smb", "", "ftp"));
    EXPECT_EQ(VESKCSystemdFirewallSectionsGet("foo", m_list.Address()), 1);
    EXPECT_THAT(m_list.Items(), ElementsAre("before", "smb", "", "ftp"));
}

TEST_F(FirewallSections, AreSeparatedByBlanksOnly)
{
    WriteValue("a\tb,c;d e");
    EXPECT_TRUE(VESKSystemdFirewallSectionsGet("foo", m_items));
    EXPECT_THAT(m_items, ElementsAre("a\tb,c;d", "e"));
}

TEST_F(FirewallSections, LeaveTheOutputAloneWhereThereAreNone)
{
    for (const char* lines : {"FirewallSections=\n", "FirewallSections= \t \n", ""}) {
        WriteKeys(lines);
        EXPECT_TRUE(VESKSystemdFirewallSectionsGet("foo", m_items));
        EXPECT_EQ(VESKCSystemdFirewallSectionsGet("foo", m_list.Address()), 1);
    }
    EXPECT_THAT(m_items, ElementsAre("before"));
    EXPECT_THAT(m_list.Items(), ElementsAre("before"));
}

TEST_F(FirewallSections, FailForAUnitWithoutAFile)
{
    ClearErrorRecord();
    EXPECT_FALSE(VESKSystemdFirewallSectionsGet("no-such", m_items));
    EXPECT_EQ(VLIBCErrGet(), 0x0700);
    EXPECT_EQ(VESKCSystemdFirewallSectionsGet("no-such", m_list.Address()), 0);
    EXPECT_THAT(m_items, ElementsAre("before"));
    EXPECT_THAT(m_list.Items(), ElementsAre("before"));
    EXPECT_THAT(m_log.Take(), IsEmpty());
}

TEST_F(FirewallSections, RefuseArgumentsInTheirOrder)
{
    VLIBCSzList* none = nullptr;
    EXPECT_FALSE(VESKSystemdFirewallSectionsGet("", m_items));
    EXPECT_EQ(VESKCSystemdFirewallSectionsGet(nullptr, nullptr), 0);
    EXPECT_EQ(VESKCSystemdFirewallSectionsGet("foo", nullptr), 0);
    EXPECT_EQ(VESKCSystemdFirewallSectionsGet("", &none), 0);
    EXPECT_EQ(VESKCSystemdFirewallSectionsGet("", m_list.Address()), 0);
    EXPECT_TRUE(Refused(m_log, "systemd_firewall_sections_get.cpp",
                        {"!strUnit.empty()", "nullptr != szUnit", "nullptr != ppFirewallSections",
                         "nullptr != *ppFirewallSections", "!strUnit.empty()"}));
}

class TargetsKey : public ::testing::TestWithParam<TargetsKeyRow>
{
protected:
    void WriteValue(const std::string& value)
    {
        WriteKeys(std::string(GetParam().name) + "=" + value + "\n");
    }

    Words m_items{"before"};
    SyslogCapture m_log;
};

TEST_P(TargetsKey, AppendsTheTargetsAndDropsOtherItems)
{
    WriteValue("a.target  b.service c.target target .target d.Target e.target.");
    EXPECT_TRUE(GetParam().get("foo", m_items));
    EXPECT_THAT(m_items, ElementsAre("before", "a.target", "c.target", ".target"));
    EXPECT_THAT(m_log.Take(), IsEmpty());
}

TEST_P(TargetsKey, AppendsNothingWhereThereAreNone)
{
    for (const char* value : {"", " ", "a.service b"}) {
        WriteValue(value);
        EXPECT_TRUE(GetParam().get("foo", m_items));
    }
    WriteKeys("");
    EXPECT_TRUE(GetParam().get("foo", m_items));
    EXPECT_THAT(m_items, ElementsAre("before"));
}

TEST_P(TargetsKey, FailsForAUnitWithoutAFile)
{
    ClearErrorRecord();
    EXPECT_FALSE(GetParam().get("no-such", m_items));
    EXPECT_EQ(VLIBCErrGet(), 0x0700);
    EXPECT_THAT(m_items, ElementsAre("before"));
    EXPECT_THAT(m_log.Take(), IsEmpty());
}

TEST_P(TargetsKey, RefusesAnEmptyName)
{
    EXPECT_FALSE(GetParam().get("", m_items));
    EXPECT_TRUE(Refused(m_log, GetParam().file, {"!strUnit.empty()"}));
}

INSTANTIATE_TEST_SUITE_P(
    Of, TargetsKey,
    ::testing::Values(TargetsKeyRow{"PackedIn", "systemd_packed_in_get.cpp", VESKSystemdPackedInGet},
                      TargetsKeyRow{"BelongsTo", "systemd_belongs_to_get.cpp", VESKSystemdBelongsToGet}),
    RowName());

Words IconTexts(const VESK::Systemd::Icon& icon)
{
    return {icon.strAppId, icon.strIconCls, icon.strIconName};
}

TEST(IconKeys, AreReadTogetherAndEmptyWhereTheyAreMissing)
{
    VESK::Systemd::Icon icon{"old", "old", "old"};
    WriteKeys("IconName=n\nAppId=VESK.App\nIconCls=cls two\n");
    EXPECT_TRUE(VESKSystemdIconGet("foo", icon));
    EXPECT_EQ(IconTexts(icon), (Words{"VESK.App", "cls two", "n"}));
    WriteKeys("IconCls=only\n");
    EXPECT_TRUE(VESKSystemdIconGet("foo", icon));
    EXPECT_EQ(IconTexts(icon), (Words{"", "only", ""}));
}

TEST(IconKeys, StayAsTheyWereWhenTheUnitIsRefusedOrHasNoFile)
{
    SyslogCapture log;
    VESK::Systemd::Icon icon{"a", "b", "c"};
    EXPECT_FALSE(VESKSystemdIconGet("", icon));
    EXPECT_TRUE(Refused(log, "systemd_icon_get.cpp", {"!strUnit.empty()"}));
    EXPECT_FALSE(VESKSystemdIconGet("no-such", icon));
    EXPECT_EQ(VLIBCErrGet(), 0x0700);
    EXPECT_EQ(IconTexts(icon), (Words{"a", "b", "c"}));
    EXPECT_THAT(log.Take(), IsEmpty());
}

} // namespace
} // namespace VeskTest

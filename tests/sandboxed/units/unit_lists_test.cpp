// Listing unit files and services.
#include "c_list.hpp"
#include "refused.hpp"
#include "systemctl_script.hpp"
#include <vesksystemd.hpp>

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class UnitLists : public ::testing::Test
{
protected:
    Answering OnList() { return m_systemctl.OnLeading({"list-unit-files", "--no-legend", "--root=/."}); }

    ScriptedSystemctl m_systemctl;
    SyslogCapture m_log;
    Words m_units{"before"};
    CList m_list{{"before"}};
};

TEST_F(UnitLists, AppendTheNamesOfAllUnitFilesInTheirOrder)
{
    OnList().Stdout("b.socket enabled\na.service static\nb.socket masked\n");
    EXPECT_TRUE(VESKSystemdListUnits(m_units, ""));
    EXPECT_THAT(m_units, ElementsAre("before", "b.socket", "a.service", "b.socket"));
    EXPECT_THAT(m_systemctl.Arguments(), ElementsAre("list-unit-files --no-legend --root=/."));
    EXPECT_THAT(m_log.Take(), IsEmpty());
}

TEST_F(UnitLists, MayBeEmpty)
{
    OnList();
    EXPECT_TRUE(VESKSystemdListUnits(m_units, ""));
    EXPECT_THAT(m_units, ElementsAre("before"));
}

TEST_F(UnitLists, SkipLinesThatDoNotHaveExactlyTwoFields)
{
    OnList().Stdout("one.service\nthree.service enabled enabled\npadded.service  enabled\n\n \n"
                    "  good.service enabled \t\nlast.service disabled");
    EXPECT_TRUE(VESKSystemdListUnits(m_units, ""));
    EXPECT_THAT(m_units, ElementsAre("before", "good.service", "last.service"));
    EXPECT_THAT(m_log.Take(), IsEmpty());
}

TEST_F(UnitLists, TakeTenThousandLines)
{
    OnList().Stdout("a.service enabled\n", 10000);
    EXPECT_TRUE(VESKSystemdListUnits(m_units, ""));
    EXPECT_THAT(m_units, SizeIs(10001));
}

TEST_F(UnitLists, StayAsTheyAreWhenSystemctlFails)
{
    OnList().Stdout("a.service enabled\n").Exit(1);
    EXPECT_FALSE(VESKSystemdListUnits(m_units, ""));
    EXPECT_FALSE(VESKSystemdServiceList(m_units));
    EXPECT_EQ(VESKCSystemdServiceList(m_list.Address()), 0);
    EXPECT_THAT(m_units, ElementsAre("before"));
    EXPECT_THAT(m_list.Items(), ElementsAre("before"));
    EXPECT_THAT(m_log.Take(), IsEmpty());
}

TEST_F(UnitLists, FailWithoutSystemctl)
{
    m_systemctl.Remove();
    EXPECT_FALSE(VESKSystemdListUnits(m_units, "slice"));
    EXPECT_THAT(m_log.Take(),
                ElementsAre(NotStarted("list-unit-files --no-legend --root=/. --type slice"),
                            Error("systemd_list_units.cpp", "vesksystemd: list-unit-files failed.")));
}

TEST_F(UnitLists, MayBeOfAnyKnownType)
{
    for (const char* type : {"service", "socket", "device", "mount", "automount", "swap", "target", "path",
                             "timer", "slice", "scope"}) {
        m_systemctl.ForgetCalls();
        OnList().Stdout(std::string("a.") + type + " enabled\n");
        EXPECT_TRUE(VESKSystemdListUnits(m_units, type));
        EXPECT_EQ(m_units.back(), std::string("a.") + type);
        EXPECT_EQ(m_systemctl.Calls().at(0).arguments,
                  (Words{"list-unit-files", "--no-legend", "--root=/.", "--type", type}));
    }
}

TEST_F(UnitLists, AreRefusedForAnyOtherType)
{
    for (const char* type : {"Service", "services", ".service", " ", "snapshot", "--all", "%s"}) {
        EXPECT_FALSE(VESKSystemdListUnits(m_units, type));
        EXPECT_TRUE(Refused(m_log, "systemd_list_units.cpp",
                            {"(strType.empty() || setUnitTypes.end() != setUnitTypes.find(strType))"}));
    }
    EXPECT_THAT(m_systemctl.Calls(), IsEmpty());
    EXPECT_THAT(m_units, ElementsAre("before"));
}

TEST_F(UnitLists, OfServicesLackTheExtension)
{
    OnList().Stdout("a.service enabled\nfoo@.service static\na.b.service masked\nodd enabled\n");
    EXPECT_TRUE(VESKSystemdServiceList(m_units));
    EXPECT_THAT(m_units, ElementsAre("before", "a", "foo@", "a.b", "odd"));
    EXPECT_EQ(VESKCSystemdServiceList(m_list.Address()), 1);
    EXPECT_EQ(m_list.Items(), m_units);
    const std::string call = "list-unit-files --no-legend --root=/. --type service";
    EXPECT_THAT(m_systemctl.Arguments(), ElementsAre(call, call));
}

TEST_F(UnitLists, OfServicesAreNotPushedToANullList)
{
    VLIBCSzList* list = nullptr;
    const std::string file = "systemd_service_list.cpp";
    EXPECT_EQ(VESKCSystemdServiceList(nullptr), 0);
    EXPECT_TRUE(Refused(m_log, file, {"nullptr != ppListServices"}));
    EXPECT_EQ(VESKCSystemdServiceList(&list), 0);
    EXPECT_TRUE(Refused(m_log, file, {"nullptr != *ppListServices"}));
    EXPECT_EQ(list, nullptr);
    EXPECT_THAT(m_systemctl.Calls(), IsEmpty());
}

} // namespace
} // namespace VeskTest

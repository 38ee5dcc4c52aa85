// Refused arguments, and the forms for one service and for C, of all three operations.

#include <ostream>

#include "c_list.hpp"
#include "paths.hpp"
#include "reasons_ground.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

struct Operation {
    const char* name;
    const char* file;
    bool (*list)(const std::string&, const Words&, Words&);
    bool (*one)(const std::string&, const std::string&);
    int (*cOne)(const char*, const char*);
    int (*cGroup)(const char*, VLIBCSzList*, VLIBCSzList**);
    const char* lastCall;
};

const Operation kOperations[] = {
    {"Stop", "systemd_service_stop_by_reason.cpp", VESKSystemdServiceStopByReason,
     VESKSystemdServiceStopByReason, VESKCSystemdServiceStopByReason, VESKCSystemdServiceStopGroupByReason,
     "stop"},
    {"Start", "systemd_service_start_by_reason.cpp", VESKSystemdServiceStartByReason,
     VESKSystemdServiceStartByReason, VESKCSystemdServiceStartByReason, VESKCSystemdServiceStartGroupByReason,
     "start"},
    {"Remove", "systemd_service_reason_remove.cpp", VESKSystemdServiceReasonRemove,
     VESKSystemdServiceReasonRemove, VESKCSystemdServiceReasonRemove, VESKCSystemdServiceReasonRemoveGroup,
     "reset-failed"},
};

void PrintTo(const Operation& operation, std::ostream* stream)
{
    *stream << operation.name;
}

class ReasonForms : public Reasons, public ::testing::WithParamInterface<Operation>
{
protected:
    // A record that must stay as it is.
    ReasonForms() { Record("foo.service", "kept"); }

    void ExpectRefused(const std::string& condition)
    {
        EXPECT_EQ(VLIBCErrGet(), 0x0D00) << condition;
        EXPECT_STREQ(VLIBCErrorGetFile(), GetParam().file);
        EXPECT_THAT(log.Take(), ElementsAre(RefusedArgument(GetParam().file, condition)));
        EXPECT_THAT(systemctl.Calls(), IsEmpty());
        EXPECT_THAT(ListFolder(kReasons), ElementsAre("foo.service"));
        EXPECT_THAT(ListFolder(ReasonFolder("foo.service")), ElementsAre("kept"));
        EXPECT_THAT(failed, IsEmpty());
        VLIBCErrSetEx(0, "", 0);
    }
};

INSTANTIATE_TEST_SUITE_P(, ReasonForms, ::testing::ValuesIn(kOperations),
                         [](const auto& operation) { return operation.param.name; });

TEST_P(ReasonForms, RefuseAnEmptyReasonOneWithASlashAndAnEmptyListInThatOrder)
{
    EXPECT_FALSE(GetParam().list("", {}, failed));
    ExpectRefused("!strReason.empty()");
    for (const char* reason : {"/", "a/b", "../foo.service/kept", "kept/"}) {
        EXPECT_FALSE(GetParam().list(reason, {}, failed));
        ExpectRefused("string::npos == strReason.find(\"/\")");
    }
    EXPECT_FALSE(GetParam().list("a", {}, failed));
    ExpectRefused("!vecServices.empty()");
}

TEST_P(ReasonForms, RefuseReasonsThatAreNoEntriesOfAFolder)
{
    for (const std::string& reason : {std::string("."), std::string(".."), std::string("..\0x", 4)}) {
        EXPECT_FALSE(GetParam().list(reason, {"foo"}, failed));
        ExpectRefused("IsEntryName(strReason)");
        EXPECT_EQ(GetParam().cOne(reason.c_str(), "foo"), 0);
        ExpectRefused("IsEntryName(strReason)");
    }
}

TEST_P(ReasonForms, TakeNamesUpToTheirFirstZeroByte)
{
    EXPECT_FALSE(GetParam().list(std::string(3, '\0'), {"foo"}, failed));
    ExpectRefused("!strReason.empty()");
    EXPECT_FALSE(GetParam().one("a", std::string(16, '\0')));
    ExpectRefused("!strService.empty()");
    Record("foo.service", "a");
    EXPECT_TRUE(GetParam().list(std::string("a\0/b", 4), {std::string("foo\0/../bar", 11)}, failed));
    EXPECT_EQ(systemctl.Calls().at(0).arguments.back(), "foo");
    EXPECT_THAT(ListFolder(kReasons), ElementsAre("foo.service"));
    const bool stops = std::string(GetParam().name) == "Stop";
    EXPECT_EQ(Exists(ReasonFile("foo.service", "a")), stops);
    EXPECT_FALSE(
        GetParam().list("a", {std::string("bar\0.service", 12), std::string("x.timer\0y", 9)}, failed));
    EXPECT_THAT(failed, ElementsAre("x.timer"));
}

TEST_P(ReasonForms, TakeOneListForTheServicesAndForThoseThatFail)
{
    Words services;
    for (int index = 0; index < 100; ++index) {
        services.push_back("a-timer-that-may-have-no-reasons-" + std::to_string(index) + ".timer");
    }
    Words expected = services;
    expected.push_back("foo");
    expected.insert(expected.end(), services.begin(), services.end());
    services.push_back("foo");
    EXPECT_FALSE(GetParam().list("a", services, services));
    EXPECT_EQ(services, expected);
    EXPECT_EQ(systemctl.Calls().at(0).arguments.back(), "foo");
}

TEST_P(ReasonForms, RefuseServicesThatAreNoEntriesOfAFolderAndGoOnWithTheOthers)
{
    const Words outside = {"../victim", "../../victim", "foo.service/kept", "/victim", ".", ".."};
    WriteText(std::string(kRunFolder) + "/victim.service/a", "");
    WriteText("/run/victim.service/a", "");
    for (const std::string& service : outside) {
        SCOPED_TRACE(service);
        VLIBCErrSetEx(0, "", 0);
        failed.clear();
        systemctl.ForgetCalls();
        EXPECT_FALSE(GetParam().list("a", {service, "foo"}, failed));
        EXPECT_EQ(VLIBCErrGet(), 0x0D00);
        EXPECT_THAT(failed, ElementsAre(service));
        EXPECT_EQ(systemctl.Calls().at(0).arguments.back(), "foo");
        EXPECT_FALSE(GetParam().one("a", service));
        EXPECT_EQ(VLIBCErrGet(), 0x0D00);
    }
    EXPECT_TRUE(Exists(std::string(kRunFolder) + "/victim.service/a"));
    EXPECT_TRUE(Exists("/run/victim.service/a"));
    EXPECT_THAT(ListFolder(kReasons), ElementsAre("foo.service"));
    EXPECT_THAT(ListFolder(kRunFolder), ElementsAre("reasons", "victim.service"));
}

TEST_P(ReasonForms, RefuseAnEmptyServiceBeforeTheReason)
{
    EXPECT_FALSE(GetParam().one("", ""));
    ExpectRefused("!strService.empty()");
    EXPECT_FALSE(GetParam().one("a/b", "foo"));
    ExpectRefused("string::npos == strReason.find(\"/\")");
}

TEST_P(ReasonForms, RefuseNullInC)
{
    EXPECT_EQ(GetParam().cOne(nullptr, nullptr), 0);
    ExpectRefused("nullptr != szReason");
    EXPECT_EQ(GetParam().cOne("a", nullptr), 0);
    ExpectRefused("nullptr != szService");
    EXPECT_EQ(GetParam().cGroup(nullptr, nullptr, nullptr), 0);
    ExpectRefused("nullptr != szReason");
    EXPECT_EQ(GetParam().cGroup("a", nullptr, nullptr), 0);
    ExpectRefused("nullptr != pListServices");
}

TEST_P(ReasonForms, RefuseEmptyTextsAndListsInC)
{
    const CList none;
    EXPECT_EQ(GetParam().cOne("", "foo"), 0);
    ExpectRefused("!strReason.empty()");
    EXPECT_EQ(GetParam().cOne("a", ""), 0);
    ExpectRefused("!strService.empty()");
    EXPECT_EQ(GetParam().cGroup("a", none.Get(), nullptr), 0);
    ExpectRefused("!vecServices.empty()");
}

TEST_P(ReasonForms, TakeOneService)
{
    EXPECT_TRUE(GetParam().one("a", "foo"));
    EXPECT_EQ(systemctl.Arguments().back(), std::string(GetParam().lastCall) + " foo");
    EXPECT_FALSE(GetParam().one("a", "foo.timer"));
    EXPECT_EQ(VLIBCErrGet(), 0x0D00);
}

TEST_P(ReasonForms, TakeOneServiceInC)
{
    EXPECT_EQ(GetParam().cOne("a", "foo"), 1);
    EXPECT_EQ(systemctl.Arguments().back(), std::string(GetParam().lastCall) + " foo");
    EXPECT_EQ(GetParam().cOne("a", "foo.timer"), 0);
}

TEST_P(ReasonForms, TakeAListInCAndPushTheFailedServices)
{
    const CList services({"x.timer", "foo", "y.socket"});
    CList list({"before"});
    EXPECT_EQ(GetParam().cGroup("a", services.Get(), list.Address()), 0);
    EXPECT_THAT(list.Items(), ElementsAre("before", "x.timer", "y.socket"));
    EXPECT_EQ(systemctl.Arguments().back(), std::string(GetParam().lastCall) + " foo");
}

TEST_P(ReasonForms, PushNothingInCOnSuccessOrWithoutAList)
{
    CList list;
    EXPECT_EQ(GetParam().cGroup("a", CList({"foo"}).Get(), list.Address()), 1);
    EXPECT_THAT(list.Items(), IsEmpty());
    VLIBCSzList* none = nullptr;
    EXPECT_EQ(GetParam().cGroup("a", CList({"x.timer"}).Get(), nullptr), 0);
    EXPECT_EQ(GetParam().cGroup("a", CList({"x.timer"}).Get(), &none), 0);
    EXPECT_EQ(none, nullptr);
}

TEST_F(Reasons, ListRefusesAnEmptyService)
{
    Words reasons;
    EXPECT_FALSE(VESKSystemdServiceReasonList("", reasons));
    EXPECT_EQ(VLIBCErrGet(), 0x0D00);
    EXPECT_THAT(log.Take(),
                ElementsAre(RefusedArgument("systemd_service_reason_list.cpp", "!strService.empty()")));
}

TEST_F(Reasons, ListRefusesAServiceThatIsNoEntryOfAFolder)
{
    WriteText(std::string(kRunFolder) + "/victim.service/a", "");
    Record("foo.service", "a");
    for (const char* service : {"../victim", "foo.service/../../victim", ".", ".."}) {
        Words reasons;
        VLIBCErrSetEx(0, "", 0);
        EXPECT_FALSE(VESKSystemdServiceReasonList(service, reasons)) << service;
        EXPECT_EQ(VLIBCErrGet(), 0x0D00);
        EXPECT_THAT(reasons, IsEmpty());
        EXPECT_FALSE(VESK::Systemd::CheckServiceHasReason(service)) << service;
    }
    Words reasons;
    EXPECT_TRUE(VESKSystemdServiceReasonList(std::string("foo\0/x", 6), reasons));
    EXPECT_THAT(reasons, ElementsAre("a"));
    EXPECT_FALSE(VESKSystemdServiceReasonList(std::string(1, '\0'), reasons));
}

TEST_F(Reasons, ListInCRefusesNullInOrder)
{
    const char* file = "systemd_service_reason_list.cpp";
    VLIBCSzList* none = nullptr;
    EXPECT_EQ(VESKCSystemdServiceReasonList(nullptr, nullptr), 0);
    EXPECT_THAT(log.Take(), ElementsAre(RefusedArgument(file, "nullptr != szService")));
    EXPECT_EQ(VESKCSystemdServiceReasonList("foo", nullptr), 0);
    EXPECT_THAT(log.Take(), ElementsAre(RefusedArgument(file, "nullptr != ppListReasons")));
    EXPECT_EQ(VESKCSystemdServiceReasonList("foo", &none), 0);
    EXPECT_THAT(log.Take(), ElementsAre(RefusedArgument(file, "nullptr != *ppListReasons")));
    EXPECT_EQ(VLIBCErrGet(), 0x0D00);
}

TEST_F(Reasons, ListInCPushesEveryReasonAndNothingOnFailure)
{
    Record("foo.service", "a");
    Record("foo.service", ".b");
    CList list({"before"});
    EXPECT_EQ(VESKCSystemdServiceReasonList("foo.timer", list.Address()), 0);
    EXPECT_THAT(list.Items(), ElementsAre("before"));
    EXPECT_EQ(VESKCSystemdServiceReasonList("foo", list.Address()), 1);
    EXPECT_THAT(list.Items(), UnorderedElementsAre("before", "a", ".b"));
    EXPECT_EQ(VESKCSystemdServiceReasonList("bar", list.Address()), 1);
}

} // namespace
} // namespace VeskTest

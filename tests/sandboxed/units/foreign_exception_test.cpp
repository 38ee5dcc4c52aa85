// An exception that is no std::exception. The platform throws none, so the test stands in for its call that
// starts a child.
#include "action_test.hpp"
#include "c_list.hpp"

// A number is not derived from std::exception.
FILE* VLIBCPopenv(const char* /*path*/, const char* /*mode*/, char* const /*argv*/[])
{
    throw 42;
}

namespace VeskTest
{
namespace
{

using ::testing::IsEmpty;

TEST(ForeignException, PassesThroughTheCxxFormsOfActionsAndStopsAtTheCForms)
{
    for (const ActionForm& form : AllForms()) {
        if (form.IsC()) {
            EXPECT_FALSE(form.OnUnit("foo")) << form;
        } else {
            EXPECT_THROW(form.OnUnit("foo"), int) << form;
        }
    }
}

TEST(ForeignException, LeavesTheFailedUnitsAlone)
{
    for (const ActionForm& form : FormsOnUnits()) {
        Words failed{"earlier"};
        if (form.IsC()) {
            EXPECT_FALSE(form.OnUnits({"foo"}, failed)) << form;
        } else {
            EXPECT_THROW(form.OnUnits({"foo"}, failed), int) << form;
        }
        EXPECT_THAT(failed, ::testing::ElementsAre("earlier")) << form;
    }
}

TEST(ForeignException, PassesThroughTheCxxFormsOfQueries)
{
    std::map<unsigned int, VESK::Systemd::JobInfo> jobs;
    VESK::Systemd::JobInfo job;
    Words units;
    std::string value;
    EXPECT_THROW(VESKSystemdIntJobList(jobs), int);
    EXPECT_THROW(VESKSystemdIntJobGet("foo", job), int);
    EXPECT_THROW(VESKSystemdIsJobEnqueued("foo"), int);
    EXPECT_THROW(VESKSystemdListUnits(units, ""), int);
    EXPECT_THROW(VESKSystemdServiceList(units), int);
    EXPECT_THROW(VESKSystemdShow("foo", "Job", value), int);
    EXPECT_THROW(VESKSystemdShowSystem("foo", "Job", value), int);
    EXPECT_THROW(VESKSystemdActiveStatusGet("foo"), int);
    EXPECT_THROW(VESKSystemdLoadStatusGet("foo"), int);
    EXPECT_THROW(VESKSystemdEnableStatusGet("foo"), int);
    EXPECT_THROW(VESKSystemdDaemonReload(), int);
}

TEST(ForeignException, IsAFailureOfTheCFormsOfQueries)
{
    CList list;
    EXPECT_EQ(VESKCSystemdIsJobEnqueued("foo"), 0);
    EXPECT_EQ(VESKCSystemdServiceList(list.Address()), 0);
    EXPECT_THAT(list.Items(), IsEmpty());
    EXPECT_EQ(VESKCSystemdActiveStatusGet("foo"), -1);
    EXPECT_EQ(VESKCSystemdActiveStatusGetSystem("foo"), -1);
    EXPECT_EQ(VESKCSystemdLoadStatusGet("foo"), -1);
    EXPECT_EQ(VESKCSystemdEnableStatusGet("foo"), -1);
    EXPECT_EQ(VESKCSystemdEnableStatusGetSystem("foo"), -1);
    EXPECT_EQ(VESKCSystemdEnableStatusGetInGenerator("foo"), -1);
    EXPECT_EQ(VESKCSystemdDaemonReload(), 0);
}

} // namespace
} // namespace VeskTest

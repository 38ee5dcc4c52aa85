// What start and stop write to the event log, and that nothing else does.
#include "action_test.hpp"
#include "c_list.hpp"
#include "unit_files.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class EventLogOf
{
public:
    explicit EventLogOf(const ActionRow& row)
        : m_ground(row)
        , m_done(row.verb == "stop" ? "0002" : "0001")
        , m_failed(row.verb == "stop" ? "0012" : "0011")
    {
        WriteUnitFile(UnitFolder::Usr, "a.service", "[X-Veskline]\nName=First one\n");
        WriteUnitFile(UnitFolder::Usr, "b.service", "[X-Veskline]\nName=Second, %s\n");
        WriteUnitFile(UnitFolder::Usr, "plain.service", "[Unit]\n");
    }

    std::vector<Words> Entries() const
    {
        std::vector<Words> entries;
        for (const Call& call : m_program.Calls()) {
            entries.push_back(call.arguments);
        }
        return entries;
    }
    Words Done(const std::string& names) const { return {"vesksystemd", m_done, names}; }
    Words Failed(const std::string& names) const { return {"vesksystemd", m_failed, names}; }

    ActionGround& Ground() { return m_ground; }
    EventLog& Program() { return m_program; }

private:
    ActionGround m_ground;
    EventLog m_program;
    std::string m_done;
    std::string m_failed;
};

class RecordedForm : public ::testing::TestWithParam<ActionForm>
{
protected:
    EventLogOf m_log{GetParam().row};
};

TEST_P(RecordedForm, RecordsASuccess)
{
    EXPECT_TRUE(GetParam().OnUnit("a"));
    EXPECT_THAT(m_log.Entries(), ElementsAre(m_log.Done("First one")));
}

TEST_P(RecordedForm, RecordsAFailureOfSystemctl)
{
    m_log.Ground().OnVerb().Stderr("Job for a.service failed.\n").Exit(1);
    EXPECT_FALSE(GetParam().OnUnit("a"));
    EXPECT_THAT(m_log.Entries(), ElementsAre(m_log.Failed("First one")));
}

TEST_P(RecordedForm, RecordsAFailureWhenSystemctlIsMissing)
{
    m_log.Ground().Systemctl().Remove();
    EXPECT_FALSE(GetParam().OnUnit("a"));
    EXPECT_THAT(m_log.Entries(), ElementsAre(m_log.Failed("First one")));
}

TEST_P(RecordedForm, RecordsNothingOfAUnitWithoutADisplayName)
{
    EXPECT_TRUE(GetParam().OnUnit("plain"));
    EXPECT_TRUE(GetParam().OnUnit("no-file"));
    EXPECT_THAT(m_log.Entries(), IsEmpty());
}

TEST_P(RecordedForm, SucceedsAlsoWhenTheEventLogFails)
{
    m_log.Program().AnswerWith(1);
    EXPECT_TRUE(GetParam().OnUnit("b"));
    EXPECT_THAT(m_log.Ground().Log().Take(),
                ::testing::Contains(Error("systemd_internal_lib.cpp",
                                          "vesksystemd: failed to write vesklog for units: Second, %s")));
}

INSTANTIATE_TEST_SUITE_P(Every, RecordedForm, ::testing::ValuesIn(AllForms(&ActionRow::IsRecorded)),
                         ParamName());

class RecordedUnits : public RecordedForm
{
};

TEST_P(RecordedUnits, MakeOneEntryForThoseThatSucceededAndOneForThoseThatFailed)
{
    m_log.Ground().OnVerb().Stderr("Job for b.service failed.\n").Exit(1);
    Words failed;
    EXPECT_FALSE(GetParam().OnUnits({"a", "b", "plain", "no-file"}, failed));
    EXPECT_THAT(m_log.Entries(), ElementsAre(m_log.Done("First one"), m_log.Failed("Second, %s")));
}

TEST_P(RecordedUnits, AreJoinedInOneEntry)
{
    Words failed;
    EXPECT_TRUE(GetParam().OnUnits({"b", "plain", "a", "b"}, failed));
    EXPECT_THAT(m_log.Entries(), ElementsAre(m_log.Done("Second, %s, First one, Second, %s")));
}

TEST_P(RecordedUnits, OfAnEmptyListAreThoseThatFailedBefore)
{
    Words failed{"a"};
    EXPECT_FALSE(GetParam().OnUnits({}, failed));
    if (GetParam().IsC()) {
        EXPECT_THAT(m_log.Entries(), IsEmpty());
    } else {
        EXPECT_THAT(m_log.Entries(), ElementsAre(m_log.Failed("First one")));
    }
}

TEST_P(RecordedUnits, LeaveTheErrorRecordOfARefusedListAlone)
{
    Words failed{"no-file"};
    EXPECT_FALSE(GetParam().OnUnits({}, failed));
    EXPECT_EQ(VLIBCErrGet(), 0x0D00);
    EXPECT_EQ(VLIBCErrorGetFile(), GetParam().row.file);
}

INSTANTIATE_TEST_SUITE_P(Every, RecordedUnits, ::testing::ValuesIn(FormsOnUnits(&ActionRow::IsRecorded)),
                         ParamName());

class RecordedRow : public ::testing::TestWithParam<ActionRow>
{
};

TEST_P(RecordedRow, RecordsNothingOfARefusedName)
{
    EventLogOf log(GetParam());
    EXPECT_FALSE(GetParam().one(""));
    EXPECT_EQ(GetParam().cOne(nullptr), 0);
    EXPECT_EQ(GetParam().cOne(""), 0);
    EXPECT_THAT(log.Entries(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Every, RecordedRow, ::testing::ValuesIn(RowsWhere(&ActionRow::IsRecorded)),
                         ParamName());

TEST(EveryOtherFamily, WritesNothingToTheEventLog)
{
    for (const ActionForm& form : AllForms(std::not_fn(&ActionRow::IsRecorded))) {
        EventLogOf log(form.row);
        EXPECT_TRUE(form.OnUnit("a")) << form;
        log.Ground().OnVerb().Stderr("Job for a.service failed.\n").Exit(1);
        EXPECT_FALSE(form.OnUnit("a")) << form;
        EXPECT_THAT(log.Entries(), IsEmpty()) << form;
    }
}

TEST(EventLogOfGroup, IsNotWrittenForANullList)
{
    for (const char* name : {"Start", "Stop"}) {
        EventLogOf log(ActionRowOf(name));
        CList failed({"a"});
        EXPECT_EQ(ActionRowOf(name).cGroup(nullptr, failed.Address()), 0);
        EXPECT_THAT(log.Entries(), IsEmpty());
    }
}

} // namespace
} // namespace VeskTest

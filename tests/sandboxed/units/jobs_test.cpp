// Reading systemd's job queue.
#include "refused.hpp"
#include "systemctl_script.hpp"
#include <vesksystemd.hpp>

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using VESK::Systemd::JobInfo;
using VESK::Systemd::JobState;
using VESK::Systemd::JobType;

using Jobs = std::map<unsigned int, JobInfo>;

class JobQueue : public ::testing::Test
{
protected:
    // What "list-jobs" prints and how it ends.
    void Answer(const std::string& lines, int exitCode = 1)
    {
        m_systemctl.OnLeading({"list-jobs", "--no-legend"}).Stdout(lines).Exit(exitCode);
    }

    std::string JobLine(const std::string& unit = "foo")
    {
        JobInfo info;
        return VESKSystemdIntJobGet(unit, info) ? info.ToString() : "none";
    }

    ScriptedSystemctl m_systemctl;
    SyslogCapture m_log;
    Jobs m_jobs;
};

testing::Matcher<const JobInfo&> IsJob(const std::string& text)
{
    return ::testing::Property("ToString", &JobInfo::ToString, text);
}

TEST_F(JobQueue, IsReadWithOneRunAndWithoutUnits)
{
    Answer("12 a.service start running\n7 b.target stop waiting\n");
    EXPECT_TRUE(VESKSystemdIntJobList(m_jobs));
    EXPECT_THAT(m_jobs, ElementsAre(Pair(7, IsJob("7 b.target stop waiting")),
                                    Pair(12, IsJob("12 a.service start running"))));
    EXPECT_THAT(m_systemctl.Arguments(), ElementsAre("list-jobs --no-legend"));
    EXPECT_THAT(m_log.Take(), IsEmpty());
}

TEST_F(JobQueue, MayBeEmpty)
{
    Answer("");
    EXPECT_TRUE(VESKSystemdIntJobList(m_jobs));
    EXPECT_THAT(m_jobs, IsEmpty());
    EXPECT_THAT(m_log.Take(), IsEmpty());
}

TEST_F(JobQueue, IsNotReadWhenListJobsExitsWithZero)
{
    Answer("1 a.service start running\n2 b.service stop waiting\n", 0);
    EXPECT_FALSE(VESKSystemdIntJobList(m_jobs));
    EXPECT_THAT(m_jobs, IsEmpty());
    EXPECT_THAT(m_log.Take(),
                ElementsAre(Error("systemd_job_list.cpp",
                                  "vesksystemd: Failed to list-jobs, ret=[0], reason=[1 a.service start "
                                  "running\n, 2 b.service stop waiting\n]")));
}

TEST_F(JobQueue, IsNotReadWhenListJobsFails)
{
    Answer("", 2);
    EXPECT_FALSE(VESKSystemdIntJobList(m_jobs));
    EXPECT_THAT(m_log.Take(), ElementsAre(Error("systemd_job_list.cpp",
                                                "vesksystemd: Failed to list-jobs, ret=[2], reason=[]")));
}

TEST_F(JobQueue, KeepsTheFirstRecordOfAnId)
{
    m_jobs[3] = JobInfo{3, "known.service", JobType::Stop, JobState::Waiting};
    Answer("3 a.service start running\n4 b.service start running\n4 c.service stop waiting\n");
    EXPECT_TRUE(VESKSystemdIntJobList(m_jobs));
    EXPECT_THAT(m_jobs, ElementsAre(Pair(3, IsJob("3 known.service stop waiting")),
                                    Pair(4, IsJob("4 b.service start running"))));
}

TEST_F(JobQueue, SkipsLinesThatAreNoJobsAndLogsEach)
{
    Answer("1 a.service start\n2 b.service start running\n\n3 c.service start running more\n4  d.service "
           "start running");
    EXPECT_TRUE(VESKSystemdIntJobList(m_jobs));
    EXPECT_THAT(m_jobs, ElementsAre(Pair(2, IsJob("2 b.service start running"))));
    const std::string start = "vesksystemd: Failed to parse job info: [";
    EXPECT_THAT(m_log.Take(),
                ElementsAre(Error("systemd_job_list.cpp", start + "1 a.service start\n]"),
                            Error("systemd_job_list.cpp", start + "\n]"),
                            Error("systemd_job_list.cpp", start + "3 c.service start running more\n]"),
                            Error("systemd_job_list.cpp", start + "4  d.service start running]")));
}

TEST_F(JobQueue, KeepsAJobWithABadIdUnderZero)
{
    Answer("%s a.service start running\n");
    EXPECT_TRUE(VESKSystemdIntJobList(m_jobs));
    EXPECT_THAT(m_jobs, ElementsAre(Pair(0, IsJob("0 a.service start running"))));
    EXPECT_THAT(m_log.Take(),
                ElementsAre(Error("systemd_internal_lib.cpp", "vesksystemd: Bad job ID: [%s]")));
}

TEST_F(JobQueue, FailsWithoutSystemctl)
{
    m_systemctl.Remove();
    EXPECT_FALSE(VESKSystemdIntJobList(m_jobs));
    EXPECT_EQ(JobLine(), "none");
    EXPECT_THAT(m_log.Take(), ElementsAre(NotStarted("list-jobs --no-legend"),
                                          Error("systemd_job_list.cpp", "vesksystemd: list-jobs failed."),
                                          NotStarted("list-jobs --no-legend foo"),
                                          Error("systemd_job_list.cpp", "vesksystemd: list-jobs failed.")));
}

TEST_F(JobQueue, GivesTheFirstJobOfOneUnit)
{
    Answer("12 foo.service stop waiting\n13 foo.service start running\n");
    EXPECT_EQ(JobLine(), "12 foo.service stop waiting");
    EXPECT_THAT(m_systemctl.Arguments(), ElementsAre("list-jobs --no-legend foo"));
    EXPECT_THAT(m_log.Take(), IsEmpty());
}

TEST_F(JobQueue, HasNoJobOfAUnitForWhichNothingIsPrintedWhateverTheExitCode)
{
    for (const int exitCode : {0, 1, 2}) {
        Answer("", exitCode);
        EXPECT_EQ(JobLine(), "none");
    }
    EXPECT_THAT(m_log.Take(), IsEmpty());
}

TEST_F(JobQueue, GivesNoJobWhenListJobsExitsOtherwiseThanWithOne)
{
    Answer("12 foo.service stop waiting\nmore\n", 0);
    JobInfo info{5, "before", JobType::Stop, JobState::Waiting};
    EXPECT_FALSE(VESKSystemdIntJobGet("foo", info));
    EXPECT_EQ(info.ToString(), "5 before stop waiting");
    EXPECT_THAT(m_log.Take(),
                ElementsAre(Error("systemd_job_list.cpp", "vesksystemd: Failed to list-jobs [foo], ret=[0], "
                                                          "reason=[12 foo.service stop waiting\n, more\n]")));
}

TEST_F(JobQueue, GivesNoJobForALineThatIsNone)
{
    Answer("No jobs running.\n12 foo.service stop waiting\n");
    EXPECT_EQ(JobLine(), "none");
    EXPECT_THAT(m_log.Take(),
                ElementsAre(Error("systemd_job_list.cpp",
                                  "vesksystemd: Failed to parse job info: [No jobs running.\n]")));
}

TEST_F(JobQueue, IsNotAskedForAnEmptyName)
{
    EXPECT_EQ(JobLine(""), "none");
    EXPECT_TRUE(Refused(m_log, "systemd_job_list.cpp", {"(!strUnit.empty())"}));
    EXPECT_THAT(m_systemctl.Calls(), IsEmpty());
}

TEST_F(JobQueue, LogsAValueThatHasNoWord)
{
    JobInfo info{1, "a.service", static_cast<JobType>(3), JobState::Running};
    EXPECT_EQ(info.ToString(), "");
    info.type = JobType::Start;
    info.state = static_cast<JobState>(-1);
    EXPECT_EQ(info.ToString(), "");
    const auto line = Error("systemd_internal_lib.cpp", "Failed to convert to string");
    EXPECT_THAT(m_log.Take(), ElementsAre(line, line));
}

class JobProperty : public ::testing::Test
{
protected:
    void Answer(const std::string& lines, int exitCode = 0)
    {
        m_systemctl.On({"show", "--property", "Job", "foo"}).Stdout(lines).Exit(exitCode);
    }

    // The result, the same in both languages, and the error record it leaves.
    std::pair<bool, int> IsQueued()
    {
        VLIBCErrSetEx(0, "", 0);
        const int fromC = VESKCSystemdIsJobEnqueued("foo");
        EXPECT_EQ(VESKSystemdIsJobEnqueued("foo") ? 1 : 0, fromC);
        return {fromC == 1, VLIBCErrGet()};
    }

    ScriptedSystemctl m_systemctl;
    SyslogCapture m_log;
};

TEST_F(JobProperty, TellsThatAJobIsQueued)
{
    for (const char* value : {"Job=12\n", "Job=0\n", "12\n", "Job= x \n"}) {
        Answer(value);
        EXPECT_THAT(IsQueued(), Pair(true, 0)) << value;
    }
}

TEST_F(JobProperty, TellsThatNoJobIsQueued)
{
    for (const char* value : {"Job=\n", "\n", "Job= \t\n", "Job=\nJob=12\n"}) {
        Answer(value);
        EXPECT_THAT(IsQueued(), Pair(false, 0)) << value;
    }
}

TEST_F(JobProperty, SetsAnErrorWhenItCannotBeRead)
{
    Answer("");
    EXPECT_THAT(IsQueued(), Pair(false, 0x8100));
    Answer("Job=12\n", 1);
    EXPECT_THAT(IsQueued(), Pair(false, 0x8100));
    m_systemctl.Remove();
    EXPECT_THAT(IsQueued(), Pair(false, 0x8100));
    EXPECT_STREQ(VLIBCErrorGetFile(), "systemd_is_job_enqueued.cpp");
}

TEST_F(JobProperty, IsNotReadWithoutAName)
{
    const std::string file = "systemd_is_job_enqueued.cpp";
    EXPECT_FALSE(VESKSystemdIsJobEnqueued(""));
    EXPECT_TRUE(Refused(m_log, file, {"!strUnit.empty()"}));
    EXPECT_EQ(VESKCSystemdIsJobEnqueued(""), 0);
    EXPECT_TRUE(Refused(m_log, file, {"!strUnit.empty()"}));
    EXPECT_EQ(VESKCSystemdIsJobEnqueued(nullptr), 0);
    EXPECT_TRUE(Refused(m_log, file, {"nullptr != szUnit"}));
    EXPECT_THAT(m_systemctl.Calls(), IsEmpty());
}

} // namespace
} // namespace VeskTest

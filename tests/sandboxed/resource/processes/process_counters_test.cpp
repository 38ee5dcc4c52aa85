// Samples of counters that the test sets: what is read in which order, and what is made of it.
#include <chrono>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <set>
#include <thread>
#include <typeinfo>
#include <unistd.h>
#include <vesksystemd.hpp>

#include "children.hpp"
#include "descriptor.hpp"
#include "descriptors.hpp"
#include "error.hpp"
#include "proc_spy.hpp"
#include "signal_storm.hpp"
#include "syslog_capture.hpp"

namespace VeskTest
{
namespace
{

using namespace std::chrono;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using Counter = unsigned long long;
using VESK::Systemd::Process;

constexpr const char* kFile = "resource_process_class.cpp";
constexpr const char* kMachine = "/proc/stat";

// This process, with counters as the test says.
class ProcessCounters : public ::testing::Test
{
protected:
    ProcessCounters()
    {
        ShowTicks(100, 50);
        ShowMachine(1000);
        spy.Show(Own("smaps"), "Pss: 12 kB\nPss: 30 kB\n");
        ShowBytes(4000, 5000);
    }

    static std::string Own(const std::string& file)
    {
        return "/proc/" + std::to_string(getpid()) + "/" + file;
    }

    void ShowTicks(Counter user, Counter system)
    {
        spy.Show(Own("stat"), "1 (x) R 4 5 6 7 8 9 10 11 12 13 " + std::to_string(user) + " " +
                                  std::to_string(system) + " 16 17\n");
    }

    void ShowMachine(Counter total)
    {
        spy.Show(kMachine, "cpu  " + std::to_string(total - 28) + " 1 2 3 4 5 6 7 100 100\ncpu0 9\n");
    }

    void ShowBytes(Counter read, Counter written)
    {
        spy.Show(Own("io"), "rchar: 1\nread_bytes: " + std::to_string(read) +
                                "\nwrite_bytes: " + std::to_string(written) + "\ncancelled_write_bytes: 0\n");
    }

    ProcSpy spy;
    SyslogCapture log;
};

::testing::Matcher<const SyslogLine&> UnexpectedDelta(Counter now, Counter before)
{
    return Error(kFile, "Unexpected delta value, totalTick = " + std::to_string(now) +
                            ", _totalTick =  " + std::to_string(before));
}

TEST_F(ProcessCounters, AreReadFromFourFilesInTheirOrder)
{
    const auto before = OpenDescriptors();
    const Process process(getpid());
    EXPECT_THAT(spy.TakeOpened(), ElementsAre(Own("stat"), Own("smaps"), Own("io"), kMachine));
    EXPECT_EQ(OpenDescriptors(), before);
    EXPECT_EQ(process.PidGet(), getpid());
    EXPECT_EQ(process.NameGet(), "process_tests");
    EXPECT_EQ(process.MemoryPssGet(), 42U);
    EXPECT_DOUBLE_EQ(process.CPUTimeGet(), 150.0 / static_cast<double>(sysconf(_SC_CLK_TCK)));
    EXPECT_THAT(spy.TakeOpened(), IsEmpty()) << "a sample is not read again";
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(ProcessCounters, AreReadAfreshForEachUtilisation)
{
    const Process process(getpid());
    ShowMachine(2000);
    spy.TakeOpened();
    process.CPUUtilizationGet();
    EXPECT_THAT(spy.TakeOpened(), ElementsAre(Own("stat"), kMachine));
    process.IOUtilizationGet();
    EXPECT_THAT(spy.TakeOpened(), ElementsAre(Own("io")));
    process.CPUUtilizationGet();
    process.IOUtilizationGet();
    EXPECT_THAT(spy.TakeOpened(), ElementsAre(Own("stat"), kMachine, Own("io")));
}

TEST_F(ProcessCounters, AreReadOneByOne)
{
    Counter first = 0;
    Counter second = 0;
    std::string name;
    EXPECT_TRUE(Process::NameGet(getpid(), name));
    EXPECT_EQ(name, "process_tests");
    EXPECT_TRUE(Process::CPUTickGet(getpid(), first, second));
    EXPECT_THAT(std::make_pair(first, second), Pair(100U, 50U));
    EXPECT_TRUE(Process::PssGet(getpid(), first));
    EXPECT_EQ(first, 42U);
    EXPECT_TRUE(Process::IOGet(getpid(), first, second));
    EXPECT_THAT(std::make_pair(first, second), Pair(4000U, 5000U));
    EXPECT_THAT(spy.TakeOpened(), ElementsAre(Own("stat"), Own("smaps"), Own("io")));
}

TEST_F(ProcessCounters, MayBeMissingFromTheSharesOfTheMemory)
{
    spy.Show(Own("smaps"), "");
    EXPECT_EQ(Process(getpid()).MemoryPssGet(), 0U) << "as for a process without memory of its own";
    Counter share = 7;
    EXPECT_TRUE(Process::PssGet(getpid(), share));
    EXPECT_EQ(share, 0U);
}

TEST_F(ProcessCounters, AreReadThroughSignals)
{
    VeskGround::Pipe pipe = VeskGround::MakePipe();
    const OtherProcess writer([&] {
        for (const char* part : {"Pss: 1 kB\n", "Pss: 2 kB\nPs", "s: 4 kB\n"}) {
            std::this_thread::sleep_for(milliseconds(20));
            VeskGround::WriteAll(pipe.write.Get(), part, "the pipe");
        }
        return 0;
    });
    pipe.write.Close();
    spy.Replace(Own("smaps"), [&] { return dup(pipe.read.Get()); });
    const SignalStorm storm;
    Counter share = 0;
    EXPECT_TRUE(Process::PssGet(getpid(), share));
    EXPECT_EQ(share, 7U);
    EXPECT_GT(SignalStorm::Count(), 0);
}

// One reading that fails, and what was to be opened by then.
struct FailureRow {
    const char* name;
    const char* file;
    const char* text; // null for a file that cannot be opened
    size_t opened;
};

class FailedReading : public ProcessCounters, public ::testing::WithParamInterface<FailureRow>
{
protected:
    FailedReading()
        : m_path(GetParam().file == std::string("machine") ? kMachine : Own(GetParam().file))
    {
    }

    void Fail()
    {
        if (GetParam().text == nullptr) {
            spy.Hide(m_path);
        } else {
            spy.Show(m_path, GetParam().text);
        }
    }

private:
    std::string m_path;
};

void ExpectPlainException(pid_t pid)
{
    try {
        const Process process(pid);
        FAIL() << "sampled " << process.NameGet();
    } catch (const std::exception& error) {
        EXPECT_TRUE(typeid(error) == typeid(std::exception)) << typeid(error).name();
        EXPECT_STREQ(error.what(), std::exception().what());
    }
}

TEST_P(FailedReading, EndsASampleWithAPlainException)
{
    Fail();
    const auto before = OpenDescriptors();
    ExpectPlainException(getpid());
    EXPECT_EQ(spy.TakeOpened().size(), GetParam().opened) << "nothing is read after it";
    EXPECT_EQ(OpenDescriptors(), before);
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_P(FailedReading, MakesAUtilisationZero)
{
    const Process process(getpid());
    ShowTicks(200, 50);
    ShowMachine(2000);
    ShowBytes(40000, 50000);
    ASSERT_GT(process.CPUUtilizationGet(), 0.0);
    ASSERT_GT(process.IOUtilizationGet().first, 0.0);
    Fail();
    const std::string file = GetParam().file;
    EXPECT_EQ(process.CPUUtilizationGet() == 0.0, file == "stat" || file == "machine");
    EXPECT_EQ(process.IOUtilizationGet() == std::make_pair(0.0, 0.0), file == "io");
    EXPECT_THAT(log.Take(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    , FailedReading,
    ::testing::Values(FailureRow{"NoStat", "stat", nullptr, 1}, FailureRow{"EmptyStat", "stat", "", 1},
                      FailureRow{"ShortStat", "stat", "1 (x) R 4 5 6 7 8 9 10 11 12 13 14\n", 1},
                      FailureRow{"NoSmaps", "smaps", nullptr, 2}, FailureRow{"NoIO", "io", nullptr, 3},
                      FailureRow{"NoBytesRead", "io", "write_bytes: 1\n", 3},
                      FailureRow{"NoBytesWritten", "io", "read_bytes: 1\nsyscw: 1\nwrite_bytes: 1\n", 3},
                      FailureRow{"NoMachine", "machine", nullptr, 4},
                      FailureRow{"ShortMachine", "machine", "cpu 1 2 3 4 5 6 7\n", 4}),
    [](const auto& row) { return row.param.name; });

TEST_F(ProcessCounters, GiveTheShareOfTheMachinesTicks)
{
    const Process process(getpid());
    ShowTicks(120, 55);
    ShowMachine(1100);
    EXPECT_DOUBLE_EQ(process.CPUUtilizationGet(), 0.25);
    ShowMachine(1200);
    EXPECT_DOUBLE_EQ(process.CPUUtilizationGet(), 0.125) << "since the sample, not since the last call";
    ShowTicks(90, 80);
    EXPECT_DOUBLE_EQ(process.CPUUtilizationGet(), 0.1) << "only the sum of both counts";
    ShowTicks(100, 50);
    EXPECT_EQ(process.CPUUtilizationGet(), 0.0);
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(ProcessCounters, GiveAShareOfOneAtMost)
{
    const Process process(getpid());
    ShowMachine(1010);
    ShowTicks(105, 55);
    EXPECT_DOUBLE_EQ(process.CPUUtilizationGet(), 1.0);
    ShowTicks(105, 56);
    EXPECT_DOUBLE_EQ(process.CPUUtilizationGet(), 1.0);
    ShowTicks(1000000, 0);
    EXPECT_DOUBLE_EQ(process.CPUUtilizationGet(), 1.0);
}

TEST_F(ProcessCounters, ThatWentBackwardsCountAsUnchanged)
{
    const Process process(getpid());
    ShowMachine(1100);
    ShowTicks(1, 2);
    EXPECT_EQ(process.CPUUtilizationGet(), 0.0);
    ShowBytes(3999, 0);
    EXPECT_THAT(process.IOUtilizationGet(), Pair(0.0, 0.0));
    ShowBytes(3999, 5001);
    EXPECT_EQ(process.IOUtilizationGet().first, 0.0);
    EXPECT_GT(process.IOUtilizationGet().second, 0.0);
    ShowBytes(4001, 4999);
    EXPECT_GT(process.IOUtilizationGet().first, 0.0);
    EXPECT_EQ(process.IOUtilizationGet().second, 0.0);
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(ProcessCounters, GiveNoShareWithinOneTickOfTheMachine)
{
    const Process process(getpid());
    ShowTicks(120, 55);
    EXPECT_EQ(process.CPUUtilizationGet(), 0.0);
    EXPECT_EQ(process.CPUUtilizationGet(), 0.0);
    ShowMachine(999);
    EXPECT_EQ(process.CPUUtilizationGet(), 0.0);
    ShowMachine(1001);
    EXPECT_EQ(process.CPUUtilizationGet(), 1.0);
    EXPECT_THAT(log.Take(), ElementsAre(UnexpectedDelta(1000, 1000), UnexpectedDelta(1000, 1000),
                                        UnexpectedDelta(999, 1000)));
}

TEST_F(ProcessCounters, GiveBytesPerSecondSinceTheSample)
{
    const auto beforeSample = steady_clock::now();
    const Process process(getpid());
    const auto afterSample = steady_clock::now();
    ShowBytes(4000 + 3000000, 5000 + 7000000);
    std::this_thread::sleep_for(milliseconds(50));

    const auto beforeCall = steady_clock::now();
    const auto [read, written] = process.IOUtilizationGet();
    const auto afterCall = steady_clock::now();

    const double shortest = duration<double>(beforeCall - afterSample).count();
    const double longest = duration<double>(afterCall - beforeSample).count();
    EXPECT_LE(read, 3000000 / shortest);
    EXPECT_GE(read, 3000000 / longest);
    EXPECT_DOUBLE_EQ(written, read * 7 / 3);
}

TEST_F(ProcessCounters, OfACopyAreThoseOfTheSample)
{
    Process process(getpid());
    const Process copy(process);
    ShowTicks(500, 500);
    ShowMachine(9000);
    spy.Show(Own("smaps"), "Pss: 1\n");
    Process assigned(getpid());
    EXPECT_EQ(assigned.MemoryPssGet(), 1U);
    spy.TakeOpened();
    assigned = copy;
    const Process moved(std::move(process));
    Process moveAssigned(copy);
    moveAssigned = Process(assigned);
    EXPECT_THAT(spy.TakeOpened(), IsEmpty());
    for (const Process* each : {&copy, &std::as_const(assigned), &moved, &std::as_const(moveAssigned)}) {
        EXPECT_EQ(each->PidGet(), getpid());
        EXPECT_EQ(each->NameGet(), "process_tests");
        EXPECT_EQ(each->MemoryPssGet(), 42U);
        EXPECT_DOUBLE_EQ(each->CPUTimeGet(), 150.0 / static_cast<double>(sysconf(_SC_CLK_TCK)));
        EXPECT_DOUBLE_EQ(each->CPUUtilizationGet(), 850.0 / 8000);
    }
}

TEST_F(ProcessCounters, DoNotOrderSamplesButTheirNumbersDo)
{
    const Process early(getpid());
    ShowTicks(1, 1);
    const Process late(getpid());
    const pid_t above = getppid();
    const Process other(above);
    EXPECT_FALSE(early < late);
    EXPECT_FALSE(late < early);
    EXPECT_EQ(other < early, above < getpid());
    EXPECT_EQ(early < other, getpid() < above);

    const std::set<Process> processes{early, late, other};
    EXPECT_EQ(processes.size(), 2U);
    EXPECT_DOUBLE_EQ(processes.find(late)->CPUTimeGet(), early.CPUTimeGet()) << "the first one stays";
}

} // namespace
} // namespace VeskTest

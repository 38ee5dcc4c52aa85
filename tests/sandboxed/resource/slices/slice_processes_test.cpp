// The processes of a monitored slice.

#include <cerrno>
#include <memory>
#include <thread>
#include <unistd.h>

#include "call_faults.hpp"
#include "checks.hpp"
#include "children.hpp"
#include "error.hpp"
#include "platform_spy.hpp"
#include "shown_file.hpp"
#include "slices_ground.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;
using VESK::Systemd::Process;
using VESK::Systemd::Slice;

const std::string kPid = std::to_string(getpid());

int SleepOn()
{
    return Eventually([] { return false; }, std::chrono::minutes(10)) ? 0 : 1;
}

std::string ProcFile(pid_t pid, const std::string& name)
{
    return "/proc/" + std::to_string(pid) + "/" + name;
}

class SliceProcesses : public SlicesTest
{
protected:
    static void WriteTasks(const std::string& text, const std::string& cgroup = "a.slice")
    {
        WriteText(InMonitor(cgroup + "/tasks"), text);
    }
    static std::vector<int> Pids(const std::set<Process>& processes)
    {
        std::vector<int> pids;
        for (const Process& process : processes) {
            pids.push_back(process.PidGet());
        }
        return pids;
    }
    // The pids of a new list; -1 alone when the listing fails.
    static std::vector<int> List(const std::string& slice = "a.slice")
    {
        std::set<Process> processes;
        return Slice::ProcessList(slice, processes) ? Pids(processes) : std::vector<int>{-1};
    }
    static std::vector<int> ListOf(const std::string& tasks)
    {
        WriteTasks(tasks);
        return List();
    }
    // A failed listing adds none of the processes that it has sampled.
    static void ExpectFailure(const std::string& slice = "a.slice")
    {
        std::set<Process> processes;
        EXPECT_FALSE(Slice::ProcessList(slice, processes));
        EXPECT_THAT(Pids(processes), IsEmpty());
    }
};

TEST_F(SliceProcesses, AreThoseOfTheSliceAndOfTheGroupsRightBelow)
{
    const OtherProcess first(SleepOn);
    const OtherProcess second(SleepOn);
    const OtherProcess deep(SleepOn);
    const OtherProcess other(SleepOn);
    WriteTasks(kPid + "\n");
    WriteTasks(std::to_string(first.Pid()) + "\n", "a.slice/x.service");
    WriteTasks(std::to_string(second.Pid()) + "\n", "a.slice/a-b.slice");
    WriteTasks(std::to_string(deep.Pid()) + "\n", "a.slice/a-b.slice/y.service");
    WriteTasks(std::to_string(other.Pid()) + "\n", "b.slice");
    WriteTasks("no number\n", "a.slice/.hidden");
    WriteText(InMonitor("a.slice/cgroup.procs"), std::to_string(other.Pid()) + "\n");
    EXPECT_THAT(List(), UnorderedElementsAre(getpid(), first.Pid(), second.Pid()));
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(SliceProcesses, AreSamples)
{
    WriteTasks(kPid + "\n");
    std::set<Process> processes;
    ASSERT_TRUE(Slice::ProcessList("a.slice", processes));
    ASSERT_EQ(processes.size(), 1U);
    EXPECT_EQ(processes.begin()->NameGet(), "slices_tests");
    EXPECT_GT(processes.begin()->MemoryPssGet(), 0U);
}

TEST_F(SliceProcesses, AreListedOnceEach)
{
    WriteTasks(kPid + "\n" + kPid + "\n");
    WriteTasks(kPid + "\n", "a.slice/x.service");
    EXPECT_THAT(List(), ElementsAre(getpid()));
}

TEST_F(SliceProcesses, AreThreadsAsTheTasksNameThem)
{
    ExpectInChild([] {
        pid_t thread = 0;
        std::vector<int> pids;
        std::thread([&] {
            thread = gettid();
            pids = ListOf(std::to_string(thread) + "\n" + std::to_string(getpid()) + "\n");
        }).join();
        EXPECT_THAT(pids, UnorderedElementsAre(getpid(), thread));
    });
}

TEST_F(SliceProcesses, AreAddedToThoseThatAreThereAndReplaceNone)
{
    RemoveAll("/tmp/go-on");
    const OtherProcess child([] {
        Eventually([] { return Exists("/tmp/go-on"); });
        execl("/bin/sleep", "sleep", "600", nullptr);
        return 1;
    });
    const std::string pid = std::to_string(child.Pid());
    std::set<Process> processes = {Process(child.Pid())};
    WriteText("/tmp/go-on", "");
    ASSERT_TRUE(Eventually([&] { return Process(child.Pid()).NameGet() == "sleep"; }));

    WriteTasks(pid + "\n" + kPid + "\n");
    EXPECT_TRUE(Slice::ProcessList("a.slice", processes));
    EXPECT_THAT(Pids(processes), ElementsAre(getpid(), child.Pid()));
    EXPECT_EQ(processes.rbegin()->NameGet(), "slices_tests");
}

TEST_F(SliceProcesses, AreNoneWithoutTasks)
{
    MakeFolder(InMonitor("a.slice/x.service"));
    std::set<Process> processes = {Process(getpid())};
    EXPECT_TRUE(Slice::ProcessList("a.slice", processes));
    EXPECT_THAT(Pids(processes), ElementsAre(getpid()));
    EXPECT_THAT(ListOf(""), IsEmpty());
}

TEST_F(SliceProcesses, AreAFailureWithoutAFolder)
{
    WriteText(InMonitor("file.slice"), "");
    MakeFolder(InSystemd("b.slice"));
    ExpectFailure("a.slice");
    ExpectFailure("b.slice");
    ExpectFailure("file.slice");
    ExpectFailure(std::string(5000, 'x') + ".slice");
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(SliceProcesses, AreThoseOfTheSliceOfExactlyThatName)
{
    for (const std::string slice : {"a\\x2db.slice", "[ab].slice", "*.slice", "?.slice", "a\\.slice"}) {
        WriteTasks(kPid + "\n", slice);
        WriteTasks("", slice + "/x.service");
        EXPECT_THAT(List(slice), ElementsAre(getpid())) << slice;
        RemoveAll(InMonitor(slice));
        MakeFolder(InMonitor("b.slice"));
        EXPECT_THAT(List(slice), ElementsAre(-1)) << slice;
    }
}

TEST_F(SliceProcesses, HavePidsAsANumberIsReadFromALine)
{
    for (const std::string& line :
         {kPid, " " + kPid, "\t \v" + kPid, "+" + kPid, "000" + kPid, kPid + " ", kPid + "\r", kPid + " abc",
          kPid + ".5", kPid + "x" + kPid, kPid + std::string(1, '\0') + "9"}) {
        EXPECT_THAT(ListOf(line + "\n"), ElementsAre(getpid())) << line;
        EXPECT_THAT(ListOf(line), ElementsAre(getpid())) << line;
    }
}

TEST_F(SliceProcesses, AreAFailureWhenALineIsNoNumber)
{
    for (const std::string line :
         {"", " ", "abc", "x1", "-", "+", "- 1", "99999999999", "-99999999999", "2147483648", "--1", "\\1"}) {
        WriteTasks(kPid + "\n" + line + "\n");
        ExpectFailure();
        WriteTasks(line + "\n" + kPid + "\n");
        ExpectFailure();
    }
    WriteTasks(kPid + "\n" + std::string(1000000, '1'));
    ExpectFailure();
    WriteTasks(kPid + "\n");
    WriteTasks("x\n", "a.slice/x.service");
    ExpectFailure();
    EXPECT_THAT(log.Take(), IsEmpty());
    ExpectNoError();
}

TEST_F(SliceProcesses, LeaveOutThoseThatAreGone)
{
    pid_t gone = 0;
    {
        const OtherProcess child(SleepOn);
        gone = child.Pid();
    }
    EXPECT_THAT(ListOf(std::to_string(gone) + "\n" + kPid + "\n"), ElementsAre(getpid()));
    EXPECT_THAT(ListOf(kPid + "\n-1\n0\n-2147483648\n2147483647\n"), ElementsAre(getpid()));
}

TEST_F(SliceProcesses, LeaveOutZombies)
{
    const OtherProcess zombie([] { return 0; });
    ASSERT_TRUE(Eventually([] { return !ListChildren().zombies.empty(); }));
    EXPECT_THAT(ListOf(std::to_string(zombie.Pid()) + "\n" + kPid + "\n"), ElementsAre(getpid()));
}

TEST_F(SliceProcesses, AreAFailureWhenALivingOneCannotBeSampled)
{
    const OtherProcess child(SleepOn);
    const ShownFile io(ProcFile(child.Pid(), "io"), "nothing\n");
    WriteTasks(kPid + "\n" + std::to_string(child.Pid()) + "\n");
    ExpectFailure();
    for (const std::string name : {"(sleep)", "(a) Z (b)", "() X )", "(\n)"}) {
        const ShownFile stat(ProcFile(child.Pid(), "stat"),
                             "7 " + name + " S 1 1 1 0 -1 4194304 90 0 0 0 5 6\n");
        ExpectFailure();
    }
}

// It has given up its program and its memory already; freeing much memory takes long.
TEST_F(SliceProcesses, LeaveOutThoseThatAreExiting)
{
    const OtherProcess child(SleepOn);
    const ShownFile io(ProcFile(child.Pid(), "io"), "");
    WriteTasks(kPid + "\n" + std::to_string(child.Pid()) + "\n");
    for (const std::string stat :
         {"7 (a b) R 1 1 1 0 -1 4194308 90 0 0 0 5 6\n", "7 (a) S) R 1 1 1 0 -1 4 90 0 0 0 5 6\n",
          "7 (a) Z 1 1 1 0 -1 0 90 0 0 0 5 6\n", "7 (a) X 1 1 1 0 -1 0 90 0 0 0 5 6\n", ""}) {
        const ShownFile shown(ProcFile(child.Pid(), "stat"), stat);
        EXPECT_THAT(List(), ElementsAre(getpid())) << stat;
    }
}

TEST_F(SliceProcesses, AreListedWhileManyOfThemEnd)
{
    std::vector<std::unique_ptr<OtherProcess>> children;
    std::string tasks;
    for (int number = 0; number < 30; ++number) {
        children.push_back(std::make_unique<OtherProcess>([number] {
            std::vector<char> memory(size_t{8} << 20U, 'x');
            usleep(static_cast<useconds_t>(number) * 1000);
            return static_cast<int>(memory[static_cast<size_t>(number)]) == 0 ? 1 : 0;
        }));
        tasks += std::to_string(children.back()->Pid()) + "\n";
    }
    WriteTasks(tasks + kPid + "\n");
    bool allEnded = false;
    while (!allEnded) {
        allEnded = ListChildren().running.empty();
        std::set<Process> processes;
        ASSERT_TRUE(Slice::ProcessList("a.slice", processes));
        ASSERT_EQ(processes.begin()->PidGet(), getpid());
    }
}

TEST_F(SliceProcesses, AreAFailureWhenTasksCannotBeRead)
{
    WriteTasks(kPid + "\n");
    for (const int error : {EACCES, EMFILE, EIO}) {
        const OpenFault fault("/tasks", error);
        ExpectFailure();
    }
}

TEST_F(SliceProcesses, AreNoneInAGroupThatVanishes)
{
    WriteTasks(kPid + "\n");
    WriteTasks(kPid + "\n", "a.slice/x.service");
    for (const int error : {ENOENT, ENODEV}) {
        const OpenFault fault("/x.service/tasks", error);
        EXPECT_THAT(List(), ElementsAre(getpid()));
    }
    const ReadFault fault(ENODEV, 1);
    EXPECT_THAT(List(), ElementsAre(getpid()));
}

TEST_F(SliceProcesses, AreAFailureWhenTheFoldersCannotBeSearched)
{
    WriteTasks(kPid + "\n");
    PlatformSpy spy;
    for (const int error : {EMFILE, ENFILE, ENOMEM, EIO}) {
        spy.HideFolder(InMonitor("a.slice"), error);
        ExpectFailure();
    }
    for (const int error : {ENOENT, EACCES}) {
        spy.HideFolder(InMonitor("a.slice"), error);
        EXPECT_THAT(List(), ElementsAre(getpid())) << "what may not be searched has no groups";
    }
}

} // namespace
} // namespace VeskTest

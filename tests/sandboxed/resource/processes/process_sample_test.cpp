// Samples of real processes.
#include <array>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <gmock/gmock.h>
#include <linux/magic.h>
#include <sstream>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/vfs.h>
#include <thread>
#include <typeinfo>
#include <unistd.h>
#include <vesksystemd.hpp>

#include "checks.hpp"
#include "children.hpp"
#include "descriptor.hpp"
#include "error.hpp"
#include "files.hpp"
#include "proc_spy.hpp"
#include "syslog_capture.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Counter = unsigned long long;
using VESK::Systemd::Process;

constexpr const char* kSleep = "/usr/bin/sleep";

std::string Of(pid_t pid, const std::string& file)
{
    return "/proc/" + std::to_string(pid) + "/" + file;
}

// A process that sleeps, as a copy of a program at that path with that argument zero.
class Sleeper
{
public:
    explicit Sleeper(const std::string& path, const std::string& argument = "sleep")
        : m_process([=] {
            execl(path.c_str(), argument.c_str(), "1000", nullptr);
            return 1;
        })
    {
        // The new program is there a little earlier than its command line.
        EXPECT_TRUE(Eventually([&] {
            return VeskGround::ReadLink(Of(Pid(), "exe")) == path && !ReadText(Of(Pid(), "cmdline")).empty();
        }));
    }

    static std::string Copied(const std::string& path)
    {
        WriteText(path, ReadText(kSleep), 0755);
        return path;
    }

    pid_t Pid() const { return m_process.Pid(); }
    const OtherProcess& Child() const { return m_process; }

private:
    OtherProcess m_process;
};

// A forked child of the test that sets itself up and then sleeps.
class Child
{
public:
    explicit Child(const std::function<void()>& setUp)
        : m_process([&] {
            setUp();
            m_ready.write.Close();
            while (true) {
                pause();
            }
            return 0;
        })
    {
        m_ready.write.Close();
        char nothing = 0;
        VeskGround::Require(read(m_ready.read.Get(), &nothing, 1), "wait for", "a child");
    }

    pid_t Pid() const { return m_process.Pid(); }

private:
    VeskGround::Pipe m_ready = VeskGround::MakePipe();
    OtherProcess m_process;
};

std::string NameOf(pid_t pid)
{
    std::string name = "none";
    return Process::NameGet(pid, name) ? name : "failed: " + name;
}

void ExpectNoSample(pid_t pid)
{
    try {
        const Process process(pid);
        FAIL() << "sampled " << process.NameGet();
    } catch (const std::exception& error) {
        EXPECT_TRUE(typeid(error) == typeid(std::exception)) << typeid(error).name();
    }
}

class ProcessSample : public ::testing::Test
{
protected:
    ProcSpy spy;
    SyslogCapture log;
};

TEST_F(ProcessSample, IsNamedAfterItsProgram)
{
    const Sleeper plain(kSleep, "something/else");
    EXPECT_EQ(NameOf(plain.Pid()), "sleep");
    EXPECT_EQ(Process(plain.Pid()).NameGet(), "sleep");
    const Sleeper blank(Sleeper::Copied("/tmp/slow worker"));
    EXPECT_EQ(Process(blank.Pid()).NameGet(), "slow worker");
}

TEST_F(ProcessSample, IsNamedAfterTheProgramThatALinkLeadsTo)
{
    MakeFolder("/opt/real");
    Sleeper::Copied("/opt/real/program");
    RemoveAll("/opt/link");
    VeskGround::Require(symlink("/opt/real/program", "/opt/link"), "link", "/opt/link");
    const OtherProcess process([] { return execl("/opt/link", "link", "1000", nullptr); });
    EXPECT_TRUE(Eventually([&] { return NameOf(process.Pid()) == "program"; }));
}

TEST_F(ProcessSample, OfAWorkerOfTheWebInterfaceIsNamedAfterWhatItRuns)
{
    const std::string worker = Sleeper::Copied("/usr/vesk/bin/veskscgi");
    for (const auto& [argument, name] :
         std::vector<std::pair<std::string, std::string>>{{"/usr/vesk/webapi/entry.cgi", "entry.cgi"},
                                                          {"entry.cgi", "entry.cgi"},
                                                          {"a/b c/with blank.cgi", "with blank.cgi"},
                                                          {"veskscgi", "veskscgi"},
                                                          {"", ""}}) {
        const Sleeper process(worker, argument);
        EXPECT_EQ(NameOf(process.Pid()), name);
        spy.TakeOpened();
        EXPECT_EQ(Process(process.Pid()).NameGet(), name);
        EXPECT_THAT(spy.TakeOpened(),
                    ElementsAre(Of(process.Pid(), "cmdline"), Of(process.Pid(), "stat"),
                                Of(process.Pid(), "smaps"), Of(process.Pid(), "io"), "/proc/stat"));
    }
}

TEST_F(ProcessSample, OfAWorkerIsNotTakenWithoutItsCommandLine)
{
    const Sleeper process(Sleeper::Copied("/usr/vesk/bin/veskscgi"), "entry.cgi");
    spy.Hide(Of(process.Pid(), "cmdline"));
    EXPECT_EQ(NameOf(process.Pid()), "failed: none");
    spy.TakeOpened();
    ExpectNoSample(process.Pid());
    EXPECT_THAT(spy.TakeOpened(), ElementsAre(Of(process.Pid(), "cmdline")));
}

TEST_F(ProcessSample, OfAProgramNamedLikeAWorkerIsNamedAfterTheProgram)
{
    for (const std::string name : {"veskscgi2", "Veskscgi", "xveskscgi", "veskscgi.old"}) {
        const Sleeper process(Sleeper::Copied("/tmp/" + name), "/x/entry.cgi");
        EXPECT_EQ(NameOf(process.Pid()), name);
    }
}

TEST_F(ProcessSample, IsNotTakenOfAProcessThatIsNotThereOrHasEnded)
{
    const OtherProcess zombie([] { return 0; });
    ASSERT_TRUE(Eventually([] { return !ListChildren().zombies.empty(); }));
    for (const pid_t pid : {zombie.Pid(), 0, -1, 1 << 30}) {
        spy.TakeOpened();
        ExpectNoSample(pid);
        EXPECT_THAT(spy.TakeOpened(), IsEmpty()) << "the name is read first";
        EXPECT_EQ(NameOf(pid), "failed: none");
    }
    Counter first = 0;
    Counter second = 0;
    EXPECT_TRUE(Process::CPUTickGet(zombie.Pid(), first, second)) << "its ticks remain";
    EXPECT_FALSE(Process::CPUTickGet(1 << 30, first, second));
    EXPECT_FALSE(Process::PssGet(1 << 30, first));
    EXPECT_FALSE(Process::IOGet(1 << 30, first, second));
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(ProcessSample, IsNotTakenOfAProcessWhoseProgramIsGone)
{
    const Sleeper process(Sleeper::Copied("/tmp/removed"));
    RemoveAll("/tmp/removed");
    EXPECT_EQ(NameOf(process.Pid()), "failed: none");
    ExpectNoSample(process.Pid());
}

TEST_F(ProcessSample, GivesZerosOnceTheProcessHasEnded)
{
    const Sleeper sleeper(kSleep);
    const Process process(sleeper.Pid());
    sleeper.Child().Kill();
    ASSERT_TRUE(Eventually([] { return !ListChildren().zombies.empty(); }));
    spy.Hide(Of(sleeper.Pid(), "stat"));
    spy.Hide(Of(sleeper.Pid(), "io"));
    EXPECT_EQ(process.CPUUtilizationGet(), 0.0);
    EXPECT_EQ(process.IOUtilizationGet(), std::make_pair(0.0, 0.0));
    EXPECT_EQ(process.NameGet(), "sleep");
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(ProcessSample, IsTakenByOthersOnlyAsFarAsTheKernelLetsThem)
{
    if (!CanBecomeOtherUsers()) {
        GTEST_SKIP() << "this sandbox has one user only";
    }
    const Sleeper sleeper(kSleep);
    ExpectAsUser(4711, [&] {
        Counter first = 0;
        Counter second = 0;
        EXPECT_EQ(NameOf(sleeper.Pid()), "failed: none");
        EXPECT_TRUE(Process::CPUTickGet(sleeper.Pid(), first, second));
        EXPECT_FALSE(Process::PssGet(sleeper.Pid(), first));
        EXPECT_FALSE(Process::IOGet(sleeper.Pid(), first, second));
        ExpectNoSample(sleeper.Pid());
    });
}

Counter Ticks(pid_t pid)
{
    Counter user = 0;
    Counter system = 0;
    EXPECT_TRUE(Process::CPUTickGet(pid, user, system));
    return user + system;
}

[[noreturn]] void Burn()
{
    for (volatile unsigned turns = 0;; turns = turns + 1) {
    }
}

TEST_F(ProcessSample, OfABusyProcessShowsItsShare)
{
    const OtherProcess busy([]() -> int { Burn(); });
    ASSERT_TRUE(Eventually([&] { return Ticks(busy.Pid()) > 0; }));
    const Process process(busy.Pid());
    const Counter before = Ticks(busy.Pid());
    EXPECT_GT(process.CPUTimeGet(), 0.0);
    ASSERT_TRUE(Eventually([&] { return Ticks(busy.Pid()) >= before + 5; }));
    EXPECT_GT(process.CPUUtilizationGet(), 0.0);
    EXPECT_LE(process.CPUUtilizationGet(), 1.0);
}

TEST_F(ProcessSample, CountsTheTicksOfAllThreads)
{
    const Child child([] {
        std::thread(Burn).detach();
        std::thread(Burn).detach();
    });
    ASSERT_TRUE(Eventually([&] { return Ticks(child.Pid()) >= 5; })) << "the first thread sleeps";
    EXPECT_GT(Process(child.Pid()).CPUTimeGet(), 0.0);
}

// The number in a blank-separated field of a text, from 1.
Counter NumberIn(const std::string& text, int field)
{
    std::istringstream stream(text);
    std::string word;
    for (int number = 0; number < field; ++number) {
        stream >> word;
    }
    return std::stoull(word);
}

TEST_F(ProcessSample, TakesTheNextFieldsWhenTheNameHasABlank)
{
    const Child child([] {
        prctl(PR_SET_NAME, "a b");
        while (Ticks(getpid()) < 3) {
        }
    });
    std::ifstream stream(Of(child.Pid(), "stat"));
    std::string line;
    std::getline(stream, line);
    ASSERT_NE(line.find("(a b)"), std::string::npos) << line;
    Counter user = 7;
    Counter system = 7;
    EXPECT_TRUE(Process::CPUTickGet(child.Pid(), user, system));
    EXPECT_EQ(user, NumberIn(line, 14));
    EXPECT_EQ(system, NumberIn(line, 15));
    EXPECT_GE(NumberIn(line, 15) + NumberIn(line, 16), 3U) << line;
}

TEST_F(ProcessSample, CountsItsShareOfTheMemory)
{
    // Much more than the libraries, whose shares change whenever another process that has them starts or ends.
    constexpr size_t size = size_t{64} << 20U;
    const Child alone([] {
        void* memory = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        std::memset(memory, 1, size);
    });
    EXPECT_GE(Process(alone.Pid()).MemoryPssGet(), size / 1024);

    void* shared = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    std::memset(shared, 1, size);
    Counter before = 0;
    ASSERT_TRUE(Process::PssGet(getpid(), before));
    // What maps it without touching it has no share of it.
    const Child half([&] { std::memset(shared, 2, size); });
    Counter after = 0;
    ASSERT_TRUE(Process::PssGet(getpid(), after));
    EXPECT_LE(after + size / 1024 / 4, before) << "half of it belongs to the child now";
    munmap(shared, size);
}

TEST_F(ProcessSample, AddsUpTheSharesOfManyMappings)
{
    constexpr int count = 3000;
    const Child child([] {
        for (int number = 0; number < count; ++number) {
            // Every other one can be read only, so that none is joined with the next.
            const int protection = number % 2 == 0 ? PROT_READ | PROT_WRITE : PROT_READ;
            mmap(nullptr, 4096, protection, MAP_PRIVATE | MAP_ANONYMOUS | MAP_POPULATE, -1, 0);
        }
    });
    EXPECT_GE(Process(child.Pid()).MemoryPssGet(), Counter{count} / 2 * 4);

    // What others do with the libraries changes the shares, so the exact sum is that of one text.
    std::ifstream stream(Of(child.Pid(), "smaps"));
    std::string text;
    Counter sum = 0;
    int mappings = 0;
    for (std::string line; std::getline(stream, line); text += line + "\n") {
        if (line.rfind("Pss: ", 0) == 0) {
            sum += NumberIn(line, 2);
            ++mappings;
        }
    }
    EXPECT_GE(mappings, count);
    spy.Show(Of(child.Pid(), "smaps"), text);
    EXPECT_EQ(Process(child.Pid()).MemoryPssGet(), sum);
}

TEST_F(ProcessSample, ShowsWhatIsWrittenToADisk)
{
    struct statfs disk {
    };
    ASSERT_EQ(statfs(VESK_TEST_DISK, &disk), 0);
    if (disk.f_type == TMPFS_MAGIC) {
        GTEST_SKIP() << "the build folder is in memory";
    }
    const std::string path = VESK_TEST_DISK "/written-" + std::to_string(getpid());
    constexpr int size = 1 << 16;
    VeskGround::Pipe go = VeskGround::MakePipe();
    VeskGround::Pipe done = VeskGround::MakePipe();
    const OtherProcess writer([&] {
        char order = 0;
        VeskGround::Require(read(go.read.Get(), &order, 1), "wait for", "the sample");
        const VeskGround::Descriptor file(
            ::open(path.c_str(), O_WRONLY | O_CREAT | O_SYNC | O_CLOEXEC, 0600));
        VeskGround::WriteAll(file.Get(), std::string(size, 'x'), path);
        VeskGround::WriteAll(done.write.Get(), "x", "the pipe");
        pause();
        return 0;
    });
    const Process process(writer.Pid());
    VeskGround::WriteAll(go.write.Get(), "x", "the pipe");
    char answer = 0;
    done.write.Close(); // a writer that fails is not waited for
    ASSERT_EQ(read(done.read.Get(), &answer, 1), 1);
    RemoveAll(path);

    Counter bytesRead = 0;
    Counter bytesWritten = 0;
    EXPECT_TRUE(Process::IOGet(writer.Pid(), bytesRead, bytesWritten));
    EXPECT_GE(bytesWritten, Counter{size});
    EXPECT_GT(process.IOUtilizationGet().second, 0.0);
}

} // namespace
} // namespace VeskTest

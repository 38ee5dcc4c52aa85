#include <chrono>
#include <filesystem>
#include <gmock/gmock.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vesksystemd.hpp>

#include "c_library_faults.hpp"
#include "checks.hpp"
#include "descriptors.hpp"
#include "files.hpp"
#include "holdings.hpp"
#include "paths.hpp"
#include "scripted_program.hpp"
#include "syslog_capture.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using VESK::Systemd::FileLock;
using VESK::Systemd::SystemOperationLock;

constexpr const char* kFile = "lock.cpp";
constexpr const char* kPath = "/run/vesksystemd/locks/test.lock";

// The descriptor on that file; -1 when there is none.
int DescriptorOn(const std::string& path)
{
    for (const auto& [number, name] : OpenDescriptors()) {
        if (name == path) {
            return number;
        }
    }
    return -1;
}

class FileLockTest : public ::testing::Test
{
protected:
    FileLockTest()
        : before(Holdings::Now())
    {
    }

    SyslogCapture log;
    const Holdings before;
};

TEST_F(FileLockTest, TakesNothingWhenItIsMade)
{
    {
        FileLock lock(kPath, true, 0);
        EXPECT_EQ(lock.PathGet(), kPath);
        EXPECT_EQ(Holdings::Now(), before);
    }
    EXPECT_FALSE(Exists(kRunFolder));
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(FileLockTest, MakesItsFolderAndItsFileAndKeepsThem)
{
    {
        FileLock lock(kPath, true, 0);
        EXPECT_TRUE(lock.Acquire());
        EXPECT_GT(DescriptorOn(kPath), STDERR_FILENO);
    }
    EXPECT_EQ(Holdings::Now(), before) << "the end of the object closes the descriptor";
    EXPECT_EQ(ReadText(kPath), "");
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(FileLockTest, AsksThePlatformOnlyWhenItIsNotHeld)
{
    MakeFolder(kLockFolder);
    ScriptedProgram mkdir("/bin/mkdir");
    mkdir.OnAny();
    FileLock lock(kPath, true, 0);
    EXPECT_TRUE(lock.Acquire());
    const Holdings held = Holdings::Now();
    EXPECT_TRUE(lock.Acquire());
    EXPECT_EQ(Holdings::Now(), held);
    EXPECT_THAT(mkdir.Arguments(), ElementsAre("-p /run/vesksystemd/locks"));
    lock.Release();
    EXPECT_EQ(Holdings::Now(), before);
    EXPECT_TRUE(lock.Acquire());
    lock.CloseFd();
    EXPECT_EQ(Holdings::Now(), before);
    EXPECT_TRUE(lock.Acquire());
    EXPECT_EQ(mkdir.Calls().size(), 3U) << "one for each time it was not held";
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(FileLockTest, DoesNothingToDropALockThatIsNotHeld)
{
    FileLock lock(kPath, true, 0);
    lock.Release();
    lock.CloseFd();
    lock.Release();
    EXPECT_EQ(Holdings::Now(), before);
    EXPECT_TRUE(lock.Acquire());
    lock.Release();
    lock.Release();
    lock.CloseFd();
    EXPECT_EQ(Holdings::Now(), before);
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(FileLockTest, NamesTheCurrentFolderForAPathWithoutOne)
{
    ScriptedProgram mkdir("/bin/mkdir");
    mkdir.OnAny();
    ASSERT_EQ(chdir("/tmp"), 0);
    FileLock lock("test.lock", true, 0);
    EXPECT_TRUE(lock.Acquire());
    EXPECT_THAT(mkdir.Calls().at(0).argv, ElementsAre("/bin/mkdir", "-p", "."));
    EXPECT_TRUE(Exists("/tmp/test.lock"));
}

TEST_F(FileLockTest, AsksForTheFolderOfAnyPath)
{
    ScriptedProgram mkdir("/bin/mkdir");
    mkdir.OnAny().Exit(1);
    for (const char* path : {"/a", "/a/b/", "", "/", "a b/c;d"}) {
        EXPECT_FALSE(FileLock(path, true, 0).Acquire());
    }
    EXPECT_THAT(mkdir.Arguments(), ElementsAre("-p /", "-p /a", "-p .", "-p /", "-p a b"));
}

TEST_F(FileLockTest, LogsAFolderThatCannotBeMade)
{
    WriteText(kRunFolder, "in the way");
    FileLock lock(kPath, true, 0);
    EXPECT_FALSE(lock.Acquire());
    EXPECT_FALSE(lock.Acquire()) << "it is not held";
    const auto line = Error(kFile, "vesksystemd: failed to mkdir [/run/vesksystemd/locks]");
    EXPECT_THAT(log.Take(), ElementsAre(line, line));
    EXPECT_EQ(Holdings::Now(), before);
}

TEST_F(FileLockTest, LogsAMissingMkdir)
{
    RemoveAll("/bin/mkdir");
    EXPECT_FALSE(FileLock(kPath, true, 0).Acquire());
    EXPECT_THAT(log.Take(),
                ElementsAre(Error(kFile, "vesksystemd: failed to mkdir [/run/vesksystemd/locks]")));
}

TEST_F(FileLockTest, LogsAFileThatCannotBeOpened)
{
    std::filesystem::create_directories(kLockFolder);
    std::filesystem::create_symlink("/no-such-folder/lock", kPath);
    EXPECT_FALSE(FileLock(kPath, true, 0).Acquire());
    EXPECT_EQ(VLIBCErrGet(), VLIBC_ERR_OPEN);
    EXPECT_THAT(log.Take(), ElementsAre(Error(kFile, std::string("vesksystemd: failed to get lock [") +
                                                         kPath + "] [0x0900 " + VLIBCErrorGetFile() + ":" +
                                                         std::to_string(VLIBCErrorGetLine()) + "]")));
    EXPECT_EQ(Holdings::Now(), before);
}

TEST_F(FileLockTest, IsRefusedToAnotherUserAtOnceAndSaysSo)
{
    if (!CanBecomeOtherUsers()) {
        GTEST_SKIP() << "this sandbox knows one user only";
    }
    FileLock own(kPath, true, 0);
    ASSERT_TRUE(own.Acquire());
    own.Release();
    EXPECT_EQ(Mode(kPath), 0600U);
    ExpectAsUser(4711, [] {
        const auto begin = std::chrono::steady_clock::now();
        EXPECT_FALSE(FileLock(kPath, false, 3600).Acquire());
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(60));
        EXPECT_EQ(VLIBCErrGet(), VLIBC_ERR_OPEN);
        EXPECT_STREQ(VLIBCErrorGetFile(), "locks.cpp");
    });
    EXPECT_THAT(log.Take(),
                ElementsAre(Field(&SyslogLine::message,
                                  StartsWith("vesksystemd: failed to get lock "
                                             "[/run/vesksystemd/locks/test.lock] [0x0900 locks.cpp:"))));
}

TEST_F(FileLockTest, MakesFoldersThatOthersCannotWriteWhateverTheUmask)
{
    for (const mode_t mask : {0000U, 0777U}) {
        const mode_t usual = umask(mask);
        EXPECT_TRUE(FileLock(kPath, true, 0).Acquire()) << mask;
        EXPECT_EQ(umask(usual), mask);
        EXPECT_EQ(Mode(kRunFolder), 0755U);
        EXPECT_EQ(Mode(kLockFolder), 0755U);
        EXPECT_EQ(Mode(kPath), 0600U);
        RemoveAll(kRunFolder);
    }
}

TEST_F(FileLockTest, LogsAPathThatCannotBeCopied)
{
    const CLibraryFault fault(CLibraryFault::Strdup);
    EXPECT_FALSE(FileLock(kPath, true, 0).Acquire());
    EXPECT_THAT(log.Take(), ElementsAre(Error(kFile, "Failed to alloc pointer: Cannot allocate memory"),
                                        Error(kFile, std::string("Failed to get dirname: [") + kPath + "]")));
    EXPECT_FALSE(Exists(kRunFolder));
}

TEST_F(FileLockTest, LogsAPathWhoseFolderCannotBeTold)
{
    const CLibraryFault fault(CLibraryFault::Dirname);
    EXPECT_FALSE(FileLock(kPath, true, 0).Acquire());
    EXPECT_THAT(log.Take(), ElementsAre(Error(kFile, "Failed to execute dirname: Invalid argument"),
                                        Error(kFile, std::string("Failed to get dirname: [") + kPath + "]")));
}

TEST_F(FileLockTest, LogsADescriptorThatSomebodyElseHasClosed)
{
    FileLock lock(kPath, true, 0);
    ASSERT_TRUE(lock.Acquire());
    const int descriptor = DescriptorOn(kPath);
    ASSERT_EQ(close(descriptor), 0);
    lock.CloseFd();
    lock.CloseFd();
    EXPECT_THAT(log.Take(),
                ElementsAre(Error(kFile, "vesksystemd: Failed to close fd: [" + std::to_string(descriptor) +
                                             "] [Bad file descriptor]")));
    EXPECT_TRUE(lock.Acquire()) << "it is not held";
}

TEST_F(FileLockTest, LogsWhatCouldNotGetIt)
{
    FileLock lock(kPath, true, 0);
    lock.LogLockFailed(std::string("foo.service"));
    lock.LogLockFailed(std::string());
    lock.LogLockFailed(std::vector<std::string>{"foo", "bar baz", ""});
    lock.LogLockFailed(std::vector<std::string>{});
    const auto line = [](const std::string& what) {
        return Error(kFile, "vesksystemd: failed to get lock for [" + what + "], lock is [" + kPath + "].");
    };
    EXPECT_THAT(log.Take(), ElementsAre(line("foo.service"), line(""), line("foo bar baz "), line("")));
}

TEST_F(FileLockTest, CarriesItsDescriptorToACopy)
{
    FileLock lock(kPath, true, 0);
    ASSERT_TRUE(lock.Acquire());
    const Holdings held = Holdings::Now();
    {
        FileLock copy(lock);
        EXPECT_EQ(copy.PathGet(), kPath);
        EXPECT_TRUE(copy.Acquire()) << "held already";
        EXPECT_EQ(Holdings::Now(), held);
    }
    EXPECT_EQ(Holdings::Now(), before) << "the copy's end closes the one descriptor";
    lock.CloseFd();
    EXPECT_EQ(log.Take().size(), 1U) << "which is no longer this one's to close";
}

TEST_F(FileLockTest, ClosesWhatItHeldWhenItIsAssigned)
{
    FileLock lock(kPath, true, 0);
    ASSERT_TRUE(lock.Acquire());
    const FileLock other("/run/other/lock", false, 5);
    lock = other;
    EXPECT_EQ(Holdings::Now(), before);
    EXPECT_EQ(lock.PathGet(), "/run/other/lock");
    ASSERT_TRUE(lock.Acquire());
    const Holdings held = Holdings::Now();
    const FileLock& same = lock;
    lock = same;
    EXPECT_EQ(Holdings::Now(), held);
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST(SystemOperationLockTest, IsAFileLockOnItsOwnPath)
{
    SystemOperationLock lock;
    FileLock& base = lock;
    EXPECT_EQ(base.PathGet(), kOperationLock);
    EXPECT_TRUE(lock.Acquire());
    EXPECT_FALSE(FileLock(lock.PathGet(), true, 0).Acquire());
    lock.Release();
    EXPECT_TRUE(FileLock(lock.PathGet(), true, 0).Acquire());
}

} // namespace
} // namespace VeskTest

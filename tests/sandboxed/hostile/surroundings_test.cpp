// Callers with strange masks, streams, stacks and limits, and machines whose file systems are full, read-only or not
// there: every family does what it always does, or fails and leaves nothing half done.
#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <pthread.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vesksystemd.hpp>

#include "checks.hpp"
#include "disturbance.hpp"
#include "error.hpp"
#include "files.hpp"
#include "paths.hpp"
#include "surroundings.hpp"

namespace VeskTest
{
namespace
{

using VeskGround::Require;

using Operation = std::function<void()>;

Surroundings Umask(const std::string& name, mode_t mask)
{
    Surroundings surroundings{name};
    surroundings.within = [mask](const Operation& operation) {
        const mode_t before = umask(mask);
        operation();
        umask(before);
    };
    return surroundings;
}

Surroundings NoStandardStreams()
{
    Surroundings surroundings{"NoStandardStreams"};
    surroundings.within = [](const Operation& operation) {
        const Disturbed disturbed(Disturbance::NoStandardStreams);
        operation();
    };
    return surroundings;
}

void* CallOperation(void* operation)
{
    (*static_cast<const Operation*>(operation))();
    return nullptr;
}

// A sanitizer's frames do not fit.
[[maybe_unused]] Surroundings SmallStack()
{
    Surroundings surroundings{"StackOf64KiB"};
    surroundings.within = [](const Operation& operation) {
        constexpr std::size_t kSize = 64UL * 1024;
        pthread_attr_t attributes;
        pthread_t thread{};
        Operation copy = operation;
        pthread_attr_init(&attributes);
        pthread_attr_setstacksize(&attributes, kSize);
        Require(-pthread_create(&thread, &attributes, CallOperation, &copy), "start", "a thread");
        pthread_join(thread, nullptr);
        pthread_attr_destroy(&attributes);
    };
    return surroundings;
}

std::vector<Surroundings> AllThatMustNotMatter()
{
    std::vector<Surroundings> all{Umask("Umask0", 0), Umask("Umask0777", 0777), NoStandardStreams()};
#ifndef VESK_SANITIZED
    all.push_back(SmallStack());
#endif
    return all;
}

// The soft limit is lowered, so that the process can raise it again.
Surroundings Limit(const std::string& name, __rlimit_resource resource, rlim_t limit)
{
    Surroundings surroundings{name, true};
    surroundings.within = [resource, limit](const Operation& operation) {
        // Whoever lives with a limit of this kind lives with its signal.
        signal(SIGXFSZ, SIG_IGN);
        rlimit before{};
        getrlimit(resource, &before);
        const rlimit lowered{limit, before.rlim_max};
        Require(setrlimit(resource, &lowered), "lower", "a limit");
        operation();
        setrlimit(resource, &before);
        signal(SIGXFSZ, SIG_DFL);
    };
    return surroundings;
}

// The signal for this limit kills the scripted systemctl, which records its calls.
Surroundings FileSize(const std::string& name, rlim_t limit)
{
    Surroundings surroundings = Limit(name, RLIMIT_FSIZE, limit);
    surroundings.killsSystemctl = true;
    return surroundings;
}

std::vector<Surroundings> AllLimits()
{
    std::vector<Surroundings> all{
        FileSize("NoFileSize", 0),
        FileSize("FileSizeOf5", 5),
        Limit("NoCore", RLIMIT_CORE, 0),
        Limit("NoLockedMemory", RLIMIT_MEMLOCK, 0),
        Limit("NoPendingSignals", RLIMIT_SIGPENDING, 0),
        Limit("NoMessageQueues", RLIMIT_MSGQUEUE, 0),
        Limit("NoFileLocks", RLIMIT_LOCKS, 0),
        Limit("NoNice", RLIMIT_NICE, 0),
        Limit("NoRealTime", RLIMIT_RTPRIO, 0),
        Limit("NoRealTimeWithoutPause", RLIMIT_RTTIME, 0),
        Limit("NoResidentMemory", RLIMIT_RSS, 0),
        Limit("StackOf512KiB", RLIMIT_STACK, 512UL * 1024),
        Limit("NoProcesses", RLIMIT_NPROC, 0),
    };
#ifndef VESK_SANITIZED
    // A sanitizer needs memory of its own, and a pipe to look at an object's type.
    for (const rlim_t descriptors : {0UL, 4UL, 6UL, 8UL}) {
        all.push_back(Limit("Descriptors" + std::to_string(descriptors), RLIMIT_NOFILE, descriptors));
    }
    all.push_back(Limit("NoMemory", RLIMIT_AS, 0));
    all.push_back(Limit("NoData", RLIMIT_DATA, 0));
#endif
    return all;
}

constexpr std::array<const char*, 3> kWritten{kRunFolder, kStateFolder, kPackages};

void MountOnWritten(const char* options)
{
    for (const char* folder : kWritten) {
        MakeFolder(folder);
        Require(mount("state", folder, "tmpfs", 0, options), "mount", folder);
    }
    WriteText(std::string(kPackages) + "/plain/x", "");
}

void UnmountWritten()
{
    for (const char* folder : kWritten) {
        Require(umount2(folder, MNT_DETACH), "unmount", folder);
    }
}

void FillUp(const std::string& path)
{
    const int file = Require(open(path.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600), "open", path);
    const std::array<char, 4096> block{};
    while (write(file, block.data(), block.size()) > 0) {
    }
    close(file);
}

// Every entry of FOLDER that there is room for.
void FillWithFiles(const std::string& folder)
{
    for (int number = 0;; ++number) {
        const std::string path = folder + "/filler" + std::to_string(number);
        const int file = open(path.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
        if (file < 0) {
            return;
        }
        close(file);
    }
}

Surroundings Disk(const std::string& name, const std::function<void()>& spoil, const char* options)
{
    Surroundings surroundings{name, true};
    surroundings.before = [spoil, options] {
        MountOnWritten(options);
        spoil();
    };
    surroundings.after = UnmountWritten;
    return surroundings;
}

std::vector<Surroundings> AllDisks()
{
    const auto forEach = [](void (*spoil)(const std::string&)) {
        return [spoil] {
            for (const char* folder : kWritten) {
                spoil(folder);
            }
        };
    };
    return {
        Disk("FullDisk", forEach([](const std::string& folder) { FillUp(folder + "/filler"); }), "size=64k"),
        Disk("NoMoreFiles", forEach(FillWithFiles), "nr_inodes=8"),
        Disk("ReadOnly", forEach([](const std::string& folder) {
                 Require(mount(nullptr, folder.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), "remount",
                         folder);
             }),
             ""),
    };
}

// Behind an empty file system, which goes again.
Surroundings Hidden(const std::string& name, const char* folder)
{
    Surroundings surroundings{name, true};
    surroundings.within = [folder](const Operation& operation) {
        Require(unshare(CLONE_NEWNS), "leave", "the mounts");
        Require(mount("hidden", folder, "tmpfs", 0, nullptr), "hide", folder);
        operation();
        Require(umount2(folder, MNT_DETACH), "show", folder);
    };
    return surroundings;
}

std::vector<Surroundings> AllHidden()
{
    return {Hidden("NoProc", "/proc"), Hidden("NoDevices", "/dev"),
            Hidden("NoControlGroups", "/sys/fs/cgroup"), Hidden("NoUnitFiles", kUsrUnits)};
}

class Around : public ::testing::TestWithParam<Surroundings>
{
protected:
    HostileGround m_ground;
};

TEST_P(Around, EveryFamilyDoesWhatItAlwaysDoesOrFailsWithNothingHalfDone)
{
    for (const NamedOperation& operation : FamilyOperations()) {
        SCOPED_TRACE(operation.symbol);
        const Outcome undisturbed = RunWithin(m_ground, operation, {});
        if (GetParam().killsSystemctl && !undisturbed.calls.empty()) {
            continue;
        }
        ExpectOutcome(RunWithin(m_ground, operation, GetParam()), undisturbed, GetParam().mayFail);
    }
}

const auto kSurroundingsName = [](const auto& param) { return param.param.name; };

INSTANTIATE_TEST_SUITE_P(NothingMatters, Around, ::testing::ValuesIn(AllThatMustNotMatter()),
                         kSurroundingsName);
INSTANTIATE_TEST_SUITE_P(Limits, Around, ::testing::ValuesIn(AllLimits()), kSurroundingsName);
INSTANTIATE_TEST_SUITE_P(Disks, Around, ::testing::ValuesIn(AllDisks()), kSurroundingsName);
INSTANTIATE_TEST_SUITE_P(Missing, Around, ::testing::ValuesIn(AllHidden()), kSurroundingsName);

// Root has no such limit.
TEST(ProcessLimit, OfAUserFailsAnActionWithAllItsUnits)
{
    if (!CanBecomeOtherUsers()) {
        GTEST_SKIP() << "needs another user";
    }
    const HostileGround ground;
    ExpectAsUser(4711, [] {
        const rlimit none{0, 0};
        setrlimit(RLIMIT_NPROC, &none);
        Words failed;
        EXPECT_FALSE(VESKSystemdStart({"foo", "bar"}, failed));
        EXPECT_EQ(failed, (Words{"foo", "bar"}));
    });
    EXPECT_THAT(ground.Calls(), ::testing::IsEmpty());
}

} // namespace
} // namespace VeskTest

#include "unmount_ground.hpp"

#include <algorithm>
#include <sys/mount.h>
#include <unistd.h>

#include "error.hpp"
#include "paths.hpp"

namespace VeskTest
{

namespace
{

bool IsReading(const std::string& call)
{
    return call.rfind("show ", 0) == 0 || call.rfind("list-", 0) == 0;
}

std::string TargetText(const std::string& relation, const std::string& services)
{
    // The keys come in the order of their names.
    const std::string own = relation + "=" + services + "\n";
    const std::string others = "After=" + services + "\n";
    const std::string last = "DefaultDependencies=no\n";
    return "[Unit]\n" + others + (relation < "DefaultDependencies" ? own + last : last + own);
}

} // namespace

VolumeUser::VolumeUser(const std::string& folder, const std::string& unit)
    : ServiceProcess(unit, [folder] { VeskGround::Require(chdir(folder.c_str()), "change to", folder); })
{
}

UnmountTest::UnmountTest()
{
    for (const char* folder : {kRunFolder, kRunUnits, kStateFolder, kPackages, kUsrUnits}) {
        for (const std::string& name : ListFolder(folder)) {
            RemoveAll(std::string(folder) + "/" + name);
        }
    }
    MakeFolder(kVolume);
    VeskGround::Require(mount("volume", kVolume, "tmpfs", 0, nullptr), "mount", kVolume);
    systemctl.OnAny();
    script.OnAny();
}

UnmountTest::~UnmountTest()
{
    umount2(kVolume, MNT_DETACH);
}

void UnmountTest::TearDown()
{
    for (const char* lock : {kActionLock, kIsolateLock, kExitLock}) {
        EXPECT_TRUE(Eventually([&] { return IsLockFree(lock); })) << lock;
    }
}

void UnmountTest::AddUnit(const std::string& unit, const std::string& keys, const std::string& state)
{
    WriteUnitFile(UnitFolder::Usr, unit, "[X-Veskline]\n" + keys);
    systemctl.On({"show", "--property", "ActiveState", unit}).Stdout("ActiveState=" + state + "\n");
    m_units.push_back(unit);
    Answering answer = systemctl.On({"list-unit-files", "--no-legend", "--root=/."});
    for (const std::string& name : m_units) {
        answer.Stdout(name + " static\n");
    }
}

void UnmountTest::RegisterUnit(const std::string& unit, const std::string& volumes)
{
    WriteText(RegisterOf(unit), volumes);
}

void UnmountTest::RegisterPackage(const std::string& package, const std::string& volumes)
{
    WriteText(PackageRegisterFolder(package) + "/reg_volume", volumes);
}

bool UnmountTest::Run(bool actionResult, const Words& volumes)
{
    return _VESKSystemdVolumeUnmountAction(volumes, [this, actionResult] {
        ++runs;
        atAction = Steps();
        return actionResult;
    });
}

Words UnmountTest::Steps() const
{
    Words steps = systemctl.Arguments();
    steps.erase(std::remove_if(steps.begin(), steps.end(), IsReading), steps.end());
    return steps;
}

std::string UnmountTest::Stopped()
{
    const std::string text = Exists(kBeginFile) ? ReadText(kBeginFile) : "";
    const std::string key = "Conflicts=";
    const std::size_t begin = text.find(key);
    return begin == std::string::npos
               ? ""
               : text.substr(begin + key.size(), text.find('\n', begin) - begin - key.size());
}

std::vector<SyslogLine> UnmountTest::OwnLog()
{
    std::vector<SyslogLine> lines = log.Take();
    lines.erase(std::remove_if(lines.begin(), lines.end(),
                               [](const SyslogLine& line) { return line.file != kUnmountFile; }),
                lines.end());
    return lines;
}

::testing::Matcher<const SyslogLine&> UnmountTest::StopLine(const std::string& services,
                                                            const std::string& volumes)
{
    return Info(kUnmountFile, "vesksystemd: the following service will temporarily stop for volume "
                              "unmounting: [" +
                                  volumes + "][" + services + "]");
}

::testing::Matcher<const SyslogLine&> UnmountTest::NothingToStop(const std::string& volumes)
{
    return Info(kUnmountFile, "vesksystemd: we will not stop any service for umounting: [" + volumes + "]");
}

std::string BeginText(const std::string& services)
{
    return TargetText("Conflicts", services);
}

std::string EndText(const std::string& services)
{
    return TargetText("Wants", services);
}

} // namespace VeskTest

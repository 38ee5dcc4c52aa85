#pragma once

#include <gmock/gmock.h>
#include <string>
#include <vector>
#include <vesksystemd.hpp>

#include "children.hpp"
#include "event_log.hpp"
#include "file_locks.hpp"
#include "files.hpp"
#include "library_log.hpp"
#include "paths.hpp"
#include "platform_spy.hpp"
#include "process_list.hpp"
#include "service_process.hpp"
#include "systemctl_script.hpp"
#include "unit_files.hpp"

namespace VeskTest
{

using Words = std::vector<std::string>;

constexpr const char* kVolume = "/volume1";
constexpr const char* kUnmountFile = "systemd_volume_unmount_action.cpp";
constexpr const char* kBeginFile = "/run/systemd/system/unmount-volume-begin.target";
constexpr const char* kEndFile = "/run/systemd/system/unmount-volume-end.target";

constexpr const char* kListUnits = "list-unit-files --no-legend --root=/.";
constexpr const char* kReload = "daemon-reload";
constexpr const char* kStartBegin = "start --job-mode=replace-irreversibly unmount-volume-begin.target";
constexpr const char* kStartEnd = "start unmount-volume-end.target";

// A process of a unit with its working directory on the volume.
class VolumeUser : public ServiceProcess
{
public:
    VolumeUser(const std::string& folder, const std::string& unit);
};

// A machine with a volume mounted at /volume1, which nothing uses, and without units; systemctl does all that
// it is asked for, until the test says otherwise. The status monitor's script does nothing. At the end no
// lock is taken.
class UnmountTest : public ::testing::Test
{
protected:
    UnmountTest();
    ~UnmountTest() override;
    void TearDown() override;

    // A unit with these lines in its section "X-Veskline".
    void AddUnit(const std::string& unit, const std::string& keys, const std::string& state = "active");
    // A running service that depends on all volumes.
    void AddDependent(const std::string& unit) { AddUnit(unit, "VolumeDependency=all\n"); }

    static void RegisterUnit(const std::string& unit, const std::string& volumes);
    static void RegisterPackage(const std::string& package, const std::string& volumes);

    // Unmounts /volume1 with an action that notes what it sees and has this result.
    bool Run(bool actionResult = true, const Words& volumes = {kVolume});

    // The calls of systemctl but the readings of units.
    Words Steps() const;
    // The services that the last action found stopped, as the target that stops them names them.
    static std::string Stopped();
    // The lines of the operation itself.
    std::vector<SyslogLine> OwnLog();

    static ::testing::Matcher<const SyslogLine&> StopLine(const std::string& services,
                                                          const std::string& volumes = kVolume);
    static ::testing::Matcher<const SyslogLine&> NothingToStop(const std::string& volumes = kVolume);

    PlatformSpy spy;
    ScriptedSystemctl systemctl;
    ScriptedProgram script{kMonitorScript};
    EventLog events;
    SyslogCapture log;
    int runs = 0;
    Words atAction;

private:
    Words m_units;
};

// What the two targets hold for these services, joined with blanks.
std::string BeginText(const std::string& services);
std::string EndText(const std::string& services);

} // namespace VeskTest

// Links, pipes, folders, sockets and devices in place of each file and folder that the library reads, writes or runs:
// no operation waits for them, follows them to what is not its own, or takes them for what should be there.
#include <cstring>
#include <gmock/gmock.h>
#include <ostream>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/un.h>
#include <unistd.h>

#include "error.hpp"
#include "files.hpp"
#include "paths.hpp"
#include "surroundings.hpp"

namespace VeskTest
{
namespace
{

using VeskGround::Require;

constexpr const char* kVictim = "/run/victim/text";
constexpr const char* kVictimText = "precious\n";

void Link(const std::string& path, const std::string& target)
{
    Require(symlink(target.c_str(), path.c_str()), "link", path);
}

void MakePipe(const std::string& path)
{
    Require(mkfifo(path.c_str(), 0600), "make", path);
}

void MakeSocket(const std::string& path)
{
    const int socketOf = Require(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0), "make", "a socket");
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    const void* pAddress = &address;
    Require(bind(socketOf, static_cast<const sockaddr*>(pAddress), sizeof address), "bind", path);
    close(socketOf);
}

void MakeZero(const std::string& path)
{
    if (mknod(path.c_str(), S_IFCHR | 0600, makedev(1, 5)) != 0) {
        // An ordinary user's sandbox makes no devices.
        Link(path, "/dev/zero");
    }
}

struct Thing {
    const char* name;
    void (*put)(const std::string& path);
};

const std::vector<Thing> kThings{
    {"LinkToAFile", [](const std::string& path) { Link(path, kVictim); }},
    {"LinkToAFolder", [](const std::string& path) { Link(path, "/run/victim"); }},
    {"LinkToNothing", [](const std::string& path) { Link(path, "/run/victim/none"); }},
    {"LinkToItself", [](const std::string& path) { Link(path, path); }},
    {"LinkToADevice", [](const std::string& path) { Link(path, "/dev/zero"); }},
    {"Device", MakeZero},
    {"Pipe", MakePipe},
    {"Socket", MakeSocket},
    {"Folder", [](const std::string& path) { WriteText(path + "/precious", kVictimText); }},
};

// A place, and operations that use what is there.
struct Place {
    std::string name;
    std::string path;
    Words operations;
};

std::ostream& operator<<(std::ostream& stream, const Place& place)
{
    return stream << place.path;
}

const std::vector<Place>& Places()
{
    static const std::vector<Place> places{
        {"OperationLock", kOperationLock, {"VESKSystemdIsolateTarget"}},
        {"IsolateLock", kIsolateLock, {"VESKSystemdIsolateTarget", "VESKCSystemdVolumeUnmountAction"}},
        {"ActionLock", kActionLock, {"VESKCSystemdVolumeUnmountAction"}},
        {"RegisterLock", kRegisterLock, {"VESKCSystemdVolumeRegister", "VESKCSystemdVolumeUnregister"}},
        {"Flag", kFlag, {"VESKSystemdIsolateTarget"}},
        {"LockFolder", kLockFolder, {"VESKSystemdIsolateTarget", "VESKCSystemdVolumeRegister"}},
        {"ReasonsFolder", kReasons, {"VESKCSystemdServiceStopByReason", "VESKCSystemdServiceReasonList"}},
        {"ReasonFolder",
         ReasonsOf("plain.service"),
         {"VESKCSystemdServiceStopByReason", "VESK::Systemd::UnlinkReasons", "VESKCSystemdUninstall"}},
        {"Reason",
         ReasonsOf("plain.service/held"),
         {"VESKCSystemdServiceStopByReason", "VESK::Systemd::UnlinkReasons",
          "VESKCSystemdServiceReasonList"}},
        {"Mark",
         MarkOf("plain.service"),
         {"VESK::Systemd::SetEnableStatusChanged", "VESK::Systemd::IsEnableStatusChanged",
          "VESKCSystemdUninstall"}},
        {"MarkFolder", kMarks, {"VESKCSystemdEnable"}},
        {"Registry",
         RegisterOf("plain.service"),
         {"VESKCSystemdVolumeRegister", "VESKCSystemdVolumeUnregister",
          "VESKSystemdVolumeIsRegisteredByUnit"}},
        {"RegistryFolder", kRegister, {"VESKCSystemdVolumeRegister"}},
        {"PackageRegistry",
         PackageRegisterFolder("plain") + "/reg_volume",
         {"VESKCSystemdPackageVolumeRegister", "VESKSystemdVolumeIsRegisteredByPackage"}},
        {"UnitFile",
         std::string(kUsrUnits) + "/plain.service",
         {"VESKCSystemdNameGet", "VESKCSystemdFirewallSectionsGet", "VESKCSystemdStart"}},
        {"BootStep", kBootStep, {"VESKCSystemdStart"}},
        {"EventLog", kEventLogProgram, {"VESKCSystemdStart"}},
        {"Script", kMonitorScript, {"VESKSystemdIsolateTarget"}},
        {"Members",
         "/sys/fs/cgroup/veskmonitor/plain.slice/tasks",
         {"VESK::Systemd::Slice::Slice", "VESK::Systemd::Slice::ProcessList"}},
    };
    return places;
}

class InPlaceOf : public ::testing::TestWithParam<Place>
{
protected:
    InPlaceOf()
    {
        MakeFolder("/run/victim");
        WriteText(kVictim, kVictimText);
        Require(chmod(kVictim, 0640), "narrow", kVictim);
    }

    // What the test itself keeps of the place goes with it.
    Surroundings With(const Thing& thing)
    {
        Surroundings surroundings{thing.name, true};
        const std::string path = GetParam().path;
        surroundings.before = [thing, path, this] {
            MakeFolder(path.substr(0, path.rfind('/')));
            m_kept = path + ".kept";
            m_wasThere = rename(path.c_str(), m_kept.c_str()) == 0;
            thing.put(path);
        };
        surroundings.after = [path, this] {
            RemoveAll(path);
            if (m_wasThere) {
                Require(rename(m_kept.c_str(), path.c_str()), "put back", path);
            }
        };
        return surroundings;
    }

    HostileGround m_ground;

private:
    std::string m_kept;
    bool m_wasThere = false;
};

TEST_P(InPlaceOf, AFileNothingIsWaitedForAndNoOtherFileIsTouched)
{
    for (const std::string& function : GetParam().operations) {
        for (const Thing& thing : kThings) {
            SCOPED_TRACE(function + ", " + thing.name);
            const Outcome outcome = RunWithin(m_ground, OperationOf(function), With(thing));
            EXPECT_EQ(ReadText(kVictim), kVictimText);
            EXPECT_EQ(Mode(kVictim), 0640U);
            EXPECT_THAT(ListFolder("/run/victim"), ::testing::Contains("text"));
            EXPECT_THAT(ListFolder("/run/victim"), ::testing::Not(::testing::Contains("none")));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Every, InPlaceOf, ::testing::ValuesIn(Places()),
                         [](const auto& param) { return param.param.name; });

} // namespace
} // namespace VeskTest

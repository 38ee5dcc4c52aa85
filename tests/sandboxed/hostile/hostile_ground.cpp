#include "hostile_ground.hpp"

#include <vesksystemd.hpp>

#include "files.hpp"
#include "paths.hpp"
#include "unit_files.hpp"

namespace VeskTest
{

namespace
{

constexpr const char* kKeys = "[X-Veskline]\n"
                              "Name=Plain\n"
                              "NameI18n=plain:name\n"
                              "AppId=a\n"
                              "FirewallSections=a b\n"
                              "BelongsTo=a.target\n"
                              "PackedIn=a.target\n"
                              "Carries=a.service\n";

// Neither "FILE.service" nor a folder may be longer.
constexpr std::size_t kLongestEntry = 255 - (sizeof ".service" - 1);

// What a name that leads out of its folder would meet.
constexpr const char* kVictims[] = {"/run/victim.service/held",
                                    "/run/victim/etc/veskpkg_conf/reg_volume",
                                    "/run/credentials/victim.service/password",
                                    "/usr/vesk/etc/victim.service",
                                    "/var/victim/etc/veskpkg_conf/reg_volume",
                                    "/run/victim/owner.slice/tasks",
                                    "/sys/fs/cgroup/victim/owner.slice/tasks"};

void Empty(const std::string& folder)
{
    for (const std::string& name : ListFolder(folder)) {
        std::string path = folder;
        RemoveAll(path.append("/").append(name));
    }
}

bool CanHaveFile(const std::string& name)
{
    return IsEntry(name) && !name.empty() && name.size() <= kLongestEntry;
}

} // namespace

std::string BeforeZero(const std::string& name)
{
    return name.substr(0, name.find('\0'));
}

bool IsEntry(const std::string& name)
{
    return name != "." && name != ".." && name.find('/') == std::string::npos;
}

HostileGround::HostileGround()
{
    m_systemctl.OnAny();
    m_systemctl.OnLeading({"show", "--property", "ActiveState"}).Stdout("ActiveState=active\n");
    m_systemctl.OnLeading({"show", "--property", "LoadState"}).Stdout("LoadState=loaded\n");
    m_systemctl.OnLeading({"show", "--property", "Job"}).Stdout("Job=7\n");
    m_systemctl.OnLeading({"show", "--property=FragmentPath"}).Stdout("FragmentPath=\nDropInPaths=\n");
    m_systemctl.OnLeading({"is-enabled"}).Stdout("enabled\n");
    m_systemctl.OnLeading({"list-jobs"}).Stdout("7 other.service start running\n").Exit(1);
    m_systemctl.On({"list-jobs", "--no-legend"}).Exit(1);
    m_script.OnAny();
}

void HostileGround::Reset(const std::string& name)
{
    // These are made by the operations themselves.
    RemoveAll(kRunFolder);
    RemoveAll(kStateFolder);
    for (const char* folder : {kPackages, kUsrUnits, kRunUnits, "/sys/fs/cgroup"}) {
        Empty(folder);
    }
    for (const char* victim : kVictims) {
        WriteText(victim, "[]");
    }
    const std::string unit = BeforeZero(name);
    for (const std::string& owner : {std::string("owner"), unit}) {
        if (CanHaveFile(owner)) {
            MakeOwner(owner);
        }
    }
    MakeOwner("plain");
    m_systemctl.ForgetCalls();
}

void HostileGround::MakeOwner(const std::string& name)
{
    WriteUnitFile(UnitFolder::Usr, VESK::Systemd::NormalizedUnitNameGet(name), kKeys);
    MakeFolder(std::string(kPackages) + "/" + name);
    for (const char* hierarchy : {"systemd", "veskmonitor"}) {
        WriteText(std::string("/sys/fs/cgroup/") + hierarchy + "/" + name + ".slice/tasks", "");
    }
}

void HostileGround::ForgetCalls()
{
    m_systemctl.ForgetCalls();
}

Outcome HostileGround::Run(const NamedOperation& operation, const std::string& name)
{
    Reset(name);
    const Tree before = TreeNow();
    VLIBCErrSetEx(0, "", 0);
    Outcome outcome;
    outcome.success = operation.call(name);
    outcome.error = VLIBCErrGet();
    outcome.changes = ChangesBetween(before, TreeNow());
    outcome.calls = Calls();
    return outcome;
}

std::vector<Words> HostileGround::Calls() const
{
    std::vector<Words> calls;
    for (const Call& call : m_systemctl.Calls()) {
        calls.push_back(call.arguments);
    }
    return calls;
}

} // namespace VeskTest

#include "live_root.hpp"

#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string_view>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include "descriptor.hpp"
#include "error.hpp"
#include "mounts.hpp"
#include "systemctl_adapter.hpp"

namespace VeskGround
{

namespace
{

namespace fs = std::filesystem;

constexpr const char* kUnits = "/usr/lib/systemd/system/";

struct User {
    const char* name;
    unsigned id;
};
constexpr User kUsers[] = {{"alice", 1001}, {"bob", 1002}};

class Layer
{
public:
    explicit Layer(std::string root)
        : m_root(std::move(root))
    {
    }

    // An empty folder, whatever the machine has in it.
    void Fresh(const std::string& path, mode_t mode = 0755) const
    {
        const std::string folder = m_root + path;
        MakeDirectories(folder);
        Require(chmod(folder.c_str(), mode), "change the mode of", folder);
        Require(setxattr(folder.c_str(), "trusted.overlay.opaque", "y", 1, 0), "make opaque", folder);
    }

    void File(const std::string& path, const std::string& text, mode_t mode = 0644) const
    {
        MakeDirectories(fs::path(m_root + path).parent_path());
        WriteFile(m_root + path, text, mode);
    }

    void Link(const std::string& path, const std::string& target) const
    {
        MakeDirectories(fs::path(m_root + path).parent_path());
        Require(symlink(target.c_str(), (m_root + path).c_str()), "link", m_root + path);
    }

    void Program(const std::string& path, const std::string& source) const
    {
        MakeDirectories(fs::path(m_root + path).parent_path());
        fs::copy_file(source, m_root + path);
        Require(chmod((m_root + path).c_str(), 0755), "change the mode of", m_root + path);
    }

    // A build against the machine's own platform has none of its programs.
    void ProgramIfThere(const std::string& path, const std::string& source) const
    {
        if (access(source.c_str(), F_OK) == 0) {
            Program(path, source);
        }
    }

    void Owner(const std::string& path, unsigned id) const
    {
        Require(chown((m_root + path).c_str(), id, id), "change the owner of", m_root + path);
    }

private:
    std::string m_root;
};

std::string ReadText(const std::string& path)
{
    std::ifstream file(path);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

std::string NewMachineId()
{
    std::random_device random;
    std::ostringstream id;
    id << std::hex;
    for (int i = 0; i < 32; ++i) {
        id << (i == 12 ? 4U : random() % 15 + 1);
    }
    return id.str() + "\n";
}

void WantedUnits(const Layer& layer)
{
    layer.Fresh("/etc/systemd/system");
    layer.Fresh("/etc/systemd/user");
    layer.Fresh("/usr/lib/systemd/system-generators");
    layer.Fresh("/usr/lib/systemd/user-generators");
    for (const fs::directory_entry& entry : fs::directory_iterator(kUnits)) {
        if (entry.path().filename().string().find(".target.wants") != std::string::npos) {
            layer.Fresh(entry.path());
        }
    }
    layer.Link("/etc/systemd/system/default.target", std::string(kUnits) + "multi-user.target");
    layer.Link("/etc/systemd/system/modprobe@.service", "/dev/null");
    for (const char* wanted :
         {"sysinit.target.wants/systemd-journald.service", "sockets.target.wants/systemd-journald.socket",
          "sockets.target.wants/systemd-journald-dev-log.socket", "sockets.target.wants/dbus.socket",
          "multi-user.target.wants/dbus.service", "multi-user.target.wants/systemd-logind.service",
          "multi-user.target.wants/systemd-user-sessions.service"}) {
        const std::string unit = fs::path(wanted).filename();
        layer.Link(std::string("/etc/systemd/system/") + wanted, kUnits + unit);
    }
}

void Identity(const Layer& layer)
{
    layer.File("/etc/machine-id", NewMachineId());
    layer.File("/etc/hostname", "vesk-live\n");
    layer.File("/etc/fstab", "# none\n");
    layer.File("/etc/systemd/journald.conf.d/vesk-live.conf",
               "[Journal]\nStorage=volatile\nRateLimitIntervalSec=0\nReadKMsg=no\nAudit=no\n"
               "ForwardToSyslog=no\nForwardToWall=no\n");
}

// The machine's table without the entries that would be ours.
std::string WithoutUsers(const std::string& table)
{
    std::istringstream lines(table);
    std::string kept;
    for (std::string line; std::getline(lines, line);) {
        bool ours = false;
        for (const User& user : kUsers) {
            const std::string id = ":" + std::to_string(user.id) + ":";
            ours = ours || line.rfind(std::string(user.name) + ":", 0) == 0 ||
                   line.find(id) != std::string::npos;
        }
        kept += ours ? "" : line + "\n";
    }
    return kept;
}

void Users(const Layer& layer)
{
    std::string passwd = WithoutUsers(ReadText("/etc/passwd"));
    std::string group = WithoutUsers(ReadText("/etc/group"));
    std::string shadow = WithoutUsers(ReadText("/etc/shadow"));
    layer.Fresh("/home");
    for (const User& user : kUsers) {
        const std::string name = user.name;
        const std::string id = std::to_string(user.id);
        passwd.append(name).append(":x:").append(id).append(":").append(id);
        passwd.append("::/home/").append(name).append(":/bin/bash\n");
        group.append(name).append(":x:").append(id).append(":\n");
        shadow.append(name).append(":!:19000:0:99999:7:::\n");
        layer.Fresh("/home/" + name, 0750);
        layer.Owner("/home/" + name, user.id);
    }
    layer.File("/etc/passwd", passwd);
    layer.File("/etc/group", group);
    layer.File("/etc/shadow", shadow, 0600);
}

void Platform(const Layer& layer, const std::string& programs)
{
    for (const char* folder : {"/usr/vesk", "/usr/vesk/bin", "/usr/vesk/etc", "/usr/vesk/lib/systemd/scripts",
                               "/var/packages", "/var/log", "/var/log/vesk", "/var/lib/systemd"}) {
        layer.Fresh(folder);
    }
    layer.Fresh("/var/tmp", 01777);
    layer.ProgramIfThere("/usr/vesk/bin/vesklogset", programs + "/vesklogset");
    layer.ProgramIfThere("/usr/vesk/lib/systemd/scripts/vesk-systemd-status-monitor.sh",
                         programs + "/vesk-systemd-status-monitor.sh");
}

} // namespace

void BuildLiveRoot(const std::string& upper, const LiveRootSources& sources)
{
    const Layer layer(upper);
    WantedUnits(layer);
    Identity(layer);
    Users(layer);
    Platform(layer, sources.platform);
    layer.Program(kRealSystemctl, "/usr/bin/systemctl");
    if (!sources.adapter.empty()) {
        layer.Program("/usr/bin/systemctl", sources.adapter);
    }
}

} // namespace VeskGround

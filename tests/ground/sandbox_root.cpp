#include "sandbox_root.hpp"

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

#include "descriptor.hpp"
#include "error.hpp"
#include "fields.hpp"
#include "mounts.hpp"

namespace VeskGround
{

namespace
{

// The sandbox is put together on a tmpfs here, which is gone from sight once its root is entered.
const std::string kStage = "/tmp";
const std::string kUpper = kStage + "/upper";
const std::string kWork = kStage + "/work";
const std::string kRoot = kStage + "/root";

const std::string kSystemctl = "/usr/bin/systemctl";
const std::string kMonitorScript = "vesk-systemd-status-monitor.sh";

struct FreshFolder {
    const char* path;
    const char* mode;
};

constexpr FreshFolder kFreshFolders[] = {
    {"/run", "0755"},
    {"/tmp", "1777"},
    {"/usr/vesk", "0755"},
    {"/var/packages", "0755"},
    {"/var/log", "0755"},
    {"/etc/systemd/system", "0755"},
    {"/usr/lib/systemd/system", "0755"},
    {"/usr/local/lib/systemd/system", "0755"},
};

enum class Placing { BindReadOnly, BindWritable, Copy };

// What is put into the sandbox, opened while its path can still be reached. Programs are copied, so that a
// test may remove or replace them.
struct Source {
    Descriptor descriptor;
    std::string target;
    Placing placing;
};

void AddPlatformFile(const std::string& source, const std::string& target, std::vector<Source>& sources)
{
    if (access(source.c_str(), F_OK) == 0) {
        sources.push_back({OpenPath(source), target, Placing::Copy});
    }
}

std::vector<Source> OpenSources(const SandboxOptions& options)
{
    std::vector<Source> sources;
    for (const BoundFolder& folder : options.folders) {
        const Placing placing = folder.writable ? Placing::BindWritable : Placing::BindReadOnly;
        sources.push_back({OpenPath(folder.path), folder.path, placing});
    }
    if (options.hasSystemctl) {
        sources.push_back({OpenPath(options.systemctl), kSystemctl, Placing::Copy});
        sources.push_back({OpenPath(options.systemctl), "/run/sandbox/stand-in", Placing::Copy});
    }
    if (!options.platform.empty()) {
        AddPlatformFile(options.platform + "/vesklogset", "/usr/vesk/bin/vesklogset", sources);
        AddPlatformFile(options.platform + "/" + kMonitorScript,
                        "/usr/vesk/lib/systemd/scripts/" + kMonitorScript, sources);
    }
    return sources;
}

// An ordinary user may not change the folders of others, not even in an overlay; those that already exist in
// its own upper layer are its own.
void PrepareUpperLayer()
{
    for (const FreshFolder& folder : kFreshFolders) {
        MakeDirectories(kUpper + folder.path);
    }
    MakeDirectories(kUpper + "/usr/bin");
    MakeDirectories(kUpper + "/opt");
}

bool IsBelowOverlay(const std::string& name)
{
    return name == "usr" || name == "etc" || name == "var" || name == "opt";
}

void CopyLink(const std::string& from, const std::string& to)
{
    Require(symlink(ReadLink(from).c_str(), to.c_str()), "link", to);
}

// One entry of / in a sandbox whose root cannot be an overlay over /.
void PlaceTopLevel(const std::string& name)
{
    const std::string source = "/" + name;
    const std::string target = kRoot + source;
    struct stat status {
    };
    if (lstat(source.c_str(), &status) != 0 || source == kStage || name == "run") {
        return;
    }
    if (S_ISLNK(status.st_mode)) {
        CopyLink(source, target);
    } else if (IsBelowOverlay(name)) {
        MountOverlay({source, kUpper + source, kWork + source, true}, target);
    } else if (S_ISDIR(status.st_mode) && name != "proc" && name != "sys" && name != "dev") {
        Bind(source, target);
        MakeReadOnly(target);
    }
}

void MountUserRoot()
{
    MakeDirectories(kRoot);
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir("/"), closedir);
    if (!folder) {
        ThrowErrno("open", "/");
    }
    while (const dirent* entry = readdir(folder.get())) {
        if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0) {
            PlaceTopLevel(entry->d_name);
        }
    }
    Bind(kRoot, kRoot);
}

// The kernel refuses an overlay over / to a user namespace, since mounts of the host lie below it. Only the first
// namespace has all users.
bool InUserNamespace()
{
    const std::string users = ReadFile("/proc/self/uid_map");
    return !users.empty() && users.find(" 4294967295\n") == std::string::npos;
}

void MountRoot()
{
    PrepareUpperLayer();
    if (InUserNamespace()) {
        MountUserRoot();
    } else {
        MountOverlay({"/", kUpper, kWork, false}, kRoot);
    }
}

void Place(const Source& source)
{
    const std::string target = kRoot + source.target;
    if (source.placing == Placing::Copy) {
        CopyDescriptor(source.descriptor.Get(), target, 0755);
        return;
    }
    BindDescriptor(source.descriptor.Get(), target);
    if (source.placing == Placing::BindReadOnly) {
        MakeReadOnly(target);
    }
}

// Neither the machine's own systemctl nor a link to it is left in reach.
void RemoveSystemctl()
{
    const std::string path = kRoot + kSystemctl;
    if (unlink(path.c_str()) != 0 && errno != ENOENT) {
        ThrowErrno("remove", path);
    }
}

} // namespace

void EnterSandboxRoot(const SandboxOptions& options)
{
    MakeMountsPrivate();
    const std::vector<Source> sources = OpenSources(options);
    MountTmpfs(kStage, "0755");
    MountRoot();
    MountProc(kRoot + "/proc");
    MountSys(kRoot + "/sys");
    MountDev(kRoot + "/dev");
    for (const FreshFolder& folder : kFreshFolders) {
        MountTmpfs(kRoot + folder.path, folder.mode);
    }
    MakeDirectories(kRoot + "/run/systemd/system");
    MakeDirectories(kRoot + "/run/sandbox");
    RemoveSystemctl();
    for (const Source& source : sources) {
        Place(source);
    }
    PivotInto(kRoot);
}

} // namespace VeskGround

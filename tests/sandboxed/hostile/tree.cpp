#include "tree.hpp"

#include <cstddef>
#include <cstring>
#include <dirent.h>
#include <memory>
#include <sstream>
#include <sys/stat.h>

#include "descriptor.hpp"
#include "files.hpp"

namespace VeskTest
{

namespace
{

constexpr const char* kRoots[] = {
    "/etc/systemd/system", "/run",     "/usr/lib/systemd/system", "/usr/local/lib/systemd/system",
    "/usr/vesk",           "/var/log", "/var/packages",           "/sys/fs/cgroup"};

std::string Contents(const std::string& path, const struct stat& status)
{
    if (S_ISLNK(status.st_mode)) {
        return VeskGround::ReadLink(path);
    }
    return S_ISREG(status.st_mode) ? ReadText(path) : "";
}

std::string Shown(const std::string& path, const struct stat& status)
{
    std::ostringstream text;
    text << std::oct << status.st_mode << std::dec << ' ' << status.st_uid << ':' << status.st_gid << ' '
         << Contents(path, status);
    return text.str();
}

void Add(const std::string& path, Tree& tree);

void AddEntries(const std::string& path, Tree& tree)
{
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir(path.c_str()), closedir);
    while (const dirent* entry = folder ? readdir(folder.get()) : nullptr) {
        if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0) {
            Add(path + "/" + entry->d_name, tree);
        }
    }
}

void Add(const std::string& path, Tree& tree)
{
    struct stat status {
    };
    if (path == "/run/sandbox" || lstat(path.c_str(), &status) != 0) {
        return;
    }
    tree[path] = Shown(path, status);
    if (S_ISDIR(status.st_mode)) {
        AddEntries(path, tree);
    }
}

} // namespace

Tree TreeNow()
{
    Tree tree;
    for (const char* root : kRoots) {
        Add(root, tree);
    }
    return tree;
}

Tree ChangesBetween(const Tree& before, const Tree& after)
{
    Tree changes;
    for (const auto& [path, shown] : after) {
        const auto old = before.find(path);
        if (old == before.end() || old->second != shown) {
            changes[path] = shown;
        }
    }
    for (const auto& entry : before) {
        if (after.count(entry.first) == 0) {
            changes[entry.first] = "";
        }
    }
    return changes;
}

} // namespace VeskTest

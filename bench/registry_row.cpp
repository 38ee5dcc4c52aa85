#include "rows.hpp"

#include <fcntl.h>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <sys/mount.h>
#include <unistd.h>
#include <vesksystemd.hpp>

#include "descriptor.hpp"
#include "error.hpp"
#include "files.hpp"
#include "mounts.hpp"
#include "programs.hpp"

namespace VeskBench
{

namespace
{

using VeskGround::Descriptor;
using VeskGround::Require;

constexpr double kMost = 1.2;

const std::string kFolder = "/usr/vesk/etc/vesksystemd/volume-register";
const std::string kRegistry = kFolder + "/service.service";

std::string Volumes(int count)
{
    std::string text = "[";
    for (int number = 0; number < count; ++number) {
        text += (number == 0 ? "\n\t\"/volume" : ",\n\t\"/volume") + std::to_string(number) + "\"";
    }
    return text + "\n]\n";
}

// One parse, one write, two syncs and a rename, with the JSON library that the library uses.
void RegisterBarely(const std::string& volume)
{
    Json::Value volumes;
    const std::string before = VeskTest::ReadText(kRegistry);
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    if (!reader->parse(before.data(), before.data() + before.size(), &volumes, nullptr)) {
        throw std::runtime_error("the registry cannot be parsed");
    }
    volumes.append(volume);
    const std::string after = Json::writeString(Json::StreamWriterBuilder(), volumes);
    const std::string path = kRegistry + ".new";
    const Descriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644));
    VeskGround::WriteAll(file.Get(), after, path);
    Require(fsync(file.Get()), "sync", path);
    const Descriptor folder(open(kFolder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    Require(rename(path.c_str(), kRegistry.c_str()), "rename", path);
    Require(fsync(folder.Get()), "sync", kFolder);
}

void Register(const std::string& volume)
{
    if (!VESKSystemdVolumeRegister("service.service", volume)) {
        throw std::runtime_error("the volume was not registered");
    }
}

void CompareOn(Row& row, const std::string& where, double most)
{
    const int count = row.Size(1000, 10);
    const auto reset = [&] { VeskTest::WriteText(kRegistry, Volumes(count)); };
    const std::string volume = "/volume/new";
    const auto makeFolders = [&] {
        RunProgram({"/bin/mkdir", "-p", kFolder});
        RunProgram({"/bin/mkdir", "-p", "/run/vesksystemd/locks"});
    };
    const std::string bare = "parse, write, sync, rename";
    const std::string prescribed = "the same with two mkdir -p";
    row.Compare({std::to_string(count) + " volumes, " + where,
                 {{bare, [&] { RegisterBarely(volume); }, reset},
                  {kLibrary, [&] { Register(volume); }, reset},
                  {prescribed,
                   [&] {
                       makeFolders();
                       RegisterBarely(volume);
                   },
                   reset}},
                 {{kLibrary, bare, most}, {kLibrary, prescribed, kMost}},
                 1,
                 "register"});
}

} // namespace

void MeasureRegistry(Row& row)
{
    CompareOn(row, "in memory", 0);
    if (!row.DiskFolder().empty()) {
        VeskGround::Bind(row.DiskFolder(), kFolder);
        CompareOn(row, "on a disk", kMost);
        Require(umount2(kFolder.c_str(), MNT_DETACH), "unmount", kFolder);
    }
}

} // namespace VeskBench

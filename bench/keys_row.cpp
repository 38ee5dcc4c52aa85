#include "rows.hpp"

#include <array>
#include <fcntl.h>
#include <glib.h>
#include <memory>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>
#include <vesksystemd.hpp>

#include "files.hpp"
#include "unit_files.hpp"

namespace VeskBench
{

namespace
{

using VeskTest::UnitFolder;

constexpr double kMost = 1.05;
constexpr double kMostBesideGLib = 0.6;

constexpr const char* kSection = "X-Veskline";
constexpr const char* kKey = "VolumeDependency";
constexpr const char* kValue = "partial";

// Thirty lines.
std::string Text(int number)
{
    return "# A service of the system.\n"
           "[Unit]\nDescription=Service number " +
           std::to_string(number) +
           "\nDocumentation=man:service(8)\nAfter=network.target local-fs.target\nWants=network.target\n"
           "IgnoreOnIsolate=yes\n\n"
           "[Service]\nType=notify\nExecStart=/usr/bin/program --foreground --configuration "
           "/etc/program.conf\n"
           "ExecReload=/bin/kill -HUP $MAINPID\nRestart=on-failure\nRestartSec=3\nEnvironment=LANG=C.UTF-8\n"
           "Slice=services.slice\nTimeoutStopSec=30\nKillMode=mixed\nLimitNOFILE=4096\n\n"
           "# What the system knows of it.\n"
           "[X-Veskline]\nName=Service\nNameI18n=service:name\nVolumeDependency=partial\nSkipListByMntPath="
           "no\n"
           "IsSupport=yes\n\n"
           "[Install]\nWantedBy=multi-user.target\n";
}

// The four folders in the order in which they are looked through.
const std::array<std::string, 4>& Folders()
{
    static const std::array<std::string, 4> folders{
        VeskTest::UnitFilePath(UnitFolder::UsrLocal, ""), VeskTest::UnitFilePath(UnitFolder::Usr, ""),
        VeskTest::UnitFilePath(UnitFolder::Etc, ""), VeskTest::UnitFilePath(UnitFolder::Run, "")};
    return folders;
}

std::vector<std::string> WriteUnits(int count)
{
    std::vector<std::string> units;
    for (int number = 0; number < count; ++number) {
        units.push_back("service" + std::to_string(number) + ".service");
        VeskTest::WriteUnitFile(UnitFolder::Run, units.back(), Text(number));
    }
    return units;
}

void Expect(bool found, const std::string& unit)
{
    if (!found) {
        throw std::runtime_error("the key of " + unit + " was not found");
    }
}

void ReadWithLibrary(const std::vector<std::string>& units)
{
    for (const std::string& unit : units) {
        Expect(VESK::Systemd::XVesklineKeyGet(unit, kKey) == kValue, unit);
    }
}

// Which folder has it, and all of what is in it.
void ReadBarely(const std::string& unit)
{
    static std::array<char, size_t{16} * 1024> text;
    std::array<char, PATH_MAX> path{};
    struct stat status {
    };
    for (const std::string& folder : Folders()) {
        folder.copy(path.data(), folder.size());
        unit.copy(path.data() + folder.size(), unit.size());
        path[folder.size() + unit.size()] = '\0';
        if (access(path.data(), F_OK) == 0) {
            break;
        }
    }
    const int file = open(path.data(), O_RDONLY | O_CLOEXEC);
    Expect(fstat(file, &status) == 0, unit);
    while (read(file, text.data(), text.size()) > 0) {
    }
    close(file);
}

void ReadWithGLib(const std::string& unit)
{
    const auto& folders = Folders();
    std::array<const gchar*, 5> searched{folders[0].c_str(), folders[1].c_str(), folders[2].c_str(),
                                         folders[3].c_str(), nullptr};
    const std::unique_ptr<GKeyFile, void (*)(GKeyFile*)> file(g_key_file_new(), g_key_file_unref);
    Expect(g_key_file_load_from_dirs(file.get(), unit.c_str(), searched.data(), nullptr, G_KEY_FILE_NONE,
                                     nullptr) != FALSE,
           unit);
    const std::unique_ptr<gchar, void (*)(gpointer)> value(
        g_key_file_get_string(file.get(), kSection, kKey, nullptr), g_free);
    Expect(value && value.get() == std::string(kValue), unit);
}

} // namespace

void MeasureKeys(Row& row)
{
    const int count = row.Size(10000, 200);
    const auto units = WriteUnits(count);
    const auto forEach = [&](void (*read)(const std::string&)) {
        return [&units, read] {
            for (const std::string& unit : units) {
                read(unit);
            }
        };
    };
    row.Compare({std::to_string(count) + " unit files of 30 lines",
                 {{kBare, forEach(ReadBarely)},
                  {kLibrary, [&] { ReadWithLibrary(units); }},
                  {"GLib", forEach(ReadWithGLib)}},
                 {{kLibrary, kBare, kMost}, {kLibrary, "GLib", kMostBesideGLib}},
                 static_cast<double>(count),
                 "file"});
}

} // namespace VeskBench

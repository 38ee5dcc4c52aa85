#pragma once

#include <functional>
#include <gmock/gmock.h>
#include <string>
#include <vector>
#include <vesksystemd.hpp>

#include "files.hpp"
#include "library_log.hpp"
#include "proc_spy.hpp"
#include "service_process.hpp"
#include "unit_files.hpp"

namespace VeskTest
{

using Words = std::vector<std::string>;

constexpr const char* kVolume = "/volume1";
constexpr const char* kScanFile = "systemd_service_list_by_mount_path.cpp";

// A file system of its own at a folder that it makes, as long as it lives.
class OwnFileSystem
{
public:
    explicit OwnFileSystem(const std::string& folder);
    ~OwnFileSystem();
    OwnFileSystem(const OwnFileSystem&) = delete;
    OwnFileSystem& operator=(const OwnFileSystem&) = delete;

private:
    std::string m_folder;
};

// What a process may do with a file. Run by the process itself; failures throw.
void WorkIn(const std::string& folder);
void OpenFile(const std::string& path);
// Keeps no descriptor.
void MapFile(const std::string& path);
void RunProgram(const std::string& path);
// A program that sleeps, at that path.
void AddProgram(const std::string& path);

// A machine with a volume at /volume1, which nothing uses, and without units.
class MountPathTest : public ::testing::Test
{
protected:
    MountPathTest();

    // The services that are listed for a mount path, sorted.
    static Words Services(const std::string& path = kVolume);
    // The files of the lines that the last scans logged.
    Words Files();

    static std::string Of(const ServiceProcess& process, const std::string& file);

    OwnFileSystem volume{kVolume};
    ProcSpy spy;
    SyslogCapture log;
};

} // namespace VeskTest

#pragma once

#include <gmock/gmock.h>
#include <optional>
#include <string>
#include <vector>
#include <vesksystemd.hpp>

#include "files.hpp"
#include "holdings.hpp"
#include "library_log.hpp"
#include "paths.hpp"
#include "scripted_program.hpp"

namespace VeskTest
{

using Words = std::vector<std::string>;
using LineMatcher = ::testing::Matcher<const SyslogLine&>;

constexpr const char* kFile = "systemd_volume_register.cpp";
constexpr const char* kLock = kRegisterLock;
constexpr const char* kUnitFolder = "/usr/vesk/etc/vesksystemd/volume-register/";

// One of the four changing operations, and how its function in C and its argument checks are called.
struct Change {
    const char* name;
    bool ofPackage;
    bool registers;
    bool (*run)(const std::string&, const std::string&);
    int (*cForm)(const char*, const char*);

    const char* Owner() const { return ofPackage ? "Package" : "Unit"; }
    // The files of the unit or package foo.
    std::string Folder() const;
    std::string File() const;
};

void PrintTo(const Change& change, std::ostream* stream);
const std::vector<Change>& Changes();

// Names tests after the rows that they are run with.
template <typename Row>
std::string NameOf(const ::testing::TestParamInfo<Row>& info)
{
    return info.param.name;
}

std::string UnitFile(const std::string& normalizedName);
std::string PackageFolder(const std::string& package);
std::string PackageFile(const std::string& package);

// The temporary file of this process.
std::string Temporary(const std::string& file);

std::string Quoted(const std::string& volume);

// The text of a registry file with elements that are given as JSON.
std::string Array(const Words& elements);
// The same with plain volumes.
std::string Volumes(const Words& volumes);

LineMatcher NotAvailable();
LineMatcher NotRead(const std::string& file);
LineMatcher NotAnArray(const std::string& file);
LineMatcher NotDumped(const std::string& file);
LineMatcher NotRenamed(const std::string& file, const std::string& reason);
// The error record as lines show it: "[0x0700 files.cpp:12]".
std::string ErrorRecord();

// Stands for /bin/mkdir while it lives.
class ScriptedMkdir
{
public:
    ScriptedMkdir();
    ~ScriptedMkdir();
    ScriptedMkdir(const ScriptedMkdir&) = delete;
    ScriptedMkdir& operator=(const ScriptedMkdir&) = delete;

    ScriptedProgram* operator->() { return &*m_program; }

private:
    std::optional<ScriptedProgram> m_program;
};

// A machine without registries, where the package foo is installed. At the end the lock is free, this process
// holds what it held before, and there is no temporary file of it.
class RegistryGround : public ::testing::Test
{
protected:
    RegistryGround();
    void TearDown() override;

    SyslogCapture log;
    Holdings before;
};

class RegistryChange : public RegistryGround, public ::testing::WithParamInterface<Change>
{
protected:
    // For the unit or package foo.
    static bool Run(const std::string& volume = "/volume1") { return GetParam().run("foo", volume); }
};

// A file is there that Run() replaces.
class RegistryReplacement : public RegistryChange
{
protected:
    RegistryReplacement();

    const std::string file;
    const std::string folder; // without a slash at its end
    const std::string oldText;
    const std::string newText;
};

} // namespace VeskTest

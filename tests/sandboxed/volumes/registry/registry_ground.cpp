#include "registry_ground.hpp"

#include <filesystem>
#include <ostream>
#include <unistd.h>

#include "file_locks.hpp"
#include "paths.hpp"

namespace VeskTest
{

namespace
{

constexpr const char* kMkdir = "/bin/mkdir";
constexpr const char* kRealMkdir = "/tmp/real-mkdir";

// All files below the folders of registries.
Words AllFiles()
{
    Words files;
    for (const char* folder : {kStateFolder, kPackages}) {
        if (std::filesystem::is_directory(folder)) {
            for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
                files.push_back(entry.path());
            }
        }
    }
    return files;
}

} // namespace

std::string Change::Folder() const
{
    return ofPackage ? PackageFolder("foo") : kUnitFolder;
}

std::string Change::File() const
{
    return ofPackage ? PackageFile("foo") : UnitFile("foo.service");
}

void PrintTo(const Change& change, std::ostream* stream)
{
    *stream << change.name;
}

const std::vector<Change>& Changes()
{
    static const std::vector<Change> changes = {
        {"Register", false, true, VESKSystemdVolumeRegister, VESKCSystemdVolumeRegister},
        {"Unregister", false, false, VESKSystemdVolumeUnregister, VESKCSystemdVolumeUnregister},
        {"PackageRegister", true, true, VESKSystemdPackageVolumeRegister, VESKCSystemdPackageVolumeRegister},
        {"PackageUnregister", true, false, VESKSystemdPackageVolumeUnregister,
         VESKCSystemdPackageVolumeUnregister},
    };
    return changes;
}

std::string UnitFile(const std::string& normalizedName)
{
    return kUnitFolder + normalizedName;
}

std::string PackageFolder(const std::string& package)
{
    return PackageRegisterFolder(package) + "/";
}

std::string PackageFile(const std::string& package)
{
    return PackageFolder(package) + "reg_volume";
}

std::string Temporary(const std::string& file)
{
    return file + ".tmp." + std::to_string(getpid());
}

std::string Quoted(const std::string& volume)
{
    return '"' + volume + '"';
}

std::string Array(const Words& elements)
{
    std::string text;
    for (const std::string& element : elements) {
        text += (text.empty() ? "[\n\t" : ",\n\t") + element;
    }
    return elements.empty() ? "[]\n" : text + "\n]\n";
}

std::string Volumes(const Words& volumes)
{
    Words elements;
    for (const std::string& volume : volumes) {
        elements.push_back(Quoted(volume));
    }
    return Array(elements);
}

LineMatcher NotAvailable()
{
    return Info(kFile, std::string("vesksystemd: lock [") + kLock + "] is not available.");
}

LineMatcher NotRead(const std::string& file)
{
    return Error(kFile, "vesksystemd: Fail to read volume register file [" + file + "]");
}

LineMatcher NotAnArray(const std::string& file)
{
    return Error(kFile, "vesksystemd: Volume register file [" + file + "] is not an json array");
}

LineMatcher NotDumped(const std::string& file)
{
    return Error(kFile, "vesksystemd: Fail to dump json file to [" + Temporary(file) + "]");
}

LineMatcher NotRenamed(const std::string& file, const std::string& reason)
{
    return Error(kFile,
                 "vesksystemd: Fail to rename [" + Temporary(file) + "] to [" + file + "] (" + reason + ")");
}

std::string ErrorRecord()
{
    char code[16];
    snprintf(code, sizeof code, "0x%04X", static_cast<unsigned>(VLIBCErrGet()));
    return std::string("[") + code + " " + VLIBCErrorGetFile() + ":" + std::to_string(VLIBCErrorGetLine()) +
           "]";
}

ScriptedMkdir::ScriptedMkdir()
{
    std::filesystem::copy_file(kMkdir, kRealMkdir, std::filesystem::copy_options::overwrite_existing);
    m_program.emplace(kMkdir);
}

ScriptedMkdir::~ScriptedMkdir()
{
    std::filesystem::remove(kMkdir);
    std::filesystem::copy_file(kRealMkdir, kMkdir);
}

RegistryGround::RegistryGround()
{
    for (const char* folder : {kRunFolder, "/usr/vesk/etc", "/var/packages/foo"}) {
        RemoveAll(folder);
    }
    MakeFolder("/var/packages/foo");
    before = Holdings::Now();
}

void RegistryGround::TearDown()
{
    EXPECT_TRUE(IsLockFree(kLock));
    EXPECT_EQ(Holdings::Now(), before);
    EXPECT_THAT(AllFiles(),
                ::testing::Each(::testing::Not(::testing::EndsWith(".tmp." + std::to_string(getpid())))));
}

RegistryReplacement::RegistryReplacement()
    : file(GetParam().File())
    , folder(std::filesystem::path(file).parent_path())
    , oldText(R"( ["/volume2",1.50] )")
    , newText(GetParam().registers ? Array({Quoted("/volume2"), "1.50", Quoted("/volume1")})
                                   : Array({Quoted("/volume2"), "1.50"}))
{
    WriteText(file, oldText);
}

} // namespace VeskTest

#include "vesksystemd.hpp"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <fstream>
#include <json/json.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/c_forms.hpp"
#include "core/log.hpp"
#include "core/unique_fd.hpp"

using std::string;
using VESK::Systemd::CForm;
using VESK::Systemd::FileLock;
using VESK::Systemd::UniqueFd;

namespace
{

constexpr const char* kRegistryFile = "reg_volume";

/** A registry file: whose volumes it holds, and where. */
struct Registry {
    string strDirectory;
    string strFile;

    string PathGet() const { return strDirectory + strFile; }
};

Registry UnitRegistry(const string& strUnit)
{
    return {"/usr/vesk/etc/vesksystemd/volume-register/", VESK::Systemd::NormalizedUnitNameGet(strUnit)};
}

string PackageDirectory(const string& strPackage)
{
    return "/var/packages/" + strPackage;
}

Registry PackageRegistry(const string& strPackage)
{
    return {PackageDirectory(strPackage) + "/etc/veskpkg_conf/", kRegistryFile};
}

bool Parse(std::istream& stream, Json::Value& value)
{
    Json::CharReaderBuilder builder;
    Json::CharReaderBuilder::strictMode(&builder.settings_);
    builder["strictRoot"] = false;
    try {
        return Json::parseFromStream(builder, stream, &value, nullptr);
    } catch (const std::exception&) {
        return false;
    }
}

/** The registered volumes; none when there is no file yet. */
bool Read(const string& strPath, Json::Value& volumes)
{
    volumes = Json::Value(Json::arrayValue);
    if (access(strPath.c_str(), F_OK) != 0) {
        return true;
    }
    std::ifstream stream(strPath);
    if (!stream || !Parse(stream, volumes)) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Fail to read volume register file [%s]", VESK_HERE,
                 strPath.c_str());
        return false;
    }
    if (!volumes.isArray()) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Volume register file [%s] is not an json array", VESK_HERE,
                 strPath.c_str());
        return false;
    }
    return true;
}

bool WriteAll(int fd, std::string_view svText)
{
    while (!svText.empty()) {
        const ssize_t cbWritten = write(fd, svText.data(), svText.size());
        if (cbWritten < 0 && errno != EINTR) {
            return false;
        }
        svText.remove_prefix(cbWritten < 0 ? 0 : static_cast<size_t>(cbWritten));
    }
    return true;
}

/** Writes a file so that it is on the disk when this returns. */
bool Dump(const string& strPath, const Json::Value& volumes)
{
    Json::StreamWriterBuilder builder;
    builder["emitUTF8"] = true;
    const string strText = Json::writeString(builder, volumes) + "\n";
    UniqueFd fd(open(strPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
    return fd.IsOpen() && WriteAll(fd.Get(), strText) && fsync(fd.Get()) == 0 && fd.Close();
}

/** Moves a file onto another so that the disk holds the one or the other, whenever the power goes. */
bool Replace(const string& strFrom, const Registry& registry)
{
    if (rename(strFrom.c_str(), registry.PathGet().c_str()) != 0) {
        return false;
    }
    const UniqueFd directory(open(registry.strDirectory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return directory.IsOpen() && fsync(directory.Get()) == 0;
}

bool Write(const Registry& registry, const Json::Value& volumes)
{
    const string strPath = registry.PathGet();
    const string strTemporary = strPath + ".tmp." + std::to_string(getpid());
    bool blResult = false;
    if (!Dump(strTemporary, volumes)) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Fail to dump json file to [%s]", VESK_HERE,
                 strTemporary.c_str());
    } else if (!Replace(strTemporary, registry)) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Fail to rename [%s] to [%s] (%m)", VESK_HERE,
                 strTemporary.c_str(), strPath.c_str());
    } else {
        blResult = true;
    }
    unlink(strTemporary.c_str());
    return blResult;
}

bool IsVolume(const Json::Value& element, const string& strVolume)
{
    return element.isString() && element.asString() == strVolume;
}

bool IsRegistered(const Json::Value& volumes, const string& strVolume)
{
    return std::any_of(volumes.begin(), volumes.end(),
                       [&](const Json::Value& element) { return IsVolume(element, strVolume); });
}

/** Runs a change of the registries while nobody else changes one. */
template <typename Change>
bool Locked(Change&& change)
{
    FileLock lock("/run/vesksystemd/locks/volume-register.lock", true, 0);
    if (!lock.Acquire()) {
        VESK_LOG(LOG_INFO, "%s:%d vesksystemd: lock [%s] is not available.", VESK_HERE,
                 lock.PathGet().c_str());
        return false;
    }
    return change();
}

bool Register(const Registry& registry, const string& strVolume)
{
    return Locked([&] {
        if (VLIBCExec("/bin/mkdir", "-p", registry.strDirectory.c_str(), nullptr, nullptr) < 0) {
            VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Fail to mkdir [%s] [0x%04X %s:%d]", VESK_HERE,
                     registry.strDirectory.c_str(), VESK_PLATFORM_ERROR);
            return false;
        }
        Json::Value volumes;
        if (!Read(registry.PathGet(), volumes)) {
            return false;
        }
        if (IsRegistered(volumes, strVolume)) {
            return true;
        }
        volumes.append(strVolume);
        return Write(registry, volumes);
    });
}

bool Unregister(const Registry& registry, const string& strVolume)
{
    return Locked([&] {
        Json::Value volumes;
        if (!Read(registry.PathGet(), volumes)) {
            return false;
        }
        Json::Value remaining(Json::arrayValue);
        for (const Json::Value& element : volumes) {
            if (!IsVolume(element, strVolume)) {
                remaining.append(element);
            }
        }
        return Write(registry, remaining);
    });
}

bool IsAnyRegistered(const Registry& registry, const std::vector<string>& vecVolumes)
{
    Json::Value volumes;
    return Read(registry.PathGet(), volumes) &&
           std::any_of(vecVolumes.begin(), vecVolumes.end(),
                       [&](const string& strVolume) { return IsRegistered(volumes, strVolume); });
}

bool IsVolumePath(const string& strVolume)
{
    return VESK_ARGUMENT(!strVolume.empty()) && VESK_ARGUMENT('/' == strVolume.front()) &&
           VESK_ARGUMENT('/' != strVolume.back());
}

} // namespace

bool VESKSystemdVolumeRegister(const string& strUnit, const string& strVolume)
{
    return VESK_ARGUMENT(!strUnit.empty()) && IsVolumePath(strVolume) &&
           Register(UnitRegistry(strUnit), strVolume);
}

bool VESKSystemdVolumeUnregister(const string& strUnit, const string& strVolume)
{
    return VESK_ARGUMENT(!strUnit.empty()) && IsVolumePath(strVolume) &&
           Unregister(UnitRegistry(strUnit), strVolume);
}

bool VESKSystemdPackageVolumeRegister(const string& strPackage, const string& strVolume)
{
    if (!VESK_ARGUMENT(!strPackage.empty()) || !IsVolumePath(strVolume)) {
        return false;
    }
    const string strDirectory = PackageDirectory(strPackage);
    if (VLIBCFileCheckDir(strDirectory.c_str()) == 0) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Fail to VLIBCFileCheckDir on [%s] [0x%04X %s:%d]", VESK_HERE,
                 strDirectory.c_str(), VESK_PLATFORM_ERROR);
        return false;
    }
    return Register(PackageRegistry(strPackage), strVolume);
}

bool VESKSystemdPackageVolumeUnregister(const string& strPackage, const string& strVolume)
{
    return VESK_ARGUMENT(!strPackage.empty()) && IsVolumePath(strVolume) &&
           Unregister(PackageRegistry(strPackage), strVolume);
}

bool VESKSystemdVolumeIsRegisteredByUnit(const string& strUnit, const std::vector<string>& vecVolumes)
{
    return !strUnit.empty() && !vecVolumes.empty() && IsAnyRegistered(UnitRegistry(strUnit), vecVolumes);
}

bool VESKSystemdVolumeIsRegisteredByPackage(const string& strPackage, const std::vector<string>& vecVolumes)
{
    return !strPackage.empty() && !vecVolumes.empty() &&
           IsAnyRegistered(PackageRegistry(strPackage), vecVolumes);
}

int VESKCSystemdVolumeRegister(const char* szUnit, const char* szVolume)
{
    return CForm([&] {
        return VESK_ARGUMENT(nullptr != szUnit) && VESK_ARGUMENT(nullptr != szVolume) &&
               VESKSystemdVolumeRegister(szUnit, szVolume);
    });
}

int VESKCSystemdVolumeUnregister(const char* szUnit, const char* szVolume)
{
    return CForm([&] {
        return VESK_ARGUMENT(nullptr != szUnit) && VESK_ARGUMENT(nullptr != szVolume) &&
               VESKSystemdVolumeUnregister(szUnit, szVolume);
    });
}

int VESKCSystemdPackageVolumeRegister(const char* szPackage, const char* szVolume)
{
    return CForm([&] {
        return VESK_ARGUMENT(nullptr != szPackage) && VESK_ARGUMENT(nullptr != szVolume) &&
               VESKSystemdPackageVolumeRegister(szPackage, szVolume);
    });
}

int VESKCSystemdPackageVolumeUnregister(const char* szPackage, const char* szVolume)
{
    return CForm([&] {
        return VESK_ARGUMENT(nullptr != szPackage) && VESK_ARGUMENT(nullptr != szVolume) &&
               VESKSystemdPackageVolumeUnregister(szPackage, szVolume);
    });
}

#include "volumes/mount_path_scan.hpp"

#include <algorithm>
#include <utility>

#include "core/directory.hpp"
#include "core/file_system.hpp"
#include "volumes/mounted_files.hpp"
#include "volumes/process_files.hpp"

namespace VESK::Systemd
{
namespace
{

class Scan
{
public:
    explicit Scan(const Texts& vecMntPaths)
        : m_files(vecMntPaths)
        , m_vecUsers(vecMntPaths.size())
    {
        for (size_t nMount = 0; nMount < m_vecUsers.size(); ++nMount) {
            m_vecUsers[nMount].blComplete = !IsShortage(m_files.Error(nMount));
        }
    }

    std::vector<MountPathUsers> Run()
    {
        try {
            if (!Walk()) {
                ForEachComplete([](MountPathUsers& users) { users.blComplete = false; });
            }
        } catch (...) {
            ForEachComplete([](MountPathUsers& users) { users.exception = std::current_exception(); });
        }
        return std::move(m_vecUsers);
    }

private:
    /** False when the list of processes breaks off. */
    bool Walk()
    {
        Directory processes("/proc/");
        while (SoughtSet()) {
            const char* szEntry = processes.Next();
            if (szEntry == nullptr) {
                return processes.Error() == 0;
            }
            if (*szEntry >= '0' && *szEntry <= '9') {
                ProcessScan(std::stoi(szEntry));
            }
        }
        return true;
    }

    void ProcessScan(int nPid)
    {
        m_vecHits.clear();
        m_blUntold = false;
        const bool blAll =
            m_processes.Visit(nPid, [this](FileUse, std::string_view svPath) { return Take(svPath); });
        for (const size_t nMount : blAll && !m_blUntold ? std::vector<size_t>() : m_vecSought) {
            m_vecUsers[nMount].blComplete = false;
        }
        if (m_vecHits.empty()) {
            return;
        }
        const auto pGroups = std::make_shared<const CgroupText>(CgroupTextRead(nPid));
        for (auto& [nMount, strFile] : m_vecHits) {
            m_vecUsers[nMount].vecUsers.push_back({std::move(strFile), pGroups});
        }
    }

    /** Takes a path of the process; false when the process is known to use all that is sought. */
    bool Take(std::string_view svPath)
    {
        const MountedFiles::File& file = m_files.Find(svPath);
        m_blUntold = m_blUntold || IsShortage(file.nError);
        for (const size_t nMount : file.vecMounts) {
            const auto it = std::find(m_vecSought.begin(), m_vecSought.end(), nMount);
            if (it != m_vecSought.end()) {
                m_vecSought.erase(it);
                m_vecHits.emplace_back(nMount, file.strPath);
            }
        }
        return !m_vecSought.empty();
    }

    /** Has the next process looked at for the mount paths of which all is known so far; false when there are none. */
    bool SoughtSet()
    {
        m_vecSought.clear();
        ForEachComplete([this](MountPathUsers& users) {
            m_vecSought.push_back(static_cast<size_t>(&users - m_vecUsers.data()));
        });
        return !m_vecSought.empty();
    }

    void ForEachComplete(const std::function<void(MountPathUsers&)>& act)
    {
        for (MountPathUsers& users : m_vecUsers) {
            if (users.blComplete) {
                act(users);
            }
        }
    }

    MountedFiles m_files;
    ProcessFiles m_processes;
    std::vector<MountPathUsers> m_vecUsers;
    /** Of the process that is looked at: the mount paths that no file was found on yet, and what was found. */
    std::vector<size_t> m_vecSought;
    std::vector<std::pair<size_t, std::string>> m_vecHits;
    bool m_blUntold = false;
};

} // namespace

std::vector<MountPathUsers> MountPathScan(const Texts& vecMntPaths)
{
    return Scan(vecMntPaths).Run();
}

} // namespace VESK::Systemd

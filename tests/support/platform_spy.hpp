// What the library asks the platform and the clock for, seen from this program: it defines the calls itself
// and passes them on.
#pragma once

#include <atomic>
#include <cerrno>
#include <functional>
#include <map>
#include <mutex>
#include <ostream>
#include <string>
#include <vector>

namespace VeskTest
{

struct LockRequest {
    std::string path;
    bool exclusive = false;
    int timeout = 0;
};
bool operator==(const LockRequest& left, const LockRequest& right);
std::ostream& operator<<(std::ostream& stream, const LockRequest& request);

// One at a time. Sees the calls of this process; those of forked children only where it says so.
class PlatformSpy
{
public:
    PlatformSpy();
    ~PlatformSpy();
    PlatformSpy(const PlatformSpy&) = delete;
    PlatformSpy& operator=(const PlatformSpy&) = delete;

    // The locks that were asked for, in their order. Not while other threads ask.
    const std::vector<LockRequest>& Locks() const { return m_locks; }
    // From now on a lock that is not free is not waited for.
    void DoNotWaitForLocks() { m_waitForLocks = false; }

    // The forks through the platform so far.
    int Forks() const { return m_forks; }
    // The fork with that number, from 1, fails with the error record {0x1234, "fork.c", 7}.
    void FailFork(int number) { m_failingFork = number; }
    // Runs before each fork, with its number.
    void OnFork(std::function<void(int)> action) { m_onFork = std::move(action); }

    // The writing of a section with that number, from 1, fails.
    void FailSection(int number) { m_failingSection = number; }

    // From now on no table takes a key of that name.
    void FailKey(const std::string& key) { m_failingKey = key; }
    bool FailsKey(const std::string& key) const { return key == m_failingKey; }

    // From now on no folder of /proc can be opened.
    void HideProcesses() { m_processesHidden = true; }
    // From now on that folder cannot be opened.
    void HideFolder(const std::string& path, int error = EMFILE)
    {
        m_hiddenFolder = path;
        m_folderError = error;
    }
    // The errno of a folder that is hidden.
    int FolderError() const { return m_folderError; }
    // Once only.
    void HideFolderOnce(const std::string& path) { m_folderHiddenOnce = path; }
    // How often the folder was to be opened.
    int Openings(const std::string& folder) { return m_openings[folder]; }
    bool IsHidden(const std::string& folder)
    {
        ++m_openings[folder];
        if (folder == m_folderHiddenOnce) {
            m_folderHiddenOnce.clear();
            return true;
        }
        return folder == m_hiddenFolder || (m_processesHidden && folder.rfind("/proc/", 0) == 0);
    }

    // From now on the library's pauses take no time, those of forked children included.
    void StopTheClock() const;
    // The pauses of a second and those of half a second, those of forked children included.
    int Seconds() const;
    int HalfSeconds() const;
    // Runs in place of each pause of a second.
    void OnSecond(std::function<void()> action) { m_onSecond = std::move(action); }

    // For the calls that stand for the platform's.
    int Lock(const char* path, bool mode, int timeout, int* descriptor);
    int Fork(unsigned long long flags);
    bool FailsSection() { return ++m_sections == m_failingSection; }
    bool PauseSecond();
    bool PauseHalfSecond();

private:
    struct Shared;

    std::mutex m_mutex;
    std::vector<LockRequest> m_locks;
    bool m_waitForLocks = true;
    std::atomic<int> m_forks{0};
    int m_failingFork = 0;
    std::atomic<int> m_sections{0};
    int m_failingSection = 0;
    std::string m_failingKey;
    bool m_processesHidden = false;
    std::string m_hiddenFolder;
    std::string m_folderHiddenOnce;
    std::map<std::string, int> m_openings;
    int m_folderError = EMFILE;
    std::function<void(int)> m_onFork;
    std::function<void()> m_onSecond;
    Shared* m_shared;
};

} // namespace VeskTest

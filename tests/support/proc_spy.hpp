// What the library reads of /proc, seen and replaced from this program: it defines open(), read(), opendir(),
// readdir(), realpath(), lstat(), stat() and ioctl() itself and passes them on.
#pragma once

#include <dirent.h>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace VeskTest
{

// One at a time.
class ProcSpy
{
public:
    ProcSpy();
    ~ProcSpy();
    ProcSpy(const ProcSpy&) = delete;
    ProcSpy& operator=(const ProcSpy&) = delete;

    // The files below /proc that were to be opened since the last call, in their order.
    std::vector<std::string> TakeOpened();

    // From now on that text is read in place of the file.
    void Show(const std::string& path, const std::string& text);
    // From now on the file or folder cannot be opened: as one that is not there, or with another errno.
    void Hide(const std::string& path);
    void Fail(const std::string& path, int error);
    // The next time that a call of that text is made, "realpath PATH", "lstat PATH" or "stat PATH", it fails.
    void FailOnce(const std::string& call, int error) { m_failingOnce[call] = error; }
    // After so many answers the kernel cannot be asked for single mappings any more.
    void FailAsking(int error, int answers = 0)
    {
        m_askingError = error;
        m_askingLeft = answers;
    }
    // From now on the folder's list breaks off at its first entry.
    void BreakOff(const std::string& path, int error) { m_breaking[path] = error; }
    // From now on reading the file fails.
    void FailReading(const std::string& path, int error);
    // From now on OPEN opens the file.
    void Replace(const std::string& path, std::function<int()> open);

    // Runs before the file or folder is opened.
    void Before(const std::string& path, std::function<void()> action);
    // Runs before an entry of /proc is given.
    void BeforeProcess(const std::string& entry, std::function<void()> action);

    // From now on the list of processes begins with another entry.
    void AddProcess(const std::string& entry) { m_added = entry; }

    // For the calls that stand for the C library's.
    bool Open(const std::string& path, int& descriptor);
    bool FailsReading(int descriptor);
    bool FailsAsking();
    bool FailsOnce(const std::string& call);
    bool OpenFolder(const std::string& path);
    void FolderIsOpen(const std::string& path, const DIR* folder);
    dirent* Read(DIR* folder, const std::function<dirent*()>& read);

private:
    using Actions = std::map<std::string, std::function<void()>>;
    static void Run(const Actions& actions, const std::string& name);
    bool Fails(const std::string& path) const;

    std::vector<std::string> m_opened;
    std::map<std::string, int> m_errors;
    std::map<std::string, std::function<int()>> m_replaced;
    std::map<int, int> m_unreadable;
    std::map<std::string, int> m_failingOnce;
    int m_askingError = 0;
    int m_askingLeft = 0;
    std::map<std::string, int> m_breaking;
    std::map<const DIR*, int> m_broken;
    Actions m_before;
    Actions m_beforeProcess;
    std::string m_added;
    const DIR* m_processes = nullptr;
    dirent m_entry{};
};

} // namespace VeskTest

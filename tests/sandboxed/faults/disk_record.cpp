#include "disk_record.hpp"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <fcntl.h>
#include <optional>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

#include "descriptor.hpp"
#include "error.hpp"

namespace VeskTest
{

namespace
{

std::string MemoryOf(pid_t pid, unsigned long long address, std::size_t size)
{
    std::string bytes(size, '\0');
    iovec local{bytes.data(), size};
    // NOLINTNEXTLINE(performance-no-int-to-ptr): another process's
    iovec remote{reinterpret_cast<void*>(address), size};
    const ssize_t got = process_vm_readv(pid, &local, 1, &remote, 1, 0);
    bytes.resize(got < 0 ? 0 : static_cast<std::size_t>(got));
    return bytes;
}

// Byte by byte, since what follows a text may not be there.
std::string TextOf(pid_t pid, unsigned long long address)
{
    std::string text;
    for (;;) {
        const std::string byte = MemoryOf(pid, address + text.size(), 1);
        if (byte.empty() || byte[0] == '\0') {
            return text;
        }
        text += byte;
    }
}

std::string PathOf(pid_t pid, unsigned long long descriptor)
{
    return VeskGround::ReadLink("/proc/" + std::to_string(pid) + "/fd/" +
                                std::to_string(static_cast<int>(descriptor)));
}

class Recorder
{
public:
    Recorder(std::string folder, const std::function<void()>& function)
        : m_folder(std::move(folder))
        , m_pid(VeskGround::Require(fork(), "fork", ""))
    {
        if (m_pid == 0) {
            ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
            raise(SIGSTOP);
            function();
            _exit(0);
        }
    }

    std::vector<DiskCall> Record()
    {
        int status = Await();
        ptrace(PTRACE_SETOPTIONS, m_pid, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
        int signal = 0;
        for (bool inside = false;;) {
            ptrace(PTRACE_SYSCALL, m_pid, nullptr, signal);
            status = Await();
            if (WIFEXITED(status) || WIFSIGNALED(status)) {
                return m_calls;
            }
            const bool isCall = WSTOPSIG(status) == (SIGTRAP | 0x80);
            signal = isCall ? 0 : WSTOPSIG(status);
            if (isCall) {
                inside ? Leave() : Enter();
                inside = !inside;
            }
        }
    }

private:
    int Await() const
    {
        int status = 0;
        while (waitpid(m_pid, &status, __WALL) < 0 && errno == EINTR) {
        }
        return status;
    }

    user_regs_struct Registers() const
    {
        user_regs_struct registers{};
        ptrace(PTRACE_GETREGS, m_pid, nullptr, &registers);
        return registers;
    }

    void Enter()
    {
        const user_regs_struct at = Registers();
        m_call.reset();
        using Kind = DiskCall::Kind;
        switch (at.orig_rax) {
        case SYS_rename:
            m_call = DiskCall{Kind::Rename, TextOf(m_pid, at.rdi), TextOf(m_pid, at.rsi)};
            break;
        case SYS_renameat:
        case SYS_renameat2:
            m_call = DiskCall{Kind::Rename, TextOf(m_pid, at.rsi), TextOf(m_pid, at.r10)};
            break;
        case SYS_unlink:
            m_call = DiskCall{Kind::Unlink, TextOf(m_pid, at.rdi), ""};
            break;
        case SYS_unlinkat:
            m_call = DiskCall{Kind::Unlink, TextOf(m_pid, at.rsi), ""};
            break;
        case SYS_write:
        case SYS_pwrite64:
            m_call = DiskCall{Kind::Write, PathOf(m_pid, at.rdi), MemoryOf(m_pid, at.rsi, at.rdx)};
            break;
        case SYS_ftruncate:
            m_call = DiskCall{Kind::Cut, PathOf(m_pid, at.rdi), ""};
            break;
        case SYS_fsync:
        case SYS_fdatasync:
            m_call = DiskCall{Kind::SyncFile, PathOf(m_pid, at.rdi), ""};
            break;
        case SYS_syncfs:
            m_call = DiskCall{Kind::SyncAll, PathOf(m_pid, at.rdi), ""};
            break;
        case SYS_openat:
            NoteOpen(at.rdx);
            break;
        case SYS_open:
            NoteOpen(at.rsi);
            break;
        default:
            break;
        }
    }

    void NoteOpen(unsigned long long flags)
    {
        if ((flags & O_CREAT) != 0) {
            m_call = DiskCall{DiskCall::Kind::Create, "", ""};
        } else if ((flags & O_TRUNC) != 0) {
            m_call = DiskCall{DiskCall::Kind::Cut, "", ""};
        }
    }

    void Leave()
    {
        const auto result = static_cast<long long>(Registers().rax);
        if (!m_call || result < 0) {
            return;
        }
        if (m_call->path.empty()) {
            m_call->path = PathOf(m_pid, static_cast<unsigned long long>(result));
        }
        if (m_call->kind == DiskCall::Kind::Write) {
            m_call->other.resize(static_cast<std::size_t>(result));
        }
        if (m_call->kind == DiskCall::Kind::SyncFile && m_call->path + "/" == m_folder) {
            m_call->kind = DiskCall::Kind::SyncFolder;
        }
        if (m_call->path.rfind(m_folder, 0) == 0 || m_call->path + "/" == m_folder) {
            m_calls.push_back(*m_call);
        }
    }

    std::string m_folder; // with a slash at its end
    pid_t m_pid;
    std::optional<DiskCall> m_call;
    std::vector<DiskCall> m_calls;
};

// A file, whatever its names are: what is sure to be on the disk, and what was written since.
struct File {
    std::string synced;
    std::string text;
    bool isCut = false; // after what was synced
};

// A change of the folder that is not sure to be on the disk.
struct Renaming {
    std::string path;
    int file = -1; // that the path leads to from then on, -1 for none
    std::string gone;
};

class Disk
{
public:
    explicit Disk(const std::map<std::string, std::string>& before)
    {
        for (const auto& [path, text] : before) {
            m_now[path] = Add({text, text, false});
        }
        m_synced = m_now;
    }

    void Take(const DiskCall& call)
    {
        switch (call.kind) {
        case DiskCall::Kind::Create:
            if (m_now.count(call.path) == 0) {
                Change({call.path, Add({}), ""});
            }
            break;
        case DiskCall::Kind::Write:
            m_files[FileAt(call.path)].text += call.other;
            break;
        case DiskCall::Kind::Cut:
            m_files[FileAt(call.path)].text.clear();
            m_files[FileAt(call.path)].isCut = true;
            break;
        case DiskCall::Kind::SyncFile:
            SyncFile(m_files[FileAt(call.path)]);
            break;
        case DiskCall::Kind::SyncFolder:
            SyncFolder();
            break;
        case DiskCall::Kind::SyncAll:
            SyncFolder();
            std::for_each(m_files.begin(), m_files.end(), SyncFile);
            break;
        case DiskCall::Kind::Rename:
            Change({call.other, m_now.at(call.path), call.path});
            break;
        case DiskCall::Kind::Unlink:
            Change({call.path, -1, ""});
            break;
        }
    }

    std::set<std::string> TextsOf(const std::string& path) const
    {
        std::set<std::string> texts;
        // Any of the changes of the folder may have come to the disk.
        for (unsigned chosen = 0; chosen < 1U << m_changes.size(); ++chosen) {
            std::map<std::string, int> names = m_synced;
            for (std::size_t i = 0; i < m_changes.size(); ++i) {
                if ((chosen >> i & 1U) != 0) {
                    Apply(m_changes[i], names);
                }
            }
            const auto found = names.find(path);
            if (found == names.end()) {
                texts.insert("");
            } else {
                AddTexts(m_files[static_cast<std::size_t>(found->second)], texts);
            }
        }
        return texts;
    }

private:
    int Add(const File& file)
    {
        m_files.push_back(file);
        return static_cast<int>(m_files.size()) - 1;
    }

    std::size_t FileAt(const std::string& path) const { return static_cast<std::size_t>(m_now.at(path)); }

    void Change(const Renaming& change)
    {
        Apply(change, m_now);
        m_changes.push_back(change);
    }

    static void Apply(const Renaming& change, std::map<std::string, int>& names)
    {
        names.erase(change.gone);
        if (change.file < 0) {
            names.erase(change.path);
        } else {
            names[change.path] = change.file;
        }
    }

    static void SyncFile(File& file)
    {
        file.synced = file.text;
        file.isCut = false;
    }

    void SyncFolder()
    {
        m_synced = m_now;
        m_changes.clear();
    }

    // Of what was written any part from the front, with what was synced before it or cut away.
    static void AddTexts(const File& file, std::set<std::string>& texts)
    {
        texts.insert("\"" + file.synced + "\"");
        const std::size_t least = file.isCut ? 0 : std::min(file.synced.size(), file.text.size());
        for (std::size_t size = least; size <= file.text.size(); ++size) {
            texts.insert("\"" + file.text.substr(0, size) + "\"");
        }
    }

    std::vector<File> m_files;
    std::map<std::string, int> m_now;
    std::map<std::string, int> m_synced;
    std::vector<Renaming> m_changes;
};

} // namespace

std::string ShownCall(const DiskCall& call)
{
    constexpr const char* kNames[] = {"create",      "write",    "cut",    "sync",
                                      "sync folder", "sync all", "rename", "unlink"};
    return std::string(kNames[static_cast<std::size_t>(call.kind)]) + " " + call.path +
           (call.kind == DiskCall::Kind::Rename ? " " + call.other : "");
}

std::vector<DiskCall> RecordDiskCalls(const std::string& folder, const std::function<void()>& function)
{
    return Recorder(folder, function).Record();
}

std::set<std::string> TextsAfterPowerCut(const std::map<std::string, std::string>& before,
                                         const std::vector<DiskCall>& calls, std::size_t count,
                                         const std::string& path)
{
    Disk disk(before);
    std::for_each_n(calls.begin(), count, [&](const DiskCall& call) { disk.Take(call); });
    return disk.TextsOf(path);
}

} // namespace VeskTest

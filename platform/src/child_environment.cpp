#include "child_environment.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <sys/uio.h>
#include <unistd.h>

namespace VESK::Platform
{
namespace
{

/**
 * What children do not get; a name with "*" stands for all that begin so. veskcore.h tells callers.
 *
 * Kept are, among others, what a user's systemctl finds its manager by (XDG_RUNTIME_DIR and
 * DBUS_SESSION_BUS_ADDRESS), and the locale: systemctl's messages have no translations.
 */
constexpr std::string_view kWithheld[] = {
    // Everything that systemd's programs read: what is logged, colours, links, the pager, the bus, where unit
    // files are, whether there is a manager at all.
    "SYSTEMD_*",
    "SYSTEMCTL_*",
    "PAGER",
    "LESS",
    "LESSCHARSET",
    "NO_COLOR",
    "COLORTERM",
    // Another bus.
    "DBUS_SYSTEM_BUS_ADDRESS",
    "DBUS_STARTER_ADDRESS",
    "DBUS_STARTER_BUS_TYPE",
    // The width to which tables are cut; the height that a pager gets.
    "COLUMNS",
    "LINES",
    // With it options behind the verb are taken for units.
    "POSIXLY_CORRECT",
    // Other columns and other options of ps.
    "PS_*",
    "CMD_ENV",
    "UNIX95",
    "I_WANT_A_BROKEN_PS",
};

/** Enough for any pause between two changes, and an end for a caller that changes without pause. */
constexpr int kMostCopies = 1000;
constexpr std::size_t kPage = 4096;

bool Matches(std::string_view name, std::string_view pattern)
{
    if (pattern.back() != '*') {
        return name == pattern;
    }
    pattern.remove_suffix(1);
    return name.substr(0, pattern.size()) == pattern;
}

/**
 * Reads by the kernel what another thread may free meanwhile, which fails where a plain read would end the process. As
 * much as lies on one page; -1, with errno set, when nothing could be read.
 */
ssize_t ReadMemory(const void* from, void* to, std::size_t size)
{
    const std::size_t left = kPage - reinterpret_cast<std::uintptr_t>(from) % kPage;
    const iovec local{to, std::min(size, left)};
    const iovec remote{const_cast<void*>(from), local.iov_len};
    return process_vm_readv(getpid(), &local, 1, &remote, 1, 0);
}

/** Reads the beginnings of variables. Most lie side by side, so each page is read once for all that begin on it. */
class VariableReader
{
public:
    /** False when there is no memory at its place. */
    bool IsThere(const char* variable)
    {
        const char* const page = variable - reinterpret_cast<std::uintptr_t>(variable) % kPage;
        if (page != m_page) {
            m_page = ReadMemory(page, m_text.data(), kPage) == kPage ? page : nullptr;
        }
        return m_page != nullptr;
    }

    /** At least the name, if it is one that is withheld. */
    std::string_view Begin(const char* variable)
    {
        if (!IsThere(variable)) {
            return variable;
        }
        const std::string_view page(m_text.data(), kPage);
        const auto begin = page.substr(static_cast<std::size_t>(variable - m_page), m_begin.size());
        if (begin.size() == m_begin.size()) {
            return begin;
        }
        // The text goes on where its page ends.
        m_begin = {};
        begin.copy(m_begin.data(), begin.size());
        ReadMemory(variable + begin.size(), m_begin.data() + begin.size(), m_begin.size() - begin.size());
        return {m_begin.data(), m_begin.size()};
    }

private:
    const char* m_page = nullptr;
    std::array<char, kPage> m_text;
    /** Longer than the names that are withheld. */
    std::array<char, 32> m_begin;
};

bool IsWithheld(std::string_view begin)
{
    const auto name = begin.substr(0, begin.find_first_of(std::string_view("=\0", 2)));
    return std::any_of(std::begin(kWithheld), std::end(kWithheld),
                       [name](std::string_view pattern) { return Matches(name, pattern); });
}

/** Copies the list as it is at one moment, or several; false when it went away meanwhile. */
bool Copy(std::vector<char*>& variables)
{
    variables.clear();
    char** list = __atomic_load_n(&environ, __ATOMIC_ACQUIRE);
    while (list != nullptr) {
        std::array<char*, 64> piece{};
        const ssize_t size = ReadMemory(list, piece.data(), sizeof piece);
        if (size < static_cast<ssize_t>(sizeof(char*))) {
            return false;
        }
        auto* const last = piece.begin() + static_cast<std::size_t>(size) / sizeof(char*);
        auto* const end = std::find(piece.begin(), last, nullptr);
        variables.insert(variables.end(), piece.begin(), end);
        list = end == last ? list + (last - piece.begin()) : nullptr;
    }
    return true;
}

/** Whether there is memory at each place: a list that was freed may hold what never was a variable. */
bool AreThere(const std::vector<char*>& variables)
{
    VariableReader reader;
    return std::all_of(variables.begin(), variables.end(),
                       [&](const char* variable) { return reader.IsThere(variable); });
}

/** The list as it stands, for a kernel that reads no memory for others. */
std::vector<char*> PlainCopy()
{
    std::vector<char*> variables;
    for (char** variable = environ; variable != nullptr && *variable != nullptr; ++variable) {
        variables.push_back(*variable);
    }
    return variables;
}

bool IsReadByKernel()
{
    char from = 0;
    char to = 0;
    return ReadMemory(&from, &to, 1) == 1;
}

/** A copy that is like the next one, if there is one, of variables that are there. */
std::vector<char*> StableCopy()
{
    std::vector<char*> variables;
    std::vector<char*> again;
    for (int copies = 0; copies < kMostCopies; ++copies) {
        if (Copy(variables) && Copy(again) && again == variables && AreThere(variables)) {
            return variables;
        }
    }
    while (!Copy(variables) || !AreThere(variables)) {
    }
    return variables;
}

} // namespace

ChildEnvironment::ChildEnvironment()
    : m_variables(IsReadByKernel() ? StableCopy() : PlainCopy())
{
    VariableReader reader;
    const auto isWithheld = [&](const char* variable) { return IsWithheld(reader.Begin(variable)); };
    m_variables.erase(std::remove_if(m_variables.begin(), m_variables.end(), isWithheld), m_variables.end());
    m_variables.push_back(nullptr);
}

} // namespace VESK::Platform

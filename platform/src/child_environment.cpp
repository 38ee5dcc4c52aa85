#include "child_environment.h"

#include <algorithm>
#include <string_view>
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

bool Matches(std::string_view name, std::string_view pattern)
{
    if (pattern.back() != '*') {
        return name == pattern;
    }
    pattern.remove_suffix(1);
    return name.substr(0, pattern.size()) == pattern;
}

bool IsWithheld(std::string_view variable)
{
    const auto name = variable.substr(0, variable.find('='));
    return std::any_of(std::begin(kWithheld), std::end(kWithheld),
                       [name](std::string_view pattern) { return Matches(name, pattern); });
}

void Copy(std::vector<char*>& variables)
{
    variables.clear();
    char** variable = __atomic_load_n(&environ, __ATOMIC_ACQUIRE);
    for (char* text = nullptr;
         variable != nullptr && (text = __atomic_load_n(variable, __ATOMIC_ACQUIRE)) != nullptr; ++variable) {
        variables.push_back(text);
    }
}

} // namespace

ChildEnvironment::ChildEnvironment()
{
    std::vector<char*> again;
    Copy(m_variables);
    for (int copies = 0; copies < kMostCopies; ++copies) {
        Copy(again);
        if (again == m_variables) {
            break;
        }
        m_variables.swap(again);
    }
    m_variables.erase(std::remove_if(m_variables.begin(), m_variables.end(), IsWithheld), m_variables.end());
    m_variables.push_back(nullptr);
}

} // namespace VESK::Platform

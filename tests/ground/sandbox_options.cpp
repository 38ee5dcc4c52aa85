#include "sandbox_options.hpp"

#include <cstddef>

#include "descriptor.hpp"
#include "error.hpp"

namespace VeskGround
{

namespace
{

constexpr const char* kUsage =
    "usage: vesk-sandbox [--bind DIR]... [--bind-rw DIR]... [--systemctl FILE | --no-systemctl]\n"
    "                    [--platform DIR] [--] COMMAND [ARGUMENT]...";

[[noreturn]] void Refuse(const std::string& reason)
{
    throw Error(reason + "\n" + kUsage, kExitSetupFailed);
}

std::string StandInBesideThisProgram()
{
    const std::string self = ReadLink("/proc/self/exe");
    return self.substr(0, self.rfind('/')) + "/systemctl-stand-in";
}

// Takes the options off the front; the value of an option is the argument behind it.
class OptionReader
{
public:
    explicit OptionReader(const std::vector<std::string>& arguments)
        : m_arguments(arguments)
    {
    }

    SandboxOptions Read()
    {
        while (m_next < m_arguments.size() && m_arguments[m_next].rfind('-', 0) == 0) {
            const std::string name = m_arguments[m_next++];
            if (name == "--") {
                break;
            }
            ReadOne(name);
        }
        m_options.command.assign(m_arguments.begin() + static_cast<std::ptrdiff_t>(m_next),
                                 m_arguments.end());
        return m_options;
    }

private:
    void ReadOne(const std::string& name)
    {
        if (name == "--bind" || name == "--bind-rw") {
            m_options.folders.push_back({Path(name), name == "--bind-rw"});
        } else if (name == "--systemctl") {
            m_options.systemctl = Path(name);
        } else if (name == "--no-systemctl") {
            m_options.hasSystemctl = false;
        } else if (name == "--platform") {
            m_options.platform = Path(name);
        } else {
            Refuse("unknown option " + name);
        }
    }

    std::string Path(const std::string& name)
    {
        if (m_next == m_arguments.size() || m_arguments[m_next].rfind('/', 0) != 0) {
            Refuse("the option " + name + " needs an absolute path");
        }
        return m_arguments[m_next++];
    }

    const std::vector<std::string>& m_arguments;
    std::size_t m_next = 0;
    SandboxOptions m_options;
};

} // namespace

SandboxOptions ParseOptions(const std::vector<std::string>& arguments)
{
    SandboxOptions options = OptionReader(arguments).Read();
    if (options.command.empty()) {
        Refuse("no command");
    }
    if (options.hasSystemctl && options.systemctl.empty()) {
        options.systemctl = StandInBesideThisProgram();
    }
    return options;
}

} // namespace VeskGround

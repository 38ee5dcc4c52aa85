#include "live_options.hpp"

#include <cstddef>

namespace VeskGround
{

const char* const kLiveUsage =
    "usage: vesk-live [--bind DIR]... [--bind-rw DIR]... [--platform DIR] [--install-prefix DIR]\n"
    "                 [--] [COMMAND [ARGUMENT]...]\n"
    "Boots a private systemd, runs COMMAND in it as root (a shell by default) and takes it down again.\n"
    "  --bind DIR            show DIR inside at its own path, read-only\n"
    "  --bind-rw DIR         the same, writable\n"
    "  --platform DIR        install the platform's programs that DIR holds at their fixed places\n"
    "  --install-prefix DIR  --bind DIR, and the platform's programs from DIR/libexec/vesk-platform\n"
    "Exit code: the command's, 128+N for a signal N; 77: this machine cannot do it; 125: vesk-live failed;\n"
    "126, 127: the command cannot be run, is not found.\n";

namespace
{

class Parser
{
public:
    explicit Parser(const std::vector<std::string>& arguments)
        : m_arguments(arguments)
    {
    }

    LiveOptions Parse()
    {
        while (m_next < m_arguments.size() && Option(m_arguments[m_next])) {
        }
        m_options.command.assign(m_arguments.begin() + static_cast<std::ptrdiff_t>(m_next),
                                 m_arguments.end());
        if (m_options.command.empty()) {
            m_options.command = {"/bin/bash"};
        }
        return m_options;
    }

private:
    // False at the first word of the command.
    bool Option(const std::string& word)
    {
        if (word.empty() || word[0] != '-') {
            return false;
        }
        ++m_next;
        if (word == "--") {
            return false;
        }
        if (word == "--help") {
            m_options.help = true;
        } else if (word == "--bind") {
            m_options.folders.push_back({Folder(word), false});
        } else if (word == "--bind-rw") {
            m_options.folders.push_back({Folder(word), true});
        } else if (word == "--platform") {
            m_options.platform = Folder(word);
        } else if (word == "--install-prefix") {
            const std::string prefix = Folder(word);
            m_options.folders.push_back({prefix, false});
            m_options.platform = prefix + "/libexec/vesk-platform";
        } else {
            throw UsageError("unknown option " + word);
        }
        return true;
    }

    std::string Folder(const std::string& option)
    {
        if (m_next == m_arguments.size()) {
            throw UsageError(option + " needs a folder");
        }
        const std::string& folder = m_arguments[m_next++];
        if (folder.empty() || folder[0] != '/') {
            throw UsageError(option + " needs an absolute path, not '" + folder + "'");
        }
        return folder;
    }

    const std::vector<std::string>& m_arguments;
    std::size_t m_next = 0;
    LiveOptions m_options;
};

} // namespace

LiveOptions ParseLiveOptions(const std::vector<std::string>& arguments)
{
    return Parser(arguments).Parse();
}

} // namespace VeskGround

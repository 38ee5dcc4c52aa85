#include "live_options.hpp"

#include <cstddef>
#include <map>

namespace VeskGround
{

const char* const kLiveUsage =
    "usage: vesk-live [--bind DIR]... [--bind-rw DIR]... [--platform DIR] [--install-prefix DIR]\n"
    "                 [--cgroup platform|hybrid|unified] [--no-adapter] [--] [COMMAND [ARGUMENT]...]\n"
    "Boots a private systemd, runs COMMAND in it as root (a shell by default) and takes it down again.\n"
    "  --bind DIR            show DIR inside at its own path, read-only\n"
    "  --bind-rw DIR         the same, writable\n"
    "  --platform DIR        install the platform's programs that DIR holds at their fixed places\n"
    "  --install-prefix DIR  --bind DIR, and the platform's programs from DIR/libexec/vesk-platform\n"
    "  --cgroup platform     the v1 hierarchies systemd and veskmonitor beside cgroup v2 (the default)\n"
    "  --cgroup hybrid       the same without veskmonitor\n"
    "  --cgroup unified      cgroup v2 alone\n"
    "  --no-adapter          leave /usr/bin/systemctl as it is on this machine\n"
    "Exit code: the command's, 128+N for a signal N; 77: this machine cannot do it; 125: vesk-live failed;\n"
    "126, 127: the command cannot be run, is not found.\n";

namespace
{

const std::map<std::string, CgroupLayout> kLayouts = {{"platform", CgroupLayout::Platform},
                                                      {"hybrid", CgroupLayout::Hybrid},
                                                      {"unified", CgroupLayout::Unified}};

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
        } else if (word == "--cgroup") {
            m_options.layout = Layout(word);
        } else if (word == "--no-adapter") {
            m_options.adapter = false;
        } else {
            throw UsageError("unknown option " + word);
        }
        return true;
    }

    const std::string& Value(const std::string& option, const std::string& kind)
    {
        if (m_next == m_arguments.size()) {
            throw UsageError(option + " needs " + kind);
        }
        return m_arguments[m_next++];
    }

    CgroupLayout Layout(const std::string& option)
    {
        const std::string& name = Value(option, "a layout");
        const auto known = kLayouts.find(name);
        if (known == kLayouts.end()) {
            throw UsageError(option + " needs platform, hybrid or unified, not '" + name + "'");
        }
        return known->second;
    }

    std::string Folder(const std::string& option)
    {
        const std::string& folder = Value(option, "a folder");
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

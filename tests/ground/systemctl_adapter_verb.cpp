#include "systemctl_adapter.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <getopt.h>

namespace VeskGround
{

namespace
{

// Only what decides where the next word begins, and what changes the meaning of the verb.
constexpr int kEndsHere = 1;
constexpr int kOutput = 'o';
constexpr int kOther = 2;

constexpr const char* kShortOptions = "ht:p:P:alqfs:H:M:n:o:iTr.::";

// Abbreviations are as ambiguous as they are for systemctl only if the table has all of its options.
constexpr std::array<option, 59> kLongOptions = {{
    {"help", no_argument, nullptr, kEndsHere},
    {"version", no_argument, nullptr, kEndsHere},
    {"type", required_argument, nullptr, kOther},
    {"property", required_argument, nullptr, kOther},
    {"all", no_argument, nullptr, kOther},
    {"reverse", no_argument, nullptr, kOther},
    {"after", no_argument, nullptr, kOther},
    {"before", no_argument, nullptr, kOther},
    {"show-types", no_argument, nullptr, kOther},
    {"failed", no_argument, nullptr, kOther},
    {"full", no_argument, nullptr, kOther},
    {"job-mode", required_argument, nullptr, kOther},
    {"fail", no_argument, nullptr, kOther},
    {"irreversible", no_argument, nullptr, kOther},
    {"ignore-dependencies", no_argument, nullptr, kOther},
    {"ignore-inhibitors", no_argument, nullptr, kOther},
    {"check-inhibitors", required_argument, nullptr, kOther},
    {"value", no_argument, nullptr, kOther},
    {"user", no_argument, nullptr, kOther},
    {"system", no_argument, nullptr, kOther},
    {"global", no_argument, nullptr, kOther},
    {"wait", no_argument, nullptr, kOther},
    {"no-block", no_argument, nullptr, kOther},
    {"legend", required_argument, nullptr, kOther},
    {"no-legend", no_argument, nullptr, kOther},
    {"no-pager", no_argument, nullptr, kOther},
    {"no-wall", no_argument, nullptr, kOther},
    {"dry-run", no_argument, nullptr, kOther},
    {"quiet", no_argument, nullptr, kOther},
    {"root", required_argument, nullptr, kOther},
    {"image", required_argument, nullptr, kOther},
    {"force", no_argument, nullptr, kOther},
    {"no-reload", no_argument, nullptr, kOther},
    {"kill-whom", required_argument, nullptr, kOther},
    {"signal", required_argument, nullptr, kOther},
    {"no-ask-password", no_argument, nullptr, kOther},
    {"host", required_argument, nullptr, kOther},
    {"machine", required_argument, nullptr, kOther},
    {"runtime", no_argument, nullptr, kOther},
    {"lines", required_argument, nullptr, kOther},
    {"output", required_argument, nullptr, kOutput},
    {"plain", no_argument, nullptr, kOther},
    {"state", required_argument, nullptr, kOther},
    {"recursive", no_argument, nullptr, kOther},
    {"with-dependencies", no_argument, nullptr, kOther},
    {"preset-mode", required_argument, nullptr, kOther},
    {"firmware-setup", no_argument, nullptr, kOther},
    {"boot-loader-menu", required_argument, nullptr, kOther},
    {"boot-loader-entry", required_argument, nullptr, kOther},
    {"now", no_argument, nullptr, kOther},
    {"message", required_argument, nullptr, kOther},
    {"show-transaction", no_argument, nullptr, kOther},
    {"what", required_argument, nullptr, kOther},
    {"reboot-argument", required_argument, nullptr, kOther},
    {"timestamp", required_argument, nullptr, kOther},
    {"read-only", no_argument, nullptr, kOther},
    {"mkdir", no_argument, nullptr, kOther},
    {"marked", no_argument, nullptr, kOther},
    {nullptr, 0, nullptr, 0},
}};

// Under these names the program is not systemctl but one of its ancestors.
bool IsAncestorsName(const std::string& program)
{
    const std::string name = program.substr(program.rfind('/') + 1);
    constexpr std::array<const char*, 6> ancestors = {"halt",     "poweroff", "reboot",
                                                      "shutdown", "init",     "runlevel"};
    return std::any_of(ancestors.begin(), ancestors.end(),
                       [&](const char* ancestor) { return name.find(ancestor) != std::string::npos; });
}

Listing ListingNamed(const std::string& verb)
{
    if (verb == "list-jobs") {
        return Listing::Jobs;
    }
    return verb == "list-unit-files" ? Listing::UnitFiles : Listing::None;
}

// Goes over the options as systemctl itself does. False when there is no table to come: it prints its help,
// its complaint or JSON.
bool PassOptions(std::vector<char*>& words)
{
    optind = 0;
    opterr = 0;
    const int count = static_cast<int>(words.size()) - 1;
    for (;;) {
        switch (getopt_long(count, words.data(), kShortOptions, kLongOptions.data(), nullptr)) {
        case -1:
            return true;
        case kEndsHere:
        case 'h':
        case '.':
        case '?':
            return false;
        case kOutput:
            if (std::string(optarg).rfind("json", 0) == 0) {
                return false;
            }
            break;
        default:
            break;
        }
    }
}

} // namespace

Listing ListingOf(const std::vector<std::string>& command)
{
    if (command.empty() || IsAncestorsName(command[0])) {
        return Listing::None;
    }
    std::vector<std::string> texts = command;
    std::vector<char*> words;
    words.reserve(texts.size() + 1);
    for (std::string& text : texts) {
        words.push_back(text.data());
    }
    words.push_back(nullptr);
    if (!PassOptions(words)) {
        return Listing::None;
    }
    const char* verb = words[static_cast<std::size_t>(optind)];
    return verb == nullptr ? Listing::None : ListingNamed(verb);
}

} // namespace VeskGround

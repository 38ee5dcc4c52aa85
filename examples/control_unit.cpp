// Starts, restarts or stops units: control_unit start|restart|stop UNIT...
#include <iostream>
#include <map>
#include <string>
#include <vector>

#include <vesksystemd.hpp>

using Units = std::vector<std::string>;
using Action = bool (*)(const Units& units, Units& failed);

// Every action has a form for a list of units, which tells those that failed, and one for a single unit.
const std::map<std::string, Action> kActions{
    {"start", VESKSystemdStart},
    {"restart", VESKSystemdRestart},
    {"stop", VESKSystemdStop},
};

// The unit with its display name, "Name" in the section [X-Veskline] of its unit file. Not every unit has
// one.
std::string Shown(const std::string& unit)
{
    std::string name;
    return VESKSystemdNameGet(unit, name) ? unit + " (" + name + ")" : unit;
}

int main(int argc, char** argv)
{
    const Units words(argv + 1, argv + argc);
    const auto action = words.empty() ? kActions.end() : kActions.find(words[0]);
    if (action == kActions.end() || words.size() < 2) {
        std::cerr << "usage: control_unit start|restart|stop UNIT...\n";
        return 2;
    }

    // One run of systemctl for all of them; returns when each unit has come up, gone down or failed.
    const Units units(words.begin() + 1, words.end());
    Units failed;
    if (action->second(units, failed)) {
        std::cout << words[0] << ": done\n";
        return 0;
    }
    std::cout << words[0] << ": failed\n";
    for (const auto& unit : failed) {
        std::cout << "failed unit: " << Shown(unit) << '\n';
    }
    return 1;
}

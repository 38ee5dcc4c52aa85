#include "rows.hpp"

#include <stdexcept>
#include <vesksystemd.hpp>

#include "live_units.hpp"
#include "programs.hpp"

namespace VeskBench
{

namespace
{

constexpr double kMost = 1.02;
constexpr double kMostWithName = 1.10;

using Action = bool (*)(const std::string& unit);

void RunSystemctl(const std::string& verb, const std::string& unit)
{
    if (RunProgram({"/usr/bin/systemctl", verb, unit}) != 0) {
        throw std::runtime_error("systemctl " + verb + " " + unit + " failed");
    }
}

void Expect(bool done, const std::string& unit)
{
    if (!done) {
        throw std::runtime_error("the action on " + unit + " failed");
    }
}

void CompareAction(Row& row, const std::string& load, const std::string& unit, Action action, double most)
{
    const bool start = action == static_cast<Action>(VESKSystemdStart);
    const std::string verb = start ? "start" : "stop";
    const auto undo = [&, other = std::string(start ? "stop" : "start")] { RunSystemctl(other, unit); };
    row.Compare({verb + " of " + load,
                 {{"systemctl", [&] { RunSystemctl(verb, unit); }, undo},
                  {kLibrary, [&] { Expect(action(unit), unit); }, undo}},
                 {{kLibrary, "systemctl", most}},
                 1,
                 verb.c_str()});
}

void CompareActions(Row& row, const std::string& load, const std::string& unit, double most)
{
    CompareAction(row, load, unit, VESKSystemdStart, most);
    CompareAction(row, load, unit, VESKSystemdStop, most);
}

} // namespace

void MeasureAction(Row& row)
{
    VeskTest::AddUnit("plain.service", VeskTest::RunningService());
    VeskTest::AddUnit("named.service", VeskTest::RunningService().Line("X-Veskline", "Name=A service"));
    CompareActions(row, "a simple service", "plain.service", kMost);
    CompareActions(row, "a simple service with a display name", "named.service", kMostWithName);
}

} // namespace VeskBench

#include "rows.hpp"

#include <stdexcept>
#include <vesksystemd.hpp>

#include "files.hpp"
#include "programs.hpp"

namespace VeskBench
{

namespace
{

constexpr double kMost = 1.5;
// Of the time for one: twice as many take no more for each.
constexpr double kMostGrowth = 1.05;

constexpr const char* kReading = "reading the lines";
constexpr const char* kSystemctl = "/usr/bin/systemctl";

// What the systemctl of this row prints for a verb, and whether it ends with 1.
void Answer(const std::string& verb, const std::string& text, bool fails)
{
    VeskTest::WriteText("/run/bench/" + verb, text);
    if (fails) {
        VeskTest::WriteText("/run/bench/" + verb + ".fails", "");
    }
}

void Expect(size_t found, size_t expected, const std::string& what)
{
    if (found != expected) {
        throw std::runtime_error(std::to_string(found) + " " + what + " instead of " +
                                 std::to_string(expected));
    }
}

std::string Unit(size_t number)
{
    return "service" + std::to_string(number) + ".service";
}

std::string Repeated(size_t count, const std::function<std::string(size_t)>& line)
{
    std::string text;
    for (size_t number = 0; number < count; ++number) {
        text += line(number);
    }
    return text;
}

// The time for one among few and among many, in the library and in its peer.
class Growth
{
public:
    void Add(size_t count, const std::map<std::string, Samples>& samples)
    {
        const double ratio = SpreadOf(samples.at(kLibrary)).median;
        m_perOne.emplace_back(count, ratio);
    }

    void Tell(Row& row, const std::string& load) const
    {
        if (!row.IsSmallest()) {
            row.Tell(load + ": " + std::to_string(m_perOne.front().first) + " to " +
                         std::to_string(m_perOne.back().first),
                     "one among many / few", {m_perOne.back().second / m_perOne.front().second}, kMostGrowth);
        }
    }

private:
    std::vector<std::pair<size_t, double>> m_perOne;
};

std::vector<size_t> Sizes(const Row& row, size_t most)
{
    return row.IsSmallest() ? std::vector<size_t>{100} : std::vector<size_t>{most / 4, most / 2, most};
}

void CompareJobs(Row& row)
{
    Growth growth;
    for (const size_t count : Sizes(row, 10000)) {
        Answer("list-jobs",
               Repeated(count,
                        [](size_t number) {
                            return std::to_string(number + 1) + " " + Unit(number) +
                                   (number % 2 == 0 ? " start waiting\n" : " stop running\n");
                        }),
               true);
        const auto list = [&] {
            std::map<unsigned int, VESK::Systemd::JobInfo> jobs;
            VESKSystemdIntJobList(jobs);
            Expect(jobs.size(), count, "jobs");
        };
        const auto read = [&] {
            Expect(ReadLines({kSystemctl, "list-jobs", "--no-legend"}).size(), count, "lines");
        };
        growth.Add(count, row.Compare({"a list of " + std::to_string(count) + " jobs",
                                       {{kReading, read}, {kLibrary, list}},
                                       {{kLibrary, kReading, kMost}},
                                       static_cast<double>(count),
                                       "job"}));
    }
    growth.Tell(row, "jobs");
}

void CompareUnits(Row& row)
{
    Growth growth;
    for (const size_t count : Sizes(row, 5000)) {
        Answer("restart",
               Repeated(count, [](size_t number) { return "Job for " + Unit(number) + " failed.\n"; }), true);
        Words units;
        for (size_t number = 0; number < count; ++number) {
            units.push_back(Unit(number));
        }
        Words words{kSystemctl, "restart"};
        words.insert(words.end(), units.begin(), units.end());
        const auto restart = [&] {
            Words failed;
            VESKSystemdRestart(units, failed);
            Expect(failed.size(), count, "failed units");
        };
        const auto read = [&] { Expect(ReadLines(words).size(), count, "lines"); };
        growth.Add(count, row.Compare({"a restart of " + std::to_string(count) + " units that all fail",
                                       {{kReading, read}, {kLibrary, restart}},
                                       {{kLibrary, kReading, kMost}},
                                       static_cast<double>(count),
                                       "unit"}));
    }
    growth.Tell(row, "units");
}

void CompareOutput(Row& row)
{
    const std::string line = "a line of forty characters, more or less\n";
    Growth growth;
    for (const size_t megabytes : Sizes(row, 100)) {
        const size_t count = (row.IsSmallest() ? 1 : megabytes) * 1000000 / line.size();
        Answer("cat", Repeated(count, [&](size_t) { return line; }), false);
        const auto run = [&] {
            const bool same = VESKSystemdSystemctl(
                "cat", {}, [&](int, const std::vector<std::string>& lines) { return lines.size() == count; });
            Expect(same ? count : 0, count, "lines");
        };
        const auto read = [&] { Expect(ReadLines({kSystemctl, "cat"}).size(), count, "lines"); };
        growth.Add(megabytes, row.Compare({std::to_string(megabytes) + " MB of output",
                                           {{kReading, read}, {kLibrary, run}},
                                           {{kLibrary, kReading, kMost}},
                                           static_cast<double>(megabytes),
                                           "MB"}));
    }
    growth.Tell(row, "MB of output");
}

} // namespace

void MeasureQueue(Row& row)
{
    CompareJobs(row);
    CompareUnits(row);
    CompareOutput(row);
}

} // namespace VeskBench

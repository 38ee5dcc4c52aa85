// Ways to do the same thing, measured in turns, and what is told of them.
#pragma once

#include <functional>
#include <json/json.h>
#include <map>
#include <string>
#include <vector>

namespace VeskBench
{

// The names of ways that many rows have.
constexpr const char* kLibrary = "library";
constexpr const char* kBare = "bare loop";

// Microseconds or ratios, one for each round.
using Samples = std::vector<double>;

struct Spread {
    double median = 0;
    double low = 0;  // a quarter of the rounds is below,
    double high = 0; // a quarter is above
};
Spread SpreadOf(Samples samples);

struct Way {
    std::string name;
    std::function<void()> run;
    std::function<void()> before = {}; // not measured
};

// The ratio of two ways' medians, and the most that it may be; no bar, and it is only told.
struct Bar {
    std::string of;
    std::string beside;
    double most = 0;
};

struct Comparison {
    std::string load;
    std::vector<Way> ways;
    std::vector<Bar> bars = {};
    double parts = 1; // what a run does so many times, told for one
    const char* part = "run";
};

struct Settings {
    bool smallest = false;
    bool processorTime = false; // instead of the time that passes
    double seconds = 4;         // for each comparison, about
    std::string disk;           // a folder on a disk, if there is one
};

// Measures the comparisons of one row, prints them and keeps them.
class Row
{
public:
    Row(const std::string& name, const std::string& title, const Settings& settings);

    bool IsSmallest() const { return m_settings.smallest; }

    // The given size, or a small one when each thing is only to be run once.
    int Size(int size, int smallest) const { return m_settings.smallest ? smallest : size; }

    const std::string& DiskFolder() const { return m_settings.disk; }

    // Runs the ways in turns, in another order each round, after a first round that does not count. The samples of
    // each way, by its name.
    std::map<std::string, Samples> Compare(const Comparison& comparison);

    // A ratio that is made of several ways' samples, round by round.
    void Tell(const std::string& load, const std::string& what, const Samples& ratios, double most);

    // A fact that is no time.
    void Tell(const std::string& load, const std::string& what, const std::string& value);

    const Json::Value& Results() const { return m_results; }

private:
    void TellThatAllRan(const Comparison& comparison) const;
    void TellRatio(Json::Value& results, const std::string& what, const Spread& ratio, double most);

    Json::Value Result(const std::string& load) const;

    std::string m_name;
    std::string m_title;
    Settings m_settings;
    Json::Value m_results{Json::arrayValue};
};

} // namespace VeskBench

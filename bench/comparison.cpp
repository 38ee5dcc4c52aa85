#include "comparison.hpp"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <sys/resource.h>

namespace VeskBench
{

namespace
{

using Clock = std::chrono::steady_clock;

constexpr size_t kFewestRounds = 9;
constexpr size_t kMostRounds = 301;

// Each way comes first, last and after each other one alike often.
std::vector<size_t> OrderOf(size_t round, size_t count)
{
    std::vector<size_t> order(count);
    for (size_t place = 0; place < count; ++place) {
        order[place] = (place + round) % count;
    }
    if (round / count % 2 != 0) {
        std::reverse(order.begin(), order.end());
    }
    return order;
}

double Microseconds(const timeval& time)
{
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_usec);
}

// What this process and the children that it has waited for have used so far.
double ProcessorTime()
{
    double time = 0;
    for (const auto whose : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
        rusage usage{};
        getrusage(whose, &usage);
        time += Microseconds(usage.ru_utime) + Microseconds(usage.ru_stime);
    }
    return time;
}

double Now(bool processorTime)
{
    return processorTime ? ProcessorTime()
                         : std::chrono::duration<double, std::micro>(Clock::now().time_since_epoch()).count();
}

double Measure(const Way& way, bool processorTime)
{
    if (way.before) {
        way.before();
    }
    const double start = Now(processorTime);
    way.run();
    return Now(processorTime) - start;
}

void RunRound(const Comparison& comparison, size_t round, bool processorTime,
              std::map<std::string, Samples>& samples)
{
    for (const size_t place : OrderOf(round, comparison.ways.size())) {
        const Way& way = comparison.ways[place];
        samples[way.name].push_back(Measure(way, processorTime) / comparison.parts);
    }
}

bool IsEnough(size_t rounds, Clock::time_point start, const Settings& settings)
{
    const std::chrono::duration<double> elapsed = Clock::now() - start;
    return settings.smallest || rounds == kMostRounds ||
           (rounds >= kFewestRounds && elapsed.count() > settings.seconds);
}

Samples RatiosOf(const Samples& of, const Samples& beside)
{
    Samples ratios;
    std::transform(of.begin(), of.end(), beside.begin(), std::back_inserter(ratios), std::divides<>());
    return ratios;
}

Json::Value ValueOf(const Spread& spread)
{
    Json::Value value;
    value["median"] = spread.median;
    value["low"] = spread.low;
    value["high"] = spread.high;
    return value;
}

void PrintTime(const std::string& name, const Spread& time, const char* part)
{
    std::printf("  %-34s %12.2f us a %s  (%.2f to %.2f)\n", name.c_str(), time.median, part, time.low,
                time.high);
}

const char* Verdict(double ratio, double most)
{
    if (most <= 0) {
        return "";
    }
    return ratio <= most ? "holds" : "MISSED";
}

} // namespace

Spread SpreadOf(Samples samples)
{
    std::sort(samples.begin(), samples.end());
    const auto at = [&](size_t quarter) { return samples[(samples.size() - 1) * quarter / 4]; };
    return {at(2), at(1), at(3)};
}

Row::Row(const std::string& name, const std::string& title, const Settings& settings)
    : m_name(name)
    , m_title(title)
    , m_settings(settings)
{
}

Json::Value Row::Result(const std::string& load) const
{
    Json::Value result;
    result["row"] = m_name;
    result["title"] = m_title;
    result["load"] = load;
    return result;
}

std::map<std::string, Samples> Row::Compare(const Comparison& comparison)
{
    std::map<std::string, Samples> samples;
    if (!m_settings.smallest) {
        RunRound(comparison, 0, m_settings.processorTime, samples);
        samples.clear();
    }
    size_t rounds = 0;
    const auto start = Clock::now();
    do {
        RunRound(comparison, rounds++, m_settings.processorTime, samples);
    } while (!IsEnough(rounds, start, m_settings));

    if (m_settings.smallest) {
        TellThatAllRan(comparison);
        return samples;
    }
    std::printf("%s: %s (%zu rounds)\n", m_name.c_str(), comparison.load.c_str(), rounds);
    Json::Value result = Result(comparison.load);
    result["rounds"] = static_cast<Json::UInt64>(rounds);
    for (const Way& way : comparison.ways) {
        const Spread time = SpreadOf(samples[way.name]);
        PrintTime(way.name, time, comparison.part);
        Json::Value& told = result["ways"].append(ValueOf(time));
        told["name"] = way.name;
        told["unit"] = std::string("us a ") + comparison.part;
    }
    for (const Bar& bar : comparison.bars) {
        Spread ratio = SpreadOf(RatiosOf(samples[bar.of], samples[bar.beside]));
        ratio.median = SpreadOf(samples[bar.of]).median / SpreadOf(samples[bar.beside]).median;
        TellRatio(result, bar.of + " / " + bar.beside, ratio, bar.most);
    }
    m_results.append(result);
    std::fflush(stdout);
    return samples;
}

// A single time says nothing.
void Row::TellThatAllRan(const Comparison& comparison) const
{
    std::printf("%s: %s: ran:", m_name.c_str(), comparison.load.c_str());
    for (const Way& way : comparison.ways) {
        std::printf(" %s%s", way.name.c_str(), &way == &comparison.ways.back() ? "\n" : ",");
    }
    std::fflush(stdout);
}

void Row::TellRatio(Json::Value& result, const std::string& what, const Spread& ratio, double most)
{
    std::printf("  %-34s %12.3f  (%.3f to %.3f)", what.c_str(), ratio.median, ratio.low, ratio.high);
    Json::Value& told = result["ratios"].append(ValueOf(ratio));
    told["what"] = what;
    if (most > 0) {
        std::printf("  bar %.2f %s", most, Verdict(ratio.median, most));
        told["bar"] = most;
        told["holds"] = ratio.median <= most;
    }
    std::printf("\n");
}

void Row::Tell(const std::string& load, const std::string& what, const Samples& ratios, double most)
{
    std::printf("%s: %s\n", m_name.c_str(), load.c_str());
    Json::Value result = Result(load);
    result["rounds"] = static_cast<Json::UInt64>(ratios.size());
    TellRatio(result, what, SpreadOf(ratios), most);
    m_results.append(result);
    std::fflush(stdout);
}

void Row::Tell(const std::string& load, const std::string& what, const std::string& value)
{
    std::printf("%s: %s: %s: %s\n", m_name.c_str(), load.c_str(), what.c_str(), value.c_str());
    Json::Value result = Result(load);
    result["facts"][what] = value;
    m_results.append(result);
    std::fflush(stdout);
}

} // namespace VeskBench

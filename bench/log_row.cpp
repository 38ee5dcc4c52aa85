#include "rows.hpp"

#include <array>
#include <cstdio>
#include <syslog.h>

#include "core/log.hpp"

namespace VeskBench
{

namespace
{

constexpr double kMost = 1.2;
constexpr double kMostFilteredOut = 0.01;

constexpr const char* kText = "[service.service another.service] started.";

void LogPlainly()
{
    std::array<char, 1024> line{};
    std::snprintf(line.data(), line.size(), "%s:%d vesksystemd: %s", VESK_HERE, kText);
    syslog(LOG_INFO, "%s", line.data());
}

void LogEmitted()
{
    VESK_LOG(LOG_INFO, "%s:%d vesksystemd: %s", VESK_HERE, kText);
}

// The mask of the row lets no such line out.
void LogFilteredOut()
{
    VESK_LOG(LOG_DEBUG, "%s:%d vesksystemd: %s", VESK_HERE, kText);
}

} // namespace

void MeasureLog(Row& row)
{
    setlogmask(LOG_UPTO(LOG_INFO));
    const int lines = row.Size(500, 1);
    const auto repeat = [&](void (*log)()) {
        return [=] {
            for (int number = 0; number < lines; ++number) {
                log();
            }
        };
    };
    const std::string peer = "snprintf and syslog";
    const std::string filtered = "library, filtered out";
    row.Compare(
        {"a line",
         {{peer, repeat(LogPlainly)}, {kLibrary, repeat(LogEmitted)}, {filtered, repeat(LogFilteredOut)}},
         {{kLibrary, peer, kMost}, {filtered, kLibrary, kMostFilteredOut}},
         static_cast<double>(lines),
         "line"});
}

} // namespace VeskBench

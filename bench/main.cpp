// Measures the rows that are named, or all that have their place in this test ground, each in a process of its own.
// Usage: vesk-bench [--list] [--smallest] [--cpu] [--seconds N] [--disk DIR] [--json FILE] [ROW]...
// DIR is a folder on a disk. FILE gets the results; what it holds of other rows stays.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "descriptor.hpp"
#include "error.hpp"
#include "marker.hpp"
#include "rows.hpp"

namespace
{

using namespace VeskBench;

struct Entry {
    std::string name;
    std::string ground;
    std::string title;
    void (*measure)(Row& row);
};

const std::vector<Entry> kRows{
    {"scan", "sandboxed", "services by mount path", MeasureScan},
    {"scan-text", "sandboxed", "services by mount path, maps as text", MeasureScanOverText},
    {"group", "sandboxed", "a group of volumes", MeasureGroup},
    {"sample", "sandboxed", "process sampling", MeasureSample},
    {"keys", "sandboxed", "one key of each unit file", MeasureKeys},
    {"child", "sandboxed", "starting a child and reading its output", MeasureChild},
    {"child-systemctl", "live", "the same with the real systemctl", MeasureSystemctlChild},
    {"action", "live", "an action on a real systemd", MeasureAction},
    {"unmount", "live", "a whole unmount action", MeasureUnmount},
    {"queue", "sandboxed", "the queue and long output", MeasureQueue},
    {"registry", "sandboxed", "a register in a volume registry", MeasureRegistry},
    {"log", "sandboxed", "a line of the log", MeasureLog},
    {"load", "sandboxed", "size and load", MeasureLoad},
};

struct Options {
    Settings settings;
    bool list = false;
    std::string json;
    std::vector<std::string> rows;
};

[[noreturn]] void Refuse(const std::string& reason)
{
    throw std::runtime_error(reason);
}

Options ReadOptions(const std::vector<std::string>& words)
{
    Options options;
    for (size_t next = 0; next < words.size(); ++next) {
        const std::string& word = words[next];
        const auto value = [&] { return ++next < words.size() ? words[next] : ""; };
        if (word == "--list") {
            options.list = true;
        } else if (word == "--smallest") {
            options.settings.smallest = true;
        } else if (word == "--cpu") {
            options.settings.processorTime = true;
        } else if (word == "--seconds") {
            options.settings.seconds = std::stod(value());
        } else if (word == "--disk") {
            options.settings.disk = value();
        } else if (word == "--json") {
            options.json = value();
        } else {
            options.rows.push_back(word);
        }
    }
    return options;
}

bool IsWanted(const Entry& entry, const Options& options)
{
    const auto& rows = options.rows;
    return VeskGround::IsInside(entry.ground) &&
           (rows.empty() || std::find(rows.begin(), rows.end(), entry.name) != rows.end());
}

// Whatever a row allocates, opens or filters is gone with its process.
[[noreturn]] void MeasureInChild(const Entry& entry, const Settings& settings, int results) noexcept
{
    int status = EXIT_SUCCESS;
    try {
        Row row(entry.name, entry.title, settings);
        entry.measure(row);
        VeskGround::WriteAll(results, row.Results().toStyledString(), "the results");
    } catch (const std::exception& error) {
        std::fprintf(stderr, "vesk-bench: %s: %s\n", entry.name.c_str(), error.what());
        status = EXIT_FAILURE;
    }
    std::fflush(stdout);
    _exit(status);
}

std::string ReadAll(int descriptor)
{
    std::string text;
    char buffer[4096];
    for (ssize_t count = 0; (count = read(descriptor, buffer, sizeof buffer)) > 0;) {
        text.append(buffer, static_cast<size_t>(count));
    }
    return text;
}

// False when the row could not be measured.
bool Measure(const Entry& entry, const Settings& settings, Json::Value& results)
{
    VeskGround::Pipe pipe = VeskGround::MakePipe();
    std::fflush(stdout);
    const pid_t child = VeskGround::Require(fork(), "fork for", entry.name);
    if (child == 0) {
        MeasureInChild(entry, settings, pipe.write.Get());
    }
    pipe.write.Close();
    const std::string text = ReadAll(pipe.read.Get());
    int status = -1;
    VeskGround::Require(waitpid(child, &status, 0), "wait for", entry.name);
    return status == 0 && Json::Reader().parse(text, results);
}

Json::Value ReadJson(const std::string& path)
{
    Json::Value value;
    std::ifstream file(path);
    if (file && file.peek() != std::ifstream::traits_type::eof()) {
        file >> value;
    }
    return value;
}

// What was measured of a row takes the place of what it had; rows stay in the order of the table.
void Keep(const std::string& name, const Json::Value& results, Json::Value& all)
{
    Json::Value kept(Json::arrayValue);
    for (const Entry& entry : kRows) {
        for (const Json::Value& result : entry.name == name ? results : all) {
            if (result["row"] == entry.name) {
                kept.append(result);
            }
        }
    }
    all = kept;
}

Json::Value Machine()
{
    utsname names{};
    uname(&names);
    Json::Value machine;
    machine["kernel"] = names.release;
    machine["cores"] = static_cast<Json::Int64>(sysconf(_SC_NPROCESSORS_ONLN));
    std::ifstream processors("/proc/cpuinfo");
    for (std::string line; std::getline(processors, line);) {
        if (line.rfind("model name", 0) == 0) {
            machine["processor"] = line.substr(line.find(": ") + 2);
            break;
        }
    }
    return machine;
}

void Write(const Json::Value& document, const std::string& path)
{
    std::ofstream file(path);
    file << document.toStyledString() << std::flush;
    if (!file) {
        Refuse("the results cannot be written to " + path);
    }
}

// The results are kept row by row, so that what ends in between does not lose those before.
int MeasureAll(const Options& options)
{
    Json::Value document = options.json.empty() ? Json::Value() : ReadJson(options.json);
    document["machine"] = Machine();
    document["time"] = options.settings.processorTime ? "processor" : "wall";
    int status = EXIT_SUCCESS;
    for (const Entry& entry : kRows) {
        if (!IsWanted(entry, options)) {
            continue;
        }
        Json::Value results;
        status = Measure(entry, options.settings, results) ? status : EXIT_FAILURE;
        Keep(entry.name, results, document["rows"]);
        if (!options.json.empty()) {
            Write(document, options.json);
        }
    }
    return status;
}

int Run(const Options& options)
{
    if (options.list) {
        for (const Entry& entry : kRows) {
            std::printf("%-16s %-10s %s\n", entry.name.c_str(), entry.ground.c_str(), entry.title.c_str());
        }
        return EXIT_SUCCESS;
    }
    if (!VeskGround::IsInside("sandboxed") && !VeskGround::IsInside("live")) {
        Refuse("it mounts, kills and writes below /run: start it with scripts/bench");
    }
    return MeasureAll(options);
}

} // namespace

int main(int argc, char** argv)
{
    try {
        return Run(ReadOptions({argv + 1, argv + argc}));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "vesk-bench: %s\n", error.what());
        return EXIT_FAILURE;
    }
}

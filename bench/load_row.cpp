#include "rows.hpp"

#include <sstream>
#include <stdexcept>

#include "shell.hpp"

namespace VeskBench
{

namespace
{

struct Build {
    std::string name;
    std::string path;
    Samples microseconds;
    Samples kilobytes;
};

std::string Output(const std::string& command)
{
    const VeskTest::ShellResult result = VeskTest::RunShell(command);
    if (result.ending != VeskTest::Exited(0)) {
        throw std::runtime_error(command + " failed");
    }
    return result.output;
}

void Load(Build& build)
{
    std::istringstream output(Output(VESK_BENCH_LOADER " " + build.path));
    double microseconds = 0;
    double kilobytes = 0;
    output >> microseconds >> kilobytes;
    build.microseconds.push_back(microseconds);
    build.kilobytes.push_back(kilobytes);
}

std::string Rounded(double value)
{
    return std::to_string(static_cast<long>(value + 0.5));
}

void Tell(Row& row, const Build& build)
{
    const std::string stripped = "/tmp/stripped.so";
    const std::string size = Output("strip -o " + stripped + " " + build.path + " && stat -c %s " + stripped);
    const std::string relocations = Output("readelf -rW " + build.path + " | grep -c R_");
    row.Tell(build.name, "stripped", Rounded(std::stod(size) / 1024) + " KiB");
    row.Tell(build.name, "relocations", Rounded(std::stod(relocations)));
    row.Tell(build.name, "dlopen", Rounded(SpreadOf(build.microseconds).median) + " us");
    row.Tell(build.name, "private memory added", Rounded(SpreadOf(build.kilobytes).median) + " kB");
}

} // namespace

void MeasureLoad(Row& row)
{
    const std::string folder = VESK_BENCH_LIBRARIES "/libvesk-bench-without-";
    std::vector<Build> builds{{"the library", VESK_LIBRARY, {}, {}},
                              {"without jsoncpp", folder + "jsoncpp.so", {}, {}},
                              {"without PAM", folder + "pam.so", {}, {}}};
    for (int round = 0; round < row.Size(51, 1); ++round) {
        for (Build& build : builds) {
            Load(build);
        }
    }
    for (const Build& build : builds) {
        Tell(row, build);
    }
}

} // namespace VeskBench

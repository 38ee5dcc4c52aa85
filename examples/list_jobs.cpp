// Lists the jobs that systemd has still to do, in the order in which they came: list_jobs
#include <iostream>
#include <map>

#include <vesksystemd.hpp>

int main()
{
    std::map<unsigned int, VESK::Systemd::JobInfo> jobs;
    if (!VESKSystemdIntJobList(jobs)) {
        std::cerr << "the jobs cannot be read\n";
        return 1;
    }
    for (const auto& [id, job] : jobs) {
        std::string type = "other";
        std::string state = "unknown";
        // Types that the library does not tell apart have no word.
        VESK::Systemd::JobStringMap::TypeToString(job.type, type);
        VESK::Systemd::JobStringMap::StateToString(job.state, state);
        std::cout << job.unit << ": " << type << ", " << state << '\n';
    }
    return 0;
}

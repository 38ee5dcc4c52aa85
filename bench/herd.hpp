// The processes of a machine that is in use: services with files of their own, shared ones, sockets, pipes and
// libraries, some of them with a file on a volume.
#pragma once

#include <memory>
#include <string>
#include <sys/types.h>
#include <vector>

#include "children.hpp"
#include "shown_file.hpp"

namespace VeskBench
{

// A tmpfs for the files of the processes, and one for each volume.
class HerdFiles
{
public:
    explicit HerdFiles(int volumes = 1);
    ~HerdFiles();
    HerdFiles(const HerdFiles&) = delete;
    HerdFiles& operator=(const HerdFiles&) = delete;

    const std::vector<std::string>& Volumes() const { return m_volumes; }

private:
    std::vector<std::string> m_volumes;
};

// Processes with 30 descriptors and 130 lines of maps each, numbered from `first` on. Every hundredth holds a file on a
// volume, on the first, the second ... in turn, and is in the control group of a service. They end with this object or
// with its process.
class Herd
{
public:
    Herd(const HerdFiles& files, int first, int count);
    ~Herd();
    Herd(const Herd&) = delete;
    Herd& operator=(const Herd&) = delete;

    const std::vector<pid_t>& Pids() const { return m_pids; }

private:
    std::vector<pid_t> m_pids;
    std::unique_ptr<VeskTest::OtherProcess> m_keeper;
    std::vector<std::unique_ptr<VeskTest::ShownFile>> m_memberships;
};

// How many of so many processes use the first of so many volumes.
int UsersOfFirst(int processes, int volumes);

} // namespace VeskBench

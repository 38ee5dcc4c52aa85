#include "holdings.hpp"

#include <filesystem>
#include <ostream>
#include <sstream>
#include <sys/stat.h>
#include <syslog.h>
#include <tuple>

#include "children.hpp"
#include "descriptors.hpp"
#include "fields.hpp"

namespace VeskTest
{

namespace
{

std::string Signals()
{
    std::istringstream status(VeskGround::ReadFile("/proc/self/status"));
    std::string signals;
    for (std::string line; std::getline(status, line);) {
        if (line.rfind("SigBlk", 0) == 0 || line.rfind("SigIgn", 0) == 0 || line.rfind("SigCgt", 0) == 0) {
            signals += line + "\n";
        }
    }
    return signals;
}

unsigned FileMask()
{
    const mode_t mask = umask(0);
    umask(mask);
    return mask;
}

} // namespace

Holdings Holdings::Now()
{
    openlog(nullptr, LOG_NDELAY, LOG_USER);
    const Children children = ListChildren();
    return {OpenDescriptors(), children.running, children.zombies, Signals(), std::filesystem::current_path(),
            FileMask()};
}

bool operator==(const Holdings& left, const Holdings& right)
{
    return std::tie(left.descriptors, left.running, left.zombies, left.signals, left.folder, left.mask) ==
           std::tie(right.descriptors, right.running, right.zombies, right.signals, right.folder, right.mask);
}

std::ostream& operator<<(std::ostream& stream, const Holdings& holdings)
{
    for (const auto& [number, name] : holdings.descriptors) {
        stream << "descriptor " << number << " is " << name << "\n";
    }
    return stream << holdings.running.size() << " children, " << holdings.zombies.size()
                  << " zombies, folder " << holdings.folder << ", umask " << holdings.mask << "\n"
                  << holdings.signals;
}

} // namespace VeskTest

#include "marker.hpp"

#include <fcntl.h>
#include <sys/stat.h>

#include "descriptor.hpp"
#include "fields.hpp"
#include "mounts.hpp"

namespace VeskGround
{

namespace
{

const std::string kFolder = "/run/sandbox";
const std::string kMarker = kFolder + "/ground";

// A marker left on some other machine or in an image names another namespace.
std::string Text(const std::string& ground)
{
    return ground + " " + ReadLink("/proc/self/ns/pid") + "\n";
}

} // namespace

void WriteMarker(const std::string& ground)
{
    MakeDirectories(kFolder);
    chmod(kFolder.c_str(), 01777);
    WriteFile(kMarker, Text(ground), 0444);
}

bool IsInside(const std::string& ground)
{
    return ReadFile(kMarker) == Text(ground);
}

} // namespace VeskGround

// In place of what needs jsoncpp, so that the library can be loaded without it. Never called.
#include "volumes/volume_array.hpp"

namespace VESK::Systemd
{

VolumeArray VolumeArrayParse(std::string_view, VolumeElements&)
{
    return VolumeArray::NotJson;
}

VolumeElement VolumeElementMake(const std::string&)
{
    return {};
}

std::string VolumeArrayText(const VolumeElements&)
{
    return {};
}

} // namespace VESK::Systemd

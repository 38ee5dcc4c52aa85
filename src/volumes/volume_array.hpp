#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace VESK::Systemd
{

/**
 * An element of a registry file. Its text is written back as it was read: a number with all its digits, an
 * object, and a string with its escapes stay what they are.
 */
struct VolumeElement {
    std::string strText;
    bool blString = false;
    std::string strVolume; // what the text means, when it is a string
};

using VolumeElements = std::vector<VolumeElement>;

enum class VolumeArray {
    Read,
    NotJson,
    NotAnArray,
};

/**
 * Reads the text of a registry file. JSON is what RFC 8259 allows, with or without a byte order mark before it:
 * comments and anything after the array are not, a number of any size is.
 */
VolumeArray VolumeArrayParse(std::string_view svText, VolumeElements& vecElements);

VolumeElement VolumeElementMake(const std::string& strVolume);

std::string VolumeArrayText(const VolumeElements& vecElements);

} // namespace VESK::Systemd

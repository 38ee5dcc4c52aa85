#include "descriptors.hpp"

#include "call_record.hpp"

namespace VeskTest
{

std::map<int, std::string> OpenDescriptors()
{
    std::map<int, std::string> descriptors;
    for (const VeskGround::Field& field : VeskGround::DescribeDescriptors()) {
        descriptors[static_cast<int>(field.number)] = field.bytes;
    }
    return descriptors;
}

} // namespace VeskTest

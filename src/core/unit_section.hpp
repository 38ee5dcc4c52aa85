#pragma once

#include <map>
#include <string>

namespace VESK::Systemd
{

enum class UnitSection {
    Written,
    /** Memory ended at some of its keys. */
    LacksKeys,
    NotWritten,
};

/** As AddUnitSection, for those to whom a section without some of its keys is none. */
UnitSection UnitSectionWrite(const std::string& strDirectory, const std::string& strFile,
                             const std::string& strSection,
                             const std::map<std::string, std::string>& mapKeyValues);

} // namespace VESK::Systemd

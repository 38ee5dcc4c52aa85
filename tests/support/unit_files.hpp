#pragma once

#include <string>

namespace VeskTest
{

// The four folders in which unit files are looked for.
enum class UnitFolder { UsrLocal, Usr, Etc, Run };

// "/usr/lib/systemd/system/foo.service" for Usr and "foo.service".
std::string UnitFilePath(UnitFolder folder, const std::string& name);

// Writes the unit file and gives its path.
std::string WriteUnitFile(UnitFolder folder, const std::string& name, const std::string& text);

// Writes FOLDER/UNIT.d/NAME and gives its path.
std::string WriteDropIn(UnitFolder folder, const std::string& unit, const std::string& name,
                        const std::string& text);

} // namespace VeskTest

#include "unit_files.hpp"

#include "files.hpp"
#include "paths.hpp"

namespace VeskTest
{

std::string UnitFilePath(UnitFolder folder, const std::string& name)
{
    switch (folder) {
    case UnitFolder::UsrLocal:
        return std::string(kUsrLocalUnits) + "/" + name;
    case UnitFolder::Usr:
        return std::string(kUsrUnits) + "/" + name;
    case UnitFolder::Etc:
        return std::string(kEtcUnits) + "/" + name;
    case UnitFolder::Run:
        break;
    }
    return std::string(kRunUnits) + "/" + name;
}

std::string WriteUnitFile(UnitFolder folder, const std::string& name, const std::string& text)
{
    std::string path = UnitFilePath(folder, name);
    WriteText(path, text);
    return path;
}

std::string WriteDropIn(UnitFolder folder, const std::string& unit, const std::string& name,
                        const std::string& text)
{
    return WriteUnitFile(folder, unit + ".d/" + name, text);
}

} // namespace VeskTest

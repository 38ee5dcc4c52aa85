#include "unit_files.hpp"

#include "files.hpp"

namespace VeskTest
{

std::string UnitFilePath(UnitFolder folder, const std::string& name)
{
    switch (folder) {
    case UnitFolder::UsrLocal:
        return "/usr/local/lib/systemd/system/" + name;
    case UnitFolder::Usr:
        return "/usr/lib/systemd/system/" + name;
    case UnitFolder::Etc:
        return "/etc/systemd/system/" + name;
    case UnitFolder::Run:
        break;
    }
    return "/run/systemd/system/" + name;
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

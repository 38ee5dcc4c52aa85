#include "uninstall_ground.hpp"
#include "paths.hpp"

namespace VeskTest
{

namespace
{

constexpr const char* kFile = "systemd_uninstall.cpp";

// The folder itself may be a mount point.
void Empty(const std::string& folder)
{
    for (const std::string& name : ListFolder(folder)) {
        RemoveAll(folder + "/" + name);
    }
}

} // namespace

Uninstall::Uninstall()
{
    for (const char* folder : {kRunFolder, kStateFolder, kEtcUnits, kUsrUnits, kRunUnits}) {
        Empty(folder);
    }
    systemctl.OnAny();
    systemctl.OnLeading({"is-enabled"}).Stdout("disabled\n").Exit(1);
    systemctl.OnLeading({"show"}).Stdout("FragmentPath=\nDropInPaths=\n");
}

void Uninstall::EnableState(const std::string& unit, const std::string& word, int exitCode)
{
    systemctl.On({"is-enabled", unit}).Stdout(word + "\n").Exit(exitCode);
}

Answering Uninstall::Show(const std::string& unit)
{
    return systemctl.On({"show", "--property=FragmentPath", "--property=DropInPaths", unit});
}

void Uninstall::Files(const std::string& unit, const std::string& unitFile, const std::string& dropIns)
{
    Show(unit).Stdout("FragmentPath=" + unitFile + "\nDropInPaths=" + dropIns + "\n");
}

LogMatchers Uninstall::Begin(const std::string& names)
{
    return {Info(kFile, "vesksystemd: [" + names + "] uninstalling ...")};
}

LogMatchers Uninstall::StepFailure(const std::string& names, const std::string& step, int exitCode,
                                   const std::string& output)
{
    return {Error(kFile, "vesksystemd: [" + names + "] uninstalling, failed to do [" + step + "]: ret=[" +
                             std::to_string(exitCode) + "], reason:\n" + output)};
}

LogMatchers Uninstall::FilesFailure(const std::string& unit)
{
    return {Error(kFile, "vesksystemd: Failed to remove unit and/or drop-in files for [" + unit + "]")};
}

LogMatchers Uninstall::End(const std::string& names)
{
    return {Info(kFile, "vesksystemd: [" + names + "] uninstalled.")};
}

LogMatchers Uninstall::ResetFailed(const std::string& names)
{
    return {Info("systemd_reset_failed.cpp", "vesksystemd: [" + names + "] doing reset-failed ..."),
            Info("systemd_reset_failed.cpp", "vesksystemd: [" + names + "] reset-failed done.")};
}

LogMatchers Uninstall::LogOf(const std::string& names, const LogMatchers& between)
{
    return InOrder({Begin(names), ReloadLog(), between, ReloadLog(), End(names), ResetFailed(names)});
}

std::string Mark(const std::string& unit)
{
    return MarkOf(unit);
}

std::string Reasons(const std::string& unit)
{
    return ReasonsOf(unit);
}

} // namespace VeskTest

#include "reasons_ground.hpp"
#include "paths.hpp"

namespace VeskTest
{

namespace
{

std::string Named(const std::string& names)
{
    return "vesksystemd: [" + names + "] ";
}

} // namespace

Reasons::Reasons()
{
    RemoveAll(kRunFolder);
    systemctl.OnAny();
    VLIBCErrSetEx(0, "", 0);
}

LogMatchers Reasons::StopBegin(const std::string& names, const std::string& reason)
{
    return {
        Info("systemd_service_stop_by_reason.cpp", Named(names) + "stopping by reason [" + reason + "] ...")};
}

LogMatchers Reasons::StartBegin(const std::string& names, const std::string& reason)
{
    return {Info("systemd_service_start_by_reason.cpp",
                 Named(names) + "starting by reason [" + reason + "] ...")};
}

LogMatchers Reasons::RemoveBegin(const std::string& names, const std::string& reason)
{
    return {Info("systemd_service_reason_remove.cpp", Named(names) + "clear reason [" + reason + "] ...")};
}

LogMatchers Reasons::Stopped(const std::string& names)
{
    return {Info("systemd_stop.cpp", Named(names) + "stopping ..."),
            Info("systemd_stop.cpp", Named(names) + "stopped.")};
}

LogMatchers Reasons::Started(const std::string& names)
{
    return {Info("systemd_start.cpp", Named(names) + "starting ..."),
            Info("systemd_start.cpp", Named(names) + "started.")};
}

LogMatchers Reasons::ResetFailed(const std::string& names)
{
    return {Info("systemd_reset_failed.cpp", Named(names) + "doing reset-failed ..."),
            Info("systemd_reset_failed.cpp", Named(names) + "reset-failed done.")};
}

LogMatchers Reasons::NotUnlinked(const std::string& service, const std::string& reason,
                                 const std::string& why)
{
    return {Error("systemd_internal_lib.cpp", "vesksystemd: failed to unlink reason file [" +
                                                  ReasonFile(service, reason) + "] (" + why + ")")};
}

std::string ReasonFolder(const std::string& service)
{
    return ReasonsOf(service);
}

std::string ReasonFile(const std::string& service, const std::string& reason)
{
    return ReasonFolder(service) + "/" + reason;
}

void Record(const std::string& service, const std::string& reason)
{
    WriteText(ReasonFile(service, reason), "");
}

} // namespace VeskTest

#pragma once

#include <exception>
#include <string>

namespace VESK::Systemd
{

/** The control groups of a process at one moment, as /proc tells them, or what kept them from being read. */
struct CgroupText {
    std::string strText;
    int nError = 0;
    std::exception_ptr exception;
};

CgroupText CgroupTextRead(int nPid);

/** What VESKSystemdCgroupPathnameGet gives and logs for a process, of what was read before. */
bool CgroupPathnameGet(const CgroupText& text, const std::string& strHierarchy, std::string& strPath);

} // namespace VESK::Systemd

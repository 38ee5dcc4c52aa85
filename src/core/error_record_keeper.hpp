#pragma once

#include <string>

#include <veskcore.h>

namespace VESK::Systemd
{

/** Puts the calling thread's error record back as it was. */
class ErrorRecordKeeper
{
public:
    ErrorRecordKeeper()
        : m_nCode(VLIBCErrGet())
        , m_strFile(VLIBCErrorGetFile())
        , m_nLine(VLIBCErrorGetLine())
    {
    }
    ~ErrorRecordKeeper() { VLIBCErrSetEx(m_nCode, m_strFile.c_str(), m_nLine); }
    ErrorRecordKeeper(const ErrorRecordKeeper&) = delete;
    ErrorRecordKeeper& operator=(const ErrorRecordKeeper&) = delete;

private:
    int m_nCode;
    std::string m_strFile;
    int m_nLine;
};

} // namespace VESK::Systemd

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
        , m_szFile(VLIBCErrorGetFile())
        , m_strFile(m_szFile)
        , m_nLine(VLIBCErrorGetLine())
    {
    }
    ~ErrorRecordKeeper()
    {
        // A platform that copies no texts has to get its own pointer back; of one that does the text may be another.
        if (m_blKeep) {
            VLIBCErrSetEx(m_nCode, m_strFile == m_szFile ? m_szFile : m_strFile.c_str(), m_nLine);
        }
    }

    /** Lets the record be what it has become. */
    void Forget() { m_blKeep = false; }

    ErrorRecordKeeper(const ErrorRecordKeeper&) = delete;
    ErrorRecordKeeper& operator=(const ErrorRecordKeeper&) = delete;

private:
    bool m_blKeep = true;
    int m_nCode;
    const char* m_szFile;
    std::string m_strFile;
    int m_nLine;
};

} // namespace VESK::Systemd

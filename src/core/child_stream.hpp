#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "core/text.hpp"

namespace VESK::Systemd
{

/** A started program and the stream on what it prints. */
class ChildStream
{
public:
    /** Starts `strPath` with `vecCommand`, whose first element is argv[0]. `szMode` is that of VLIBCPopenv.
     */
    ChildStream(const std::string& strPath, const char* szMode, const Texts& vecCommand);
    ~ChildStream();
    ChildStream(const ChildStream&) = delete;
    ChildStream& operator=(const ChildStream&) = delete;

    /** Null when the program could not be started. */
    FILE* Get() const { return m_pStream; }

    /** Waits for the program; its raw wait status, -1 when there is none to be had. */
    int Close();

private:
    FILE* m_pStream;
};

} // namespace VESK::Systemd

#pragma once

#include <cstddef>
#include <cstdio>
#include <string>

namespace VESK::Systemd
{

/** Reads a stream line by line through one growing buffer. The stream stays the caller's. */
class LineReader
{
public:
    explicit LineReader(FILE* pStream)
        : m_pStream(pStream)
    {
    }
    ~LineReader();
    LineReader(const LineReader&) = delete;
    LineReader& operator=(const LineReader&) = delete;

    /** The next line with its line feed, which only the last may lack, and any zero bytes. False at the end.
     */
    bool Next(std::string& strLine);

    /** Whether what was read is not all that there is, since reading failed or memory ended. */
    bool Failed() const { return m_blFailed; }

private:
    FILE* m_pStream;
    char* m_pBuffer = nullptr;
    size_t m_cbBuffer = 0;
    bool m_blFailed = false;
};

} // namespace VESK::Systemd

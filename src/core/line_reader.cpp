#include "core/line_reader.hpp"

#include <cerrno>
#include <cstdlib>

namespace VESK::Systemd
{

LineReader::~LineReader()
{
    free(m_pBuffer);
}

bool LineReader::Next(std::string& strLine)
{
    strLine.clear();
    while (!m_blFailed) {
        errno = 0;
        const ssize_t cbRead = getdelim(&m_pBuffer, &m_cbBuffer, '\n', m_pStream);
        if (cbRead > 0) {
            strLine.append(m_pBuffer, static_cast<size_t>(cbRead));
        }
        if (!strLine.empty() && strLine.back() == '\n') {
            return true;
        }
        if (feof(m_pStream) != 0) {
            break;
        }
        // A signal handler of the caller may cut a read short in the middle of a line.
        m_blFailed = ferror(m_pStream) == 0 || errno != EINTR;
        clearerr(m_pStream);
    }
    return !strLine.empty();
}

} // namespace VESK::Systemd

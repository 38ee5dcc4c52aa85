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
    while (true) {
        errno = 0;
        const ssize_t cbRead = getdelim(&m_pBuffer, &m_cbBuffer, '\n', m_pStream);
        if (cbRead > 0) {
            strLine.append(m_pBuffer, static_cast<size_t>(cbRead));
        }
        if (!strLine.empty() && strLine.back() == '\n') {
            return true;
        }
        // A signal handler of the caller may cut a read short in the middle of a line.
        if (ferror(m_pStream) == 0 || errno != EINTR) {
            return !strLine.empty();
        }
        clearerr(m_pStream);
    }
}

} // namespace VESK::Systemd

#include "core/file_text.hpp"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <fcntl.h>
#include <vector>

namespace VESK::Systemd
{

ssize_t ReadSome(int fd, char* pBuffer, size_t cbBuffer)
{
    ssize_t cbRead = -1;
    do {
        cbRead = read(fd, pBuffer, cbBuffer);
    } while (cbRead < 0 && errno == EINTR);
    return cbRead;
}

UniqueFd FileOpen(const std::string& strPath)
{
    return UniqueFd(open(strPath.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
}

bool PiecesRead(int fd, const PieceTaker& take)
{
    // More than /proc gives at a time, which mostly ends with a line.
    std::vector<char> vecBuffer(size_t{16} * 1024);
    size_t cbHeld = 0;
    ssize_t cbRead = 0;
    while ((cbRead = ReadSome(fd, &vecBuffer[cbHeld], vecBuffer.size() - cbHeld)) > 0) {
        const std::string_view svHeld(vecBuffer.data(), cbHeld + static_cast<size_t>(cbRead));
        const size_t cbLines = svHeld.rfind('\n') + 1;
        if (cbLines != 0 && !take(svHeld.substr(0, cbLines))) {
            return true;
        }
        cbHeld = svHeld.size() - cbLines;
        std::copy_n(vecBuffer.begin() + static_cast<std::ptrdiff_t>(cbLines), cbHeld, vecBuffer.begin());
        // A line that fills it goes on.
        vecBuffer.resize(cbHeld == vecBuffer.size() ? 2 * cbHeld : vecBuffer.size());
    }
    if (cbRead == 0 && cbHeld != 0) {
        take({vecBuffer.data(), cbHeld});
    }
    return cbRead == 0;
}

bool FilePiecesRead(const std::string& strPath, const PieceTaker& take)
{
    const UniqueFd fd = FileOpen(strPath);
    return fd.IsOpen() && PiecesRead(fd.Get(), take);
}

bool FileRead(const std::string& strPath, std::string& strText)
{
    std::string strRead;
    const bool blRead = FilePiecesRead(strPath, [&](std::string_view svPiece) {
        strRead += svPiece;
        return true;
    });
    if (blRead) {
        strText = std::move(strRead);
    }
    return blRead;
}

bool Lines::Next(std::string_view& svLine)
{
    if (m_svRest.empty()) {
        return false;
    }
    svLine = m_svRest.substr(0, m_svRest.find('\n'));
    m_svRest.remove_prefix(std::min(svLine.size() + 1, m_svRest.size()));
    return true;
}

} // namespace VESK::Systemd

#include "core/file_text.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>

#include "core/unique_fd.hpp"

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

bool FilePiecesRead(const std::string& strPath, const std::function<bool(std::string_view svPiece)>& take)
{
    const UniqueFd fd(open(strPath.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    if (!fd.IsOpen()) {
        return false;
    }
    // More than /proc gives at a time, which mostly ends with a line.
    std::array<char, size_t{16} * 1024> buffer;
    std::string strLines;
    ssize_t cbRead = 0;
    while ((cbRead = ReadSome(fd.Get(), buffer.data(), buffer.size())) > 0) {
        const std::string_view svRead(buffer.data(), static_cast<size_t>(cbRead));
        const size_t cbLines = svRead.rfind('\n') + 1;
        strLines += svRead.substr(0, cbLines);
        if (cbLines != 0) {
            if (!take(strLines)) {
                return true;
            }
            strLines.clear();
        }
        strLines += svRead.substr(cbLines);
    }
    if (cbRead < 0) {
        return false;
    }
    if (!strLines.empty()) {
        take(strLines);
    }
    return true;
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

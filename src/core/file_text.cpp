#include "core/file_text.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>

#include "core/unique_fd.hpp"

namespace VESK::Systemd
{

bool FileRead(const std::string& strPath, std::string& strText)
{
    const UniqueFd fd(open(strPath.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    if (!fd.IsOpen()) {
        return false;
    }
    // More than /proc gives at a time. Not read into the text itself, which would have to be filled with zeros.
    std::array<char, size_t{16} * 1024> piece;
    strText.clear();
    ssize_t cbRead = 0;
    do {
        cbRead = read(fd.Get(), piece.data(), piece.size());
        if (cbRead > 0) {
            strText.append(piece.data(), static_cast<size_t>(cbRead));
        }
    } while (cbRead > 0 || (cbRead < 0 && errno == EINTR));
    return true;
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

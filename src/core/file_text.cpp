#include "core/file_text.hpp"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>

#include "core/unique_fd.hpp"

namespace VESK::Systemd
{

bool FileRead(const std::string& strPath, std::string& strText)
{
    const UniqueFd fd(open(strPath.c_str(), O_RDONLY | O_CLOEXEC));
    if (!fd.IsOpen()) {
        return false;
    }
    constexpr size_t kStep = size_t{64} * 1024;
    size_t cbText = 0;
    ssize_t cbRead = 0;
    do {
        strText.resize(std::max(strText.capacity(), cbText + kStep));
        cbRead = read(fd.Get(), strText.data() + cbText, strText.size() - cbText);
        cbText += cbRead > 0 ? static_cast<size_t>(cbRead) : 0;
    } while (cbRead > 0 || (cbRead < 0 && errno == EINTR));
    strText.resize(cbText);
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

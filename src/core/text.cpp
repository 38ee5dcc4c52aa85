#include "core/text.hpp"

#include <cerrno>
#include <new>

#include <boost/algorithm/string/join.hpp>
#include <boost/algorithm/string/trim.hpp>

#include "vesksystemd.hpp"

namespace VESK::Systemd
{

std::string Joined(const Texts& vecTexts, const char* szSeparator)
{
    return boost::algorithm::join(vecTexts, szSeparator);
}

std::string Trimmed(const std::string& strText)
{
    return boost::algorithm::trim_copy(strText);
}

Texts Pieces(const std::string& strText, const char* szDelimiters)
{
    Texts vecPieces;
    if (!Split(strText, vecPieces, szDelimiters)) {
        errno = ENOMEM;
        throw std::bad_alloc();
    }
    return vecPieces;
}

std::string BeforeZero(const std::string& strText)
{
    return strText.substr(0, strText.find('\0'));
}

} // namespace VESK::Systemd

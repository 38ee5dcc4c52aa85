#include "core/text.hpp"

#include <boost/algorithm/string/join.hpp>
#include <boost/algorithm/string/trim.hpp>

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

std::string BeforeZero(const std::string& strText)
{
    return strText.substr(0, strText.find('\0'));
}

} // namespace VESK::Systemd

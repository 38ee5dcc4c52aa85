#include "core/names.hpp"

#include <algorithm>
#include <iterator>

namespace VESK::Systemd
{

Texts NamesGet(const Texts& vecTexts)
{
    Texts vecNames;
    vecNames.reserve(vecTexts.size());
    std::transform(vecTexts.begin(), vecTexts.end(), std::back_inserter(vecNames), BeforeZero);
    return vecNames;
}

bool IsEntryName(std::string_view svName)
{
    svName = svName.substr(0, svName.find('\0'));
    return svName != "." && svName != ".." && svName.find('/') == std::string_view::npos;
}

} // namespace VESK::Systemd

#include "volumes/volume_array.hpp"

#include <exception>
#include <json/json.h>
#include <memory>

namespace VESK::Systemd
{
namespace
{

std::string_view WithoutByteOrderMark(std::string_view svText)
{
    constexpr std::string_view kMark = "\xEF\xBB\xBF";
    return svText.substr(0, kMark.size()) == kMark ? svText.substr(kMark.size()) : svText;
}

bool Parse(std::string_view svText, Json::Value& value)
{
    Json::CharReaderBuilder builder;
    Json::CharReaderBuilder::strictMode(&builder.settings_);
    builder["strictRoot"] = false;
    const std::unique_ptr<Json::CharReader> pReader(builder.newCharReader());
    try {
        return pReader->parse(svText.data(), svText.data() + svText.size(), &value, nullptr);
    } catch (const std::exception&) {
        // Values within values, too deep for the reader.
        return false;
    }
}

std::string_view Part(std::string_view svText, ptrdiff_t nBegin, ptrdiff_t nEnd)
{
    return svText.substr(static_cast<size_t>(nBegin), static_cast<size_t>(nEnd - nBegin));
}

bool HasOnly(std::string_view svText, std::string_view svCharacters)
{
    return svText.find_first_not_of(svCharacters) == std::string_view::npos;
}

/** The reader takes a zero byte for the end of the text, so there may be more. */
bool IsWhole(const Json::Value& value, std::string_view svText)
{
    return HasOnly(svText.substr(static_cast<size_t>(value.getOffsetLimit())), " \t\r\n");
}

VolumeElement Element(const Json::Value& value, std::string_view svText)
{
    return {std::string(Part(svText, value.getOffsetStart(), value.getOffsetLimit())), value.isString(),
            value.isString() ? value.asString() : ""};
}

/** False when there is more between the elements than commas and blanks: the reader passes over comments. */
bool Split(const Json::Value& array, std::string_view svText, VolumeElements& vecElements)
{
    constexpr std::string_view kBetween = ", \t\r\n";
    ptrdiff_t nEnd = array.getOffsetStart() + 1;
    for (const Json::Value& value : array) {
        if (!HasOnly(Part(svText, nEnd, value.getOffsetStart()), kBetween)) {
            return false;
        }
        vecElements.push_back(Element(value, svText));
        nEnd = value.getOffsetLimit();
    }
    return HasOnly(Part(svText, nEnd, array.getOffsetLimit() - 1), kBetween);
}

} // namespace

VolumeArray VolumeArrayParse(std::string_view svText, VolumeElements& vecElements)
{
    svText = WithoutByteOrderMark(svText);
    Json::Value value;
    if (!Parse(svText, value) || !IsWhole(value, svText)) {
        return VolumeArray::NotJson;
    }
    if (!value.isArray()) {
        return VolumeArray::NotAnArray;
    }
    return Split(value, svText, vecElements) ? VolumeArray::Read : VolumeArray::NotJson;
}

VolumeElement VolumeElementMake(const std::string& strVolume)
{
    Json::StreamWriterBuilder builder;
    builder["emitUTF8"] = true;
    return {Json::writeString(builder, strVolume), true, strVolume};
}

std::string VolumeArrayText(const VolumeElements& vecElements)
{
    std::string strText = "[";
    const char* szBefore = "\n\t";
    for (const VolumeElement& element : vecElements) {
        strText += szBefore + element.strText;
        szBefore = ",\n\t";
    }
    strText += vecElements.empty() ? "]\n" : "\n]\n";
    return strText;
}

} // namespace VESK::Systemd

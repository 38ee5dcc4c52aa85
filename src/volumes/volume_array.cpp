#include "volumes/volume_array.hpp"

#include <json/json.h>
#include <memory>

#include "core/text.hpp"
#include "volumes/json_scan.hpp"

namespace VESK::Systemd
{
namespace
{

std::string_view WithoutByteOrderMark(std::string_view svText)
{
    constexpr std::string_view kMark = "\xEF\xBB\xBF";
    return svText.substr(0, kMark.size()) == kMark ? svText.substr(kMark.size()) : svText;
}

bool IsJson(std::string_view svText)
{
    JsonScan scan(svText);
    const bool blValue = scan.Value();
    scan.Blanks();
    return blValue && scan.AtEnd();
}

std::unique_ptr<Json::CharReader> StringReader()
{
    Json::CharReaderBuilder builder;
    builder["strictRoot"] = false;
    return std::unique_ptr<Json::CharReader>(builder.newCharReader());
}

/**
 * A string that means no text, half a pair of surrogates, is none: it names no volume, and is kept. What is meant
 * ends at a zero byte, as every path does.
 */
VolumeElement Element(std::string_view svText, Json::CharReader& reader)
{
    Json::Value value;
    const bool blString =
        svText.front() == '"' && reader.parse(svText.data(), svText.data() + svText.size(), &value, nullptr);
    return {std::string(svText), blString, blString ? BeforeZero(value.asString()) : ""};
}

/** The elements of an array that is known to be one. */
VolumeElements Elements(std::string_view svArray)
{
    VolumeElements vecElements;
    const std::unique_ptr<Json::CharReader> pReader = StringReader();
    JsonScan scan(svArray);
    scan.Take('[');
    do {
        scan.Blanks();
        const size_t nBegin = scan.Place();
        if (scan.Value()) {
            vecElements.push_back(Element(svArray.substr(nBegin, scan.Place() - nBegin), *pReader));
        }
        scan.Blanks();
    } while (scan.Take(','));
    return vecElements;
}

} // namespace

VolumeArray VolumeArrayParse(std::string_view svText, VolumeElements& vecElements)
{
    svText = WithoutByteOrderMark(svText);
    if (!IsJson(svText)) {
        return VolumeArray::NotJson;
    }
    svText.remove_prefix(svText.find_first_not_of(" \t\r\n"));
    if (svText.front() != '[') {
        return VolumeArray::NotAnArray;
    }
    vecElements = Elements(svText);
    return VolumeArray::Read;
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

#include "volumes/json_scan.hpp"

namespace VESK::Systemd
{
namespace
{

constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::string_view kDigits = "0123456789";
constexpr std::string_view kHexDigits = "0123456789abcdefABCDEF";

} // namespace

void JsonScan::Blanks()
{
    while (TakeOneOf(kBlanks)) {
    }
}

bool JsonScan::Take(char chExpected)
{
    const bool blTaken = !AtEnd() && m_svText[m_nPlace] == chExpected;
    m_nPlace += blTaken ? 1 : 0;
    return blTaken;
}

bool JsonScan::TakeOneOf(std::string_view svCharacters)
{
    const bool blTaken = !AtEnd() && svCharacters.find(m_svText[m_nPlace]) != std::string_view::npos;
    m_nPlace += blTaken ? 1 : 0;
    return blTaken;
}

bool JsonScan::Word(std::string_view svWord)
{
    const bool blTaken = m_svText.substr(m_nPlace, svWord.size()) == svWord;
    m_nPlace += blTaken ? svWord.size() : 0;
    return blTaken;
}

bool JsonScan::Digits()
{
    if (!TakeOneOf(kDigits)) {
        return false;
    }
    while (TakeOneOf(kDigits)) {
    }
    return true;
}

bool JsonScan::Number()
{
    Take('-');
    if (!Take('0') && !Digits()) {
        return false;
    }
    if (Take('.') && !Digits()) {
        return false;
    }
    if (TakeOneOf("eE")) {
        TakeOneOf("+-");
        return Digits();
    }
    return true;
}

/** What follows a backslash. */
bool JsonScan::Escape()
{
    if (!Take('u')) {
        return TakeOneOf("\"\\/bfnrt");
    }
    return TakeOneOf(kHexDigits) && TakeOneOf(kHexDigits) && TakeOneOf(kHexDigits) && TakeOneOf(kHexDigits);
}

bool JsonScan::String()
{
    if (!Take('"')) {
        return false;
    }
    while (!Take('"')) {
        if (Take('\\')) {
            if (!Escape()) {
                return false;
            }
        } else if (static_cast<unsigned char>(Next()) < 0x20) {
            return false; // the end of the text as well
        } else {
            ++m_nPlace;
        }
    }
    return true;
}

bool JsonScan::Scalar()
{
    return Next() == '"' ? String() : Word("true") || Word("false") || Word("null") || Number();
}

/** The name of a member, with its colon. */
bool JsonScan::Key()
{
    Blanks();
    if (!String()) {
        return false;
    }
    Blanks();
    return Take(':');
}

/** Down to the first value that holds no other: a scalar, or what stands before the end of an empty bracket. */
bool JsonScan::FirstScalar()
{
    for (;;) {
        Blanks();
        if (Take('[')) {
            m_strClosing += ']';
        } else if (Take('{')) {
            m_strClosing += '}';
        } else {
            return Scalar();
        }
        Blanks();
        if (Next() == m_strClosing.back()) {
            return true;
        }
        if (m_strClosing.back() == '}' && !Key()) {
            return false;
        }
    }
}

bool JsonScan::Close()
{
    Blanks();
    if (m_strClosing.empty() || !Take(m_strClosing.back())) {
        return false;
    }
    m_strClosing.pop_back();
    return true;
}

/** From one value within a bracket to the next. */
bool JsonScan::NextInside()
{
    return Take(',') && (m_strClosing.back() == ']' || Key());
}

bool JsonScan::Value()
{
    do {
        if (!FirstScalar()) {
            return false;
        }
        while (!m_strClosing.empty() && Close()) {
        }
    } while (!m_strClosing.empty() && NextInside());
    return m_strClosing.empty();
}

} // namespace VESK::Systemd

#pragma once

#include <string>
#include <string_view>

namespace VESK::Systemd
{

/**
 * Walks through JSON text by the grammar of RFC 8259 and tells where its values end, which no library does in the
 * same way in all of its releases. Nesting has no limit. Bytes above 127 in strings are not looked at: paths are
 * bytes, and so may the texts be that hold them.
 */
class JsonScan
{
public:
    explicit JsonScan(std::string_view svText)
        : m_svText(svText)
    {
    }

    size_t Place() const { return m_nPlace; }
    bool AtEnd() const { return m_nPlace == m_svText.size(); }

    void Blanks();
    bool Take(char chExpected);
    /** A whole value, blanks before it included. */
    bool Value();

private:
    char Next() const { return AtEnd() ? '\0' : m_svText[m_nPlace]; }
    bool TakeOneOf(std::string_view svCharacters);
    bool Word(std::string_view svWord);
    bool Digits();
    bool Number();
    bool Escape();
    bool String();
    bool Scalar();
    bool Key();
    bool FirstScalar();
    bool Close();
    bool NextInside();

    std::string_view m_svText;
    size_t m_nPlace = 0;
    std::string m_strClosing; // the brackets that are open, each as the one that closes it
};

} // namespace VESK::Systemd

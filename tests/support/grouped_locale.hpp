// A program's locale that separates all digits of a number, as locales of users may separate some.
#pragma once

#include <locale>
#include <string>

namespace VeskTest
{

// The global locale of the program, while it lives.
class GroupedLocale
{
public:
    GroupedLocale()
        : m_before(std::locale::global(std::locale(std::locale::classic(), &m_digits)))
    {
    }
    ~GroupedLocale() { std::locale::global(m_before); }
    GroupedLocale(const GroupedLocale&) = delete;
    GroupedLocale& operator=(const GroupedLocale&) = delete;

private:
    class Digits : public std::numpunct<char>
    {
    public:
        // No locale frees it.
        Digits()
            : std::numpunct<char>(1)
        {
        }

    protected:
        char do_thousands_sep() const override { return ','; }
        std::string do_grouping() const override { return "\1"; }
    };

    Digits m_digits;
    std::locale m_before;
};

} // namespace VeskTest

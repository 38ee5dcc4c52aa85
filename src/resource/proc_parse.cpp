#include "resource/proc_parse.hpp"

#include <climits>
#include <initializer_list>

#include "core/file_text.hpp"

namespace VESK::Systemd
{
namespace
{

/** Kinds of characters, as objects, so that they are looked at without a call for each. */
constexpr auto kIsSpace = [](char c) { return c == ' ' || (c >= '\t' && c <= '\r'); };
constexpr auto kIsDecimal = [](char c) { return c >= '0' && c <= '9'; };
constexpr auto kIsHexadecimal = [](char c) {
    return kIsDecimal(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
};

/** Takes from the front of a line what one directive of a format takes. False where the line does not match.
 */
class Scanner
{
public:
    explicit Scanner(std::string_view svLine)
        : m_svRest(svLine)
    {
    }

    /** Text of the format. */
    bool Literal(std::string_view svText)
    {
        const bool blMatches = m_svRest.substr(0, svText.size()) == svText;
        m_svRest.remove_prefix(blMatches ? svText.size() : 0);
        return blMatches;
    }

    /** "%s"; a zero byte ends it, as it ends a C string. Nothing else takes one either. */
    bool Word(std::string_view& svWord)
    {
        SkipSpace();
        svWord = TakeWhile([](char c) { return c != '\0' && !kIsSpace(c); });
        return !svWord.empty();
    }

    /** "%*s", so many times */
    bool SkipWords(int nWords)
    {
        std::string_view svWord;
        while (nWords > 0 && Word(svWord)) {
            --nWords;
        }
        return nWords == 0;
    }

    /** "%llu": a sign is read, and a number too large is the largest. The value is written on success. */
    bool Number(unsigned long long& ullValue)
    {
        const bool blNegative = TakeSign() == '-';
        const std::string_view svDigits = TakeWhile(kIsDecimal);
        if (svDigits.empty()) {
            return false;
        }
        unsigned long long ullNumber = 0;
        for (const char c : svDigits) {
            const auto ullDigit = static_cast<unsigned long long>(c - '0');
            if (ullNumber > (ULLONG_MAX - ullDigit) / 10) {
                ullValue = ULLONG_MAX;
                return true;
            }
            ullNumber = ullNumber * 10 + ullDigit;
        }
        ullValue = blNegative ? 0 - ullNumber : ullNumber;
        return true;
    }

    /** "%*d" */
    bool SkipDecimal()
    {
        TakeSign();
        return !TakeWhile(kIsDecimal).empty();
    }

    /** "%*x": a prefix is read, and is a number of its own when no digit follows it. */
    bool SkipHexadecimal()
    {
        TakeSign();
        if (Literal("0")) {
            Literal("x") || Literal("X");
            TakeWhile(kIsHexadecimal);
            return true;
        }
        return !TakeWhile(kIsHexadecimal).empty();
    }

private:
    template <typename Predicate>
    std::string_view TakeWhile(Predicate&& matches)
    {
        size_t nTaken = 0;
        while (nTaken < m_svRest.size() && matches(m_svRest[nTaken])) {
            ++nTaken;
        }
        const std::string_view svTaken = m_svRest.substr(0, nTaken);
        m_svRest.remove_prefix(nTaken);
        return svTaken;
    }

    void SkipSpace() { TakeWhile(kIsSpace); }

    char TakeSign()
    {
        SkipSpace();
        if (m_svRest.empty() || (m_svRest.front() != '-' && m_svRest.front() != '+')) {
            return '\0';
        }
        const char cSign = m_svRest.front();
        m_svRest.remove_prefix(1);
        return cSign;
    }

    std::string_view m_svRest;
};

std::string_view FirstLine(std::string_view svText)
{
    return svText.substr(0, svText.find('\n'));
}

bool FieldParse(std::string_view svLine, std::string_view svName, unsigned long long& ullValue)
{
    Scanner scanner(svLine);
    return scanner.Literal(svName) && scanner.Number(ullValue);
}

} // namespace

bool StatTicksParse(std::string_view svText, unsigned long long& ullUser, unsigned long long& ullSystem)
{
    Scanner scanner(FirstLine(svText));
    return scanner.SkipWords(13) && scanner.Number(ullUser) && scanner.Number(ullSystem);
}

bool TotalTicksParse(std::string_view svText, unsigned long long& ullTotal)
{
    Scanner scanner(FirstLine(svText));
    if (!scanner.Literal("cpu")) {
        return false;
    }
    unsigned long long ullSum = 0;
    for (int i = 0; i < 8; ++i) {
        unsigned long long ullTicks = 0;
        if (!scanner.Number(ullTicks)) {
            return false;
        }
        ullSum += ullTicks;
    }
    ullTotal = ullSum;
    return true;
}

unsigned long long PssParse(std::string_view svText)
{
    constexpr std::string_view kPss = "Pss:";
    unsigned long long ullSum = 0;
    // Few of the many lines have the letter, so most are passed over as a whole.
    for (size_t nPss = svText.find('P'); nPss != std::string_view::npos; nPss = svText.find('P', nPss + 1)) {
        unsigned long long ullPss = 0;
        const bool blLine = nPss == 0 || svText[nPss - 1] == '\n';
        if (blLine && svText.substr(nPss, kPss.size()) == kPss &&
            FieldParse(FirstLine(svText.substr(nPss)), kPss, ullPss)) {
            ullSum += ullPss;
        }
    }
    return ullSum;
}

bool IOParse(std::string_view svText, unsigned long long& ullRead, unsigned long long& ullWritten)
{
    Lines lines(svText);
    for (std::string_view svLine; lines.Next(svLine);) {
        if (FieldParse(svLine, "read_bytes:", ullRead)) {
            return lines.Next(svLine) && FieldParse(svLine, "write_bytes:", ullWritten);
        }
    }
    return false;
}

std::string_view MapsPathParse(std::string_view svLine)
{
    Scanner scanner(svLine);
    std::string_view svPath;
    const bool blMatches = scanner.SkipHexadecimal() && scanner.Literal("-") && scanner.SkipHexadecimal() &&
                           scanner.SkipWords(1) && scanner.SkipHexadecimal() && scanner.SkipWords(1) &&
                           scanner.SkipDecimal() && scanner.Word(svPath);
    return blMatches ? svPath : std::string_view();
}

} // namespace VESK::Systemd

#include "output.hpp"

#include <algorithm>
#include <cstdlib>
#include <cwchar>
#include <iostream>
#include <unistd.h>

#include <json/writer.h>

namespace Veskctl
{
namespace
{

const char* EscapeOf(Colour colour)
{
    switch (colour) {
    case Colour::Good:
        return "\033[32m";
    case Colour::Bad:
        return "\033[1;31m";
    case Colour::Notice:
        return "\033[33m";
    case Colour::Faint:
        return "\033[2m";
    case Colour::Strong:
        return "\033[1m";
    case Colour::Plain:
        break;
    }
    return "";
}

/** The bytes and the columns of the first character; an invalid byte stands for itself. */
int FirstWidth(const char* szText, size_t cbText, size_t& cbFirst)
{
    std::mbstate_t state{};
    wchar_t character = 0;
    const size_t cbRead = std::mbrtowc(&character, szText, cbText, &state);
    const bool blValid = cbRead != 0 && cbRead <= cbText;
    cbFirst = blValid ? cbRead : 1;
    return blValid ? wcwidth(character) : 1;
}

} // namespace

Cell StateCell(const std::string& strState)
{
    if (strState == "active" || strState == "enabled") {
        return {strState, Colour::Good};
    }
    if (strState == "failed" || strState == "not-found" || strState == "error") {
        return {strState, Colour::Bad};
    }
    if (strState == "inactive" || strState == "disabled" || strState == "static" || strState == "loaded") {
        return {strState};
    }
    return {strState, Colour::Notice};
}

bool IsTerminal(int fd)
{
    return isatty(fd) != 0;
}

bool IsColoured(int fd)
{
    const char* szNoColour = getenv("NO_COLOR");
    const char* szTerminal = getenv("TERM");
    return IsTerminal(fd) && (szNoColour == nullptr || *szNoColour == '\0') &&
           (szTerminal == nullptr || std::string(szTerminal) != "dumb");
}

std::string Painted(const std::string& strText, Colour colour)
{
    static const bool blColoured = IsColoured(STDOUT_FILENO);
    return blColoured && colour != Colour::Plain ? EscapeOf(colour) + strText + "\033[0m" : strText;
}

size_t Width(const std::string& strText)
{
    size_t nColumns = 0;
    size_t cbFirst = 0;
    for (size_t i = 0; i < strText.size(); i += cbFirst) {
        nColumns += static_cast<size_t>(std::max(0, FirstWidth(&strText[i], strText.size() - i, cbFirst)));
    }
    return nColumns;
}

std::string Harmless(const std::string& strText)
{
    std::string strHarmless = strText;
    const auto isControl = [](unsigned char c) { return c < 0x20 || c == 0x7F; };
    std::replace_if(strHarmless.begin(), strHarmless.end(), isControl, '?');
    return strHarmless;
}

Table::Table(const Texts& vecHeader)
{
    std::vector<Cell> vecCells;
    for (const std::string& strName : vecHeader) {
        vecCells.emplace_back(strName, Colour::Strong);
    }
    m_vecRows.push_back(vecCells);
}

void Table::Row(std::vector<Cell> vecCells)
{
    for (Cell& cell : vecCells) {
        cell.strText = cell.strText.empty() ? "-" : Harmless(cell.strText);
    }
    m_vecRows.push_back(std::move(vecCells));
}

void Table::Print() const
{
    if (m_vecRows.size() < 2) {
        return;
    }
    std::vector<size_t> vecWidths(m_vecRows.front().size());
    for (const auto& vecCells : m_vecRows) {
        for (size_t i = 0; i < vecCells.size(); ++i) {
            vecWidths[i] = std::max(vecWidths[i], Width(vecCells[i].strText));
        }
    }
    for (const auto& vecCells : m_vecRows) {
        for (size_t i = 0; i < vecCells.size(); ++i) {
            const bool blLast = i + 1 == vecCells.size();
            const size_t nBlanks = blLast ? 0 : vecWidths[i] - Width(vecCells[i].strText) + 2;
            std::cout << Painted(vecCells[i].strText, vecCells[i].colour) << std::string(nBlanks, ' ');
        }
        std::cout << '\n';
    }
}

void Say(const std::string& strLine)
{
    std::cout << Harmless(strLine) << '\n' << std::flush;
}

void Say(const std::string& strSubject, const std::string& strLine)
{
    Say(strSubject + ": " + strLine);
}

void Complain(const std::string& strLine)
{
    // The complaint comes after what was printed before it, also where both go to one file.
    std::cout << std::flush;
    std::cerr << "veskctl: " << Harmless(strLine) << '\n';
}

void Complain(const std::string& strSubject, const std::string& strLine)
{
    Complain(strSubject + ": " + strLine);
}

void PrintJson(const Json::Value& value)
{
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "  ";
    builder["precision"] = 3;
    builder["precisionType"] = "decimal";
    std::cout << Json::writeString(builder, value) << '\n';
}

Json::Value JsonList(const Texts& vecTexts)
{
    Json::Value list(Json::arrayValue);
    for (const std::string& strText : vecTexts) {
        list.append(strText);
    }
    return list;
}

bool IsConfirmed(const std::string& strQuestion)
{
    std::cout << std::flush;
    std::cerr << strQuestion << " [y/N] ";
    std::string strAnswer;
    std::getline(std::cin, strAnswer);
    return strAnswer == "y" || strAnswer == "yes";
}

bool IsPermitted(const std::string& strWhat)
{
    if (geteuid() == 0) {
        return true;
    }
    Complain(strWhat + " needs root; run it with sudo");
    return false;
}

} // namespace Veskctl

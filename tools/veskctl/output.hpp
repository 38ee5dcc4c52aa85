#pragma once

/** What veskctl prints: aligned tables in colour, JSON, and complaints. */

#include <string>
#include <vector>

#include <json/value.h>

#include "command.hpp"

namespace Veskctl
{

enum class Colour { Plain, Good, Bad, Notice, Faint, Strong };

struct Cell {
    Cell(const char* szGiven)
        : strText(szGiven)
    {
    }
    Cell(const std::string& strGiven, Colour given = Colour::Plain)
        : strText(strGiven)
        , colour(given)
    {
    }

    std::string strText;
    Colour colour = Colour::Plain;
};

/** The colour of a state of systemd's. */
Cell StateCell(const std::string& strState);

/** A table whose columns are as wide as their widest cell. Prints nothing without rows. */
class Table
{
public:
    explicit Table(const Texts& vecHeader);
    void Row(std::vector<Cell> vecCells);
    void Print() const;

private:
    std::vector<std::vector<Cell>> m_vecRows;
};

/** Whether colour is wanted on a descriptor: on a terminal, unless NO_COLOR says otherwise. */
bool IsColoured(int fd);
bool IsTerminal(int fd);

/** The text with an escape sequence around it where standard output is coloured. */
std::string Painted(const std::string& strText, Colour colour);

/** How many columns of a terminal a text takes. */
size_t Width(const std::string& strText);

/** The text without what a terminal would take for a command. */
std::string Harmless(const std::string& strText);

void Say(const std::string& strLine);
/** "SUBJECT: LINE". */
void Say(const std::string& strSubject, const std::string& strLine);

/** Tells on standard error what went wrong, and what can be done. */
void Complain(const std::string& strLine);
void Complain(const std::string& strSubject, const std::string& strLine);

void PrintJson(const Json::Value& value);
Json::Value JsonList(const Texts& vecTexts);

/** Asks on the terminal. */
bool IsConfirmed(const std::string& strQuestion);

/** Whether the caller is root; complains if not. */
bool IsPermitted(const std::string& strWhat);

} // namespace Veskctl

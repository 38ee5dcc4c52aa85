#include "help.hpp"

#include <sstream>

namespace Veskctl
{
namespace
{

constexpr size_t kColumns = 79;
constexpr const char* kForRoot = "Needs root.";

/** The words of a text in lines that begin with so many blanks. */
std::string Filled(const std::string& strText, size_t nIndent)
{
    std::istringstream words(strText);
    std::string strResult;
    size_t nColumn = kColumns;
    for (std::string strWord; words >> strWord; nColumn += strWord.size()) {
        if (nColumn + 1 + strWord.size() > kColumns) {
            strResult += (strResult.empty() ? "" : "\n") + std::string(nIndent, ' ') + strWord;
            nColumn = nIndent;
        } else {
            strResult += ' ' + strWord;
            ++nColumn;
        }
    }
    return strResult + "\n";
}

/** A name, and what it stands for beside it. */
std::string Entry(const std::string& strName, const std::string& strText, size_t nColumn)
{
    const std::string strFilled = Filled(strText, nColumn);
    if (strName.size() + 4 > nColumn) {
        return "  " + strName + "\n" + strFilled;
    }
    return "  " + strName + std::string(nColumn - strName.size() - 2, ' ') + strFilled.substr(nColumn);
}

std::string OperandWord(const Operand& operand)
{
    const std::string strWord = std::string(operand.szName) + (operand.blMany ? "..." : "");
    return operand.blOptional ? "[" + strWord + "]" : strWord;
}

std::string OptionWord(const Option& option)
{
    return std::string("--") + option.szName +
           (option.szValue == nullptr ? "" : std::string(" ") + option.szValue);
}

/** The paragraphs of the details: filled, or as they are where they begin with a blank. */
std::string Paragraphs(const std::string& strDetails)
{
    std::istringstream lines(strDetails);
    std::string strResult;
    for (std::string strLine; std::getline(lines, strLine);) {
        strResult += strLine.empty() || strLine[0] == ' ' ? strLine + "\n" : Filled(strLine, 0);
    }
    return strResult;
}

} // namespace

const std::vector<Option>& CommonOptions()
{
    static const std::vector<Option> vecOptions{
        {"help", "tell how a verb is used"},
        {"verbose", "also print what the library logs"},
    };
    return vecOptions;
}

const std::vector<std::pair<const char*, const char*>>& ExitCodes()
{
    static const std::vector<std::pair<const char*, const char*>> vecCodes{
        {"0", "done"},          {"1", "failed"},
        {"2", "wrong use"},     {"3", "no such unit, volume, slice or process"},
        {"4", "not permitted"},
    };
    return vecCodes;
}

std::string Usage(const Verb& verb, bool blOptions)
{
    std::string strUsage = verb.szName;
    strUsage += !blOptions || verb.vecOptions.empty() ? "" : " [OPTION]...";
    for (const Operand& operand : verb.vecOperands) {
        strUsage += " " + OperandWord(operand);
    }
    const char* aszTails[] = {"", " [-- COMMAND...]", " -- COMMAND..."};
    return strUsage + aszTails[static_cast<int>(verb.tail)];
}

std::string VerbHelp(const Verb& verb)
{
    std::string strHelp = "veskctl " + Usage(verb) + "\n\n" + Filled(verb.szSummary, 0);
    if (*verb.szDetails != '\0') {
        strHelp += "\n" + Paragraphs(verb.szDetails);
    }
    strHelp += verb.who == For::Root ? std::string("\n") + kForRoot + "\n" : "";
    strHelp += "\nOptions:\n";
    for (const auto& vecOptions : {verb.vecOptions, CommonOptions()}) {
        for (const Option& option : vecOptions) {
            strHelp += Entry(OptionWord(option), option.szHelp, 20);
        }
    }
    return strHelp;
}

std::string Overview(const std::vector<Group>& vecGroups, const std::string& strFirstWord)
{
    std::string strHelp =
        "veskctl VERB [OPTION]... [NAME]...\n\nControls the units, volumes, targets and slices of "
        "the system.\n";
    for (const Group& group : vecGroups) {
        std::string strVerbs;
        for (const Verb& verb : group.vecVerbs) {
            const std::string strName = verb.szName;
            if (strFirstWord.empty() ||
                strName.compare(0, strFirstWord.size() + 1, strFirstWord + " ") == 0) {
                strVerbs += Entry(Usage(verb, false), verb.szSummary, 38);
            }
        }
        strHelp += strVerbs.empty() ? "" : std::string("\n") + group.szSummary + ":\n" + strVerbs;
    }
    std::string strCodes = "'veskctl VERB --help' tells more of each, its options as well. Exit codes:";
    for (const auto& [szCode, szMeaning] : ExitCodes()) {
        strCodes += std::string(*szCode == '0' ? " " : ", ") + szCode + " " + szMeaning;
    }
    return strHelp + "\n" + Filled(strCodes + ".", 0);
}

namespace
{

/** The text as roff takes it: no character is a command. */
std::string Roff(const std::string& strText)
{
    std::string strRoff = strText.empty() || (strText[0] != '.' && strText[0] != '\'') ? "" : "\\&";
    for (const char c : strText) {
        strRoff += c == '\\' ? "\\e" : c == '-' ? "\\-" : std::string(1, c);
    }
    return strRoff;
}

std::string RoffEntry(const std::string& strName, const std::string& strText)
{
    return ".TP\n.B " + Roff(strName) + "\n" + Roff(strText) + "\n";
}

std::string RoffParagraphs(const std::string& strDetails)
{
    std::istringstream lines(strDetails);
    std::string strResult;
    for (std::string strLine; std::getline(lines, strLine);) {
        strResult += strLine.empty() ? "" : ".IP\n" + Roff(strLine) + "\n";
    }
    return strResult;
}

std::string RoffVerb(const Verb& verb)
{
    std::string strVerb = RoffEntry(Usage(verb), verb.szSummary) + RoffParagraphs(verb.szDetails);
    strVerb += verb.who == For::Root ? RoffParagraphs(kForRoot) : "";
    if (!verb.vecOptions.empty()) {
        strVerb += ".RS\n";
        for (const Option& option : verb.vecOptions) {
            strVerb += RoffEntry(OptionWord(option), option.szHelp);
        }
        strVerb += ".RE\n";
    }
    return strVerb;
}

std::string RoffHead(const std::string& strName, const std::string& strSummary)
{
    return ".TH " + strName +
           " 8 \"\" \"veskctl " VESKCTL_VERSION "\" \"System administration\"\n.SH NAME\n" + Roff(strName) +
           " \\- " + Roff(strSummary) + "\n.SH SYNOPSIS\n";
}

std::string RoffTail()
{
    std::string strTail = ".SH COMMON OPTIONS\n";
    for (const Option& option : CommonOptions()) {
        strTail += RoffEntry(OptionWord(option), option.szHelp);
    }
    strTail += ".SH EXIT STATUS\n";
    for (const auto& [szCode, szMeaning] : ExitCodes()) {
        strTail += RoffEntry(szCode, szMeaning);
    }
    return strTail + ".SH SEE ALSO\n.BR veskctl (8),\n.BR systemctl (1)\n";
}

std::string GroupPage(const Group& group)
{
    std::string strPage = RoffHead(std::string("veskctl-") + group.szName, group.szSummary);
    std::string strVerbs;
    for (const Verb& verb : group.vecVerbs) {
        strPage += ".B veskctl\n" + Roff(Usage(verb)) + "\n.br\n";
        strVerbs += RoffVerb(verb);
    }
    return strPage + ".SH VERBS\n" + strVerbs + RoffTail();
}

} // namespace

std::string ManPage(const std::vector<Group>& vecGroups, const std::string& strGroup)
{
    std::string strPage =
        RoffHead("veskctl", "control the units, volumes, targets and slices of the system") +
        ".B veskctl\nVERB [OPTION]... [NAME]...\n.SH DESCRIPTION\n";
    for (const Group& group : vecGroups) {
        if (strGroup == group.szName) {
            return GroupPage(group);
        }
        strPage += ".SS " + Roff(group.szSummary) + "\nSee\n.BR veskctl\\-" + group.szName + " (8).\n";
        for (const Verb& verb : group.vecVerbs) {
            strPage += RoffEntry(Usage(verb, false), verb.szSummary);
        }
    }
    return strGroup.empty() ? strPage + RoffTail() : "";
}

} // namespace Veskctl

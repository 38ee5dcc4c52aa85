// The paths that systemctl prints for the uninstall: lists of them, with unusual ones in quotes.
#include "fuzz.hpp"

// The functions for it are nobody else's.
#include "../../src/units/systemd_uninstall.cpp"

namespace VeskFuzz
{
namespace
{

Texts WithoutEmpty(const Texts& texts)
{
    Texts result;
    for (const std::string& text : texts) {
        if (!text.empty()) {
            result.push_back(text);
        }
    }
    return result;
}

// As systemd quotes a path with blanks and other unusual characters.
std::string InQuotes(const std::string& path)
{
    std::string quoted = "\"";
    for (const char character : path) {
        quoted += std::string_view("\"\\`$").find(character) == std::string_view::npos ? "" : "\\";
        quoted += character;
    }
    return quoted + "\"";
}

void FuzzAny(const std::string& text)
{
    Texts items;
    const bool taken = ListSplit(text, items);
    RequireSame(items, WithoutEmpty(items), "no item is empty");
    if (text.find('"') == std::string::npos) {
        Require(taken, "a list without quotes is one");
        RequireSame(items, WithoutEmpty(Cut(text, ' ')), "the items between blanks");
    }
    const bool isLonger = taken && ListSplit(text + " /next", items);
    Require(isLonger == taken, "one more item does no harm");
}

// A path stands for itself unless that could be read otherwise.
bool IsPlain(const std::string& path)
{
    return path.find(' ') == std::string::npos && path[0] != '"';
}

void FuzzList(const Texts& paths, bool quotesAll)
{
    std::string list;
    for (const std::string& path : paths) {
        list += (list.empty() ? "" : " ") + (quotesAll || !IsPlain(path) ? InQuotes(path) : path);
    }
    Texts items;
    Require(ListSplit(list, items), "paths are a list");
    RequireSame(items, WithoutEmpty(paths), "paths read back");

    // A bare path may have white space at its end, which is not the line's.
    if (!quotesAll) {
        return;
    }
    UnitPaths found;
    Require(PathsTake("DropInPaths=" + list + "\n", found), "a line of drop-ins is taken");
    RequireSame(found.vecDropIns, WithoutEmpty(paths), "the drop-ins");
    Require(found.vecUnitFiles.empty(), "and no unit file");
}

void FuzzUnitFile(const std::string& path)
{
    UnitPaths found;
    Require(PathsTake("FragmentPath=" + path + "\n", found), "a line of a unit's file is taken");
    RequireSame(found.vecUnitFiles, WithoutEmpty({Stripped(path)}), "the unit's file");
}

} // namespace

void Fuzz(std::string_view input)
{
    const std::string text(input);
    FuzzAny(text);
    FuzzList(Cut(input, '\n'), true);
    FuzzList(Cut(input, '\n'), false);
    FuzzUnitFile(text);
}

} // namespace VeskFuzz

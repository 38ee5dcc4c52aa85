// Names of units, their types, and what is before those.
#include "fuzz.hpp"

#include <vesksystemd.hpp>

namespace VeskFuzz
{
namespace
{

bool EndsWith(const std::string& text, const std::string& end)
{
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

bool HasKnownType(const std::string& name)
{
    for (const char* type : {".service", ".socket", ".device", ".mount", ".automount", ".swap", ".target",
                             ".path", ".timer", ".slice", ".scope"}) {
        if (EndsWith(name, type)) {
            return true;
        }
    }
    return false;
}

} // namespace

void Fuzz(std::string_view input)
{
    const std::string text(input);
    const std::string name = BeforeZero(text);
    const Texts parts = Cut(name, '.');
    const std::string type = parts.size() == 1 ? "" : parts.back();
    const size_t tail = parts.size() == 1 ? 0 : type.size() + 1;

    RequireSame(VESK::Systemd::UnitTypeGet(text), type, "the type");
    RequireSame(VESK::Systemd::UnitNameWithoutFileExtensionGet(text), name.substr(0, name.size() - tail),
                "the name without its type");
    const std::string normalized = VESK::Systemd::NormalizedUnitNameGet(text);
    RequireSame(normalized, HasKnownType(name) ? name : name + ".service", "the normalised name");
    RequireSame(VESK::Systemd::NormalizedUnitNameGet(normalized), normalized, "a normalised name stays");
}

} // namespace VeskFuzz

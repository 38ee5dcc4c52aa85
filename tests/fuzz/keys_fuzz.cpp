// The keys of units: the value as it stands in the unit's file.
#include "fuzz.hpp"

#include <vesksystemd.hpp>

#include "keys/key_get.hpp"

namespace
{

std::string value;

} // namespace

std::string VESK::Systemd::XVesklineKeyGet(const std::string&, const std::string&)
{
    return value;
}

namespace VeskFuzz
{
namespace
{

bool IsTarget(const std::string& name)
{
    const std::string type = ".target";
    const std::string ending = name.size() < type.size() ? "" : name.substr(name.size() - type.size());
    return ending == type;
}

} // namespace

void Fuzz(std::string_view input)
{
    // No value of a file has a zero byte.
    value = BeforeZero(input);
    const std::string stripped = Stripped(value);
    const Texts items = stripped.empty() ? Texts() : Cut(stripped, ' ');
    Texts targets{"before"};
    for (const std::string& item : items) {
        if (IsTarget(item)) {
            targets.push_back(item);
        }
    }

    Texts read;
    Require(VESK::Systemd::ListKeyGet("foo", "Carries", read), "a list is read");
    RequireSame(read, items, "the items of a list");
    Texts readTargets{"before"};
    Require(VESK::Systemd::TargetsKeyGet("foo", "BelongsTo", readTargets), "targets are read");
    RequireSame(readTargets, targets, "the targets in a list");

    std::string text = "before";
    Require(VESK::Systemd::TextKeyGet("foo", "Name", text) == !value.empty(), "an empty text is none");
    RequireSame(text, value, "a text");
    bool flag = false;
    Require(VESK::Systemd::FlagKeyGet("foo", "Flag", flag), "a flag is read");
    Require(flag == (value == "yes"), "a flag is yes or not");

    Texts carried{"before"};
    Texts names{"before"};
    for (const std::string& item : items) {
        names.push_back(VESK::Systemd::NormalizedUnitNameGet(item));
    }
    Require(VESKSystemdTargetCarriesGet("foo.target", carried), "carried units are read");
    RequireSame(carried, names, "carried units");
}

} // namespace VeskFuzz

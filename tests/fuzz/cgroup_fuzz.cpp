// Control groups as the platform's systemd and today's lay them out: a line with the hierarchy, one with a slice,
// then what /proc/PID/cgroup says.
#include "fuzz.hpp"

#include <algorithm>
#include <optional>
#include <vesksystemd.hpp>

#include "resource/cgroup_layout.hpp"

namespace VeskFuzz
{
namespace
{

using VESK::Systemd::CgroupTree;
using VESK::Systemd::SystemdKind;

std::string WithoutEnding(const std::string& text, const std::string& ending)
{
    const bool has = text.size() >= ending.size() && text.substr(text.size() - ending.size()) == ending;
    return has ? text.substr(0, text.size() - ending.size()) : text;
}

bool Begins(const std::string& text, const std::string& beginning)
{
    return text.substr(0, beginning.size()) == beginning;
}

std::string Type(const std::string& name)
{
    const Texts pieces = Cut(BeforeZero(name), '.');
    return pieces.size() == 1 ? "" : pieces.back();
}

bool IsUnit(const std::string& name)
{
    return VESK::Systemd::NormalizedUnitNameGet(name) == name;
}

std::optional<std::string> PathOf(const std::string& line, const std::string& hierarchy, SystemdKind kind)
{
    Texts fields = Cut(Stripped(line), ':');
    if (fields.size() < 3 || fields[1] != hierarchy || (kind == SystemdKind::Platform && fields.size() > 3)) {
        return std::nullopt;
    }
    std::string path = fields[2];
    for (size_t i = 3; i < fields.size(); ++i) {
        path += ":" + fields[i];
    }
    return kind == SystemdKind::Platform ? path : WithoutEnding(path, " (deleted)");
}

// The units that the parts behind the first are, up to one that is none.
Texts LeadingUnits(const Texts& parts)
{
    Texts units;
    for (size_t i = 1; i < parts.size(); ++i) {
        const std::string unit = Begins(parts[i], "_") ? parts[i].substr(1) : parts[i];
        if (!IsUnit(unit)) {
            break;
        }
        units.push_back(unit);
    }
    return units;
}

// The first that is no slice, else the last; and what is behind it.
std::string Innermost(Texts& units)
{
    std::string slice;
    while (!units.empty()) {
        const std::string unit = units.front();
        units.erase(units.begin());
        if (Type(unit) != "slice") {
            return unit;
        }
        slice = unit;
    }
    return slice;
}

std::string UnitOf(const Texts& parts, SystemdKind kind)
{
    if (kind == SystemdKind::Platform) {
        return parts.back().find('.') == std::string::npos ? "" : parts.back();
    }
    Texts units = LeadingUnits(parts);
    const std::string unit = Innermost(units);
    const bool isManager = Begins(unit, "user@") && Type(unit) == "service";
    const std::string usersUnit = isManager ? Innermost(units) : "";
    return usersUnit.empty() ? unit : usersUnit;
}

std::string SliceOf(const Texts& parts, bool isNested)
{
    std::string slice;
    for (size_t i = 1; i < parts.size() && Type(parts[i]) == "slice" && (isNested || i == 1); ++i) {
        slice = parts[i];
    }
    return slice;
}

std::string Nested(const std::string& slice)
{
    const Texts words = Cut(WithoutEnding(slice, ".slice"), '-');
    if (Type(slice) != "slice" || slice.find('/') != std::string::npos ||
        std::count(words.begin(), words.end(), "") > 0) {
        return slice;
    }
    std::string path;
    std::string name;
    for (const std::string& word : words) {
        name += (name.empty() ? "" : "-") + word;
        path += (path.empty() ? "" : "/") + name + ".slice";
    }
    return path;
}

void FuzzPath(const std::string& path, SystemdKind kind)
{
    const Texts parts = Cut(path, '/');
    RequireSame(VESK::Systemd::CgroupUnitGet(parts, kind), UnitOf(parts, kind), "the unit");
    for (const bool isNested : {false, true}) {
        const CgroupTree tree{"/tree", "", "tasks", isNested};
        RequireSame(VESK::Systemd::CgroupSliceGet(tree, parts), SliceOf(parts, isNested), "the slice");
    }

    Texts added{"before.service"};
    VESK::Systemd::CgroupUnitAdd(path, added, kind);
    Texts expected{"before.service"};
    if (kind == SystemdKind::Platform) {
        expected.push_back(parts.back());
    } else {
        Texts units = LeadingUnits(Cut(Stripped(path), '/'));
        const std::string unit = Innermost(units);
        if (!unit.empty() && unit != expected[0]) {
            expected.push_back(unit);
        }
    }
    RequireSame(added, expected, "the unit to stop");
}

} // namespace

void Fuzz(std::string_view input)
{
    const std::string hierarchy(TakeLine(input));
    const std::string slice = BeforeZero(TakeLine(input));
    for (const bool isNested : {false, true}) {
        const CgroupTree tree{"/tree", hierarchy, "tasks", isNested};
        RequireSame(VESK::Systemd::CgroupSliceFolder(tree, slice),
                    "/tree/" + (isNested ? Nested(slice) : slice), "the folder of a slice");
    }
    for (const std::string& line : Cut(input, '\n')) {
        for (const SystemdKind kind : {SystemdKind::Platform, SystemdKind::Current}) {
            const auto expected = PathOf(line, hierarchy, kind);
            std::string path = "before";
            Require(VESK::Systemd::CgroupLineParse(line, hierarchy, path, kind) == expected.has_value(),
                    "a line of the hierarchy is taken, and no other");
            RequireSame(path, expected.value_or("before"), "the path");
            FuzzPath(path, kind);
        }
    }
}

} // namespace VeskFuzz

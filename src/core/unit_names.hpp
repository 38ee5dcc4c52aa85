#pragma once

#include <set>
#include <string>

namespace VESK::Systemd
{

/** The eleven suffixes that name a unit's type. */
const std::set<std::string>& UnitTypes();

/** The template's name for an instance of a template, the name itself for any other unit. */
std::string TemplateNameGet(const std::string& strText);

} // namespace VESK::Systemd

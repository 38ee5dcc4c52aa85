#pragma once

/** Help and man pages, both made from the verbs. */

#include <string>
#include <vector>

#include "command.hpp"

namespace Veskctl
{

/** All verbs by their groups, or those alone whose first word is this one. */
std::string Overview(const std::vector<Group>& vecGroups, const std::string& strFirstWord);

std::string VerbHelp(const Verb& verb);

/** The options that every verb takes. */
const std::vector<Option>& CommonOptions();

/** The exit codes and what they stand for. */
const std::vector<std::pair<const char*, const char*>>& ExitCodes();

/** The man page of a group, or of veskctl itself for an empty name. */
std::string ManPage(const std::vector<Group>& vecGroups, const std::string& strGroup);

} // namespace Veskctl

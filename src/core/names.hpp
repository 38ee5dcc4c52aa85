#pragma once

#include <string>
#include <string_view>

#include "core/log.hpp"
#include "core/text.hpp"

/** VESK_ARGUMENT(!name.empty()) for a name, of which nothing counts from its first zero byte on. */
#define VESK_ARGUMENT_NAME(name)                                                                             \
    (::VESK::Systemd::HasName(name) ||                                                                       \
     (::VESK::Systemd::InvalidArgument(VESK_HERE, "!" #name ".empty()"), false))

namespace VESK::Systemd
{

/**
 * The names in a caller's list: each up to its first zero byte, where it ends for the kernel and for systemctl.
 * A list of its own, so that the caller's may also be the list of those that fail.
 */
Texts NamesGet(const Texts& vecTexts);

/** Whether there is anything of a name before its first zero byte. */
inline bool HasName(std::string_view svName)
{
    return !svName.empty() && svName.front() != '\0';
}

/**
 * Whether a name, up to its first zero byte, stays in the folder of whose entries it is one: not a path, "." or
 * "..". An empty name is for other checks to refuse; as a unit's it is that of ".service".
 */
bool IsEntryName(std::string_view svName);

} // namespace VESK::Systemd

#pragma once

#include <string>
#include <sys/types.h>

#include "core/systemd_kind.hpp"

namespace VESK::Systemd
{

/**
 * The folder of a user's session, /run/user/UID, where it is that user's own; else empty. The platform's
 * session always tells its folder, so there it is not looked for.
 */
std::string RuntimeFolderGet(uid_t uid, SystemdKind kind = kSystemdBuilt);

} // namespace VESK::Systemd

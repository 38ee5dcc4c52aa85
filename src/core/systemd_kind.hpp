#pragma once

namespace VESK::Systemd
{

/** Whose systemd is spoken to. */
enum class SystemdKind {
    Platform, ///< the platform's own
    Current,  ///< 228 and later, as distributions ship it
};

/** The one that this library was built for, which only those ask that hide the difference from all others. */
extern const SystemdKind kSystemdBuilt;

} // namespace VESK::Systemd

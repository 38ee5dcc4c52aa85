#include "core/systemd_kind.hpp"

namespace VESK::Systemd
{

// The libraries for the two kinds differ in this object alone.
const SystemdKind kSystemdBuilt = VESK_SYSTEMD_CURRENT != 0 ? SystemdKind::Current : SystemdKind::Platform;

} // namespace VESK::Systemd

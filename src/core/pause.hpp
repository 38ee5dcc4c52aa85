#pragma once

namespace VESK::Systemd
{

/** Sleeps a whole second, also when signals of the caller interrupt it. */
void PauseSecond();

/** Sleeps half a second, also when signals of the caller interrupt it. */
void PauseHalfSecond();

} // namespace VESK::Systemd

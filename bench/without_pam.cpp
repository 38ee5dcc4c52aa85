// In place of what needs PAM, so that the library can be loaded without it. Never called.
#include "vesksystemd.hpp"

void VESKSystemdPutEnvByPAMSystemd() {}

// Scripting /usr/bin/systemctl of a sandbox; see scripted_program.hpp.
#pragma once

#include "scripted_program.hpp"

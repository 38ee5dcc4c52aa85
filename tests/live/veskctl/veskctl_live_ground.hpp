// veskctl on a real systemd, run by a program or by somebody at a terminal.
#pragma once

#include <gmock/gmock.h>
#include <string>

#include "live_units.hpp"

namespace VeskTest
{

constexpr const char* kVolume = "/volume1";

// The veskctl that was built for the systemctl of this ground.
std::string VeskctlPath();

// Runs it with these arguments, as a shell reads them.
Outcome Veskctl(const std::string& arguments);

bool IsVolumeMounted();

// Has a slice of systemd's measured, where those are not the same.
void MonitorSlice(const std::string& slice);

// A tmpfs at /volume1, and inside.service, which works in it.
class VeskctlLive : public ::testing::Test
{
protected:
    VeskctlLive();
    ~VeskctlLive() override;
};

// A terminal with a shell in which veskctl is found.
class Terminal
{
public:
    Terminal();
    ~Terminal();
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    // Types the line and the key that ends it.
    static void Type(const std::string& line);
    // A key by its name: "C-c", "q".
    static void Key(const std::string& name);
    static void Resize(int columns, int lines);
    static std::string Screen();
    // Waits until the screen holds the text; false when it does not within half a minute.
    static bool Awaits(const std::string& text);
};

} // namespace VeskTest

#pragma once

#include <gmock/gmock.h>
#include <string>
#include <vector>
#include <vesksystemd.hpp>

#include "files.hpp"
#include "holdings.hpp"
#include "library_log.hpp"

namespace VeskTest
{

using Words = std::vector<std::string>;

constexpr int kInvalidArgument = 0x0D00;
constexpr int kBufferTooSmall = 0x0100;

// Folders of the two hierarchies: "x.slice/a.service".
std::string InSystemd(const std::string& cgroup);
std::string InMonitor(const std::string& cgroup);

// A machine without cgroups, with both hierarchies there, and an empty error record. Nothing that a test has
// called has left anything behind at its end.
class SlicesTest : public ::testing::Test
{
protected:
    SlicesTest();
    void TearDown() override;

    // The error record's code and file.
    static void ExpectError(int code, const std::string& file);
    static void ExpectNoError();

    SyslogCapture log;

private:
    Holdings m_before;
};

} // namespace VeskTest

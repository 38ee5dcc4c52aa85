// The section reader beside a real systemd, on the same files.

#include <gmock/gmock.h>
#include <string>
#include <veskcore.h>

#include "files.hpp"
#include "live_units.hpp"

namespace VeskTest
{
namespace
{

constexpr const char* kUnit = "same.service";

std::string ReadDescription(const std::string& path)
{
    char buffer[1024] = "";
    const int result = VLIBCFileGetSectionValue(path.c_str(), "Unit", "Description", buffer, sizeof buffer);
    return result == 0 ? buffer : "no description: " + std::to_string(result);
}

class SectionReaderLive : public ::testing::TestWithParam<std::string>
{
};

TEST_P(SectionReaderLive, ReadsADescriptionAsSystemdDoes)
{
    const std::string path = UnitFilePath(UnitFolder::Run, kUnit);
    WriteText(path, GetParam() + "\n[Service]\nExecStart=/bin/true\n");
    DaemonReload();
    ASSERT_EQ(Property(kUnit, "LoadState"), "loaded");
    EXPECT_EQ(ReadDescription(path), Property(kUnit, "Description"));
}

INSTANTIATE_TEST_SUITE_P(
    All, SectionReaderLive,
    ::testing::Values("[Unit]\nDescription=plain", "  [Unit]  \n \tDescription \t=  a  b\t ",
                      "[Unit]\nDescription=a=b # no comment", "[Unit]\nDescription=\"quoted\" 'words'",
                      "[Unit]\nDescription=first\nDescription=second",
                      "[Unit]\nDescription=first\nDescription=\nDescription=third",
                      "[Unit]\nDescription=first\n[X-Other]\nDescription=other\n[Unit]\nAfter=a.service",
                      "[Unit]\nDescription=first\n[X-Other]\nA=b\n[Unit]\nDescription=again",
                      "[Unit]\nDescription=a\\\nb", "[Unit]\nDescription=a \\\n  b\\\n\tc",
                      "[Unit]\nDescription=a\\\n# comment\n ; comment\nb",
                      "[Unit]\nDescription=a\\\\\nAfter=b", "[Unit]\nDescription=a\\\n\nAfter=b.service",
                      "[Unit]\nDescription=a\\\n[Service]", "[Unit]\r\nDescription=a\\\r\nb\r\n",
                      "[Unit]\rDescription=a\r", "\xEF\xBB\xBF[Unit]\nDescription=a",
                      "#[X]\n;[Y]\n[Unit]\n#Description=a\nDescription=b",
                      "[Unit]\nrubbish\nDescription=a\nDescription", "[Unit]\nDescription\\\n=a"));

} // namespace
} // namespace VeskTest

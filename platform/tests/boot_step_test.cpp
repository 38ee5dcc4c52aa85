#include <gmock/gmock.h>
#include <string>
#include <veskbootseq.h>

#include "boot_step.hpp"
#include "files.hpp"

namespace VeskTest
{
namespace
{

constexpr const char* kFile = "/run/veskbootseq/step";

TEST(BootStep, IsTheNumberInItsFile)
{
    for (const int step : {0, 1, 5, 9, 1000000, 2147483647}) {
        SetBootStep(step);
        EXPECT_EQ(VESKSystemGetBootStep(), step);
    }
}

TEST(BootStep, MayHaveBlanksAroundIt)
{
    for (const char* text : {"4", "4\n", " 4 ", "\t4\r\n\n", "04"}) {
        WriteText(kFile, text);
        EXPECT_EQ(VESKSystemGetBootStep(), 4) << text;
    }
}

TEST(BootStep, IsUnknownWithoutItsFile)
{
    ClearBootStep();
    EXPECT_EQ(VESKSystemGetBootStep(), -1);
    MakeFolder(kFile);
    EXPECT_EQ(VESKSystemGetBootStep(), -1);
}

TEST(BootStep, IsUnknownForAnythingButANumber)
{
    for (const std::string text : {"", "\n", " ", "-1", "-0", "+1", "1 2", "1x", "x1", "0x1", "1.5", "one",
                                   "2147483648", "99999999999999999999"}) {
        WriteText(kFile, text);
        EXPECT_EQ(VESKSystemGetBootStep(), -1) << text;
    }
    WriteText(kFile, std::string("1\0", 2));
    EXPECT_EQ(VESKSystemGetBootStep(), -1);
}

} // namespace
} // namespace VeskTest

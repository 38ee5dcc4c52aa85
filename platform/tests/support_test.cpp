#include <gmock/gmock.h>
#include <veskcore.h>

#include "files.hpp"

namespace VeskTest
{
namespace
{

constexpr const char* kFile = "/usr/vesk/etc/vesk-support.conf";

class Support : public ::testing::Test
{
protected:
    void SetUp() override { VLIBCErrSetEx(0, "", 0); }
};

TEST_F(Support, IsWhatTheFileSaysYesTo)
{
    WriteText(kFile, "raid=yes\nusb=no\nwifi=yes  \r\nlast=yes");
    EXPECT_NE(VLIBCSupportGet("raid"), 0);
    EXPECT_NE(VLIBCSupportGet("wifi"), 0);
    EXPECT_NE(VLIBCSupportGet("last"), 0);
    EXPECT_EQ(VLIBCSupportGet("usb"), 0);
    EXPECT_EQ(VLIBCSupportGet("unknown"), 0);
    EXPECT_EQ(VLIBCErrGet(), 0);
}

TEST_F(Support, NeedsTheWholeLine)
{
    WriteText(kFile, "raid=yes\n#usb=yes\nwifi=yes please\nsata = yes\nscsi=Yes\n");
    for (const char* name : {"aid", "raid=yes", "usb", "wifi", "sata", "scsi", "raid=yes\n#usb", "\n"}) {
        EXPECT_EQ(VLIBCSupportGet(name), 0) << name;
    }
}

TEST_F(Support, IsMissingWithoutTheFileWhichIsNoFailure)
{
    RemoveAll(kFile);
    EXPECT_EQ(VLIBCSupportGet("raid"), 0);
    EXPECT_EQ(VLIBCErrGet(), 0);
}

TEST_F(Support, FailsForAFileThatCannotBeRead)
{
    MakeFolder(kFile);
    EXPECT_EQ(VLIBCSupportGet("raid"), 0);
    EXPECT_EQ(VLIBCErrGet(), VLIBC_ERR_OPEN);
}

} // namespace
} // namespace VeskTest

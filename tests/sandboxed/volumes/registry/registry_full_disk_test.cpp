// A small disk under a registry.

#include <filesystem>
#include <sys/mount.h>
#include <unistd.h>

#include "error.hpp"
#include "registry_ground.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::size_t kPage = 4096;

class RegistryFullDisk : public RegistryGround
{
protected:
    RegistryFullDisk()
        : file(UnitFile("foo.service"))
    {
    }

    ~RegistryFullDisk() override { umount2(kUnitFolder, MNT_DETACH); }

    // A disk with so many pages for the contents of files, of which the file takes those that it needs.
    void Mount(std::size_t pages, const std::string& text, const std::string& options = "")
    {
        MakeFolder(kUnitFolder);
        const std::string size = "size=" + std::to_string(pages * kPage) + options;
        VeskGround::Require(mount("disk", kUnitFolder, "tmpfs", 0, size.c_str()), "mount", kUnitFolder);
        WriteText(file, text);
    }

    // A volume whose name makes the text of an array that holds it alone so long.
    static std::string VolumeForText(std::size_t length)
    {
        return "/" + std::string(length - Volumes({"/"}).size(), 'v');
    }

    void ExpectFull(const std::string& volume)
    {
        const std::string text = ReadText(file);
        EXPECT_FALSE(VESKSystemdVolumeRegister("foo", volume));
        EXPECT_THAT(log.Take(), ElementsAre(NotDumped(file)));
        EXPECT_EQ(ReadText(file), text);
        EXPECT_THAT(ListFolder(kUnitFolder), ElementsAre("foo.service"));
    }

    void ExpectRegistered(const std::string& volume)
    {
        EXPECT_TRUE(VESKSystemdVolumeRegister("foo", volume));
        EXPECT_EQ(ReadText(file), Volumes({volume}));
        EXPECT_THAT(ListFolder(kUnitFolder), ElementsAre("foo.service"));
        EXPECT_THAT(log.Take(), IsEmpty());
    }

    const std::string file;
};

TEST_F(RegistryFullDisk, KeepsTheOldFileWhenTheNewOneIsOneByteTooLong)
{
    for (const std::size_t pages : {1U, 2U, 5U}) {
        SCOPED_TRACE(pages);
        Mount(pages + 1, "[]");
        ExpectFull(VolumeForText(pages * kPage + 1));
        ExpectRegistered(VolumeForText(pages * kPage));
        umount2(kUnitFolder, 0);
    }
}

TEST_F(RegistryFullDisk, KeepsTheOldFileWhenThereIsNoRoomAtAll)
{
    Mount(1, "[]");
    ExpectFull("/volume1");
    EXPECT_FALSE(VESKSystemdVolumeUnregister("foo", "/volume1"));
    EXPECT_THAT(log.Take(), ElementsAre(NotDumped(file)));
    EXPECT_EQ(ReadText(file), "[]");
}

TEST_F(RegistryFullDisk, KeepsTheOldFileWhenTheDiskTakesNoMoreFiles)
{
    Mount(8, "[]", ",nr_inodes=2");
    ExpectFull("/volume1");
}

TEST_F(RegistryFullDisk, KeepsTheOldFileWhenTheDiskIsReadOnly)
{
    Mount(8, "[]");
    VeskGround::Require(mount(nullptr, kUnitFolder, nullptr, MS_REMOUNT | MS_RDONLY, nullptr), "remount",
                        kUnitFolder);
    ExpectFull("/volume1");
}

TEST_F(RegistryFullDisk, TellsThatAVolumeIsThereWithoutWriting)
{
    Mount(1, R"(["/volume1"])");
    EXPECT_TRUE(VESKSystemdVolumeRegister("foo", "/volume1"));
    EXPECT_EQ(ReadText(file), R"(["/volume1"])");
}

TEST_F(RegistryFullDisk, TakesTheVolumeWhenThereIsRoomAgain)
{
    Mount(2, "[]");
    WriteText(std::string(kUnitFolder) + "filler", std::string(kPage, 'x'));
    EXPECT_FALSE(VESKSystemdVolumeRegister("foo", "/volume1"));
    EXPECT_THAT(log.Take(), ElementsAre(NotDumped(file)));
    RemoveAll(std::string(kUnitFolder) + "filler");
    ExpectRegistered("/volume1");
}

} // namespace
} // namespace VeskTest

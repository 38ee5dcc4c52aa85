// A slice as an object.

#include <typeinfo>
#include <unistd.h>

#include "call_faults.hpp"
#include "slices_ground.hpp"
#include "unit_files.hpp"

namespace VeskTest
{
namespace
{

using ::testing::IsEmpty;
using VESK::Systemd::Slice;

class SliceObject : public SlicesTest
{
protected:
    SliceObject() { WriteText(InMonitor("a.slice/tasks"), std::to_string(getpid()) + "\n"); }
    ~SliceObject() override { RemoveAll(UnitFilePath(UnitFolder::Usr, "a.slice")); }

    static void WriteKeys(const std::string& keys)
    {
        WriteUnitFile(UnitFolder::Usr, "a.slice", "[X-Veskline]\n" + keys);
    }

    // A plain std::exception and nothing else.
    static void ExpectThrow(const std::string& unit = "a.slice")
    {
        try {
            const Slice slice(unit);
            ADD_FAILURE() << "no exception";
        } catch (const std::exception& error) {
            EXPECT_TRUE(typeid(error) == typeid(std::exception)) << typeid(error).name();
        }
    }

    static void ExpectWhole(const Slice& slice)
    {
        EXPECT_EQ(slice.UnitNameGet(), "a.slice");
        EXPECT_EQ(slice.NameGet(), "A slice");
        EXPECT_EQ(slice.NameI18nGet(), "app:a_slice");
        EXPECT_EQ(slice.IconGet().strAppId, "app");
        EXPECT_EQ(slice.IconGet().strIconCls, "class");
        EXPECT_EQ(slice.IconGet().strIconName, "icon");
        ASSERT_EQ(slice.ProcessesGet().size(), 1U);
        EXPECT_EQ(slice.ProcessesGet().begin()->PidGet(), getpid());
    }
    static void WriteAllKeys()
    {
        WriteKeys("Name=A slice\nNameI18n=app:a_slice\nAppId=app\nIconCls=class\nIconName=icon\n");
    }
};

TEST_F(SliceObject, HoldsItsNamesItsIconAndItsProcesses)
{
    WriteAllKeys();
    ExpectWhole(Slice("a.slice"));
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(SliceObject, CanBeCopiedAndMoved)
{
    WriteAllKeys();
    Slice slice("a.slice");
    const Slice copy(slice);
    ExpectWhole(copy);
    ExpectWhole(slice);
    const Slice moved(std::move(slice));
    ExpectWhole(moved);
}

TEST_F(SliceObject, IsASampleThatStaysAsItIs)
{
    WriteAllKeys();
    const Slice slice("a.slice");
    WriteKeys("Name=Another\n");
    RemoveAll(InMonitor("a.slice"));
    ExpectWhole(slice);
}

TEST_F(SliceObject, NeedsOneOfTheNamesOnly)
{
    WriteKeys("Name=A slice\n");
    EXPECT_EQ(Slice("a.slice").NameGet(), "A slice");
    EXPECT_EQ(Slice("a.slice").NameI18nGet(), "");
    EXPECT_EQ(Slice("a.slice").IconGet().strAppId, "");
    WriteKeys("NameI18n=app:a_slice\n");
    EXPECT_EQ(Slice("a.slice").NameGet(), "");
    EXPECT_EQ(Slice("a.slice").NameI18nGet(), "app:a_slice");
}

TEST_F(SliceObject, IsNotMadeWithoutAName)
{
    WriteKeys("AppId=app\n");
    ExpectThrow();
    RemoveAll(UnitFilePath(UnitFolder::Usr, "a.slice"));
    ExpectThrow();
    EXPECT_THAT(log.Take(), IsEmpty());
    ExpectThrow("");
}

TEST_F(SliceObject, IsNotMadeWhenItsIconCannotBeRead)
{
    WriteAllKeys();
    const KeyReading reading([](const std::string& key) {
        if (key == "NameI18n") {
            RemoveAll(UnitFilePath(UnitFolder::Usr, "a.slice"));
        }
    });
    ExpectThrow();
}

TEST_F(SliceObject, IsNotMadeWhenItsProcessesCannotBeListed)
{
    WriteAllKeys();
    WriteText(InMonitor("a.slice/tasks"), "abc\n");
    ExpectThrow();
    RemoveAll(InMonitor("a.slice"));
    ExpectThrow();
}

TEST_F(SliceObject, MayBeWithoutProcesses)
{
    WriteAllKeys();
    RemoveAll(InMonitor("a.slice/tasks"));
    EXPECT_THAT(Slice("a.slice").ProcessesGet(), IsEmpty());
}

} // namespace
} // namespace VeskTest

// Failures that the bundled platform does not have by itself: the test stands in for its tables of strings,
// and for the allocator.
#include <cstdlib>
#include <new>

#include "c_list.hpp"
#include "files.hpp"
#include "key_rows.hpp"
#include "next_function.hpp"

namespace
{

bool refuseTables = false;
std::string refusedKey;

// Where the items of a long list are kept: allocations of these sizes fail.
bool refuseLists = false;
constexpr size_t kItems = 301;
constexpr size_t kShortestRefused = kItems / 2 * sizeof(std::string);
constexpr size_t kLongestRefused = 512 * sizeof(std::string);

} // namespace

VLIBCSzHash* VLIBCSzHashAlloc(int size)
{
    if (refuseTables) {
        VLIBCErrSetEx(0x0200, "table.cpp", 7);
        return nullptr;
    }
    return VeskTest::NextFunction<decltype(VLIBCSzHashAlloc)>("VLIBCSzHashAlloc")(size);
}

int VLIBCSzHashSetValue(VLIBCSzHash** hash, const char* key, const char* value)
{
    if (key == refusedKey) {
        VLIBCErrSetEx(0x0200, "table.cpp", 8);
        return -1;
    }
    return VeskTest::NextFunction<decltype(VLIBCSzHashSetValue)>("VLIBCSzHashSetValue")(hash, key, value);
}

void* operator new(size_t size)
{
    const bool refused = refuseLists && size >= kShortestRefused && size <= kLongestRefused;
    void* memory = refused ? nullptr : std::malloc(size == 0 ? 1 : size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, size_t /*size*/) noexcept
{
    std::free(memory);
}

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using VESK::Systemd::AddUnitSection;

TEST(UnitSectionWithoutMemory, IsNotWritten)
{
    SyslogCapture log;
    refuseTables = true;
    EXPECT_FALSE(AddUnitSection("/run/new", "x.conf", "S", {{"a", "1"}}));
    EXPECT_THAT(log.Take(), ElementsAre(Error("systemd_internal_lib.cpp",
                                              "vesksystemd: Fail to VLIBCSzHashAlloc [0x0200 table.cpp:7]")));
    EXPECT_FALSE(Exists("/run/new"));
}

TEST(UnitSectionWithoutMemory, LacksTheKeyThatCouldNotBeSet)
{
    SyslogCapture log;
    refusedKey = "b";
    EXPECT_TRUE(AddUnitSection("/run/new", "x.conf", "S", {{"a", "1"}, {"b", "2"}, {"c", "3"}}));
    EXPECT_EQ(ReadText("/run/new/x.conf"), "[S]\na=1\nc=3\n");
    EXPECT_THAT(log.Take(),
                ElementsAre(Error("systemd_internal_lib.cpp", "vesksystemd: Fail to VLIBCSzHashSetValue to "
                                                              "[/run/new/x.conf] [0x0200 table.cpp:8]")));
}

class ListWithoutMemory : public ::testing::Test
{
protected:
    ListWithoutMemory()
    {
        std::string value;
        for (size_t item = 0; item < kItems; ++item) {
            value += "i ";
        }
        WriteKeys("FirewallSections=" + value + "\nPackedIn=" + value + "\nBelongsTo=" + value + "\n");
        ClearErrorRecord();
        refuseLists = true;
    }
    ~ListWithoutMemory() override { refuseLists = false; }

    Words m_items{"before"};
};

TEST_F(ListWithoutMemory, FailsWithAnErrorOfItsOwn)
{
    EXPECT_FALSE(VESKSystemdFirewallSectionsGet("foo", m_items));
    EXPECT_EQ(VLIBCErrGet(), 0x8000);
    EXPECT_STREQ(VLIBCErrorGetFile(), "systemd_internal_lib.cpp");
    EXPECT_FALSE(VESKSystemdPackedInGet("foo", m_items));
    EXPECT_FALSE(VESKSystemdBelongsToGet("foo", m_items));
    EXPECT_THAT(m_items, ElementsAre("before"));
}

TEST_F(ListWithoutMemory, FailsFromC)
{
    CList list;
    EXPECT_EQ(VESKCSystemdFirewallSectionsGet("foo", list.Address()), 0);
    EXPECT_EQ(VLIBCErrGet(), 0x8000);
    EXPECT_THAT(list.Items(), IsEmpty());
}

} // namespace
} // namespace VeskTest

#include <climits>
#include <gmock/gmock.h>
#include <string>
#include <veskcore.h>

#include "c_list.hpp"
#include "files.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;

TEST(StringList, KeepsTheTextsInTheirOrder)
{
    CList list({"b", "", "a", "b"});
    EXPECT_THAT(list.Items(), ElementsAre("b", "", "a", "b"));
    EXPECT_EQ(VLIBCSzListCount(list.Get()), 4);
}

TEST(StringList, CopiesTheText)
{
    CList list;
    std::string text = "first";
    EXPECT_EQ(VLIBCSzListPush(list.Address(), text.c_str()), 0);
    text = "other";
    EXPECT_STREQ(VLIBCSzListGet(list.Get(), 0), "first");
}

TEST(StringList, HasNothingOutsideItsRange)
{
    const CList list({"only"});
    for (const int index : {-1, 1, 2, INT_MAX, INT_MIN}) {
        VLIBCErrSetEx(0, "", 0);
        EXPECT_EQ(VLIBCSzListGet(list.Get(), index), nullptr) << index;
        EXPECT_EQ(VLIBCErrGet(), VLIBC_ERR_ARGUMENT);
    }
}

TEST(StringList, LeavesATextThatWasHandedOutWhereItIs)
{
    CList list({"short", std::string(1000, 'l')});
    const char* first = VLIBCSzListGet(list.Get(), 0);
    for (int count = 0; count < 10000; ++count) {
        VLIBCSzListPush(list.Address(), "more");
    }
    EXPECT_EQ(VLIBCSzListGet(list.Get(), 0), first);
    EXPECT_STREQ(first, "short");
}

class StringTable : public ::testing::Test
{
protected:
    void TearDown() override { VLIBCSzHashFree(m_hash); }

    void Set(const char* key, const char* value) { EXPECT_EQ(VLIBCSzHashSetValue(&m_hash, key, value), 0); }

    std::string Written()
    {
        EXPECT_EQ(VLIBCFileAddSection("/run/table", "X", m_hash, 0), 0);
        return ReadText("/run/table");
    }

    VLIBCSzHash* m_hash = VLIBCSzHashAlloc(1024);
};

TEST_F(StringTable, KeepsTheOrderInWhichKeysWereFirstSet)
{
    Set("Zoo", "1");
    Set("Apple", "2");
    Set("Moon", "3");
    Set("Zoo", "4");
    EXPECT_EQ(Written(), "[X]\nZoo=4\nApple=2\nMoon=3\n");
}

TEST_F(StringTable, CopiesKeyAndValue)
{
    std::string key = "Key";
    std::string value = "value";
    Set(key.c_str(), value.c_str());
    key = "Oth";
    value = "other";
    EXPECT_EQ(Written(), "[X]\nKey=value\n");
}

TEST_F(StringTable, TakesThousandsOfKeys)
{
    std::string expected = "[X]\n";
    for (int number = 0; number < 20000; ++number) {
        const std::string key = "Key" + std::to_string(number);
        Set(key.c_str(), "old");
        Set(key.c_str(), "new");
        expected += key + "=new\n";
    }
    EXPECT_EQ(Written(), expected);
}

} // namespace
} // namespace VeskTest

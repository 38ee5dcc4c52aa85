#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <vesksystemd.hpp>

namespace VeskTest
{
namespace
{

using VESK::Systemd::NormalizedUnitNameGet;
using VESK::Systemd::UnitNameWithoutFileExtensionGet;
using VESK::Systemd::UnitTypeGet;

constexpr const char* kTypes[] = {"service", "socket", "device", "mount", "automount", "swap",
                                  "target",  "path",   "timer",  "slice", "scope"};

TEST(NormalizedUnitNameGet, KeepsANameOfEachKnownType)
{
    for (const std::string type : kTypes) {
        EXPECT_EQ(NormalizedUnitNameGet("foo." + type), "foo." + type);
        EXPECT_EQ(NormalizedUnitNameGet("." + type), "." + type);
    }
}

TEST(NormalizedUnitNameGet, TakesABareNameForAService)
{
    EXPECT_EQ(NormalizedUnitNameGet("foo"), "foo.service");
    EXPECT_EQ(NormalizedUnitNameGet("service"), "service.service");
    EXPECT_EQ(NormalizedUnitNameGet("foo@1"), "foo@1.service");
}

TEST(NormalizedUnitNameGet, TakesAnUnknownTypeForAPartOfTheName)
{
    EXPECT_EQ(NormalizedUnitNameGet("foo.bar"), "foo.bar.service");
    EXPECT_EQ(NormalizedUnitNameGet("foo."), "foo..service");
    EXPECT_EQ(NormalizedUnitNameGet("."), "..service");
    EXPECT_EQ(NormalizedUnitNameGet("foo.service.d"), "foo.service.d.service");
    EXPECT_EQ(NormalizedUnitNameGet("foo.services"), "foo.services.service");
    EXPECT_EQ(NormalizedUnitNameGet("foo.snapshot"), "foo.snapshot.service");
    EXPECT_EQ(NormalizedUnitNameGet("foo.service "), "foo.service .service");
    EXPECT_EQ(NormalizedUnitNameGet("foo.service\n"), "foo.service\n.service");
}

TEST(NormalizedUnitNameGet, IsCaseSensitive)
{
    EXPECT_EQ(NormalizedUnitNameGet("foo.Service"), "foo.Service.service");
    EXPECT_EQ(NormalizedUnitNameGet("foo.SOCKET"), "foo.SOCKET.service");
}

TEST(NormalizedUnitNameGet, LooksAtTheLastDotOnly)
{
    EXPECT_EQ(NormalizedUnitNameGet("a.socket.b"), "a.socket.b.service");
    EXPECT_EQ(NormalizedUnitNameGet("a.b.socket"), "a.b.socket");
}

TEST(NormalizedUnitNameGet, TakesAnything)
{
    EXPECT_EQ(NormalizedUnitNameGet(""), ".service");
    EXPECT_EQ(NormalizedUnitNameGet("../../etc/passwd"), "../../etc/passwd.service");
    const std::string longName(1000000, 'x');
    EXPECT_EQ(NormalizedUnitNameGet(longName), longName + ".service");
}

TEST(UnitTypeGet, IsTheTextAfterTheLastDotKnownOrNot)
{
    EXPECT_EQ(UnitTypeGet("foo.bar"), "bar");
    EXPECT_EQ(UnitTypeGet("foo.service"), "service");
    EXPECT_EQ(UnitTypeGet("a.b.service"), "service");
    EXPECT_EQ(UnitTypeGet(".service"), "service");
}

TEST(UnitTypeGet, IsEmptyWithoutADotOrBehindTheLast)
{
    EXPECT_EQ(UnitTypeGet("foo"), "");
    EXPECT_EQ(UnitTypeGet(""), "");
    EXPECT_EQ(UnitTypeGet("foo."), "");
    EXPECT_EQ(UnitTypeGet("."), "");
}

TEST(UnitNameWithoutFileExtensionGet, IsTheTextBeforeTheLastDot)
{
    EXPECT_EQ(UnitNameWithoutFileExtensionGet("a.b.service"), "a.b");
    EXPECT_EQ(UnitNameWithoutFileExtensionGet("foo.bar"), "foo");
    EXPECT_EQ(UnitNameWithoutFileExtensionGet("foo."), "foo");
    EXPECT_EQ(UnitNameWithoutFileExtensionGet(".service"), "");
}

TEST(UnitNameWithoutFileExtensionGet, IsTheWholeNameWithoutADot)
{
    EXPECT_EQ(UnitNameWithoutFileExtensionGet("foo"), "foo");
    EXPECT_EQ(UnitNameWithoutFileExtensionGet(""), "");
}

TEST(Names, EndAtTheirFirstZeroByte)
{
    const std::string mount("a.mount\0.socket", 15);
    EXPECT_EQ(NormalizedUnitNameGet(mount), "a.mount");
    EXPECT_EQ(UnitTypeGet(mount), "mount");
    EXPECT_EQ(UnitNameWithoutFileExtensionGet(mount), "a");
    EXPECT_EQ(NormalizedUnitNameGet(std::string("a\0.socket", 9)), "a.service");
    EXPECT_EQ(UnitTypeGet(std::string("a\0.socket", 9)), "");
    EXPECT_EQ(UnitNameWithoutFileExtensionGet(std::string("a\0b", 3)), "a");
    EXPECT_EQ(NormalizedUnitNameGet(std::string(16, '\0')), ".service");
}

// A static object of a program may use the names up to its own end, which comes after that of all objects
// made later.
struct UserAtTheEnd {
    ~UserAtTheEnd()
    {
        if (NormalizedUnitNameGet("foo.socket") != "foo.socket") {
            std::abort();
        }
    }
};
const UserAtTheEnd userAtTheEnd;

} // namespace
} // namespace VeskTest

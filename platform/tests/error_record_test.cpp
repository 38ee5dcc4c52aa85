#include <climits>
#include <cstddef>
#include <gmock/gmock.h>
#include <string>
#include <thread>
#include <veskcore.h>

namespace
{

TEST(ErrorRecord, IsEmptyInANewThread)
{
    VLIBCErrSetEx(0x0D00, "here.cpp", 7);
    std::thread([] {
        EXPECT_EQ(VLIBCErrGet(), 0);
        EXPECT_STREQ(VLIBCErrorGetFile(), "");
        EXPECT_EQ(VLIBCErrorGetLine(), 0);
    }).join();
}

TEST(ErrorRecord, BelongsToItsThread)
{
    VLIBCErrSetEx(0x0D00, "here.cpp", 7);
    std::thread([] { VLIBCErrSetEx(0x0900, "there.cpp", 8); }).join();
    EXPECT_EQ(VLIBCErrGet(), 0x0D00);
    EXPECT_STREQ(VLIBCErrorGetFile(), "here.cpp");
    EXPECT_EQ(VLIBCErrorGetLine(), 7);
}

TEST(ErrorRecord, KeepsACopyOfTheFileName)
{
    std::string file = "a.cpp";
    VLIBCErrSetEx(1, file.c_str(), 2);
    file = "b.hpp";
    EXPECT_STREQ(VLIBCErrorGetFile(), "a.cpp");
}

TEST(ErrorRecord, TakesItsOwnFileNameBack)
{
    VLIBCErrSetEx(1, "dir/a.cpp", 2);
    VLIBCErrSetEx(3, VLIBCErrorGetFile(), 4);
    EXPECT_STREQ(VLIBCErrorGetFile(), "dir/a.cpp");
    VLIBCErrSetEx(3, VLIBCErrorGetFile() + 4, 4);
    EXPECT_STREQ(VLIBCErrorGetFile(), "a.cpp");
}

TEST(ErrorRecord, TakesNullAsAnEmptyFileName)
{
    VLIBCErrSetEx(1, "a.cpp", 2);
    VLIBCErrSetEx(0, nullptr, 0);
    EXPECT_EQ(VLIBCErrGet(), 0);
    EXPECT_STREQ(VLIBCErrorGetFile(), "");
    EXPECT_EQ(VLIBCErrorGetLine(), 0);
}

TEST(ErrorRecord, CutsAFileNameThatNoFileCanHave)
{
    VLIBCErrSetEx(1, std::string(std::size_t{2} * PATH_MAX, 'f').c_str(), 2);
    EXPECT_EQ(std::string(VLIBCErrorGetFile()), std::string(PATH_MAX - 1, 'f'));
}

} // namespace

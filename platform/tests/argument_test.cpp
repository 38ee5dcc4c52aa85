#include <gmock/gmock.h>
#include <string>
#include <veskcore.h>

#include "run_program.hpp"

// Null pointers and numbers out of range are failures with a record, never a crash.

namespace VeskTest
{
namespace
{

class Argument : public ::testing::Test
{
protected:
    void SetUp() override { VLIBCErrSetEx(0, "", 0); }
    void TearDown() override
    {
        VLIBCSzHashFree(m_hash);
        VLIBCSzListFree(m_list);
        VLIBCSzHashFree(nullptr);
        VLIBCSzListFree(nullptr);
    }

    static void ExpectRefusalBy(const char* file) { EXPECT_EQ(ErrorRecord(), std::string("0x0D00 ") + file); }

    VLIBCSzHash* m_hash = VLIBCSzHashAlloc(0);
    VLIBCSzList* m_list = VLIBCSzListAlloc(-1);
    VLIBCSzHash* m_noHash = nullptr;
    VLIBCSzList* m_noList = nullptr;
    char m_word[10] = "/bin/true";
    char* m_argv[2] = {m_word, nullptr};
};

TEST_F(Argument, OfPopenvIsRefused)
{
    char* none[] = {nullptr};
    EXPECT_EQ(VLIBCPopenv(nullptr, "r", m_argv), nullptr);
    ExpectRefusalBy("children.cpp");
    EXPECT_EQ(VLIBCPopenv("/bin/true", nullptr, m_argv), nullptr);
    EXPECT_EQ(VLIBCPopenv("/bin/true", "r", nullptr), nullptr);
    EXPECT_EQ(VLIBCPopenv("/bin/true", "r", none), nullptr);
    for (const char* mode : {"", "w", "R", "B", "rb", "rBB", "r+", "rw"}) {
        VLIBCErrSetEx(0, "", 0);
        EXPECT_EQ(VLIBCPopenv("/bin/true", mode, m_argv), nullptr) << mode;
        ExpectRefusalBy("children.cpp");
    }
}

TEST_F(Argument, OfPcloseIsRefused)
{
    EXPECT_EQ(VLIBCPclose(nullptr), -1);
    ExpectRefusalBy("children.cpp");
}

TEST_F(Argument, OfExecIsRefused)
{
    EXPECT_EQ(VLIBCExec(nullptr, "a", "b", "c", "d"), -1);
    ExpectRefusalBy("children.cpp");
}

TEST_F(Argument, OfTheFileCallsIsRefused)
{
    EXPECT_LT(VLIBCFileTouch(nullptr), 0);
    ExpectRefusalBy("files.cpp");
    EXPECT_EQ(VLIBCFileExist(nullptr), 0);
    EXPECT_EQ(VLIBCFileCheckDir(nullptr), 0);
    EXPECT_LT(VLIBCFileTouch(""), 0);
    EXPECT_EQ(VLIBCFileExist(""), 0);
    EXPECT_EQ(VLIBCFileCheckDir(""), 0);
}

TEST_F(Argument, OfTheLockCallsIsRefused)
{
    int descriptor = -7;
    EXPECT_EQ(VLIBCFileLockTimeByFile(nullptr, true, 0, &descriptor), 0);
    ExpectRefusalBy("locks.cpp");
    EXPECT_EQ(VLIBCFileLockTimeByFile("/run/lock-file", true, 0, nullptr), 0);
    EXPECT_EQ(VLIBCFileLockTimeByFile("/run/lock-file", true, -1, &descriptor), 0);
    EXPECT_EQ(descriptor, -7);
    for (const int refused : {-1, 0, 1, 2, 1000000}) {
        VLIBCErrSetEx(0, "", 0);
        EXPECT_LT(VLIBCFileUnlockByFile(refused), 0) << refused;
        ExpectRefusalBy("locks.cpp");
    }
}

TEST_F(Argument, OfTheSectionReaderIsRefused)
{
    char buffer[4] = "old";
    EXPECT_LT(VLIBCFileGetSectionValue(nullptr, "X", "K", buffer, 4), 0);
    ExpectRefusalBy("section_file.cpp");
    EXPECT_LT(VLIBCFileGetSectionValue("/run/f", nullptr, "K", buffer, 4), 0);
    EXPECT_LT(VLIBCFileGetSectionValue("/run/f", "", "K", buffer, 4), 0);
    EXPECT_LT(VLIBCFileGetSectionValue("/run/f", "X", nullptr, buffer, 4), 0);
    EXPECT_LT(VLIBCFileGetSectionValue("/run/f", "X", "", buffer, 4), 0);
    EXPECT_LT(VLIBCFileGetSectionValue("/run/f", "X", "K", nullptr, 4), 0);
    EXPECT_LT(VLIBCFileGetSectionValue("/run/f", "X", "K", buffer, 0), 0);
    EXPECT_LT(VLIBCFileGetSectionValue("/run/f", "X", "K", buffer, -4), 0);
    EXPECT_STREQ(buffer, "old");
}

TEST_F(Argument, OfTheSectionWriterIsRefused)
{
    EXPECT_LT(VLIBCFileAddSection(nullptr, "X", m_hash, 0), 0);
    ExpectRefusalBy("section_file.cpp");
    EXPECT_LT(VLIBCFileAddSection("", "X", m_hash, 0), 0);
    EXPECT_LT(VLIBCFileAddSection("/run/f", nullptr, m_hash, 0), 0);
    EXPECT_LT(VLIBCFileAddSection("/run/f", "", m_hash, 0), 0);
    EXPECT_LT(VLIBCFileAddSection("/run/f", "X", nullptr, 0), 0);
    EXPECT_LT(VLIBCFileAddSection("/run/f", "X", m_hash, 1), 0);
    EXPECT_EQ(VLIBCFileExist("/run/f"), 0);
}

TEST_F(Argument, OfTheTableIsRefused)
{
    EXPECT_LT(VLIBCSzHashSetValue(nullptr, "K", "v"), 0);
    ExpectRefusalBy("sz_hash.cpp");
    EXPECT_LT(VLIBCSzHashSetValue(&m_noHash, "K", "v"), 0);
    EXPECT_LT(VLIBCSzHashSetValue(&m_hash, nullptr, "v"), 0);
    EXPECT_LT(VLIBCSzHashSetValue(&m_hash, "K", nullptr), 0);
}

TEST_F(Argument, OfTheListIsRefused)
{
    EXPECT_LT(VLIBCSzListPush(nullptr, "text"), 0);
    ExpectRefusalBy("sz_list.cpp");
    EXPECT_LT(VLIBCSzListPush(&m_noList, "text"), 0);
    EXPECT_LT(VLIBCSzListPush(&m_list, nullptr), 0);
    EXPECT_EQ(VLIBCSzListGet(nullptr, 0), nullptr);
    EXPECT_EQ(VLIBCSzListCount(nullptr), 0);
}

TEST_F(Argument, OfTheFeatureTestIsRefused)
{
    EXPECT_EQ(VLIBCSupportGet(nullptr), 0);
    ExpectRefusalBy("support.cpp");
    EXPECT_EQ(VLIBCSupportGet(""), 0);
}

} // namespace
} // namespace VeskTest

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <map>
#include <random>
#include <string>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>
#include <veskcore.h>

#include "checks.hpp"
#include "children.hpp"
#include "descriptors.hpp"
#include "files.hpp"
#include "run_program.hpp"
#include "write_fault.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;

const std::string kPath = "/run/units/foo.service";

int Get(const std::string& path, const char* key, char* buffer, int size)
{
    return VLIBCFileGetSectionValue(path.c_str(), "X-Veskline", key, buffer, size);
}

class SectionReader : public ::testing::Test
{
protected:
    void SetUp() override { VLIBCErrSetEx(0, "", 0); }

    char m_buffer[1024] = "untouched";
};

TEST_F(SectionReader, CopiesTheValue)
{
    WriteText(kPath, "[Unit]\nName=other\n[X-Veskline]\nName = File \\\nstation \n");
    const auto before = OpenDescriptors();
    EXPECT_EQ(Get(kPath, "Name", m_buffer, sizeof m_buffer), 0);
    EXPECT_STREQ(m_buffer, "File  station");
    EXPECT_EQ(OpenDescriptors(), before);
    EXPECT_EQ(VLIBCErrGet(), 0);
}

TEST_F(SectionReader, CutsAValueToFit)
{
    WriteText(kPath, "[X-Veskline]\nName=abcdef");
    m_buffer[4] = '!';
    EXPECT_EQ(Get(kPath, "Name", m_buffer, 4), 0);
    EXPECT_EQ(std::string(m_buffer, 5), std::string("abc\0!", 5));
    EXPECT_EQ(Get(kPath, "Name", m_buffer, 7), 0);
    EXPECT_STREQ(m_buffer, "abcdef");
    EXPECT_EQ(Get(kPath, "Name", m_buffer, 1), 0);
    EXPECT_STREQ(m_buffer, "");
}

TEST_F(SectionReader, GivesAnEmptyValue)
{
    WriteText(kPath, "[X-Veskline]\nName=a\nName=\n");
    EXPECT_EQ(Get(kPath, "Name", m_buffer, sizeof m_buffer), 0);
    EXPECT_STREQ(m_buffer, "");
}

TEST_F(SectionReader, SaysThatAKeyIsMissingWithoutAnError)
{
    WriteText(kPath, "[X-Veskline]\nName=a\n");
    EXPECT_EQ(Get(kPath, "Other", m_buffer, sizeof m_buffer), 1);
    EXPECT_STREQ(m_buffer, "untouched");
    EXPECT_EQ(VLIBCErrGet(), 0);
}

TEST_F(SectionReader, FailsForAMissingFile)
{
    EXPECT_LT(Get("/run/units/none", "Name", m_buffer, sizeof m_buffer), 0);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(ErrorRecord(), "0x0900 section_file.cpp");
    EXPECT_STREQ(m_buffer, "untouched");
}

TEST_F(SectionReader, FailsForWhatIsNoRegularFile)
{
    MakeFolder("/run/units");
    ASSERT_EQ(mkfifo("/run/units/pipe", 0600), 0);
    ASSERT_EQ(symlink("/dev/zero", kPath.c_str()), 0);
    for (const auto& [path, error] : std::map<std::string, int>{
             {"/run/units", EISDIR}, {"/dev/zero", EINVAL}, {kPath, EINVAL}, {"/run/units/pipe", EINVAL}}) {
        VLIBCErrSetEx(0, "", 0);
        EXPECT_LT(Get(path, "Name", m_buffer, sizeof m_buffer), 0) << path;
        EXPECT_EQ(errno, error) << path;
        EXPECT_EQ(ErrorRecord(), "0x0900 section_file.cpp");
    }
    EXPECT_STREQ(m_buffer, "untouched");
}

TEST_F(SectionReader, ReadsAFileOfAMebibyteAndNoMore)
{
    const std::string section = "\n[X-Veskline]\nName=a\n";
    const std::string comment = std::string((1024UL * 1024) - section.size(), '#');
    WriteText(kPath, comment + section);
    EXPECT_EQ(Get(kPath, "Name", m_buffer, sizeof m_buffer), 0);
    EXPECT_STREQ(m_buffer, "a");
    WriteText(kPath, "#" + comment + section);
    EXPECT_LT(Get(kPath, "Name", m_buffer, sizeof m_buffer), 0);
    EXPECT_EQ(errno, EFBIG);
    EXPECT_EQ(ErrorRecord(), "0x0900 section_file.cpp");
}

TEST_F(SectionReader, FindsNothingInAMaskedUnit)
{
    MakeFolder("/run/units");
    ASSERT_EQ(symlink("/dev/null", kPath.c_str()), 0);
    EXPECT_EQ(Get(kPath, "Name", m_buffer, sizeof m_buffer), 1);
    EXPECT_EQ(VLIBCErrGet(), 0);
}

class SectionWriter : public ::testing::Test
{
protected:
    void SetUp() override
    {
        MakeFolder("/run/units");
        VLIBCErrSetEx(0, "", 0);
    }
    void TearDown() override { VLIBCSzHashFree(m_hash); }

    void Set(const std::string& key, const std::string& value)
    {
        EXPECT_EQ(VLIBCSzHashSetValue(&m_hash, key.c_str(), value.c_str()), 0);
    }

    int Add(const std::string& path = kPath, const char* section = "X")
    {
        return VLIBCFileAddSection(path.c_str(), section, m_hash, 0);
    }

    VLIBCSzHash* m_hash = VLIBCSzHashAlloc(1024);
};

TEST_F(SectionWriter, CreatesTheFile)
{
    Set("b", "2");
    Set("a", "1");
    const auto before = OpenDescriptors();
    EXPECT_EQ(Add(), 0);
    EXPECT_EQ(ReadText(kPath), "[X]\nb=2\na=1\n");
    EXPECT_EQ(Mode(kPath), 0644U);
    EXPECT_THAT(ListFolder("/run/units"), ElementsAre("foo.service"));
    EXPECT_EQ(OpenDescriptors(), before);
}

TEST_F(SectionWriter, CreatesAUsableFileWhateverTheUmask)
{
    for (const mode_t mask : {0000U, 0022U, 0077U, 0777U}) {
        EXPECT_EQ(RunInChild([&] {
                      umask(mask);
                      return Add() == 0 && umask(mask) == mask ? 0 : 1;
                  }),
                  Exited(0));
        EXPECT_EQ(Mode(kPath), 0644U) << mask;
        RemoveAll(kPath);
    }
}

TEST_F(SectionWriter, CreatesAFileInTheWorkingFolder)
{
    ASSERT_EQ(chdir("/run/units"), 0);
    Set("a", "1");
    EXPECT_EQ(Add("here"), 0);
    EXPECT_EQ(ReadText("/run/units/here"), "[X]\na=1\n");
}

TEST_F(SectionWriter, ReplacesTheSectionAndKeepsTheRest)
{
    WriteText(kPath, "# mine\n[X]\nold=1\n\n[Service]\nExecStart=/bin/true\n");
    Set("new", "2");
    EXPECT_EQ(Add(), 0);
    EXPECT_EQ(ReadText(kPath), "# mine\n[X]\nnew=2\n\n[Service]\nExecStart=/bin/true\n");
}

TEST_F(SectionWriter, TakesTheDescriptorZeroOfACallerWithoutIt)
{
    WriteText(kPath, "[A]\na=1\n");
    EXPECT_EQ(RunInChild([this] {
                  close(0);
                  return Add() == 0 && fcntl(0, F_GETFD) < 0 ? 0 : 1;
              }),
              Exited(0));
    EXPECT_EQ(ReadText(kPath), "[A]\na=1\n\n[X]\n");
}

TEST_F(SectionWriter, KeepsModeAndOwner)
{
    if (!CanBecomeOtherUsers()) {
        GTEST_SKIP() << "this sandbox knows one user only";
    }
    const std::pair<uid_t, gid_t> owners[] = {{123, 456}, {123, 0}, {0, 456}};
    for (const auto& [user, group] : owners) {
        WriteText(kPath, "[X]\n");
        ASSERT_EQ(chown(kPath.c_str(), user, group), 0);
        ASSERT_EQ(chmod(kPath.c_str(), 06640), 0);
        EXPECT_EQ(Add(), 0);
        struct stat status {
        };
        ASSERT_EQ(stat(kPath.c_str(), &status), 0);
        EXPECT_EQ(status.st_uid, user);
        EXPECT_EQ(status.st_gid, group);
        EXPECT_EQ(Mode(kPath), 0640U) << "the permission bits and no more";
    }
}

TEST_F(SectionWriter, ReplacesTheFileBehindALink)
{
    WriteText("/run/real/file", "[A]\na=1\n");
    ASSERT_EQ(symlink("/run/real/file", kPath.c_str()), 0);
    EXPECT_EQ(Add(), 0);
    EXPECT_EQ(ReadText("/run/real/file"), "[A]\na=1\n\n[X]\n");
    char target[64] = {};
    EXPECT_GT(readlink(kPath.c_str(), target, sizeof target - 1), 0);
    EXPECT_STREQ(target, "/run/real/file");
    EXPECT_THAT(ListFolder("/run/real"), ElementsAre("file"));
}

TEST_F(SectionWriter, RefusesWhatIsNoRegularFile)
{
    ASSERT_EQ(symlink("/dev/null", kPath.c_str()), 0);
    EXPECT_LT(Add(), 0);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(ErrorRecord(), "0x0900 section_file.cpp");
    EXPECT_LT(Add("/run/units"), 0);
    EXPECT_EQ(errno, EISDIR);
}

TEST_F(SectionWriter, RefusesWordsThatWouldTearTheFile)
{
    WriteText(kPath, "[A]\na=1\n");
    for (const auto& [key, value] : std::multimap<std::string, std::string>{
             {"k", "a\nb"}, {"k", "a\\"}, {"k=", "v"}, {"", "v"}, {"[k", "v"}}) {
        VLIBCSzHash* hash = VLIBCSzHashAlloc(0);
        VLIBCSzHashSetValue(&hash, key.c_str(), value.c_str());
        VLIBCErrSetEx(0, "", 0);
        EXPECT_LT(VLIBCFileAddSection(kPath.c_str(), "X", hash, 0), 0) << key << "=" << value;
        EXPECT_EQ(ErrorRecord(), "0x0D00 section_file.cpp");
        VLIBCSzHashFree(hash);
    }
    EXPECT_LT(Add(kPath, "X]\n[A"), 0);
    EXPECT_EQ(ReadText(kPath), "[A]\na=1\n");
}

TEST_F(SectionWriter, WritesNothingThatIsTooLargeToReadBack)
{
    WriteText(kPath, std::string(1024UL * 1024, '#'));
    EXPECT_LT(Add(), 0);
    EXPECT_EQ(errno, EFBIG);
    EXPECT_EQ(ErrorRecord(), "0x0B00 section_file.cpp");
    WriteText(kPath, std::string((1024UL * 1024) + 1, '#'));
    EXPECT_LT(Add(), 0);
    EXPECT_EQ(errno, EFBIG);
    EXPECT_EQ(ErrorRecord(), "0x0900 section_file.cpp");
    EXPECT_EQ(ReadText(kPath).size(), (1024UL * 1024) + 1);
    EXPECT_THAT(ListFolder("/run/units"), ElementsAre("foo.service"));
}

TEST_F(SectionWriter, FailsWithoutItsFolder)
{
    EXPECT_LT(Add("/run/none/file"), 0);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(ErrorRecord(), "0x0B00 section_file.cpp");
}

TEST_F(SectionWriter, LeavesTheOldFileWhenTheDiskIsFull)
{
    ASSERT_EQ(mount("tmpfs", "/run/units", "tmpfs", 0, "size=64k"), 0);
    WriteText(kPath, "[A]\na=1\n");
    Set("k", std::string(100000, 'v'));
    const auto before = OpenDescriptors();
    EXPECT_LT(Add(), 0);
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_EQ(ErrorRecord(), "0x0B00 section_file.cpp");
    EXPECT_EQ(ReadText(kPath), "[A]\na=1\n");
    EXPECT_THAT(ListFolder("/run/units"), ElementsAre("foo.service"));
    EXPECT_EQ(OpenDescriptors(), before);
}

TEST_F(SectionWriter, SyncsTheFileThenPutsItInPlaceThenSyncsTheFolder)
{
    WriteText(kPath, "[A]\na=1\n");
    const WriteSpy spy;
    EXPECT_EQ(Add(), 0);
    EXPECT_THAT(spy.Calls(), ElementsAre("fsync TMP", "close TMP", "rename TMP foo.service", "fsync units"));
}

TEST_F(SectionWriter, LeavesTheOldFileWhenTheNewOneDoesNotReachTheDisk)
{
    WriteText(kPath, "[A]\na=1\n");
    const auto before = OpenDescriptors();
    for (const std::string call : {"fsync TMP", "close TMP"}) {
        WriteSpy spy;
        spy.Fail(call, EDQUOT);
        VLIBCErrSetEx(0, "", 0);
        EXPECT_LT(Add(), 0) << call;
        EXPECT_EQ(errno, EDQUOT);
        EXPECT_EQ(ErrorRecord(), "0x0B00 section_file.cpp");
        EXPECT_EQ(ReadText(kPath), "[A]\na=1\n") << call;
        EXPECT_THAT(ListFolder("/run/units"), ElementsAre("foo.service")) << call;
    }
    EXPECT_EQ(OpenDescriptors(), before);
}

TEST_F(SectionWriter, FailsWhenTheFolderDoesNotReachTheDisk)
{
    WriteText(kPath, "[A]\na=1\n");
    WriteSpy spy;
    spy.Fail("fsync units", EIO);
    EXPECT_LT(Add(), 0);
    EXPECT_EQ(errno, EIO);
    EXPECT_EQ(ErrorRecord(), "0x0B00 section_file.cpp");
    EXPECT_EQ(ReadText(kPath), "[A]\na=1\n\n[X]\n") << "it may or may not outlive a power cut";
    EXPECT_THAT(ListFolder("/run/units"), ElementsAre("foo.service"));
}

TEST_F(SectionWriter, DoesNotMindAFolderThatHasNothingToSync)
{
    WriteSpy spy;
    spy.Fail("fsync units", EINVAL);
    EXPECT_EQ(Add(), 0);
}

TEST_F(SectionWriter, ChangesNothingInAFolderThatCannotBeRead)
{
    if (!CanBecomeOtherUsers()) {
        GTEST_SKIP() << "this sandbox knows one user only";
    }
    WriteText(kPath, "[A]\na=1\n", 0666);
    ASSERT_EQ(chmod("/run/units", 0733), 0);
    ASSERT_EQ(chown(kPath.c_str(), 54321, 54321), 0);
    ExpectAsUser(54321, [] {
        VLIBCSzHash* hash = VLIBCSzHashAlloc(0);
        EXPECT_LT(VLIBCFileAddSection(kPath.c_str(), "X", hash, 0), 0);
        EXPECT_EQ(errno, EACCES);
        VLIBCSzHashFree(hash);
    });
    EXPECT_EQ(ReadText(kPath), "[A]\na=1\n");
    EXPECT_THAT(ListFolder("/run/units"), ElementsAre("foo.service"));
}

TEST_F(SectionWriter, ReadsBack)
{
    const std::string value = "a = [b] # c ; \"d\" \\\\ \xC3\xA4";
    Set("Name", value);
    EXPECT_EQ(Add(kPath, "X-Veskline"), 0);
    char buffer[1024];
    EXPECT_EQ(Get(kPath, "Name", buffer, sizeof buffer), 0);
    EXPECT_EQ(buffer, value);
}

/** Replaces the section over and over, with small and large values by turns. */
[[noreturn]] void RewriteForEver(const std::vector<std::string>& values)
{
    for (std::size_t round = 0;; ++round) {
        VLIBCSzHash* hash = VLIBCSzHashAlloc(0);
        VLIBCSzHashSetValue(&hash, "k", values[round % values.size()].c_str());
        if (VLIBCFileAddSection(kPath.c_str(), "X", hash, 0) != 0) {
            _exit(1);
        }
        VLIBCSzHashFree(hash);
    }
}

TEST_F(SectionWriter, LeavesTheOldFileOrTheNewOneWhenItIsKilled)
{
    const std::vector<std::string> values = {"small", std::string(200000, 'l')};
    const std::string before = "[A]\na=1\n\n[X]\nk=";
    const std::string after = "\n[B]\nb=1\n";
    WriteText(kPath, before + "small" + after);
    std::mt19937 random(1);
    for (int round = 0; round < 150; ++round) {
        const pid_t writer = fork();
        if (writer == 0) {
            RewriteForEver(values);
        }
        usleep(static_cast<useconds_t>(random() % 8000));
        kill(writer, SIGKILL);
        int status = 0;
        waitpid(writer, &status, 0);
        ASSERT_EQ(status, SIGKILL);
        const std::string text = ReadText(kPath);
        ASSERT_TRUE(text == before + values[0] + after || text == before + values[1] + after)
            << text.substr(0, 100);
    }
}

} // namespace
} // namespace VeskTest

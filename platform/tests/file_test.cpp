#include <cerrno>
#include <csignal>
#include <ctime>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <veskcore.h>

#include "checks.hpp"
#include "children.hpp"
#include "descriptors.hpp"
#include "files.hpp"
#include "system_call_filter.hpp"

namespace VeskTest
{
namespace
{

class FileCall : public ::testing::Test
{
protected:
    void SetUp() override { VLIBCErrSetEx(0, "", 0); }

    const std::string m_path = "/run/files/file";
};

timespec ModifiedAt(const std::string& path)
{
    struct stat status {
    };
    stat(path.c_str(), &status);
    return status.st_mtim;
}

TEST_F(FileCall, TouchCreatesAnEmptyFile)
{
    MakeFolder("/run/files");
    const auto before = OpenDescriptors();
    EXPECT_EQ(VLIBCFileTouch(m_path.c_str()), 0);
    EXPECT_EQ(ReadText(m_path), "");
    EXPECT_EQ(Mode(m_path), 0644U);
    EXPECT_EQ(OpenDescriptors(), before);
}

TEST_F(FileCall, TouchLeavesNoFileWhoseModeCannotBeGiven)
{
    MakeFolder("/run/files");
    ExpectInChild([&] {
        umask(0777);
        FailSystemCall(SYS_fchmod, EIO);
        EXPECT_LT(VLIBCFileTouch(m_path.c_str()), 0);
        EXPECT_EQ(errno, EIO);
    });
    EXPECT_FALSE(Exists(m_path));
}

TEST_F(FileCall, TouchUpdatesTheTimeAndKeepsTheContent)
{
    WriteText(m_path, "content", 0600);
    const timespec longAgo[2] = {{1, 0}, {1, 0}};
    utimensat(AT_FDCWD, m_path.c_str(), longAgo, 0);
    EXPECT_EQ(VLIBCFileTouch(m_path.c_str()), 0);
    EXPECT_GT(ModifiedAt(m_path).tv_sec, 1);
    EXPECT_EQ(ReadText(m_path), "content");
    EXPECT_EQ(Mode(m_path), 0600U);
}

TEST_F(FileCall, TouchFailsWithoutTheFolder)
{
    EXPECT_LT(VLIBCFileTouch("/run/none/file"), 0);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(VLIBCErrGet(), VLIBC_ERR_OPEN);
}

TEST_F(FileCall, TouchFailsBelowAFile)
{
    WriteText(m_path, "");
    EXPECT_LT(VLIBCFileTouch((m_path + "/below").c_str()), 0);
    EXPECT_EQ(errno, ENOTDIR);
    EXPECT_EQ(VLIBCErrGet(), VLIBC_ERR_WRITE);
}

TEST_F(FileCall, TouchCreatesAUsableFileWhateverTheUmask)
{
    for (const mode_t mask : {0000U, 0022U, 0077U, 0777U}) {
        MakeFolder("/run/files");
        EXPECT_EQ(RunInChild([&] {
                      umask(mask);
                      return VLIBCFileTouch(m_path.c_str()) == 0 && umask(mask) == mask ? 0 : 1;
                  }),
                  Exited(0));
        EXPECT_EQ(Mode(m_path), 0644U) << mask;
        RemoveAll("/run/files");
    }
}

TEST_F(FileCall, TouchFollowsNoLink)
{
    WriteText("/run/files/target", "");
    const timespec longAgo[2] = {{1, 0}, {1, 0}};
    utimensat(AT_FDCWD, "/run/files/target", longAgo, 0);
    for (const char* target : {"/run/files/target", "/run/files/none"}) {
        VLIBCErrSetEx(0, "", 0);
        ASSERT_EQ(symlink(target, m_path.c_str()), 0);
        EXPECT_LT(VLIBCFileTouch(m_path.c_str()), 0);
        EXPECT_EQ(errno, ELOOP);
        EXPECT_EQ(VLIBCErrGet(), VLIBC_ERR_WRITE);
        ASSERT_EQ(unlink(m_path.c_str()), 0);
    }
    EXPECT_FALSE(Exists("/run/files/none"));
    EXPECT_EQ(ModifiedAt("/run/files/target").tv_sec, 1);
}

TEST_F(FileCall, TouchUpdatesTheTimeOfAPipeAndDoesNotWaitForItsOtherEnd)
{
    MakeFolder("/run/files");
    ASSERT_EQ(mkfifo(m_path.c_str(), 0600), 0);
    const timespec longAgo[2] = {{1, 0}, {1, 0}};
    utimensat(AT_FDCWD, m_path.c_str(), longAgo, 0);
    EXPECT_EQ(RunInChild([&] {
                  alarm(10);
                  return VLIBCFileTouch(m_path.c_str());
              }),
              Exited(0));
    EXPECT_GT(ModifiedAt(m_path).tv_sec, 1);
}

TEST_F(FileCall, TouchedByManyAtOnceSucceedsForAll)
{
    MakeFolder("/run/files");
    EXPECT_EQ(RunInChild([&] {
                  alarm(60);
                  const pid_t remover = fork();
                  if (remover == 0) {
                      for (;;) {
                          unlink(m_path.c_str());
                      }
                  }
                  int failures = 0;
                  for (int round = 0; round < 5000; ++round) {
                      // Between the look and the touch the file may be gone.
                      failures += VLIBCFileTouch(m_path.c_str()) != 0 && errno != ENOENT ? 1 : 0;
                  }
                  kill(remover, SIGKILL);
                  return failures == 0 ? 0 : 1;
              }),
              Exited(0));
}

TEST_F(FileCall, ExistSeesFilesFoldersAndWhatLinksLeadTo)
{
    WriteText(m_path, "");
    ASSERT_EQ(symlink(m_path.c_str(), "/run/files/link"), 0);
    ASSERT_EQ(symlink("/run/none", "/run/files/dangling"), 0);
    EXPECT_NE(VLIBCFileExist(m_path.c_str()), 0);
    EXPECT_NE(VLIBCFileExist("/run/files"), 0);
    EXPECT_NE(VLIBCFileExist("/run/files/link"), 0);
    EXPECT_EQ(VLIBCFileExist("/run/files/dangling"), 0);
    EXPECT_EQ(VLIBCFileExist("/run/none"), 0);
    EXPECT_EQ(VLIBCErrGet(), 0);
}

TEST_F(FileCall, CheckDirSeesFoldersAndSaysWhyNot)
{
    WriteText(m_path, "");
    ASSERT_EQ(symlink("/run/files", "/run/link"), 0);
    EXPECT_NE(VLIBCFileCheckDir("/run/files"), 0);
    EXPECT_NE(VLIBCFileCheckDir("/run/files/"), 0);
    EXPECT_NE(VLIBCFileCheckDir("/run/link"), 0);
    EXPECT_EQ(VLIBCErrGet(), 0);
    EXPECT_EQ(VLIBCFileCheckDir(m_path.c_str()), 0);
    EXPECT_EQ(errno, ENOTDIR);
    EXPECT_EQ(VLIBCErrGet(), VLIBC_ERR_NOT_FOUND);
    EXPECT_EQ(VLIBCFileCheckDir("/run/none"), 0);
    EXPECT_EQ(errno, ENOENT);
}

} // namespace
} // namespace VeskTest

// Files read into memory that is used again, and their lines.
#include <gmock/gmock.h>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

#include "core/file_text.hpp"

namespace VeskTest
{
namespace
{

using namespace std::string_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using VESK::Systemd::FileRead;

// A file that is nowhere but in memory.
class MemoryFile
{
public:
    explicit MemoryFile(const std::string& text)
        : m_descriptor(memfd_create("file-text-test", MFD_CLOEXEC))
    {
        EXPECT_EQ(write(m_descriptor, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }
    ~MemoryFile() { close(m_descriptor); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    std::string Path() const { return "/proc/self/fd/" + std::to_string(m_descriptor); }

private:
    int m_descriptor;
};

std::string LongText(size_t size)
{
    std::string text(size, '\0');
    for (size_t index = 0; index < size; ++index) {
        text[index] = static_cast<char>(index % 251);
    }
    return text;
}

std::vector<std::string> LinesOf(std::string_view text)
{
    std::vector<std::string> found;
    VESK::Systemd::Lines lines(text);
    for (std::string_view line; lines.Next(line);) {
        found.emplace_back(line);
    }
    return found;
}

TEST(FileRead, ReadsFilesOfAnySizeOneAfterTheOtherIntoTheSameText)
{
    std::string text = "before";
    for (const size_t size : {1U, 0U, 16384U, 16385U, 1000000U, 7U, 16383U}) {
        const std::string written = LongText(size);
        EXPECT_TRUE(FileRead(MemoryFile(written).Path(), text));
        EXPECT_TRUE(text == written) << size << ": " << text.size();
    }
}

TEST(FileRead, UsesTheMemoryOfTheTextAgain)
{
    std::string text;
    EXPECT_TRUE(FileRead(MemoryFile(LongText(100000)).Path(), text));
    const char* place = text.data();
    EXPECT_TRUE(FileRead(MemoryFile("short").Path(), text));
    EXPECT_EQ(text, "short");
    EXPECT_EQ(static_cast<const void*>(text.data()), static_cast<const void*>(place));
}

TEST(FileRead, FailsWhenThereIsNoFileToOpen)
{
    std::string text = "before";
    EXPECT_FALSE(FileRead("/proc/self/no-such-file", text));
    EXPECT_FALSE(FileRead("", text));
    EXPECT_EQ(text, "before");
}

TEST(FileRead, GivesWhatCouldBeReadOfAFileThatCannotBeReadToItsEnd)
{
    std::string text = "before";
    EXPECT_TRUE(FileRead("/proc/self", text)) << "a folder can be opened";
    EXPECT_EQ(text, "");
}

TEST(Lines, EndAtTheirLineFeeds)
{
    EXPECT_THAT(LinesOf(""), IsEmpty());
    EXPECT_THAT(LinesOf("\n"), ElementsAre(""));
    EXPECT_THAT(LinesOf("a"), ElementsAre("a"));
    EXPECT_THAT(LinesOf("a\n"), ElementsAre("a"));
    EXPECT_THAT(LinesOf("a\n\n b\r\n\nc"), ElementsAre("a", "", " b\r", "", "c"));
    EXPECT_THAT(LinesOf("a\0b\nc\0"s), ElementsAre("a\0b"s, "c\0"s));
}

} // namespace
} // namespace VeskTest

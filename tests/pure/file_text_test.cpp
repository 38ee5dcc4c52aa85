// Files read as a whole and in pieces, and their lines.
#include <cerrno>
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
using VESK::Systemd::FilePiecesRead;
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

TEST(FileRead, ReadsFilesOfAnySizeInPlaceOfWhatTheTextHeld)
{
    std::string text = "before";
    for (const size_t size : {1U, 0U, 16384U, 16385U, 1000000U, 7U, 16383U}) {
        const std::string written = LongText(size);
        EXPECT_TRUE(FileRead(MemoryFile(written).Path(), text));
        EXPECT_TRUE(text == written) << size << ": " << text.size();
    }
}

TEST(FileRead, FailsWhenThereIsNoFileToOpen)
{
    std::string text = "before";
    EXPECT_FALSE(FileRead("/proc/self/no-such-file", text));
    EXPECT_FALSE(FileRead("", text));
    EXPECT_EQ(text, "before");
}

TEST(FileRead, FailsWhenWhatCouldBeOpenedCannotBeRead)
{
    std::string text = "before";
    EXPECT_FALSE(FileRead("/proc/self", text));
    EXPECT_EQ(errno, EISDIR);
    EXPECT_EQ(text, "before");
}

// The pieces of a file, all of them or so many.
std::vector<std::string> PiecesOf(const std::string& text, size_t count = SIZE_MAX)
{
    std::vector<std::string> pieces;
    EXPECT_TRUE(FilePiecesRead(MemoryFile(text).Path(), [&](std::string_view piece) {
        pieces.emplace_back(piece);
        return pieces.size() < count;
    }));
    return pieces;
}

TEST(FilePieces, AreWholeLines)
{
    EXPECT_THAT(PiecesOf(""), IsEmpty());
    EXPECT_THAT(PiecesOf("\n"), ElementsAre("\n"));
    EXPECT_THAT(PiecesOf("no line feed"), ElementsAre("no line feed"));
    EXPECT_THAT(PiecesOf("a\nb\n"), ElementsAre("a\nb\n"));
    EXPECT_THAT(PiecesOf("a\nb\nrest"), ElementsAre("a\nb\n", "rest"));
    const std::string a(10000, 'a');
    const std::string b(10000, 'b');
    const std::string c(40000, 'c');
    EXPECT_THAT(PiecesOf(a + "\n" + b + "\n" + c + "\n" + a), ElementsAre(a + "\n", b + "\n", c + "\n", a));
    EXPECT_THAT(PiecesOf(c + c), ElementsAre(c + c));
}

TEST(FilePieces, AreTheWholeFileWhereverItsLinesEnd)
{
    for (size_t length = 16380; length < 16390; ++length) {
        std::string text(length, 'x');
        text += "\n" + std::string(length, 'y') + "\n" + std::string(length, 'z');
        std::string together;
        for (const std::string& piece : PiecesOf(text)) {
            EXPECT_TRUE(piece.back() == '\n' || piece.back() == 'z');
            together += piece;
        }
        EXPECT_TRUE(together == text) << length;
    }
}

TEST(FilePieces, EndWhenNoMoreAreWanted)
{
    const std::string line(10000, 'x');
    EXPECT_THAT(PiecesOf(line + "\n" + line + "\n" + line, 2), ElementsAre(line + "\n", line + "\n"));
    EXPECT_THAT(PiecesOf("a\nrest", 1), ElementsAre("a\n"));
}

TEST(FilePieces, AreNotThereWithoutAFile)
{
    EXPECT_FALSE(FilePiecesRead("/proc/self/no-such-file", [](std::string_view) {
        ADD_FAILURE();
        return true;
    }));
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

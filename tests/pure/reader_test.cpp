// The library's readers of streams and folders, when reading fails. The library exports neither.

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

#include "core/directory.hpp"
#include "core/line_reader.hpp"
#include "next_function.hpp"

namespace
{

// How many more calls succeed; negative for all.
long linesUntilFailure = -1;
long entriesUntilFailure = -1;

bool StrikesNow(long& left, int error)
{
    if (left < 0 || left-- > 0) {
        return false;
    }
    errno = error;
    return true;
}

} // namespace

// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name): the headers' own names are reserved ones
extern "C" {

ssize_t getdelim(char** line, size_t* size, int end, FILE* stream)
{
    static const auto real = VeskTest::NextFunction<ssize_t(char**, size_t*, int, FILE*)>("getdelim");
    return StrikesNow(linesUntilFailure, ENOMEM) ? -1 : real(line, size, end, stream);
}

dirent* readdir(DIR* folder)
{
    static const auto real =
        VeskTest::NextFunction<dirent*(DIR*)>(VeskTest::WideName("readdir", "readdir64"));
    return StrikesNow(entriesUntilFailure, EIO) ? nullptr : real(folder);
}
}
// NOLINTEND(readability-inconsistent-declaration-parameter-name)

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using VESK::Systemd::Directory;
using VESK::Systemd::LineReader;

// A piece that one read gives, or the error that it fails with.
struct Piece {
    std::string text;
    int error = 0;
};

// A stream that gives pieces, then its end.
class PieceStream
{
public:
    explicit PieceStream(std::vector<Piece> pieces)
        : m_pieces(std::move(pieces))
        , m_stream(fopencookie(this, "r", {Read, nullptr, nullptr, nullptr}))
    {
    }
    ~PieceStream() { (void)fclose(m_stream); }
    PieceStream(const PieceStream&) = delete;
    PieceStream& operator=(const PieceStream&) = delete;

    FILE* Get() const { return m_stream; }

private:
    static ssize_t Read(void* cookie, char* buffer, std::size_t)
    {
        auto& self = *static_cast<PieceStream*>(cookie);
        if (self.m_next == self.m_pieces.size()) {
            return 0;
        }
        const Piece& piece = self.m_pieces[self.m_next++];
        errno = piece.error;
        piece.text.copy(buffer, piece.text.size());
        return piece.error != 0 ? -1 : static_cast<ssize_t>(piece.text.size());
    }

    std::vector<Piece> m_pieces;
    std::size_t m_next = 0;
    FILE* m_stream;
};

std::vector<std::string> AllLines(LineReader& reader)
{
    std::vector<std::string> lines;
    for (std::string line; reader.Next(line);) {
        lines.push_back(line);
    }
    return lines;
}

TEST(LineReaderTest, HasNotFailedAtTheEnd)
{
    for (const std::string last : {"", "\n", "end", "end\n"}) {
        const PieceStream stream({{"a\n", 0}, {last, 0}});
        LineReader reader(stream.Get());
        AllLines(reader);
        EXPECT_FALSE(reader.Failed()) << last;
    }
}

TEST(LineReaderTest, HasFailedWhenReadingFailsBetweenLines)
{
    const PieceStream stream({{"a\n", 0}, {"", EIO}, {"b\n", 0}});
    LineReader reader(stream.Get());
    EXPECT_THAT(AllLines(reader), ElementsAre("a\n"));
    EXPECT_TRUE(reader.Failed());
}

TEST(LineReaderTest, HasFailedWhenReadingFailsWithinALine)
{
    const PieceStream stream({{"a\nb", 0}, {"", EIO}, {"c\n", 0}});
    LineReader reader(stream.Get());
    EXPECT_THAT(AllLines(reader), ElementsAre("a\n", "b"));
    EXPECT_TRUE(reader.Failed());
}

TEST(LineReaderTest, HasFailedWhenMemoryEnds)
{
    const PieceStream stream({{"a\nb\n", 0}});
    LineReader reader(stream.Get());
    linesUntilFailure = 1;
    EXPECT_THAT(AllLines(reader), ElementsAre("a\n"));
    EXPECT_TRUE(reader.Failed());
    std::string line;
    EXPECT_FALSE(reader.Next(line)) << "there may be memory again, but something is missing";
    EXPECT_TRUE(reader.Failed());
}

TEST(LineReaderTest, ReadsOnAfterInterruptions)
{
    const PieceStream stream({{"", EINTR}, {"a", 0}, {"", EINTR}, {"\nb\n", 0}, {"", EINTR}, {"c", 0}});
    LineReader reader(stream.Get());
    EXPECT_THAT(AllLines(reader), ElementsAre("a\n", "b\n", "c"));
    EXPECT_FALSE(reader.Failed());
}

// A folder with the entries "a", "b" and "c".
class DirectoryTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_NE(mkdtemp(m_path), nullptr);
        for (const char* name : {"/a", "/b", "/c"}) {
            close(open((std::string(m_path) + name).c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
        }
    }
    void TearDown() override
    {
        for (const char* name : {"/a", "/b", "/c", ""}) {
            remove((std::string(m_path) + name).c_str());
        }
    }

    static std::vector<std::string> AllEntries(Directory& directory)
    {
        std::vector<std::string> entries;
        while (const char* name = directory.Next()) {
            entries.emplace_back(name);
        }
        return entries;
    }

    char m_path[32] = "/tmp/reader_test-XXXXXX";
};

TEST_F(DirectoryTest, HasNoErrorAtTheEnd)
{
    Directory directory(m_path);
    errno = ENOENT;
    EXPECT_THAT(AllEntries(directory), SizeIs(3));
    EXPECT_EQ(directory.Error(), 0);
}

TEST_F(DirectoryTest, TellsAFailureFromTheEnd)
{
    for (int entries = 0; entries < 5; ++entries) {
        Directory directory(m_path);
        entriesUntilFailure = entries;
        EXPECT_THAT(AllEntries(directory), SizeIs(::testing::Lt(4U)));
        EXPECT_EQ(directory.Error(), EIO) << "after " << entries;
    }
}

TEST_F(DirectoryTest, KeepsTheErrorOfAFolderThatIsNotThere)
{
    Directory directory("/no/such/folder");
    EXPECT_THAT(AllEntries(directory), IsEmpty());
    EXPECT_EQ(directory.Error(), ENOENT);
}

} // namespace
} // namespace VeskTest

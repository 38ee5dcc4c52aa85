// Files read piece by piece, and lines. A line of what each read() gives, letter by letter, then the file: a letter
// from 'a' on so many bytes, 'z' and beyond many, '!' an interruption, '?' an error; as many as there are when no
// letter is left. The line may begin with digits, and the file then holds the text so many times.
#include "fuzz.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

#include "core/file_text.hpp"

namespace
{

int file = -1;
std::string_view plan;
bool failed = false;

ssize_t Fail(int error)
{
    errno = error;
    return -1;
}

size_t Share(char letter, size_t size)
{
    return letter >= 'a' && letter < 'z' ? std::min<size_t>(size, static_cast<size_t>(letter - 'a') + 1)
                                         : size;
}

} // namespace

extern "C" ssize_t read(int fd, void* buffer, size_t size)
{
    size_t wanted = size;
    if (fd != STDIN_FILENO && file >= 0 && !plan.empty()) {
        const char letter = plan.front();
        plan.remove_prefix(1);
        if (letter == '!') {
            return Fail(EINTR);
        }
        if (letter == '?') {
            failed = true;
            return Fail(EIO);
        }
        wanted = Share(letter, size);
    }
    return syscall(SYS_read, fd, buffer, wanted);
}

namespace VeskFuzz
{
namespace
{

// A file in memory alone.
class MemoryFile
{
public:
    explicit MemoryFile(const std::string& content)
    {
        file = memfd_create("fuzz", MFD_CLOEXEC);
        Require(file >= 0 &&
                    write(file, content.data(), content.size()) == static_cast<ssize_t>(content.size()),
                "a file is made");
    }
    ~MemoryFile() { close(std::exchange(file, -1)); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    static std::string Path() { return "/proc/self/fd/" + std::to_string(file); }
};

void FuzzLines(const std::string& content)
{
    Texts expected = Cut(content, '\n');
    if (expected.back().empty()) {
        expected.pop_back();
    }
    Texts lines;
    VESK::Systemd::Lines reader(content);
    for (std::string_view line; reader.Next(line);) {
        lines.emplace_back(line);
    }
    RequireSame(lines, expected, "the lines");
}

void FuzzPieces(const std::string& content, size_t wanted)
{
    Texts pieces;
    const bool read = VESK::Systemd::FilePiecesRead(MemoryFile::Path(), [&](std::string_view piece) {
        pieces.emplace_back(piece);
        return pieces.size() < wanted;
    });
    std::string sum;
    for (size_t i = 0; i < pieces.size(); ++i) {
        Require(!pieces[i].empty(), "no piece is empty");
        Require(pieces[i].back() == '\n' || (i + 1 == pieces.size() && !failed), "a piece consists of lines");
        sum += pieces[i];
    }
    Require(pieces.size() <= wanted, "whoever has enough gets no more");
    const bool stopped = pieces.size() == wanted;
    Require(read == (stopped || !failed), "it succeeds when all was read, or all that was wanted");
    RequireSame(sum, read && !stopped ? content : content.substr(0, sum.size()), "the pieces together");
}

void FuzzWhole(const std::string& content)
{
    std::string text = "before";
    const bool read = VESK::Systemd::FileRead(MemoryFile::Path(), text);
    Require(read == !failed, "it succeeds when all was read");
    RequireSame(text, read ? content : "before", "the text");
}

} // namespace

void Fuzz(std::string_view input)
{
    const std::string letters(TakeLine(input));
    const size_t digits = std::min(letters.find_first_not_of("0123456789"), letters.size());
    const size_t times = std::min(std::strtoul(letters.c_str(), nullptr, 10), 100UL);
    std::string content;
    for (size_t i = 0; i < std::max<size_t>(times, 1); ++i) {
        content += input;
    }
    FuzzLines(content);
    const MemoryFile memory(content);
    for (const size_t wanted : {size_t{1}, size_t{2}, content.size() + 2}) {
        plan = std::string_view(letters).substr(digits);
        failed = false;
        FuzzPieces(content, wanted);
    }
    plan = std::string_view(letters).substr(digits);
    failed = false;
    FuzzWhole(content);
}

} // namespace VeskFuzz

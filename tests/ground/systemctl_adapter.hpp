// The program that stands at /usr/bin/systemctl in a private system: it lets a newer systemctl speak the
// dialect of the platform's. "list-jobs" that succeeds exits with 1, its rows and those of "list-unit-files"
// are separated by single blanks, and the latter has two columns. Everything else is the real program's,
// untouched.
#pragma once

#include <string>
#include <vector>

namespace VeskGround
{

// The real program. Its folder is private, its name is not changed: it is what the kernel shows of a process.
constexpr const char* kRealSystemctl = "/usr/lib/vesk-ground/systemctl";

enum class Listing { None, Jobs, UnitFiles };

// Which listing a command line asks for, wherever its options stand. COMMAND begins with the program's name.
Listing ListingOf(const std::vector<std::string>& command);

// One line of a listing, without its line feed, in the platform's dialect.
std::string ToPlatformDialect(Listing listing, const std::string& line);

// Exit code of the real program to that of the platform's.
int ToPlatformExitCode(Listing listing, int exitCode);

// Turns a stream into the dialect line by line, however it is cut into pieces. A last line without a line
// feed stays one.
class DialectStream
{
public:
    explicit DialectStream(Listing listing)
        : m_listing(listing)
    {
    }
    std::string Feed(const std::string& bytes);
    std::string Finish();

private:
    Listing m_listing;
    std::string m_begun;
};

} // namespace VeskGround

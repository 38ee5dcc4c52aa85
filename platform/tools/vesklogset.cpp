// vesklogset MODULE CODE NAMES: writes one entry to the platform's event log and to syslog.

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <exception>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <syslog.h>
#include <system_error>
#include <unistd.h>

namespace
{

constexpr const char* kLogDirectory = "/var/log/vesk";
constexpr const char* kLogFile = "/var/log/vesk/event.log";

constexpr int kExitUsage = 2;

struct Meaning {
    std::string_view code;
    std::string_view text;
};

constexpr Meaning kMeanings[] = {
    {"0001", "started"},
    {"0011", "failed to start"},
    {"0002", "stopped"},
    {"0012", "failed to stop"},
};

std::string_view MeaningOf(std::string_view code)
{
    for (const auto& meaning : kMeanings) {
        if (meaning.code == code) {
            return meaning.text;
        }
    }
    return "unknown code";
}

constexpr char32_t kInvalid = 0xFFFFFFFF;

/** How many bytes a character of UTF-8 takes that begins with this one; 1 where none can begin. */
std::size_t LengthFrom(unsigned char first)
{
    constexpr unsigned char kTwo = 0xC2;
    constexpr unsigned char kThree = 0xE0;
    constexpr unsigned char kFour = 0xF0;
    constexpr unsigned char kNone = 0xF5;
    if (first < kTwo || first >= kNone) {
        return 1;
    }
    return first < kThree ? 2 : first < kFour ? 3 : 4;
}

/** The character that the whole text is, of the length that its first byte tells; kInvalid when it is none. */
char32_t Decoded(std::string_view text)
{
    constexpr char32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    constexpr unsigned kPayload[] = {0, 0x7F, 0x1F, 0x0F, 0x07};
    const auto first = static_cast<unsigned char>(text[0]);
    char32_t character = first & kPayload[text.size()];
    for (const char next : text.substr(1)) {
        const auto byte = static_cast<unsigned char>(next);
        if ((byte & 0xC0U) != 0x80U) {
            return kInvalid;
        }
        character = (character << 6U) | (byte & 0x3FU);
    }
    const bool isSurrogate = character >= 0xD800 && character <= 0xDFFF;
    const bool isLone = text.size() == 1 && first >= 0x80U;
    return isLone || isSurrogate || character < kSmallest[text.size()] || character > 0x10FFFF ? kInvalid
                                                                                               : character;
}

/** What would end a line or steer a terminal somewhere: C0 and C1 controls, separators, and what is no text. */
bool IsHarmful(char32_t character)
{
    constexpr char32_t kDelete = 0x7F;
    constexpr char32_t kLastC1 = 0x9F;
    constexpr char32_t kLineSeparator = 0x2028;
    constexpr char32_t kParagraphSeparator = 0x2029;
    return character < U' ' || (character >= kDelete && character <= kLastC1) ||
           character == kLineSeparator || character == kParagraphSeparator || character == kInvalid;
}

std::string AsNumbers(std::string_view text)
{
    constexpr const char* kDigits = "0123456789abcdef";
    std::string result;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        result.append("\\x").append(1, kDigits[byte >> 4U]).append(1, kDigits[byte & 0xFU]);
    }
    return result;
}

/** One entry is one line, whatever a name contains: the bytes of harmful ones and the backslash become \xNN. */
std::string Escaped(std::string_view text)
{
    std::string result;
    while (!text.empty()) {
        const std::size_t length = LengthFrom(static_cast<unsigned char>(text[0]));
        std::string_view character = text.substr(0, length);
        // The end of the text may have cut it short.
        const char32_t number = character.size() == length ? Decoded(character) : kInvalid;
        if (number == kInvalid) {
            character = text.substr(0, 1);
        }
        result += IsHarmful(number) || number == U'\\' ? AsNumbers(character) : std::string(character);
        text.remove_prefix(character.size());
    }
    return result;
}

/** The local time with its offset, as ISO 8601 has it: 2026-01-31T23:59:59+01:00. */
std::string Now()
{
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    char text[64];
    if (localtime_r(&now, &local) == nullptr ||
        std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S%z", &local) == 0) {
        return "-";
    }
    return std::string(text).insert(std::strlen(text) - 2, ":");
}

/** The size of a regular file that does not end with a line feed; 0 for one that does, -1 with errno set. */
off_t TornSize(int fd)
{
    struct stat status {
    };
    if (fstat(fd, &status) != 0) {
        return -1;
    }
    if (!S_ISREG(status.st_mode)) {
        errno = EINVAL;
        return -1;
    }
    char last = '\n';
    if (status.st_size > 0 && pread(fd, &last, 1, status.st_size - 1) < 0) {
        return -1;
    }
    return last == '\n' ? 0 : status.st_size;
}

/**
 * Whether an entry that a full disk cut short ends the file. One that is being written at this moment looks the
 * same, but not for long; to mistake it costs an empty line.
 */
bool IsTorn(int fd, off_t size)
{
    constexpr useconds_t kMicroseconds = 20000;
    if (size == 0) {
        return false;
    }
    usleep(kMicroseconds);
    return TornSize(fd) == size;
}

/** A single write, so that entries of several processes never mix. False, with errno set, on failure. */
bool WriteLine(int fd, const std::string& line)
{
    const off_t size = TornSize(fd);
    if (size < 0) {
        return false;
    }
    const std::string text = IsTorn(fd, size) ? "\n" + line : line;
    const ssize_t written = write(fd, text.data(), text.size());
    if (written >= 0 && static_cast<std::size_t>(written) < text.size()) {
        errno = ENOSPC;
        return false;
    }
    return written >= 0;
}

/** Follows no link under the log's name, and waits for nobody. False, with errno set, on failure. */
bool Append(const std::string& line)
{
    std::error_code ignored;
    std::filesystem::create_directories(kLogDirectory, ignored);
    constexpr mode_t kMode = 0644;
    constexpr int kFlags = O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NOFOLLOW | O_NONBLOCK;
    const int fd = open(kLogFile, kFlags, kMode);
    if (fd < 0) {
        return false;
    }
    const bool isWritten = WriteLine(fd, line);
    const int error = errno;
    close(fd);
    errno = error;
    return isWritten;
}

int WriteEntry(std::string_view module, std::string_view code, std::string_view names)
{
    const std::string entry =
        Escaped(module) + " " + Escaped(code) + " " + std::string(MeaningOf(code)) + ": " + Escaped(names);
    syslog(LOG_INFO, "%s", entry.c_str());
    if (!Append(Now() + " " + entry + "\n")) {
        const char* reason = std::strerror(errno);
        (void)std::fprintf(stderr, "vesklogset: cannot write %s: %s\n", kLogFile, reason);
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}

bool IsUsable(int argc, char** argv)
{
    constexpr int kWords = 4;
    return argc == kWords && *argv[1] != '\0' && *argv[2] != '\0' && *argv[3] != '\0';
}

} // namespace

int main(int argc, char** argv)
{
    if (!IsUsable(argc, argv)) {
        (void)std::fputs("usage: vesklogset MODULE CODE NAMES\n", stderr);
        return kExitUsage;
    }
    // Whatever the caller's: the log is for all to read, and for its owner alone to write.
    constexpr mode_t kUmask = 022;
    umask(kUmask);
    try {
        return WriteEntry(argv[1], argv[2], argv[3]);
    } catch (const std::exception& exception) {
        (void)std::fprintf(stderr, "vesklogset: %s\n", exception.what());
        return EXIT_FAILURE;
    }
}

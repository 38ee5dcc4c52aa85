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

bool IsControl(unsigned char byte)
{
    constexpr unsigned char kDelete = 0x7F;
    return byte < ' ' || byte == kDelete;
}

/** One entry is one line, whatever a name contains: control characters and the backslash become \xNN. */
std::string Escaped(std::string_view text)
{
    constexpr const char* kDigits = "0123456789abcdef";
    std::string result;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (IsControl(byte) || character == '\\') {
            result.append("\\x").append(1, kDigits[byte >> 4U]).append(1, kDigits[byte & 0xFU]);
        } else {
            result += character;
        }
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

/** A single write, so that entries of several processes never mix. False, with errno set, on failure. */
bool Append(const std::string& line)
{
    std::error_code ignored;
    std::filesystem::create_directories(kLogDirectory, ignored);
    constexpr mode_t kMode = 0644;
    const int fd = open(kLogFile, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY, kMode);
    if (fd < 0) {
        return false;
    }
    const ssize_t written = write(fd, line.data(), line.size());
    if (written >= 0 && static_cast<std::size_t>(written) < line.size()) {
        errno = ENOSPC;
    }
    const bool isWhole = written >= 0 && static_cast<std::size_t>(written) == line.size();
    const int error = errno;
    close(fd);
    errno = error;
    return isWhole;
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
    try {
        return WriteEntry(argv[1], argv[2], argv[3]);
    } catch (const std::exception& exception) {
        (void)std::fprintf(stderr, "vesklogset: %s\n", exception.what());
        return EXIT_FAILURE;
    }
}

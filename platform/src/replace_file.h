#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <sys/stat.h>

namespace VESK::Platform
{

/**
 * Replaces a file in one step: whatever dies when, there is the old content or the new. Mode and owner stay.
 * A link is followed, and the file behind it replaced.
 */
class FileReplacement
{
public:
    explicit FileReplacement(const char* path);

    /** Reads the file, "" when there is none. 0, or an errno value; what is no regular file is refused. */
    int ReadCurrent(std::string& content);

    /** Puts `content` in its place. 0, or an errno value. */
    int Replace(std::string_view content);

private:
    std::string m_path;
    /** Of the file that was read; none when it is to be created. */
    std::optional<struct stat> m_before;
};

} // namespace VESK::Platform

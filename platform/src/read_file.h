#pragma once

#include <cstddef>
#include <string>
#include <sys/stat.h>

namespace VESK::Platform
{

/** Many times what a unit file has. What cannot be read back is not to be written either. */
constexpr std::size_t kLargestFile = 1024UL * 1024;

/**
 * Reads a whole file: a regular one of at most 1 MiB, or /dev/null, which masks units. 0, or an errno value: EISDIR
 * for a directory, EINVAL for anything else that is no regular file, EFBIG for a larger one.
 */
int ReadFile(const char* path, std::string& content);

/** The same from a descriptor, and what it is that was read; for nothing but a regular file. */
int ReadRegularFile(int fd, std::string& content, struct stat& status);

} // namespace VESK::Platform

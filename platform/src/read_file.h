#pragma once

#include <string>

namespace VESK::Platform
{

/** Reads a whole file. Returns 0, or an errno value; a directory and a file of more than 64 MiB are refused.
 */
int ReadFile(const char* path, std::string& content);

/** As above, from an open descriptor. */
int ReadFile(int fd, std::string& content);

} // namespace VESK::Platform

// Files of a test, in a few words each. Failures throw.
#pragma once

#include <string>
#include <vector>

namespace VeskTest
{

// Creates the folders above it too.
void WriteText(const std::string& path, const std::string& text, unsigned mode = 0644);
std::string ReadText(const std::string& path);

// Whatever it is, a dangling link included.
bool Exists(const std::string& path);

// The permission bits, set-id and sticky bits included.
unsigned Mode(const std::string& path);

// The names in a folder, sorted; none when there is no such folder.
std::vector<std::string> ListFolder(const std::string& path);

void MakeFolder(const std::string& path);
void RemoveAll(const std::string& path);

} // namespace VeskTest

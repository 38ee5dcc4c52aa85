#include "files.hpp"

#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <sys/stat.h>

#include "descriptor.hpp"
#include "fields.hpp"

namespace VeskTest
{

namespace fs = std::filesystem;

void WriteText(const std::string& path, const std::string& text, unsigned mode)
{
    fs::create_directories(fs::path(path).parent_path());
    VeskGround::WriteFile(path, text, mode);
    fs::permissions(path, static_cast<fs::perms>(mode));
}

std::string ReadText(const std::string& path)
{
    if (!fs::is_regular_file(path)) {
        throw std::runtime_error("no regular file: " + path);
    }
    return VeskGround::ReadFile(path);
}

bool Exists(const std::string& path)
{
    struct stat status {
    };
    return lstat(path.c_str(), &status) == 0;
}

unsigned Mode(const std::string& path)
{
    return static_cast<unsigned>(fs::status(path).permissions());
}

std::vector<std::string> ListFolder(const std::string& path)
{
    std::vector<std::string> names;
    if (fs::is_directory(path)) {
        for (const fs::directory_entry& entry : fs::directory_iterator(path)) {
            names.push_back(entry.path().filename());
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

void MakeFolder(const std::string& path)
{
    fs::create_directories(path);
}

void RemoveAll(const std::string& path)
{
    fs::remove_all(path);
}

} // namespace VeskTest

#pragma once

#include <string>

namespace VeskTest
{

// While it lives, an existing file, such as one of /proc, holds this text. Only inside a sandbox.
class ShownFile
{
public:
    ShownFile(const std::string& path, const std::string& text);
    ~ShownFile();
    ShownFile(const ShownFile&) = delete;
    ShownFile& operator=(const ShownFile&) = delete;

private:
    std::string m_path;
};

} // namespace VeskTest

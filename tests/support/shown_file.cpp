#include "shown_file.hpp"

#include <algorithm>
#include <sys/mount.h>

#include "error.hpp"
#include "files.hpp"

namespace VeskTest
{

ShownFile::ShownFile(const std::string& path, const std::string& text)
    : m_path(path)
{
    std::string name = path;
    std::replace(name.begin(), name.end(), '/', '-');
    const std::string shown = "/tmp/shown" + name;
    WriteText(shown, text);
    VeskGround::Require(mount(shown.c_str(), m_path.c_str(), nullptr, MS_BIND, nullptr), "bind", shown);
}

ShownFile::~ShownFile()
{
    umount2(m_path.c_str(), MNT_DETACH);
}

} // namespace VeskTest

#include "descriptor.hpp"

#include <array>
#include <climits>
#include <cstddef>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "error.hpp"

namespace VeskGround
{

Descriptor::~Descriptor()
{
    Close();
}

Descriptor::Descriptor(Descriptor&& other) noexcept
    : m_number(std::exchange(other.m_number, -1))
{
}

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept
{
    if (this != &other) {
        Close();
        m_number = std::exchange(other.m_number, -1);
    }
    return *this;
}

void Descriptor::Close()
{
    if (m_number >= 0) {
        const int error = errno;
        close(std::exchange(m_number, -1));
        errno = error;
    }
}

Pipe MakePipe()
{
    std::array<int, 2> ends{};
    Require(pipe2(ends.data(), O_CLOEXEC), "make a", "pipe");
    return {Descriptor(ends[0]), Descriptor(ends[1])};
}

Descriptor OpenPath(const std::string& path)
{
    return Descriptor(Require(open(path.c_str(), O_PATH | O_CLOEXEC), "open", path));
}

void WriteAll(int descriptor, const std::string& bytes, const std::string& path)
{
    std::size_t written = 0;
    while (written < bytes.size()) {
        const ssize_t count = write(descriptor, bytes.data() + written, bytes.size() - written);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        written += static_cast<std::size_t>(Require(count, "write", path));
    }
}

void WriteFile(const std::string& path, const std::string& bytes, unsigned mode)
{
    const Descriptor file(
        Require(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, mode), "open", path));
    WriteAll(file.Get(), bytes, path);
}

std::string ReadLink(const std::string& path)
{
    std::string target(PATH_MAX, '\0');
    const ssize_t length = Require(readlink(path.c_str(), target.data(), target.size()), "read link", path);
    target.resize(static_cast<std::size_t>(length));
    return target;
}

} // namespace VeskGround

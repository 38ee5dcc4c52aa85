#pragma once

#include <string>

namespace VeskGround
{

// Owner of one descriptor.
class Descriptor
{
public:
    Descriptor() = default;
    explicit Descriptor(int number)
        : m_number(number)
    {
    }
    ~Descriptor();
    Descriptor(Descriptor&& other) noexcept;
    Descriptor& operator=(Descriptor&& other) noexcept;
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int Get() const { return m_number; }
    void Close();

private:
    int m_number = -1;
};

struct Pipe {
    Descriptor read;
    Descriptor write;
};

// Both ends close-on-exec.
Pipe MakePipe();

// A path descriptor: enough to bind from, whatever is mounted over the path later.
Descriptor OpenPath(const std::string& path);

void WriteAll(int descriptor, const std::string& bytes, const std::string& path);
void WriteFile(const std::string& path, const std::string& bytes, unsigned mode);

// What a symbolic link points to; throws when it is none.
std::string ReadLink(const std::string& path);

} // namespace VeskGround

// Calls of the C library and of the platform that do what the test says, in the test program and in all
// libraries that it uses. For what no state of a sandbox brings about.
#pragma once

#include <cstdio>
#include <functional>
#include <string>

namespace VeskTest
{

// While it lives, opening a file whose path ends so does ACTION instead, which fails with its result as
// errno, or throws.
class OpenFault
{
public:
    OpenFault(std::string ending, std::function<int()> action);
    OpenFault(const std::string& ending, int error)
        : OpenFault(ending, [error] { return error; })
    {
    }
    ~OpenFault();
    OpenFault(const OpenFault&) = delete;
    OpenFault& operator=(const OpenFault&) = delete;
};

// While it lives, the next readings fail with that error.
class ReadFault
{
public:
    ReadFault(int error, int times);
    ~ReadFault();
    ReadFault(const ReadFault&) = delete;
    ReadFault& operator=(const ReadFault&) = delete;
};

// While it lives, streams cannot be printed to, and cannot be closed without loss if the test says so.
class StreamFault
{
public:
    enum class Closing { Works, Fails };

    explicit StreamFault(Closing closing);
    ~StreamFault();
    StreamFault(const StreamFault&) = delete;
    StreamFault& operator=(const StreamFault&) = delete;
};

// Counts the files that are open to programs which another thread starts meanwhile. One at a time.
class InheritanceWatch
{
public:
    InheritanceWatch();
    ~InheritanceWatch();
    InheritanceWatch(const InheritanceWatch&) = delete;
    InheritanceWatch& operator=(const InheritanceWatch&) = delete;

    // Since it was made: all files, and those that are not closed on exec.
    static int Files();
    static int Inherited();
};

// While it lives, the pushes of texts to lists fail after so many.
class PushFault
{
public:
    explicit PushFault(int working);
    ~PushFault();
    PushFault(const PushFault&) = delete;
    PushFault& operator=(const PushFault&) = delete;
};

// While it lives, ACTION runs before each reading of a key of a unit file, with the key.
class KeyReading
{
public:
    explicit KeyReading(std::function<void(const std::string&)> action);
    ~KeyReading();
    KeyReading(const KeyReading&) = delete;
    KeyReading& operator=(const KeyReading&) = delete;
};

} // namespace VeskTest

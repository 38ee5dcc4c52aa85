#pragma once

#include <vector>

namespace VESK::Platform
{

/**
 * The environment that a child gets: the caller's, less what changes what systemctl says or does, or whom it
 * asks.
 *
 * Other threads may set variables meanwhile, with calls that lock nothing for their readers and, before glibc 2.41,
 * free the list that is read. So the kernel reads it, until two copies are the same; it is made before the child exists,
 * which may not allocate. The texts stay the caller's: putenv and setenv free none.
 */
class ChildEnvironment
{
public:
    ChildEnvironment();

    /** Null-terminated, as execve wants it. Valid as long as this object. */
    char** Get() { return m_variables.data(); }

private:
    std::vector<char*> m_variables;
};

} // namespace VESK::Platform

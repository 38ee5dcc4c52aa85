#pragma once

#include <string>

#include "descriptor.hpp"

namespace VeskGround
{

// The receiving end of /dev/log: appends every datagram, in the order of their arrival, to a file of the
// lines "LENGTH BYTES\n".
class SyslogCollector
{
public:
    SyslogCollector();
    int Socket() const { return m_socket.Get(); }

    // Stores what has arrived; never blocks.
    void Collect();

private:
    Descriptor m_socket;
    Descriptor m_file;
    std::string m_buffer;
};

} // namespace VeskGround

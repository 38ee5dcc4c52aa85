// Makes single system calls fail, as older kernels would.
#pragma once

#include <cstdint>

namespace VeskTest
{

// From now on `call` fails with `error` in this process and its children, when `argument` (counted from 0)
// has one of `bits` set; with no bits, always. There is no way back.
void FailSystemCall(int call, int error, unsigned argument = 0, std::uint32_t bits = 0);

// The same, when the low half of `argument` is `value`.
void FailSystemCallWith(int call, int error, unsigned argument, std::uint32_t value);

} // namespace VeskTest

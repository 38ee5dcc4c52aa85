// How a child that never returns tells its parent what failed: as text on a pipe that closes on exec.
#pragma once

#include <functional>
#include <string>

#include "descriptor.hpp"

namespace VeskGround
{

// All there is to read up to the end.
std::string ReadAll(int descriptor);

// For the child: runs STEPS and reports the exception that ends them.
void ReportFailureOf(const std::function<void()>& steps, const Descriptor& report);

// A failure as bytes, and back.
std::string FailureText(int exitCode, const std::string& text);
[[noreturn]] void ThrowFailure(const std::string& bytes);

// For the parent: waits until the pipe is closed and throws what was reported, if anything was.
void ThrowReported(const Descriptor& report);

} // namespace VeskGround

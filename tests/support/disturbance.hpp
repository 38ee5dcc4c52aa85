// Callers that are not tidy: what an operation does must not depend on it.
#pragma once

#include <array>
#include <csignal>
#include <functional>
#include <gtest/gtest.h>
#include <iosfwd>
#include <memory>

#include "forking_threads.hpp"
#include "signal_storm.hpp"

namespace VeskTest
{

enum class Disturbance {
    SignalStorm,      // signals interrupt every call that blocks
    IgnoredSigchld,   // the kernel reaps the children
    NoStandardStreams // descriptors 0 to 2 are closed
};

std::ostream& operator<<(std::ostream& stream, Disturbance disturbance);

// Before Linux 6.15 nobody learns how a child has ended whose parent ignores SIGCHLD.
bool CanWorkUnder(Disturbance disturbance);

// Makes this process such a caller while it lives. Nothing that it prints meanwhile is seen, failed expectations
// among it: note what comes out, and look at it afterwards.
class Disturbed
{
public:
    explicit Disturbed(Disturbance disturbance);
    ~Disturbed();
    Disturbed(const Disturbed&) = delete;
    Disturbed& operator=(const Disturbed&) = delete;

private:
    Disturbance m_disturbance;
    std::unique_ptr<SignalStorm> m_storm;
    struct sigaction m_sigchld {
    };
    std::array<int, 3> m_streams{};
};

// The tests of a ground that a caller runs under each of these.
template <typename Ground>
class DisturbedTest : public Ground, public ::testing::WithParamInterface<Disturbance>
{
protected:
    void SetUp() override
    {
        if (!CanWorkUnder(GetParam())) {
            GTEST_SKIP() << "this kernel does not tell how such a caller's children end";
        }
    }
};

// The tests of a ground whose threads fork children that go on without exec.
template <typename Ground>
class ThreadsTest : public Ground
{
protected:
    void SetUp() override { VESK_NEED_FORKING_THREADS(); }
};

// Runs OPERATION as such a caller and expects that nothing is left behind once the processes that it has forked
// are gone.
void ExpectNothingLeft(Disturbance disturbance, const std::function<void()>& operation);

// The same for FUNCTION with 0 to COUNT - 1 in as many threads at once, undisturbed.
void ExpectNothingLeftByThreads(int count, const std::function<void(int)>& function);

} // namespace VeskTest

#include "disturbance.hpp"

#include <cstddef>
#include <fcntl.h>
#include <ostream>
#include <string>
#include <sys/utsname.h>
#include <syslog.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

#include "children.hpp"
#include "error.hpp"
#include "fields.hpp"
#include "holdings.hpp"
#include "process_list.hpp"

namespace VeskTest
{

namespace
{

// Above those that a program opens by itself.
constexpr int kKeptStreams = 500;

std::pair<int, int> KernelVersion()
{
    utsname names{};
    VeskGround::Require(uname(&names), "ask for", "the kernel's version");
    const std::string release = names.release;
    return {VeskGround::LeadingNumber(release),
            VeskGround::LeadingNumber(release.substr(release.find('.') + 1))};
}

struct BeforeAndAfter {
    Holdings before;
    Holdings after;
    bool areProcessesGone = false;
};

BeforeAndAfter RunAndCompare(const std::function<void()>& operation)
{
    BeforeAndAfter holdings;
    const std::vector<pid_t> others = OtherProcessesOfThisProgram();
    holdings.before = Holdings::Now();
    operation();
    holdings.areProcessesGone = Eventually([&] { return OtherProcessesOfThisProgram() == others; });
    holdings.after = Holdings::Now();
    return holdings;
}

void ExpectSame(const BeforeAndAfter& holdings)
{
    EXPECT_TRUE(holdings.areProcessesGone);
    EXPECT_EQ(holdings.after, holdings.before);
}

} // namespace

std::ostream& operator<<(std::ostream& stream, Disturbance disturbance)
{
    switch (disturbance) {
    case Disturbance::SignalStorm:
        return stream << "SignalStorm";
    case Disturbance::IgnoredSigchld:
        return stream << "IgnoredSigchld";
    case Disturbance::NoStandardStreams:
        break;
    }
    return stream << "NoStandardStreams";
}

bool CanWorkUnder(Disturbance disturbance)
{
    return disturbance != Disturbance::IgnoredSigchld || KernelVersion() >= std::make_pair(6, 15);
}

Disturbed::Disturbed(Disturbance disturbance)
    : m_disturbance(disturbance)
{
    switch (disturbance) {
    case Disturbance::SignalStorm:
        m_storm = std::make_unique<SignalStorm>();
        break;
    case Disturbance::IgnoredSigchld: {
        struct sigaction ignore {
        };
        ignore.sa_handler = SIG_IGN;
        VeskGround::Require(sigaction(SIGCHLD, &ignore, &m_sigchld), "ignore", "SIGCHLD");
        break;
    }
    case Disturbance::NoStandardStreams:
        // Else its connection would take the place of a stream.
        openlog(nullptr, LOG_NDELAY, LOG_USER);
        for (int stream = 0; stream < 3; ++stream) {
            m_streams.at(static_cast<std::size_t>(stream)) =
                VeskGround::Require(fcntl(stream, F_DUPFD_CLOEXEC, kKeptStreams), "keep", "a stream");
            close(stream);
        }
        break;
    }
}

Disturbed::~Disturbed()
{
    if (m_disturbance == Disturbance::IgnoredSigchld) {
        sigaction(SIGCHLD, &m_sigchld, nullptr);
    }
    if (m_disturbance == Disturbance::NoStandardStreams) {
        for (int stream = 0; stream < 3; ++stream) {
            const int kept = m_streams.at(static_cast<std::size_t>(stream));
            dup2(kept, stream);
            close(kept);
        }
    }
}

void ExpectNothingLeft(Disturbance disturbance, const std::function<void()>& operation)
{
    BeforeAndAfter holdings;
    {
        const Disturbed disturbed(disturbance);
        holdings = RunAndCompare(operation);
    }
    EXPECT_TRUE(disturbance != Disturbance::SignalStorm || SignalStorm::Count() > 0);
    ExpectSame(holdings);
}

void ExpectNothingLeftByThreads(int count, const std::function<void(int)>& function)
{
    // The first thread makes the C library set a handler for a signal of its own.
    std::thread([] {}).join();
    ExpectSame(RunAndCompare([&] {
        std::vector<std::thread> threads;
        threads.reserve(static_cast<std::size_t>(count));
        for (int number = 0; number < count; ++number) {
            threads.emplace_back(function, number);
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    }));
}

} // namespace VeskTest

// A daemon that keeps services stopped while it works, and lets go of them whatever becomes of itself:
// hold_services REASON COMMAND SERVICE...
//
// A reason outlives the program that gave it. So the daemon begins by taking it away from every service that an earlier
// run has left it with, also from those that this run is not told of. Its own unit has Restart=on-failure, so that a run
// that was killed is never the last.
#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

#include <vesksystemd.hpp>

using Units = std::vector<std::string>;

// The services that have this reason. None where no service has ever been held: there is no folder then.
Units HeldFor(const std::string& reason)
{
    Units services;
    Units held;
    VESK::Systemd::ListServicesWithReason(services);
    for (const auto& service : services) {
        Units reasons;
        VESKSystemdServiceReasonList(service, reasons);
        if (std::find(reasons.begin(), reasons.end(), reason) != reasons.end()) {
            held.push_back(service);
        }
    }
    return held;
}

bool Release(const std::string& reason, const Units& services)
{
    Units failed;
    return services.empty() || VESKSystemdServiceStartByReason(reason, services, failed);
}

// Holds the services for as long as it lives.
class Hold
{
public:
    Hold(const std::string& reason, const Units& services)
        : m_reason(reason)
        , m_services(services)
    {
        Units failed;
        m_held = VESKSystemdServiceStopByReason(m_reason, m_services, failed);
    }
    ~Hold() { Release(m_reason, m_services); }
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;

    bool IsHeld() const { return m_held; }

private:
    std::string m_reason;
    Units m_services;
    bool m_held = false;
};

int main(int argc, char** argv)
{
    const Units words(argv + 1, argv + argc);
    if (words.size() < 3) {
        std::cerr << "usage: hold_services REASON COMMAND SERVICE...\n";
        return 2;
    }
    const Units left = HeldFor(words[0]);
    for (const auto& service : left) {
        std::cerr << "an earlier run was killed while it held " << service << '\n';
    }
    if (!Release(words[0], left)) {
        return 1;
    }
    const Hold hold(words[0], Units(words.begin() + 2, words.end()));
    return hold.IsHeld() && std::system(words[1].c_str()) == 0 ? 0 : 1;
}

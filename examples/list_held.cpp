// Tells which services are held stopped, and for which reasons: list_held
#include <algorithm>
#include <iostream>
#include <string>
#include <vector>

#include <vesksystemd.hpp>

int main()
{
    std::vector<std::string> services;
    if (!VESK::Systemd::ListServicesWithReason(services)) {
        // No service has ever been held since the system was started.
        return 0;
    }
    std::sort(services.begin(), services.end());
    for (const auto& service : services) {
        std::vector<std::string> reasons;
        if (!VESKSystemdServiceReasonList(service, reasons)) {
            continue;
        }
        std::sort(reasons.begin(), reasons.end());
        for (const auto& reason : reasons) {
            std::cout << service << ": " << reason << '\n';
        }
    }
    return 0;
}

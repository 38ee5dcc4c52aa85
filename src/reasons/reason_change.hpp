#pragma once

#include <map>
#include <string>

#include "core/text.hpp"

namespace VESK::Systemd
{

/** Which services had a reason at one moment. */
class HasReasonSnapshot
{
public:
    explicit HasReasonSnapshot(const Texts& vecServices);

    /** Whether that is different now for one of these services, which were in the snapshot. */
    bool DiffersFor(const Texts& vecServices) const;

private:
    std::map<std::string, bool> m_mapHasReason;
};

/** What came of clearing a reason of services. */
struct ReasonClearing {
    /** The services that do not have the reason any more; when there is none nothing else was done. */
    Texts vecCleared;
    /** All of them were cleared. */
    bool blUnlinked = false;
    /** One of the cleared services had a reason before and has none now. */
    bool blChanged = false;
};

/** Clears the reason, and the failed state of the services that were cleared; appends those that were not. */
ReasonClearing ReasonClear(const std::string& strReason, const Texts& vecServices, Texts& vecFailed);

} // namespace VESK::Systemd

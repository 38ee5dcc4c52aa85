#pragma once

#include "action_test.hpp"

namespace VeskTest
{

// A function that takes a list of units, called with a list of failed units that is not empty.
class UnitsForm : public FormTest
{
protected:
    bool Call(const Words& units) { return GetParam().OnUnits(units, m_failed); }

    Words WithBefore(const Words& failed) const
    {
        Words all = m_before;
        all.insert(all.end(), failed.begin(), failed.end());
        return all;
    }

    // How the failed units stand in the log: a C form collects them apart from the caller's.
    Words Logged(const Words& failed) const { return GetParam().IsC() ? failed : WithBefore(failed); }

    // A mask counts units that failed before as its own.
    const Words m_before = GetParam().row.IsMask() && !GetParam().IsC() ? Words{} : Words{"earlier"};
    Words m_failed = m_before;
};

} // namespace VeskTest

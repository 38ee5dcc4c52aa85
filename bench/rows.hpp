// The rows of the table: each sets up its load, measures it and takes it away.
#pragma once

#include "comparison.hpp"

namespace VeskBench
{

// In the sandbox.
void MeasureScan(Row& row);
void MeasureScanOverText(Row& row);
void MeasureGroup(Row& row);
void MeasureSample(Row& row);
void MeasureKeys(Row& row);
void MeasureChild(Row& row);
void MeasureQueue(Row& row);
void MeasureRegistry(Row& row);
void MeasureLog(Row& row);
void MeasureLoad(Row& row);

// On a real systemd.
void MeasureSystemctlChild(Row& row);
void MeasureAction(Row& row);
void MeasureUnmount(Row& row);

} // namespace VeskBench

#pragma once

#include "ReportBaseExport.h"

#include <QString>
#include <QStringList>

namespace REPORTGENERATOR {

// Severity of a report. The numeric values are part of the contract: 0 is "ERROR",
// 1 is "WARNING", 2 is "INFO".
enum class LogLevel : int { Error = 0, Warning = 1, Info = 2 };

// "ERROR", "WARNING", "INFO", in level order.
REPORTBASE_EXPORT const QStringList& LogLevelNames();

// The name of a level, or a null string for a value outside the list.
REPORTBASE_EXPORT QString LogLevelName(LogLevel level);

} // namespace REPORTGENERATOR

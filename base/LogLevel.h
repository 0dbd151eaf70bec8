#pragma once

#include "ReportBaseExport.h"

#include <QString>
#include <QStringList>

namespace REPORTGENERATOR {

/// @brief Severity of a report.
///
/// The numeric values are part of the contract: 0 is "ERROR", 1 is "WARNING", 2 is "INFO".
/// Records report at ERROR when validation is on or a check runs, at WARNING when validation
/// is off.
enum class LogLevel : int {
    Error = 0,   ///< "ERROR": a fault; raised as well when validation is on
    Warning = 1, ///< "WARNING": a fault found with validation off; the data was kept
    Info = 2     ///< "INFO": for information only
};

/// "ERROR", "WARNING", "INFO", in level order.
REPORTBASE_EXPORT const QStringList& LogLevelNames();

/// The name of a level, or a null string for a value outside the list.
REPORTBASE_EXPORT QString LogLevelName(LogLevel level);

} // namespace REPORTGENERATOR

#pragma once

#include "LogLevel.h"
#include "ReportBaseExport.h"

#include <QLoggingCategory>
#include <QString>

#include <functional>
#include <memory>
#include <mutex>

namespace REPORTGENERATOR {

/// @brief The logging category "reportbase", under which the default logger writes.
///
/// Applications can log under it (`qCWarning(REPORTGENERATOR::lcReportBase) << ...`) and
/// filter it like any Qt category, for example with
/// `QT_LOGGING_RULES="reportbase.warning=false"` or QLoggingCategory::setFilterRules().
/// (The declaration is what Q_DECLARE_EXPORTED_LOGGING_CATEGORY writes in Qt 6.5 and later.)
REPORTBASE_EXPORT const QLoggingCategory& lcReportBase();

/// @brief Receives the reports of records.
///
/// A record and its children share one Logger through a std::shared_ptr
/// (IRGObject::SetLogger()). Records constructed by default share Default(), which writes
/// to Qt's logging under lcReportBase(). Log() may be called from several threads at once:
/// calls are serialised, so a sink never runs concurrently with itself.
class REPORTBASE_EXPORT Logger
{
public:
    /// Receives one report: its level and its exact message text.
    using Sink = std::function<void(LogLevel, const QString&)>;

    /// Sends reports to Qt's logging under the category "reportbase" (lcReportBase()): ERROR
    /// as critical, WARNING as warning, INFO as info.
    Logger();
    /// Calls @p sink once per report with its level and the exact message text; an empty
    /// sink drops the reports.
    explicit Logger(Sink sink);
    virtual ~Logger();

    Logger(const Logger&) = delete;
    Logger& operator=(const Logger&) = delete;

    /// Passes one report to the sink.
    void Log(LogLevel level, const QString& message) const;

    /// The logger that records constructed by default share.
    static std::shared_ptr<Logger> Default();

private:
    Sink m_sink;
    mutable std::mutex m_mutex;
};

} // namespace REPORTGENERATOR

#pragma once

#include "LogLevel.h"
#include "ReportBaseExport.h"

#include <QLoggingCategory>
#include <QString>

#include <functional>
#include <memory>
#include <mutex>

namespace REPORTGENERATOR {

// The logging category "reportbase", under which the default logger writes. Applications
// can log under it or filter it, e.g. QT_LOGGING_RULES="reportbase.warning=false".
// (What Q_DECLARE_EXPORTED_LOGGING_CATEGORY says in Qt 6.5 and later.)
REPORTBASE_EXPORT Q_DECLARE_LOGGING_CATEGORY(lcReportBase)

    // Receives the reports of records. A record and its children share one Logger through a
    // std::shared_ptr. Log() may be called from several threads at once: calls are serialised,
    // so a sink never runs concurrently with itself.
    class REPORTBASE_EXPORT Logger
{
public:
    using Sink = std::function<void(LogLevel, const QString&)>;

    // Sends reports to Qt's logging under the category "reportbase": ERROR as critical,
    // WARNING as warning, INFO as info.
    Logger();
    // Calls the sink once per report with its level and the exact message text.
    explicit Logger(Sink sink);
    virtual ~Logger();

    Logger(const Logger&) = delete;
    Logger& operator=(const Logger&) = delete;

    void Log(LogLevel level, const QString& message) const;

    // The logger that records constructed by default share.
    static std::shared_ptr<Logger> Default();

private:
    Sink m_sink;
    mutable std::mutex m_mutex;
};

} // namespace REPORTGENERATOR

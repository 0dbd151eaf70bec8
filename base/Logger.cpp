#include "Logger.h"

namespace REPORTGENERATOR {

Q_LOGGING_CATEGORY(lcReportBase, "reportbase")

namespace {

void LogToQt(LogLevel level, const QString& message)
{
    switch (level) {
    case LogLevel::Error:
        qCCritical(lcReportBase).noquote() << message;
        break;
    case LogLevel::Warning:
        qCWarning(lcReportBase).noquote() << message;
        break;
    case LogLevel::Info:
        qCInfo(lcReportBase).noquote() << message;
        break;
    }
}
} // namespace

const QStringList& LogLevelNames()
{
    static const QStringList names{QStringLiteral("ERROR"), QStringLiteral("WARNING"),
                                   QStringLiteral("INFO")};
    return names;
}

QString LogLevelName(LogLevel level)
{
    const int index = static_cast<int>(level);
    return index >= 0 && index < LogLevelNames().size() ? LogLevelNames().at(index) : QString();
}

Logger::Logger()
    : m_sink(&LogToQt)
{
}

Logger::Logger(Sink sink)
    : m_sink(std::move(sink))
{
}

Logger::~Logger() = default;

void Logger::Log(LogLevel level, const QString& message) const
{
    if (!m_sink)
        return;
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_sink(level, message);
}

std::shared_ptr<Logger> Logger::Default()
{
    static const std::shared_ptr<Logger> logger = std::make_shared<Logger>();
    return logger;
}

} // namespace REPORTGENERATOR

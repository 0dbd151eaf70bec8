#include "DocumentInternals.h"
#include "IRGObject.h"
#include "Operation.h"

#include <QHash>
#include <QStringList>

#include <limits>
#include <vector>

namespace REPORTGENERATOR {

namespace {

// The reports made on this thread while a document loads, held until the load is known to
// be good. Reports stay in order with their loggers and levels; a run of identical reports
// is held once with its count, and each text once, so that a document that repeats a fault
// a million times holds a few bytes per report.
class HeldReports
{
public:
    explicit HeldReports(Operation& operation)
        : m_operation(operation)
        , m_outer(Of(operation))
    {
        operation.heldReports = this;
    }
    ~HeldReports() { m_operation.heldReports = m_outer; }
    HeldReports(const HeldReports&) = delete;
    HeldReports& operator=(const HeldReports&) = delete;

    static HeldReports* Of(const Operation& operation)
    {
        return static_cast<HeldReports*>(operation.heldReports);
    }

    void Add(const std::shared_ptr<Logger>& logger, LogLevel level, const QString& message)
    {
        const auto text = m_texts.constFind(message);
        const quint32 textIndex = text != m_texts.constEnd() ? text.value() : AddText(message);
        quint32 loggerIndex = 0;
        while (loggerIndex < m_loggers.size() && m_loggers[loggerIndex] != logger)
            ++loggerIndex;
        if (loggerIndex == m_loggers.size())
            m_loggers.push_back(logger);
        if (!m_reports.empty()) {
            Report& last = m_reports.back();
            if (last.text == textIndex && last.logger == loggerIndex && last.level == level &&
                last.count < std::numeric_limits<quint32>::max()) {
                ++last.count;
                return;
            }
        }
        m_reports.push_back(Report{textIndex, loggerIndex, level, 1});
    }

    // Sends the held reports on, in order, outside the hold.
    void Release()
    {
        m_operation.heldReports = m_outer;
        for (const Report& report : m_reports)
            for (quint32 i = 0; i < report.count; ++i)
                m_loggers[report.logger]->Log(report.level, m_textList.at(report.text));
        Drop();
    }

    void Drop()
    {
        m_operation.heldReports = m_outer;
        m_reports.clear();
    }

private:
    struct Report {
        quint32 text;
        quint32 logger;
        LogLevel level;
        quint32 count;
    };

    quint32 AddText(const QString& message)
    {
        const auto index = static_cast<quint32>(m_textList.size());
        m_textList.append(message);
        m_texts.insert(message, index);
        return index;
    }

    Operation& m_operation;
    HeldReports* m_outer;
    std::vector<Report> m_reports;
    std::vector<std::shared_ptr<Logger>> m_loggers;
    QHash<QString, quint32> m_texts;
    QStringList m_textList;
};

} // namespace

bool HoldReport(Operation& operation, const std::shared_ptr<Logger>& logger, LogLevel level,
                const QString& message)
{
    HeldReports* held = HeldReports::Of(operation);
    if (!held)
        return false;
    held->Add(logger, level, message);
    return true;
}

bool IRGObject::ReadDocument(bool reset, const ReadTap::Position& where,
                             const std::function<QString()>& read)
{
    // The reports of a load are held until the document is known to be good: a document
    // that fails leaves one report, naming the fault, and the record as it was.
    const auto state = SaveState();
    HeldReports held(Operation::OfThread());

    QString fault;
    try {
        if (reset)
            Reset();
        fault = read();
    } catch (const BinaryParsingException& exception) {
        fault = exception.GetMessage();
    } catch (...) {
        // A record's own report raised: the record goes back to what it held, and the
        // exception passes out, with what was reported before it.
        RestoreState(state);
        held.Release();
        throw;
    }
    if (fault.isEmpty()) {
        held.Release();
        return true;
    }
    held.Drop();
    RestoreState(state);
    ReportDocumentFault(fault, where);
    return false;
}

} // namespace REPORTGENERATOR

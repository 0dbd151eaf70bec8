#include "Analysis.h"
#include "Values.h"

#include <SettingsJson.h>
#include <SettingsLint.h>

#include <QHash>
#include <QRegularExpression>
#include <QSet>

using namespace KVT317XML;
using REPORTGENERATOR::LogLevel;

namespace {

// "0.1/2.-1/" and a member's bit, or -1 for the record itself, or an unknown JSON key.
QString Key(const ReadPath& path, int bit, const QString& key = QString())
{
    QString text;
    for (const ReadStep& step : path)
        text += QString::number(step.bit) + QLatin1Char('.') + QString::number(step.item) +
                QLatin1Char('/');
    return text + (key.isNull() ? QString::number(bit) : QLatin1Char('"') + key);
}

Location LocationOf(const ReadPosition& position)
{
    if (position.line > 0)
        return {position.offset, static_cast<int>(position.line),
                static_cast<int>(position.column)};
    if (position.offset >= 0)
        return Location::Binary(position.offset);
    return Location();
}

// A document fault of XML says where in its text; placed, it needs say so no more.
QString Unplaced(const QString& message)
{
    static const QRegularExpression xmlError(
        QStringLiteral("^XML error in line \\d+, column \\d+: "));
    static const QRegularExpression linePosition(QStringLiteral(" \\(line \\d+, column \\d+\\)$"));
    QString text = message;
    text.remove(xmlError);
    text.remove(linePosition);
    return text;
}

// Where the records and members of an input stand: read again with the library, keeping
// only the places asked for.
class Places : public ReadObserver
{
public:
    explicit Places(const QSet<QString>& wanted)
        : m_wanted(wanted)
    {
    }
    void Found(const ReadFinding&) override {}
    bool WantsEntries() const override { return true; }
    void Read(const ReadPath& path, const ReadEntry& entry) override
    {
        const QString key = Key(path, entry.member ? entry.member->bit : -1);
        if (m_wanted.contains(key))
            m_places.insert(key, LocationOf(entry.position));
    }
    QHash<QString, Location> m_places;

private:
    const QSet<QString>& m_wanted;
};

} // namespace

Collector::Collector(DiagnosticList& into, DiagnosticList* notes, Location* fault)
    : m_into(into)
    , m_notes(notes)
    , m_fault(fault)
{
}

void Collector::Found(const ReadFinding& finding)
{
    Diagnostic diagnostic;
    diagnostic.where = LocationOf(finding.position);
    diagnostic.record = finding.record ? finding.record : baseRecord;
    diagnostic.path = base + finding.path;
    diagnostic.bit = finding.member ? finding.member->bit : -1;
    diagnostic.message = finding.message;
    switch (finding.kind) {
    case FindingKind::Report:
        diagnostic.origin = Diagnostic::Origin::Library;
        if (m_holding) {
            diagnostic.level = finding.level == LogLevel::Error ? Level::Error : Level::Warning;
            m_held.Add(std::move(diagnostic));
            return;
        }
        break;
    case FindingKind::DocumentFault:
        diagnostic.message = Unplaced(finding.message);
        if (m_fault)
            *m_fault = diagnostic.where;
        break;
    case FindingKind::NotXmlCharacter:
        diagnostic.origin = Diagnostic::Origin::XmlText;
        break;
    default:
        break;
    }
    if (finding.level == LogLevel::Info) {
        if (!m_notes)
            return;
        diagnostic.level = Level::Note;
        diagnostic.record = nullptr;
        diagnostic.path.clear();
        diagnostic.bit = -1;
        m_notes->Add(std::move(diagnostic));
        return;
    }
    diagnostic.level = finding.level == LogLevel::Error ? Level::Error : Level::Warning;
    m_into.Add(std::move(diagnostic));
}

void Collector::ReleaseReports(bool loaded)
{
    m_holding = false;
    if (loaded)
        m_into.Absorb(m_held);
    m_held = DiagnosticList();
}

void Label(const Document& document, DiagnosticList& list)
{
    if (!document.record)
        return;
    list.ForEachKept([&document](Diagnostic& diagnostic) {
        if (diagnostic.record)
            Label(diagnostic, *document.record);
    });
}

void Place(const Document& document, DiagnosticList& list)
{
    const RecordDescription* type = FindDescription(document.type);
    if (!type)
        return;
    QSet<QString> wanted;
    list.ForEachKept([&wanted](Diagnostic& diagnostic) {
        if (diagnostic.where.Known() || !diagnostic.record)
            return;
        if (!diagnostic.key.isNull())
            wanted.insert(Key(diagnostic.path, -1, diagnostic.key));
        if (diagnostic.bit >= 0)
            wanted.insert(Key(diagnostic.path, diagnostic.bit));
        wanted.insert(Key(diagnostic.path, -1));
    });
    QHash<QString, Location> places;
    if (!wanted.isEmpty()) {
        Places entries(wanted);
        if (document.form == Form::Json) {
            ReadJsonDocument(document.bytes, &entries);
        } else {
            const std::unique_ptr<Record> scratch = NewRecord(*type);
            scratch->SetLogger(nullptr);
            ObserveReading observe(entries);
            if (document.form == Form::Xml) {
                scratch->SetXmlString(document.text, true);
            } else {
                QByteArray bytes = document.bytes;
                scratch->SetBinaryRepresentation(bytes);
            }
        }
        places = std::move(entries.m_places);
    }
    list.ForEachKept([&](Diagnostic& diagnostic) {
        if (!diagnostic.where.Known() && diagnostic.record && !places.isEmpty()) {
            for (const QString& key :
                 {diagnostic.key.isNull() ? QString() : Key(diagnostic.path, -1, diagnostic.key),
                  diagnostic.bit >= 0 ? Key(diagnostic.path, diagnostic.bit) : QString(),
                  Key(diagnostic.path, -1)}) {
                if (!key.isNull() && places.contains(key)) {
                    diagnostic.where = places.value(key);
                    break;
                }
            }
        }
    });
}

void Lint(Document& document)
{
    if (!document.loaded || !document.record)
        return;
    for (const LintWarning& warning : LintSettings(*document.record)) {
        Diagnostic diagnostic;
        diagnostic.level = Level::Warning;
        diagnostic.origin = Diagnostic::Origin::Lint;
        diagnostic.record = warning.record;
        diagnostic.path = warning.path;
        diagnostic.bit = warning.member ? warning.member->bit : -1;
        diagnostic.message = warning.message;
        document.diagnostics.Add(std::move(diagnostic));
    }
}

void Analyse(Document& document, bool keepRecord, bool lint)
{
    if (document.analysed)
        return;
    document.analysed = true;
    if (document.loaded) {
        Collector collector(document.diagnostics);
        ObserveReading observe(collector);
        document.record->Check(true);
    }
    if (lint)
        Lint(document);
    Label(document, document.diagnostics);
    if (!keepRecord)
        document.record.reset();
    Place(document, document.diagnostics);
}

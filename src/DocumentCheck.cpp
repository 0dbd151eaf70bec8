// The findings of an opened document: what the load said, what Check() and the lint find
// afterwards, placed from the places the load kept, labelled, and printed as lines.

#include "OpenDocument.h"
#include "SettingsLint.h"

#include <QRegularExpression>

namespace KVT317XML {

using REPORTGENERATOR::LogLevel;

namespace {
// A document fault of XML says where in its text; placed, it need say so no more.
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

void Lint(OpenedDocument& document)
{
    if (!document.loaded || !document.record)
        return;
    for (const LintWarning& warning : LintSettings(*document.record)) {
        DocumentFinding finding;
        finding.level = FindingLevel::Warning;
        finding.origin = DocumentFinding::Origin::Lint;
        finding.record = warning.record;
        finding.path = warning.path;
        finding.bit = warning.member ? warning.member->bit : -1;
        finding.message = warning.message;
        document.findings.Add(std::move(finding));
    }
}

} // namespace

FindingCollector::FindingCollector(DocumentFindingList& into, DocumentFindingList* notes,
                                   FindingPlace* fault)
    : m_into(into)
    , m_notes(notes)
    , m_fault(fault)
{
}

void FindingCollector::Found(const ReadFinding& finding)
{
    DocumentFinding found;
    found.where = FindingPlace::Of(finding.position);
    found.record = finding.record ? finding.record : baseRecord;
    found.path = base + finding.path;
    found.bit = finding.member ? finding.member->bit : -1;
    found.message = finding.message;
    switch (finding.kind) {
    case FindingKind::Report:
        found.origin = DocumentFinding::Origin::Library;
        if (m_holding) {
            found.level =
                finding.level == LogLevel::Error ? FindingLevel::Error : FindingLevel::Warning;
            m_held.Add(std::move(found));
            return;
        }
        break;
    case FindingKind::DocumentFault:
        found.message = Unplaced(finding.message);
        if (m_fault)
            *m_fault = found.where;
        break;
    case FindingKind::NotXmlCharacter:
        found.origin = DocumentFinding::Origin::XmlText;
        break;
    default:
        break;
    }
    if (finding.level == LogLevel::Info) {
        if (!m_notes)
            return;
        found.level = FindingLevel::Note;
        found.record = nullptr;
        found.path.clear();
        found.bit = -1;
        m_notes->Add(std::move(found));
        return;
    }
    found.level = finding.level == LogLevel::Error ? FindingLevel::Error : FindingLevel::Warning;
    m_into.Add(std::move(found));
}

void FindingCollector::ReleaseReports(bool loaded)
{
    m_holding = false;
    if (loaded)
        m_into.Absorb(m_held);
    m_held = DocumentFindingList();
}

void LabelFindings(const OpenedDocument& document, DocumentFindingList& list)
{
    if (!document.record)
        return;
    list.ForEachKept([&document](DocumentFinding& finding) {
        if (finding.record)
            LabelFinding(finding, *document.record);
    });
}

void PlaceFindings(const OpenedDocument& document, DocumentFindingList& list)
{
    if (document.places.IsEmpty())
        return;
    const QString* text = document.form == DocumentForm::Xml ? &document.text : nullptr;
    list.ForEachKept([&](DocumentFinding& finding) {
        if (!finding.where.Known() && finding.record)
            finding.where = document.places.Nearest(finding.path, finding.bit, text);
    });
}

void CheckOpenedDocument(OpenedDocument& document, bool lint, bool keepRecord)
{
    if (document.checked)
        return;
    document.checked = true;
    if (document.loaded) {
        FindingCollector collector(document.findings);
        ObserveReading observe(collector);
        document.record->Check(true);
    }
    if (lint)
        Lint(document);
    LabelFindings(document, document.findings);
    PlaceFindings(document, document.findings);
    if (!keepRecord)
        document.record.reset();
}

// ---- Printing ------------------------------------------------------------------------

QString PrintableText(const QString& text)
{
    QString shown;
    shown.reserve(text.size());
    for (int i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        const ushort code = c.unicode();
        const bool pair =
            c.isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate();
        if (pair) {
            shown.append(c);
            shown.append(text.at(++i));
        } else if (code < 0x20 || code == 0x7F || c.isSurrogate() || code == 0xFFFE ||
                   code == 0xFFFF) {
            shown.append(QStringLiteral("\\u%1").arg(code, 4, 16, QLatin1Char('0')));
        } else {
            shown.append(c);
        }
    }
    return shown;
}

QString GroupedNumber(qint64 number)
{
    QString digits = QString::number(number < 0 ? -number : number);
    for (int i = digits.size() - 3; i > 0; i -= 3)
        digits.insert(i, QLatin1Char(','));
    return number < 0 ? QLatin1Char('-') + digits : digits;
}

QString FindingLine(const QString& file, const DocumentFinding& finding)
{
    QString line = file + QLatin1Char(':');
    if (finding.where.Known())
        line += QStringLiteral("%1:%2:").arg(finding.where.line).arg(finding.where.column);
    const QString subject = finding.label.isEmpty()
                                ? finding.message
                                : finding.label + QStringLiteral(": ") + finding.message;
    return line + QLatin1Char(' ') + FindingLevelName(finding.level) + QStringLiteral(": ") +
           PrintableText(subject);
}

QStringList FindingLines(const QString& file, const DocumentFindingList& list,
                         const std::function<bool(const DocumentFinding&)>& filter)
{
    QStringList lines;
    for (const DocumentFindingList::Entry& entry : list.Sorted()) {
        const DocumentFinding& finding = *entry.diagnostic;
        if (filter && !filter(finding))
            continue;
        lines.append(FindingLine(file, finding));
        if (entry.more > 0)
            lines.append(file + QStringLiteral(": ... and ") + GroupedNumber(entry.more) +
                         QStringLiteral(" more like this"));
    }
    return lines;
}

} // namespace KVT317XML

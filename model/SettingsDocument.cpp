#include "SettingsDocument.h"

#include <BearingSettings.h>
#include <FrequencyRange.h>
#include <KVT317_Settings.h>
#include <RecordDescription.h>

#include <QFile>

#include <exception>

namespace KVT317XML {

QString DocumentFormName(DocumentForm form)
{
    switch (form) {
    case DocumentForm::Xml:
        return QStringLiteral("XML");
    case DocumentForm::Binary:
        return QStringLiteral("binary");
    case DocumentForm::Compressed:
        return QStringLiteral("compressed binary");
    }
    return QString();
}

namespace {

bool IsBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

DocumentForm FormOf(const QByteArray& bytes)
{
    if (bytes.startsWith("\xFF\xFE") || bytes.startsWith("\xFE\xFF"))
        return DocumentForm::Xml; // UTF-16
    if (bytes.startsWith("KVTZ"))
        return DocumentForm::Compressed;
    int i = bytes.startsWith("\xEF\xBB\xBF") ? 3 : 0;
    while (i < bytes.size() && IsBlank(bytes.at(i)))
        ++i;
    return i < bytes.size() && bytes.at(i) == '<' ? DocumentForm::Xml : DocumentForm::Binary;
}

} // namespace

LoadedDocument LoadSettingsDocument(const QString& path)
{
    LoadedDocument document;
    document.path = path;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        document.error = QStringLiteral("cannot open %1: %2").arg(path, file.errorString());
        return document;
    }
    const QByteArray bytes = file.readAll();
    file.close();
    document.form = FormOf(bytes);
    const RecordDescription* type = nullptr;
    if (document.form == DocumentForm::Xml) {
        QString text;
        if (bytes.startsWith("\xFF\xFE") || bytes.startsWith("\xFE\xFF"))
            text = QString::fromUtf16(reinterpret_cast<const char16_t*>(bytes.constData() + 2),
                                      (bytes.size() - 2) / 2);
        else
            text = QString::fromUtf8(bytes);
        type = XmlDocumentType(text);
    } else {
        type = BinaryDocumentType(bytes);
    }
    if (!type) {
        document.error = QStringLiteral("%1 is not a settings document").arg(path);
        return document;
    }
    std::unique_ptr<Record> record = NewRecord(*type);
    record->SetValidate(false);
    // What the load says arrives as findings; none of it goes to standard error.
    record->SetLogger(nullptr);
    ReadFindings findings;
    bool loaded = false;
    {
        ObserveReading observe(findings);
        loaded =
            document.form == DocumentForm::Xml ? record->LoadXml(path) : record->LoadBinary(&file);
    }
    document.findings = findings.Findings();
    if (!loaded) {
        for (const ReadFinding& finding : document.findings)
            if (finding.kind == FindingKind::DocumentFault)
                document.error = finding.message;
        if (document.error.isEmpty())
            document.error = QStringLiteral("%1 cannot be loaded").arg(path);
        return document;
    }
    document.record = std::move(record);
    return document;
}

QByteArray DocumentBytes(const Record& record, DocumentForm form)
{
    switch (form) {
    case DocumentForm::Xml:
        return record.GetXmlString().toUtf8();
    case DocumentForm::Binary:
        return record.GetBinaryRepresentationAsQByteArray();
    case DocumentForm::Compressed:
        return record.GetCompressedBinaryRepresentationAsQByteArray(-1);
    }
    return QByteArray();
}

namespace {

// Loads a document as written into a new record of the type, without validation; null when
// it does not load. What the load found goes to `findings`.
std::unique_ptr<Record> LoadedBack(const RecordDescription& type, QByteArray bytes,
                                   DocumentForm form, std::vector<ReadFinding>& findings)
{
    std::unique_ptr<Record> back = NewRecord(type);
    back->SetValidate(false);
    back->SetLogger(nullptr);
    ReadFindings found;
    bool loaded = false;
    {
        ObserveReading observe(found);
        try {
            loaded = form == DocumentForm::Xml ? back->SetXmlString(QString::fromUtf8(bytes), true)
                                               : back->SetBinaryRepresentation(bytes);
        } catch (const std::exception&) {
            loaded = false;
        }
    }
    for (ReadFinding finding : found.Findings()) {
        finding.position = ReadPosition();
        findings.push_back(std::move(finding));
    }
    if (!loaded)
        return nullptr;
    return back;
}

bool SameFinding(const ReadFinding& a, const ReadFinding& b)
{
    return a.kind == b.kind && a.member == b.member && a.message == b.message && a.path == b.path;
}

void AddFault(std::vector<ReadFinding>& faults, const ReadFinding& finding)
{
    if (finding.level != REPORTGENERATOR::LogLevel::Error)
        return;
    for (const ReadFinding& known : faults)
        if (SameFinding(known, finding))
            return;
    faults.push_back(finding);
}

} // namespace

std::unique_ptr<Record> DocumentAsSaved(const Record& record, DocumentForm form,
                                        std::vector<ReadFinding>* findings)
{
    std::unique_ptr<Record> copy = CopyRecord(record);
    copy->SetValidate(false);
    copy->SetLogger(nullptr);
    QByteArray bytes;
    {
        // The writer's own reports (an incomplete child) are the check's to give.
        ObserveReading quiet([](const ReadFinding&) {});
        bytes = DocumentBytes(*copy, form);
    }
    std::vector<ReadFinding> found;
    std::unique_ptr<Record> back = LoadedBack(record.GetDescription(), bytes, form, found);
    if (findings)
        findings->insert(findings->end(), found.begin(), found.end());
    return back;
}

SaveReport SaveProblems(const Record& record, DocumentForm form)
{
    SaveReport out;
    // A silent copy: what the library says arrives through the observers.
    std::unique_ptr<Record> copy = CopyRecord(record);
    copy->SetLogger(nullptr);
    ReadFindings checked;
    {
        ObserveReading observe(checked);
        copy->Check(true);
    }
    for (const ReadFinding& finding : checked.Findings())
        AddFault(out.faults, finding);

    QByteArray bytes;
    try {
        ObserveReading quiet([](const ReadFinding&) {});
        bytes = DocumentBytes(*copy, form);
    } catch (const std::exception& refused) {
        out.error = QStringLiteral("the library refuses to write the document: %1")
                        .arg(QString::fromUtf8(refused.what()));
        return out;
    }
    std::vector<ReadFinding> found;
    const std::unique_ptr<Record> back = LoadedBack(record.GetDescription(), bytes, form, found);
    if (!back) {
        QString why;
        for (const ReadFinding& finding : found)
            if (finding.kind == FindingKind::DocumentFault)
                why = finding.message;
        out.error = QStringLiteral("the document as written would not load: %1")
                        .arg(why.isEmpty() ? QStringLiteral("nothing is written") : why);
        return out;
    }
    for (const ReadFinding& finding : found)
        AddFault(out.faults, finding);
    ReadFindings recheck;
    {
        ObserveReading observe(recheck);
        back->Check(true);
    }
    for (const ReadFinding& finding : recheck.Findings())
        AddFault(out.faults, finding);
    // What the model shows: the document as the binary form, which keeps every text as it
    // is, gives it back.
    const std::unique_ptr<Record> shown = DocumentAsSaved(record, DocumentForm::Binary);
    if (!shown || !back->Equals(*shown))
        out.error = QStringLiteral("the document as written would load back other than it is "
                                   "shown");
    return out;
}

bool SaveSettingsDocument(const Record& record, const QString& path, DocumentForm form,
                          SaveReport* report, SaveFaults faults)
{
    SaveReport own;
    SaveReport& out = report ? *report : own;
    out = SaveProblems(record, form);
    if (!out.error.isEmpty())
        return false;
    if (!out.faults.empty() && faults == SaveFaults::Refuse) {
        out.error = QStringLiteral("the document has %1 fault(s); the first: %2")
                        .arg(out.faults.size())
                        .arg(out.faults.front().message);
        return false;
    }
    // A copy with a logger of its own, so that the library's reports come here.
    std::unique_ptr<Record> copy = CopyRecord(record);
    QStringList errors;
    copy->SetLogger(std::make_shared<REPORTGENERATOR::Logger>(
        [&errors, &out](REPORTGENERATOR::LogLevel level, const QString& message) {
            if (level == REPORTGENERATOR::LogLevel::Error)
                errors.append(message);
            else if (level == REPORTGENERATOR::LogLevel::Warning)
                out.warnings.append(message);
        }));
    bool saved = false;
    try {
        saved = form == DocumentForm::Xml
                    ? copy->SaveXml(path)
                    : copy->SaveBinary(path, form == DocumentForm::Compressed);
    } catch (const std::exception& refused) {
        out.error = QString::fromUtf8(refused.what());
        return false;
    }
    if (!saved)
        out.error = errors.isEmpty() ? QStringLiteral("%1 cannot be written").arg(path)
                                     : errors.join(QLatin1Char('\n'));
    return saved;
}

} // namespace KVT317XML

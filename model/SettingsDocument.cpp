#include "SettingsDocument.h"

#include <BearingSettings.h>
#include <FrequencyRange.h>
#include <KVT317_Settings.h>
#include <RecordDescription.h>
#include <SaveChanges.h>
#include <SettingsJson.h>

#include <DocumentFile.h>

#include <QFile>

#include <exception>

namespace KVT317XML {

namespace {

// A JSON document, read through the library's JSON form.
LoadedDocument LoadedJson(LoadedDocument document, const QByteArray& bytes)
{
    ReadFindings findings;
    JsonDocumentRead read = ReadJsonDocument(bytes, &findings);
    document.findings = findings.Findings();
    if (!read.record) {
        ReadFinding fault;
        fault.kind = FindingKind::DocumentFault;
        fault.position = read.faultPosition;
        fault.message = read.fault;
        document.findings.push_back(fault);
        document.error = QStringLiteral("%1:%2:%3: %4")
                             .arg(document.path)
                             .arg(read.faultPosition.line)
                             .arg(read.faultPosition.column)
                             .arg(read.fault);
        return document;
    }
    read.record->SetValidate(false);
    document.record = std::move(read.record);
    return document;
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
    document.detected = DetectDocumentForm(bytes);
    document.form = document.detected.form;
    if (document.form == DocumentForm::Json)
        return LoadedJson(std::move(document), bytes);
    const RecordDescription* type = nullptr;
    QString text;
    if (document.form == DocumentForm::Xml) {
        text = DecodeDocumentText(bytes, document.detected);
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
        if (document.form != DocumentForm::Xml)
            loaded = record->LoadBinary(&file);
        else if (document.detected.encoding == TextEncoding::Utf8)
            loaded = record->LoadXml(path);
        else
            loaded = record->SetXmlString(text, true); // UTF-16, decoded above
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
    DetectedForm target;
    target.form = form;
    return SettingsDocumentBytes(record, target);
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
            if (form == DocumentForm::Json) {
                JsonDocumentRead read = ReadJsonDocument(bytes, &found);
                loaded = read.record != nullptr;
                if (loaded) {
                    back = std::move(read.record);
                    back->SetValidate(false);
                }
            } else {
                loaded = form == DocumentForm::Xml
                             ? back->SetXmlString(QString::fromUtf8(bytes), true)
                             : back->SetBinaryRepresentation(bytes);
            }
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

    // The library's rule, lossless or refused: the save tried in memory, written and read
    // back; a refusal stops every save, the changes it lists every save not accepting them.
    DetectedForm target;
    target.form = form;
    SavePlan plan = PlanSave(*copy, target);
    if (!plan.refusal.isEmpty()) {
        out.error = plan.refusal;
        return out;
    }
    out.changes = std::move(plan.changes);
    const QByteArray& bytes = plan.bytes;
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
    DetectedForm target;
    target.form = form;
    return SaveSettingsDocument(record, path, target, report, faults);
}

bool SaveSettingsDocument(const Record& record, const QString& path, const DetectedForm& form,
                          SaveReport* report, SaveFaults faults)
{
    SaveReport own;
    SaveReport& out = report ? *report : own;
    out = SaveProblems(record, form.form);
    if (!out.error.isEmpty())
        return false;
    if (!out.faults.empty() && faults == SaveFaults::Refuse) {
        out.error = QStringLiteral("the document has %1 fault(s); the first: %2")
                        .arg(out.faults.size())
                        .arg(out.faults.front().message);
        return false;
    }
    if (!out.changes.empty() && faults == SaveFaults::Refuse) {
        out.error = QStringLiteral("writing would change what the document holds (%1 "
                                   "change(s)); the first: %2")
                        .arg(out.changes.size())
                        .arg(out.changes.front().message);
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
        const bool plainXml = form.form == DocumentForm::Xml &&
                              form.encoding == TextEncoding::Utf8 && !form.byteOrderMark;
        if (form.form == DocumentForm::Json || (form.form == DocumentForm::Xml && !plainXml)) {
            // The library's bytes of the form, XML in the encoding the file had.
            QString fault;
            saved = REPORTGENERATOR::WriteDocumentFile(path, SettingsDocumentBytes(*copy, form),
                                                       &fault, &out.warnings);
            if (!saved)
                errors.append(fault);
        } else {
            saved = plainXml ? copy->SaveXml(path)
                             : copy->SaveBinary(path, form.form == DocumentForm::Compressed);
        }
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

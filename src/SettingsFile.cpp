#include "SettingsFile.h"
#include "RecordDescription.h"
#include "SettingsJson.h"

namespace KVT317XML {

QByteArray SettingsDocumentBytes(const Record& record, const DetectedForm& form, int level)
{
    switch (form.form) {
    case DocumentForm::Xml:
        if (form.encoding == TextEncoding::Utf8 && !form.byteOrderMark)
            return record.GetXmlString().toUtf8();
        return EncodeDocumentText(record.GetXmlString(), form.encoding, form.byteOrderMark);
    case DocumentForm::Json:
        return WriteJsonDocument(record);
    case DocumentForm::Binary:
        return record.GetBinaryRepresentationAsQByteArray();
    case DocumentForm::Compressed:
        return record.GetCompressedBinaryRepresentationAsQByteArray(level);
    }
    return QByteArray();
}

namespace {

// The main document type, against which a document of no known type is read and refused.
const RecordDescription& MainType()
{
    for (const RecordDescription* description : AllRecordDescriptions())
        if (description->name == QLatin1String("KVT317_Settings"))
            return *description;
    return *AllRecordDescriptions().front();
}

} // namespace

std::unique_ptr<Record> ReadSettingsDocument(const QByteArray& bytes, ReadObserver* observer,
                                             QString* fault)
{
    QString reason;
    // Passes every finding on, and keeps the first error as the reason of a failed load.
    const auto found = [&reason, observer](const ReadFinding& finding) {
        if (finding.level == REPORTGENERATOR::LogLevel::Error && reason.isNull())
            reason = finding.message;
        if (observer)
            observer->Found(finding);
    };
    const DetectedForm form = DetectDocumentForm(bytes);
    std::unique_ptr<Record> record;
    bool loaded = false;
    if (form.form == DocumentForm::Json) {
        ReadFindings findings;
        JsonDocumentRead read = ReadJsonDocument(bytes, &findings);
        for (const ReadFinding& finding : findings.Findings())
            found(finding);
        if (!read.record)
            reason = read.fault;
        loaded = read.record && !findings.HasErrors();
        record = std::move(read.record);
    } else {
        const QString text =
            form.form == DocumentForm::Xml ? DecodeDocumentText(bytes, form) : QString();
        const RecordDescription* type =
            form.form == DocumentForm::Xml ? XmlDocumentType(text) : BinaryDocumentType(bytes);
        record = NewRecord(type ? *type : MainType());
        record->SetLogger(nullptr);
        ObserveReading observe(found);
        QByteArray data = bytes;
        loaded = form.form == DocumentForm::Xml ? record->SetXmlString(text, true)
                                                : record->SetBinaryRepresentation(data);
    }
    if (loaded)
        return record;
    if (fault)
        *fault = reason.isNull() ? QStringLiteral("the document does not load") : reason;
    return nullptr;
}

} // namespace KVT317XML

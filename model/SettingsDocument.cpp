#include "SettingsDocument.h"

#include <RecordDescription.h>

#include <QFile>

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

bool SaveSettingsDocument(const Record& record, const QString& path, DocumentForm form)
{
    switch (form) {
    case DocumentForm::Xml:
        return record.SaveXml(path);
    case DocumentForm::Binary:
        return record.SaveBinary(path, false);
    case DocumentForm::Compressed:
        return record.SaveBinary(path, true);
    }
    return false;
}

} // namespace KVT317XML

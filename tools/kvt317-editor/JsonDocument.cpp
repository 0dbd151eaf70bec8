#include "JsonDocument.h"

#include <DocumentFile.h>
#include <SettingsFile.h>
#include <SettingsJson.h>

#include <QFile>

using namespace KVT317XML;

bool IsJsonDocument(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) &&
           DetectDocumentForm(file.read(4096)).form == DocumentForm::Json;
}

LoadedDocument LoadJsonDocument(const QString& path)
{
    LoadedDocument loaded;
    loaded.path = path;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        loaded.error = QStringLiteral("cannot open %1: %2").arg(path, file.errorString());
        return loaded;
    }
    ReadFindings findings;
    JsonDocumentRead read = ReadJsonDocument(file.readAll(), &findings);
    loaded.findings = findings.Findings();
    if (!read.record) {
        ReadFinding fault;
        fault.kind = FindingKind::DocumentFault;
        fault.position = read.faultPosition;
        fault.message = read.fault;
        loaded.findings.push_back(fault);
        loaded.error = QStringLiteral("%1:%2:%3: %4")
                           .arg(path)
                           .arg(read.faultPosition.line)
                           .arg(read.faultPosition.column)
                           .arg(read.fault);
        return loaded;
    }
    read.record->SetValidate(false);
    loaded.record = std::move(read.record);
    return loaded;
}

bool SaveJsonDocument(const Record& record, const QString& path, QString* fault)
{
    return REPORTGENERATOR::WriteDocumentFile(path, WriteJsonDocument(record), fault);
}

QByteArray JsonDocumentBytes(const Record& record)
{
    return WriteJsonDocument(record);
}

bool InForm(const QByteArray& bytes, bool json, DocumentForm form)
{
    const DocumentForm found = DetectDocumentForm(bytes).form;
    return json ? found == DocumentForm::Json : found == form;
}

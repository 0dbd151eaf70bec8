#include "JsonDocument.h"

#include <Analysis.h>
#include <Document.h>
#include <JsonForm.h>

#include <DocumentFile.h>

#include <QFile>

using namespace KVT317XML;

bool IsJsonDocument(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) && DetectForm(file.read(4096)) == Form::Json;
}

LoadedDocument LoadJsonDocument(const QString& path)
{
    LoadedDocument loaded;
    loaded.path = path;
    const std::unique_ptr<Document> document = LoadDocument(path);
    if (!document->readable) {
        loaded.error = document->readError;
        return loaded;
    }
    Place(*document, document->diagnostics);
    for (const DiagnosticList::Entry& entry : document->diagnostics.Sorted()) {
        const Diagnostic& diagnostic = *entry.diagnostic;
        ReadFinding finding;
        finding.level = diagnostic.level == Level::Error ? REPORTGENERATOR::LogLevel::Error
                                                         : REPORTGENERATOR::LogLevel::Warning;
        finding.kind = !diagnostic.key.isEmpty() ? FindingKind::UnknownElement
                       : document->loaded        ? FindingKind::Report
                                                 : FindingKind::DocumentFault;
        finding.path = diagnostic.path;
        finding.record = diagnostic.record;
        if (diagnostic.record && diagnostic.bit >= 0)
            finding.member = &diagnostic.record->members.at(static_cast<size_t>(diagnostic.bit));
        finding.position.line = diagnostic.where.line;
        finding.position.column = diagnostic.where.column;
        finding.message = diagnostic.message;
        loaded.findings.push_back(std::move(finding));
    }
    if (!document->loaded) {
        loaded.error = loaded.findings.empty() ? QStringLiteral("%1 cannot be loaded").arg(path)
                                               : QStringLiteral("%1:%2:%3: %4")
                                                     .arg(path)
                                                     .arg(document->fault.line)
                                                     .arg(document->fault.column)
                                                     .arg(loaded.findings.back().message);
        return loaded;
    }
    loaded.record = std::move(document->record);
    return loaded;
}

bool SaveJsonDocument(const Record& record, const QString& path, QString* fault)
{
    return REPORTGENERATOR::WriteDocumentFile(path, DocumentJson(record), fault);
}

QByteArray JsonDocumentBytes(const Record& record)
{
    return DocumentJson(record);
}

bool InForm(const QByteArray& bytes, bool json, DocumentForm form)
{
    switch (DetectForm(bytes)) {
    case Form::Json:
        return json;
    case Form::Xml:
        return !json && form == DocumentForm::Xml;
    case Form::Binary:
        return !json && form == DocumentForm::Binary;
    case Form::Compressed:
        return !json && form == DocumentForm::Compressed;
    }
    return false;
}

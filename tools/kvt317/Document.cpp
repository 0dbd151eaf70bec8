#include "Document.h"

#include <BearingSettings.h>
#include <FrequencyRange.h>
#include <KVT317SettingsDetail.h>
#include <KVT317_Settings.h>

#include <QFile>
#include <QSaveFile>
#include <QXmlStreamReader>
#include <QtEndian>

#include <cstdio>

using namespace KVT317XML;

bool Document::HasErrors() const
{
    if (!loaded)
        return true;
    for (const QString& report : reports)
        if (report.startsWith(QStringLiteral("ERROR:")))
            return true;
    return false;
}

QString Document::FormName() const
{
    switch (form) {
    case Form::Xml:
        return QStringLiteral("XML");
    case Form::Binary:
        return QStringLiteral("binary");
    case Form::Compressed:
        return QStringLiteral("compressed binary");
    }
    return QString();
}

std::unique_ptr<Record> NewRecord(const QString& type)
{
    if (type == QLatin1String("KVT317_Settings"))
        return std::make_unique<KVT317_Settings>();
    if (type == QLatin1String("BearingSettings"))
        return std::make_unique<BearingSettings>();
    if (type == QLatin1String("KVT317SettingsDetail"))
        return std::make_unique<KVT317SettingsDetail>();
    if (type == QLatin1String("FrequencyRange"))
        return std::make_unique<FrequencyRange>();
    return nullptr;
}

void CaptureReports(const Record& record, QStringList& reports)
{
    record.SetLogger(std::make_shared<REPORTGENERATOR::Logger>(
        [&reports](REPORTGENERATOR::LogLevel level, const QString& message) {
            reports.append(REPORTGENERATOR::LogLevelName(level) + QStringLiteral(": ") + message);
        }));
}

namespace {

bool ReadInput(const QString& path, QByteArray& bytes)
{
    QFile file;
    const bool opened = path == QLatin1String("-")
                            ? file.open(stdin, QIODevice::ReadOnly)
                            : (file.setFileName(path), file.open(QIODevice::ReadOnly));
    if (!opened)
        return false;
    bytes = file.readAll();
    return file.error() == QFileDevice::NoError;
}

// The name of the first element of an XML text, or a null text.
QString RootElement(const QByteArray& bytes)
{
    QXmlStreamReader reader(bytes);
    while (!reader.atEnd()) {
        reader.readNext();
        if (reader.isStartElement())
            return reader.name().toString();
        if (reader.tokenType() == QXmlStreamReader::DTD)
            break;
    }
    return QString();
}

bool LooksLikeXml(const QByteArray& bytes)
{
    for (const char c : bytes) {
        if (c == '<')
            return true;
        if (c != ' ' && c != '\t' && c != '\r' && c != '\n' && c != '\xEF' && c != '\xBB' &&
            c != '\xBF')
            return false;
    }
    return false;
}

} // namespace

Document LoadDocument(const QString& path)
{
    Document document;
    document.path = path;
    if (!ReadInput(path, document.bytes)) {
        document.reports.append(QStringLiteral("ERROR: cannot read the input"));
        return document;
    }
    document.readable = true;

    if (LooksLikeXml(document.bytes)) {
        document.form = Document::Form::Xml;
        document.type = RootElement(document.bytes);
        // An unknown or missing root is left to the library to report, against the main
        // document type.
        if (!NewRecord(document.type))
            document.type = QStringLiteral("KVT317_Settings");
        document.record = NewRecord(document.type);
        CaptureReports(*document.record, document.reports);
        document.loaded = document.record->SetXmlString(QString::fromUtf8(document.bytes), true);
        return document;
    }

    QString fault;
    const QByteArray frame = REPORTGENERATOR::IRGObject::PlainFrame(document.bytes, &fault);
    document.form = frame.isNull() || frame.size() == document.bytes.size()
                        ? Document::Form::Binary
                        : Document::Form::Compressed;
    if (frame.isNull()) {
        document.reports.append(QStringLiteral("ERROR: ") + fault);
        return document;
    }
    const quint32 tag = frame.size() >= 4 ? qFromBigEndian<quint32>(frame.constData()) : 0;
    for (const RecordDescription* description : AllRecordDescriptions())
        if (static_cast<quint32>(description->id) == tag)
            document.type = description->name;
    if (document.type.isEmpty()) {
        document.reports.append(
            QStringLiteral("ERROR: Binary frame of unknown record type 0x%1")
                .arg(QString::number(tag, 16).rightJustified(8, QLatin1Char('0')).toUpper()));
        return document;
    }
    document.record = NewRecord(document.type);
    CaptureReports(*document.record, document.reports);
    document.loaded = document.record->SetBinaryRepresentation(document.bytes);
    return document;
}

QString SaveDocument(const Record& record, const QString& path, const QString& form, int level)
{
    if (form == QLatin1String("xml") && path != QLatin1String("-")) {
        QStringList reports;
        const std::shared_ptr<REPORTGENERATOR::Logger> logger = record.GetLogger();
        CaptureReports(record, reports);
        const bool saved = record.SaveXml(path);
        record.SetLogger(logger);
        return saved ? QString() : reports.join(QLatin1Char('\n'));
    }
    QByteArray bytes;
    if (form == QLatin1String("xml"))
        bytes = record.GetXmlString().toUtf8();
    else if (form == QLatin1String("compressed"))
        bytes = record.GetCompressedBinaryRepresentationAsQByteArray(level);
    else
        bytes = record.GetBinaryRepresentationAsQByteArray();

    if (path == QLatin1String("-")) {
        QFile out;
        if (!out.open(stdout, QIODevice::WriteOnly) || out.write(bytes) != bytes.size())
            return QStringLiteral("cannot write to standard output");
        return QString();
    }
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) ||
        file.write(bytes) != bytes.size() || !file.commit())
        return QStringLiteral("Cannot write '%1': %2").arg(path, file.errorString());
    return QString();
}

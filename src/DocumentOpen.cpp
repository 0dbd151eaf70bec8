// Opening a settings document in any form: reading it once, detecting its form, loading its
// record with every finding of the load, and keeping where its records and members stand.

#include "OpenDocument.h"
#include "ReadText.h"

#include <BearingSettings.h>
#include <FrequencyRange.h>
#include <IRGObject.h>
#include <KVT317SettingsDetail.h>
#include <KVT317_Settings.h>
#include <SettingsJson.h>

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QtEndian>

#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
#include <QStringDecoder>
#else
#include <QTextCodec>
#endif

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace KVT317XML {

namespace {

bool IsBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

bool IsEmpty(const QByteArray& bytes)
{
    return std::all_of(bytes.begin(), bytes.end(), IsBlank);
}

const QByteArray Utf8Mark("\xEF\xBB\xBF");

// Where a byte offset of UTF-8 text lies.
FindingPlace Utf8Place(const QByteArray& bytes, qint64 offset)
{
    const QString before = QString::fromUtf8(bytes.left(static_cast<int>(offset)));
    const int lastBreak = before.lastIndexOf(QLatin1Char('\n'));
    return {before.size(), static_cast<int>(before.count(QLatin1Char('\n'))) + 1,
            static_cast<int>(before.size() - lastBreak)};
}

// The XML text: UTF-8 unless a byte-order mark or the declaration says otherwise.
bool DecodeXml(OpenedDocument& document)
{
    const QByteArray& bytes = document.bytes;
    if (document.detected.encoding != TextEncoding::Utf8) {
        document.text = DecodeDocumentText(bytes, document.detected);
        return true;
    }
    QString encoding;
    {
        static const QRegularExpression declaration(
            QStringLiteral("^\\s*<\\?xml[^>]*encoding\\s*=\\s*[\"']([A-Za-z0-9._-]+)[\"']"));
        const QRegularExpressionMatch match =
            declaration.match(QString::fromLatin1(bytes.left(200)));
        if (match.hasMatch())
            encoding = match.captured(1);
    }
    const QString lower = encoding.toLower();
    if (encoding.isEmpty() || lower == QLatin1String("utf-8") || lower == QLatin1String("utf8") ||
        lower == QLatin1String("us-ascii") || lower == QLatin1String("ascii")) {
        const int bad = read::InvalidUtf8(bytes);
        if (bad >= 0)
            document.findings.Add(Utf8Place(bytes, bad), FindingLevel::Error,
                                  QStringLiteral("the text is not valid UTF-8 (byte %1; "
                                                 "read as U+FFFD)")
                                      .arg(read::HexByte(bytes.at(bad))));
        document.text = QString::fromUtf8(bytes.startsWith(Utf8Mark) ? bytes.mid(3) : bytes);
        return true;
    }
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
    const auto known = QStringConverter::encodingForName(encoding.toLatin1().constData());
    if (known) {
        QStringDecoder decoder(*known);
        document.text = decoder.decode(bytes);
        if (!decoder.hasError())
            return true;
    }
#else
    if (QTextCodec* codec = QTextCodec::codecForName(encoding.toLatin1())) {
        QTextCodec::ConverterState state;
        document.text = codec->toUnicode(bytes.constData(), bytes.size(), &state);
        if (state.invalidChars == 0)
            return true;
    }
#endif
    document.findings.Add(
        {0, 1, 1}, FindingLevel::Error,
        QStringLiteral("the text cannot be read in its encoding '%1'").arg(encoding));
    return false;
}

// Loads the document into a new record of its type, every finding of the load collected
// and the places of its records and members kept.
template <class Load>
void LoadRecord(OpenedDocument& document, const RecordDescription& type, Load load)
{
    document.type = type.name;
    document.record = NewRecord(type);
    document.record->SetLogger(nullptr); // every report is a finding
    FindingCollector collector(document.findings, &document.notes, &document.fault);
    collector.HoldReports();
    {
        ObserveReading observe(collector, document.places);
        document.loaded = load(*document.record);
    }
    collector.ReleaseReports(document.loaded);
}

void LoadXml(OpenedDocument& document)
{
    if (!DecodeXml(document))
        return;
    // An unknown or missing root is left to the library to report, against the main
    // document type.
    const RecordDescription* type = XmlDocumentType(document.text);
    LoadRecord(document, type ? *type : KVT317_Settings::Description(),
               [&document](Record& record) { return record.SetXmlString(document.text, true); });
}

// The JSON reader passes each entry it meets: they are the places.
class JsonCollector final : public FindingCollector
{
public:
    JsonCollector(OpenedDocument& document)
        : FindingCollector(document.findings)
        , m_places(document.places)
    {
    }
    bool WantsEntries() const override { return true; }
    void Read(const ReadPath& path, const ReadEntry& entry) override { m_places.Add(path, entry); }

private:
    SourcePlaces& m_places;
};

void LoadJson(OpenedDocument& document)
{
    document.text = QString::fromUtf8(document.bytes);
    JsonCollector collector(document);
    JsonDocumentRead read = ReadJsonDocument(document.bytes, &collector);
    if (!read.record) {
        document.fault = {read.faultPosition.offset, static_cast<int>(read.faultPosition.line),
                          static_cast<int>(read.faultPosition.column)};
        document.findings.Add(document.fault, FindingLevel::Error, read.fault);
        return;
    }
    document.type = read.record->GetDescription().name;
    document.record = std::move(read.record);
    document.loaded = true;
}

void LoadBinary(OpenedDocument& document)
{
    QString fault;
    const QByteArray frame = REPORTGENERATOR::IRGObject::PlainFrame(document.bytes, &fault);
    const RecordDescription* type = BinaryDocumentType(document.bytes);
    // A frame too short for its tag, or compressed data that does not inflate: the library
    // says why, whatever the record type.
    if (!type && frame.size() >= 4) {
        QStringList known;
        for (const RecordDescription* description : AllRecordDescriptions())
            known.append(QStringLiteral("%1 %2").arg(
                description->name, read::Hex32(static_cast<quint32>(description->id))));
        document.type = QStringLiteral("KVT317_Settings");
        document.fault = FindingPlace::Binary(0);
        document.findings.Add(
            document.fault, FindingLevel::Error,
            QStringLiteral("not a settings document: its first bytes %1 are neither '<' (XML), "
                           "'{' (JSON), 'KVTZ' (compressed binary) nor the tag of a record type "
                           "(binary: %2)")
                .arg(read::Hex32(qFromBigEndian<quint32>(frame.constData())),
                     known.join(QStringLiteral(", "))));
        return;
    }
    LoadRecord(document, type ? *type : KVT317_Settings::Description(),
               [&document](Record& record) {
                   QByteArray bytes = document.bytes;
                   return record.SetBinaryRepresentation(bytes);
               });
}

void Load(OpenedDocument& document, const OpenOptions& options)
{
    document.readable = true;
    if (IsEmpty(document.bytes)) {
        document.fault = {0, 1, 1};
        document.findings.Add(document.fault, FindingLevel::Error,
                              QStringLiteral("the input is empty; expected a settings "
                                             "document in XML, JSON or binary form"));
    } else {
        document.detected = DetectDocumentForm(document.bytes);
        document.form = document.detected.form;
        switch (document.form) {
        case DocumentForm::Xml:
            LoadXml(document);
            break;
        case DocumentForm::Json:
            LoadJson(document);
            break;
        case DocumentForm::Binary:
        case DocumentForm::Compressed:
            LoadBinary(document);
            break;
        }
    }
    // Labelled now, so that a document opened without a check reads alike.
    LabelFindings(document, document.findings);
    if (options.check)
        CheckOpenedDocument(document, options.lint, options.keepRecord);
}

bool ReadAll(QIODevice& device, OpenedDocument& document)
{
    document.bytes = device.readAll();
    if (auto* file = qobject_cast<QFileDevice*>(&device);
        file && file->error() != QFileDevice::NoError) {
        document.readError = file->errorString();
        return false;
    }
    return true;
}

} // namespace

const RecordDescription* FindRecordDescription(const QString& type)
{
    for (const RecordDescription* description : AllRecordDescriptions())
        if (description->name == type)
            return description;
    return nullptr;
}

std::unique_ptr<OpenedDocument> OpenSettingsDocument(const QString& path,
                                                     const OpenOptions& options)
{
    auto document = std::make_unique<OpenedDocument>();
    document->path = path;
    const bool standardInput = path == QLatin1String("-");
    document->label = standardInput ? QStringLiteral("<stdin>") : path;
    QFile file;
    if (standardInput) {
        if (!file.open(stdin, QIODevice::ReadOnly)) {
            document->readError = file.errorString();
            return document;
        }
    } else {
        if (QFileInfo(path).isDir()) {
            document->readError = QString::fromLocal8Bit(std::strerror(EISDIR));
            return document;
        }
        file.setFileName(path);
        if (!file.open(QIODevice::ReadOnly)) {
            document->readError = file.errorString();
            return document;
        }
    }
    if (ReadAll(file, *document))
        Load(*document, options);
    return document;
}

std::unique_ptr<OpenedDocument> OpenSettingsDocument(QIODevice& device, const QString& label,
                                                     const OpenOptions& options)
{
    auto document = std::make_unique<OpenedDocument>();
    document->path = label;
    document->label = label;
    if (!device.isReadable()) {
        document->readError = device.errorString();
        return document;
    }
    if (ReadAll(device, *document))
        Load(*document, options);
    return document;
}

std::unique_ptr<OpenedDocument> OpenSettingsBytes(const QByteArray& bytes, const QString& label,
                                                  const OpenOptions& options)
{
    auto document = std::make_unique<OpenedDocument>();
    document->path = label;
    document->label = label;
    document->bytes = bytes;
    Load(*document, options);
    return document;
}

} // namespace KVT317XML

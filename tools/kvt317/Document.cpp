#include "Document.h"
#include "Analysis.h"
#include "Output.h"
#include "Values.h"

#include <BearingSettings.h>
#include <FrequencyRange.h>
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

using namespace KVT317XML;
using REPORTGENERATOR::LogLevel;

// ---- LineIndex -----------------------------------------------------------------------

LineIndex::LineIndex(const QString& text)
{
    m_starts.push_back(0);
    for (int i = 0; i < text.size(); ++i)
        if (text.at(i) == QLatin1Char('\n'))
            m_starts.push_back(i + 1);
}

Location LineIndex::At(qint64 offset) const
{
    if (m_starts.empty())
        return {offset, 1, static_cast<int>(offset + 1)};
    const auto next = std::upper_bound(m_starts.begin(), m_starts.end(), offset);
    const auto line = static_cast<int>(next - m_starts.begin());
    return {offset, line,
            static_cast<int>(offset - m_starts[static_cast<std::size_t>(line - 1)] + 1)};
}

// ---- Records -------------------------------------------------------------------------

const RecordDescription* FindDescription(const QString& type)
{
    for (const RecordDescription* description : AllRecordDescriptions())
        if (description->name == type)
            return description;
    return nullptr;
}

// ---- Loading -------------------------------------------------------------------------

namespace {

QString SystemError(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

bool ReadInput(Document& document)
{
    QFile file;
    if (document.path == QLatin1String("-")) {
        if (!file.open(stdin, QIODevice::ReadOnly)) {
            document.readError = file.errorString();
            return false;
        }
    } else {
        if (QFileInfo(document.path).isDir()) {
            document.readError = SystemError(EISDIR);
            return false;
        }
        file.setFileName(document.path);
        if (!file.open(QIODevice::ReadOnly)) {
            document.readError = file.errorString();
            return false;
        }
    }
    document.bytes = file.readAll();
    if (file.error() != QFileDevice::NoError) {
        document.readError = file.errorString();
        return false;
    }
    return true;
}

bool IsBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

const QByteArray Utf8Mark("\xEF\xBB\xBF");

} // namespace

namespace {

bool IsEmpty(const QByteArray& bytes)
{
    return std::all_of(bytes.begin(), bytes.end(), IsBlank);
}

// Where a byte offset of UTF-8 text lies.
Location Utf8Location(const QByteArray& bytes, qint64 offset)
{
    const QString before = QString::fromUtf8(bytes.left(static_cast<int>(offset)));
    return LineIndex(before).At(before.size());
}

// The XML text: UTF-8 unless a byte order mark or the declaration says otherwise.
bool DecodeXml(Document& document)
{
    const QByteArray& bytes = document.bytes;
    if (document.detected.encoding != KVT317XML::TextEncoding::Utf8) {
        document.text = KVT317XML::DecodeDocumentText(bytes, document.detected);
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
        const int bad = InvalidUtf8(bytes);
        if (bad >= 0)
            document.diagnostics.Add(Utf8Location(bytes, bad), Level::Error,
                                     QStringLiteral("the text is not valid UTF-8 (byte %1; "
                                                    "read as U+FFFD)")
                                         .arg(HexByte(bytes.at(bad))));
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
    document.diagnostics.Add(
        {0, 1, 1}, Level::Error,
        QStringLiteral("the text cannot be read in its encoding '%1'").arg(encoding));
    return false;
}

// Loads the document into a new record of its type, every finding of the load collected.
template <class Load> void LoadRecord(Document& document, const RecordDescription& type, Load load)
{
    document.type = type.name;
    document.record = NewRecord(type);
    document.record->SetLogger(nullptr); // every report is a finding
    Collector collector(document.diagnostics, &document.notes, &document.fault);
    collector.HoldReports();
    {
        ObserveReading observe(collector);
        document.loaded = load(*document.record);
    }
    collector.ReleaseReports(document.loaded);
}

void LoadXml(Document& document)
{
    if (!DecodeXml(document))
        return;
    // An unknown or missing root is left to the library to report, against the main
    // document type.
    const RecordDescription* type = XmlDocumentType(document.text);
    LoadRecord(document, type ? *type : KVT317_Settings::Description(),
               [&document](Record& record) { return record.SetXmlString(document.text, true); });
}

void LoadJson(Document& document)
{
    document.text = QString::fromUtf8(document.bytes);
    Collector collector(document.diagnostics);
    JsonDocumentRead read = ReadJsonDocument(document.bytes, &collector);
    if (!read.record) {
        document.fault = {read.faultPosition.offset, static_cast<int>(read.faultPosition.line),
                          static_cast<int>(read.faultPosition.column)};
        document.diagnostics.Add(document.fault, Level::Error, read.fault);
        return;
    }
    document.type = read.record->GetDescription().name;
    document.record = std::move(read.record);
    document.loaded = true;
}

void LoadBinary(Document& document)
{
    QString fault;
    const QByteArray frame = REPORTGENERATOR::IRGObject::PlainFrame(document.bytes, &fault);
    const RecordDescription* type = BinaryDocumentType(document.bytes);
    // A frame too short for its tag, or compressed data that does not inflate: the library
    // says why, whatever the record type.
    if (!type && frame.size() >= 4) {
        QStringList known;
        for (const RecordDescription* description : AllRecordDescriptions())
            known.append(QStringLiteral("%1 %2").arg(description->name,
                                                     Hex32(static_cast<quint32>(description->id))));
        document.type = QStringLiteral("KVT317_Settings");
        document.fault = Location::Binary(0);
        document.diagnostics.Add(
            document.fault, Level::Error,
            QStringLiteral("not a settings document: its first bytes %1 are neither '<' (XML), "
                           "'{' (JSON), 'KVTZ' (compressed binary) nor the tag of a record type "
                           "(binary: %2)")
                .arg(Hex32(qFromBigEndian<quint32>(frame.constData())),
                     known.join(QStringLiteral(", "))));
        return;
    }
    LoadRecord(document, type ? *type : KVT317_Settings::Description(),
               [&document](Record& record) {
                   QByteArray bytes = document.bytes;
                   return record.SetBinaryRepresentation(bytes);
               });
}

} // namespace

std::unique_ptr<Document> LoadDocument(const QString& path)
{
    auto document = std::make_unique<Document>();
    document->path = path;
    document->label = InputLabel(path);
    if (!ReadInput(*document))
        return document;
    document->readable = true;
    if (IsEmpty(document->bytes)) {
        document->fault = {0, 1, 1};
        document->diagnostics.Add(document->fault, Level::Error,
                                  QStringLiteral("the input is empty; expected a settings "
                                                 "document in XML, JSON or binary form"));
        return document;
    }
    document->detected = DetectDocumentForm(document->bytes);
    document->form = document->detected.form;
    switch (document->form) {
    case Form::Xml:
        LoadXml(*document);
        break;
    case Form::Json:
        LoadJson(*document);
        break;
    case Form::Binary:
    case Form::Compressed:
        LoadBinary(*document);
        break;
    }
    return document;
}

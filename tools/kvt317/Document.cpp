#include "Document.h"
#include "Output.h"
#include "Tree.h"
#include "Values.h"

#include <BearingSettings.h>
#include <FrequencyRange.h>
#include <KVT317SettingsDetail.h>
#include <KVT317_Settings.h>

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QXmlStreamReader>
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

QString FormName(Form form)
{
    switch (form) {
    case Form::Xml:
        return QStringLiteral("XML");
    case Form::Json:
        return QStringLiteral("JSON");
    case Form::Binary:
        return QStringLiteral("binary");
    case Form::Compressed:
        return QStringLiteral("compressed binary");
    }
    return QString();
}

bool FormFromOption(const QString& text, Form& form)
{
    static const struct {
        const char* name;
        Form form;
    } forms[] = {{"xml", Form::Xml},
                 {"json", Form::Json},
                 {"binary", Form::Binary},
                 {"compressed", Form::Compressed}};
    for (const auto& entry : forms) {
        if (text == QLatin1String(entry.name)) {
            form = entry.form;
            return true;
        }
    }
    return false;
}

bool FormFromFileName(const QString& path, Form& form)
{
    static const struct {
        const char* ending;
        Form form;
    } endings[] = {{".xml", Form::Xml},
                   {".json", Form::Json},
                   {".bin", Form::Binary},
                   {".binz", Form::Compressed}};
    for (const auto& entry : endings) {
        if (path.endsWith(QLatin1String(entry.ending), Qt::CaseInsensitive)) {
            form = entry.form;
            return true;
        }
    }
    return false;
}

// ---- ReportTally ---------------------------------------------------------------------

namespace {

QPair<int, QString> TallyKey(LogLevel level, const QString& message)
{
    return qMakePair(static_cast<int>(level), message);
}

} // namespace

void ReportTally::Add(LogLevel level, const QString& message)
{
    const QPair<int, QString> key = TallyKey(level, message);
    const auto found = m_index.constFind(key);
    if (found != m_index.constEnd()) {
        ++m_reports[static_cast<std::size_t>(found.value())].count;
        return;
    }
    m_index.insert(key, static_cast<int>(m_reports.size()));
    m_reports.push_back({level, message, 1});
}

bool ReportTally::Take(LogLevel level, const QString& message)
{
    const auto found = m_index.constFind(TallyKey(level, message));
    if (found == m_index.constEnd())
        return false;
    Report& report = m_reports[static_cast<std::size_t>(found.value())];
    if (report.count == 0)
        return false;
    --report.count;
    return true;
}

bool ReportTally::HasErrors() const
{
    return std::any_of(m_reports.begin(), m_reports.end(), [](const Report& report) {
        return report.level == LogLevel::Error && report.count > 0;
    });
}

std::shared_ptr<REPORTGENERATOR::Logger> ReportTally::Logger()
{
    return std::make_shared<REPORTGENERATOR::Logger>(
        [this](LogLevel level, const QString& message) { Add(level, message); });
}

Level ToLevel(LogLevel level)
{
    return level == LogLevel::Error ? Level::Error : Level::Warning;
}

// ---- LineIndex -----------------------------------------------------------------------

LineIndex::LineIndex(const QString& text)
    : m_size(text.size())
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

qint64 LineIndex::Offset(int line, int column) const
{
    if (m_starts.empty() || line < 1)
        return 0;
    const std::size_t index = std::min(static_cast<std::size_t>(line), m_starts.size()) - 1;
    return std::min(m_size, m_starts[index] + std::max(0, column - 1));
}

// ---- Records -------------------------------------------------------------------------

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

// The form by the first byte that is not white space: '<' XML, '{' or '[' JSON; the
// compressed form by its marker; anything else is taken as a binary frame.
Form DetectForm(const QByteArray& bytes)
{
    if (bytes.startsWith("\xFF\xFE") || bytes.startsWith("\xFE\xFF"))
        return Form::Xml; // UTF-16
    if (bytes.startsWith("KVTZ"))
        return Form::Compressed;
    int i = bytes.startsWith(Utf8Mark) ? 3 : 0;
    while (i < bytes.size() && IsBlank(bytes.at(i)))
        ++i;
    if (i < bytes.size() && bytes.at(i) == '<')
        return Form::Xml;
    if (i < bytes.size() && (bytes.at(i) == '{' || bytes.at(i) == '['))
        return Form::Json;
    return Form::Binary;
}

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
    QString encoding;
    if (bytes.startsWith("\xFF\xFE") || bytes.startsWith("\xFE\xFF")) {
        encoding = QStringLiteral("UTF-16");
    } else {
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
            document.diagnostics.Add(Utf8Location(bytes, bad), Level::Error, nullptr, -1,
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
        {0, 1, 1}, Level::Error, nullptr, -1,
        QStringLiteral("the text cannot be read in its encoding '%1'").arg(encoding));
    return false;
}

// The name of the first element of an XML text, or a null text.
QString RootElement(const QString& text)
{
    QXmlStreamReader reader(text);
    while (!reader.atEnd()) {
        reader.readNext();
        if (reader.isStartElement())
            return reader.name().toString();
        if (reader.tokenType() == QXmlStreamReader::DTD)
            break;
    }
    return QString();
}

void LoadXml(Document& document)
{
    if (!DecodeXml(document))
        return;
    document.type = RootElement(document.text);
    // An unknown or missing root is left to the library to report, against the main
    // document type.
    if (!NewRecord(document.type))
        document.type = QStringLiteral("KVT317_Settings");
    document.record = NewRecord(document.type);
    document.record->SetLogger(document.reports.Logger());
    document.loaded = document.record->SetXmlString(document.text, true);
}

void LoadJson(Document& document)
{
    document.text = QString::fromUtf8(document.bytes);
    JsonRead read = ReadJsonDocument(document.bytes);
    if (!read.node) {
        document.fault = Utf8Location(document.bytes, read.faultOffset);
        document.diagnostics.Add(document.fault, Level::Error, nullptr, -1, read.fault);
        return;
    }
    document.type = read.node->description->name;
    document.jsonFindings = std::move(read.findings);
    document.frame = EncodeDocument(*read.node);
    document.record = NewRecord(document.type);
    document.record->SetLogger(document.reports.Logger());
    document.loaded = document.record->SetBinaryRepresentation(document.frame);
}

void LoadBinary(Document& document)
{
    QString fault;
    document.frame = REPORTGENERATOR::IRGObject::PlainFrame(document.bytes, &fault);
    // A frame too short for its head, or compressed data that does not inflate: the
    // library says why, whatever the record type.
    document.type = QStringLiteral("KVT317_Settings");
    if (document.frame.size() >= 8) {
        const quint32 tag = qFromBigEndian<quint32>(document.frame.constData());
        document.type.clear();
        for (const RecordDescription* description : AllRecordDescriptions())
            if (static_cast<quint32>(description->id) == tag)
                document.type = description->name;
        if (document.type.isEmpty()) {
            QStringList known;
            for (const RecordDescription* description : AllRecordDescriptions())
                known.append(QStringLiteral("%1 %2").arg(
                    description->name, Hex32(static_cast<quint32>(description->id))));
            document.fault = Location::Binary(0);
            document.diagnostics.Add(document.fault, Level::Error, nullptr, -1,
                                     QStringLiteral("the frame's tag %1 is no record type; "
                                                    "known are %2")
                                         .arg(Hex32(tag), known.join(QStringLiteral(", "))));
            return;
        }
    }
    document.record = NewRecord(document.type);
    document.record->SetLogger(document.reports.Logger());
    document.loaded = document.record->SetBinaryRepresentation(document.bytes);
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
        document->diagnostics.Add(document->fault, Level::Error, nullptr, -1,
                                  QStringLiteral("the input is empty; expected a settings "
                                                 "document in XML, JSON or binary form"));
        return document;
    }
    document->form = DetectForm(document->bytes);
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

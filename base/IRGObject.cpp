#include "IRGObject.h"
#include "DocumentFile.h"
#include "ReadTap.h"

#include <QBuffer>
#include <QFile>
#include <QFileDevice>
#include <QFileInfo>
#include <QHash>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <functional>
#include <limits>
#include <utility>
#include <vector>

#include <zlib.h>

namespace REPORTGENERATOR {

namespace {

// Documents are written and read with one fixed stream version and byte order, so that
// their bytes do not depend on the Qt version.
constexpr int StreamVersion = QDataStream::Qt_5_15;
// Leads a compressed frame; "KVTZ". No record's class id has these low 32 bits.
constexpr qint32 CompressedMarker = 0x4B56545A;
// The inflation limit; see IRGObject::SetMaxInflatedSize.
std::atomic<qint64> inflationLimit{qint64(256) * 1024 * 1024};
// Output a first pass of inflation keeps; longer documents are inflated twice.
constexpr qint64 FirstPassSize = 1024 * 1024;
// Elements the last SkipUnknownElement on this thread left open, for the content loop that
// called it; -1 when none ran. Kept here rather than in every record object.
thread_local qint64 openAfterSkip = -1;

// Puts a caller's stream into the document format and back.
class DocumentFormat
{
public:
    explicit DocumentFormat(QDataStream& stream)
        : m_stream(stream)
        , m_version(stream.version())
        , m_byteOrder(stream.byteOrder())
    {
        m_stream.setVersion(StreamVersion);
        m_stream.setByteOrder(QDataStream::BigEndian);
    }
    ~DocumentFormat()
    {
        m_stream.setVersion(m_version);
        m_stream.setByteOrder(m_byteOrder);
    }
    DocumentFormat(const DocumentFormat&) = delete;
    DocumentFormat& operator=(const DocumentFormat&) = delete;

private:
    QDataStream& m_stream;
    int m_version;
    QDataStream::ByteOrder m_byteOrder;
};

QByteArray Deflate(const QByteArray& plain, int level)
{
    if (level < Z_DEFAULT_COMPRESSION || level > Z_BEST_COMPRESSION)
        level = Z_DEFAULT_COMPRESSION;
    uLongf size = compressBound(static_cast<uLong>(plain.size()));
    QByteArray packed(static_cast<int>(size), Qt::Uninitialized);
    const int result = compress2(reinterpret_cast<Bytef*>(packed.data()), &size,
                                 reinterpret_cast<const Bytef*>(plain.constData()),
                                 static_cast<uLong>(plain.size()), level);
    if (result != Z_OK)
        return QByteArray();
    packed.resize(static_cast<int>(size));
    return packed;
}

// Runs zlib over all of packed. The first `keep` bytes of output go to out; the rest is
// only counted. Stops as soon as the output passes `limit`. Returns the output size, or -1
// with the fault.
qint64 InflateInto(const QByteArray& packed, char* out, qint64 keep, qint64 limit, QString& fault)
{
    z_stream zs{};
    if (inflateInit(&zs) != Z_OK) {
        fault = QStringLiteral("Compressed binary data does not inflate: zlib could not start");
        return -1;
    }
    zs.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.constData()));
    zs.avail_in = static_cast<uInt>(packed.size());
    char scratch[16384];
    qint64 produced = 0;
    int result = Z_OK;
    while (result == Z_OK) {
        const qint64 room = keep - produced;
        const uInt size =
            room > 0 ? static_cast<uInt>(std::min<qint64>(room, 1 << 30)) : sizeof scratch;
        zs.next_out = reinterpret_cast<Bytef*>(room > 0 ? out + produced : scratch);
        zs.avail_out = size;
        result = inflate(&zs, Z_NO_FLUSH);
        if (result != Z_OK && result != Z_STREAM_END)
            break;
        produced += size - zs.avail_out;
        if (produced > limit) {
            result = Z_MEM_ERROR;
            break;
        }
        if (result == Z_OK && zs.avail_in == 0 && zs.avail_out != 0) {
            result = Z_BUF_ERROR;
            break;
        }
    }
    QString why;
    if (result == Z_MEM_ERROR) {
        fault = QStringLiteral("Compressed binary data inflates to more than the limit of %1 bytes")
                    .arg(limit);
    } else if (result == Z_BUF_ERROR) {
        why = QStringLiteral("the compressed data is truncated");
    } else if (result != Z_STREAM_END) {
        why = zs.msg ? QString::fromLatin1(zs.msg) : QStringLiteral("zlib error %1").arg(result);
    } else if (zs.avail_in != 0) {
        why = QStringLiteral("%1 bytes follow the compressed data").arg(zs.avail_in);
    }
    inflateEnd(&zs);
    if (!why.isEmpty())
        fault = QStringLiteral("Compressed binary data does not inflate: ") + why;
    return fault.isEmpty() ? produced : -1;
}

// Inflates a zlib stream of at most the inflation limit. The output is allocated once, at the
// size the data holds (never at a size the data claims): a first pass keeps what fits in
// FirstPassSize and counts the rest, and a longer document is inflated again into a buffer
// of its exact size. A document past the limit is refused in the first pass.
QByteArray Inflate(const QByteArray& packed, QString& fault)
{
    const qint64 limit = IRGObject::MaxInflatedSize();
    QByteArray plain(static_cast<int>(std::min(limit, FirstPassSize)), Qt::Uninitialized);
    const qint64 size = InflateInto(packed, plain.data(), plain.size(), limit, fault);
    if (size < 0)
        return QByteArray();
    if (size <= plain.size()) {
        plain.truncate(static_cast<int>(size));
        plain.squeeze();
        return plain;
    }
    plain = QByteArray();
    plain.resize(static_cast<int>(size));
    if (InflateInto(packed, plain.data(), size, size, fault) != size)
        return QByteArray();
    return plain;
}

uint Digit(uchar c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return c >= 'A' && c <= 'F' ? c - 'A' + 10 : 0;
}

// What in a written document XML cannot carry: a literal character, or a character
// reference to one (XmlText writes those in element text). Empty when there is nothing.
QString UnwritableInDocument(const QByteArray& document, bool writerError)
{
    const auto byte = [&document](qsizetype i) {
        return i < document.size() ? static_cast<uchar>(document.at(i)) : uchar(0);
    };
    qsizetype line = 1;
    qsizetype lineStart = 0;
    for (qsizetype i = 0; i < document.size(); ++i) {
        const uchar c = byte(i);
        uint code = 0;
        if (c == '\n') {
            ++line;
            lineStart = i + 1;
            continue;
        }
        if (c < 0x20 && c != '\t' && c != '\r') {
            code = c;
        } else if (c == 0xEF && byte(i + 1) == 0xBF && (byte(i + 2) & 0xFE) == 0xBE) {
            code = 0xFF00u | byte(i + 2);
        } else if (c == 0xED && byte(i + 1) >= 0xA0) {
            code = 0xD000u | ((byte(i + 1) & 0x3Fu) << 6) | (byte(i + 2) & 0x3Fu);
        } else if (c == '&' && byte(i + 1) == '#') {
            const bool hex = byte(i + 2) == 'x';
            qsizetype j = i + (hex ? 3 : 2);
            for (; j < document.size() && byte(j) != ';' && code <= 0x10FFFF; ++j)
                code = code * (hex ? 16 : 10) + Digit(byte(j));
            if (XmlText::IsXmlCharacter(code))
                continue;
        } else {
            continue;
        }
        qsizetype column = 1;
        for (qsizetype k = lineStart; k < i; ++k)
            column += (byte(k) & 0xC0) != 0x80;
        return QStringLiteral("the document holds %1 at line %2, column %3, a character XML "
                              "cannot carry")
            .arg(XmlText::CodeName(code))
            .arg(line)
            .arg(column);
    }
    if (writerError)
        return QStringLiteral("the document holds a character XML cannot carry, which the XML "
                              "writer left out");
    return QString();
}

// Reads the next token, through the tap where one listens; comments and processing
// instructions are passed over wherever they stand, and so are told to it.
void ReadNext(QXmlStreamReader& reader, ReadTap* tap, ReadTap::Passage passage)
{
    if (!tap) {
        reader.readNext();
        return;
    }
    tap->ReadNext(reader);
    if (reader.isComment() || reader.isProcessingInstruction())
        tap->Passed(reader, passage, tap->TokenStart(reader));
}

QString Hex32(qint32 value)
{
    return QStringLiteral("%1").arg(static_cast<quint32>(value), 8, 16, QLatin1Char('0')).toUpper();
}

// The reports made on this thread while a document loads, held until the load is known to
// be good. Reports stay in order with their loggers and levels; a run of identical reports
// is held once with its count, and each text once, so that a document that repeats a fault
// a million times holds a few bytes per report.
class HeldReports
{
public:
    HeldReports()
        : m_outer(t_current)
    {
        t_current = this;
    }
    ~HeldReports() { t_current = m_outer; }
    HeldReports(const HeldReports&) = delete;
    HeldReports& operator=(const HeldReports&) = delete;

    static HeldReports* Current() { return t_current; }

    void Add(const std::shared_ptr<Logger>& logger, LogLevel level, const QString& message)
    {
        const auto text = m_texts.constFind(message);
        const quint32 textIndex = text != m_texts.constEnd() ? text.value() : AddText(message);
        quint32 loggerIndex = 0;
        while (loggerIndex < m_loggers.size() && m_loggers[loggerIndex] != logger)
            ++loggerIndex;
        if (loggerIndex == m_loggers.size())
            m_loggers.push_back(logger);
        if (!m_reports.empty()) {
            Report& last = m_reports.back();
            if (last.text == textIndex && last.logger == loggerIndex && last.level == level &&
                last.count < std::numeric_limits<quint32>::max()) {
                ++last.count;
                return;
            }
        }
        m_reports.push_back(Report{textIndex, loggerIndex, level, 1});
    }

    // Sends the held reports on, in order, outside the hold.
    void Release()
    {
        t_current = m_outer;
        for (const Report& report : m_reports)
            for (quint32 i = 0; i < report.count; ++i)
                m_loggers[report.logger]->Log(report.level, m_textList.at(report.text));
        Drop();
    }

    void Drop()
    {
        t_current = m_outer;
        m_reports.clear();
    }

private:
    struct Report {
        quint32 text;
        quint32 logger;
        LogLevel level;
        quint32 count;
    };

    quint32 AddText(const QString& message)
    {
        const auto index = static_cast<quint32>(m_textList.size());
        m_textList.append(message);
        m_texts.insert(message, index);
        return index;
    }

    static thread_local HeldReports* t_current;
    HeldReports* m_outer;
    std::vector<Report> m_reports;
    std::vector<std::shared_ptr<Logger>> m_loggers;
    QHash<QString, quint32> m_texts;
    QStringList m_textList;
};

thread_local HeldReports* HeldReports::t_current = nullptr;

// A plain frame as a compressed document: the marker, then the deflated frame.
QByteArray Compressed(const QByteArray& frame, int level)
{
    const QByteArray packed = Deflate(frame, level);
    QByteArray data;
    QDataStream stream(&data, QIODevice::WriteOnly);
    DocumentFormat format(stream);
    stream << CompressedMarker << packed;
    return data;
}

} // namespace

namespace {
const std::shared_ptr<Logger>& DefaultLogger()
{
    static const std::shared_ptr<Logger> logger = Logger::Default();
    return logger;
}
} // namespace

IRGObject::IRGObject()
    : m_logger(DefaultLogger())
{
}

IRGObject::IRGObject(ObjectTypes type)
    : m_objectType(type)
    , m_logger(DefaultLogger())
{
}

IRGObject::IRGObject(ObjectTypes type, const QString& objectName)
    : m_objectName(objectName)
    , m_objectType(type)
    , m_logger(DefaultLogger())
{
}

IRGObject::~IRGObject() = default;

bool IRGObject::IsValid(float value) const
{
    return !std::isnan(value);
}
bool IRGObject::IsValid(bool) const
{
    return true;
}
bool IRGObject::IsValid(unsigned int value) const
{
    return value != std::numeric_limits<unsigned int>::max();
}
bool IRGObject::IsValid(__int64 value) const
{
    return value != std::numeric_limits<__int64>::min();
}
bool IRGObject::IsValid(const QDateTime& value) const
{
    return value.isValid();
}
bool IRGObject::IsValid(const QString& value) const
{
    return !value.isNull();
}
bool IRGObject::IsValid(double value) const
{
    return !std::isnan(value);
}
bool IRGObject::IsValid(int value) const
{
    return value != std::numeric_limits<int>::min();
}

void IRGObject::SetInvalid(float& value) const
{
    value = std::numeric_limits<float>::quiet_NaN();
}
void IRGObject::SetInvalid(unsigned int& value) const
{
    value = std::numeric_limits<unsigned int>::max();
}
void IRGObject::SetInvalid(__int64& value) const
{
    value = std::numeric_limits<__int64>::min();
}
void IRGObject::SetInvalid(QString& value) const
{
    value = QString();
}
void IRGObject::SetInvalid(double& value) const
{
    value = std::numeric_limits<double>::quiet_NaN();
}
void IRGObject::SetInvalid(int& value) const
{
    value = std::numeric_limits<int>::min();
}

// ---- XML documents -------------------------------------------------------------------

bool IRGObject::SetXmlString(const QString& xml, bool reset)
{
    QXmlStreamReader reader(xml);
    if (ReadTap* tap = ReadTap::Current())
        tap->BeginXml(xml);
    return ReadXmlDocument(reader, reset);
}

bool IRGObject::LoadXml(const QString& path)
{
    QFile file(path);
    return LoadXml(&file);
}

bool IRGObject::OpenForReading(QFile* file) const
{
    if (!file) {
        ReportDocumentFault(QStringLiteral("No file given"));
        return false;
    }
    if (!file->isOpen() && !file->open(QIODevice::ReadOnly)) {
        ReportDocumentFault(
            QStringLiteral("Cannot open '%1': %2").arg(file->fileName(), file->errorString()));
        return false;
    }
    return true;
}

bool IRGObject::LoadXml(QFile* file)
{
    if (!OpenForReading(file))
        return false;
    QXmlStreamReader reader(file);
    if (ReadTap* tap = ReadTap::Current())
        tap->BeginXml(QStringView());
    return ReadXmlDocument(reader, true);
}

bool IRGObject::ReadXmlDocument(QXmlStreamReader& reader, bool reset)
{
    ReadTap* const tap = ReadTap::Current();
    const auto next = [tap, &reader] { ReadNext(reader, tap, ReadTap::Passage::Document); };
    ReadTap::Position where;
    const auto here = [&reader, &where] {
        where = {reader.lineNumber(), reader.columnNumber() + 1, reader.characterOffset()};
    };
    return ReadDocument(reset, where, [&]() -> QString {
        // A document type declaration can only stand before the root element; refusing it
        // there keeps entity declarations and their expansion out of the reader.
        while (!reader.atEnd() && !reader.isStartElement()) {
            next();
            if (reader.tokenType() == QXmlStreamReader::DTD) {
                if (tap)
                    where = tap->TokenStart(reader);
                return QStringLiteral(
                           "Document type declarations are not accepted (line %1, column %2)")
                    .arg(reader.lineNumber())
                    .arg(reader.columnNumber());
            }
        }
        if (!reader.hasError() && reader.name() != GetObjectName()) {
            if (tap)
                where = tap->TokenStart(reader);
            return QStringLiteral("Root element is '%1', expected '%2'")
                .arg(reader.name().toString(), GetObjectName());
        }
        if (!reader.hasError())
            ProcessXml(reader);
        while (!reader.atEnd())
            next();
        if (reader.hasError()) {
            here();
            return QStringLiteral("XML error in line %1, column %2: %3")
                .arg(reader.lineNumber())
                .arg(reader.columnNumber())
                .arg(reader.errorString());
        }
        return QString();
    });
}

bool IRGObject::ReadDocument(bool reset, const ReadTap::Position& where,
                             const std::function<QString()>& read)
{
    // The reports of a load are held until the document is known to be good: a document
    // that fails leaves one report, naming the fault, and the record as it was.
    const auto state = SaveState();
    HeldReports held;

    QString fault;
    try {
        if (reset)
            Reset();
        fault = read();
    } catch (const BinaryParsingException& exception) {
        fault = exception.GetMessage();
    } catch (...) {
        // A record's own report raised: the record goes back to what it held, and the
        // exception passes out, with what was reported before it.
        RestoreState(state);
        held.Release();
        throw;
    }
    if (fault.isEmpty()) {
        // Whatever the load added follows the record's switch and logger.
        SetValidate(GetValidate());
        SetLogger(GetLogger());
        held.Release();
        return true;
    }
    held.Drop();
    RestoreState(state);
    ReportDocumentFault(fault, where);
    return false;
}

QByteArray IRGObject::XmlDocument(bool* writerError) const
{
    QByteArray document;
    QBuffer buffer(&document);
    buffer.open(QIODevice::WriteOnly);
    QXmlStreamWriter writer(&buffer);
    writer.setAutoFormatting(true);
    writer.setAutoFormattingIndent(2);
    writer.writeStartDocument();
    GetXml(writer);
    writer.writeEndDocument();
    if (writerError)
        *writerError = writer.hasError();
    return document;
}

QString IRGObject::GetXmlString() const
{
    return QString::fromUtf8(XmlDocument());
}

bool IRGObject::SaveXml(const QString& path) const
{
    // The whole document is made before the file is touched: a record that raises while
    // writing leaves no trace.
    bool writerError = false;
    const QByteArray document = XmlDocument(&writerError);
    const QString unwritable = UnwritableInDocument(document, writerError);
    if (!unwritable.isEmpty()) {
        ReportDocumentFault(QStringLiteral("Cannot write '%1': %2").arg(path, unwritable));
        return false;
    }
    return WriteFile(path, document);
}

bool IRGObject::SaveBinary(const QString& path, bool compressed, int level) const
{
    const QByteArray document = SavedBinary(path, compressed, level);
    return !document.isNull() && WriteFile(path, document);
}

// A saved document must read back as the record holds it, in the binary form as in XML: a
// text that XML cannot carry refuses the save, with one ERROR saying where it is.
QByteArray IRGObject::SavedBinary(const QString& target, bool compressed, int level) const
{
    const TextRefusal refusal;
    const QByteArray frame = GetBinaryRepresentationAsQByteArray();
    if (refusal.Refused()) {
        ReportDocumentFault(
            QStringLiteral("Cannot write '%1': %2").arg(target, refusal.Message(GetObjectName())));
        return QByteArray();
    }
    return compressed ? Compressed(frame, level) : frame;
}

bool IRGObject::WriteFile(const QString& path, const QByteArray& document) const
{
    QString fault;
    QStringList warnings;
    const bool written = WriteDocumentFile(path, document, &fault, &warnings);
    for (const QString& warning : warnings)
        Log(LogLevel::Warning, warning);
    if (!written)
        ReportDocumentFault(fault);
    return written;
}

bool IRGObject::EditFile(const QString& path, const std::function<bool(IRGObject&)>& edit,
                         int waitMilliseconds)
{
    DocumentLock lock(path);
    QString fault;
    if (!lock.Acquire(waitMilliseconds, &fault)) {
        ReportDocumentFault(fault);
        return false;
    }
    QFile file(path);
    if (!OpenForReading(&file))
        return false;
    const QByteArray bytes = file.peek(64);
    qsizetype first = bytes.startsWith("\xEF\xBB\xBF") ? 3 : 0;
    while (first < bytes.size() && QByteArrayLiteral(" \t\r\n").contains(bytes.at(first)))
        ++first;
    const bool xml = first < bytes.size() && bytes.at(first) == '<';
    const bool compressed = bytes.startsWith(QByteArrayLiteral("KVTZ"));
    if (!(xml ? LoadXml(&file) : LoadBinary(&file)))
        return false;
    file.close();
    if (!edit(*this))
        return false;
    return xml ? SaveXml(path) : SaveBinary(path, compressed);
}

void IRGObject::ProcessXml(QXmlStreamReader& reader)
{
    // `open` counts the elements inside the record that are open here: a skip that stops
    // at a nested element of an unknown element's name leaves them to this loop, and their
    // end elements, whatever their names, must not end the record. A record whose own code
    // stops inside an element without SkipUnknownElement leaves the count unknown; the loop
    // then ends at the first end element that carries the record's name.
    ReadTap* const tap = ReadTap::Current();
    const QString name = reader.name().toString();
    qint64 open = 0;
    bool counting = true;
    while (!reader.atEnd()) {
        ReadNext(reader, tap, ReadTap::Passage::Content);
        if (reader.isStartElement()) {
            openAfterSkip = -1;
            ProcessXmlStartElement(reader);
            const qint64 left = openAfterSkip;
            openAfterSkip = -1;
            if (left > 0)
                open += left;
            else if (left < 0 && !reader.isEndElement())
                counting = false;
        } else if (reader.isEndElement()) {
            if (counting ? open == 0 : reader.name() == name)
                return;
            if (open > 0)
                --open;
        } else if (tap && reader.isCharacters() && !reader.isWhitespace()) {
            tap->Passed(reader, ReadTap::Passage::Content, tap->TokenStart(reader));
        }
    }
}

QString IRGObject::GetTextValue(QXmlStreamReader& reader)
{
    // Iterative: nesting of any depth costs no stack.
    if (!reader.isStartElement())
        return QString();
    ReadTap* const tap = ReadTap::Current();
    QString text;
    qint64 depth = 1;
    while (depth > 0 && !reader.atEnd()) {
        ReadNext(reader, tap, ReadTap::Passage::MemberText);
        switch (reader.tokenType()) {
        case QXmlStreamReader::StartElement:
            if (tap)
                tap->Passed(reader, ReadTap::Passage::MemberText, tap->TokenStart(reader));
            ++depth;
            break;
        case QXmlStreamReader::EndElement:
            --depth;
            break;
        case QXmlStreamReader::Characters:
        case QXmlStreamReader::EntityReference:
            if (depth == 1)
                text += reader.text();
            break;
        default:
            break;
        }
    }
    return text;
}

void IRGObject::SkipUnknownElement(QXmlStreamReader& reader)
{
    ReadTap* const tap = ReadTap::Current();
    const QString name = reader.name().toString();
    qint64 open = 1;
    while (!reader.atEnd()) {
        ReadNext(reader, tap, ReadTap::Passage::Skipped);
        if (reader.isStartElement())
            ++open;
        else if (reader.isEndElement())
            --open;
        if (reader.name() == name)
            break;
    }
    openAfterSkip = reader.atEnd() ? 0 : open;
}

// ---- Binary documents ----------------------------------------------------------------

void IRGObject::GetBinaryRepresentation(QDataStream& stream) const
{
    WriteBinaryDocument(stream, false, 0);
}

// Onto a file the representation is a save, and refuses what SaveBinary() refuses; the
// stream's status then says that nothing was written.
void IRGObject::WriteBinaryDocument(QDataStream& stream, bool compressed, int level) const
{
    QByteArray document;
    if (const auto* file = qobject_cast<const QFileDevice*>(stream.device())) {
        document = SavedBinary(file->fileName(), compressed, level);
        if (document.isNull()) {
            stream.setStatus(QDataStream::WriteFailed);
            return;
        }
    } else {
        document = compressed ? GetCompressedBinaryRepresentationAsQByteArray(level)
                              : GetBinaryRepresentationAsQByteArray();
    }
    stream.writeRawData(document.constData(), document.size());
}

QByteArray IRGObject::GetBinaryRepresentationAsQByteArray() const
{
    // Built in memory: the record lengths are back-patched, which needs a seekable device.
    QByteArray frame;
    QBuffer buffer(&frame);
    buffer.open(QIODevice::WriteOnly);
    QDataStream stream(&buffer);
    DocumentFormat format(stream);
    GetBinary(stream, static_cast<int>(m_id), true);
    return frame;
}

void IRGObject::GetCompressedBinaryRepresentation(QDataStream& stream, int level) const
{
    WriteBinaryDocument(stream, true, level);
}

QByteArray IRGObject::GetCompressedBinaryRepresentationAsQByteArray(int level) const
{
    return Compressed(GetBinaryRepresentationAsQByteArray(), level);
}

bool IRGObject::SetBinaryRepresentation(QByteArray& data)
{
    QDataStream stream(data);
    DocumentFormat format(stream);
    return ReadBinaryDocument(stream, true, false);
}

bool IRGObject::SetBinaryRepresentation(QDataStream& stream)
{
    DocumentFormat format(stream);
    return ReadBinaryDocument(stream, false, false);
}

bool IRGObject::LoadBinary(QFile* file)
{
    if (!OpenForReading(file))
        return false;
    QDataStream stream(file);
    DocumentFormat format(stream);
    return ReadBinaryDocument(stream, true, true);
}

bool IRGObject::ReadBinaryDocument(QDataStream& stream, bool wholeInput, bool reset)
{
    ReadTap::Position where;
    return ReadDocument(reset, where, [this, &stream, wholeInput, &where]() -> QString {
        QString fault;
        if (ReadFrame(stream, fault, where) && wholeInput && !stream.atEnd()) {
            fault = QStringLiteral("Binary data continues after the record frame");
            if (ReadTap* tap = ReadTap::Current())
                where.offset = tap->BinaryOffset(stream.device());
        }
        return fault;
    });
}

bool IRGObject::ReadFrame(QDataStream& stream, QString& fault, ReadTap::Position& where)
{
    // Offsets count from the frame's tag; in a compressed document, in the inflated frame.
    ReadTap* const tap = ReadTap::Current();
    QIODevice* device = stream.device();
    const qint64 start = device && !device->isSequential() ? device->pos() : -1;
    if (tap)
        tap->SetFrameStart(std::max<qint64>(start, 0));
    const auto at = [&where, tap, device](qint64 offset) {
        if (tap)
            where.offset = offset >= 0 ? offset : tap->BinaryOffset(device);
    };
    qint32 tag = 0;
    stream >> tag;
    if (stream.status() != QDataStream::Ok) {
        at(0);
        fault = QStringLiteral("Binary data ends before the frame head");
        return false;
    }
    if (tag == CompressedMarker) {
        QByteArray packed;
        stream >> packed;
        if (stream.status() != QDataStream::Ok) {
            fault = QStringLiteral("Compressed binary data is truncated");
            return false;
        }
        const QByteArray plain = Inflate(packed, fault);
        if (!fault.isEmpty())
            return false;
        QDataStream inner(plain);
        DocumentFormat format(inner);
        if (!ReadFrame(inner, fault, where))
            return false;
        if (!inner.atEnd()) {
            at(-1);
            if (tap)
                where.offset = tap->BinaryOffset(inner.device());
            fault = QStringLiteral("Compressed binary data continues after the record frame");
            return false;
        }
        return true;
    }
    if (tag != static_cast<qint32>(m_id)) {
        at(0);
        fault = QStringLiteral("Binary frame of record type 0x%1, expected %2 (0x%3)")
                    .arg(Hex32(tag), GetObjectName(), Hex32(static_cast<qint32>(m_id)));
        return false;
    }
    qint32 length = 0;
    stream >> length;
    if (stream.status() != QDataStream::Ok) {
        at(4);
        fault = QStringLiteral("Binary data ends inside the frame head");
        return false;
    }
    SetBinary(stream, length);
    if (stream.status() != QDataStream::Ok) {
        at(-1);
        fault = QStringLiteral("Binary frame of %1 is truncated").arg(GetObjectName());
        return false;
    }
    if (start >= 0 && device->pos() - start - 8 != length) {
        at(-1);
        fault = QStringLiteral("Binary frame of %1 announces %2 bytes, its members take %3")
                    .arg(GetObjectName())
                    .arg(length)
                    .arg(device->pos() - start - 8);
        return false;
    }
    return true;
}

QByteArray IRGObject::PlainFrame(const QByteArray& document, QString* fault)
{
    QDataStream stream(document);
    DocumentFormat format(stream);
    qint32 tag = 0;
    stream >> tag;
    QString error;
    if (stream.status() != QDataStream::Ok) {
        error = QStringLiteral("Binary data ends before the frame head");
    } else if (tag == CompressedMarker) {
        QByteArray packed;
        stream >> packed;
        if (stream.status() != QDataStream::Ok) {
            error = QStringLiteral("Compressed binary data is truncated");
        } else {
            const QByteArray plain = Inflate(packed, error);
            if (error.isEmpty())
                return plain;
        }
    } else {
        return document;
    }
    if (fault)
        *fault = error;
    return QByteArray();
}

void IRGObject::SetMaxInflatedSize(qint64 bytes)
{
    inflationLimit = std::clamp<qint64>(bytes, 0, std::numeric_limits<qint32>::max());
}

qint64 IRGObject::MaxInflatedSize()
{
    return inflationLimit;
}

int IRGObject::skipCurrentElement(QDataStream& stream, int length, int /*tag*/) const
{
    if (length < 0) {
        stream.setStatus(QDataStream::ReadCorruptData);
        return -1;
    }
    return stream.skipRawData(length) == length ? length : -1;
}

bool IRGObject::MergeRGObject(const IRGObject& other)
{
    if (other.m_id != m_id)
        return false;
    QByteArray frame;
    {
        QBuffer buffer(&frame);
        buffer.open(QIODevice::WriteOnly);
        QDataStream out(&buffer);
        DocumentFormat format(out);
        if (!other.GetBinary(out, 0, false))
            return false;
    }
    QDataStream in(frame);
    DocumentFormat format(in);
    qint32 length = 0;
    in >> length;
    SetBinary(in, length);
    return true;
}

// ---- Identity, switch and logger -----------------------------------------------------

ObjectTypes IRGObject::GetObjectType() const
{
    return m_objectType;
}

const QString& IRGObject::GetObjectName() const
{
    return m_objectName;
}

void IRGObject::SetObjectName(const QString& name)
{
    m_objectName = name;
}

// Records hand their switch and logger down at the start of const operations. Storing only a
// change keeps those calls free of writes, so that one record can be read from several
// threads at once.
void IRGObject::SetValidate(bool validate) const
{
    if (m_validate != validate)
        m_validate = validate;
}

bool IRGObject::GetValidate() const
{
    if (const ReportingAs* as = ReportingAs::For(*this))
        return as->Validate();
    return m_validate;
}

void IRGObject::SetLogger(std::shared_ptr<Logger> logger) const
{
    if (m_logger != logger)
        m_logger = std::move(logger);
}

void IRGObject::ResetLogger() const
{
    IRGObject::SetLogger(Logger::Default());
}

std::shared_ptr<Logger> IRGObject::GetLogger() const
{
    return ReportLogger();
}

namespace {
// The innermost ReportingAs of the thread. Every call into a held record reads it, so it
// takes the static TLS model: one load from the thread pointer instead of a call to
// __tls_get_addr, which the general model of a shared library costs on each access.
#if defined(__GNUC__) && defined(__ELF__)
__attribute__((tls_model("initial-exec")))
#endif
thread_local const void* t_reportingAs = nullptr;
} // namespace

IRGObject::ReportingAs::ReportingAs(const IRGObject& record, bool validate,
                                    const std::shared_ptr<Logger>& logger)
    : m_record(record)
    , m_validate(validate)
    , m_logger(logger)
    , m_outer(static_cast<const ReportingAs*>(t_reportingAs))
{
    t_reportingAs = this;
}

IRGObject::ReportingAs::~ReportingAs()
{
    t_reportingAs = m_outer;
}

const IRGObject::ReportingAs* IRGObject::ReportingAs::For(const IRGObject& record) noexcept
{
    const auto* as = static_cast<const ReportingAs*>(t_reportingAs);
    return as && &as->m_record == &record ? as : nullptr;
}

const std::shared_ptr<Logger>& IRGObject::ReportLogger() const noexcept
{
    if (const ReportingAs* as = ReportingAs::For(*this))
        return as->ReportLogger();
    return m_logger;
}

const QString& IRGObject::GetVersion() const
{
    static const QString version = QString::fromLatin1(Version);
    return version;
}

std::shared_ptr<const void> IRGObject::SaveState() const
{
    return nullptr;
}

void IRGObject::RestoreState(const std::shared_ptr<const void>&) {}

// ---- Reports -------------------------------------------------------------------------

void IRGObject::Trace(LogLevel level, const RGException& exception) const
{
    if (ReadTap* tap = ReadTap::Current())
        tap->Reported(*this, level, exception);
    Log(level, exception.GetMessage());
}

void IRGObject::Log(LogLevel level, const QString& message) const
{
    const std::shared_ptr<Logger>& logger = ReportLogger();
    if (!logger)
        return;
    if (HeldReports* held = HeldReports::Current())
        held->Add(logger, level, message);
    else
        logger->Log(level, message);
}

void IRGObject::TraceOrThrow(LogLevel level, RGException& exception, bool throwException,
                             bool trace) const
{
    if (trace)
        Trace(level, exception);
    if (throwException)
        exception.Raise();
}

void IRGObject::ReportDocumentFault(const QString& message, const ReadTap::Position& where) const
{
    if (ReadTap* tap = ReadTap::Current())
        tap->DocumentFault(message, where);
    Log(LogLevel::Error, message);
}

} // namespace REPORTGENERATOR

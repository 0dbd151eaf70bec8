#include "IRGObject.h"

#include <QBuffer>
#include <QFile>
#include <QHash>
#include <QSaveFile>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

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
// Inflated frames larger than this are refused rather than allocated.
constexpr qint64 MaxInflatedSize = qint64(512) * 1024 * 1024;

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

// Inflates a zlib stream; the output grows with what the data holds, never with a size
// that the data claims.
bool Inflate(const QByteArray& packed, QByteArray& plain, QString& error)
{
    z_stream zs{};
    if (inflateInit(&zs) != Z_OK) {
        error = QStringLiteral("zlib could not start");
        return false;
    }
    zs.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.constData()));
    zs.avail_in = static_cast<uInt>(packed.size());
    plain.clear();
    int result = Z_OK;
    char chunk[16384];
    while (result == Z_OK) {
        zs.next_out = reinterpret_cast<Bytef*>(chunk);
        zs.avail_out = sizeof chunk;
        result = inflate(&zs, Z_NO_FLUSH);
        if (result != Z_OK && result != Z_STREAM_END)
            break;
        plain.append(chunk, static_cast<int>(sizeof chunk - zs.avail_out));
        if (plain.size() > MaxInflatedSize) {
            result = Z_MEM_ERROR;
            break;
        }
        if (result == Z_OK && zs.avail_in == 0 && zs.avail_out != 0) {
            result = Z_BUF_ERROR;
            break;
        }
    }
    const bool ended = result == Z_STREAM_END;
    if (!ended) {
        if (result == Z_MEM_ERROR)
            error = QStringLiteral("the inflated data exceeds %1 bytes").arg(MaxInflatedSize);
        else if (result == Z_BUF_ERROR)
            error = QStringLiteral("the compressed data is truncated");
        else
            error =
                zs.msg ? QString::fromLatin1(zs.msg) : QStringLiteral("zlib error %1").arg(result);
    } else if (zs.avail_in != 0) {
        error = QStringLiteral("%1 bytes follow the compressed data").arg(zs.avail_in);
    }
    inflateEnd(&zs);
    return ended && error.isEmpty();
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
    return ReadXmlDocument(reader, reset);
}

bool IRGObject::LoadXml(const QString& path)
{
    QFile file(path);
    return LoadXml(&file);
}

bool IRGObject::LoadXml(QFile* file)
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
    QXmlStreamReader reader(file);
    return ReadXmlDocument(reader, true);
}

bool IRGObject::ReadXmlDocument(QXmlStreamReader& reader, bool reset)
{
    return ReadDocument(reset, [this, &reader]() -> QString {
        // A document type declaration can only stand before the root element; refusing it
        // there keeps entity declarations and their expansion out of the reader.
        while (!reader.atEnd() && !reader.isStartElement()) {
            reader.readNext();
            if (reader.tokenType() == QXmlStreamReader::DTD)
                return QStringLiteral(
                           "Document type declarations are not accepted (line %1, column %2)")
                    .arg(reader.lineNumber())
                    .arg(reader.columnNumber());
        }
        if (!reader.hasError() && reader.name() != GetObjectName())
            return QStringLiteral("Root element is '%1', expected '%2'")
                .arg(reader.name().toString(), GetObjectName());
        if (!reader.hasError())
            ProcessXml(reader);
        while (!reader.atEnd())
            reader.readNext();
        if (reader.hasError())
            return QStringLiteral("XML error in line %1, column %2: %3")
                .arg(reader.lineNumber())
                .arg(reader.columnNumber())
                .arg(reader.errorString());
        return QString();
    });
}

bool IRGObject::ReadDocument(bool reset, const std::function<QString()>& read)
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
        // A record's own report raised: it passes out, with what was reported before it.
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
    ReportDocumentFault(fault);
    return false;
}

QByteArray IRGObject::XmlDocument() const
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
    return document;
}

QString IRGObject::GetXmlString() const
{
    return QString::fromUtf8(XmlDocument());
}

bool IRGObject::SaveXml(const QString& path) const
{
    // The whole document is made before the file is touched: a record that raises while
    // writing leaves no trace. The write is unbuffered so that a short write (a full disk)
    // is seen here rather than lost in a buffer flush, and only then is the target replaced.
    const QByteArray document = XmlDocument();
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) ||
        file.write(document) != document.size() || !file.commit()) {
        ReportDocumentFault(QStringLiteral("Cannot write '%1': %2").arg(path, file.errorString()));
        return false;
    }
    return true;
}

void IRGObject::ProcessXml(QXmlStreamReader& reader)
{
    // Ends at the end element that carries the record's own name: a child that stops early
    // on a nested element of an unknown name leaves the rest of it to this loop.
    const QString name = reader.name().toString();
    while (!reader.atEnd()) {
        reader.readNext();
        if (reader.isStartElement())
            ProcessXmlStartElement(reader);
        else if (reader.isEndElement() && reader.name() == name)
            return;
    }
}

QString IRGObject::GetTextValue(QXmlStreamReader& reader)
{
    return reader.readElementText(QXmlStreamReader::IncludeChildElements);
}

// ---- Binary documents ----------------------------------------------------------------

void IRGObject::GetBinaryRepresentation(QDataStream& stream) const
{
    const QByteArray frame = GetBinaryRepresentationAsQByteArray();
    stream.writeRawData(frame.constData(), frame.size());
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
    const QByteArray data = GetCompressedBinaryRepresentationAsQByteArray(level);
    stream.writeRawData(data.constData(), data.size());
}

QByteArray IRGObject::GetCompressedBinaryRepresentationAsQByteArray(int level) const
{
    const QByteArray packed = Deflate(GetBinaryRepresentationAsQByteArray(), level);
    QByteArray data;
    QDataStream stream(&data, QIODevice::WriteOnly);
    DocumentFormat format(stream);
    stream << CompressedMarker << packed;
    return data;
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
    if (!file) {
        ReportDocumentFault(QStringLiteral("No file given"));
        return false;
    }
    if (!file->isOpen() && !file->open(QIODevice::ReadOnly)) {
        ReportDocumentFault(
            QStringLiteral("Cannot open '%1': %2").arg(file->fileName(), file->errorString()));
        return false;
    }
    QDataStream stream(file);
    DocumentFormat format(stream);
    return ReadBinaryDocument(stream, true, true);
}

bool IRGObject::ReadBinaryDocument(QDataStream& stream, bool wholeInput, bool reset)
{
    return ReadDocument(reset, [this, &stream, wholeInput]() -> QString {
        QString fault;
        if (ReadFrame(stream, fault) && wholeInput && !stream.atEnd())
            fault = QStringLiteral("Binary data continues after the record frame");
        return fault;
    });
}

bool IRGObject::ReadFrame(QDataStream& stream, QString& fault)
{
    qint32 tag = 0;
    stream >> tag;
    if (stream.status() != QDataStream::Ok) {
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
        QByteArray plain;
        QString error;
        if (!Inflate(packed, plain, error)) {
            fault = QStringLiteral("Compressed binary data does not inflate: %1").arg(error);
            return false;
        }
        QDataStream inner(plain);
        DocumentFormat format(inner);
        if (!ReadFrame(inner, fault))
            return false;
        if (!inner.atEnd()) {
            fault = QStringLiteral("Compressed binary data continues after the record frame");
            return false;
        }
        return true;
    }
    if (tag != static_cast<qint32>(m_id)) {
        fault = QStringLiteral("Binary frame of record type 0x%1, expected %2 (0x%3)")
                    .arg(Hex32(tag), GetObjectName(), Hex32(static_cast<qint32>(m_id)));
        return false;
    }
    qint32 length = 0;
    stream >> length;
    if (stream.status() != QDataStream::Ok) {
        fault = QStringLiteral("Binary data ends inside the frame head");
        return false;
    }
    QIODevice* device = stream.device();
    const qint64 start = device && !device->isSequential() ? device->pos() : -1;
    SetBinary(stream, length);
    if (stream.status() != QDataStream::Ok) {
        fault = QStringLiteral("Binary frame of %1 is truncated").arg(GetObjectName());
        return false;
    }
    if (start >= 0 && device->pos() - start != length) {
        fault = QStringLiteral("Binary frame of %1 announces %2 bytes, its members take %3")
                    .arg(GetObjectName())
                    .arg(length)
                    .arg(device->pos() - start);
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
        QByteArray plain;
        QString why;
        if (stream.status() != QDataStream::Ok)
            error = QStringLiteral("Compressed binary data is truncated");
        else if (!Inflate(packed, plain, why))
            error = QStringLiteral("Compressed binary data does not inflate: %1").arg(why);
        else
            return plain;
    } else {
        return document;
    }
    if (fault)
        *fault = error;
    return QByteArray();
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

void IRGObject::SetValidate(bool validate) const
{
    m_validate = validate;
}

bool IRGObject::GetValidate() const
{
    return m_validate;
}

void IRGObject::SetLogger(std::shared_ptr<Logger> logger) const
{
    m_logger = std::move(logger);
}

void IRGObject::ResetLogger() const
{
    m_logger = Logger::Default();
}

std::shared_ptr<Logger> IRGObject::GetLogger() const
{
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
    if (!m_logger)
        return;
    if (HeldReports* held = HeldReports::Current())
        held->Add(m_logger, level, exception.GetMessage());
    else
        m_logger->Log(level, exception.GetMessage());
}

void IRGObject::TraceOrThrow(LogLevel level, RGException& exception, bool throwException,
                             bool trace) const
{
    if (trace)
        Trace(level, exception);
    if (throwException)
        exception.Raise();
}

void IRGObject::ReportDocumentFault(const QString& message) const
{
    Trace(LogLevel::Error, RGException(message));
}

} // namespace REPORTGENERATOR

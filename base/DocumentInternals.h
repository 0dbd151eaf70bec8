#pragma once

// Shared by the base's own sources; not installed.

#include "LogLevel.h"
#include "Logger.h"

#include <QByteArray>
#include <QDataStream>
#include <QString>

#include <memory>

namespace REPORTGENERATOR {

struct Operation;

// Documents are written and read with one fixed stream version and byte order, so that
// their bytes do not depend on the Qt version.
constexpr int StreamVersion = QDataStream::Qt_5_15;
// Leads a compressed frame; "KVTZ". No record's class id has these low 32 bits.
constexpr qint32 CompressedMarker = 0x4B56545A;

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

// A plain frame as a compressed document: the marker, then the deflated frame.
QByteArray Compressed(const QByteArray& frame, int level);

// Inflates a zlib stream of at most the inflation limit, or gives the fault.
QByteArray Inflate(const QByteArray& packed, QString& fault);

// What in a written document XML cannot carry: a literal character, or a character
// reference to one (XmlText writes those in element text). Empty when there is nothing.
QString UnwritableInDocument(const QByteArray& document, bool writerError);

// Holds a report while a document loads on this thread, to be sent on once the load is known
// to be good. False when no load holds reports: the caller sends it on itself.
bool HoldReport(Operation& operation, const std::shared_ptr<Logger>& logger, LogLevel level,
                const QString& message);

} // namespace REPORTGENERATOR

#pragma once

// The two inputs of the binary reader: the bytes of a whole document in memory, and a
// QDataStream over any other device. Both read by QDataStream's rules: a short read takes
// what is left, gives 0 (or Qt's null byte array) and sets the status, and reading goes on
// after a failure as QDataStream's does.

#include "ReadContext.h"

#include <QByteArray>
#include <QDataStream>
#include <QIODevice>
#include <QtEndian>

#include <Numbers.h>

#include <cstring>

namespace REPORTGENERATOR {
class IRGObject;
}

namespace KVT317XML {

// A text payload: its bytes, valid until the next read, and whether it was a null array.
struct BinaryText {
    const char* data = nullptr;
    qsizetype size = 0;
    bool null = true;

    QByteArray Array() const
    {
        if (null)
            return QByteArray();
        return size == 0 ? QByteArray("") : QByteArray(data, size);
    }
};

// A double or float whose text reads and is a plain decimal the member keeps: its
// conversion would say nothing to an observer. Its value is handed to `store`; false, with
// nothing stored, for any other member or text.
template <class Store>
bool KeptNumber(const MemberDescription& member, const BinaryText& bytes, Store&& store)
{
    const bool isDouble = member.kind == MemberKind::Double;
    if ((!isDouble && member.kind != MemberKind::Float) || bytes.null ||
        !read::PlainDecimalKept(std::string_view(bytes.data, std::size_t(bytes.size)), member))
        return false;
    bool read = false;
    if (isDouble) {
        const double value = REPORTGENERATOR::Numbers::ToDouble(bytes.data, bytes.size, &read);
        if (read)
            store(value);
    } else {
        const float value = REPORTGENERATOR::Numbers::ToFloat(bytes.data, bytes.size, &read);
        if (read)
            store(value);
    }
    return read;
}

class MemoryInput
{
public:
    // `origin` is the offset of data[0] from the frame's start, -1 where not known.
    // `status` is the stream's when reading starts: a stream that failed before reads on,
    // but its loops stop at once.
    MemoryInput(const char* data, qint64 size, bool bigEndian, qint64 origin,
                QDataStream::Status status = QDataStream::Ok)
        : m_data(data)
        , m_size(size)
        , m_bigEndian(bigEndian)
        , m_origin(origin)
        , m_status(status)
    {
    }

    bool AtEnd() const { return m_pos >= m_size; }
    bool Ok() const { return m_status == QDataStream::Ok; }
    QDataStream::Status Status() const { return m_status; }
    qint64 Consumed() const { return m_pos; }
    qint64 Available() const { return m_size - m_pos; }
    ReadPosition Position(const ReadContext& /*context*/, qint64 back = 0) const
    {
        return {0, 0, m_origin >= 0 ? m_origin + m_pos - back : -1};
    }

    qint32 Int32() { return static_cast<qint32>(Unsigned<quint32>()); }
    qint64 Int64() { return static_cast<qint64>(Unsigned<quint64>()); }

    BinaryText Text()
    {
        const quint32 length = Unsigned<quint32>();
        if (length == 0xFFFFFFFFu)
            return {};
        if (length > static_cast<quint64>(m_size - m_pos)) {
            m_pos = m_size;
            Fail(QDataStream::ReadPastEnd);
            return {};
        }
        const BinaryText text{m_data + m_pos, static_cast<qsizetype>(length), false};
        m_pos += length;
        return text;
    }

    // What IRGObject::skipCurrentElement does to a stream.
    void Skip(const REPORTGENERATOR::IRGObject& /*record*/, int length, int /*tag*/)
    {
        if (length < 0) {
            Fail(QDataStream::ReadCorruptData);
            return;
        }
        if (length > m_size - m_pos) {
            m_pos = m_size;
            Fail(QDataStream::ReadPastEnd);
            return;
        }
        m_pos += length;
    }

    // Bytes that further items can take at most.
    qint64 Room() const { return m_size - m_pos; }

private:
    void Fail(QDataStream::Status status)
    {
        if (m_status == QDataStream::Ok)
            m_status = status;
    }

    template <class T> T Unsigned()
    {
        if (m_size - m_pos < static_cast<qint64>(sizeof(T))) {
            m_pos = m_size;
            Fail(QDataStream::ReadPastEnd);
            return 0;
        }
        const char* const at = m_data + m_pos;
        m_pos += static_cast<qint64>(sizeof(T));
        return m_bigEndian ? qFromBigEndian<T>(at) : qFromLittleEndian<T>(at);
    }

    const char* m_data;
    qint64 m_size;
    qint64 m_pos = 0;
    bool m_bigEndian;
    qint64 m_origin;
    QDataStream::Status m_status;
};

class StreamInput
{
public:
    explicit StreamInput(QDataStream& stream)
        : m_stream(stream)
    {
    }

    bool AtEnd() const { return m_stream.atEnd(); }
    bool Ok() const { return m_stream.status() == QDataStream::Ok; }
    ReadPosition Position(const ReadContext& context, qint64 back = 0) const
    {
        return context.BinaryPosition(m_stream.device(), back);
    }

    qint32 Int32()
    {
        qint32 value = 0;
        m_stream >> value;
        return value;
    }
    qint64 Int64()
    {
        qint64 value = 0;
        m_stream >> value;
        return value;
    }
    BinaryText Text()
    {
        m_stream >> m_bytes;
        return {m_bytes.constData(), m_bytes.size(), m_bytes.isNull()};
    }
    void Skip(const REPORTGENERATOR::IRGObject& record, int length, int tag);

    // On a sequential device only what has arrived: a list's count or length read from
    // the stream says nothing of what will follow, and reserving for it could ask for more
    // memory than there is.
    qint64 Room() const
    {
        const QIODevice* device = m_stream.device();
        return device ? device->bytesAvailable() : 0;
    }

private:
    QDataStream& m_stream;
    QByteArray m_bytes;
};

} // namespace KVT317XML

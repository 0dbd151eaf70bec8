#pragma once

// The binary writer's output: one byte array that a whole frame is appended to, with the
// record and payload lengths patched in place once known. The bytes are those QDataStream
// writes for the same fields.

#include <QByteArray>
#include <QString>

#include <cstring>

namespace KVT317XML {

class ByteSink
{
public:
    ByteSink(QByteArray& out, bool bigEndian)
        : m_out(out)
        , m_bigEndian(bigEndian)
    {
    }

    QByteArray& Bytes() { return m_out; }

    void Int32(qint32 value) { Put(static_cast<quint32>(value)); }
    void Int64(qint64 value) { Put(static_cast<quint64>(value)); }

    // A length placeholder; Patch() writes the count of the bytes appended after it.
    qsizetype BeginLength()
    {
        Int32(0);
        return m_out.size();
    }
    void Patch(qsizetype start)
    {
        const auto length = static_cast<quint32>(m_out.size() - start);
        char bytes[4];
        Encode(length, bytes);
        std::memcpy(m_out.data() + start - 4, bytes, 4);
    }

    // QDataStream's form of a QByteArray: its size, then its bytes; 0xFFFFFFFF for a null
    // array.
    void NullArray() { Int32(-1); }
    void Array(const char* data, qsizetype size)
    {
        Int32(static_cast<qint32>(size));
        m_out.append(data, size);
    }
    // The UTF-8 of a text as a byte array (a null text as a null array), without a copy of
    // it where it is ASCII.
    void Utf8Array(const QString& text)
    {
        if (text.isNull()) {
            NullArray();
            return;
        }
        const qsizetype size = text.size();
        const QChar* chars = text.constData();
        for (qsizetype i = 0; i < size; ++i)
            if (chars[i].unicode() >= 0x80) {
                const QByteArray utf8 = text.toUtf8();
                Array(utf8.constData(), utf8.size());
                return;
            }
        Int32(static_cast<qint32>(size));
        const qsizetype at = m_out.size();
        m_out.resize(at + size);
        char* out = m_out.data() + at;
        for (qsizetype i = 0; i < size; ++i)
            out[i] = static_cast<char>(chars[i].unicode());
    }

private:
    template <class T> void Encode(T value, char* bytes) const
    {
        for (std::size_t i = 0; i < sizeof(T); ++i) {
            const std::size_t at = m_bigEndian ? sizeof(T) - 1 - i : i;
            bytes[at] = static_cast<char>(value & 0xFF);
            value = static_cast<T>(value >> 8);
        }
    }
    template <class T> void Put(T value)
    {
        char bytes[sizeof(T)];
        Encode(value, bytes);
        m_out.append(bytes, static_cast<qsizetype>(sizeof(T)));
    }

    QByteArray& m_out;
    bool m_bigEndian;
};

} // namespace KVT317XML

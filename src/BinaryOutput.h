#pragma once

// The binary writer's output: one byte array that a whole frame is written into, with the
// record and payload lengths patched in place once known. The bytes are those QDataStream
// writes for the same fields. The array grows by doubling and is cut to size at the end.

#include <QByteArray>
#include <QString>
#include <QtEndian>

#include <Numbers.h>

#include <algorithm>
#include <cstring>

namespace KVT317XML {

class ByteSink
{
public:
    explicit ByteSink(bool bigEndian, qsizetype expected = 256)
        : m_bigEndian(bigEndian)
    {
        m_out.resize(std::max<qsizetype>(expected, 64));
        m_data = m_out.data();
    }

    // The bytes written; the sink is done with.
    QByteArray Take()
    {
        m_out.resize(m_size);
        return std::move(m_out);
    }

    void Int32(qint32 value) { Put(static_cast<quint32>(value)); }
    void Int64(qint64 value) { Put(static_cast<quint64>(value)); }

    // A length placeholder; Patch() writes the count of the bytes written after it.
    qsizetype BeginLength()
    {
        Int32(0);
        return m_size;
    }
    void Patch(qsizetype start)
    {
        Encode(static_cast<quint32>(m_size - start), m_data + start - 4);
    }

    // QDataStream's form of a QByteArray: its size, then its bytes; 0xFFFFFFFF for a null
    // array.
    void NullArray() { Int32(-1); }
    void Array(const char* data, qsizetype size)
    {
        Int32(static_cast<qint32>(size));
        Room(size);
        std::memcpy(m_data + m_size, data, static_cast<std::size_t>(size));
        m_size += size;
    }
    // The UTF-8 of a text as a byte array (a null text as a null array), as QString::toUtf8
    // gives it; a text with a surrogate is left to toUtf8.
    void Utf8Array(const QString& text)
    {
        if (text.isNull()) {
            NullArray();
            return;
        }
        const qsizetype size = text.size();
        const QChar* chars = text.constData();
        Room(4 + 3 * size);
        char* const start = m_data + m_size + 4;
        char* out = start;
        for (qsizetype i = 0; i < size; ++i) {
            const char16_t c = chars[i].unicode();
            if (c < 0x80) {
                *out++ = static_cast<char>(c);
            } else if (c < 0x800) {
                *out++ = static_cast<char>(0xC0 | (c >> 6));
                *out++ = static_cast<char>(0x80 | (c & 0x3F));
            } else if (c >= 0xD800 && c < 0xE000) {
                const QByteArray utf8 = text.toUtf8();
                Array(utf8.constData(), utf8.size());
                return;
            } else {
                *out++ = static_cast<char>(0xE0 | (c >> 12));
                *out++ = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
                *out++ = static_cast<char>(0x80 | (c & 0x3F));
            }
        }
        const auto length = static_cast<qint32>(out - start);
        Int32(length);
        m_size += length;
    }
    // A number's fixed text (REPORTGENERATOR::Numbers::Fixed) as a byte array.
    void FixedArray(double value, int fieldWidth, int decimals)
    {
        constexpr int Most = 64;
        Room(4 + Most);
        const int size = REPORTGENERATOR::Numbers::FixedAscii(value, fieldWidth, decimals,
                                                              m_data + m_size + 4, Most);
        if (size < 0) {
            QByteArray text;
            REPORTGENERATOR::Numbers::AppendFixed(text, value, fieldWidth, decimals);
            Array(text.constData(), text.size());
            return;
        }
        Int32(size);
        m_size += size;
    }

    qsizetype Size() const { return m_size; }
    // Room for `count` more bytes, and no more, at once.
    void Reserve(qsizetype count)
    {
        if (m_size + count <= m_out.size())
            return;
        m_out.resize(m_size + count);
        m_data = m_out.data();
    }

private:
    void Room(qsizetype count)
    {
        if (m_size + count <= m_out.size())
            return;
        m_out.resize(std::max<qsizetype>(qsizetype(m_out.size()) * 2, m_size + count));
        m_data = m_out.data();
    }
    template <class T> void Encode(T value, char* bytes) const
    {
        if (m_bigEndian)
            qToBigEndian(value, bytes);
        else
            qToLittleEndian(value, bytes);
    }
    template <class T> void Put(T value)
    {
        Room(sizeof(T));
        Encode(value, m_data + m_size);
        m_size += static_cast<qsizetype>(sizeof(T));
    }

    QByteArray m_out;
    char* m_data = nullptr;
    qsizetype m_size = 0;
    bool m_bigEndian;
};

} // namespace KVT317XML

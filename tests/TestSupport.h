#pragma once

#include <IRGObject.h>

#include <QBuffer>
#include <QByteArray>
#include <QDataStream>
#include <QFile>
#include <QString>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

// The bytes GetBinary writes for a record onto a big-endian memory stream.
inline QByteArray BinaryOf(const REPORTGENERATOR::IRGObject& record, int tag, bool withTag,
                           bool* written = nullptr)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QDataStream stream(&buffer);
    const bool result = record.GetBinary(stream, tag, withTag);
    if (written)
        *written = result;
    return bytes;
}

// The text GetXml writes for a record, without a document frame or indentation.
inline QString XmlOf(const REPORTGENERATOR::IRGObject& record)
{
    QString text;
    QXmlStreamWriter writer(&text);
    record.GetXml(writer);
    return text;
}

// Reads an element into a record through its own ProcessXml.
inline void ReadXml(REPORTGENERATOR::IRGObject& record, const QString& xml)
{
    QXmlStreamReader reader(xml);
    reader.readNextStartElement();
    record.ProcessXml(reader);
}

// Reads a tagless frame (its 32-bit length, then the entries) through SetBinary.
inline void ReadFrame(REPORTGENERATOR::IRGObject& record, QByteArray frame)
{
    QDataStream stream(&frame, QIODevice::ReadOnly);
    qint32 length = 0;
    stream >> length;
    record.SetBinary(stream, length);
}

#ifdef KVT317_SOURCE_DIR
// The bytes of a file under examples/.
inline QByteArray ExampleFile(const char* name)
{
    QFile file(QStringLiteral(KVT317_SOURCE_DIR "/examples/") + QLatin1String(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}
#endif

// Bytes from a hex text in which blanks are ignored.
inline QByteArray Hex(const char* hex)
{
    return QByteArray::fromHex(QByteArray(hex));
}

// A 32-bit big-endian length followed by the text's bytes: Qt's QByteArray stream form.
inline QByteArray Counted(const QByteArray& text)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << static_cast<qint32>(text.size());
    bytes.append(text);
    return bytes;
}

#include <ostream>

// Readable failure output for Qt's text and byte types.
inline void PrintTo(const QByteArray& bytes, std::ostream* os)
{
    *os << bytes.constData();
}
inline void PrintTo(const QString& text, std::ostream* os)
{
    *os << '"' << text.toStdString() << '"';
}
inline void PrintTo(const QStringList& lines, std::ostream* os)
{
    *os << "[" << lines.join(QStringLiteral(" | ")).toStdString() << "]";
}

#include "DocumentInternals.h"
#include "IRGObject.h"
#include "ReadTap.h"

#include <QBuffer>
#include <QFile>
#include <QFileDevice>

#include <algorithm>

namespace REPORTGENERATOR {

namespace {

QString Hex32(qint32 value)
{
    return QStringLiteral("%1").arg(static_cast<quint32>(value), 8, 16, QLatin1Char('0')).toUpper();
}

} // namespace

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

} // namespace REPORTGENERATOR

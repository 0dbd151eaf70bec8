#include "DocumentInternals.h"
#include "IRGObject.h"

#include <QIODevice>

#include <algorithm>
#include <atomic>
#include <limits>

#include <zlib.h>

namespace REPORTGENERATOR {

namespace {

// The inflation limit; see IRGObject::SetMaxInflatedSize.
std::atomic<qint64> inflationLimit{qint64(256) * 1024 * 1024};
// Output a first pass of inflation keeps; longer documents are inflated twice.
constexpr qint64 FirstPassSize = 1024 * 1024;

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

} // namespace

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

QByteArray Compressed(const QByteArray& frame, int level)
{
    const QByteArray packed = Deflate(frame, level);
    QByteArray data;
    QDataStream stream(&data, QIODevice::WriteOnly);
    DocumentFormat format(stream);
    stream << CompressedMarker << packed;
    return data;
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

} // namespace REPORTGENERATOR

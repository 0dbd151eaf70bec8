#pragma once

// Hostile documents, made by hand byte for byte (or from the examples), for the tests that
// reproduce each class of damaged or crafted input.

#include "TestSupport.h"

#include <KVT317_Settings.h>

#include <QString>
#include <QStringList>

#include <algorithm>

#include <gtest/gtest.h>
#include <zlib.h>

namespace hostile {

// A compressed document: the marker "KVTZ", then the zlib data as a counted byte array.
inline QByteArray Compressed(const QByteArray& packed)
{
    return Hex("4B56545A") + Counted(packed);
}

// zlib data that inflates to `size` copies of `fill`, made without holding them.
inline QByteArray Deflated(qint64 size, char fill = '\0', const QByteArray& head = QByteArray())
{
    z_stream zs{};
    deflateInit(&zs, Z_BEST_COMPRESSION);
    const QByteArray block(1 << 20, fill);
    QByteArray packed;
    char out[1 << 16];
    const auto feed = [&](const char* data, qint64 count, int flush) {
        zs.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data));
        zs.avail_in = static_cast<uInt>(count);
        do {
            zs.next_out = reinterpret_cast<Bytef*>(out);
            zs.avail_out = sizeof out;
            deflate(&zs, flush);
            packed.append(out, static_cast<int>(sizeof out - zs.avail_out));
        } while (zs.avail_out == 0);
    };
    feed(head.constData(), head.size(), Z_NO_FLUSH);
    for (qint64 left = size; left > 0;) {
        const qint64 now = std::min<qint64>(left, block.size());
        left -= now;
        feed(block.constData(), now, Z_NO_FLUSH);
    }
    feed(nullptr, 0, Z_FINISH);
    deflateEnd(&zs);
    return packed;
}

// A KVT317_Settings frame whose detail list holds `count` items that carry nothing: each is
// only its 32-bit length 0.
inline QByteArray EmptyItemsFrame(int count)
{
    const qint32 payload = 4 + 4 * count;
    QByteArray frame;
    QDataStream stream(&frame, QIODevice::WriteOnly);
    stream << qint32(0x5DF5F465) << qint32(8 + payload) << qint32(0x09751B80) << payload
           << qint32(count);
    frame.append(QByteArray(4 * count, '\0'));
    return frame;
}

// 20 bytes: a KVT317_Settings frame of 12 bytes whose list entry declares a payload length
// and an item count of 2^31 - 1.
inline QByteArray HugeCountFrame()
{
    return Hex("5DF5F465 0000000C 09751B80 7FFFFFFF 7FFFFFFF");
}

// 20 bytes: a list entry whose payload length is INT_MIN, with one item.
inline QByteArray IntMinPayloadFrame()
{
    return Hex("5DF5F465 0000000C 09751B80 80000000 00000001");
}

// 100,000 empty elements nested in each other.
inline QString DeepElements()
{
    return QStringLiteral("<n>").repeated(100000) + QStringLiteral("</n>").repeated(100000);
}

// The example settings document with deep nesting in a member element, in an unknown
// element, and directly in the root; each reads as the example itself.
inline QStringList DeepSettingsDocuments()
{
    const QString example = QString::fromUtf8(ExampleFile("settings.xml"));
    const QString member = QStringLiteral("<BlockAveragingTime>");
    const auto at = example.indexOf(member);
    const auto detail = example.indexOf(QStringLiteral("<KVT317SettingsDetail"));
    if (at < 0 || detail < 0)
        return QStringList();
    return QStringList{QString(example).insert(at + member.size(), DeepElements()),
                       QString(example).insert(at, QStringLiteral("<U>") + DeepElements() +
                                                       QStringLiteral("</U>")),
                       QString(example).insert(detail, DeepElements())};
}

// Expects xml to load into a settings document equal to the example's, without a report.
inline void ExpectReadsAsExample(const QString& xml)
{
    KVT317XML::KVT317_Settings expected;
    ASSERT_TRUE(expected.SetXmlString(QString::fromUtf8(ExampleFile("settings.xml")), true));
    KVT317XML::KVT317_Settings settings;
    LogCapture log;
    settings.SetLogger(log.logger);
    EXPECT_TRUE(settings.SetXmlString(xml, true));
    EXPECT_TRUE(settings == expected);
    EXPECT_EQ(log.lines, QStringList());
}

// The one report of a settings frame whose lengths do not add up.
inline QString SettingsLengthError()
{
    return QStringLiteral("ERROR: KVT317_Settings::SetBinary(...): Length error occurred during "
                          "processing of binary representation");
}

// Expects a settings frame to be refused with its length error, leaving the record empty.
inline void ExpectLengthError(QByteArray frame)
{
    KVT317XML::KVT317_Settings settings;
    LogCapture log;
    settings.SetLogger(log.logger);
    EXPECT_FALSE(settings.SetBinaryRepresentation(frame));
    EXPECT_FALSE(settings.IsInitialized() && settings.AnyData());
    EXPECT_EQ(log.lines, QStringList(SettingsLengthError()));
}

} // namespace hostile

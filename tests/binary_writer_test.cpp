// The binary writer builds a frame in one byte array and hands it to the stream at once: into
// an empty buffer shared, onto any other device in one write. Whatever the device, the bytes
// are those of the form, written out here.

#include "TestSupport.h"

#include <FrequencyRange.h>
#include <KVT317SettingsDetail.h>
#include <KVT317_Settings.h>

#include <QBuffer>
#include <QDataStream>
#include <QIODevice>

#include <gtest/gtest.h>

#include <initializer_list>
#include <limits>

using namespace KVT317XML;

namespace {

// A device that takes what is written, random-access or sequential; not a buffer.
class SinkDevice final : public QIODevice
{
public:
    explicit SinkDevice(bool sequential)
        : m_sequential(sequential)
    {
        open(QIODevice::WriteOnly | QIODevice::Unbuffered);
    }
    bool isSequential() const override { return m_sequential; }
    QByteArray written;

protected:
    qint64 readData(char*, qint64) override { return -1; }
    qint64 writeData(const char* data, qint64 size) override
    {
        written.append(data, static_cast<int>(size));
        return size;
    }

private:
    bool m_sequential;
};

// The frame of `record` (without a tag) as each kind of device receives it; they must agree.
QByteArray Written(const Record& record, QDataStream::ByteOrder order = QDataStream::BigEndian)
{
    QByteArray empty;
    QBuffer emptyBuffer(&empty);
    emptyBuffer.open(QIODevice::WriteOnly);
    QByteArray filled("head");
    QBuffer filledBuffer(&filled);
    filledBuffer.open(QIODevice::WriteOnly | QIODevice::Append);
    SinkDevice randomAccess(false);
    SinkDevice sequential(true);
    for (QIODevice* device : std::initializer_list<QIODevice*>{&emptyBuffer, &filledBuffer,
                                                               &randomAccess, &sequential}) {
        QDataStream stream(device);
        stream.setByteOrder(order);
        EXPECT_TRUE(record.GetBinary(stream, 0, false));
    }
    EXPECT_EQ(filled, QByteArray("head") + empty);
    EXPECT_EQ(randomAccess.written, empty);
    EXPECT_EQ(sequential.written, empty);
    return empty;
}

} // namespace

TEST(BinaryWriter, EveryDeviceReceivesTheFrame)
{
    EXPECT_EQ(Written(FullySetDetail()), Hex(FullySetDetailHex));
}

TEST(BinaryWriter, ALittleEndianStreamTurnsEveryInteger)
{
    const QByteArray bytes = Written(FullySetDetail(), QDataStream::LittleEndian);
    // Length 0x13A, then Name (tag 0x58D44D66, payload 5: a 1-byte array "D"), then index 3.
    EXPECT_EQ(bytes.left(34), Hex("3A010000"
                                  "664DD458050000000100000044"
                                  "5FFAF2CF080000000300000000000000"
                                  "F8"));
    EXPECT_EQ(bytes.size(), 0x13A + 4);
}

TEST(BinaryWriter, TextsGoAsUtf8AndNullTextsAsNullArrays)
{
    KVT317SettingsDetail detail = FullySetDetail();
    detail.SetName(QStringLiteral("\u00C4\u20AC\U0001F600"));
    EXPECT_TRUE(Written(detail).contains(Hex("58D44D660000000D00000009C384E282ACF09F9880")));
    detail.SetName(QString());
    EXPECT_TRUE(Written(detail).contains(Hex("58D44D6600000004FFFFFFFF")));
    detail.SetName(QStringLiteral(""));
    EXPECT_TRUE(Written(detail).contains(Hex("58D44D660000000400000000")));
}

// Numbers straight into the frame: ties away from zero, the field width of the bearing's
// frequency, a value the fast path leaves to Qt.
TEST(BinaryWriter, NumberTextsAsQtWritesThem)
{
    FrequencyRange range;
    range.SetStartFrequency(0.125);
    range.SetStopFrequency(std::numeric_limits<double>::infinity());
    EXPECT_EQ(Written(range), Hex("0000001F"
                                  "2D99DCB90000000800000004302E3133"
                                  "7ADC955A000000070000000369"
                                  "6E66"));
}

TEST(BinaryWriter, AFailedStreamReceivesNothing)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QDataStream stream(&buffer);
    stream.setStatus(QDataStream::WriteFailed);
    EXPECT_TRUE(FullySetDetail().GetBinary(stream, 0, false));
    EXPECT_TRUE(bytes.isEmpty());
    EXPECT_EQ(buffer.pos(), 0);
}

// A thousand details, some with texts of every width, written alike onto every device; the
// frame reads back to the same bytes.
TEST(BinaryWriter, ALargeDocumentIsWrittenAlikeAndReadsBack)
{
    KVT317_Settings settings;
    for (int i = 0; i < 1000; ++i) {
        KVT317SettingsDetail detail = FullySetDetail();
        detail.SetName(i % 2 ? QStringLiteral("\u00E9t\u00E9 %1").arg(i) : QString::number(i));
        settings.AppendKVT317SettingsDetail(detail);
    }
    const QByteArray frame = Written(settings);
    EXPECT_EQ(frame.size(), 322906);
    KVT317_Settings readBack;
    QDataStream in(frame);
    qint32 length = 0;
    in >> length;
    readBack.SetBinary(in, length);
    EXPECT_EQ(Written(readBack), frame);
}

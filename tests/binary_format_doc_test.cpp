// The worked example at the end of docs/binary-format.md is what the library writes.

#include "TestSupport.h"

#include <KVT317_Settings.h>

#include <QFile>
#include <QRegularExpression>

#include <gtest/gtest.h>

using KVT317XML::FrequencyRange;
using KVT317XML::KVT317_Settings;
using Detail = KVT317XML::KVT317SettingsDetail;

namespace {

// The bytes of the example table: lines "OFFSET | BYTES | what they are" in the fenced block
// after the heading "## Worked example". Each offset must be the count of the bytes before it.
QByteArray DocumentedExample(QString* fault)
{
    QFile file(QStringLiteral(KVT317_SOURCE_DIR "/docs/binary-format.md"));
    if (!file.open(QIODevice::ReadOnly)) {
        *fault = QStringLiteral("cannot read docs/binary-format.md");
        return {};
    }
    const QString text = QString::fromUtf8(file.readAll());
    const int section = text.indexOf(QLatin1String("\n## Worked example\n"));
    const int begin = text.indexOf(QLatin1String("\n```text\n"), section);
    const int end = text.indexOf(QLatin1String("\n```\n"), begin + 1);
    if (section < 0 || begin < 0 || end < 0) {
        *fault = QStringLiteral("no example block");
        return {};
    }
    static const QRegularExpression line(
        QStringLiteral("^([0-9A-F]{4}) \\| ((?:[0-9A-F]{2} )*[0-9A-F]{2}) +\\| .+$"));
    QByteArray bytes;
    const QStringList lines = text.mid(begin + 9, end - begin - 9).split(QLatin1Char('\n'));
    for (const QString& row : lines) {
        const QRegularExpressionMatch match = line.match(row);
        if (!match.hasMatch()) {
            *fault = QStringLiteral("line not in the table's form: ") + row;
            return {};
        }
        if (match.captured(1).toInt(nullptr, 16) != bytes.size()) {
            *fault = QStringLiteral("wrong offset: ") + row;
            return {};
        }
        bytes += QByteArray::fromHex(match.captured(2).toLatin1());
    }
    return bytes;
}

KVT317_Settings ExampleDocument()
{
    Detail detail;
    detail.SetName(QStringLiteral("North"));
    detail.Setindex(1);
    detail.SetAntennaPol(Detail::AntennaPol_VERT);
    detail.SetAntPreAmp(Detail::AntPreAmp_ON);
    detail.SetAverageMode(Detail::AverageMode_NORM);
    detail.SetBandwidthDF(Detail::BandwidthDF_12_5_kHz);
    detail.SetBlockAveragingTime(100);
    detail.SetDF_Alt(Detail::DF_Alt_CORRELATION);
    FrequencyRange range;
    range.SetStartFrequency(118e6);
    range.SetStopFrequency(137e6);
    detail.SetFrequencyRange(range);
    detail.SetReal_Time_Bandwidth(Detail::Real_Time_Bandwidth_20_MHz);
    detail.SetScanMemoryID(10);
    detail.SetDFPan_Selectivity(Detail::DFPan_Selectivity_NARROW);
    detail.SetThreshold(-10);
    detail.SetStopTime(QDateTime(QDate(2026, 11, 30), QTime(18, 0), Qt::UTC));
    detail.SetAttSelect(Detail::AttSelect_AUTO);
    detail.SetAttenuationHoldValue(12.5f);
    detail.SetAttenuationHoldTime(250.0f);
    KVT317_Settings settings;
    settings.AppendKVT317SettingsDetail(detail);
    return settings;
}

TEST(BinaryFormatDocument, WorkedExampleIsWhatTheLibraryWrites)
{
    QString fault;
    const QByteArray documented = DocumentedExample(&fault);
    ASSERT_TRUE(fault.isEmpty()) << fault.toStdString();
    EXPECT_EQ(documented.size(), 373);
    EXPECT_EQ(ExampleDocument().GetBinaryRepresentationAsQByteArray().toHex(' ').toUpper(),
              documented.toHex(' ').toUpper());
}

TEST(BinaryFormatDocument, WorkedExampleReadsBackCompletely)
{
    QString fault;
    QByteArray documented = DocumentedExample(&fault);
    ASSERT_TRUE(fault.isEmpty()) << fault.toStdString();
    LogCapture log;
    KVT317_Settings settings;
    settings.SetLogger(log.logger);
    ASSERT_TRUE(settings.SetBinaryRepresentation(documented));
    settings.Check(true);
    EXPECT_EQ(log.lines, QStringList());
    EXPECT_TRUE(settings == ExampleDocument());
}

TEST(BinaryFormatDocument, CompressedContainerHoldsTheSameFrame)
{
    QString fault;
    const QByteArray documented = DocumentedExample(&fault);
    ASSERT_TRUE(fault.isEmpty()) << fault.toStdString();
    const QByteArray compressed =
        ExampleDocument().GetCompressedBinaryRepresentationAsQByteArray(-1);
    EXPECT_EQ(compressed.left(4), Hex("4B56545A"));
    EXPECT_EQ(compressed.mid(8, 2), Hex("789C"));
    EXPECT_EQ(REPORTGENERATOR::IRGObject::PlainFrame(compressed), documented);
}

} // namespace

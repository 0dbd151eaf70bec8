// Opening a document in one call: the load's findings and the check's, placed from what the
// one load kept (no second read), labelled, and printed as FILE:LINE:COLUMN lines.

#include "TestSupport.h"

#include <DocumentSave.h>
#include <KVT317SettingsDetail.h>
#include <KVT317_Settings.h>
#include <OpenDocument.h>

#include <QBuffer>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace KVT317XML;
using REPORTGENERATOR::TextEncoding;

namespace {

int AntennaPolBit()
{
    return KVT317SettingsDetail::Description().FindName(QStringLiteral("AntennaPol"))->bit;
}

// A device that counts what is read from it.
class CountingDevice : public QBuffer
{
public:
    explicit CountingDevice(const QByteArray& bytes)
    {
        setData(bytes);
        open(QIODevice::ReadOnly);
    }
    qint64 reads = 0;
    qint64 bytesRead = 0;

protected:
    qint64 readData(char* data, qint64 size) override
    {
        const qint64 read = QBuffer::readData(data, size);
        ++reads;
        bytesRead += read > 0 ? read : 0;
        return read;
    }
};

// Two details: the first's Threshold missing, the second's AntennaPol unknown and its
// frequency range without its start.
const char* const Damaged = R"(<?xml version="1.0" encoding="UTF-8"?>
<KVT317_Settings>
  <KVT317SettingsDetail Name="VHF airband" index="1">
    <AntennaPol>VERT</AntennaPol>
    <AntPreAmp>ON</AntPreAmp>
    <AverageMode>NORM</AverageMode>
    <BandwidthDF>25.0 kHz</BandwidthDF>
    <BlockAveragingTime>100</BlockAveragingTime>
    <DF_Alt>CORRELATION</DF_Alt>
    <FrequencyRange>
      <StartFrequency>118000000.00</StartFrequency>
      <StopFrequency>137000000.00</StopFrequency>
    </FrequencyRange>
    <Real_Time_Bandwidth>20 MHz</Real_Time_Bandwidth>
    <ScanMemoryID>10</ScanMemoryID>
    <DFPan_Selectivity>NARROW</DFPan_Selectivity>
    <StopTime>2026-11-30T18:00:00,000Z</StopTime>
    <AttSelect>AUTO</AttSelect>
    <AttenuationHoldValue>12.50</AttenuationHoldValue>
    <AttenuationHoldTime>250.00</AttenuationHoldTime>
  </KVT317SettingsDetail>
  <KVT317SettingsDetail Name="Marine VHF" index="2">
    <AntPreAmp>ON</AntPreAmp>
    <AverageMode>GATE</AverageMode>
    <BandwidthDF>12.5 kHz</BandwidthDF>
    <BlockAveragingTime>100</BlockAveragingTime>
    <DF_Alt>WATSONWATT</DF_Alt>
    <FrequencyRange>
      <StopFrequency>162025000.00</StopFrequency>
    </FrequencyRange>
    <Real_Time_Bandwidth>10 MHz</Real_Time_Bandwidth>
    <ScanMemoryID>20</ScanMemoryID>
    <DFPan_Selectivity>NARROW</DFPan_Selectivity>
    <Threshold>15</Threshold>
    <StopTime>2026-11-30T18:00:00,000Z</StopTime>
    <AttSelect>AUTO</AttSelect>
    <AttenuationHoldValue>12.50</AttenuationHoldValue>
    <AntennaPol>diagonal</AntennaPol>
    <AttenuationHoldTime>250.00</AttenuationHoldTime>
  </KVT317SettingsDetail>
</KVT317_Settings>
)";

const QStringList DamagedLines = {
    QStringLiteral("damaged.xml:3:3: warning: KVT317SettingsDetail[1] (\"VHF airband\"): "
                   "KVT317_Settings: Tried to append not completely defined or invalid item "
                   "KVT317SettingsDetail."),
    QStringLiteral("damaged.xml:3:3: error: KVT317SettingsDetail[1] (\"VHF airband\"): "
                   "KVT317SettingsDetail: Please set Threshold properly."),
    QStringLiteral("damaged.xml:22:3: warning: KVT317SettingsDetail[2] (\"Marine VHF\"): "
                   "KVT317_Settings: Tried to append not completely defined or invalid item "
                   "KVT317SettingsDetail."),
    QStringLiteral("damaged.xml:28:5: error: KVT317SettingsDetail[2].FrequencyRange (\"Marine "
                   "VHF\"): FrequencyRange: Please set StartFrequency properly."),
    QStringLiteral("damaged.xml:38:5: error: KVT317SettingsDetail[2] (\"Marine VHF\"): "
                   "AntennaPol: unknown name 'diagonal' (read as invalid); allowed: VERT, HOR, "
                   "LEFT, RIGHT"),
    QStringLiteral("damaged.xml:38:5: warning: KVT317SettingsDetail[2] (\"Marine VHF\"): enum "
                   "is not valid (classname=KVT317SettingsDetail,membername=m_antennaPol)"),
    QStringLiteral("damaged.xml:38:5: error: KVT317SettingsDetail[2] (\"Marine VHF\"): "
                   "KVT317SettingsDetail: Please set AntennaPol properly."),
};

} // namespace

TEST(OpenDocument, XmlFromBytesHasTheCheckPlacedAndLabelled)
{
    const auto document = OpenSettingsBytes(QByteArray(Damaged), QStringLiteral("damaged.xml"));
    ASSERT_TRUE(document->loaded);
    EXPECT_EQ(document->form, DocumentForm::Xml);
    EXPECT_EQ(document->type, QStringLiteral("KVT317_Settings"));
    EXPECT_EQ(FindingLines(document->label, document->findings), DamagedLines);
    EXPECT_EQ(document->findings.Errors(), 4);
    EXPECT_EQ(document->findings.Warnings(), 3);
}

// A UTF-16 file, with or without its byte-order mark, is detected as XML in UTF-16 and
// placed as its UTF-8 twin, from bytes and from a file.
TEST(OpenDocument, Utf16XmlIsDetectedAndPlacedLikeUtf8)
{
    const QString text =
        QString::fromUtf8(Damaged).replace(QStringLiteral("UTF-8"), QStringLiteral("UTF-16"));
    struct Case {
        const char* name;
        bool little, mark;
        TextEncoding encoding;
    };
    for (const Case& form :
         {Case{"LE with mark", true, true, TextEncoding::Utf16LittleEndian},
          Case{"BE with mark", false, true, TextEncoding::Utf16BigEndian},
          Case{"LE without mark", true, false, TextEncoding::Utf16LittleEndian}}) {
        SCOPED_TRACE(form.name);
        // Written out byte by byte here, never by the library.
        QByteArray bytes;
        if (form.mark)
            bytes += form.little ? QByteArray("\xFF\xFE", 2) : QByteArray("\xFE\xFF", 2);
        for (const QChar c : text) {
            const char low = char(c.unicode() & 0xFF), high = char(c.unicode() >> 8);
            bytes.append(form.little ? low : high);
            bytes.append(form.little ? high : low);
        }
        const auto fromBytes = OpenSettingsBytes(bytes, QStringLiteral("damaged.xml"));
        ASSERT_TRUE(fromBytes->loaded);
        EXPECT_EQ(fromBytes->form, DocumentForm::Xml);
        EXPECT_EQ(fromBytes->detected.encoding, form.encoding);
        EXPECT_EQ(fromBytes->detected.byteOrderMark, form.mark);
        EXPECT_EQ(FindingLines(fromBytes->label, fromBytes->findings), DamagedLines);

        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("damaged.xml"));
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(bytes), bytes.size());
        file.close();
        const auto fromFile = OpenSettingsDocument(path);
        ASSERT_TRUE(fromFile->loaded);
        EXPECT_EQ(fromFile->detected.encoding, form.encoding);
        EXPECT_EQ(FindingLines(QStringLiteral("damaged.xml"), fromFile->findings), DamagedLines);
    }
}

// Lines end as XML reads them: CR LF, or a CR alone.
TEST(OpenDocument, XmlPlacesCountEveryKindOfLineBreak)
{
    for (const char* end : {"\r\n", "\r"}) {
        SCOPED_TRACE(QByteArray(end).toHex().toStdString());
        const QByteArray bytes = QByteArray(Damaged).replace("\n", end);
        const auto document = OpenSettingsBytes(bytes, QStringLiteral("damaged.xml"));
        EXPECT_EQ(FindingLines(document->label, document->findings), DamagedLines);
    }
}

TEST(OpenDocument, XmlCheckReadsTheDeviceOnce)
{
    const QByteArray bytes(Damaged);
    CountingDevice device(bytes);
    const auto document = OpenSettingsDocument(device, QStringLiteral("damaged.xml"));
    EXPECT_EQ(device.bytesRead, bytes.size());
    EXPECT_EQ(FindingLines(document->label, document->findings), DamagedLines);
    // The places came from that one load: the record and member as the load met them.
    const ReadPath second{ReadStep{0, 1}};
    const FindingPlace record = document->places.Record(second);
    EXPECT_EQ(record.line, 22);
    EXPECT_EQ(record.column, 3);
    const FindingPlace member = document->places.Member(second, AntennaPolBit(), &document->text);
    EXPECT_EQ(member.line, 38);
    EXPECT_EQ(member.column, 5);
    EXPECT_EQ(document->text.mid(static_cast<int>(member.offset), 12),
              QStringLiteral("<AntennaPol>"));
}

TEST(OpenDocument, WithoutCheckOnlyTheLoadSpeaks)
{
    OpenOptions options;
    options.check = false;
    const auto document =
        OpenSettingsBytes(QByteArray(Damaged), QStringLiteral("damaged.xml"), options);
    EXPECT_EQ(FindingLines(document->label, document->findings),
              QStringList({DamagedLines.at(0), DamagedLines.at(2), DamagedLines.at(4),
                           DamagedLines.at(5)}));
    EXPECT_FALSE(document->checked);
    CheckOpenedDocument(*document, false, false);
    EXPECT_EQ(document->record, nullptr);
    EXPECT_EQ(document->findings.Errors(), 4);
    EXPECT_EQ(FindingLines(document->label, document->findings), DamagedLines);
}

namespace {

// The shipped settings, the second detail with an AntennaPol beyond its names and an empty
// fourth detail, in binary.
QByteArray DamagedBinary()
{
    KVT317_Settings settings;
    settings.SetLogger(nullptr);
    EXPECT_TRUE(settings.SetXmlString(QString::fromUtf8(ExampleFile("settings.xml")), true));
    QVector<KVT317SettingsDetail> details = settings.GetKVT317SettingsDetail();
    details.append(KVT317SettingsDetail());
    details[1].SetLogger(nullptr);
    details[1].SetAntennaPol(static_cast<KVT317SettingsDetail::AntennaPol>(9));
    settings.SetKVT317SettingsDetail(details);
    return settings.GetBinaryRepresentationAsQByteArray();
}

} // namespace

TEST(OpenDocument, BinaryCheckIsPlacedAtOffsetsFromTheOneRead)
{
    const QByteArray bytes = DamagedBinary();
    CountingDevice device(bytes);
    const auto document = OpenSettingsDocument(device, QStringLiteral("damaged.bin"));
    EXPECT_EQ(device.bytesRead, bytes.size());
    EXPECT_EQ(document->form, DocumentForm::Binary);
    // Check's findings at the member's entry (AntennaPol of item 2 at offset 421) or at the
    // item's start (item 4 at 1093), as `kvt317 dump` lists them; the frequency range of
    // item 4 has no entry to stand at.
    EXPECT_EQ(
        FindingLines(document->label, document->findings),
        QStringList({
            QStringLiteral(
                "damaged.bin:1:422: warning: KVT317SettingsDetail[2] (\"Marine VHF\"): "
                "enum is not valid (classname=KVT317SettingsDetail,membername=m_antennaPol)"),
            QStringLiteral("damaged.bin:1:422: error: KVT317SettingsDetail[2] (\"Marine VHF\"): "
                           "KVT317SettingsDetail: Please set AntennaPol properly."),
            QStringLiteral("damaged.bin:1:1094: warning: KVT317SettingsDetail[4]: KVT317_Settings: "
                           "Tried to append not completely defined or invalid item "
                           "KVT317SettingsDetail."),
            QStringLiteral(
                "damaged.bin:1:1129: warning: KVT317SettingsDetail[4]: enum is not valid "
                "(classname=KVT317SettingsDetail,membername=m_averageMode)"),
            QStringLiteral("damaged.bin:1:1129: error: KVT317SettingsDetail[4]: "
                           "KVT317SettingsDetail: Please set AverageMode properly."),
            QStringLiteral(
                "damaged.bin:1:1141: warning: KVT317SettingsDetail[4]: enum is not valid "
                "(classname=KVT317SettingsDetail,membername=m_bandwidthDF)"),
            QStringLiteral("damaged.bin:1:1141: error: KVT317SettingsDetail[4]: "
                           "KVT317SettingsDetail: Please set BandwidthDF properly."),
            QStringLiteral("damaged.bin: error: KVT317SettingsDetail[4].FrequencyRange: "
                           "FrequencyRange: Please set StartFrequency properly."),
            QStringLiteral("damaged.bin: error: KVT317SettingsDetail[4].FrequencyRange: "
                           "FrequencyRange: Please set StopFrequency properly."),
        }));
    const FindingPlace member = document->places.Member(ReadPath{ReadStep{0, 1}}, AntennaPolBit());
    EXPECT_EQ(member.offset, 421);
    EXPECT_EQ(member.line, 1);
    EXPECT_EQ(member.column, 422);
    EXPECT_EQ(document->places.Record(ReadPath{ReadStep{0, 3}}).offset, 1093);
}

TEST(OpenDocument, JsonCheckIsPlacedAtTheRecordsKey)
{
    const QByteArray json("{\"KVT317_Settings\": {\"KVT317SettingsDetail\": [\n"
                          "  {\"Name\": \"A\", \"index\": 1, \"AntennaPol\": \"VERT\",\n"
                          "   \"FrequencyRange\": {\"StartFrequency\": 1}}\n"
                          "]}}\n");
    const auto document = OpenSettingsBytes(json, QStringLiteral("a.json"));
    ASSERT_TRUE(document->loaded);
    EXPECT_EQ(document->form, DocumentForm::Json);
    // The item stands at its brace, its frequency range at its key.
    const QStringList lines = FindingLines(document->label, document->findings);
    ASSERT_EQ(lines.size(), 15);
    EXPECT_EQ(lines.at(1), QStringLiteral("a.json:2:3: error: KVT317SettingsDetail[1] (\"A\"): "
                                          "KVT317SettingsDetail: Please set AntPreAmp properly."));
    EXPECT_EQ(lines.at(14),
              QStringLiteral("a.json:3:4: error: KVT317SettingsDetail[1].FrequencyRange (\"A\"): "
                             "FrequencyRange: Please set StopFrequency properly."));
}

TEST(OpenDocument, MovedPlacesAreEmpty)
{
    const auto document = OpenSettingsBytes(QByteArray(Damaged), QStringLiteral("damaged.xml"));
    SourcePlaces places = std::move(document->places);
    EXPECT_EQ(places.Record(ReadPath{ReadStep{0, 1}}).line, 22);
    EXPECT_TRUE(document->places.IsEmpty());
    EXPECT_FALSE(document->places.Record(ReadPath{ReadStep{0, 1}}).Known());
}

// A save of what was opened: lossless, or refused unless its changes are accepted.
TEST(OpenDocument, ASaveReviewListsWhatWritingWouldChange)
{
    const QByteArray example = ExampleFile("settings.xml");
    QByteArray bytes = example;
    bytes.replace("<AntennaPol>VERT</AntennaPol>\n",
                  "<AntennaPol>VERT</AntennaPol>\n    <Colour>red</Colour>\n");
    const auto document = OpenSettingsBytes(bytes, QStringLiteral("a.xml"));
    ASSERT_TRUE(document->loaded);
    DocumentSaveRequest request;
    request.form = DocumentForm::Xml;
    const DocumentSaveReview review = ReviewDocumentSave(*document, *document->record, request);
    EXPECT_EQ(review.refusal, QString());
    EXPECT_EQ(review.lines,
              QStringList({QStringLiteral("a.xml:5:5: error: KVT317SettingsDetail[1] (\"VHF "
                                          "airband\"): unknown element 'Colour' (ignored)")}));
    EXPECT_EQ(review.blocking, 1);
    EXPECT_EQ(review.uncarried, 0);
    EXPECT_EQ(review.added, 0);
    EXPECT_FALSE(review.Writable(false));
    EXPECT_TRUE(review.Writable(true));
    // What is written is the shipped file, which the unknown element was added to.
    EXPECT_EQ(review.bytes, example);

    // The shipped file itself saves as it is.
    const auto shipped = OpenSettingsBytes(example, QStringLiteral("settings.xml"));
    const DocumentSaveReview lossless = ReviewDocumentSave(*shipped, *shipped->record, request);
    EXPECT_EQ(lossless.lines, QStringList());
    EXPECT_EQ(lossless.blocking, 0);
    EXPECT_TRUE(lossless.Writable(false));
}

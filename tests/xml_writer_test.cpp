// Whole-document XML saves through the library's byte writer against QXmlStreamWriter alone:
// the same bytes, reports, findings and refusals, on every document of the repository, on
// generated documents with random texts, and on documents written out here by hand.

#include "RepositoryDocuments.h"
#include "TestSupport.h"
#include "XmlWriterCompare.h"

#include <Documents.h>
#include <XmlByteWriter.h>

#include <QBuffer>
#include <QDirIterator>
#include <QXmlStreamWriter>

#include <gtest/gtest.h>

#include <random>
#include <vector>

using namespace KVT317XML;

namespace {

// The XML documents of the repository: files and the XML fuzz corpora.
std::vector<QByteArray> RepositoryDocuments()
{
    return repository::XmlDocuments({});
}

// Every record a document loads into, each saved both ways, with validation off and on,
// with and without an observer.
void ExpectSameEveryWay(const QByteArray& document)
{
    for (int kind = 0; kind < 3; ++kind) {
        const std::unique_ptr<Record> record = xmlpathscompare::NewRecord(kind);
        record->SetLogger(std::make_shared<REPORTGENERATOR::Logger>(
            [](REPORTGENERATOR::LogLevel, const QString&) {}));
        try {
            record->SetXmlString(QString::fromUtf8(document), true);
        } catch (const REPORTGENERATOR::RGException&) {
        }
        for (int variant = 0; variant < 4; ++variant) {
            record->SetValidate(variant & 1);
            ASSERT_EQ(xmlwritercompare::Difference(*record, variant & 2), "")
                << document.toStdString();
        }
    }
}

// A random text of the characters that make writers differ.
QString RandomText(std::mt19937& random)
{
    static const char16_t pieces[] = {
        u'a',   u'Z',   u'0',   u' ',   u'<',   u'>', u'&',   u'"',   u'\'',  u'\r',
        u'\n',  u'\t',  0x01,   0x0B,   0x1F,   0x7F, 0xE9,   0x20AC, 0xFFFE, 0xFFFF,
        0xD800, 0xDBFF, 0xDC00, 0xDFFF, 0xFFFD, 0x85, 0x2028, u';',   u'#',   u'='};
    QString text;
    const int size = int(random() % 12);
    for (int i = 0; i < size; ++i) {
        if (random() % 8 == 0) {
            text += QChar(char16_t(0xD83D)); // a pair: U+1F600
            text += QChar(char16_t(0xDE00));
            continue;
        }
        text += QChar(pieces[random() % (sizeof(pieces) / sizeof(*pieces))]);
    }
    return text;
}

// Sets every text member of the record and of the records it holds to a random text.
void RandomTexts(Record& record, std::mt19937& random)
{
    const RecordDescription& description = record.GetDescription();
    for (const MemberDescription& member : description.members) {
        if (member.kind == MemberKind::Text && random() % 4 != 0)
            record.SetMemberValue(member.bit, RandomText(random));
        else if (member.kind == MemberKind::Record && record.MutableChild(member.bit))
            RandomTexts(*record.MutableChild(member.bit), random);
        else if (member.kind == MemberKind::RecordList)
            for (int i = 0; i < record.ListSize(member.bit); ++i)
                RandomTexts(*record.MutableListItem(member.bit, i), random);
    }
}

QByteArray SavedBytes(const Record& record, bool streamWriter, bool* saved = nullptr)
{
    REPORTGENERATOR::SetXmlStreamWriterOnly(streamWriter);
    const QTemporaryDir folder(xmlwritercompare::Folder());
    const QString path = folder.path() + QStringLiteral("/saved.xml");
    const bool written = record.SaveXml(path);
    if (saved)
        *saved = written;
    REPORTGENERATOR::SetXmlStreamWriterOnly(false);
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

TEST(XmlWriter, AgreesOnEveryRepositoryDocument)
{
    const std::vector<QByteArray> documents = RepositoryDocuments();
    ASSERT_GT(documents.size(), 100u);
    for (const QByteArray& document : documents) {
        ExpectSameEveryWay(document);
        if (HasFatalFailure())
            return;
    }
}

TEST(XmlWriter, AgreesOnGeneratedDocumentsWithRandomTexts)
{
    for (const int size : {1, 20, 200}) {
        const QByteArray document = bench::DocumentOf(size).xml.toUtf8();
        ExpectSameEveryWay(document);
        std::mt19937 random(size);
        for (int round = 0; round < (size == 200 ? 3 : 40); ++round) {
            KVT317_Settings settings;
            settings.SetLogger(std::make_shared<REPORTGENERATOR::Logger>(
                [](REPORTGENERATOR::LogLevel, const QString&) {}));
            settings.SetXmlString(QString::fromUtf8(document), true);
            RandomTexts(settings, random);
            for (int variant = 0; variant < 4; ++variant) {
                settings.SetValidate(variant & 1);
                ASSERT_EQ(xmlwritercompare::Difference(settings, variant & 2), "");
            }
        }
    }
}

TEST(XmlWriter, AgreesOnEveryCodeUnitInTextsAndAttributes)
{
    // Each UTF-16 code unit between two letters, once in a text element and once in the
    // text attribute Name; and every text once as the name of an enumeration would be.
    for (uint code = 0; code < 0x10000; code += (code < 0x100 || code >= 0xD700) ? 1 : 97) {
        BearingSettings settings;
        settings.SetLogger(std::make_shared<REPORTGENERATOR::Logger>(
            [](REPORTGENERATOR::LogLevel, const QString&) {}));
        const QString text = QStringLiteral("x") + QChar(char16_t(code)) + QStringLiteral("y");
        for (const MemberDescription& member : settings.GetDescription().members)
            if (member.kind == MemberKind::Text)
                settings.SetMemberValue(member.bit, text);
        ASSERT_EQ(xmlwritercompare::Difference(settings, false), "") << code;
    }
}

TEST(XmlWriter, WritesADetailByteForByte)
{
    KVT317SettingsDetail detail = FullySetDetail();
    detail.SetName(QStringLiteral("a<b>&\"c' \t\n\r\xE9"));
    const QByteArray expected =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<KVT317SettingsDetail Name=\"a&lt;b&gt;&amp;&quot;c' &#9;&#10;&#13;\xC3\xA9\" "
        "index=\"3\">\n"
        "  <AntennaPol>LEFT</AntennaPol>\n"
        "  <AntPreAmp>ON</AntPreAmp>\n"
        "  <AverageMode>GATE</AverageMode>\n"
        "  <BandwidthDF>1 MHz</BandwidthDF>\n"
        "  <BlockAveragingTime>7</BlockAveragingTime>\n"
        "  <DF_Alt>AUTO</DF_Alt>\n"
        "  <FrequencyRange>\n"
        "    <StartFrequency>1.00</StartFrequency>\n"
        "    <StopFrequency>2.00</StopFrequency>\n"
        "  </FrequencyRange>\n"
        "  <Real_Time_Bandwidth>5 MHz</Real_Time_Bandwidth>\n"
        "  <ScanMemoryID>4</ScanMemoryID>\n"
        "  <DFPan_Selectivity>SHARP</DFPan_Selectivity>\n"
        "  <Threshold>-1</Threshold>\n"
        "  <StopTime>2024-03-01T12:30:05,250Z</StopTime>\n"
        "  <AttSelect>AUTO</AttSelect>\n"
        "  <AttenuationHoldValue>1.50</AttenuationHoldValue>\n"
        "  <AttenuationHoldTime>2.25</AttenuationHoldTime>\n"
        "</KVT317SettingsDetail>\n";
    bool saved = false;
    EXPECT_EQ(SavedBytes(detail, false, &saved), expected);
    EXPECT_TRUE(saved);
    EXPECT_EQ(SavedBytes(detail, true), expected);
    EXPECT_EQ(detail.GetXmlString().toUtf8(), expected);
}

TEST(XmlWriter, WritesTextsAsReferencesWhereXmlCannotCarryThemAndRefusesTheSave)
{
    BearingSettings settings;
    LogCapture log;
    settings.SetLogger(log.logger);
    QString text = QStringLiteral("a\rb");
    for (const char16_t code :
         {char16_t(0x01), char16_t(0xFFFE), char16_t(0xD800), u'<', u'&', u'>', u'"', u'\'', u'\t',
          u'\n', char16_t(0xE9), char16_t(0xD83D), char16_t(0xDE00)})
        text += QChar(code);
    settings.SetBearingVtPath(text);
    settings.SetName(QStringLiteral("n") + QChar(char16_t(0x01)) + QChar(char16_t(0xDC00)) +
                     QStringLiteral("\t<m>"));
    const QByteArray expected = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                "<BearingSettings Name=\"n&#9;&lt;m&gt;\">\n"
                                "  <Frequency>0.000000000</Frequency>\n"
                                "  <BearingVtPath>a&#13;b&#1;&#65534;&#55296;&lt;&amp;&gt;"
                                "&quot;'\t\n\xC3\xA9\xF0\x9F\x98\x80</BearingVtPath>\n"
                                "</BearingSettings>\n";
    for (const bool streamWriter : {false, true}) {
        REPORTGENERATOR::SetXmlStreamWriterOnly(streamWriter);
        EXPECT_EQ(settings.GetXmlString().toUtf8(), expected);
        REPORTGENERATOR::SetXmlStreamWriterOnly(false);
        bool saved = true;
        EXPECT_EQ(SavedBytes(settings, streamWriter, &saved), QByteArray());
        EXPECT_FALSE(saved);
    }
}

TEST(XmlWriter, ACallersOwnWriterStillGetsTheRecord)
{
    KVT317SettingsDetail detail;
    detail.SetBlockAveragingTime(7);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QXmlStreamWriter writer(&buffer);
    detail.GetXml(writer);
    EXPECT_EQ(bytes, QByteArray("<KVT317SettingsDetail><AntennaPol>VERT</AntennaPol>"
                                "<AntPreAmp>OFF</AntPreAmp><AverageMode></AverageMode>"
                                "<BandwidthDF></BandwidthDF><BlockAveragingTime>7"
                                "</BlockAveragingTime><DF_Alt>CORRELATION</DF_Alt>"
                                "<Real_Time_Bandwidth>80 MHz</Real_Time_Bandwidth>"
                                "<ScanMemoryID>0</ScanMemoryID>"
                                "<DFPan_Selectivity>NORMAL</DFPan_Selectivity>"
                                "<Threshold>20</Threshold><StopTime></StopTime>"
                                "<AttSelect>MANUAL</AttSelect>"
                                "<AttenuationHoldValue>10.00</AttenuationHoldValue>"
                                "<AttenuationHoldTime>100.00</AttenuationHoldTime>"
                                "</KVT317SettingsDetail>"));
}

TEST(XmlWriter, TheLibrarysRecordsGoTheByteWritersWay)
{
    // The byte writer keeps the size of the last document it wrote on its thread;
    // QXmlStreamWriter's saves leave it alone.
    KVT317SettingsDetail detail = FullySetDetail();
    const QByteArray streamWritten = SavedBytes(detail, true);
    ASSERT_EQ(streamWritten.size(), 763);
    detail.SetName(QStringLiteral("Longer"));
    const QByteArray bytesWritten = SavedBytes(detail, false);
    EXPECT_EQ(bytesWritten.size(), 768);
    EXPECT_EQ(REPORTGENERATOR::XmlByteWriter::LastSize(), 768);
    detail.SetName(QStringLiteral("L"));
    EXPECT_EQ(SavedBytes(detail, true).size(), 763);
    EXPECT_EQ(REPORTGENERATOR::XmlByteWriter::LastSize(), 768);
    EXPECT_EQ(detail.GetXmlString().size(), 763);
    EXPECT_EQ(REPORTGENERATOR::XmlByteWriter::LastSize(), 763);
}

namespace {

// A record class of a user's that writes a comment before its record.
class CommentedDetail : public KVT317SettingsDetail
{
public:
    void GetXml(QXmlStreamWriter& writer) const override
    {
        writer.writeComment(QStringLiteral(" mine "));
        KVT317SettingsDetail::GetXml(writer);
    }
};

} // namespace

TEST(XmlWriter, ARecordClassOfAUsersWritesThroughQXmlStreamWriter)
{
    CommentedDetail detail;
    detail.SetBlockAveragingTime(7);
    detail.SetLogger(std::make_shared<REPORTGENERATOR::Logger>(
        [](REPORTGENERATOR::LogLevel, const QString&) {}));
    const QByteArray written = detail.GetXmlString().toUtf8();
    EXPECT_TRUE(written.startsWith("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- mine -->\n"
                                   "<KVT317SettingsDetail>\n  <AntennaPol>VERT</AntennaPol>\n"))
        << written.toStdString();
    EXPECT_TRUE(written.endsWith("  <AttenuationHoldTime>100.00</AttenuationHoldTime>\n"
                                 "</KVT317SettingsDetail>\n"))
        << written.toStdString();
    EXPECT_EQ(written.size(), 619);
    EXPECT_EQ(xmlwritercompare::Difference(detail, true), "");
}

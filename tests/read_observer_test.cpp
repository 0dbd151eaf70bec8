// Located reading: every finding kind with its exact place, in XML (line and column), in the
// binary form and in the compressed form (offsets in the inflated frame), and the library's
// own reports arriving in their order, tied to record, member and place.

#include "TestSupport.h"

#include <BearingSettings.h>
#include <KVT317_Settings.h>
#include <ReadObserver.h>

#include <QDataStream>

#include <gtest/gtest.h>

#include <zlib.h>

using namespace KVT317XML;

namespace {

// One finding as a line: "LINE:COLUMN@OFFSET LEVEL kind PATH RECORD.MEMBER: message".
QString Line(const ReadFinding& finding)
{
    QString path;
    for (const ReadStep& step : finding.path)
        path += QStringLiteral("/%1[%2]").arg(step.bit).arg(step.item);
    return QStringLiteral("%1:%2@%3 %4 %5 %6 %7.%8: %9")
        .arg(finding.position.line)
        .arg(finding.position.column)
        .arg(finding.position.offset)
        .arg(REPORTGENERATOR::LogLevelName(finding.level), FindingKindName(finding.kind),
             path.isEmpty() ? QStringLiteral("/") : path,
             finding.record ? finding.record->name : QStringLiteral("-"),
             finding.member ? finding.member->name : QStringLiteral("-"), finding.message);
}

QStringList Lines(const ReadFindings& findings)
{
    QStringList lines;
    for (const ReadFinding& finding : findings.Findings())
        lines.append(Line(finding));
    return lines;
}

// The README's example of a document with typing errors.
QString TypoDocument()
{
    return QString::fromUtf8(ExampleFile("settings.xml"))
        .replace(QStringLiteral("<Threshold>10<"), QStringLiteral("<Threshold>ten<"))
        .replace(QStringLiteral(">WATSONWATT<"), QStringLiteral(">WATSON<"))
        .replace(QStringLiteral("index=\"3\""), QStringLiteral("Index=\"3\""));
}

QByteArray Entry(quint32 tag, const QByteArray& payload)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << tag << static_cast<qint32>(payload.size());
    stream.writeRawData(payload.constData(), payload.size());
    return bytes;
}

QByteArray TextPayload(const QByteArray& text)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << text;
    return bytes;
}

QByteArray WholePayload(qint64 value)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << value;
    return bytes;
}

QByteArray Frame(quint32 tag, const QByteArray& members)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << tag << static_cast<qint32>(members.size());
    return bytes + members;
}

// A bearing frame of 106 bytes with one finding of each binary kind:
//   8 Name "\x01"; 21 Index 2^32 + 1; 37 BearingVtPath "a\xFF"; 51 BearingVtPath "b";
//   64 an unknown entry of 3 bytes; 75 DFMode "gate"; 91 Frequency "1.5".
QByteArray HostileBearingFrame()
{
    return Frame(0x856C9896u, Entry(0x58D44D66u, TextPayload("\x01")) +
                                  Entry(0x1FAAD4BFu, WholePayload(Q_INT64_C(4294967297))) +
                                  Entry(0x322B5285u, TextPayload("a\xFF")) +
                                  Entry(0x322B5285u, TextPayload("b")) +
                                  Entry(0x01020304u, QByteArray("xyz")) +
                                  Entry(0x23991AF4u, TextPayload("gate")) +
                                  Entry(0xA97DB5BEu, TextPayload("1.5")));
}

const QStringList HostileBearingFindings = {
    "0:0@8 ERROR not-xml-character / BearingSettings.Name: Name: holds U+0001, which XML "
    "cannot carry",
    "0:0@21 ERROR whole-number-beyond-32-bits / BearingSettings.Index: Index: 4294967297 does "
    "not fit in 32 bits (read as 1)",
    "0:0@50 ERROR invalid-utf8 / BearingSettings.BearingVtPath: BearingVtPath: the text is not "
    "valid UTF-8 (byte 0xFF; read as U+FFFD)",
    "0:0@51 WARNING given-twice / BearingSettings.BearingVtPath: BearingVtPath given twice "
    "(first at offset 37); the later one wins",
    "0:0@64 ERROR unknown-tag / BearingSettings.-: unknown entry 0x01020304 of 3 bytes "
    "(ignored)",
    "0:0@75 ERROR unknown-name / BearingSettings.DFMode: DFMode: unknown name 'gate' (read as "
    "invalid); allowed: Cont, Norm, Gate",
    "0:0@75 WARNING report / BearingSettings.DFMode: enum is not valid "
    "(classname=BearingSettings,membername=m_dFMode)",
};

QByteArray Compressed(const QByteArray& frame)
{
    uLongf size = compressBound(static_cast<uLong>(frame.size()));
    QByteArray packed(static_cast<int>(size), Qt::Uninitialized);
    compress2(reinterpret_cast<Bytef*>(packed.data()), &size,
              reinterpret_cast<const Bytef*>(frame.constData()), static_cast<uLong>(frame.size()),
              Z_DEFAULT_COMPRESSION);
    packed.resize(static_cast<int>(size));
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << quint32(0x4B56545A) << packed;
    return bytes;
}

} // namespace

TEST(ReadObserver, LibraryReportsArriveLocatedAndInOrder)
{
    KVT317_Settings settings;
    LogCapture log;
    settings.SetLogger(log.logger);
    ReadFindings findings;
    {
        ObserveReading observe(findings);
        ASSERT_TRUE(settings.SetXmlString(TypoDocument(), true));
        settings.Check(true);
    }
    EXPECT_EQ(Lines(findings),
              QStringList({
                  "17:5@622 ERROR number-not-read /0[0] KVT317SettingsDetail.Threshold: "
                  "Threshold: 'ten' is not a whole number (read as 0)",
                  "29:5@1111 ERROR unknown-name /0[1] KVT317SettingsDetail.DF_Alt: DF_Alt: "
                  "unknown name 'WATSON' (read as invalid); allowed: AUTO, WATSONWATT, "
                  "CORRELATION, SUPERRESOLUTION, VECTORMATCHING",
                  "29:5@1111 WARNING report /0[1] KVT317SettingsDetail.DF_Alt: enum is not valid "
                  "(classname=KVT317SettingsDetail,membername=m_dF_Alt)",
                  "43:3@1669 ERROR unknown-attribute /0[2] KVT317SettingsDetail.-: unknown "
                  "attribute 'Index' (ignored); did you mean 'index'?",
                  "0:0@-1 ERROR report /0[1] KVT317SettingsDetail.DF_Alt: KVT317SettingsDetail: "
                  "Please set DF_Alt properly.",
              }));
    // The logger receives the same reports, unchanged.
    EXPECT_EQ(log.lines, QStringList({"WARNING: enum is not valid "
                                      "(classname=KVT317SettingsDetail,membername=m_dF_Alt)",
                                      "ERROR: KVT317SettingsDetail: Please set DF_Alt properly."}));
}

TEST(ReadObserver, XmlFindingsOfEveryKind)
{
    const QString xml = QStringLiteral("<?xml version=\"1.0\"?>\n"
                                       "<!-- c -->\n"
                                       "<KVT317_Settings>\n"
                                       "  <KVT317SettingsDetail Name=\"a\" Index=\"3\" "
                                       "Threshold=\"1\">\n"
                                       "    <AntennaPol>vert</AntennaPol>\n"
                                       "    <Threshold>ten</Threshold>\n"
                                       "    <Threshold>99999999999</Threshold>\n"
                                       "    <ScanMemoryID>12</ScanMemoryID>\n"
                                       "    <Thresold>1</Thresold>\n"
                                       "    <StopTime>2026-13-01T00:00:00,000Z</StopTime>\n"
                                       "    <AttenuationHoldValue>1.234</AttenuationHoldValue>\n"
                                       "    <BlockAveragingTime>1<b/>0</BlockAveragingTime>\n"
                                       "    stray\n"
                                       "    <?pi x?>\n"
                                       "    <BandwidthDF>1e999</BandwidthDF>\n"
                                       "    <AttenuationHoldTime>x1</AttenuationHoldTime>\n"
                                       "  </KVT317SettingsDetail>\n"
                                       "</KVT317_Settings>\n");
    KVT317_Settings settings;
    settings.SetLogger(nullptr);
    ReadFindings findings;
    {
        ObserveReading observe(findings);
        ASSERT_TRUE(settings.SetXmlString(xml, true));
    }
    EXPECT_EQ(
        Lines(findings),
        QStringList({
            "2:1@22 INFO comment / -.-: comment not written: a written document holds the "
            "settings only",
            "4:3@53 ERROR unknown-attribute /0[0] KVT317SettingsDetail.-: unknown attribute "
            "'Index' (ignored); did you mean 'index'?",
            "4:3@53 ERROR unknown-attribute /0[0] KVT317SettingsDetail.-: attribute "
            "'Threshold' (ignored); Threshold is an element",
            "5:5@113 ERROR unknown-name /0[0] KVT317SettingsDetail.AntennaPol: AntennaPol: "
            "unknown name 'vert' (read as invalid); allowed: VERT, HOR, LEFT, RIGHT",
            "5:5@113 WARNING report /0[0] KVT317SettingsDetail.AntennaPol: enum is not valid "
            "(classname=KVT317SettingsDetail,membername=m_antennaPol)",
            "6:5@147 ERROR number-not-read /0[0] KVT317SettingsDetail.Threshold: Threshold: "
            "'ten' is not a whole number (read as 0)",
            "7:5@178 WARNING given-twice /0[0] KVT317SettingsDetail.Threshold: Threshold given "
            "twice (first at 6:5); the later one wins",
            "7:5@178 ERROR number-overflow /0[0] KVT317SettingsDetail.Threshold: Threshold: "
            "'99999999999' does not fit in 32 bits (read as 0)",
            "9:5@253 ERROR unknown-element /0[0] KVT317SettingsDetail.-: unknown element "
            "'Thresold' (ignored); did you mean 'Threshold'?",
            "10:5@280 ERROR date-time-not-read /0[0] KVT317SettingsDetail.StopTime: StopTime: "
            "'2026-13-01T00:00:00,000Z' is not a valid date-time (read as empty)",
            "11:5@330 WARNING extra-decimals /0[0] KVT317SettingsDetail.AttenuationHoldValue: "
            "AttenuationHoldValue: '1.234' keeps 2 decimals (written as 1.23)",
            "12:26@406 ERROR element-in-text /0[0] KVT317SettingsDetail.BlockAveragingTime: "
            "BlockAveragingTime: element 'b' inside the member's text",
            "13:5@437 WARNING text-outside-members /0[0] KVT317SettingsDetail.-: text 'stray' "
            "outside any member (ignored)",
            "14:5@447 INFO processing-instruction /0[0] KVT317SettingsDetail.-: processing "
            "instruction 'pi' not written: a written document holds the settings only",
            "15:5@460 ERROR unknown-name /0[0] KVT317SettingsDetail.BandwidthDF: "
            "BandwidthDF: unknown name '1e999' (read as invalid); allowed: "
            "12.50 Hz, 20.00 Hz, 25.00 Hz, 31.25 Hz, 50.00 Hz, 62.50 Hz, 100.0 Hz, 125.0 Hz, "
            "200.0 Hz, 250.0 Hz, 312.5 Hz, 500.0 Hz, 625.0 Hz, 1.00 kHz, 1.25 kHz, 2.00 kHz, "
            "2.50 kHz, 3.125 kHz, 5.00 kHz, 6.25 kHz, 8.333 kHz, 10.0 kHz, 12.5 kHz, 20.0 kHz, "
            "25.0 kHz, 50.0 kHz, 100 kHz, 200 kHz, 500 kHz, 1 MHz, 2 MHz",
            "15:5@460 WARNING report /0[0] KVT317SettingsDetail.BandwidthDF: enum is not valid "
            "(classname=KVT317SettingsDetail,membername=m_bandwidthDF)",
            "16:5@497 ERROR number-not-read /0[0] KVT317SettingsDetail.AttenuationHoldTime: "
            "AttenuationHoldTime: 'x1' is not a number (read as 0)",
            "4:3@53 WARNING report /0[0] KVT317SettingsDetail.-: KVT317_Settings: Tried to "
            "append not completely defined or invalid item KVT317SettingsDetail.",
        }));
    // What was read is what the library always read.
    const KVT317SettingsDetail& detail = settings.GetKVT317SettingsDetail().at(0);
    EXPECT_EQ(detail.GetThreshold(), 0);
    EXPECT_EQ(detail.GetBlockAveragingTime(), 10);
    EXPECT_EQ(detail.GetAntennaPol(), -1);
}

TEST(ReadObserver, NormalisedAttributeValueInText)
{
    KVT317_Settings settings;
    settings.SetLogger(nullptr);
    ReadFindings findings;
    {
        ObserveReading observe(findings);
        ASSERT_TRUE(settings.SetXmlString(
            QStringLiteral("<KVT317_Settings>\n<KVT317SettingsDetail Name=\"a\tb\" "
                           "index='1'/>\n</KVT317_Settings>"),
            true));
    }
    ASSERT_GE(findings.Findings().size(), 1u);
    EXPECT_EQ(Line(findings.Findings().at(0)),
              "2:1@18 WARNING normalised-attribute /0[0] KVT317SettingsDetail.Name: Name: a tab "
              "or line break in the attribute's value is read as a blank");
    EXPECT_EQ(findings.Findings().at(0).text, QStringLiteral("a b"));
}

TEST(ReadObserver, BinaryFindingsOfEveryKind)
{
    QByteArray frame = HostileBearingFrame();
    ASSERT_EQ(frame.size(), 106);
    BearingSettings bearing;
    bearing.SetLogger(nullptr);
    ReadFindings findings;
    {
        ObserveReading observe(findings);
        ASSERT_TRUE(bearing.SetBinaryRepresentation(frame));
    }
    EXPECT_EQ(Lines(findings), HostileBearingFindings);
    EXPECT_EQ(bearing.GetIndex(), 1);
}

TEST(ReadObserver, CompressedFindingsStandAtOffsetsInTheInflatedFrame)
{
    QByteArray document = Compressed(HostileBearingFrame());
    BearingSettings bearing;
    bearing.SetLogger(nullptr);
    ReadFindings findings;
    {
        ObserveReading observe(findings);
        ASSERT_TRUE(bearing.SetBinaryRepresentation(document));
    }
    EXPECT_EQ(Lines(findings), HostileBearingFindings);
}

TEST(ReadObserver, EntriesListTheInputInOrder)
{
    struct Entries : ReadObserver {
        QStringList lines;
        void Found(const ReadFinding&) override {}
        bool WantsEntries() const override { return true; }
        void Read(const ReadPath& path, const ReadEntry& entry) override
        {
            lines.append(QStringLiteral("%1 %2 %3 0x%4 %5 %6")
                             .arg(entry.position.offset)
                             .arg(path.size())
                             .arg(entry.member ? entry.member->name : QStringLiteral("-"))
                             .arg(entry.tag, 8, 16, QLatin1Char('0'))
                             .arg(entry.length)
                             .arg(entry.text));
        }
    } entries;
    KVT317_Settings settings;
    settings.SetLogger(nullptr);
    QByteArray frame = Frame(0x5DF5F465u, Entry(0x09751B80u, [] {
                                 QByteArray list;
                                 QDataStream stream(&list, QIODevice::WriteOnly);
                                 stream << qint32(1) << qint32(16);
                                 return list;
                             }() + Entry(0x375806BFu, WholePayload(7))));
    {
        ObserveReading observe(entries);
        ASSERT_TRUE(settings.SetBinaryRepresentation(frame));
    }
    EXPECT_EQ(entries.lines,
              QStringList({"0 0 - 0x5df5f465 32 ", "8 0 KVT317SettingsDetail 0x09751b80 24 1",
                           "20 1 - 0x00000000 16 ", "24 1 ScanMemoryID 0x375806bf 8 7"}));
}

TEST(ReadObserver, DocumentFaultsAreLocated)
{
    KVT317_Settings settings;
    LogCapture log;
    settings.SetLogger(log.logger);
    ReadFindings findings;
    {
        ObserveReading observe(findings);
        EXPECT_FALSE(settings.SetXmlString(
            QStringLiteral("<KVT317_Settings>\n  <KVT317SettingsDetail>\n</KVT317_Settings>"),
            true));
    }
    // The detail that the fault cut short is taken in before the load fails; only the
    // fault reaches the logger.
    EXPECT_EQ(Lines(findings),
              QStringList({"2:3@20 WARNING report /0[0] KVT317SettingsDetail.-: "
                           "KVT317_Settings: Tried to append not completely defined or invalid "
                           "item KVT317SettingsDetail.",
                           "3:19@61 ERROR document-fault / -.-: XML error in line 3, column 18: "
                           "Opening and ending tag mismatch."}));
    EXPECT_EQ(log.lines, QStringList({"ERROR: XML error in line 3, column 18: Opening and ending "
                                      "tag mismatch."}));
}

TEST(ReadObserver, BinaryLengthErrorIsOneDocumentFaultWhereTheFrameEnds)
{
    // The frame announces 9 bytes of members; its one entry takes 16.
    QByteArray frame = Frame(0x856C9896u, Entry(0x1FAAD4BFu, WholePayload(1)));
    frame[7] = 9;
    BearingSettings bearing;
    LogCapture log;
    bearing.SetLogger(log.logger);
    ReadFindings findings;
    {
        ObserveReading observe(findings);
        EXPECT_FALSE(bearing.SetBinaryRepresentation(frame));
    }
    EXPECT_EQ(Lines(findings),
              QStringList({"0:0@24 ERROR document-fault / BearingSettings.-: "
                           "BearingSettings::SetBinary(...): Length error occurred during "
                           "processing of binary representation"}));
    EXPECT_EQ(log.lines, QStringList({"ERROR: BearingSettings::SetBinary(...): Length error "
                                      "occurred during processing of binary representation"}));
    EXPECT_FALSE(bearing.IsInitialized() && bearing.IsIndexSet());
}

TEST(ReadObserver, WithoutObserverNothingIsSaidBeyondTheLogger)
{
    KVT317_Settings settings;
    LogCapture log;
    settings.SetLogger(log.logger);
    ASSERT_TRUE(settings.SetXmlString(TypoDocument(), true));
    EXPECT_EQ(log.lines, QStringList({"WARNING: enum is not valid "
                                      "(classname=KVT317SettingsDetail,membername=m_dF_Alt)"}));
}

TEST(ReadObserver, ScopesNestAndAFunctionCanListen)
{
    ReadFindings outer;
    QStringList inner;
    KVT317_Settings settings;
    settings.SetLogger(nullptr);
    {
        ObserveReading observeOuter(outer);
        {
            ObserveReading observeInner(
                [&inner](const ReadFinding& finding) { inner.append(finding.message); });
            ASSERT_TRUE(settings.SetXmlString(
                QStringLiteral("<KVT317_Settings><X/></KVT317_Settings>"), true));
        }
        ASSERT_TRUE(
            settings.SetXmlString(QStringLiteral("<KVT317_Settings><Y/></KVT317_Settings>"), true));
    }
    EXPECT_EQ(inner, QStringList({"unknown element 'X' (ignored)"}));
    EXPECT_EQ(Lines(outer), QStringList({"1:18@17 ERROR unknown-element / KVT317_Settings.-: "
                                         "unknown element 'Y' (ignored)"}));
}

TEST(ReadObserver, SetMemberTextSaysWhatItTakesInSilence)
{
    KVT317SettingsDetail detail;
    detail.SetLogger(nullptr);
    ReadFindings findings;
    {
        ObserveReading observe(findings);
        detail.SetMemberText(KVT317SettingsDetail::Description().FindName("Threshold")->bit,
                             QStringLiteral("12x"));
    }
    ASSERT_EQ(findings.Findings().size(), 1u);
    EXPECT_EQ(findings.Findings().at(0).kind, FindingKind::NumberNotRead);
    EXPECT_EQ(findings.Findings().at(0).message,
              QStringLiteral("Threshold: '12x' is not a whole number (read as 0)"));
    EXPECT_TRUE(detail.IsThresholdSet());
    EXPECT_EQ(detail.GetThreshold(), 0);
}

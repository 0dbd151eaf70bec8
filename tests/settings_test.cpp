#include "TestSupport.h"

#include <KVT317_Settings.h>

#include <QFile>
#include <QXmlStreamReader>

#include <gtest/gtest.h>

using KVT317XML::KVT317_Settings;
using KVT317XML::KVT317SettingsDetail;
using REPORTGENERATOR::IncompleteDefinitionException;
using REPORTGENERATOR::OutOfRangeException;
using Detail = KVT317SettingsDetail;

namespace {

const QString Examples = QStringLiteral(KVT317_SOURCE_DIR "/examples/");

QByteArray TwoDetailDocument()
{
    return Hex("5DF5F465 0000023C 09751B80 00000234 00000002") + Hex(FullySetDetailHex) +
           Hex(DefaultDetailHex);
}

KVT317_Settings TwoDetails()
{
    KVT317_Settings root;
    root.AppendKVT317SettingsDetail(FullySetDetail());
    root.AppendKVT317SettingsDetail(DefaultDetail());
    return root;
}

} // namespace

TEST(Settings, Identity)
{
    EXPECT_EQ(KVT317_Settings::id, 1576399973);
    EXPECT_EQ(KVT317_Settings::GetId(), 0x5DF5F465);
    EXPECT_EQ(KVT317_Settings().GetObjectName(), QStringLiteral("KVT317_Settings"));
}

TEST(Settings, NewRoot)
{
    LogCapture log;
    KVT317_Settings root;
    root.SetLogger(log.logger);
    EXPECT_FALSE(root.HasData());
    EXPECT_FALSE(root.IsInitialized());
    EXPECT_FALSE(root.IsKVT317SettingsDetailSet());
    root.Check(true);
    EXPECT_EQ(log.lines, QStringList{QStringLiteral(
                             "ERROR: KVT317_Settings: Please set KVT317SettingsDetail properly.")});
}

TEST(Settings, EmptyListThatIsSet)
{
    LogCapture log;
    KVT317_Settings root;
    root.SetLogger(log.logger);
    root.SetKVT317SettingsDetail({});
    EXPECT_TRUE(root.IsKVT317SettingsDetailSet());
    EXPECT_FALSE(root.HasData());
    EXPECT_FALSE(root.AnyData());
    root.Check(true);
    EXPECT_TRUE(log.lines.isEmpty());
}

TEST(Settings, AppendWithValidationOn)
{
    LogCapture log;
    KVT317_Settings root;
    root.SetLogger(log.logger);
    root.SetValidate(true);
    root.AppendKVT317SettingsDetail(FullySetDetail());
    try {
        root.AppendKVT317SettingsDetail(Detail());
        FAIL() << "append did not raise";
    } catch (const IncompleteDefinitionException& exception) {
        EXPECT_EQ(exception.GetMessage(),
                  QStringLiteral("KVT317_Settings: Tried to append not completely defined or "
                                 "invalid item KVT317SettingsDetail."));
    }
    EXPECT_EQ(root.GetKVT317SettingsDetail().size(), 1);
    EXPECT_EQ(log.lines, QStringList{QStringLiteral(
                             "ERROR: KVT317_Settings: Tried to append not completely defined or "
                             "invalid item KVT317SettingsDetail.")});
}

TEST(Settings, AppendWithValidationOff)
{
    LogCapture log;
    KVT317_Settings root;
    root.SetLogger(log.logger);
    root.AppendKVT317SettingsDetail(Detail());
    EXPECT_EQ(static_cast<const KVT317_Settings&>(root).GetKVT317SettingsDetail().size(), 1);
    EXPECT_TRUE(root.IsKVT317SettingsDetailSet());
    EXPECT_EQ(log.lines, QStringList{QStringLiteral(
                             "WARNING: KVT317_Settings: Tried to append not completely defined or "
                             "invalid item KVT317SettingsDetail.")});
    // Written anyway, and reported once more.
    log.lines.clear();
    XmlOf(root);
    EXPECT_EQ(log.lines.first(), QStringLiteral("WARNING: Parameters for KVT317SettingsDetail are "
                                                "not set properly in 'KVT317_Settings'."));
}

TEST(Settings, ResetToDefaultEmptiesTheList)
{
    KVT317_Settings root;
    for (int i = 0; i < 3; ++i)
        root.AppendKVT317SettingsDetail(FullySetDetail());
    root.ResetToDefault();
    EXPECT_TRUE(root.GetKVT317SettingsDetail().isEmpty());
    root.ResetKVT317SettingsDetail();
    EXPECT_FALSE(root.IsKVT317SettingsDetailSet());
    EXPECT_FALSE(root.HasData());
}

TEST(Settings, EqualityComparesTheListsInOrder)
{
    KVT317_Settings appended = TwoDetails();
    KVT317_Settings replaced;
    replaced.SetKVT317SettingsDetail({FullySetDetail(), DefaultDetail()});
    EXPECT_TRUE(appended == replaced);
    KVT317_Settings reversed;
    reversed.SetKVT317SettingsDetail({DefaultDetail(), FullySetDetail()});
    EXPECT_TRUE(appended != reversed);
    KVT317_Settings empty;
    KVT317_Settings emptySet;
    emptySet.SetKVT317SettingsDetail({});
    EXPECT_TRUE(empty == emptySet);
    EXPECT_FALSE(empty == appended);
}

TEST(Settings, CheckReportsOnlyTheIncompleteDetail)
{
    LogCapture log;
    KVT317_Settings root;
    root.SetLogger(log.logger);
    Detail second = FullySetDetail();
    second.ResetThreshold();
    root.SetKVT317SettingsDetail({FullySetDetail(), second});
    root.Check(true);
    EXPECT_EQ(log.lines, QStringList{QStringLiteral(
                             "ERROR: KVT317SettingsDetail: Please set Threshold properly.")});
}

TEST(Settings, ValidationReachesTheDetailsInTheList)
{
    KVT317_Settings root;
    root.SetKVT317SettingsDetail({FullySetDetail(), FullySetDetail()});
    root.SetValidate(true);
    const KVT317_Settings& constant = root;
    for (const Detail& detail : constant.GetKVT317SettingsDetail()) {
        EXPECT_TRUE(detail.GetValidate());
        EXPECT_TRUE(detail.GetFrequencyRange().GetValidate());
    }
    // A detail added through the list in place has not been told yet...
    root.GetKVT317SettingsDetail().append(FullySetDetail());
    EXPECT_FALSE(constant.GetKVT317SettingsDetail().last().GetValidate());
    // ...until the root next passes its settings down.
    root.Check(true);
    EXPECT_TRUE(constant.GetKVT317SettingsDetail().last().GetValidate());
}

// A load is an operation on the details: the ones the root keeps follow its settings after it,
// as do the ones it reads.
TEST(Settings, ALoadPassesTheSettingsDownToTheDetailsItKeeps)
{
    LogCapture log;
    const auto load = [](KVT317_Settings& root, bool binary) {
        if (!binary)
            return root.SetXmlString(QStringLiteral("<KVT317_Settings>") + FullySetDetailXml +
                                         QStringLiteral("</KVT317_Settings>"),
                                     false);
        QByteArray frame =
            Hex("5DF5F465 0000014A 09751B80 00000142 00000001") + Hex(FullySetDetailHex);
        return root.SetBinaryRepresentation(frame);
    };
    for (const bool binary : {false, true}) {
        SCOPED_TRACE(binary ? "binary" : "XML");
        KVT317_Settings root;
        root.SetKVT317SettingsDetail({FullySetDetail()});
        root.SetValidate(true);
        root.SetLogger(log.logger);
        root.GetKVT317SettingsDetail().append(FullySetDetail());
        const KVT317_Settings& constant = root;
        ASSERT_FALSE(constant.GetKVT317SettingsDetail().last().GetValidate());
        ASSERT_TRUE(load(root, binary));
        ASSERT_EQ(constant.GetKVT317SettingsDetail().size(), 3);
        for (const Detail& detail : constant.GetKVT317SettingsDetail()) {
            SCOPED_TRACE(&detail - constant.GetKVT317SettingsDetail().data());
            EXPECT_TRUE(detail.GetValidate());
            EXPECT_EQ(detail.GetLogger(), log.logger);
            EXPECT_TRUE(detail.GetFrequencyRange().GetValidate());
            EXPECT_EQ(detail.GetFrequencyRange().GetLogger(), log.logger);
        }
    }
}

TEST(Settings, CopyKeepsValidationButNotTheLogger)
{
    LogCapture log;
    KVT317_Settings source = TwoDetails();
    source.SetValidate(true);
    source.SetLogger(log.logger);
    KVT317_Settings copy(source);
    EXPECT_TRUE(copy == source);
    EXPECT_TRUE(copy.GetValidate());
    EXPECT_EQ(copy.GetLogger(), REPORTGENERATOR::Logger::Default());
    copy.GetKVT317SettingsDetail()[0].SetThreshold(99);
    EXPECT_EQ(source.GetKVT317SettingsDetail()[0].GetThreshold(), -1);
}

// ---- XML -----------------------------------------------------------------------------

TEST(SettingsXml, TwoDetails)
{
    const QString expected =
        QStringLiteral("<KVT317_Settings>") + FullySetDetailXml +
        QStringLiteral("<KVT317SettingsDetail>"
                       "<AntennaPol>VERT</AntennaPol><AntPreAmp>OFF</AntPreAmp>"
                       "<AverageMode>OFF</AverageMode>"
                       "<BandwidthDF>12.50 Hz</BandwidthDF>"
                       "<BlockAveragingTime>10</BlockAveragingTime>"
                       "<DF_Alt>CORRELATION</DF_Alt>"
                       "<Real_Time_Bandwidth>80 MHz</Real_Time_Bandwidth>"
                       "<ScanMemoryID>0</ScanMemoryID>"
                       "<DFPan_Selectivity>NORMAL</DFPan_Selectivity>"
                       "<Threshold>20</Threshold><StopTime></StopTime>"
                       "<AttSelect>MANUAL</AttSelect>"
                       "<AttenuationHoldValue>10.00</AttenuationHoldValue>"
                       "<AttenuationHoldTime>100.00</AttenuationHoldTime>"
                       "</KVT317SettingsDetail></KVT317_Settings>");
    EXPECT_EQ(XmlOf(TwoDetails()), expected);
    KVT317_Settings back;
    ASSERT_TRUE(back.SetXmlString(expected, true));
    EXPECT_EQ(XmlOf(back), expected);
}

TEST(SettingsXml, EmptyRootWithValidationWritesNothing)
{
    LogCapture log;
    KVT317_Settings root;
    root.SetLogger(log.logger);
    root.SetValidate(true);
    EXPECT_THROW(XmlOf(root), OutOfRangeException);
    root.SetKVT317SettingsDetail({});
    EXPECT_EQ(XmlOf(root), QString());
    root.SetValidate(false);
    EXPECT_EQ(XmlOf(root), QStringLiteral("<KVT317_Settings/>"));
}

TEST(SettingsXml, ProcessingTwiceAppendsTwice)
{
    KVT317_Settings root;
    const QString xml = XmlOf(TwoDetails());
    for (int pass = 0; pass < 2; ++pass) {
        QXmlStreamReader reader(xml);
        reader.readNextStartElement();
        root.ProcessXml(reader);
    }
    ASSERT_EQ(root.GetKVT317SettingsDetail().size(), 4);
    EXPECT_TRUE(root.GetKVT317SettingsDetail()[2] == FullySetDetail());
}

TEST(SettingsXml, AppendFromXmlWithValidation)
{
    LogCapture log;
    KVT317_Settings root;
    root.SetLogger(log.logger);
    root.SetValidate(true);
    const QString xml = QStringLiteral("<KVT317_Settings>") + FullySetDetailXml +
                        QStringLiteral("<KVT317SettingsDetail Name=\"x\"/></KVT317_Settings>");
    // The whole-document load is all or nothing: the root is as it was before.
    EXPECT_THROW(root.SetXmlString(xml, false), IncompleteDefinitionException);
    EXPECT_EQ(root.GetKVT317SettingsDetail().size(), 0);
    // The record's own reading keeps what it read before the fault.
    KVT317_Settings merged;
    merged.SetLogger(log.logger);
    merged.SetValidate(true);
    QXmlStreamReader reader(xml);
    reader.readNextStartElement();
    EXPECT_THROW(merged.ProcessXml(reader), IncompleteDefinitionException);
    EXPECT_EQ(merged.GetKVT317SettingsDetail().size(), 1);

    KVT317_Settings quiet;
    quiet.SetLogger(log.logger);
    EXPECT_TRUE(quiet.SetXmlString(xml, false));
    EXPECT_EQ(quiet.GetKVT317SettingsDetail().size(), 2);
}

TEST(SettingsXml, MalformedDocumentLeavesTheRootAsItWas)
{
    LogCapture log;
    KVT317_Settings root = TwoDetails();
    root.SetLogger(log.logger);
    const KVT317_Settings before = TwoDetails();
    const QString xml = QStringLiteral("<KVT317_Settings>") + FullySetDetailXml +
                        QStringLiteral("<KVT317SettingsDetail><Threshold>5</Threshold>"
                                       "<AntennaPol></KVT317SettingsDetail></KVT317_Settings>");
    EXPECT_FALSE(root.SetXmlString(xml, false));
    EXPECT_TRUE(root == before);
    EXPECT_EQ(root.GetKVT317SettingsDetail().size(), 2);
    ASSERT_EQ(log.lines.size(), 1);
    EXPECT_TRUE(log.lines.at(0).startsWith(QStringLiteral("ERROR: XML error in line 1, column ")));
}

// ---- Binary --------------------------------------------------------------------------

TEST(SettingsBinary, TwoDetails)
{
    const QByteArray expected = TwoDetailDocument();
    EXPECT_EQ(TwoDetails().GetBinaryRepresentationAsQByteArray().toHex(), expected.toHex());
    KVT317_Settings back;
    QByteArray copy = expected;
    ASSERT_TRUE(back.SetBinaryRepresentation(copy));
    EXPECT_TRUE(back == TwoDetails());
}

TEST(SettingsBinary, EmptyListIsWrittenAlways)
{
    KVT317_Settings root;
    EXPECT_EQ(root.GetBinaryRepresentationAsQByteArray().toHex(),
              Hex("5DF5F465 0000000C 09751B80 00000004 00000000").toHex());
}

TEST(SettingsBinary, ReadingTwiceDoublesTheList)
{
    KVT317_Settings root;
    for (int pass = 0; pass < 2; ++pass) {
        QByteArray copy = TwoDetailDocument();
        ASSERT_TRUE(root.SetBinaryRepresentation(copy));
    }
    ASSERT_EQ(root.GetKVT317SettingsDetail().size(), 4);
    EXPECT_TRUE(root.GetKVT317SettingsDetail()[3] == DefaultDetail());
}

TEST(SettingsBinary, UnknownEntryInTheRootIsSkipped)
{
    QByteArray data = Hex("5DF5F465 0000001A 01020304 00000006 AABBCCDDEEFF"
                          "09751B80 00000004 00000000");
    KVT317_Settings root;
    ASSERT_TRUE(root.SetBinaryRepresentation(data));
    EXPECT_TRUE(root.GetKVT317SettingsDetail().isEmpty());
}

TEST(SettingsBinary, IncompleteItemWithValidation)
{
    LogCapture log;
    // One item whose frame holds only a Threshold entry.
    QByteArray data = Hex("5DF5F465 00000020 09751B80 00000018 00000001"
                          "00000010 E7B0B2F8 00000008 0000000000000005");
    KVT317_Settings strict;
    strict.SetLogger(log.logger);
    strict.SetValidate(true);
    EXPECT_THROW(strict.SetBinaryRepresentation(data), IncompleteDefinitionException);
    EXPECT_TRUE(strict.GetKVT317SettingsDetail().isEmpty());

    KVT317_Settings lenient;
    lenient.SetLogger(log.logger);
    log.lines.clear();
    ASSERT_TRUE(lenient.SetBinaryRepresentation(data));
    ASSERT_EQ(lenient.GetKVT317SettingsDetail().size(), 1);
    EXPECT_EQ(lenient.GetKVT317SettingsDetail()[0].GetThreshold(), 5);
    EXPECT_EQ(log.lines, QStringList{QStringLiteral(
                             "WARNING: KVT317_Settings: Tried to append not completely defined or "
                             "invalid item KVT317SettingsDetail.")});
}

TEST(SettingsBinary, TruncatedDocumentLeavesTheRootAsItWas)
{
    LogCapture log;
    KVT317_Settings root = TwoDetails();
    root.SetLogger(log.logger);
    QByteArray data = TwoDetailDocument();
    data.chop(30);
    EXPECT_FALSE(root.SetBinaryRepresentation(data));
    EXPECT_TRUE(root == TwoDetails());
    EXPECT_EQ(log.lines.size(), 1);
}

TEST(SettingsBinary, HugeItemCountIsBoundedByTheData)
{
    LogCapture log;
    QByteArray data = Hex("5DF5F465 00000010 09751B80 00000008 7FFFFFFF 00000000");
    KVT317_Settings root;
    root.SetLogger(log.logger);
    EXPECT_FALSE(root.SetBinaryRepresentation(data));
    EXPECT_TRUE(root.GetKVT317SettingsDetail().isEmpty());
    EXPECT_EQ(log.lines, QStringList{QStringLiteral(
                             "ERROR: KVT317_Settings::SetBinary(...): Length error occurred during "
                             "processing of binary representation")});
}

// ---- The shipped example -------------------------------------------------------------

TEST(SettingsExample, FormsAgree)
{
    KVT317_Settings fromXml;
    ASSERT_TRUE(fromXml.LoadXml(Examples + QStringLiteral("settings.xml")));
    EXPECT_EQ(fromXml.GetKVT317SettingsDetail().size(), 3);
    fromXml.SetValidate(true);
    EXPECT_NO_THROW(fromXml.Check());

    QFile plain(Examples + QStringLiteral("settings.bin"));
    KVT317_Settings fromBinary;
    ASSERT_TRUE(fromBinary.LoadBinary(&plain));
    EXPECT_TRUE(fromBinary == fromXml);

    QFile packed(Examples + QStringLiteral("settings.binz"));
    KVT317_Settings fromCompressed;
    ASSERT_TRUE(fromCompressed.LoadBinary(&packed));
    EXPECT_TRUE(fromCompressed == fromXml);

    // XML to binary to XML, and through the compressed form, reproduce the document.
    const QString document = QString::fromUtf8(ReadFile(Examples + QStringLiteral("settings.xml")));
    EXPECT_EQ(fromBinary.GetXmlString(), document);
    EXPECT_EQ(fromCompressed.GetXmlString(), document);
    EXPECT_EQ(fromXml.GetBinaryRepresentationAsQByteArray(),
              ReadFile(Examples + QStringLiteral("settings.bin")));
}

TEST(SettingsExample, LoadingTwiceIntoOneRootDoublesTheList)
{
    const QString document = QString::fromUtf8(ReadFile(Examples + QStringLiteral("settings.xml")));
    KVT317_Settings root;
    ASSERT_TRUE(root.SetXmlString(document, false));
    ASSERT_TRUE(root.SetXmlString(document, false));
    EXPECT_EQ(root.GetKVT317SettingsDetail().size(), 6);
    EXPECT_TRUE(root.GetKVT317SettingsDetail()[0] == root.GetKVT317SettingsDetail()[3]);
}

#include "TestSupport.h"

#include <BearingSettings.h>

#include <QDir>
#include <QFile>
#include <QXmlStreamReader>

#include <gtest/gtest.h>

using KVT317XML::BearingSettings;
using REPORTGENERATOR::OutOfRangeException;

namespace {

BearingSettings FullySet()
{
    BearingSettings record;
    record.SetName(QStringLiteral("N1"));
    record.SetIndex(7);
    record.SetFrequency(100000000.0);
    record.SetAveragingTime(5);
    record.SetDFBandwidth(12.5);
    record.SetDFMode(BearingSettings::DFMode_Norm);
    record.SetAngleSamples(-1);
    record.SetLevelThreshold(10);
    record.SetQualityThreshold(20);
    record.SetElevationThreshold(30);
    record.SetSlidingWindowTime(40);
    record.SetBearingVtPath(QStringLiteral("a"));
    record.SetBearingVtPathSR(QStringLiteral("b"));
    record.SetEigenValueVtPath(QStringLiteral(""));
    record.SetSignalEstimationQualityVtPath(QStringLiteral("d"));
    return record;
}

const QByteArray FullySetFrame =
    Hex("000000F1"
        "58D44D66 00000006 00000002 4E31"
        "1FAAD4BF 00000008 0000000000000007"
        "A97DB5BE 00000017 00000013 3130303030303030302E303030303030303030"
        "EBEB1BDE 00000008 0000000000000005"
        "6F24E1D7 00000009 00000005 31322E3530"
        "23991AF4 00000008 00000004 4E6F726D"
        "18C6455A 00000008 FFFFFFFFFFFFFFFF"
        "D21ED327 00000008 000000000000000A"
        "CAEAFD4C 00000008 0000000000000014"
        "4B79C4EC 00000008 000000000000001E"
        "321DF800 00000008 0000000000000028"
        "322B5285 00000005 00000001 61"
        "C14E337A 00000005 00000001 62"
        "DD4D5499 00000004 00000000"
        "DCD258AB 00000005 00000001 64");

const QString FullySetXml =
    QStringLiteral("<BearingSettings Name=\"N1\" Index=\"7\">"
                   "<Frequency>100000000.000000000</Frequency>"
                   "<AveragingTime>5</AveragingTime>"
                   "<DFBandwidth>12.50</DFBandwidth>"
                   "<DFMode>Norm</DFMode>"
                   "<AngleSamples>-1</AngleSamples>"
                   "<LevelThreshold>10</LevelThreshold>"
                   "<QualityThreshold>20</QualityThreshold>"
                   "<ElevationThreshold>30</ElevationThreshold>"
                   "<SlidingWindowTime>40</SlidingWindowTime>"
                   "<BearingVtPath>a</BearingVtPath>"
                   "<BearingVtPathSR>b</BearingVtPathSR>"
                   "<EigenValueVtPath></EigenValueVtPath>"
                   "<SignalEstimationQualityVtPath>d</SignalEstimationQualityVtPath>"
                   "</BearingSettings>");

} // namespace

TEST(BearingSettings, Identity)
{
    EXPECT_EQ(BearingSettings::id, -2056480618);
    EXPECT_EQ(static_cast<quint64>(BearingSettings::GetId()), 0xFFFFFFFF856C9896ull);
    BearingSettings record;
    EXPECT_EQ(record.GetObjectName(), QStringLiteral("BearingSettings"));
}

TEST(BearingSettings, NewRecordHoldsNeutralValues)
{
    BearingSettings record;
    EXPECT_EQ(record.GetFrequency(), 0.0);
    EXPECT_EQ(record.GetAveragingTime(), 0);
    EXPECT_EQ(static_cast<int>(record.GetDFMode()), -1);
    EXPECT_EQ(static_cast<int>(record.GetInvalidDFMode()), -1);
    EXPECT_TRUE(record.GetName().isNull());
    EXPECT_TRUE(record.GetDefaultBearingVtPath().isNull());
    EXPECT_FALSE(record.IsFrequencySet());
    EXPECT_FALSE(record.AnyData());
}

TEST(BearingSettings, DFModeNames)
{
    const QStringList names{QStringLiteral("Cont"), QStringLiteral("Norm"), QStringLiteral("Gate")};
    EXPECT_EQ(BearingSettings::GetDFModes(), names);
    EXPECT_EQ(BearingSettings::GetGUIDFModes(), names);
    BearingSettings record;
    EXPECT_EQ(record.DFModeToName(BearingSettings::DFMode_Cont), QStringLiteral("Cont"));
    EXPECT_EQ(record.DFModeToName(BearingSettings::DFMode_Gate), QStringLiteral("Gate"));
    EXPECT_TRUE(record.DFModeToName(static_cast<BearingSettings::DFMode>(3)).isNull());
    EXPECT_TRUE(record.DFModeToName(static_cast<BearingSettings::DFMode>(-1)).isNull());
    EXPECT_EQ(record.NameToDFMode(QStringLiteral("Norm")), BearingSettings::DFMode_Norm);
    EXPECT_EQ(static_cast<int>(record.NameToDFMode(QStringLiteral("cont"))), -1);
    record.SetInvalidDFMode(static_cast<BearingSettings::DFMode>(9));
    EXPECT_EQ(static_cast<int>(record.NameToDFMode(QStringLiteral("x"))), 9);
    EXPECT_TRUE(record.IsValidDFMode(BearingSettings::DFMode_Gate));
    EXPECT_FALSE(record.IsValidDFMode(static_cast<BearingSettings::DFMode>(3)));
    EXPECT_FALSE(record.IsValidDFMode(static_cast<BearingSettings::DFMode>(-1)));
    record.SetDFMode(BearingSettings::DFMode_Gate);
    EXPECT_EQ(record.GetDFModeAsString(), QStringLiteral("Gate"));
}

TEST(BearingSettings, TranslationContext)
{
    EXPECT_EQ(BearingSettings::tr("Cont"), QStringLiteral("Cont"));
    EXPECT_EQ(BearingSettings::trUtf8("Norm", nullptr, 2), QStringLiteral("Norm"));
}

TEST(BearingSettings, DefaultNameAndResets)
{
    BearingSettings record;
    record.SetDefaultName(QStringLiteral("abc"));
    record.ResetToDefault();
    EXPECT_TRUE(record.IsNameSet());
    EXPECT_EQ(record.GetName(), QStringLiteral("abc"));
    record.Reset();
    EXPECT_FALSE(record.IsNameSet());
    EXPECT_TRUE(record.GetName().isNull());
    EXPECT_EQ(record.GetDefaultName(), QStringLiteral("abc"));
}

TEST(BearingSettings, ResetToDefaultWithoutDefaultsSetsNothing)
{
    BearingSettings record;
    record.ResetToDefault();
    EXPECT_TRUE(record.IsInitialized());
    EXPECT_FALSE(record.AnyData());
    EXPECT_FALSE(record.IsFrequencySet());
    EXPECT_FALSE(record.IsDFModeSet());
    EXPECT_FALSE(record.IsIndexSet());
}

TEST(BearingSettings, EnumerationDefaultOutsideTheTableIsSkipped)
{
    BearingSettings record;
    record.SetDefaultDFMode(static_cast<BearingSettings::DFMode>(5));
    record.SetDefaultAveragingTime(3);
    record.ResetToDefault();
    EXPECT_FALSE(record.IsDFModeSet());
    EXPECT_EQ(static_cast<int>(record.GetDFMode()), 5);
    EXPECT_TRUE(record.IsAveragingTimeSet());
    EXPECT_EQ(record.GetAveragingTime(), 3);

    record.SetDefaultDFMode(BearingSettings::DFMode_Gate);
    record.ResetToDefault();
    EXPECT_TRUE(record.IsDFModeSet());
    EXPECT_EQ(record.GetDFMode(), BearingSettings::DFMode_Gate);
}

TEST(BearingSettings, NullTextWithValidationOff)
{
    LogCapture log;
    BearingSettings record;
    record.SetLogger(log.logger);
    record.SetName(QString());
    EXPECT_TRUE(record.IsNameSet());
    EXPECT_TRUE(record.GetName().isNull());
    EXPECT_FALSE(record.AnyData());
    EXPECT_EQ(log.lines,
              QStringList{QStringLiteral("WARNING: BearingSettings: Please set Name properly.")});

    log.lines.clear();
    record.SetName(QStringLiteral(""));
    EXPECT_TRUE(log.lines.isEmpty());
    EXPECT_TRUE(record.AnyData());
}

TEST(BearingSettings, NullTextWithValidationOn)
{
    LogCapture log;
    BearingSettings record;
    record.SetLogger(log.logger);
    record.SetValidate(true);
    EXPECT_THROW(record.SetBearingVtPath(QString()), OutOfRangeException);
    EXPECT_FALSE(record.IsBearingVtPathSet());
    EXPECT_EQ(log.lines, QStringList{QStringLiteral(
                             "ERROR: BearingSettings: Please set BearingVtPath properly.")});
    EXPECT_FALSE(record.IsValidBearingVtPath(QString()));
    EXPECT_TRUE(record.IsValidBearingVtPath(QStringLiteral("")));
}

TEST(BearingSettings, InvalidDFModeWithValidationOff)
{
    LogCapture log;
    BearingSettings record;
    record.SetLogger(log.logger);
    record.SetDFMode(static_cast<BearingSettings::DFMode>(3));
    EXPECT_TRUE(record.IsDFModeSet());
    EXPECT_EQ(static_cast<int>(record.GetDFMode()), 3);
    EXPECT_EQ(log.lines,
              QStringList{QStringLiteral(
                  "WARNING: enum is not valid (classname=BearingSettings,membername=m_dFMode)")});
    log.lines.clear();
    record.SetFrequency(1.0);
    record.Check(true);
    EXPECT_EQ(log.lines,
              QStringList{QStringLiteral("ERROR: BearingSettings: Please set DFMode properly.")});
}

TEST(BearingSettings, InvalidDFModeWithValidationOn)
{
    LogCapture log;
    BearingSettings record;
    record.SetLogger(log.logger);
    record.SetValidate(true);
    EXPECT_THROW(record.SetDFMode(static_cast<BearingSettings::DFMode>(-2)), OutOfRangeException);
    EXPECT_FALSE(record.IsDFModeSet());
    EXPECT_EQ(log.lines,
              QStringList{QStringLiteral(
                  "ERROR: enum is not valid (classname=BearingSettings,membername=m_dFMode)")});
}

TEST(BearingSettings, CheckReportsInMemberOrder)
{
    LogCapture log;
    BearingSettings record;
    record.SetLogger(log.logger);
    record.SetDFMode(static_cast<BearingSettings::DFMode>(7));
    record.SetSignalEstimationQualityVtPath(QString());
    record.SetName(QString());
    record.SetBearingVtPath(QString());
    record.SetEigenValueVtPath(QStringLiteral(""));
    log.lines.clear();
    record.Check(true);
    EXPECT_EQ(log.lines,
              (QStringList{
                  QStringLiteral("ERROR: BearingSettings: Please set Frequency properly."),
                  QStringLiteral("ERROR: BearingSettings: Please set DFMode properly."),
                  QStringLiteral("ERROR: BearingSettings: Please set BearingVtPath properly."),
                  QStringLiteral(
                      "ERROR: BearingSettings: Please set SignalEstimationQualityVtPath properly."),
                  QStringLiteral("ERROR: BearingSettings: Please set Name properly.")}));
    log.lines.clear();
    EXPECT_THROW(record.Check(), OutOfRangeException);
    EXPECT_EQ(log.lines.size(), 1);
}

TEST(BearingSettings, EqualityComparesSetMembersOnly)
{
    BearingSettings a = FullySet();
    BearingSettings b = FullySet();
    EXPECT_TRUE(a == b);
    b.SetDefaultLevelThreshold(99);
    EXPECT_TRUE(a == b);
    b.ResetLevelThreshold();
    EXPECT_TRUE(a != b);
    a.ResetLevelThreshold();
    EXPECT_TRUE(a == b);
    a.SetEigenValueVtPath(QStringLiteral("x"));
    EXPECT_FALSE(a == b);
}

// ---- XML -----------------------------------------------------------------------------

TEST(BearingSettingsXml, FreshRecordWithoutValidation)
{
    BearingSettings record;
    EXPECT_EQ(
        XmlOf(record),
        QStringLiteral("<BearingSettings><Frequency>0.000000000</Frequency></BearingSettings>"));
}

TEST(BearingSettingsXml, FreshRecordWithValidationReportsFrequencyFirst)
{
    LogCapture log;
    BearingSettings record;
    record.SetLogger(log.logger);
    record.SetValidate(true);
    QString text;
    QXmlStreamWriter writer(&text);
    EXPECT_THROW(record.GetXml(writer), OutOfRangeException);
    EXPECT_TRUE(text.isEmpty());
    EXPECT_EQ(log.lines, QStringList{QStringLiteral(
                             "ERROR: BearingSettings: Please set Frequency properly.")});
}

TEST(BearingSettingsXml, NumberTexts)
{
    BearingSettings record;
    record.SetFrequency(100.5);
    record.SetAveragingTime(-3);
    EXPECT_EQ(XmlOf(record), QStringLiteral("<BearingSettings><Frequency>100.500000000</Frequency>"
                                            "<AveragingTime>-3</AveragingTime></BearingSettings>"));
}

TEST(BearingSettingsXml, FullySetRecord)
{
    EXPECT_EQ(XmlOf(FullySet()), FullySetXml);
    BearingSettings back;
    ReadXml(back, FullySetXml);
    EXPECT_TRUE(back == FullySet());
    EXPECT_EQ(XmlOf(back), FullySetXml);
}

TEST(BearingSettingsXml, IntegerTextThatIsNotANumber)
{
    BearingSettings record;
    ReadXml(record, QStringLiteral("<BearingSettings><AngleSamples>abc</AngleSamples>"
                                   "</BearingSettings>"));
    EXPECT_TRUE(record.IsAngleSamplesSet());
    EXPECT_EQ(record.GetAngleSamples(), 0);
}

TEST(BearingSettingsXml, EmptyTextElementIsNotNull)
{
    LogCapture log;
    BearingSettings record;
    record.SetLogger(log.logger);
    ReadXml(record, QStringLiteral("<BearingSettings Name=\"\"><Frequency>1</Frequency>"
                                   "<BearingVtPath/><EigenValueVtPath></EigenValueVtPath>"
                                   "</BearingSettings>"));
    EXPECT_TRUE(record.IsBearingVtPathSet());
    EXPECT_FALSE(record.GetBearingVtPath().isNull());
    EXPECT_TRUE(record.GetBearingVtPath().isEmpty());
    EXPECT_FALSE(record.GetEigenValueVtPath().isNull());
    EXPECT_FALSE(record.GetName().isNull());
    record.Check(true);
    EXPECT_TRUE(log.lines.isEmpty());
}

TEST(BearingSettingsXml, AttributeAndElementForTheSameMember)
{
    BearingSettings record;
    ReadXml(record, QStringLiteral("<BearingSettings Name=\"attr\" Index=\"1\">"
                                   "<Index>2</Index><Name>element</Name></BearingSettings>"));
    EXPECT_EQ(record.GetIndex(), 2);
    EXPECT_EQ(record.GetName(), QStringLiteral("element"));

    BearingSettings lower;
    ReadXml(lower, QStringLiteral("<BearingSettings index=\"5\"/>"));
    EXPECT_FALSE(lower.IsIndexSet()); // the attribute is "Index"
}

TEST(BearingSettingsXml, UnknownDFModeNameIsReportedAndStored)
{
    LogCapture log;
    BearingSettings record;
    record.SetLogger(log.logger);
    ReadXml(record, QStringLiteral("<BearingSettings><DFMode>cont</DFMode></BearingSettings>"));
    EXPECT_TRUE(record.IsDFModeSet());
    EXPECT_EQ(static_cast<int>(record.GetDFMode()), -1);
    EXPECT_EQ(log.lines,
              QStringList{QStringLiteral(
                  "WARNING: enum is not valid (classname=BearingSettings,membername=m_dFMode)")});
    EXPECT_EQ(XmlOf(record), QStringLiteral("<BearingSettings><Frequency>0.000000000</Frequency>"
                                            "<DFMode></DFMode></BearingSettings>"));
}

// ---- Binary --------------------------------------------------------------------------

TEST(BearingSettingsBinary, TheFortyEightByteStream)
{
    BearingSettings record;
    record.SetName(QStringLiteral("A"));
    record.SetFrequency(100000000.0);
    const QByteArray expected =
        Hex("0000002C"
            "58D44D66 00000005 00000001 41"
            "A97DB5BE 00000017 00000013 3130303030303030302E303030303030303030");
    const QByteArray bytes = BinaryOf(record, 0, false);
    EXPECT_EQ(bytes.size(), 48);
    EXPECT_EQ(bytes.toHex(), expected.toHex());
}

TEST(BearingSettingsBinary, FreshRecordHoldsOnlyFrequency)
{
    BearingSettings record;
    EXPECT_EQ(BinaryOf(record, 0, false).toHex(),
              Hex("00000017 A97DB5BE 0000000F 0000000B 302E303030303030303030").toHex());
}

TEST(BearingSettingsBinary, FullySetRecord)
{
    EXPECT_EQ(BinaryOf(FullySet(), 0, false).toHex(), FullySetFrame.toHex());
    BearingSettings back;
    ReadFrame(back, FullySetFrame);
    EXPECT_TRUE(back == FullySet());
    EXPECT_EQ(back.GetEigenValueVtPath(), QStringLiteral(""));
    EXPECT_FALSE(back.GetEigenValueVtPath().isNull());
    EXPECT_EQ(BinaryOf(back, 0, false).toHex(), FullySetFrame.toHex());
}

TEST(BearingSettingsBinary, IndexIsAnOrdinaryEntry)
{
    BearingSettings record;
    record.SetIndex(-2);
    EXPECT_EQ(BinaryOf(record, 0, false).toHex(),
              Hex("00000027 1FAAD4BF 00000008 FFFFFFFFFFFFFFFE"
                  "A97DB5BE 0000000F 0000000B 302E303030303030303030")
                  .toHex());
}

TEST(BearingSettingsBinary, WholeNumbersAreCutToTheirLow32Bits)
{
    BearingSettings record;
    ReadFrame(record, Hex("00000020 EBEB1BDE 00000008 0000000180000005"
                          "18C6455A 00000008 00000001FFFFFFFF"));
    EXPECT_EQ(record.GetAveragingTime(), -2147483643);
    EXPECT_EQ(record.GetAngleSamples(), -1);
}

TEST(BearingSettingsBinary, UnknownTagsAreSkipped)
{
    LogCapture log;
    BearingSettings record;
    record.SetLogger(log.logger);
    ReadFrame(record, Hex("00000021 0BADF00D 00000004 DEADBEEF"
                          "58D44D66 00000005 00000001 41"
                          "7FFFFFFF 00000000"));
    EXPECT_EQ(record.GetName(), QStringLiteral("A"));
    EXPECT_TRUE(log.lines.isEmpty());
}

TEST(BearingSettingsBinary, NullTextTravelsAsNull)
{
    LogCapture log;
    BearingSettings record;
    record.SetLogger(log.logger);
    ReadFrame(record, Hex("0000000C 58D44D66 00000004 FFFFFFFF"));
    EXPECT_TRUE(record.IsNameSet());
    EXPECT_TRUE(record.GetName().isNull());
    EXPECT_EQ(log.lines,
              QStringList{QStringLiteral("WARNING: BearingSettings: Please set Name properly.")});
    EXPECT_EQ(BinaryOf(record, 0, false).toHex(),
              Hex("00000023 58D44D66 00000004 FFFFFFFF"
                  "A97DB5BE 0000000F 0000000B 302E303030303030303030")
                  .toHex());
}

// ---- The shipped example -------------------------------------------------------------

TEST(BearingSettingsExample, RoundTrips)
{
    const QString directory = QStringLiteral(KVT317_SOURCE_DIR "/examples/");
    BearingSettings fromXml;
    ASSERT_TRUE(fromXml.LoadXml(directory + QStringLiteral("bearing-settings.xml")));
    EXPECT_TRUE(fromXml.HasData());
    EXPECT_TRUE(fromXml.IsSignalEstimationQualityVtPathSet());
    EXPECT_TRUE(fromXml.IsIndexSet());

    QFile binaryFile(directory + QStringLiteral("bearing-settings.bin"));
    BearingSettings fromBinary;
    ASSERT_TRUE(fromBinary.LoadBinary(&binaryFile));
    EXPECT_TRUE(fromBinary == fromXml);

    QFile xmlFile(directory + QStringLiteral("bearing-settings.xml"));
    ASSERT_TRUE(xmlFile.open(QIODevice::ReadOnly));
    EXPECT_EQ(fromBinary.GetXmlString(), QString::fromUtf8(xmlFile.readAll()));
    ASSERT_TRUE(binaryFile.seek(0));
    EXPECT_EQ(fromXml.GetBinaryRepresentationAsQByteArray().toHex(), binaryFile.readAll().toHex());

    BearingSettings fromCompressed;
    QByteArray compressed = fromXml.GetCompressedBinaryRepresentationAsQByteArray(9);
    ASSERT_TRUE(fromCompressed.SetBinaryRepresentation(compressed));
    EXPECT_TRUE(fromCompressed == fromXml);
}

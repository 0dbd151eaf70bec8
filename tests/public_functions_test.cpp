// Direct tests of public functions that the other tests reach only on the way, if at all:
// the record types by document, the display forms of members, comparison across types,
// findings kept after a load, the lock's state, binary files, and raising a report as its
// own type.

#include "TestSupport.h"

#include <BearingSettings.h>
#include <DocumentFile.h>
#include <FrequencyRange.h>
#include <KVT317_Settings.h>
#include <MemberDisplay.h>
#include <RGException.h>
#include <ReadObserver.h>
#include <RecordDescription.h>

#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace KVT317XML;
using REPORTGENERATOR::BinaryParsingException;
using REPORTGENERATOR::DocumentLock;
using REPORTGENERATOR::IncompleteDefinitionException;
using REPORTGENERATOR::OutOfRangeException;
using REPORTGENERATOR::RGException;

namespace {

const MemberDescription& Member(const RecordDescription& type, const char* name)
{
    return *type.FindName(QLatin1String(name));
}

// The frame of a FrequencyRange holding its defaults, as a document: its length, then the
// two entries.
const char* const DefaultRangeDocument = "0E9DCC54 0000002F"
                                         "2D99DCB9 0000000F 0000000B 38383030303030302E3030"
                                         "7ADC955A 00000010 0000000C 3234303030303030302E3030";

} // namespace

TEST(RecordTypes, AllRecordDescriptionsInOrder)
{
    const std::vector<const RecordDescription*> all = AllRecordDescriptions();
    ASSERT_EQ(all.size(), 4u);
    EXPECT_EQ(all[0], &KVT317_Settings::Description());
    EXPECT_EQ(all[1], &KVT317SettingsDetail::Description());
    EXPECT_EQ(all[2], &BearingSettings::Description());
    EXPECT_EQ(all[3], &FrequencyRange::Description());
    EXPECT_EQ(all[0]->name, QStringLiteral("KVT317_Settings"));
    EXPECT_EQ(all[0]->id, 1576399973);
    EXPECT_EQ(all[1]->id, -102096553);
    EXPECT_EQ(all[2]->id, -2056480618);
    EXPECT_EQ(all[3]->id, 245222484);
}

TEST(RecordTypes, XmlDocumentTypeByRootElement)
{
    EXPECT_EQ(XmlDocumentType(QStringLiteral("<KVT317_Settings/>")),
              &KVT317_Settings::Description());
    EXPECT_EQ(XmlDocumentType(QStringLiteral("<?xml version=\"1.0\"?>\n<!-- c -->\n"
                                             "<BearingSettings Name=\"x\"><Frequency>1"
                                             "</Frequency></BearingSettings>")),
              &BearingSettings::Description());
    EXPECT_EQ(XmlDocumentType(QStringLiteral("<FrequencyRange>")), &FrequencyRange::Description());
    EXPECT_EQ(XmlDocumentType(QStringLiteral("<Settings/>")), nullptr);
    EXPECT_EQ(XmlDocumentType(QStringLiteral("<kvt317_settings/>")), nullptr);
    EXPECT_EQ(XmlDocumentType(QString()), nullptr);
    EXPECT_EQ(XmlDocumentType(QStringLiteral("no markup")), nullptr);
}

TEST(RecordTypes, BinaryDocumentTypeByFrameTag)
{
    EXPECT_EQ(BinaryDocumentType(Hex(DefaultRangeDocument)), &FrequencyRange::Description());
    EXPECT_EQ(BinaryDocumentType(Hex("5DF5F465 00000000")), &KVT317_Settings::Description());
    EXPECT_EQ(BinaryDocumentType(Hex("856C9896 00000000")), &BearingSettings::Description());
    FrequencyRange range;
    EXPECT_EQ(BinaryDocumentType(range.GetCompressedBinaryRepresentationAsQByteArray(9)),
              &FrequencyRange::Description());
    EXPECT_EQ(BinaryDocumentType(Hex("12345678 00000000")), nullptr);
    EXPECT_EQ(BinaryDocumentType(Hex("5DF5")), nullptr);
    EXPECT_EQ(BinaryDocumentType(QByteArray()), nullptr);
    EXPECT_EQ(BinaryDocumentType(Hex("4B56545A 00000003 010203")), nullptr);
}

TEST(RecordTypes, AlwaysWrittenAreTheRequiredScalars)
{
    EXPECT_TRUE(Member(FrequencyRange::Description(), "StopFrequency").AlwaysWritten());
    EXPECT_TRUE(Member(BearingSettings::Description(), "Frequency").AlwaysWritten());
    EXPECT_FALSE(Member(BearingSettings::Description(), "Name").AlwaysWritten());
    EXPECT_TRUE(Member(KVT317SettingsDetail::Description(), "StopTime").AlwaysWritten());
    EXPECT_FALSE(Member(KVT317SettingsDetail::Description(), "index").AlwaysWritten());
    // A child record is required but written only when set.
    const MemberDescription& range = Member(KVT317SettingsDetail::Description(), "FrequencyRange");
    EXPECT_TRUE(range.required);
    EXPECT_FALSE(range.AlwaysWritten());
    EXPECT_TRUE(Member(KVT317_Settings::Description(), "KVT317SettingsDetail").AlwaysWritten());
}

TEST(RecordTypes, FindTagAndFindName)
{
    const RecordDescription& detail = KVT317SettingsDetail::Description();
    ASSERT_NE(detail.FindTag(0xCFF2FA5F), nullptr);
    EXPECT_EQ(detail.FindTag(0xCFF2FA5F)->name, QStringLiteral("index"));
    EXPECT_EQ(detail.FindTag(0x08B36734)->bit, 6);
    EXPECT_EQ(detail.FindTag(0x1FAAD4BF), nullptr); // the bearing record's Index
    EXPECT_EQ(detail.FindTag(0), nullptr);
    EXPECT_EQ(detail.FindName(QStringLiteral("Index")), nullptr);
    EXPECT_EQ(BearingSettings::Description().FindTag(0x1FAAD4BF)->name, QStringLiteral("Index"));
}

TEST(RecordEquals, ByTheRecordsOwnRuleAndNeverAcrossTypes)
{
    FrequencyRange a;
    FrequencyRange b;
    EXPECT_TRUE(a.Equals(b));
    b.SetStartFrequency(88000000.0);
    EXPECT_FALSE(a.Equals(b));
    EXPECT_FALSE(b.Equals(a));
    a.SetStartFrequency(88000000.0);
    EXPECT_TRUE(a.Equals(b));
    EXPECT_FALSE(BearingSettings().Equals(FrequencyRange()));
    EXPECT_FALSE(KVT317_Settings().Equals(KVT317SettingsDetail()));
}

TEST(MemberDisplay, Units)
{
    const auto unit = [](const RecordDescription& type, const char* name) {
        return MemberUnit(type, Member(type, name));
    };
    EXPECT_EQ(unit(FrequencyRange::Description(), "StartFrequency"), QStringLiteral("Hz"));
    EXPECT_EQ(unit(BearingSettings::Description(), "DFBandwidth"), QStringLiteral("Hz"));
    EXPECT_EQ(unit(BearingSettings::Description(), "SlidingWindowTime"), QStringLiteral("ms"));
    EXPECT_EQ(unit(BearingSettings::Description(), "LevelThreshold"), QStringLiteral("dB\u00B5V"));
    EXPECT_EQ(unit(BearingSettings::Description(), "QualityThreshold"), QStringLiteral("%"));
    EXPECT_EQ(unit(BearingSettings::Description(), "ElevationThreshold"), QStringLiteral("\u00B0"));
    EXPECT_EQ(unit(KVT317SettingsDetail::Description(), "AttenuationHoldValue"),
              QStringLiteral("dB"));
    EXPECT_EQ(unit(KVT317SettingsDetail::Description(), "AttenuationHoldTime"),
              QStringLiteral("ms"));
    EXPECT_TRUE(unit(KVT317SettingsDetail::Description(), "ScanMemoryID").isNull());
    EXPECT_TRUE(unit(BearingSettings::Description(), "AngleSamples").isNull());
}

TEST(MemberDisplay, HertzText)
{
    EXPECT_EQ(HertzText(QStringLiteral("118000000.00"), 2), QStringLiteral("118 MHz"));
    EXPECT_EQ(HertzText(QStringLiteral("162025000.00"), 2), QStringLiteral("162.025 MHz"));
    EXPECT_EQ(HertzText(QStringLiteral("12500.00"), 2), QStringLiteral("12.5 kHz"));
    EXPECT_EQ(HertzText(QStringLiteral("12.50"), 2), QStringLiteral("12.5 Hz"));
    EXPECT_EQ(HertzText(QStringLiteral("1500000000"), 0), QStringLiteral("1.5 GHz"));
    EXPECT_EQ(HertzText(QStringLiteral("0.00"), 2), QStringLiteral("0 Hz"));
    EXPECT_EQ(HertzText(QStringLiteral("-2500000.00"), 2), QStringLiteral("-2.5 MHz"));
    EXPECT_EQ(HertzText(QStringLiteral("100000000.123456789"), 9),
              QStringLiteral("100.000000123457 MHz"));
    EXPECT_EQ(HertzText(QStringLiteral("abc"), 2), QStringLiteral("abc Hz"));
    EXPECT_EQ(HertzText(QStringLiteral("inf"), 2), QStringLiteral("inf Hz"));
}

TEST(MemberDisplay, ShownMemberValue)
{
    const RecordDescription& type = KVT317SettingsDetail::Description();
    KVT317SettingsDetail detail;
    detail.SetLogger(nullptr);
    const auto shown = [&](const char* name) {
        return ShownMemberValue(detail, Member(type, name));
    };
    EXPECT_EQ(shown("AntennaPol"), QStringLiteral("(unset)"));
    detail.SetAntennaPol(KVT317SettingsDetail::AntennaPol_LEFT);
    EXPECT_EQ(shown("AntennaPol"), QStringLiteral("LEFT"));
    detail.SetAntPreAmp(As<KVT317SettingsDetail::AntPreAmp>(5));
    EXPECT_EQ(shown("AntPreAmp"), QStringLiteral("(invalid)"));
    detail.SetName(QString());
    EXPECT_EQ(shown("Name"), QStringLiteral("(null)"));
    detail.SetName(QStringLiteral(""));
    EXPECT_EQ(shown("Name"), QStringLiteral("\"\""));
    detail.SetName(QStringLiteral("North"));
    EXPECT_EQ(shown("Name"), QStringLiteral("North"));
    detail.SetStopTime(QDateTime());
    EXPECT_EQ(shown("StopTime"), QStringLiteral("(none)"));
    detail.SetStopTime(QDateTime(QDate(2026, 1, 2), QTime(3, 4, 5), Qt::UTC));
    EXPECT_EQ(shown("StopTime"), QStringLiteral("2026-01-02T03:04:05,000Z"));
    detail.SetThreshold(-5);
    EXPECT_EQ(shown("Threshold"), QStringLiteral("-5 dB\u00B5V"));
    detail.SetScanMemoryID(4);
    EXPECT_EQ(shown("ScanMemoryID"), QStringLiteral("4"));
    detail.SetAttenuationHoldValue(1.5f);
    EXPECT_EQ(shown("AttenuationHoldValue"), QStringLiteral("1.50 dB"));
    detail.SetBandwidthDF(KVT317SettingsDetail::BandwidthDF_8_333_kHz);
    EXPECT_EQ(shown("BandwidthDF"), QStringLiteral("8.333 kHz"));
    detail.GetFrequencyRange().SetStartFrequency(162025000.0);
    EXPECT_TRUE(shown("FrequencyRange").isNull());
    const FrequencyRange& range = detail.GetFrequencyRange();
    EXPECT_EQ(ShownMemberValue(range, Member(FrequencyRange::Description(), "StartFrequency")),
              QStringLiteral("162.025 MHz"));
    EXPECT_EQ(ShownMemberValue(range, Member(FrequencyRange::Description(), "StopFrequency")),
              QStringLiteral("(unset)"));
    BearingSettings bearing;
    bearing.SetFrequency(100000000.5);
    EXPECT_EQ(ShownMemberValue(bearing, Member(BearingSettings::Description(), "Frequency")),
              QStringLiteral("100.0000005 MHz"));
}

TEST(MemberDisplay, DisplayNames)
{
    const RecordDescription& type = KVT317SettingsDetail::Description();
    EXPECT_EQ(MemberDisplayNames(type, Member(type, "AntennaPol")),
              (QStringList{QStringLiteral("VERT"), QStringLiteral("HOR"), QStringLiteral("LEFT"),
                           QStringLiteral("RIGHT")}));
    const QStringList bandwidths = MemberDisplayNames(type, Member(type, "Real_Time_Bandwidth"));
    ASSERT_EQ(bandwidths.size(), 10);
    EXPECT_EQ(bandwidths.first(), QStringLiteral("100 kHz"));
    EXPECT_EQ(bandwidths.last(), QStringLiteral("80 MHz"));
    EXPECT_EQ(MemberDisplayNames(type, Member(type, "BandwidthDF")).at(20),
              QStringLiteral("8.333 kHz"));
    EXPECT_EQ(MemberDisplayNames(type, Member(type, "Threshold")), QStringList());
    EXPECT_EQ(MemberDisplayNames(type, Member(type, "FrequencyRange")), QStringList());
    const RecordDescription& bearing = BearingSettings::Description();
    EXPECT_EQ(
        MemberDisplayNames(bearing, Member(bearing, "DFMode")),
        (QStringList{QStringLiteral("Cont"), QStringLiteral("Norm"), QStringLiteral("Gate")}));
}

TEST(ReadFindingsKept, HasErrorsAndClear)
{
    ReadFindings findings;
    EXPECT_FALSE(findings.HasErrors());
    FrequencyRange range;
    {
        ObserveReading observe(findings);
        ASSERT_TRUE(range.SetXmlString(QStringLiteral("<FrequencyRange><!-- c --><StartFrequency>1"
                                                      "</StartFrequency></FrequencyRange>"),
                                       true));
    }
    ASSERT_EQ(findings.Findings().size(), 1u);
    EXPECT_EQ(findings.Findings().at(0).kind, FindingKind::Comment);
    EXPECT_FALSE(findings.HasErrors());
    {
        ObserveReading observe(findings);
        ASSERT_TRUE(
            range.SetXmlString(QStringLiteral("<FrequencyRange><Bogus/></FrequencyRange>"), true));
    }
    ASSERT_EQ(findings.Findings().size(), 2u);
    EXPECT_EQ(findings.Findings().at(1).kind, FindingKind::UnknownElement);
    EXPECT_TRUE(findings.HasErrors());
    findings.Clear();
    EXPECT_TRUE(findings.Findings().empty());
    EXPECT_FALSE(findings.HasErrors());
}

TEST(ReadFindingsKept, PositionIsKnown)
{
    ReadPosition position;
    EXPECT_FALSE(position.IsKnown());
    position.offset = 0;
    EXPECT_TRUE(position.IsKnown());
    position.offset = -1;
    position.line = 1;
    EXPECT_TRUE(position.IsKnown());
    position.line = 0;
    position.column = 5;
    EXPECT_FALSE(position.IsKnown());
}

TEST(DocumentLockState, IsLockedWhileHeld)
{
    QTemporaryDir dir;
    const QString path = WriteFile(dir.filePath(QStringLiteral("d.xml")), "<x/>");
    auto first = std::make_unique<DocumentLock>(path);
    EXPECT_FALSE(first->IsLocked());
    ASSERT_TRUE(first->Acquire());
    EXPECT_TRUE(first->IsLocked());
    DocumentLock second(path);
    QString fault;
    EXPECT_FALSE(second.Acquire(50, &fault));
    EXPECT_FALSE(second.IsLocked());
    EXPECT_TRUE(fault.startsWith(QStringLiteral("Cannot lock '") + path)) << fault.toStdString();
    first.reset();
    EXPECT_TRUE(second.Acquire(50));
    EXPECT_TRUE(second.IsLocked());
}

TEST(BinaryFiles, SaveBinaryPlainAndCompressed)
{
    QTemporaryDir dir;
    FrequencyRange range;
    const QString plain = dir.filePath(QStringLiteral("range.bin"));
    ASSERT_TRUE(range.SaveBinary(plain));
    EXPECT_EQ(ReadFile(plain).toHex(), Hex(DefaultRangeDocument).toHex());
    const QString packed = dir.filePath(QStringLiteral("range.binz"));
    ASSERT_TRUE(range.SaveBinary(packed, true, 9));
    const QByteArray bytes = ReadFile(packed);
    EXPECT_TRUE(bytes.startsWith("KVTZ"));
    FrequencyRange read;
    read.SetLogger(nullptr);
    ASSERT_TRUE(read.SetBinaryRepresentation(const_cast<QByteArray&>(bytes)));
    EXPECT_TRUE(read.IsStartFrequencySet());
    EXPECT_EQ(read.GetStopFrequency(), 240000000.0);

    LogCapture log;
    range.SetLogger(log.logger);
    EXPECT_FALSE(range.SaveBinary(QStringLiteral("/nonexistent/range.bin")));
    EXPECT_EQ(log.lines, QStringList(QStringLiteral("ERROR: Cannot write '/nonexistent/range.bin': "
                                                    "No such file or directory")));
}

TEST(ReportExceptions, RaiseThrowsTheMostDerivedType)
{
    const OutOfRangeException range(QStringLiteral("r"));
    const IncompleteDefinitionException incomplete(QStringLiteral("i"));
    const BinaryParsingException binary(QStringLiteral("b"));
    const RGException plain(QStringLiteral("p \u00E9"));
    const RGException& asBase = range;
    EXPECT_THROW(asBase.Raise(), OutOfRangeException);
    const RGException& incompleteAsBase = incomplete;
    EXPECT_THROW(incompleteAsBase.Raise(), IncompleteDefinitionException);
    const RGException& binaryAsBase = binary;
    EXPECT_THROW(binaryAsBase.Raise(), BinaryParsingException);
    try {
        plain.Raise();
        ADD_FAILURE() << "not raised";
    } catch (const OutOfRangeException&) {
        ADD_FAILURE() << "raised as a derived type";
    } catch (const RGException& raised) {
        EXPECT_EQ(raised.GetMessage(), QStringLiteral("p \u00E9"));
        EXPECT_STREQ(raised.what(), "p \xC3\xA9");
    }
    try {
        binaryAsBase.Raise();
    } catch (const RGException& raised) {
        EXPECT_EQ(raised.GetMessage(), QStringLiteral("b"));
    }
}

TEST(RecordTypes, CopyRecordCopiesEveryTypeWithItsSwitch)
{
    KVT317_Settings settings;
    settings.SetLogger(nullptr);
    ASSERT_TRUE(settings.SetXmlString(QString::fromUtf8(ExampleFile("settings.xml")), true));
    settings.SetValidate(true);
    const std::unique_ptr<Record> copy = CopyRecord(settings);
    ASSERT_EQ(&copy->GetDescription(), &KVT317_Settings::Description());
    EXPECT_TRUE(copy->GetValidate());
    EXPECT_EQ(copy->GetXmlString(), settings.GetXmlString());
    copy->ResetMember(0);
    EXPECT_EQ(copy->ListSize(0), 0);
    EXPECT_EQ(settings.GetKVT317SettingsDetail().size(), 3);

    FrequencyRange range;
    range.SetStartFrequency(1.5);
    const std::unique_ptr<Record> rangeCopy = CopyRecord(range);
    ASSERT_EQ(&rangeCopy->GetDescription(), &FrequencyRange::Description());
    EXPECT_FALSE(rangeCopy->GetValidate());
    EXPECT_EQ(rangeCopy->MemberText(0), QStringLiteral("1.50"));
    EXPECT_TRUE(rangeCopy->Equals(range));
    EXPECT_EQ(&CopyRecord(BearingSettings())->GetDescription(), &BearingSettings::Description());
    EXPECT_EQ(&CopyRecord(KVT317SettingsDetail())->GetDescription(),
              &KVT317SettingsDetail::Description());
}

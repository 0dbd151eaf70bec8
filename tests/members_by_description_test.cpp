// Members written by description: every member set, reset and every list edited through the
// member table, with exactly the checks and reports of the typed accessors.

#include "TestSupport.h"

#include <BearingSettings.h>
#include <FrequencyRange.h>
#include <KVT317_Settings.h>
#include <RGException.h>

#include <QDateTime>

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <utility>
#include <vector>

using namespace KVT317XML;

namespace {

// Sets members from their texts, in order; returns what they logged.
QStringList SetTexts(Record& record, const std::vector<std::pair<const char*, QString>>& texts)
{
    LogCapture log;
    record.SetLogger(log.logger);
    for (const auto& [name, text] : texts)
        record.SetMemberText(Bit(record.GetDescription(), name), text);
    record.SetLogger(nullptr);
    return log.lines;
}

} // namespace

TEST(MembersByDescription, ValuesOfEveryKindReadBackThroughTheTypedGetters)
{
    const RecordDescription& description = KVT317SettingsDetail::Description();
    KVT317SettingsDetail detail;
    EXPECT_TRUE(detail.SetMemberValue(Bit(description, "Threshold"), QVariant(-7)));
    EXPECT_TRUE(detail.SetMemberValue(Bit(description, "AttenuationHoldValue"), QVariant(2.5)));
    EXPECT_TRUE(detail.SetMemberValue(Bit(description, "AntennaPol"), QVariant(2)));
    EXPECT_TRUE(detail.SetMemberValue(Bit(description, "Name"), QVariant(QStringLiteral("a"))));
    const QDateTime stop(QDate(2026, 1, 2), QTime(3, 4, 5), Qt::UTC);
    EXPECT_TRUE(detail.SetMemberValue(Bit(description, "StopTime"), QVariant(stop)));
    EXPECT_EQ(detail.GetThreshold(), -7);
    EXPECT_EQ(detail.GetAttenuationHoldValue(), 2.5f);
    EXPECT_EQ(detail.GetAntennaPol(), KVT317SettingsDetail::AntennaPol(2));
    EXPECT_EQ(detail.GetName(), QStringLiteral("a"));
    EXPECT_EQ(detail.GetStopTime(), stop);
    EXPECT_TRUE(detail.IsThresholdSet() && detail.IsAntennaPolSet() && detail.IsStopTimeSet());

    FrequencyRange range;
    EXPECT_TRUE(range.SetMemberValue(0, QVariant(118000000)));
    EXPECT_EQ(range.GetStartFrequency(), 118000000.0);
    EXPECT_EQ(range.MemberValue(0), QVariant(118000000.0));
    EXPECT_EQ(range.MemberValue(1), QVariant(240000000.0));
    EXPECT_FALSE(range.IsStopFrequencySet());
}

TEST(MembersByDescription, ValuesThatDoNotConvertExactlyChangeNothing)
{
    const RecordDescription& description = KVT317SettingsDetail::Description();
    KVT317SettingsDetail detail;
    const int threshold = Bit(description, "Threshold");
    EXPECT_FALSE(detail.SetMemberValue(threshold, QVariant(1.5)));
    EXPECT_FALSE(detail.SetMemberValue(threshold, QVariant(QStringLiteral("1"))));
    EXPECT_FALSE(detail.SetMemberValue(threshold, QVariant(Q_INT64_C(4294967296))));
    EXPECT_FALSE(detail.SetMemberValue(Bit(description, "Name"), QVariant(3)));
    EXPECT_FALSE(detail.SetMemberValue(Bit(description, "StopTime"), QVariant(3)));
    EXPECT_FALSE(detail.SetMemberValue(Bit(description, "FrequencyRange"), QVariant(3)));
    EXPECT_FALSE(detail.IsThresholdSet());
    EXPECT_FALSE(detail.IsNameSet());
    EXPECT_TRUE(detail.SetMemberValue(threshold, QVariant(12.0)));
    EXPECT_EQ(detail.GetThreshold(), 12);
}

TEST(MembersByDescription, ReportsAreThoseOfTheTypedSetters)
{
    const RecordDescription& description = BearingSettings::Description();
    BearingSettings bearing;
    LogCapture log;
    bearing.SetLogger(log.logger);
    EXPECT_TRUE(bearing.SetMemberValue(Bit(description, "DFMode"), QVariant(3)));
    EXPECT_TRUE(bearing.SetMemberValue(Bit(description, "BearingVtPath"), QVariant(QString())));
    EXPECT_EQ(
        log.lines,
        QStringList({"WARNING: enum is not valid (classname=BearingSettings,membername=m_dFMode)",
                     "WARNING: BearingSettings: Please set BearingVtPath properly."}));
    EXPECT_EQ(bearing.GetDFMode(), BearingSettings::DFMode(3));
    EXPECT_TRUE(bearing.IsBearingVtPathSet());

    BearingSettings strict;
    strict.SetLogger(nullptr);
    strict.SetValidate(true);
    try {
        strict.SetMemberValue(Bit(description, "DFMode"), QVariant(-2));
        FAIL() << "no exception";
    } catch (const REPORTGENERATOR::OutOfRangeException& exception) {
        EXPECT_EQ(
            exception.GetMessage(),
            QStringLiteral("enum is not valid (classname=BearingSettings,membername=m_dFMode)"));
    }
    EXPECT_FALSE(strict.IsDFModeSet());
}

TEST(MembersByDescription, TextsConvertAsXmlReadingConverts)
{
    KVT317SettingsDetail detail;
    EXPECT_EQ(SetTexts(detail, {{"Threshold", QStringLiteral("abc")},
                                {"AntennaPol", QStringLiteral("vert")},
                                {"BandwidthDF", QStringLiteral("8.333 kHz")},
                                {"StopTime", QStringLiteral("2026-11-30T18:00:00,250Z")},
                                {"AttenuationHoldTime", QStringLiteral("12.5")}}),
              QStringList({"WARNING: enum is not valid "
                           "(classname=KVT317SettingsDetail,membername=m_antennaPol)"}));
    EXPECT_TRUE(detail.IsThresholdSet());
    EXPECT_EQ(detail.GetThreshold(), 0);
    EXPECT_EQ(detail.GetAntennaPol(), KVT317SettingsDetail::AntennaPol(-1));
    EXPECT_EQ(detail.GetBandwidthDF(), KVT317SettingsDetail::BandwidthDF(20));
    EXPECT_EQ(detail.GetStopTime(), QDateTime(QDate(2026, 11, 30), QTime(18, 0, 0, 250), Qt::UTC));
    EXPECT_EQ(detail.GetAttenuationHoldTime(), 12.5f);
}

TEST(MembersByDescription, ResetAndDefaults)
{
    const RecordDescription& description = KVT317SettingsDetail::Description();
    KVT317SettingsDetail detail;
    const int threshold = Bit(description, "Threshold");
    EXPECT_EQ(detail.MemberDefault(threshold), QVariant(20));
    EXPECT_EQ(detail.MemberDefault(Bit(description, "DF_Alt")), QVariant(2));
    EXPECT_EQ(detail.MemberDefault(Bit(description, "AverageMode")), QVariant(-1));
    EXPECT_EQ(detail.MemberValue(Bit(description, "Name")), QVariant(QString()));
    EXPECT_FALSE(detail.MemberValue(Bit(description, "FrequencyRange")).isValid());
    detail.SetThreshold(5);
    detail.ResetMember(threshold);
    EXPECT_FALSE(detail.IsThresholdSet());
    EXPECT_EQ(detail.MemberValue(threshold), QVariant(20));
}

namespace {

using DetailAction = std::function<void(KVT317SettingsDetail&)>;

// Each action on a fresh detail logs exactly one WARNING with the message with validation off
// and raises OutOfRangeException with it on, leaving the member unset; returns the details
// written with validation off.
std::vector<KVT317SettingsDetail> SameOutOfRangeReports(const QString& message, int bit,
                                                        const std::vector<DetailAction>& actions)
{
    std::vector<KVT317SettingsDetail> written(actions.size());
    for (std::size_t i = 0; i < actions.size(); ++i) {
        EXPECT_EQ(Logged(written[i], actions[i]), QStringList({"WARNING: " + message})) << i;
        EXPECT_TRUE(written[i].IsMemberSet(bit)) << i;
        KVT317SettingsDetail strict;
        EXPECT_EQ(Raised(strict, actions[i]), "OutOfRange: " + message) << i;
        EXPECT_FALSE(strict.IsMemberSet(bit)) << i;
    }
    return written;
}

} // namespace

TEST(MembersByDescription, EveryKindOfBearingSettingsReadsBackThroughTheTypedGetters)
{
    const RecordDescription& description = BearingSettings::Description();
    BearingSettings bearing;
    EXPECT_TRUE(bearing.SetMemberValue(Bit(description, "Frequency"), QVariant(118000000)));
    EXPECT_TRUE(bearing.SetMemberValue(Bit(description, "DFBandwidth"), QVariant(12.5)));
    EXPECT_TRUE(bearing.SetMemberValue(Bit(description, "AveragingTime"), QVariant(Q_INT64_C(40))));
    EXPECT_TRUE(bearing.SetMemberValue(Bit(description, "DFMode"), QVariant(2)));
    EXPECT_TRUE(bearing.SetMemberValue(Bit(description, "Name"), QVariant(QStringLiteral("n"))));
    EXPECT_TRUE(bearing.SetMemberValue(Bit(description, "Index"), QVariant(7u)));
    EXPECT_EQ(bearing.GetFrequency(), 118000000.0);
    EXPECT_EQ(bearing.GetDFBandwidth(), 12.5);
    EXPECT_EQ(bearing.GetAveragingTime(), 40);
    EXPECT_EQ(bearing.GetDFMode(), BearingSettings::DFMode_Gate);
    EXPECT_EQ(bearing.GetName(), QStringLiteral("n"));
    EXPECT_EQ(bearing.GetIndex(), 7);
    EXPECT_TRUE(bearing.IsFrequencySet() && bearing.IsDFBandwidthSet() &&
                bearing.IsAveragingTimeSet() && bearing.IsDFModeSet() && bearing.IsNameSet() &&
                bearing.IsIndexSet());
    EXPECT_FALSE(bearing.IsAngleSamplesSet());
    EXPECT_EQ(bearing.MemberValue(Bit(description, "DFMode")), QVariant(2));
    EXPECT_EQ(bearing.MemberValue(Bit(description, "Name")), QVariant(QStringLiteral("n")));
    EXPECT_EQ(bearing.MemberValue(Bit(description, "AveragingTime")), QVariant(40));
    EXPECT_EQ(bearing.MutableChild(Bit(description, "Name")), nullptr);
    EXPECT_EQ(bearing.NewMemberRecord(Bit(description, "Frequency")), nullptr);
}

TEST(MembersByDescription, NumbersAreTakenOnlyWhenTheyConvertWithoutLoss)
{
    const RecordDescription& description = KVT317SettingsDetail::Description();
    const int holdValue = Bit(description, "AttenuationHoldValue");
    const int threshold = Bit(description, "Threshold");
    KVT317SettingsDetail detail;
    EXPECT_FALSE(detail.SetMemberValue(holdValue, QVariant(0.1)));
    EXPECT_FALSE(detail.SetMemberValue(holdValue, QVariant(16777217)));
    EXPECT_FALSE(detail.SetMemberValue(holdValue, QVariant(1e300)));
    EXPECT_FALSE(detail.SetMemberValue(holdValue, QVariant(QStringLiteral("2.5"))));
    EXPECT_FALSE(detail.SetMemberValue(holdValue, QVariant(true)));
    EXPECT_FALSE(detail.SetMemberValue(holdValue, QVariant()));
    EXPECT_FALSE(detail.IsAttenuationHoldValueSet());
    EXPECT_TRUE(detail.SetMemberValue(holdValue, QVariant(16777216)));
    EXPECT_EQ(detail.GetAttenuationHoldValue(), 16777216.0f);
    EXPECT_TRUE(detail.SetMemberValue(holdValue, QVariant(0.1f)));
    EXPECT_EQ(detail.GetAttenuationHoldValue(), 0.1f);
    EXPECT_TRUE(detail.SetMemberValue(holdValue, QVariant(-2.25)));
    EXPECT_EQ(detail.GetAttenuationHoldValue(), -2.25f);

    EXPECT_FALSE(detail.SetMemberValue(threshold, QVariant(2147483648.0)));
    EXPECT_FALSE(detail.SetMemberValue(threshold, QVariant(Q_UINT64_C(2147483648))));
    EXPECT_FALSE(detail.SetMemberValue(threshold, QVariant(std::nan(""))));
    EXPECT_FALSE(detail.IsThresholdSet());
    EXPECT_TRUE(detail.SetMemberValue(threshold, QVariant(-2147483648.0)));
    EXPECT_EQ(detail.GetThreshold(), -2147483647 - 1);
    EXPECT_TRUE(detail.SetMemberValue(threshold, QVariant(3.0f)));
    EXPECT_EQ(detail.GetThreshold(), 3);

    FrequencyRange range;
    EXPECT_FALSE(range.SetMemberValue(0, QVariant(Q_INT64_C(9007199254740993))));
    EXPECT_FALSE(range.SetMemberValue(0, QVariant(Q_UINT64_C(18446744073709551615))));
    EXPECT_FALSE(range.IsStartFrequencySet());
    EXPECT_TRUE(range.SetMemberValue(0, QVariant(Q_INT64_C(9007199254740992))));
    EXPECT_EQ(range.GetStartFrequency(), 9007199254740992.0);
    EXPECT_TRUE(range.SetMemberValue(1, QVariant(0.1f)));
    EXPECT_EQ(range.GetStopFrequency(), static_cast<double>(0.1f));

    KVT317_Settings settings;
    EXPECT_FALSE(settings.SetMemberValue(0, QVariant(1)));
    EXPECT_FALSE(settings.MemberValue(0).isValid());
    EXPECT_FALSE(settings.MemberDefault(0).isValid());
    EXPECT_FALSE(settings.IsMemberSet(0));
}

TEST(MembersByDescription, TextReportsEqualSetName)
{
    const int nameBit = Bit(KVT317SettingsDetail::Description(), "Name");
    const std::vector<KVT317SettingsDetail> written = SameOutOfRangeReports(
        QStringLiteral("KVT317SettingsDetail: Please set Name properly."), nameBit,
        {[](KVT317SettingsDetail& d) { d.SetName(QString()); },
         [nameBit](KVT317SettingsDetail& d) {
             EXPECT_TRUE(d.SetMemberValue(nameBit, QVariant(QString())));
         },
         [nameBit](KVT317SettingsDetail& d) { d.SetMemberText(nameBit, QString()); }});
    EXPECT_TRUE(written[1].GetName().isNull());
    EXPECT_TRUE(written[2].GetName().isNull());

    KVT317SettingsDetail detail;
    EXPECT_EQ(Logged(detail,
                     [nameBit](KVT317SettingsDetail& d) {
                         d.SetMemberText(nameBit, QStringLiteral(" x "));
                     }),
              QStringList());
    EXPECT_EQ(detail.GetName(), QStringLiteral(" x "));
}

TEST(MembersByDescription, EnumerationReportsEqualTheTypedSetter)
{
    const int polBit = Bit(KVT317SettingsDetail::Description(), "AntennaPol");
    const std::vector<KVT317SettingsDetail> written = SameOutOfRangeReports(
        QStringLiteral(
            "enum is not valid (classname=KVT317SettingsDetail,membername=m_antennaPol)"),
        polBit,
        {[](KVT317SettingsDetail& d) { d.SetAntennaPol(KVT317SettingsDetail::AntennaPol(4)); },
         [polBit](KVT317SettingsDetail& d) { EXPECT_TRUE(d.SetMemberValue(polBit, QVariant(4))); },
         [polBit](KVT317SettingsDetail& d) { d.SetMemberText(polBit, QStringLiteral("vert")); }});
    EXPECT_EQ(written[0].GetAntennaPol(), KVT317SettingsDetail::AntennaPol(4));
    EXPECT_EQ(written[1].GetAntennaPol(), KVT317SettingsDetail::AntennaPol(4));
    EXPECT_EQ(written[2].GetAntennaPol(), KVT317SettingsDetail::AntennaPol(-1));
    EXPECT_EQ(written[2].MemberValue(polBit), QVariant(-1));

    KVT317SettingsDetail strict;
    EXPECT_EQ(Raised(strict,
                     [polBit](KVT317SettingsDetail& r) {
                         r.SetMemberText(polBit, QStringLiteral("HOR"));
                     }),
              QString());
    EXPECT_EQ(strict.GetAntennaPol(), KVT317SettingsDetail::AntennaPol(1));
    EXPECT_EQ(strict.MemberValue(polBit), QVariant(1));
}

TEST(MembersByDescription, TextsOfEveryKindConvert)
{
    BearingSettings bearing;
    EXPECT_EQ(SetTexts(bearing, {{"Frequency", QStringLiteral("1.5e8")},
                                 {"DFBandwidth", QStringLiteral("wide")},
                                 {"AngleSamples", QStringLiteral("-12")},
                                 {"LevelThreshold", QStringLiteral("1.5")},
                                 {"DFMode", QStringLiteral("Norm")},
                                 {"BearingVtPath", QStringLiteral("a/b")}}),
              QStringList());
    EXPECT_EQ(bearing.GetFrequency(), 150000000.0);
    EXPECT_EQ(bearing.GetDFBandwidth(), 0.0);
    EXPECT_TRUE(bearing.IsDFBandwidthSet());
    EXPECT_EQ(bearing.GetAngleSamples(), -12);
    EXPECT_EQ(bearing.GetLevelThreshold(), 0);
    EXPECT_TRUE(bearing.IsLevelThresholdSet());
    EXPECT_EQ(bearing.GetDFMode(), BearingSettings::DFMode_Norm);
    EXPECT_EQ(bearing.GetBearingVtPath(), QStringLiteral("a/b"));

    const int stopBit = Bit(KVT317SettingsDetail::Description(), "StopTime");
    KVT317SettingsDetail detail;
    detail.SetMemberText(stopBit, QStringLiteral("2026-01-02T03:04:05Z"));
    EXPECT_EQ(detail.GetStopTime(), QDateTime(QDate(2026, 1, 2), QTime(3, 4, 5), Qt::UTC));
    EXPECT_EQ(detail.MemberValue(stopBit),
              QVariant(QDateTime(QDate(2026, 1, 2), QTime(3, 4, 5), Qt::UTC)));
    detail.SetMemberText(stopBit, QStringLiteral("2 January 2026"));
    EXPECT_TRUE(detail.GetStopTime().isNull());
    EXPECT_TRUE(detail.IsStopTimeSet());

    KVT317_Settings settings;
    settings.SetMemberText(0, QStringLiteral("x"));
    EXPECT_FALSE(settings.IsMemberSet(0));
    EXPECT_EQ(settings.ListSize(0), 0);
}

TEST(MembersByDescription, ResetMemberOfEveryKind)
{
    const RecordDescription& description = KVT317SettingsDetail::Description();
    KVT317SettingsDetail detail = CompleteDetail(QStringLiteral("a"));
    detail.SetAttenuationHoldValue(3.5f);
    detail.SetAntennaPol(KVT317SettingsDetail::AntennaPol(2));
    detail.GetFrequencyRange().SetStartFrequency(1.0);
    for (const char* name : {"Name", "StopTime", "AntennaPol", "AttenuationHoldValue",
                             "ScanMemoryID", "FrequencyRange"})
        detail.ResetMember(Bit(description, name));
    EXPECT_FALSE(detail.IsNameSet() || detail.IsStopTimeSet() || detail.IsAntennaPolSet() ||
                 detail.IsAttenuationHoldValueSet() || detail.IsScanMemoryIDSet() ||
                 detail.IsFrequencyRangeSet());
    EXPECT_TRUE(detail.GetName().isNull());
    EXPECT_TRUE(detail.GetStopTime().isNull());
    EXPECT_EQ(detail.GetAntennaPol(), KVT317SettingsDetail::AntennaPol(0));
    EXPECT_EQ(detail.GetAttenuationHoldValue(), 10.0f);
    EXPECT_EQ(detail.GetScanMemoryID(), 0);
    EXPECT_EQ(detail.GetFrequencyRange().GetStartFrequency(), 88000000.0);
    EXPECT_TRUE(detail.IsAverageModeSet());

    KVT317_Settings settings;
    settings.AppendKVT317SettingsDetail(CompleteDetail(QStringLiteral("a")));
    settings.ResetMember(0);
    EXPECT_FALSE(settings.IsMemberSet(0));
    EXPECT_EQ(settings.ListSize(0), 0);
}

TEST(MembersByDescription, MemberValueAndDefaultOfEveryKind)
{
    const RecordDescription& description = KVT317SettingsDetail::Description();
    KVT317SettingsDetail detail;
    const auto value = [&](const char* name) { return detail.MemberValue(Bit(description, name)); };
    const auto def = [&](const char* name) { return detail.MemberDefault(Bit(description, name)); };
    EXPECT_EQ(value("AttenuationHoldValue"), QVariant(10.0f));
    EXPECT_EQ(value("AttenuationHoldValue").userType(), int(QMetaType::Float));
    EXPECT_EQ(def("AttenuationHoldTime"), QVariant(100.0f));
    EXPECT_EQ(value("BlockAveragingTime"), QVariant(10));
    EXPECT_EQ(value("ScanMemoryID"), QVariant(0));
    EXPECT_EQ(value("AntennaPol"), QVariant(0));
    EXPECT_EQ(value("AttSelect"), QVariant(1));
    EXPECT_EQ(def("Real_Time_Bandwidth").userType(), int(QMetaType::Int));
    EXPECT_EQ(value("Name").userType(), int(QMetaType::QString));
    EXPECT_TRUE(value("Name").toString().isNull());
    EXPECT_EQ(value("StopTime").userType(), int(QMetaType::QDateTime));
    EXPECT_TRUE(value("StopTime").toDateTime().isNull());
    EXPECT_FALSE(def("FrequencyRange").isValid());

    detail.SetThreshold(5);
    detail.SetDefaultThreshold(7);
    detail.SetDefaultName(QStringLiteral("d"));
    EXPECT_EQ(value("Threshold"), QVariant(5));
    EXPECT_EQ(def("Threshold"), QVariant(7));
    EXPECT_EQ(def("Name"), QVariant(QStringLiteral("d")));
    EXPECT_TRUE(value("Name").toString().isNull());

    FrequencyRange range;
    EXPECT_EQ(range.MemberDefault(0), QVariant(88000000.0));
    EXPECT_EQ(range.MemberDefault(0).userType(), int(QMetaType::Double));
    EXPECT_FALSE(range.IsInitialized() && range.IsStartFrequencySet());
}

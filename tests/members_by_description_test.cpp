// Members written by description: every member set, reset and every list edited through the
// member table, with exactly the checks and reports of the typed accessors.

#include "LogCapture.h"

#include <BearingSettings.h>
#include <FrequencyRange.h>
#include <KVT317_Settings.h>
#include <RGException.h>

#include <QDateTime>

#include <gtest/gtest.h>

using namespace KVT317XML;

namespace {

int Bit(const RecordDescription& description, const char* name)
{
    return description.FindName(QString::fromLatin1(name))->bit;
}

KVT317SettingsDetail CompleteDetail(const QString& name)
{
    KVT317SettingsDetail detail;
    detail.ResetToDefault();
    detail.SetAverageMode(KVT317SettingsDetail::AverageMode(1));
    detail.SetBandwidthDF(KVT317SettingsDetail::BandwidthDF(3));
    detail.SetScanMemoryID(4);
    detail.SetStopTime(QDateTime(QDate(2026, 11, 30), QTime(18, 0), Qt::UTC));
    detail.SetName(name);
    return detail;
}

QStringList Names(const KVT317_Settings& settings)
{
    QStringList names;
    for (const KVT317SettingsDetail& detail : settings.GetKVT317SettingsDetail())
        names.append(KVT317SettingsDetail(detail).GetName());
    return names;
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
    const RecordDescription& description = KVT317SettingsDetail::Description();
    KVT317SettingsDetail detail;
    LogCapture log;
    detail.SetLogger(log.logger);
    detail.SetMemberText(Bit(description, "Threshold"), QStringLiteral("abc"));
    detail.SetMemberText(Bit(description, "AntennaPol"), QStringLiteral("vert"));
    detail.SetMemberText(Bit(description, "BandwidthDF"), QStringLiteral("8.333 kHz"));
    detail.SetMemberText(Bit(description, "StopTime"), QStringLiteral("2026-11-30T18:00:00,250Z"));
    detail.SetMemberText(Bit(description, "AttenuationHoldTime"), QStringLiteral("12.5"));
    EXPECT_TRUE(detail.IsThresholdSet());
    EXPECT_EQ(detail.GetThreshold(), 0);
    EXPECT_EQ(detail.GetAntennaPol(), KVT317SettingsDetail::AntennaPol(-1));
    EXPECT_EQ(detail.GetBandwidthDF(), KVT317SettingsDetail::BandwidthDF(20));
    EXPECT_EQ(detail.GetStopTime(), QDateTime(QDate(2026, 11, 30), QTime(18, 0, 0, 250), Qt::UTC));
    EXPECT_EQ(detail.GetAttenuationHoldTime(), 12.5f);
    EXPECT_EQ(log.lines, QStringList({"WARNING: enum is not valid "
                                      "(classname=KVT317SettingsDetail,membername=m_antennaPol)"}));
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

TEST(MembersByDescription, ChildrenAndItemsAreEditedInPlaceWithoutReachingCopies)
{
    const int rangeBit = Bit(KVT317SettingsDetail::Description(), "FrequencyRange");
    KVT317SettingsDetail detail;
    Record* range = detail.MutableChild(rangeBit);
    ASSERT_NE(range, nullptr);
    EXPECT_TRUE(detail.IsFrequencyRangeSet());
    const KVT317SettingsDetail copy(detail);
    range->SetMemberValue(0, QVariant(1.0));
    EXPECT_EQ(detail.GetFrequencyRange().GetStartFrequency(), 1.0);
    EXPECT_EQ(copy.GetFrequencyRange().GetStartFrequency(), 88000000.0);
    EXPECT_EQ(detail.MutableChild(Bit(KVT317SettingsDetail::Description(), "Threshold")), nullptr);

    KVT317_Settings settings;
    settings.AppendKVT317SettingsDetail(CompleteDetail(QStringLiteral("a")));
    Record* item = settings.MutableListItem(0, 0);
    ASSERT_NE(item, nullptr);
    const KVT317_Settings settingsCopy(settings);
    item->SetMemberText(Bit(KVT317SettingsDetail::Description(), "Name"), QStringLiteral("b"));
    EXPECT_EQ(Names(settings), QStringList({"b"}));
    EXPECT_EQ(Names(settingsCopy), QStringList({"a"}));
    EXPECT_EQ(settings.MutableListItem(0, 1), nullptr);
    EXPECT_EQ(settings.MutableListItem(0, -1), nullptr);
}

TEST(MembersByDescription, ListItemsAreInsertedRemovedAndMoved)
{
    KVT317_Settings settings;
    const std::unique_ptr<Record> item = settings.NewMemberRecord(0);
    ASSERT_NE(dynamic_cast<KVT317SettingsDetail*>(item.get()), nullptr);
    EXPECT_TRUE(settings.AppendListItem(0, CompleteDetail(QStringLiteral("b"))));
    EXPECT_TRUE(settings.InsertListItem(0, 0, CompleteDetail(QStringLiteral("a"))));
    EXPECT_TRUE(settings.InsertListItem(0, 2, CompleteDetail(QStringLiteral("d"))));
    EXPECT_TRUE(settings.InsertListItem(0, 2, CompleteDetail(QStringLiteral("c"))));
    EXPECT_EQ(Names(settings), QStringList({"a", "b", "c", "d"}));
    EXPECT_FALSE(settings.InsertListItem(0, 5, CompleteDetail(QStringLiteral("x"))));
    EXPECT_FALSE(settings.InsertListItem(0, -1, CompleteDetail(QStringLiteral("x"))));
    EXPECT_FALSE(settings.InsertListItem(0, 0, FrequencyRange()));
    EXPECT_TRUE(settings.MoveListItem(0, 0, 3));
    EXPECT_EQ(Names(settings), QStringList({"b", "c", "d", "a"}));
    EXPECT_TRUE(settings.MoveListItem(0, 2, 0));
    EXPECT_EQ(Names(settings), QStringList({"d", "b", "c", "a"}));
    EXPECT_FALSE(settings.MoveListItem(0, 0, 4));
    EXPECT_TRUE(settings.RemoveListItem(0, 1));
    EXPECT_EQ(Names(settings), QStringList({"d", "c", "a"}));
    EXPECT_FALSE(settings.RemoveListItem(0, 3));
    EXPECT_EQ(Names(settings), QStringList({"d", "c", "a"}));
    EXPECT_EQ(FrequencyRange().NewMemberRecord(0), nullptr);
}

TEST(MembersByDescription, InsertingFollowsTheAppendRule)
{
    const QString message = QStringLiteral("KVT317_Settings: Tried to append not completely "
                                           "defined or invalid item KVT317SettingsDetail.");
    KVT317_Settings settings;
    LogCapture log;
    settings.SetLogger(log.logger);
    EXPECT_TRUE(settings.InsertListItem(0, 0, KVT317SettingsDetail()));
    EXPECT_EQ(settings.ListSize(0), 1);
    EXPECT_EQ(log.lines, QStringList({"WARNING: " + message}));

    settings.SetValidate(true);
    try {
        settings.InsertListItem(0, 0, KVT317SettingsDetail());
        FAIL() << "no exception";
    } catch (const REPORTGENERATOR::IncompleteDefinitionException& exception) {
        EXPECT_EQ(exception.GetMessage(), message);
    }
    EXPECT_EQ(settings.ListSize(0), 1);
    EXPECT_EQ(log.lines, QStringList({"WARNING: " + message, "ERROR: " + message}));
}

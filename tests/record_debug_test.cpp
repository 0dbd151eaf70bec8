#include "TestSupport.h"

#include <BearingSettings.h>
#include <FrequencyRange.h>
#include <KVT317_Settings.h>

#include <QDebug>
#include <QStringList>

#include <gtest/gtest.h>

using KVT317XML::BearingSettings;
using KVT317XML::FrequencyRange;
using KVT317XML::KVT317_Settings;
using KVT317XML::KVT317SettingsDetail;
using Detail = KVT317SettingsDetail;

namespace {

const QString FullDetailText = QStringLiteral(
    "KVT317SettingsDetail(Name=\"D\", index=3, AntennaPol=LEFT, AntPreAmp=ON, "
    "AverageMode=GATE, BandwidthDF=1 MHz, BlockAveragingTime=7, DF_Alt=AUTO, "
    "FrequencyRange=FrequencyRange(StartFrequency=1.00, StopFrequency=2.00), "
    "Real_Time_Bandwidth=5 MHz, ScanMemoryID=4, DFPan_Selectivity=SHARP, Threshold=-1, "
    "StopTime=2024-03-01T12:30:05,250Z, AttSelect=AUTO, AttenuationHoldValue=1.50, "
    "AttenuationHoldTime=2.25)");

TEST(RecordDebug, FreshRecordHasNoSetMembers)
{
    QtMessageCapture capture;
    qDebug() << FrequencyRange() << KVT317_Settings() << BearingSettings();
    EXPECT_EQ(capture.Texts(),
              QStringList{QStringLiteral("FrequencyRange() KVT317_Settings() BearingSettings()")});
}

TEST(RecordDebug, SetMembersOnlyWithTheirTextForm)
{
    FrequencyRange range;
    range.SetStopFrequency(137000000.0);
    QtMessageCapture capture;
    qDebug() << range;
    range.SetStartFrequency(1234567.891);
    qDebug() << range;
    EXPECT_EQ(capture.Texts(),
              (QStringList{QStringLiteral("FrequencyRange(StopFrequency=137000000.00)"),
                           QStringLiteral("FrequencyRange(StartFrequency=1234567.89, "
                                          "StopFrequency=137000000.00)")}));
}

TEST(RecordDebug, AttributesFirstTextsQuotedEnumerationsByName)
{
    BearingSettings bearing;
    bearing.SetSignalEstimationQualityVtPath(QStringLiteral("C:\\q\"uality\".vt"));
    bearing.SetDFMode(BearingSettings::DFMode_Gate);
    bearing.SetFrequency(121500000.0);
    bearing.SetIndex(-2);
    bearing.SetName(QStringLiteral("North"));
    bearing.SetLevelThreshold(-95);
    QtMessageCapture capture;
    qDebug() << bearing;
    qDebug().noquote() << bearing;
    EXPECT_EQ(capture.Texts(),
              (QStringList{
                  QStringLiteral("BearingSettings(Name=\"North\", Index=-2, "
                                 "Frequency=121500000.000000000, DFMode=Gate, LevelThreshold=-95, "
                                 "SignalEstimationQualityVtPath=\"C:\\\\q\\\"uality\\\".vt\")"),
                  QStringLiteral("BearingSettings(Name=North, Index=-2, "
                                 "Frequency=121500000.000000000, DFMode=Gate, LevelThreshold=-95, "
                                 "SignalEstimationQualityVtPath=C:\\q\"uality\".vt)")}));
}

TEST(RecordDebug, ChildRecordAndDateTime)
{
    QtMessageCapture capture;
    qDebug() << FullySetDetail();
    EXPECT_EQ(capture.Texts(), QStringList{FullDetailText});
}

TEST(RecordDebug, ValueOutsideItsNamesAndEmptyText)
{
    LogCapture log;
    BearingSettings bearing;
    bearing.SetLogger(log.logger);
    bearing.SetFrequency(0.5);
    bearing.SetDFMode(static_cast<BearingSettings::DFMode>(7));
    bearing.SetBearingVtPath(QStringLiteral(""));
    QtMessageCapture capture;
    qDebug() << bearing;
    EXPECT_EQ(capture.Texts(),
              QStringList{QStringLiteral("BearingSettings(Frequency=0.500000000, DFMode=(invalid), "
                                         "BearingVtPath=\"\")")});
}

TEST(RecordDebug, ListItemsInBrackets)
{
    LogCapture log;
    KVT317_Settings settings;
    settings.SetLogger(log.logger);
    settings.SetKVT317SettingsDetail({});
    QtMessageCapture capture;
    qDebug() << settings;
    settings.AppendKVT317SettingsDetail(FullySetDetail());
    Detail second = FullySetDetail();
    second.ResetName();
    second.Resetindex();
    second.ResetFrequencyRange();
    second.SetThreshold(12);
    settings.AppendKVT317SettingsDetail(second);
    qDebug() << settings;
    EXPECT_EQ(capture.Texts(),
              (QStringList{
                  QStringLiteral("KVT317_Settings(KVT317SettingsDetail=[])"),
                  QStringLiteral("KVT317_Settings(KVT317SettingsDetail=[") + FullDetailText +
                      QStringLiteral(", KVT317SettingsDetail(AntennaPol=LEFT, AntPreAmp=ON, "
                                     "AverageMode=GATE, BandwidthDF=1 MHz, BlockAveragingTime=7, "
                                     "DF_Alt=AUTO, Real_Time_Bandwidth=5 MHz, ScanMemoryID=4, "
                                     "DFPan_Selectivity=SHARP, Threshold=12, "
                                     "StopTime=2024-03-01T12:30:05,250Z, AttSelect=AUTO, "
                                     "AttenuationHoldValue=1.50, AttenuationHoldTime=2.25)])")}));
}

TEST(RecordDebug, StreamKeepsItsSpacing)
{
    QtMessageCapture capture;
    qDebug() << 1 << FrequencyRange() << 2;
    qDebug().nospace() << 1 << FrequencyRange() << 2;
    EXPECT_EQ(capture.Texts(), (QStringList{QStringLiteral("1 FrequencyRange() 2"),
                                            QStringLiteral("1FrequencyRange()2")}));
}

} // namespace

// What the public description tells of every member without a record at hand: kind name,
// unit, display names, declared default and the write order of each record; the operations
// of each member kind; making and copying records by description. Every expected value is
// written out here.

#include "TestSupport.h"

#include <BearingSettings.h>
#include <FrequencyRange.h>
#include <KVT317SettingsDetail.h>
#include <KVT317_Settings.h>
#include <ReadObserver.h>
#include <RecordDescription.h>

#include <QDateTime>
#include <QVariant>

#include <gtest/gtest.h>

#include <vector>

using namespace KVT317XML;

namespace {

// One member as the description must tell it.
struct Expected {
    const char* name;
    const char* kindName;
    const char* unit;
    bool hasDefault;
    const char* defaultText; // null: no default text
    QVariant defaultValue;
};

QStringList Names(std::initializer_list<const char*> names)
{
    QStringList list;
    for (const char* name : names)
        list.append(QString::fromUtf8(name));
    return list;
}

QStringList WriteOrder(const RecordDescription& type)
{
    QStringList order;
    for (const int bit : type.writeOrder)
        order.append(type.members.at(static_cast<std::size_t>(bit)).name);
    return order;
}

void ExpectMembers(const RecordDescription& type, const std::vector<Expected>& expected)
{
    ASSERT_EQ(type.members.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const MemberDescription& member = type.members[i];
        const Expected& want = expected[i];
        SCOPED_TRACE(want.name);
        EXPECT_EQ(member.name, QString::fromUtf8(want.name));
        EXPECT_EQ(member.kindName, QString::fromUtf8(want.kindName));
        EXPECT_EQ(member.unit, QString::fromUtf8(want.unit));
        EXPECT_EQ(member.hasDefault, want.hasDefault);
        if (want.defaultText)
            EXPECT_EQ(member.defaultText, QString::fromUtf8(want.defaultText));
        else
            EXPECT_TRUE(member.defaultText.isNull());
        EXPECT_EQ(member.defaultValue.isValid(), want.defaultValue.isValid());
        EXPECT_EQ(member.defaultValue.userType(), want.defaultValue.userType());
        EXPECT_EQ(member.defaultValue, want.defaultValue);
        ASSERT_NE(member.operations, nullptr);
        EXPECT_EQ(member.operations->kind, member.kind);
    }
}

const MemberDescription& Member(const RecordDescription& type, const char* name)
{
    return *type.FindName(QLatin1String(name));
}

} // namespace

TEST(MemberDescription, FrequencyRange)
{
    const RecordDescription& type = FrequencyRange::Description();
    ExpectMembers(type, {
                            {"StartFrequency", "number, 2 decimals", "Hz", true, "88000000.00",
                             QVariant(88000000.0)},
                            {"StopFrequency", "number, 2 decimals", "Hz", true, "240000000.00",
                             QVariant(240000000.0)},
                        });
    EXPECT_EQ(WriteOrder(type), Names({"StartFrequency", "StopFrequency"}));
}

TEST(MemberDescription, BearingSettings)
{
    const RecordDescription& type = BearingSettings::Description();
    ExpectMembers(
        type,
        {
            {"Frequency", "number, 9 decimals", "Hz", false, nullptr, QVariant(0.0)},
            {"AveragingTime", "whole number", "ms", false, nullptr, QVariant(0)},
            {"DFBandwidth", "number, 2 decimals", "Hz", false, nullptr, QVariant(0.0)},
            {"DFMode", "enumeration", "", false, nullptr, QVariant(-1)},
            {"AngleSamples", "whole number", "", false, nullptr, QVariant(0)},
            {"LevelThreshold", "whole number", "dB\u00B5V", false, nullptr, QVariant(0)},
            {"QualityThreshold", "whole number", "%", false, nullptr, QVariant(0)},
            {"ElevationThreshold", "whole number", "\u00B0", false, nullptr, QVariant(0)},
            {"SlidingWindowTime", "whole number", "ms", false, nullptr, QVariant(0)},
            {"BearingVtPath", "text", "", false, nullptr, QVariant(QString())},
            {"BearingVtPathSR", "text", "", false, nullptr, QVariant(QString())},
            {"EigenValueVtPath", "text", "", false, nullptr, QVariant(QString())},
            {"SignalEstimationQualityVtPath", "text", "", false, nullptr, QVariant(QString())},
            {"Name", "text", "", false, nullptr, QVariant(QString())},
            {"Index", "whole number", "", false, nullptr, QVariant(0)},
        });
    EXPECT_EQ(WriteOrder(type),
              Names({"Name", "Index", "Frequency", "AveragingTime", "DFBandwidth", "DFMode",
                     "AngleSamples", "LevelThreshold", "QualityThreshold", "ElevationThreshold",
                     "SlidingWindowTime", "BearingVtPath", "BearingVtPathSR", "EigenValueVtPath",
                     "SignalEstimationQualityVtPath"}));
    EXPECT_EQ(Member(type, "DFMode").DisplayNames(), Names({"Cont", "Norm", "Gate"}));
    EXPECT_NE(Member(type, "DFMode").displayNames, nullptr);
    EXPECT_EQ(Member(type, "Frequency").DisplayNames(), QStringList());
    EXPECT_EQ(Member(type, "Name").DisplayNames(), QStringList());
}

TEST(MemberDescription, KVT317SettingsDetail)
{
    const RecordDescription& type = KVT317SettingsDetail::Description();
    ExpectMembers(
        type,
        {
            {"AntennaPol", "enumeration", "", true, "VERT", QVariant(0)},
            {"AntPreAmp", "enumeration", "", true, "OFF", QVariant(0)},
            {"AverageMode", "enumeration", "", false, nullptr, QVariant(-1)},
            {"BandwidthDF", "enumeration", "", false, nullptr, QVariant(-1)},
            {"BlockAveragingTime", "whole number", "ms", true, "10", QVariant(10)},
            {"DF_Alt", "enumeration", "", true, "CORRELATION", QVariant(2)},
            {"FrequencyRange", "record FrequencyRange", "", false, nullptr, QVariant()},
            {"Real_Time_Bandwidth", "enumeration", "", true, "80 MHz", QVariant(9)},
            {"ScanMemoryID", "whole number", "", false, nullptr, QVariant(0)},
            {"DFPan_Selectivity", "enumeration", "", true, "NORMAL", QVariant(1)},
            {"Threshold", "whole number", "dB\u00B5V", true, "20", QVariant(20)},
            {"StopTime", "date-time", "", false, nullptr, QVariant(QDateTime())},
            {"AttSelect", "enumeration", "", true, "MANUAL", QVariant(1)},
            {"AttenuationHoldValue", "number, 2 decimals", "dB", true, "10.00", QVariant(10.0f)},
            {"AttenuationHoldTime", "number, 2 decimals", "ms", true, "100.00", QVariant(100.0f)},
            {"Name", "text", "", false, nullptr, QVariant(QString())},
            {"index", "whole number", "", false, nullptr, QVariant(0)},
        });
    EXPECT_EQ(WriteOrder(type),
              Names({"Name", "index", "AntennaPol", "AntPreAmp", "AverageMode", "BandwidthDF",
                     "BlockAveragingTime", "DF_Alt", "FrequencyRange", "Real_Time_Bandwidth",
                     "ScanMemoryID", "DFPan_Selectivity", "Threshold", "StopTime", "AttSelect",
                     "AttenuationHoldValue", "AttenuationHoldTime"}));
}

TEST(MemberDescription, DetailDisplayNames)
{
    const RecordDescription& type = KVT317SettingsDetail::Description();
    EXPECT_EQ(Member(type, "AntennaPol").DisplayNames(), Names({"VERT", "HOR", "LEFT", "RIGHT"}));
    EXPECT_EQ(Member(type, "AntPreAmp").DisplayNames(), Names({"OFF", "ON"}));
    EXPECT_EQ(Member(type, "AverageMode").DisplayNames(), Names({"OFF", "GATE", "NORM"}));
    EXPECT_EQ(Member(type, "DF_Alt").DisplayNames(),
              Names({"AUTO", "WATSONWATT", "CORRELATION", "SUPERRESOLUTION", "VECTORMATCHING"}));
    EXPECT_EQ(Member(type, "DFPan_Selectivity").DisplayNames(),
              Names({"AUTO", "NORMAL", "NARROW", "SHARP"}));
    EXPECT_EQ(Member(type, "AttSelect").DisplayNames(), Names({"AUTO", "MANUAL"}));
    // The bandwidths' names are display texts already: no list of their own.
    EXPECT_EQ(Member(type, "Real_Time_Bandwidth").displayNames, nullptr);
    EXPECT_EQ(Member(type, "Real_Time_Bandwidth").DisplayNames(),
              Names({"100 kHz", "200 kHz", "500 kHz", "1 MHz", "2 MHz", "5 MHz", "10 MHz", "20 MHz",
                     "40 MHz", "80 MHz"}));
    const QStringList bandwidths = Member(type, "BandwidthDF").DisplayNames();
    ASSERT_EQ(bandwidths.size(), 31);
    EXPECT_EQ(bandwidths.at(0), QStringLiteral("12.50 Hz"));
    EXPECT_EQ(bandwidths.at(20), QStringLiteral("8.333 kHz"));
    EXPECT_EQ(bandwidths.at(30), QStringLiteral("2 MHz"));
    EXPECT_EQ(Member(type, "Threshold").DisplayNames(), QStringList());
    EXPECT_EQ(Member(type, "FrequencyRange").DisplayNames(), QStringList());
}

TEST(MemberDescription, KVT317Settings)
{
    const RecordDescription& type = KVT317_Settings::Description();
    ExpectMembers(type, {{"KVT317SettingsDetail", "list of KVT317SettingsDetail", "", false,
                          nullptr, QVariant()}});
    EXPECT_EQ(WriteOrder(type), Names({"KVT317SettingsDetail"}));
}

TEST(MemberDescription, MakeAndCopyByDescription)
{
    for (const RecordDescription* type : AllRecordDescriptions()) {
        ASSERT_NE(type->make, nullptr);
        ASSERT_NE(type->copy, nullptr);
    }
    const std::unique_ptr<Record> range(FrequencyRange::Description().make());
    EXPECT_EQ(range->GetObjectName(), QStringLiteral("FrequencyRange"));
    EXPECT_EQ(&range->GetDescription(), &FrequencyRange::Description());
    range->SetMemberText(0, QStringLiteral("118000000"));
    const std::unique_ptr<Record> copy(FrequencyRange::Description().copy(*range));
    EXPECT_EQ(copy->GetObjectName(), QStringLiteral("FrequencyRange"));
    EXPECT_EQ(copy->MemberText(0), QStringLiteral("118000000.00"));
    EXPECT_TRUE(copy->IsMemberSet(0));
    EXPECT_FALSE(copy->IsMemberSet(1));
    // The item type of a list member makes its items.
    const MemberDescription& list = KVT317_Settings::Description().members.at(0);
    const std::unique_ptr<Record> item(list.nested()->make());
    EXPECT_EQ(item->GetObjectName(), QStringLiteral("KVT317SettingsDetail"));
}

TEST(MemberKinds, NamesAndShapes)
{
    const struct {
        MemberKind kind;
        const char* name;
        bool number, text, record, list, integerPayload;
    } kinds[] = {
        {MemberKind::Integer, "whole number", true, false, false, false, true},
        {MemberKind::Float, "number", true, false, false, false, false},
        {MemberKind::Double, "number", true, false, false, false, false},
        {MemberKind::Text, "text", false, true, false, false, false},
        {MemberKind::DateTime, "date-time", false, false, false, false, false},
        {MemberKind::Enumeration, "enumeration", false, false, false, false, false},
        {MemberKind::Record, "record", false, false, true, false, false},
        {MemberKind::RecordList, "list", false, false, false, true, false},
    };
    for (const auto& want : kinds) {
        const MemberKindOperations& kind = KindOperations(want.kind);
        SCOPED_TRACE(want.name);
        EXPECT_EQ(kind.kind, want.kind);
        EXPECT_STREQ(kind.name, want.name);
        EXPECT_EQ(kind.number, want.number);
        EXPECT_EQ(kind.text, want.text);
        EXPECT_EQ(kind.record, want.record);
        EXPECT_EQ(kind.list, want.list);
        EXPECT_EQ(kind.integerPayload, want.integerPayload);
        EXPECT_EQ(kind.toText == nullptr, want.record || want.list);
    }
    EXPECT_STREQ(KindOperations(MemberKind::Integer).expected, "a whole number of 32 bits");
    EXPECT_STREQ(KindOperations(MemberKind::Double).expected, "a number the member can hold");
    EXPECT_STREQ(KindOperations(MemberKind::DateTime).expected,
                 "a date-time of the form yyyy-MM-ddThh:mm:ss,zzzZ");
    EXPECT_EQ(KindOperations(MemberKind::Text).expected, nullptr);
}

TEST(MemberKinds, TextBothWays)
{
    const MemberDescription& frequency = Member(BearingSettings::Description(), "Frequency");
    const double hundred = 100.5;
    EXPECT_EQ(frequency.operations->toText(frequency, &hundred), QStringLiteral("100.500000000"));
    double read = 0.0;
    EXPECT_TRUE(frequency.operations->fromText(frequency, QStringLiteral("121.5"), &read));
    EXPECT_EQ(read, 121.5);
    EXPECT_FALSE(frequency.operations->fromText(frequency, QStringLiteral("abc"), &read));
    EXPECT_EQ(read, 0.0);

    const MemberDescription& threshold = Member(KVT317SettingsDetail::Description(), "Threshold");
    const int minusThree = -3;
    EXPECT_EQ(threshold.operations->toText(threshold, &minusThree), QStringLiteral("-3"));

    const MemberDescription& bandwidth = Member(KVT317SettingsDetail::Description(), "BandwidthDF");
    const int twenty = 20;
    const int outside = 31;
    EXPECT_EQ(bandwidth.operations->toText(bandwidth, &twenty), QStringLiteral("8.333 kHz"));
    EXPECT_TRUE(bandwidth.operations->toText(bandwidth, &outside).isNull());
    int enumerator = 0;
    EXPECT_TRUE(bandwidth.operations->fromText(bandwidth, QStringLiteral("1 MHz"), &enumerator));
    EXPECT_EQ(enumerator, 29);
    EXPECT_FALSE(bandwidth.operations->fromText(bandwidth, QStringLiteral("1 mhz"), &enumerator));
    EXPECT_EQ(enumerator, -1);

    const MemberDescription& hold =
        Member(KVT317SettingsDetail::Description(), "AttenuationHoldValue");
    const float ten = 10.0f;
    EXPECT_EQ(hold.operations->toText(hold, &ten), QStringLiteral("10.00"));
}

TEST(MemberKinds, CheckSaysWhatReadingTakesInSilence)
{
    const RecordDescription& detail = KVT317SettingsDetail::Description();
    const MemberDescription& threshold = Member(detail, "Threshold");
    QString message;
    EXPECT_EQ(threshold.operations->check(threshold, QStringLiteral("20"), &message),
              FindingKind::Report);
    EXPECT_EQ(threshold.operations->check(threshold, QStringLiteral("ten"), &message),
              FindingKind::NumberNotRead);
    EXPECT_EQ(message, QStringLiteral("Threshold: 'ten' is not a whole number (read as 0)"));
    EXPECT_EQ(threshold.operations->check(threshold, QStringLiteral("4294967296"), &message),
              FindingKind::NumberOverflow);
    EXPECT_EQ(message,
              QStringLiteral("Threshold: '4294967296' does not fit in 32 bits (read as 0)"));

    const MemberDescription& hold = Member(detail, "AttenuationHoldValue");
    EXPECT_EQ(hold.operations->check(hold, QStringLiteral("1.234"), &message),
              FindingKind::ExtraDecimals);
    EXPECT_EQ(message,
              QStringLiteral("AttenuationHoldValue: '1.234' keeps 2 decimals (written as 1.23)"));
    EXPECT_EQ(hold.operations->check(hold, QStringLiteral("1e39"), &message),
              FindingKind::NumberOverflow);

    const MemberDescription& antenna = Member(detail, "AntennaPol");
    EXPECT_EQ(antenna.operations->check(antenna, QStringLiteral("HOR"), &message),
              FindingKind::Report);
    EXPECT_EQ(antenna.operations->check(antenna, QStringLiteral("vert"), &message),
              FindingKind::UnknownName);
    EXPECT_EQ(message, QStringLiteral("AntennaPol: unknown name 'vert' (read as invalid); allowed: "
                                      "VERT, HOR, LEFT, RIGHT"));

    const MemberDescription& stop = Member(detail, "StopTime");
    EXPECT_EQ(stop.operations->check(stop, QStringLiteral("2026-02-28T12:00:00,000Z"), &message),
              FindingKind::Report);
    EXPECT_EQ(stop.operations->check(stop, QStringLiteral("2026-02-30T00:00:00Z"), &message),
              FindingKind::DateTimeNotRead);

    const MemberDescription& name = Member(detail, "Name");
    EXPECT_EQ(name.operations->check(name, QStringLiteral("\x01"), &message), FindingKind::Report);
}

TEST(MemberKinds, VariantsInAndOut)
{
    const MemberKindOperations& whole = KindOperations(MemberKind::Integer);
    int value = 7;
    EXPECT_TRUE(whole.fromVariant(QVariant(qlonglong(9)), &value));
    EXPECT_EQ(value, 9);
    EXPECT_TRUE(whole.fromVariant(QVariant(2.0), &value));
    EXPECT_EQ(value, 2);
    EXPECT_FALSE(whole.fromVariant(QVariant(1.5), &value));
    EXPECT_FALSE(whole.fromVariant(QVariant(QStringLiteral("3")), &value));
    EXPECT_FALSE(whole.fromVariant(QVariant(true), &value));
    EXPECT_EQ(value, 2);
    EXPECT_EQ(whole.toVariant(&value), QVariant(2));

    const MemberKindOperations& single = KindOperations(MemberKind::Float);
    float number = 0.0f;
    EXPECT_FALSE(single.fromVariant(QVariant(0.1), &number));
    EXPECT_TRUE(single.fromVariant(QVariant(0.5), &number));
    EXPECT_EQ(number, 0.5f);
    EXPECT_EQ(single.toVariant(&number).userType(), static_cast<int>(QMetaType::Float));

    const MemberKindOperations& text = KindOperations(MemberKind::Text);
    QString held;
    EXPECT_TRUE(text.fromVariant(QVariant(QChar(u'x')), &held));
    EXPECT_EQ(held, QStringLiteral("x"));
    EXPECT_FALSE(text.fromVariant(QVariant(5), &held));

    const MemberKindOperations& time = KindOperations(MemberKind::DateTime);
    const QDateTime noon(QDate(2024, 3, 1), QTime(12, 0), Qt::UTC);
    QDateTime when;
    EXPECT_TRUE(time.fromVariant(QVariant(noon), &when));
    EXPECT_EQ(when, noon);
    EXPECT_TRUE(time.equal(&when, &noon));
    const QDateTime later = noon.addSecs(1);
    EXPECT_FALSE(time.equal(&when, &later));
}

TEST(MemberKinds, ShownForms)
{
    EXPECT_EQ(KindOperations(MemberKind::Text).shown(QString()), QStringLiteral("(null)"));
    EXPECT_EQ(KindOperations(MemberKind::Text).shown(QStringLiteral("")), QStringLiteral("\"\""));
    EXPECT_EQ(KindOperations(MemberKind::Text).shown(QStringLiteral("a")), QStringLiteral("a"));
    EXPECT_EQ(KindOperations(MemberKind::Enumeration).shown(QString()),
              QStringLiteral("(invalid)"));
    EXPECT_EQ(KindOperations(MemberKind::DateTime).shown(QString()), QStringLiteral("(none)"));
    EXPECT_EQ(KindOperations(MemberKind::Double).shown(QStringLiteral("12.50")),
              QStringLiteral("12.50"));
}

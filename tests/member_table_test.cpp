// Every member of every record against a literal table of what it is: its typed accessors
// (value, set flag, reset, default, validity, and for enumerations the names, the invalid
// marker and the conversions), its value through the member table, its XML text and its
// binary entry, tag, length and payload byte for byte. One case per member.

#include "TestSupport.h"

#include <BearingSettings.h>
#include <FrequencyRange.h>
#include <KVT317SettingsDetail.h>
#include <RGException.h>
#include <RecordDescription.h>

#include <QDateTime>
#include <QVariant>

#include <gtest/gtest.h>

#include <utility>
#include <vector>

using namespace KVT317XML;
using REPORTGENERATOR::OutOfRangeException;

namespace {

const QDateTime Noon(QDate(2024, 3, 1), QTime(12, 30, 5, 250), Qt::UTC);

QStringList Names(std::initializer_list<const char*> names)
{
    QStringList list;
    for (const char* name : names)
        list.append(QString::fromLatin1(name));
    return list;
}

using Bandwidths = std::vector<std::pair<const char*, double>>;

const Bandwidths BandwidthDFTable{
    {"12.50 Hz", 12.5},    {"20.00 Hz", 20.0},    {"25.00 Hz", 25.0},    {"31.25 Hz", 31.25},
    {"50.00 Hz", 50.0},    {"62.50 Hz", 62.5},    {"100.0 Hz", 100.0},   {"125.0 Hz", 125.0},
    {"200.0 Hz", 200.0},   {"250.0 Hz", 250.0},   {"312.5 Hz", 312.5},   {"500.0 Hz", 500.0},
    {"625.0 Hz", 625.0},   {"1.00 kHz", 1000.0},  {"1.25 kHz", 1250.0},  {"2.00 kHz", 2000.0},
    {"2.50 kHz", 2500.0},  {"3.125 kHz", 3125.0}, {"5.00 kHz", 5000.0},  {"6.25 kHz", 6250.0},
    {"8.333 kHz", 8333.0}, {"10.0 kHz", 10000.0}, {"12.5 kHz", 12500.0}, {"20.0 kHz", 20000.0},
    {"25.0 kHz", 25000.0}, {"50.0 kHz", 50000.0}, {"100 kHz", 100000.0}, {"200 kHz", 200000.0},
    {"500 kHz", 500000.0}, {"1 MHz", 1000000.0},  {"2 MHz", 2000000.0}};

const Bandwidths RealTimeBandwidthTable{
    {"100 kHz", 100000.0},  {"200 kHz", 200000.0}, {"500 kHz", 500000.0},  {"1 MHz", 1000000.0},
    {"2 MHz", 2000000.0},   {"5 MHz", 5000000.0},  {"10 MHz", 10000000.0}, {"20 MHz", 20000000.0},
    {"40 MHz", 40000000.0}, {"80 MHz", 80000000.0}};

// The accessor family every member has: value and default of a new record, set, reset,
// per-object default, and what ResetToDefault makes of it.
#define EXPECT_MEMBER_FAMILY(R, X, def, hasDef, sample)                                            \
    {                                                                                              \
        R m;                                                                                       \
        EXPECT_EQ(std::as_const(m).Get##X(), def);                                                 \
        EXPECT_EQ(m.GetDefault##X(), def);                                                         \
        EXPECT_FALSE(m.Is##X##Set());                                                              \
        EXPECT_TRUE(m.IsValid##X(sample));                                                         \
        m.Set##X(sample);                                                                          \
        EXPECT_EQ(std::as_const(m).Get##X(), sample);                                              \
        EXPECT_TRUE(m.Is##X##Set());                                                               \
        EXPECT_EQ(m.GetDefault##X(), def);                                                         \
        m.Reset##X();                                                                              \
        EXPECT_FALSE(m.Is##X##Set());                                                              \
        EXPECT_EQ(std::as_const(m).Get##X(), def);                                                 \
        m.SetDefault##X(sample);                                                                   \
        EXPECT_EQ(m.GetDefault##X(), sample);                                                      \
        EXPECT_FALSE(m.Is##X##Set());                                                              \
        EXPECT_EQ(std::as_const(m).Get##X(), def);                                                 \
        R fresh;                                                                                   \
        fresh.ResetToDefault();                                                                    \
        EXPECT_EQ(fresh.Is##X##Set(), hasDef);                                                     \
        EXPECT_EQ(std::as_const(fresh).Get##X(), def);                                             \
        m.ResetToDefault();                                                                        \
        EXPECT_TRUE(m.Is##X##Set());                                                               \
        EXPECT_EQ(std::as_const(m).Get##X(), sample);                                              \
    }

// int, float and double members: any value is valid, and a reset puts the default back.
#define TYPED_NUMBER(R, X, def, hasDef, sample)                                                    \
    [] {                                                                                           \
        EXPECT_MEMBER_FAMILY(R, X, def, hasDef, sample)                                            \
        R r;                                                                                       \
        EXPECT_TRUE(r.IsValid##X(-1));                                                             \
        r.SetDefault##X(sample);                                                                   \
        r.Reset##X();                                                                              \
        EXPECT_EQ(std::as_const(r).Get##X(), sample);                                              \
    }

// Date-time members: as numbers, and the non-const getter marks the member set.
#define TYPED_DATETIME(R, X, sample)                                                               \
    [] {                                                                                           \
        EXPECT_MEMBER_FAMILY(R, X, QDateTime(), false, sample)                                     \
        R r;                                                                                       \
        EXPECT_TRUE(r.IsValid##X(QDateTime()));                                                    \
        r.Get##X() = sample;                                                                       \
        EXPECT_TRUE(r.Is##X##Set());                                                               \
        EXPECT_EQ(static_cast<const R&>(r).Get##X(), sample);                                      \
        R c;                                                                                       \
        static_cast<const R&>(c).Get##X();                                                         \
        EXPECT_FALSE(c.Is##X##Set());                                                              \
    }

// Text members: null until set, a null text is not valid and is reported, and a reset
// makes the value null whatever the default.
#define TYPED_TEXT(R, X, sample)                                                                   \
    [] {                                                                                           \
        EXPECT_MEMBER_FAMILY(R, X, QString(), false, QStringLiteral(sample))                       \
        R r;                                                                                       \
        EXPECT_TRUE(r.Get##X().isNull());                                                          \
        EXPECT_FALSE(r.IsValid##X(QString()));                                                     \
        EXPECT_TRUE(r.IsValid##X(QStringLiteral("")));                                             \
        r.SetDefault##X(QStringLiteral(sample));                                                   \
        r.Reset##X();                                                                              \
        EXPECT_TRUE(r.Get##X().isNull());                                                          \
        r.Set##X(QStringLiteral(""));                                                              \
        EXPECT_FALSE(r.Get##X().isNull());                                                         \
        LogCapture log;                                                                            \
        R quiet;                                                                                   \
        quiet.SetLogger(log.logger);                                                               \
        quiet.Set##X(QString());                                                                   \
        EXPECT_TRUE(quiet.Is##X##Set());                                                           \
        EXPECT_TRUE(quiet.Get##X().isNull());                                                      \
        EXPECT_EQ(log.lines,                                                                       \
                  QStringList(QStringLiteral("WARNING: " #R ": Please set " #X " properly.")));    \
        R strict;                                                                                  \
        strict.SetLogger(nullptr);                                                                 \
        strict.SetValidate(true);                                                                  \
        EXPECT_THROW(strict.Set##X(QString()), OutOfRangeException);                               \
        EXPECT_FALSE(strict.Is##X##Set());                                                         \
        R nullDefault;                                                                             \
        nullDefault.SetDefault##X(QString());                                                      \
        nullDefault.ResetToDefault();                                                              \
        EXPECT_FALSE(nullDefault.Is##X##Set());                                                    \
        R empty;                                                                                   \
        empty.SetDefault##X(QStringLiteral(sample));                                               \
        EXPECT_FALSE(empty.AnyData());                                                             \
        empty.Set##X(QStringLiteral(""));                                                          \
        EXPECT_TRUE(empty.AnyData());                                                              \
        empty.Reset##X();                                                                          \
        EXPECT_FALSE(empty.AnyData());                                                             \
    }

// What every enumeration has beside its names: the invalid marker, the range test, and
// the report of a value outside the names.
#define EXPECT_ENUM_COMMON(R, X, count, def, hasDef, sample, field)                                \
    EXPECT_MEMBER_FAMILY(R, X, As<R::X>(def), hasDef, As<R::X>(sample))                            \
    {                                                                                              \
        R e;                                                                                       \
        EXPECT_EQ(e.GetInvalid##X(), -1);                                                          \
        EXPECT_FALSE(e.IsValid##X(As<R::X>(-1)));                                                  \
        EXPECT_TRUE(e.IsValid##X(As<R::X>(0)));                                                    \
        EXPECT_TRUE(e.IsValid##X(As<R::X>(count - 1)));                                            \
        EXPECT_FALSE(e.IsValid##X(As<R::X>(count)));                                               \
        EXPECT_TRUE(e.X##ToName(As<R::X>(-1)).isNull());                                           \
        EXPECT_TRUE(e.X##ToName(As<R::X>(count)).isNull());                                        \
        EXPECT_EQ(e.NameTo##X(QStringLiteral("none")), -1);                                        \
        EXPECT_EQ(e.NameTo##X(QString()), -1);                                                     \
        EXPECT_EQ(e.Get##X##AsString(), e.X##ToName(As<R::X>(def)));                               \
        e.SetInvalid##X(As<R::X>(count + 5));                                                      \
        EXPECT_EQ(e.GetInvalid##X(), count + 5);                                                   \
        EXPECT_EQ(e.NameTo##X(QStringLiteral("none")), count + 5);                                 \
        EXPECT_EQ(e.Get##X(), def);                                                                \
        EXPECT_EQ(e.GetDefault##X(), def);                                                         \
        EXPECT_FALSE(e.IsValid##X(As<R::X>(count + 5)));                                           \
        e.Set##X(As<R::X>(sample));                                                                \
        EXPECT_EQ(e.Get##X##AsString(), e.X##ToName(As<R::X>(sample)));                            \
        EXPECT_FALSE(e.Get##X##AsString().isEmpty());                                              \
        LogCapture log;                                                                            \
        R quiet;                                                                                   \
        quiet.SetLogger(log.logger);                                                               \
        quiet.Set##X(As<R::X>(count));                                                             \
        EXPECT_TRUE(quiet.Is##X##Set());                                                           \
        EXPECT_EQ(quiet.Get##X(), count);                                                          \
        EXPECT_TRUE(quiet.Get##X##AsString().isEmpty());                                           \
        EXPECT_EQ(log.lines,                                                                       \
                  QStringList(QStringLiteral("WARNING: enum is not valid (classname=" #R           \
                                             ",membername=" field ")")));                          \
        R strict;                                                                                  \
        strict.SetLogger(nullptr);                                                                 \
        strict.SetValidate(true);                                                                  \
        EXPECT_THROW(strict.Set##X(As<R::X>(-1)), OutOfRangeException);                            \
        EXPECT_FALSE(strict.Is##X##Set());                                                         \
        R outside;                                                                                 \
        outside.SetDefault##X(As<R::X>(count));                                                    \
        outside.ResetToDefault();                                                                  \
        EXPECT_FALSE(outside.Is##X##Set());                                                        \
    }

// Enumerations of names: the static list, its translated twin, and both conversions.
#define TYPED_ENUM(R, X, def, hasDef, sample, field, ...)                                          \
    [] {                                                                                           \
        const QStringList names = Names(__VA_ARGS__);                                              \
        EXPECT_EQ(R::Get##X##s(), names);                                                          \
        EXPECT_EQ(R::GetGUI##X##s(), names);                                                       \
        R r;                                                                                       \
        for (int i = 0; i < names.size(); ++i) {                                                   \
            EXPECT_EQ(r.X##ToName(As<R::X>(i)), names.at(i));                                      \
            EXPECT_EQ(r.NameTo##X(names.at(i)), i);                                                \
            EXPECT_EQ(r.NameTo##X(names.at(i).toLower()), -1);                                     \
        }                                                                                          \
        EXPECT_ENUM_COMMON(R, X, names.size(), def, hasDef, sample, field)                         \
    }

// Enumerations of bandwidths: names and hertz, both ways.
#define TYPED_BANDWIDTH(R, X, def, hasDef, sample, field, table)                                   \
    [] {                                                                                           \
        const auto list = R::Get##X##s();                                                          \
        ASSERT_EQ(list.size(), static_cast<int>(table.size()));                                    \
        R r;                                                                                       \
        for (int i = 0; i < list.size(); ++i) {                                                    \
            EXPECT_EQ(list.at(i).name, QString::fromLatin1(table[i].first));                       \
            EXPECT_EQ(list.at(i).value, table[i].second);                                          \
            EXPECT_EQ(r.X##ToName(As<R::X>(i)), QString::fromLatin1(table[i].first));              \
            EXPECT_EQ(r.NameTo##X(QString::fromLatin1(table[i].first)), i);                        \
            EXPECT_EQ(r.X##ToValue(As<R::X>(i)), table[i].second);                                 \
            EXPECT_EQ(r.ValueTo##X(table[i].second), i);                                           \
            EXPECT_EQ(r.ValueTo##X(table[i].second + 0.5), -1);                                    \
        }                                                                                          \
        EXPECT_EQ(r.X##ToValue(As<R::X>(-1)), 0.0);                                                \
        EXPECT_EQ(r.X##ToValue(As<R::X>(list.size())), 0.0);                                       \
        r.SetInvalid##X(As<R::X>(3));                                                              \
        EXPECT_EQ(r.ValueTo##X(1.5), 3);                                                           \
        EXPECT_ENUM_COMMON(R, X, list.size(), def, hasDef, sample, field)                          \
    }

struct MemberCase {
    const char* id;
    const RecordDescription& (*type)();
    int bit;
    const char* name;
    quint32 tag;
    MemberKind kind;
    bool attribute;
    bool required;
    QVariant defaultValue; // of a new record, by description
    bool hasDefault;       // ResetToDefault sets the member
    QVariant sample;       // a value other than the default
    const char* sampleText;
    const char* sampleEntry; // the binary entry of the sample: tag, length, payload
    const char* defaultText; // required members only: the text and entry of an unset one
    const char* defaultEntry;
    void (*typed)(); // the typed accessors
};

void PrintTo(const MemberCase& member, std::ostream* os)
{
    *os << member.id;
}

// clang-format off
const MemberCase Members[] = {
    {"FrequencyRange_StartFrequency", &FrequencyRange::Description, 0, "StartFrequency", 0x2D99DCB9, MemberKind::Double, false, true,
     QVariant(88000000.0), true, QVariant(1000000.5), "1000000.50",
     "2D99DCB9 0000000E 0000000A 313030303030302E3530",
     "88000000.00",
     "2D99DCB9 0000000F 0000000B 38383030303030302E3030",
     TYPED_NUMBER(FrequencyRange, StartFrequency, 88000000.0, true, 1000000.5)},
    {"FrequencyRange_StopFrequency", &FrequencyRange::Description, 1, "StopFrequency", 0x7ADC955A, MemberKind::Double, false, true,
     QVariant(240000000.0), true, QVariant(2000000.25), "2000000.25",
     "7ADC955A 0000000E 0000000A 323030303030302E3235",
     "240000000.00",
     "7ADC955A 00000010 0000000C 3234303030303030302E3030",
     TYPED_NUMBER(FrequencyRange, StopFrequency, 240000000.0, true, 2000000.25)},
    {"BearingSettings_Frequency", &BearingSettings::Description, 0, "Frequency", 0xA97DB5BE, MemberKind::Double, false, true,
     QVariant(0.0), false, QVariant(100.5), "100.500000000",
     "A97DB5BE 00000011 0000000D 3130302E353030303030303030",
     "0.000000000",
     "A97DB5BE 0000000F 0000000B 302E303030303030303030",
     TYPED_NUMBER(BearingSettings, Frequency, 0.0, false, 100.5)},
    {"BearingSettings_AveragingTime", &BearingSettings::Description, 1, "AveragingTime", 0xEBEB1BDE, MemberKind::Integer, false, false,
     QVariant(0), false, QVariant(500), "500",
     "EBEB1BDE 00000008 00000000000001F4",
     nullptr, nullptr,
     TYPED_NUMBER(BearingSettings, AveragingTime, 0, false, 500)},
    {"BearingSettings_DFBandwidth", &BearingSettings::Description, 2, "DFBandwidth", 0x6F24E1D7, MemberKind::Double, false, false,
     QVariant(0.0), false, QVariant(12.5), "12.50",
     "6F24E1D7 00000009 00000005 31322E3530",
     nullptr, nullptr,
     TYPED_NUMBER(BearingSettings, DFBandwidth, 0.0, false, 12.5)},
    {"BearingSettings_DFMode", &BearingSettings::Description, 3, "DFMode", 0x23991AF4, MemberKind::Enumeration, false, false,
     QVariant(-1), false, QVariant(2), "Gate",
     "23991AF4 00000008 00000004 47617465",
     nullptr, nullptr,
     TYPED_ENUM(BearingSettings, DFMode, -1, false, 2, "m_dFMode", {"Cont", "Norm", "Gate"})},
    {"BearingSettings_AngleSamples", &BearingSettings::Description, 4, "AngleSamples", 0x18C6455A, MemberKind::Integer, false, false,
     QVariant(0), false, QVariant(-3), "-3",
     "18C6455A 00000008 FFFFFFFFFFFFFFFD",
     nullptr, nullptr,
     TYPED_NUMBER(BearingSettings, AngleSamples, 0, false, -3)},
    {"BearingSettings_LevelThreshold", &BearingSettings::Description, 5, "LevelThreshold", 0xD21ED327, MemberKind::Integer, false, false,
     QVariant(0), false, QVariant(-95), "-95",
     "D21ED327 00000008 FFFFFFFFFFFFFFA1",
     nullptr, nullptr,
     TYPED_NUMBER(BearingSettings, LevelThreshold, 0, false, -95)},
    {"BearingSettings_QualityThreshold", &BearingSettings::Description, 6, "QualityThreshold", 0xCAEAFD4C, MemberKind::Integer, false, false,
     QVariant(0), false, QVariant(60), "60",
     "CAEAFD4C 00000008 000000000000003C",
     nullptr, nullptr,
     TYPED_NUMBER(BearingSettings, QualityThreshold, 0, false, 60)},
    {"BearingSettings_ElevationThreshold", &BearingSettings::Description, 7, "ElevationThreshold", 0x4B79C4EC, MemberKind::Integer, false, false,
     QVariant(0), false, QVariant(45), "45",
     "4B79C4EC 00000008 000000000000002D",
     nullptr, nullptr,
     TYPED_NUMBER(BearingSettings, ElevationThreshold, 0, false, 45)},
    {"BearingSettings_SlidingWindowTime", &BearingSettings::Description, 8, "SlidingWindowTime", 0x321DF800, MemberKind::Integer, false, false,
     QVariant(0), false, QVariant(2000), "2000",
     "321DF800 00000008 00000000000007D0",
     nullptr, nullptr,
     TYPED_NUMBER(BearingSettings, SlidingWindowTime, 0, false, 2000)},
    {"BearingSettings_BearingVtPath", &BearingSettings::Description, 9, "BearingVtPath", 0x322B5285, MemberKind::Text, false, false,
     QVariant(QString()), false, QVariant(QStringLiteral("/r/b.vt")), "/r/b.vt",
     "322B5285 0000000B 00000007 2F722F622E7674",
     nullptr, nullptr,
     TYPED_TEXT(BearingSettings, BearingVtPath, "/r/b.vt")},
    {"BearingSettings_BearingVtPathSR", &BearingSettings::Description, 10, "BearingVtPathSR", 0xC14E337A, MemberKind::Text, false, false,
     QVariant(QString()), false, QVariant(QStringLiteral("/r/s.vt")), "/r/s.vt",
     "C14E337A 0000000B 00000007 2F722F732E7674",
     nullptr, nullptr,
     TYPED_TEXT(BearingSettings, BearingVtPathSR, "/r/s.vt")},
    {"BearingSettings_EigenValueVtPath", &BearingSettings::Description, 11, "EigenValueVtPath", 0xDD4D5499, MemberKind::Text, false, false,
     QVariant(QString()), false, QVariant(QStringLiteral("/r/e.vt")), "/r/e.vt",
     "DD4D5499 0000000B 00000007 2F722F652E7674",
     nullptr, nullptr,
     TYPED_TEXT(BearingSettings, EigenValueVtPath, "/r/e.vt")},
    {"BearingSettings_SignalEstimationQualityVtPath", &BearingSettings::Description, 12, "SignalEstimationQualityVtPath", 0xDCD258AB, MemberKind::Text, false, false,
     QVariant(QString()), false, QVariant(QStringLiteral("/r/q.vt")), "/r/q.vt",
     "DCD258AB 0000000B 00000007 2F722F712E7674",
     nullptr, nullptr,
     TYPED_TEXT(BearingSettings, SignalEstimationQualityVtPath, "/r/q.vt")},
    {"BearingSettings_Name", &BearingSettings::Description, 13, "Name", 0x58D44D66, MemberKind::Text, true, false,
     QVariant(QString()), false, QVariant(QStringLiteral("North 1")), "North 1",
     "58D44D66 0000000B 00000007 4E6F7274682031",
     nullptr, nullptr,
     TYPED_TEXT(BearingSettings, Name, "North 1")},
    {"BearingSettings_Index", &BearingSettings::Description, 14, "Index", 0x1FAAD4BF, MemberKind::Integer, true, false,
     QVariant(0), false, QVariant(7), "7",
     "1FAAD4BF 00000008 0000000000000007",
     nullptr, nullptr,
     TYPED_NUMBER(BearingSettings, Index, 0, false, 7)},
    {"KVT317SettingsDetail_AntennaPol", &KVT317SettingsDetail::Description, 0, "AntennaPol", 0x36B1CFF8, MemberKind::Enumeration, false, true,
     QVariant(0), true, QVariant(3), "RIGHT",
     "36B1CFF8 00000009 00000005 5249474854",
     "VERT",
     "36B1CFF8 00000008 00000004 56455254",
     TYPED_ENUM(KVT317SettingsDetail, AntennaPol, 0, true, 3, "m_antennaPol", {"VERT", "HOR", "LEFT", "RIGHT"})},
    {"KVT317SettingsDetail_AntPreAmp", &KVT317SettingsDetail::Description, 1, "AntPreAmp", 0x0B576A32, MemberKind::Enumeration, false, true,
     QVariant(0), true, QVariant(1), "ON",
     "0B576A32 00000006 00000002 4F4E",
     "OFF",
     "0B576A32 00000007 00000003 4F4646",
     TYPED_ENUM(KVT317SettingsDetail, AntPreAmp, 0, true, 1, "m_antPreAmp", {"OFF", "ON"})},
    {"KVT317SettingsDetail_AverageMode", &KVT317SettingsDetail::Description, 2, "AverageMode", 0xC896F956, MemberKind::Enumeration, false, true,
     QVariant(-1), false, QVariant(2), "NORM",
     "C896F956 00000008 00000004 4E4F524D",
     "",
     "C896F956 00000004 FFFFFFFF",
     TYPED_ENUM(KVT317SettingsDetail, AverageMode, -1, false, 2, "m_averageMode", {"OFF", "GATE", "NORM"})},
    {"KVT317SettingsDetail_BandwidthDF", &KVT317SettingsDetail::Description, 3, "BandwidthDF", 0x3C393B74, MemberKind::Enumeration, false, true,
     QVariant(-1), false, QVariant(20), "8.333 kHz",
     "3C393B74 0000000D 00000009 382E333333206B487A",
     "",
     "3C393B74 00000004 FFFFFFFF",
     TYPED_BANDWIDTH(KVT317SettingsDetail, BandwidthDF, -1, false, 20, "m_bandwidthDF", BandwidthDFTable)},
    {"KVT317SettingsDetail_BlockAveragingTime", &KVT317SettingsDetail::Description, 4, "BlockAveragingTime", 0xC73B3D20, MemberKind::Integer, false, true,
     QVariant(10), true, QVariant(-12), "-12",
     "C73B3D20 00000008 FFFFFFFFFFFFFFF4",
     "10",
     "C73B3D20 00000008 000000000000000A",
     TYPED_NUMBER(KVT317SettingsDetail, BlockAveragingTime, 10, true, -12)},
    {"KVT317SettingsDetail_DF_Alt", &KVT317SettingsDetail::Description, 5, "DF_Alt", 0x5CC6C908, MemberKind::Enumeration, false, true,
     QVariant(2), true, QVariant(4), "VECTORMATCHING",
     "5CC6C908 00000012 0000000E 564543544F524D41544348494E47",
     "CORRELATION",
     "5CC6C908 0000000F 0000000B 434F5252454C4154494F4E",
     TYPED_ENUM(KVT317SettingsDetail, DF_Alt, 2, true, 4, "m_dF_Alt", {"AUTO", "WATSONWATT", "CORRELATION", "SUPERRESOLUTION", "VECTORMATCHING"})},
    {"KVT317SettingsDetail_Real_Time_Bandwidth", &KVT317SettingsDetail::Description, 7, "Real_Time_Bandwidth", 0x45A23BD6, MemberKind::Enumeration, false, true,
     QVariant(9), true, QVariant(0), "100 kHz",
     "45A23BD6 0000000B 00000007 313030206B487A",
     "80 MHz",
     "45A23BD6 0000000A 00000006 3830204D487A",
     TYPED_BANDWIDTH(KVT317SettingsDetail, Real_Time_Bandwidth, 9, true, 0, "m_real_Time_Bandwidth", RealTimeBandwidthTable)},
    {"KVT317SettingsDetail_ScanMemoryID", &KVT317SettingsDetail::Description, 8, "ScanMemoryID", 0x375806BF, MemberKind::Integer, false, true,
     QVariant(0), false, QVariant(2147483647), "2147483647",
     "375806BF 00000008 000000007FFFFFFF",
     "0",
     "375806BF 00000008 0000000000000000",
     TYPED_NUMBER(KVT317SettingsDetail, ScanMemoryID, 0, false, 2147483647)},
    {"KVT317SettingsDetail_DFPan_Selectivity", &KVT317SettingsDetail::Description, 9, "DFPan_Selectivity", 0x60866F2C, MemberKind::Enumeration, false, true,
     QVariant(1), true, QVariant(2), "NARROW",
     "60866F2C 0000000A 00000006 4E4152524F57",
     "NORMAL",
     "60866F2C 0000000A 00000006 4E4F524D414C",
     TYPED_ENUM(KVT317SettingsDetail, DFPan_Selectivity, 1, true, 2, "m_dFPan_Selectivity", {"AUTO", "NORMAL", "NARROW", "SHARP"})},
    {"KVT317SettingsDetail_Threshold", &KVT317SettingsDetail::Description, 10, "Threshold", 0xE7B0B2F8, MemberKind::Integer, false, true,
     QVariant(20), true, QVariant(-2147483647 - 1), "-2147483648",
     "E7B0B2F8 00000008 FFFFFFFF80000000",
     "20",
     "E7B0B2F8 00000008 0000000000000014",
     TYPED_NUMBER(KVT317SettingsDetail, Threshold, 20, true, -2147483647 - 1)},
    {"KVT317SettingsDetail_StopTime", &KVT317SettingsDetail::Description, 11, "StopTime", 0x02A42596, MemberKind::DateTime, false, true,
     QVariant(QDateTime()), false, QVariant(Noon), "2024-03-01T12:30:05,250Z",
     "02A42596 0000001C 00000018 323032342D30332D30315431323A33303A30352C3235305A",
     "",
     "02A42596 00000004 FFFFFFFF",
     TYPED_DATETIME(KVT317SettingsDetail, StopTime, Noon)},
    {"KVT317SettingsDetail_AttSelect", &KVT317SettingsDetail::Description, 12, "AttSelect", 0x8C961898, MemberKind::Enumeration, false, true,
     QVariant(1), true, QVariant(0), "AUTO",
     "8C961898 00000008 00000004 4155544F",
     "MANUAL",
     "8C961898 0000000A 00000006 4D414E55414C",
     TYPED_ENUM(KVT317SettingsDetail, AttSelect, 1, true, 0, "m_attSelect", {"AUTO", "MANUAL"})},
    {"KVT317SettingsDetail_AttenuationHoldValue", &KVT317SettingsDetail::Description, 13, "AttenuationHoldValue", 0x5C505A01, MemberKind::Float, false, true,
     QVariant(10.0f), true, QVariant(1.5f), "1.50",
     "5C505A01 00000008 00000004 312E3530",
     "10.00",
     "5C505A01 00000009 00000005 31302E3030",
     TYPED_NUMBER(KVT317SettingsDetail, AttenuationHoldValue, 10.0f, true, 1.5f)},
    {"KVT317SettingsDetail_AttenuationHoldTime", &KVT317SettingsDetail::Description, 14, "AttenuationHoldTime", 0x4B68079A, MemberKind::Float, false, true,
     QVariant(100.0f), true, QVariant(-2.25f), "-2.25",
     "4B68079A 00000009 00000005 2D322E3235",
     "100.00",
     "4B68079A 0000000A 00000006 3130302E3030",
     TYPED_NUMBER(KVT317SettingsDetail, AttenuationHoldTime, 100.0f, true, -2.25f)},
    {"KVT317SettingsDetail_Name", &KVT317SettingsDetail::Description, 15, "Name", 0x58D44D66, MemberKind::Text, true, false,
     QVariant(QString()), false, QVariant(QStringLiteral("D 1")), "D 1",
     "58D44D66 00000007 00000003 442031",
     nullptr, nullptr,
     TYPED_TEXT(KVT317SettingsDetail, Name, "D 1")},
    {"KVT317SettingsDetail_index", &KVT317SettingsDetail::Description, 16, "index", 0xCFF2FA5F, MemberKind::Integer, true, false,
     QVariant(0), false, QVariant(-1), "-1",
     "CFF2FA5F 00000008 FFFFFFFFFFFFFFFF",
     nullptr, nullptr,
     TYPED_NUMBER(KVT317SettingsDetail, index, 0, false, -1)},

};
// clang-format on

class MemberTable : public ::testing::TestWithParam<MemberCase>
{
};

std::string CaseName(const ::testing::TestParamInfo<MemberCase>& info)
{
    return info.param.id;
}

// The member as the record's table describes it.
const MemberDescription& Described(const MemberCase& member)
{
    return member.type().members.at(static_cast<size_t>(member.bit));
}

// The XML form of the member in its record: an attribute or a text element.
QString XmlForm(const MemberCase& member, const char* text)
{
    return member.attribute
               ? QStringLiteral(" %1=\"%2\"").arg(QLatin1String(member.name), QLatin1String(text))
               : QStringLiteral("<%1>%2</%1>").arg(QLatin1String(member.name), QLatin1String(text));
}

TEST_P(MemberTable, TypedAccessors)
{
    GetParam().typed();
}

TEST_P(MemberTable, Description)
{
    const MemberCase& member = GetParam();
    const MemberDescription& described = Described(member);
    EXPECT_EQ(described.bit, member.bit);
    EXPECT_EQ(described.name, QLatin1String(member.name));
    EXPECT_EQ(described.tag, member.tag);
    EXPECT_EQ(described.kind, member.kind);
    EXPECT_EQ(described.attribute, member.attribute);
    EXPECT_EQ(described.required, member.required);
    EXPECT_EQ(member.type().FindTag(member.tag), &described);
    EXPECT_EQ(member.type().FindName(QLatin1String(member.name)), &described);
}

TEST_P(MemberTable, ValueByDescription)
{
    const MemberCase& member = GetParam();
    const auto record = NewRecord(member.type());
    record->SetLogger(nullptr);
    EXPECT_EQ(record->MemberValue(member.bit), member.defaultValue);
    EXPECT_EQ(record->MemberDefault(member.bit), member.defaultValue);
    EXPECT_FALSE(record->IsMemberSet(member.bit));
    if (member.kind != MemberKind::Text) {
        EXPECT_FALSE(record->SetMemberValue(member.bit, QVariant(QStringLiteral("x"))));
    }
    EXPECT_FALSE(record->IsMemberSet(member.bit));
    EXPECT_TRUE(record->SetMemberValue(member.bit, member.sample));
    EXPECT_TRUE(record->IsMemberSet(member.bit));
    EXPECT_EQ(record->MemberValue(member.bit), member.sample);
    EXPECT_EQ(record->MemberText(member.bit), QLatin1String(member.sampleText));
    EXPECT_EQ(record->MemberDefault(member.bit), member.defaultValue);
    record->ResetMember(member.bit);
    EXPECT_FALSE(record->IsMemberSet(member.bit));
    EXPECT_EQ(record->MemberValue(member.bit), member.defaultValue);
    record->SetMemberText(member.bit, QLatin1String(member.sampleText));
    EXPECT_TRUE(record->IsMemberSet(member.bit));
    EXPECT_EQ(record->MemberValue(member.bit), member.sample);
    const auto fresh = NewRecord(member.type());
    fresh->ResetToDefault();
    EXPECT_EQ(fresh->IsMemberSet(member.bit), member.hasDefault);
}

TEST_P(MemberTable, XmlText)
{
    const MemberCase& member = GetParam();
    const auto record = NewRecord(member.type());
    record->SetLogger(nullptr);
    const QString unset = XmlOf(*record);
    if (member.required) {
        EXPECT_TRUE(unset.contains(XmlForm(member, member.defaultText))) << unset.toStdString();
    } else {
        EXPECT_FALSE(unset.contains(QLatin1String(member.name))) << unset.toStdString();
    }
    ASSERT_TRUE(record->SetMemberValue(member.bit, member.sample));
    const QString set = XmlOf(*record);
    EXPECT_TRUE(set.contains(XmlForm(member, member.sampleText))) << set.toStdString();

    const auto read = NewRecord(member.type());
    ReadXml(*read, QStringLiteral("<%1%2>%3</%1>")
                       .arg(member.type().name,
                            member.attribute ? XmlForm(member, member.sampleText) : QString(),
                            member.attribute ? QString() : XmlForm(member, member.sampleText)));
    EXPECT_TRUE(read->IsMemberSet(member.bit));
    EXPECT_EQ(read->MemberValue(member.bit), member.sample);
}

TEST_P(MemberTable, BinaryEntry)
{
    const MemberCase& member = GetParam();
    const auto record = NewRecord(member.type());
    record->SetLogger(nullptr);
    const QByteArray tag = Hex(QByteArray::number(member.tag, 16).rightJustified(8, '0'));
    const QByteArray unset = BinaryOf(*record, 0, false);
    if (member.required) {
        EXPECT_TRUE(unset.contains(Hex(member.defaultEntry))) << unset.toHex().constData();
    } else {
        EXPECT_FALSE(unset.contains(tag)) << unset.toHex().constData();
    }
    ASSERT_TRUE(record->SetMemberValue(member.bit, member.sample));
    const QByteArray set = BinaryOf(*record, 0, false);
    EXPECT_TRUE(set.contains(Hex(member.sampleEntry))) << set.toHex().constData();
    EXPECT_EQ(Hex(member.sampleEntry).left(4), tag);

    // A frame of the one entry reads back to the value.
    const QByteArray entry = Hex(member.sampleEntry);
    QByteArray frame;
    QDataStream stream(&frame, QIODevice::WriteOnly);
    stream << static_cast<qint32>(entry.size());
    frame.append(entry);
    const auto read = NewRecord(member.type());
    ReadFrame(*read, frame);
    EXPECT_TRUE(read->IsMemberSet(member.bit));
    EXPECT_EQ(read->MemberValue(member.bit), member.sample);
}

INSTANTIATE_TEST_SUITE_P(EveryMember, MemberTable, ::testing::ValuesIn(Members), CaseName);

// The table holds every scalar member of the three records, in member order.
TEST(MemberTableCoverage, EveryScalarMemberIsInTheTable)
{
    QStringList expected;
    for (const RecordDescription* type :
         {&FrequencyRange::Description(), &BearingSettings::Description(),
          &KVT317SettingsDetail::Description()})
        for (const MemberDescription& member : type->members)
            if (member.kind != MemberKind::Record && member.kind != MemberKind::RecordList)
                expected.append(type->name + QLatin1Char('_') + member.name);
    QStringList listed;
    for (const MemberCase& member : Members)
        listed.append(QLatin1String(member.id));
    EXPECT_EQ(listed, expected);
    EXPECT_EQ(listed.size(), 33);
}

} // namespace

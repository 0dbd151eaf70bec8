// Which operations create the member storage of a fresh record, for every accessor and
// conversion of every record: getters, setters, defaults, invalid markers and name and value
// conversions create it; set flags, resets, data predicates, validity tests of members that
// are not enumerations, switch and logger create nothing.

#include "TestSupport.h"

#include <BearingSettings.h>
#include <FrequencyRange.h>
#include <KVT317SettingsDetail.h>
#include <KVT317_Settings.h>

#include <gtest/gtest.h>

#include <functional>

namespace {

using KVT317XML::BearingSettings;
using KVT317XML::FrequencyRange;
using KVT317XML::KVT317_Settings;
using Detail = KVT317XML::KVT317SettingsDetail;

// Runs the operation on a fresh record and tells whether the record has storage afterwards.
template <class R> bool Creates(const std::function<void(R&)>& operation)
{
    R record;
    EXPECT_FALSE(record.IsInitialized());
    operation(record);
    return record.IsInitialized();
}

// The same through a const reference.
template <class R> bool ConstCreates(const std::function<void(const R&)>& operation)
{
    R record;
    EXPECT_FALSE(record.IsInitialized());
    operation(record);
    return record.IsInitialized();
}

// The accessors every member has.
#define EXPECT_MEMBER_STATE(R, X, value)                                                           \
    EXPECT_TRUE(Creates<R>([](R& r) { r.Set##X(value); })) << #X;                                  \
    EXPECT_FALSE(ConstCreates<R>([](const R& r) { r.Is##X##Set(); })) << #X;                       \
    EXPECT_FALSE(Creates<R>([](R& r) { r.Reset##X(); })) << #X;                                    \
    EXPECT_TRUE(ConstCreates<R>([](const R& r) { r.GetDefault##X(); })) << #X;                     \
    EXPECT_TRUE(Creates<R>([](R& r) { r.SetDefault##X(value); })) << #X;

// int, float and double members: the validity test looks at its argument only.
#define EXPECT_NUMBER(R, X, value)                                                                 \
    EXPECT_MEMBER_STATE(R, X, value)                                                               \
    EXPECT_TRUE(ConstCreates<R>([](const R& r) { r.Get##X(); })) << #X;                            \
    EXPECT_FALSE(ConstCreates<R>([](const R& r) { r.IsValid##X(value); })) << #X;

// QString members: both getters create.
#define EXPECT_TEXT(R, X)                                                                          \
    EXPECT_MEMBER_STATE(R, X, QStringLiteral("x"))                                                 \
    EXPECT_TRUE(Creates<R>([](R& r) { r.Get##X(); })) << #X;                                       \
    EXPECT_TRUE(ConstCreates<R>([](const R& r) { r.Get##X(); })) << #X;                            \
    EXPECT_TRUE(Creates<R>([](R& r) { r.Set##X(QString()); })) << #X;                              \
    EXPECT_FALSE(ConstCreates<R>([](const R& r) { r.IsValid##X(QString()); })) << #X;

// Date-time and child record members.
#define EXPECT_OBJECT(R, T, X)                                                                     \
    EXPECT_MEMBER_STATE(R, X, T())                                                                 \
    EXPECT_TRUE(Creates<R>([](R& r) { r.Get##X(); })) << #X;                                       \
    EXPECT_TRUE(ConstCreates<R>([](const R& r) { r.Get##X(); })) << #X;                            \
    EXPECT_FALSE(ConstCreates<R>([](const R& r) { r.IsValid##X(T()); })) << #X;

// Enumeration members: validity, invalid marker and name conversions create the storage,
// whether or not the value or name is one of the member's.
#define EXPECT_ENUM(R, X, value, name)                                                             \
    EXPECT_MEMBER_STATE(R, X, value)                                                               \
    EXPECT_TRUE(ConstCreates<R>([](const R& r) { r.Get##X(); })) << #X;                            \
    EXPECT_TRUE(Creates<R>([](R& r) { r.Set##X(static_cast<R::X>(-1)); })) << #X;                  \
    EXPECT_TRUE(ConstCreates<R>([](const R& r) { r.IsValid##X(value); })) << #X;                   \
    EXPECT_TRUE(ConstCreates<R>([](const R& r) { r.IsValid##X(static_cast<R::X>(99)); })) << #X;   \
    EXPECT_TRUE(ConstCreates<R>([](const R& r) { r.GetInvalid##X(); })) << #X;                     \
    EXPECT_TRUE(Creates<R>([](R& r) { r.SetInvalid##X(value); })) << #X;                           \
    EXPECT_TRUE(ConstCreates<R>([](const R& r) { r.X##ToName(value); })) << #X;                    \
    EXPECT_TRUE(ConstCreates<R>([](const R& r) { r.X##ToName(static_cast<R::X>(99)); })) << #X;    \
    EXPECT_TRUE(ConstCreates<R>([](const R& r) { r.NameTo##X(QStringLiteral(name)); })) << #X;     \
    EXPECT_TRUE(ConstCreates<R>([](const R& r) { r.NameTo##X(QStringLiteral("none")); })) << #X;   \
    EXPECT_TRUE(ConstCreates<R>([](const R& r) { r.NameTo##X(QString()); })) << #X;                \
    EXPECT_TRUE(ConstCreates<R>([](const R& r) { r.Get##X##AsString(); })) << #X;

// Enumerations that stand for values in hertz.
#define EXPECT_VALUES(R, X, value, hertz)                                                          \
    EXPECT_TRUE(ConstCreates<R>([](const R& r) { r.X##ToValue(value); })) << #X;                   \
    EXPECT_TRUE(ConstCreates<R>([](const R& r) { r.X##ToValue(static_cast<R::X>(-1)); })) << #X;   \
    EXPECT_TRUE(ConstCreates<R>([](const R& r) { r.ValueTo##X(hertz); })) << #X;                   \
    EXPECT_TRUE(ConstCreates<R>([](const R& r) { r.ValueTo##X(1.5); })) << #X;

// What every record has.
#define EXPECT_RECORD(R)                                                                           \
    EXPECT_FALSE(Creates<R>([](R& r) { r.Reset(); }));                                             \
    EXPECT_TRUE(Creates<R>([](R& r) { r.ResetToDefault(); }));                                     \
    EXPECT_FALSE(ConstCreates<R>([](const R& r) { r.HasData(); }));                                \
    EXPECT_FALSE(ConstCreates<R>([](const R& r) { r.AnyData(); }));                                \
    EXPECT_FALSE(ConstCreates<R>([](const R& r) { r.SetValidate(true); }));                        \
    EXPECT_FALSE(ConstCreates<R>([](const R& r) { r.SetLogger(nullptr); }));                       \
    EXPECT_FALSE(ConstCreates<R>([](const R& r) { R copy(r); }));                                  \
    EXPECT_FALSE(Creates<R>([](R& r) { r = R(); }));                                               \
    EXPECT_TRUE(ConstCreates<R>([](const R& r) {                                                   \
        r.SetLogger(nullptr);                                                                      \
        r.Check(true);                                                                             \
    }));                                                                                           \
    EXPECT_TRUE(ConstCreates<R>([](const R& r) {                                                   \
        r.SetLogger(nullptr);                                                                      \
        r.GetXmlString();                                                                          \
    }));                                                                                           \
    EXPECT_TRUE(ConstCreates<R>([](const R& r) { r.GetBinaryRepresentationAsQByteArray(); }));

TEST(StorageCreation, FrequencyRange)
{
    EXPECT_RECORD(FrequencyRange)
    EXPECT_NUMBER(FrequencyRange, StartFrequency, 1.0)
    EXPECT_NUMBER(FrequencyRange, StopFrequency, 1.0)
    // Leaf records compare without creating storage.
    EXPECT_FALSE(ConstCreates<FrequencyRange>(
        [](const FrequencyRange& r) { EXPECT_TRUE(r == FrequencyRange()); }));
}

TEST(StorageCreation, BearingSettings)
{
    using B = BearingSettings;
    EXPECT_RECORD(B)
    EXPECT_NUMBER(B, Frequency, 1.0)
    EXPECT_NUMBER(B, AveragingTime, 1)
    EXPECT_NUMBER(B, DFBandwidth, 1.0)
    EXPECT_ENUM(B, DFMode, B::DFMode_Gate, "Gate")
    EXPECT_NUMBER(B, AngleSamples, 1)
    EXPECT_NUMBER(B, LevelThreshold, 1)
    EXPECT_NUMBER(B, QualityThreshold, 1)
    EXPECT_NUMBER(B, ElevationThreshold, 1)
    EXPECT_NUMBER(B, SlidingWindowTime, 1)
    EXPECT_TEXT(B, BearingVtPath)
    EXPECT_TEXT(B, BearingVtPathSR)
    EXPECT_TEXT(B, EigenValueVtPath)
    EXPECT_TEXT(B, SignalEstimationQualityVtPath)
    EXPECT_TEXT(B, Name)
    EXPECT_NUMBER(B, Index, 1)
    EXPECT_FALSE(ConstCreates<B>([](const B& r) { EXPECT_TRUE(r == B()); }));
    // The name lists need no record.
    EXPECT_EQ(B::GetDFModes(), (QStringList{QStringLiteral("Cont"), QStringLiteral("Norm"),
                                            QStringLiteral("Gate")}));
}

TEST(StorageCreation, KVT317SettingsDetail)
{
    EXPECT_RECORD(Detail)
    EXPECT_ENUM(Detail, AntennaPol, Detail::AntennaPol_HOR, "HOR")
    EXPECT_ENUM(Detail, AntPreAmp, Detail::AntPreAmp_ON, "ON")
    EXPECT_ENUM(Detail, AverageMode, Detail::AverageMode_GATE, "GATE")
    EXPECT_ENUM(Detail, BandwidthDF, Detail::BandwidthDF_8_333_kHz, "8.333 kHz")
    EXPECT_VALUES(Detail, BandwidthDF, Detail::BandwidthDF_8_333_kHz, 8333.0)
    EXPECT_NUMBER(Detail, BlockAveragingTime, 1)
    EXPECT_ENUM(Detail, DF_Alt, static_cast<Detail::DF_Alt>(1), "WATSONWATT")
    EXPECT_OBJECT(Detail, FrequencyRange, FrequencyRange)
    EXPECT_ENUM(Detail, Real_Time_Bandwidth, static_cast<Detail::Real_Time_Bandwidth>(3), "1 MHz")
    EXPECT_VALUES(Detail, Real_Time_Bandwidth, static_cast<Detail::Real_Time_Bandwidth>(9),
                  80000000.0)
    EXPECT_NUMBER(Detail, ScanMemoryID, 1)
    EXPECT_ENUM(Detail, DFPan_Selectivity, static_cast<Detail::DFPan_Selectivity>(2), "NARROW")
    EXPECT_NUMBER(Detail, Threshold, 1)
    EXPECT_OBJECT(Detail, QDateTime, StopTime)
    EXPECT_ENUM(Detail, AttSelect, static_cast<Detail::AttSelect>(0), "AUTO")
    EXPECT_NUMBER(Detail, AttenuationHoldValue, 1.0f)
    EXPECT_NUMBER(Detail, AttenuationHoldTime, 1.0f)
    EXPECT_TEXT(Detail, Name)
    EXPECT_NUMBER(Detail, index, 1)
    EXPECT_FALSE(ConstCreates<Detail>([](const Detail& r) { EXPECT_TRUE(r == Detail()); }));
    // The name lists and value tables need no record.
    EXPECT_EQ(Detail::GetAntPreAmps(), (QStringList{QStringLiteral("OFF"), QStringLiteral("ON")}));
    EXPECT_EQ(Detail::GetGUIAttSelects(),
              (QStringList{QStringLiteral("AUTO"), QStringLiteral("MANUAL")}));
    EXPECT_EQ(Detail::GetBandwidthDFs().size(), 31);
    EXPECT_EQ(Detail::GetReal_Time_Bandwidths().size(), 10);
}

TEST(StorageCreation, KVT317_Settings)
{
    using S = KVT317_Settings;
    using Details = QVector<Detail>;
    EXPECT_RECORD(S)
    EXPECT_TRUE(Creates<S>([](S& r) { r.SetKVT317SettingsDetail(Details()); }));
    EXPECT_TRUE(Creates<S>([](S& r) { r.GetKVT317SettingsDetail(); }));
    EXPECT_TRUE(ConstCreates<S>([](const S& r) { r.GetKVT317SettingsDetail(); }));
    EXPECT_FALSE(ConstCreates<S>([](const S& r) { r.IsKVT317SettingsDetailSet(); }));
    EXPECT_FALSE(Creates<S>([](S& r) { r.ResetKVT317SettingsDetail(); }));
    EXPECT_FALSE(ConstCreates<S>([](const S& r) { r.IsValidKVT317SettingsDetail(Details()); }));
    EXPECT_FALSE(ConstCreates<S>([](const S& r) { r.IsValidKVT317SettingsDetail(Detail()); }));
    EXPECT_TRUE(ConstCreates<S>([](const S& r) { r.GetDefaultKVT317SettingsDetail(); }));
    EXPECT_TRUE(Creates<S>([](S& r) { r.SetDefaultKVT317SettingsDetail(Detail()); }));
    EXPECT_TRUE(Creates<S>([](S& r) {
        r.SetLogger(nullptr);
        r.AppendKVT317SettingsDetail(Detail());
    }));
    // Two roots without storage compare equal and stay without.
    EXPECT_FALSE(ConstCreates<S>([](const S& r) { EXPECT_TRUE(r == S()); }));
}

} // namespace

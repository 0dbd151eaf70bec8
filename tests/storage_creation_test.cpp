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
#include <utility>

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

// The accessors every member has; each also gives its value.
#define EXPECT_MEMBER_STATE(R, X, value, def)                                                      \
    EXPECT_TRUE(Creates<R>([](R& r) {                                                              \
        r.Set##X(value);                                                                           \
        EXPECT_TRUE(std::as_const(r).Get##X() == value);                                           \
    })) << #X;                                                                                     \
    EXPECT_FALSE(ConstCreates<R>([](const R& r) { EXPECT_FALSE(r.Is##X##Set()); })) << #X;         \
    EXPECT_FALSE(Creates<R>([](R& r) { r.Reset##X(); })) << #X;                                    \
    EXPECT_TRUE(ConstCreates<R>([](const R& r) { EXPECT_TRUE(r.GetDefault##X() == def); })) << #X; \
    EXPECT_TRUE(Creates<R>([](R& r) {                                                              \
        r.SetDefault##X(value);                                                                    \
        EXPECT_TRUE(r.GetDefault##X() == value);                                                   \
        EXPECT_FALSE(r.Is##X##Set());                                                              \
    })) << #X;

// int, float and double members: the validity test looks at its argument only.
#define EXPECT_NUMBER(R, X, value, def)                                                            \
    EXPECT_MEMBER_STATE(R, X, value, def)                                                          \
    EXPECT_TRUE(ConstCreates<R>([](const R& r) { EXPECT_EQ(r.Get##X(), def); })) << #X;            \
    EXPECT_FALSE(ConstCreates<R>([](const R& r) { EXPECT_TRUE(r.IsValid##X(value)); })) << #X;

// QString members: both getters create.
#define EXPECT_TEXT(R, X)                                                                          \
    EXPECT_MEMBER_STATE(R, X, QStringLiteral("x"), QString())                                      \
    EXPECT_TRUE(Creates<R>([](R& r) { EXPECT_TRUE(r.Get##X().isNull()); })) << #X;                 \
    EXPECT_TRUE(ConstCreates<R>([](const R& r) { EXPECT_TRUE(r.Get##X().isNull()); })) << #X;      \
    EXPECT_TRUE(Creates<R>([](R& r) {                                                              \
        r.SetLogger(nullptr);                                                                      \
        r.Set##X(QString());                                                                       \
        EXPECT_TRUE(r.Is##X##Set());                                                               \
    })) << #X;                                                                                     \
    EXPECT_FALSE(ConstCreates<R>([](const R& r) { EXPECT_FALSE(r.IsValid##X(QString())); })) << #X;

// Date-time and child record members: the non-const getter marks the member set.
#define EXPECT_OBJECT(R, T, X)                                                                     \
    EXPECT_MEMBER_STATE(R, X, T(), T())                                                            \
    EXPECT_TRUE(Creates<R>([](R& r) {                                                              \
        EXPECT_TRUE(r.Get##X() == T());                                                            \
        EXPECT_TRUE(r.Is##X##Set());                                                               \
    })) << #X;                                                                                     \
    EXPECT_TRUE(ConstCreates<R>([](const R& r) {                                                   \
        EXPECT_TRUE(r.Get##X() == T());                                                            \
        EXPECT_FALSE(r.Is##X##Set());                                                              \
    })) << #X;                                                                                     \
    EXPECT_FALSE(ConstCreates<R>([](const R& r) { EXPECT_TRUE(r.IsValid##X(T())); })) << #X;

// Enumeration members: validity, invalid marker and name conversions create the storage,
// whether or not the value or name is one of the member's. `def` is the default, `defName`
// its name (empty for none).
#define EXPECT_ENUM(R, X, value, name, def, defName)                                               \
    EXPECT_MEMBER_STATE(R, X, value, As<R::X>(def))                                                \
    EXPECT_TRUE(ConstCreates<R>([](const R& r) { EXPECT_EQ(r.Get##X(), def); })) << #X;            \
    EXPECT_TRUE(Creates<R>([](R& r) {                                                              \
        r.SetLogger(nullptr);                                                                      \
        r.Set##X(static_cast<R::X>(-1));                                                           \
        EXPECT_EQ(r.Get##X(), -1);                                                                 \
    })) << #X;                                                                                     \
    EXPECT_TRUE(ConstCreates<R>([](const R& r) { EXPECT_TRUE(r.IsValid##X(value)); })) << #X;      \
    EXPECT_TRUE(ConstCreates<R>([](const R& r) {                                                   \
        EXPECT_FALSE(r.IsValid##X(static_cast<R::X>(99)));                                         \
    })) << #X;                                                                                     \
    EXPECT_TRUE(ConstCreates<R>([](const R& r) { EXPECT_EQ(r.GetInvalid##X(), -1); })) << #X;      \
    EXPECT_TRUE(Creates<R>([](R& r) {                                                              \
        r.SetInvalid##X(value);                                                                    \
        EXPECT_EQ(r.GetInvalid##X(), value);                                                       \
        EXPECT_EQ(r.NameTo##X(QStringLiteral("none")), value);                                     \
    })) << #X;                                                                                     \
    EXPECT_TRUE(ConstCreates<R>([](const R& r) {                                                   \
        EXPECT_EQ(r.X##ToName(value), QStringLiteral(name));                                       \
    })) << #X;                                                                                     \
    EXPECT_TRUE(ConstCreates<R>([](const R& r) {                                                   \
        EXPECT_TRUE(r.X##ToName(static_cast<R::X>(99)).isNull());                                  \
    })) << #X;                                                                                     \
    EXPECT_TRUE(ConstCreates<R>([](const R& r) {                                                   \
        EXPECT_EQ(r.NameTo##X(QStringLiteral(name)), value);                                       \
    })) << #X;                                                                                     \
    EXPECT_TRUE(ConstCreates<R>([](const R& r) {                                                   \
        EXPECT_EQ(r.NameTo##X(QStringLiteral("none")), -1);                                        \
    })) << #X;                                                                                     \
    EXPECT_TRUE(ConstCreates<R>([](const R& r) { EXPECT_EQ(r.NameTo##X(QString()), -1); })) << #X; \
    EXPECT_TRUE(ConstCreates<R>([](const R& r) {                                                   \
        EXPECT_EQ(r.Get##X##AsString(), QStringLiteral(defName));                                  \
    })) << #X;

// Enumerations that stand for values in hertz.
#define EXPECT_VALUES(R, X, value, hertz)                                                          \
    EXPECT_TRUE(ConstCreates<R>([](const R& r) { EXPECT_EQ(r.X##ToValue(value), hertz); })) << #X; \
    EXPECT_TRUE(ConstCreates<R>([](const R& r) {                                                   \
        EXPECT_EQ(r.X##ToValue(static_cast<R::X>(-1)), 0.0);                                       \
    })) << #X;                                                                                     \
    EXPECT_TRUE(ConstCreates<R>([](const R& r) { EXPECT_EQ(r.ValueTo##X(hertz), value); })) << #X; \
    EXPECT_TRUE(ConstCreates<R>([](const R& r) { EXPECT_EQ(r.ValueTo##X(1.5), -1); })) << #X;

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
    EXPECT_NUMBER(FrequencyRange, StartFrequency, 1.0, 88000000.0)
    EXPECT_NUMBER(FrequencyRange, StopFrequency, 1.0, 240000000.0)
    // Leaf records compare without creating storage.
    EXPECT_FALSE(ConstCreates<FrequencyRange>(
        [](const FrequencyRange& r) { EXPECT_TRUE(r == FrequencyRange()); }));
}

TEST(StorageCreation, BearingSettings)
{
    using B = BearingSettings;
    EXPECT_RECORD(B)
    EXPECT_NUMBER(B, Frequency, 1.0, 0.0)
    EXPECT_NUMBER(B, AveragingTime, 1, 0)
    EXPECT_NUMBER(B, DFBandwidth, 1.0, 0.0)
    EXPECT_ENUM(B, DFMode, B::DFMode_Gate, "Gate", -1, "")
    EXPECT_NUMBER(B, AngleSamples, 1, 0)
    EXPECT_NUMBER(B, LevelThreshold, 1, 0)
    EXPECT_NUMBER(B, QualityThreshold, 1, 0)
    EXPECT_NUMBER(B, ElevationThreshold, 1, 0)
    EXPECT_NUMBER(B, SlidingWindowTime, 1, 0)
    EXPECT_TEXT(B, BearingVtPath)
    EXPECT_TEXT(B, BearingVtPathSR)
    EXPECT_TEXT(B, EigenValueVtPath)
    EXPECT_TEXT(B, SignalEstimationQualityVtPath)
    EXPECT_TEXT(B, Name)
    EXPECT_NUMBER(B, Index, 1, 0)
    EXPECT_FALSE(ConstCreates<B>([](const B& r) { EXPECT_TRUE(r == B()); }));
    // The name lists need no record.
    EXPECT_EQ(B::GetDFModes(), (QStringList{QStringLiteral("Cont"), QStringLiteral("Norm"),
                                            QStringLiteral("Gate")}));
}

TEST(StorageCreation, KVT317SettingsDetail)
{
    EXPECT_RECORD(Detail)
    EXPECT_ENUM(Detail, AntennaPol, Detail::AntennaPol_HOR, "HOR", 0, "VERT")
    EXPECT_ENUM(Detail, AntPreAmp, Detail::AntPreAmp_ON, "ON", 0, "OFF")
    EXPECT_ENUM(Detail, AverageMode, Detail::AverageMode_GATE, "GATE", -1, "")
    EXPECT_ENUM(Detail, BandwidthDF, Detail::BandwidthDF_8_333_kHz, "8.333 kHz", -1, "")
    EXPECT_VALUES(Detail, BandwidthDF, Detail::BandwidthDF_8_333_kHz, 8333.0)
    EXPECT_NUMBER(Detail, BlockAveragingTime, 1, 10)
    EXPECT_ENUM(Detail, DF_Alt, static_cast<Detail::DF_Alt>(1), "WATSONWATT", 2, "CORRELATION")
    EXPECT_OBJECT(Detail, FrequencyRange, FrequencyRange)
    EXPECT_ENUM(Detail, Real_Time_Bandwidth, static_cast<Detail::Real_Time_Bandwidth>(3), "1 MHz",
                9, "80 MHz")
    EXPECT_VALUES(Detail, Real_Time_Bandwidth, static_cast<Detail::Real_Time_Bandwidth>(9),
                  80000000.0)
    EXPECT_NUMBER(Detail, ScanMemoryID, 1, 0)
    EXPECT_ENUM(Detail, DFPan_Selectivity, static_cast<Detail::DFPan_Selectivity>(2), "NARROW", 1,
                "NORMAL")
    EXPECT_NUMBER(Detail, Threshold, 1, 20)
    EXPECT_OBJECT(Detail, QDateTime, StopTime)
    EXPECT_ENUM(Detail, AttSelect, static_cast<Detail::AttSelect>(0), "AUTO", 1, "MANUAL")
    EXPECT_NUMBER(Detail, AttenuationHoldValue, 1.0f, 10.0f)
    EXPECT_NUMBER(Detail, AttenuationHoldTime, 1.0f, 100.0f)
    EXPECT_TEXT(Detail, Name)
    EXPECT_NUMBER(Detail, index, 1, 0)
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
    EXPECT_TRUE(Creates<S>([](S& r) {
        r.SetKVT317SettingsDetail(Details());
        EXPECT_TRUE(r.IsKVT317SettingsDetailSet());
        EXPECT_FALSE(r.HasData());
    }));
    EXPECT_TRUE(Creates<S>([](S& r) {
        EXPECT_TRUE(r.GetKVT317SettingsDetail().isEmpty());
        EXPECT_TRUE(r.IsKVT317SettingsDetailSet());
    }));
    EXPECT_TRUE(ConstCreates<S>([](const S& r) {
        EXPECT_TRUE(r.GetKVT317SettingsDetail().isEmpty());
        EXPECT_FALSE(r.IsKVT317SettingsDetailSet());
    }));
    EXPECT_FALSE(ConstCreates<S>([](const S& r) { EXPECT_FALSE(r.IsKVT317SettingsDetailSet()); }));
    EXPECT_FALSE(Creates<S>([](S& r) { r.ResetKVT317SettingsDetail(); }));
    EXPECT_FALSE(
        ConstCreates<S>([](const S& r) { EXPECT_TRUE(r.IsValidKVT317SettingsDetail(Details())); }));
    EXPECT_FALSE(
        ConstCreates<S>([](const S& r) { EXPECT_TRUE(r.IsValidKVT317SettingsDetail(Detail())); }));
    EXPECT_TRUE(ConstCreates<S>([](const S& r) {
        EXPECT_FALSE(r.GetDefaultKVT317SettingsDetail().IsInitialized());
        EXPECT_TRUE(r.GetDefaultKVT317SettingsDetail() == Detail());
    }));
    EXPECT_TRUE(Creates<S>([](S& r) {
        r.SetDefaultKVT317SettingsDetail(FullySetDetail());
        EXPECT_TRUE(r.GetDefaultKVT317SettingsDetail() == FullySetDetail());
        EXPECT_FALSE(r.IsKVT317SettingsDetailSet());
    }));
    EXPECT_TRUE(Creates<S>([](S& r) {
        r.SetLogger(nullptr);
        r.AppendKVT317SettingsDetail(Detail());
        EXPECT_EQ(r.GetKVT317SettingsDetail().size(), 1);
    }));
    // Two roots without storage compare equal and stay without.
    EXPECT_FALSE(ConstCreates<S>([](const S& r) { EXPECT_TRUE(r == S()); }));
}

} // namespace

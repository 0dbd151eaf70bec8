#include "KVT317SettingsDetail.h"
#include "RecordAccessors.h"

#include <QObject>

namespace KVT317XML {

namespace {

using Detail = KVT317SettingsDetail;

enum : int {
    AntennaPolBit,
    AntPreAmpBit,
    AverageModeBit,
    BandwidthDFBit,
    BlockAveragingTimeBit,
    DF_AltBit,
    FrequencyRangeBit,
    Real_Time_BandwidthBit,
    ScanMemoryIDBit,
    DFPan_SelectivityBit,
    ThresholdBit,
    StopTimeBit,
    AttSelectBit,
    AttenuationHoldValueBit,
    AttenuationHoldTimeBit,
    NameBit,
    indexBit
};

struct KVT317SettingsDetailData {
    Detail::AntennaPol antennaPol{};
    Detail::AntPreAmp antPreAmp{};
    Detail::AverageMode averageMode{};
    Detail::BandwidthDF bandwidthDF{};
    int blockAveragingTime{};
    Detail::DF_Alt dF_Alt{};
    FrequencyRange frequencyRange{};
    Detail::Real_Time_Bandwidth real_Time_Bandwidth{};
    int scanMemoryID{};
    Detail::DFPan_Selectivity dFPan_Selectivity{};
    int threshold{};
    QDateTime stopTime{};
    Detail::AttSelect attSelect{};
    float attenuationHoldValue{};
    float attenuationHoldTime{};
    QString name{};
    int index{};
};

const EnumerationDescription& AntPreAmpTable()
{
    static const EnumerationDescription table{{QStringLiteral("OFF"), QStringLiteral("ON")}, {}};
    return table;
}

const EnumerationDescription& AntennaPolTable()
{
    static const EnumerationDescription table{{QStringLiteral("VERT"), QStringLiteral("HOR"),
                                               QStringLiteral("LEFT"), QStringLiteral("RIGHT")},
                                              {}};
    return table;
}

const EnumerationDescription& AttSelectTable()
{
    static const EnumerationDescription table{{QStringLiteral("AUTO"), QStringLiteral("MANUAL")},
                                              {}};
    return table;
}

const EnumerationDescription& AverageModeTable()
{
    static const EnumerationDescription table{
        {QStringLiteral("OFF"), QStringLiteral("GATE"), QStringLiteral("NORM")}, {}};
    return table;
}

const EnumerationDescription& DFPan_SelectivityTable()
{
    static const EnumerationDescription table{{QStringLiteral("AUTO"), QStringLiteral("NORMAL"),
                                               QStringLiteral("NARROW"), QStringLiteral("SHARP")},
                                              {}};
    return table;
}

const EnumerationDescription& DF_AltTable()
{
    static const EnumerationDescription table{
        {QStringLiteral("AUTO"), QStringLiteral("WATSONWATT"), QStringLiteral("CORRELATION"),
         QStringLiteral("SUPERRESOLUTION"), QStringLiteral("VECTORMATCHING")},
        {}};
    return table;
}

const EnumerationDescription& BandwidthDFTable()
{
    // clang-format off
    static const EnumerationDescription table{
        {QStringLiteral("12.50 Hz"), QStringLiteral("20.00 Hz"), QStringLiteral("25.00 Hz"), QStringLiteral("31.25 Hz"), QStringLiteral("50.00 Hz"), QStringLiteral("62.50 Hz"), QStringLiteral("100.0 Hz"), QStringLiteral("125.0 Hz"), QStringLiteral("200.0 Hz"), QStringLiteral("250.0 Hz"), QStringLiteral("312.5 Hz"), QStringLiteral("500.0 Hz"), QStringLiteral("625.0 Hz"), QStringLiteral("1.00 kHz"), QStringLiteral("1.25 kHz"), QStringLiteral("2.00 kHz"), QStringLiteral("2.50 kHz"), QStringLiteral("3.125 kHz"), QStringLiteral("5.00 kHz"), QStringLiteral("6.25 kHz"), QStringLiteral("8.333 kHz"), QStringLiteral("10.0 kHz"), QStringLiteral("12.5 kHz"), QStringLiteral("20.0 kHz"), QStringLiteral("25.0 kHz"), QStringLiteral("50.0 kHz"), QStringLiteral("100 kHz"), QStringLiteral("200 kHz"), QStringLiteral("500 kHz"), QStringLiteral("1 MHz"), QStringLiteral("2 MHz")},
        {12.5, 20.0, 25.0, 31.25, 50.0, 62.5, 100.0, 125.0, 200.0, 250.0, 312.5, 500.0, 625.0, 1000.0, 1250.0, 2000.0, 2500.0, 3125.0, 5000.0, 6250.0, 8333.0, 10000.0, 12500.0, 20000.0, 25000.0, 50000.0, 100000.0, 200000.0, 500000.0, 1000000.0, 2000000.0}};
    // clang-format on
    return table;
}

const EnumerationDescription& Real_Time_BandwidthTable()
{
    // clang-format off
    static const EnumerationDescription table{
        {QStringLiteral("100 kHz"), QStringLiteral("200 kHz"), QStringLiteral("500 kHz"), QStringLiteral("1 MHz"), QStringLiteral("2 MHz"), QStringLiteral("5 MHz"), QStringLiteral("10 MHz"), QStringLiteral("20 MHz"), QStringLiteral("40 MHz"), QStringLiteral("80 MHz")},
        {100000.0, 200000.0, 500000.0, 1000000.0, 2000000.0, 5000000.0, 10000000.0, 20000000.0, 40000000.0, 80000000.0}};
    // clang-format on
    return table;
}

using D = KVT317SettingsDetailData;

// clang-format off
const RecordType& Type()
{
    static const RecordType type = MakeRecordType<Detail, D>("KVT317SettingsDetail", Detail::id, {
        Member<&D::antennaPol>(AntennaPolBit, "AntennaPol", 0x36B1CFF8).Required().Names(AntennaPolTable()).DisplayNames(&Detail::GetGUIAntennaPols).DefaultName("VERT"),
        Member<&D::antPreAmp>(AntPreAmpBit, "AntPreAmp", 0x0B576A32).Required().Names(AntPreAmpTable()).DisplayNames(&Detail::GetGUIAntPreAmps).DefaultName("OFF"),
        Member<&D::averageMode>(AverageModeBit, "AverageMode", 0xC896F956).Required().Names(AverageModeTable()).DisplayNames(&Detail::GetGUIAverageModes),
        Member<&D::bandwidthDF>(BandwidthDFBit, "BandwidthDF", 0x3C393B74).Required().Names(BandwidthDFTable()),
        Member<&D::blockAveragingTime>(BlockAveragingTimeBit, "BlockAveragingTime", 0xC73B3D20).Required().DefaultValue(10).Unit("ms"),
        Member<&D::dF_Alt>(DF_AltBit, "DF_Alt", 0x5CC6C908).Required().Names(DF_AltTable()).DisplayNames(&Detail::GetGUIDF_Alts).DefaultName("CORRELATION"),
        Member<&D::frequencyRange>(FrequencyRangeBit, "FrequencyRange", 0x08B36734).Required(),
        Member<&D::real_Time_Bandwidth>(Real_Time_BandwidthBit, "Real_Time_Bandwidth", 0x45A23BD6).Required().Names(Real_Time_BandwidthTable()).DefaultName("80 MHz"),
        Member<&D::scanMemoryID>(ScanMemoryIDBit, "ScanMemoryID", 0x375806BF).Required(),
        Member<&D::dFPan_Selectivity>(DFPan_SelectivityBit, "DFPan_Selectivity", 0x60866F2C).Required().Names(DFPan_SelectivityTable()).DisplayNames(&Detail::GetGUIDFPan_Selectivitys).DefaultName("NORMAL"),
        Member<&D::threshold>(ThresholdBit, "Threshold", 0xE7B0B2F8).Required().DefaultValue(20).Unit("dB\u00B5V"),
        Member<&D::stopTime>(StopTimeBit, "StopTime", 0x02A42596).Required(),
        Member<&D::attSelect>(AttSelectBit, "AttSelect", 0x8C961898).Required().Names(AttSelectTable()).DisplayNames(&Detail::GetGUIAttSelects).DefaultName("MANUAL"),
        Member<&D::attenuationHoldValue>(AttenuationHoldValueBit, "AttenuationHoldValue", 0x5C505A01).Required().Fixed(0, 2).DefaultValue(10.0).Unit("dB"),
        Member<&D::attenuationHoldTime>(AttenuationHoldTimeBit, "AttenuationHoldTime", 0x4B68079A).Required().Fixed(0, 2).DefaultValue(100.0).Unit("ms"),
        Member<&D::name>(NameBit, "Name", 0x58D44D66).Attribute(),
        Member<&D::index>(indexBit, "index", 0xCFF2FA5F).Attribute(),
    });
    return type;
}
// clang-format on

QString ObjectTr(const char* sourceText)
{
    return QObject::tr(sourceText);
}

} // namespace

const qint64 KVT317SettingsDetail::id = -102096553;

KVT317_RECORD_BASICS(KVT317SettingsDetail, "KVT317SettingsDetail")
KVT317_RECORD_EQUALITY(KVT317SettingsDetail)

KVT317_TRANSLATION_FUNCTIONS(KVT317SettingsDetail, "KVT317XML::KVT317SettingsDetail")

KVT317_ENUM_ACCESSORS(KVT317SettingsDetail, AntennaPol)
KVT317_ENUM_NAME_LISTS(KVT317SettingsDetail, AntennaPol, AntennaPolTable, ObjectTr)
KVT317_ENUM_ACCESSORS(KVT317SettingsDetail, AntPreAmp)
KVT317_ENUM_NAME_LISTS(KVT317SettingsDetail, AntPreAmp, AntPreAmpTable, ObjectTr)
KVT317_ENUM_ACCESSORS(KVT317SettingsDetail, AverageMode)
KVT317_ENUM_NAME_LISTS(KVT317SettingsDetail, AverageMode, AverageModeTable, ObjectTr)
KVT317_ENUM_ACCESSORS(KVT317SettingsDetail, BandwidthDF)
KVT317_ENUM_VALUES(KVT317SettingsDetail, BandwidthDF, structKVTBandwidthDF, BandwidthDFTable)
KVT317_NUMBER_ACCESSORS(KVT317SettingsDetail, int, BlockAveragingTime)
KVT317_ENUM_ACCESSORS(KVT317SettingsDetail, DF_Alt)
KVT317_ENUM_NAME_LISTS(KVT317SettingsDetail, DF_Alt, DF_AltTable, ObjectTr)
KVT317_OBJECT_ACCESSORS(KVT317SettingsDetail, FrequencyRange, FrequencyRange)
KVT317_ENUM_ACCESSORS(KVT317SettingsDetail, Real_Time_Bandwidth)
KVT317_ENUM_VALUES(KVT317SettingsDetail, Real_Time_Bandwidth, structKVTReal_Time_Bandwidth,
                   Real_Time_BandwidthTable)
KVT317_NUMBER_ACCESSORS(KVT317SettingsDetail, int, ScanMemoryID)
KVT317_ENUM_ACCESSORS(KVT317SettingsDetail, DFPan_Selectivity)
KVT317_ENUM_NAME_LISTS(KVT317SettingsDetail, DFPan_Selectivity, DFPan_SelectivityTable, ObjectTr)
KVT317_NUMBER_ACCESSORS(KVT317SettingsDetail, int, Threshold)
KVT317_OBJECT_ACCESSORS(KVT317SettingsDetail, QDateTime, StopTime)
KVT317_ENUM_ACCESSORS(KVT317SettingsDetail, AttSelect)
KVT317_ENUM_NAME_LISTS(KVT317SettingsDetail, AttSelect, AttSelectTable, ObjectTr)
KVT317_NUMBER_ACCESSORS(KVT317SettingsDetail, float, AttenuationHoldValue)
KVT317_NUMBER_ACCESSORS(KVT317SettingsDetail, float, AttenuationHoldTime)
KVT317_TEXT_ACCESSORS(KVT317SettingsDetail, Name)
KVT317_NUMBER_ACCESSORS(KVT317SettingsDetail, int, index)

} // namespace KVT317XML

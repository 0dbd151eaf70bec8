#include "BearingSettings.h"
#include "RecordAccessors.h"

namespace KVT317XML {

namespace {

enum : int {
    FrequencyBit,
    AveragingTimeBit,
    DFBandwidthBit,
    DFModeBit,
    AngleSamplesBit,
    LevelThresholdBit,
    QualityThresholdBit,
    ElevationThresholdBit,
    SlidingWindowTimeBit,
    BearingVtPathBit,
    BearingVtPathSRBit,
    EigenValueVtPathBit,
    SignalEstimationQualityVtPathBit,
    NameBit,
    IndexBit
};

struct BearingSettingsData {
    double frequency{};
    int averagingTime{};
    double dFBandwidth{};
    BearingSettings::DFMode dFMode{};
    int angleSamples{};
    int levelThreshold{};
    int qualityThreshold{};
    int elevationThreshold{};
    int slidingWindowTime{};
    QString bearingVtPath{};
    QString bearingVtPathSR{};
    QString eigenValueVtPath{};
    QString signalEstimationQualityVtPath{};
    QString name{};
    int index{};
};

const EnumerationDescription& DFModes()
{
    static const EnumerationDescription table{
        {QStringLiteral("Cont"), QStringLiteral("Norm"), QStringLiteral("Gate")}, {}};
    return table;
}

using D = BearingSettingsData;

// clang-format off
const RecordType& Type()
{
    static const RecordType type = MakeRecordType<BearingSettings, D>("BearingSettings", BearingSettings::id, {
        Member<&D::frequency>(FrequencyBit, "Frequency", 0xA97DB5BE).Required().Fixed(1, 9).Unit("Hz"),
        Member<&D::averagingTime>(AveragingTimeBit, "AveragingTime", 0xEBEB1BDE).Unit("ms"),
        Member<&D::dFBandwidth>(DFBandwidthBit, "DFBandwidth", 0x6F24E1D7).Fixed(0, 2).Unit("Hz"),
        Member<&D::dFMode>(DFModeBit, "DFMode", 0x23991AF4).Names(DFModes()).DisplayNames(&BearingSettings::GetGUIDFModes),
        Member<&D::angleSamples>(AngleSamplesBit, "AngleSamples", 0x18C6455A),
        Member<&D::levelThreshold>(LevelThresholdBit, "LevelThreshold", 0xD21ED327).Unit("dB\u00B5V"),
        Member<&D::qualityThreshold>(QualityThresholdBit, "QualityThreshold", 0xCAEAFD4C).Unit("%"),
        Member<&D::elevationThreshold>(ElevationThresholdBit, "ElevationThreshold", 0x4B79C4EC).Unit("\u00B0"),
        Member<&D::slidingWindowTime>(SlidingWindowTimeBit, "SlidingWindowTime", 0x321DF800).Unit("ms"),
        Member<&D::bearingVtPath>(BearingVtPathBit, "BearingVtPath", 0x322B5285),
        Member<&D::bearingVtPathSR>(BearingVtPathSRBit, "BearingVtPathSR", 0xC14E337A),
        Member<&D::eigenValueVtPath>(EigenValueVtPathBit, "EigenValueVtPath", 0xDD4D5499),
        Member<&D::signalEstimationQualityVtPath>(SignalEstimationQualityVtPathBit, "SignalEstimationQualityVtPath", 0xDCD258AB),
        Member<&D::name>(NameBit, "Name", 0x58D44D66).Attribute(),
        Member<&D::index>(IndexBit, "Index", 0x1FAAD4BF).Attribute(),
    });
    return type;
}
// clang-format on

} // namespace

const qint64 BearingSettings::id = -2056480618;

KVT317_RECORD_BASICS(BearingSettings, "BearingSettings")
KVT317_RECORD_EQUALITY(BearingSettings)

KVT317_TRANSLATION_FUNCTIONS(BearingSettings, "KVT317XML::BearingSettings")

KVT317_NUMBER_ACCESSORS(BearingSettings, double, Frequency)
KVT317_NUMBER_ACCESSORS(BearingSettings, int, AveragingTime)
KVT317_NUMBER_ACCESSORS(BearingSettings, double, DFBandwidth)
KVT317_ENUM_ACCESSORS(BearingSettings, DFMode)
KVT317_ENUM_NAME_LISTS(BearingSettings, DFMode, DFModes, tr)
KVT317_NUMBER_ACCESSORS(BearingSettings, int, AngleSamples)
KVT317_NUMBER_ACCESSORS(BearingSettings, int, LevelThreshold)
KVT317_NUMBER_ACCESSORS(BearingSettings, int, QualityThreshold)
KVT317_NUMBER_ACCESSORS(BearingSettings, int, ElevationThreshold)
KVT317_NUMBER_ACCESSORS(BearingSettings, int, SlidingWindowTime)
KVT317_TEXT_ACCESSORS(BearingSettings, BearingVtPath)
KVT317_TEXT_ACCESSORS(BearingSettings, BearingVtPathSR)
KVT317_TEXT_ACCESSORS(BearingSettings, EigenValueVtPath)
KVT317_TEXT_ACCESSORS(BearingSettings, SignalEstimationQualityVtPath)
KVT317_TEXT_ACCESSORS(BearingSettings, Name)
KVT317_NUMBER_ACCESSORS(BearingSettings, int, Index)

} // namespace KVT317XML

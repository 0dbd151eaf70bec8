#include "FrequencyRange.h"
#include "RecordAccessors.h"

namespace KVT317XML {

namespace {

enum : int { StartFrequencyBit, StopFrequencyBit };

struct FrequencyRangeData {
    double startFrequency{};
    double stopFrequency{};
};

// clang-format off
const RecordType& Type()
{
    static const RecordType type = MakeRecordType<FrequencyRange, FrequencyRangeData>("FrequencyRange", FrequencyRange::id, {
        Member<&FrequencyRangeData::startFrequency>(StartFrequencyBit, "StartFrequency", 0x2D99DCB9).Required().Fixed(0, 2).DefaultValue(88000000.0).Unit("Hz"),
        Member<&FrequencyRangeData::stopFrequency>(StopFrequencyBit, "StopFrequency", 0x7ADC955A).Required().Fixed(0, 2).DefaultValue(240000000.0).Unit("Hz"),
    });
    return type;
}
// clang-format on

} // namespace

const qint64 FrequencyRange::id = 245222484;

KVT317_RECORD_BASICS(FrequencyRange, "FrequencyRange")
KVT317_RECORD_EQUALITY(FrequencyRange)

KVT317_NUMBER_ACCESSORS(FrequencyRange, double, StartFrequency)
KVT317_NUMBER_ACCESSORS(FrequencyRange, double, StopFrequency)

} // namespace KVT317XML

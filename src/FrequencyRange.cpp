#include "FrequencyRange.h"
#include "RecordAccessors.h"

namespace KVT317XML {

namespace {

enum : int { StartFrequencyBit, StopFrequencyBit };

struct FrequencyRangeData : StorageOf<FrequencyRangeData> {
    Slot<double> startFrequency;
    Slot<double> stopFrequency;
};

// clang-format off
const RecordType& Type()
{
    static const RecordType type = MakeRecordType<FrequencyRangeData>("FrequencyRange", FrequencyRange::id, {
        Member<&FrequencyRangeData::startFrequency>(StartFrequencyBit, "StartFrequency", 0x2D99DCB9).Required().Fixed(0, 2).DefaultValue(88000000.0),
        Member<&FrequencyRangeData::stopFrequency>(StopFrequencyBit, "StopFrequency", 0x7ADC955A).Required().Fixed(0, 2).DefaultValue(240000000.0),
    });
    return type;
}
// clang-format on

QString ObjectName()
{
    return QStringLiteral("FrequencyRange");
}

} // namespace

const __int64 FrequencyRange::id = 245222484;

FrequencyRange::FrequencyRange()
    : Record(Type(), ObjectName(), id)
{
}
FrequencyRange::FrequencyRange(const FrequencyRange& other)
    : Record(other, ObjectName(), id)
{
}
FrequencyRange& FrequencyRange::operator=(const FrequencyRange& other)
{
    ShareStorage(other);
    return *this;
}
FrequencyRange::~FrequencyRange() = default;

bool FrequencyRange::operator==(const FrequencyRange& other) const
{
    return Equals(other);
}
bool FrequencyRange::operator!=(const FrequencyRange& other) const
{
    return !Equals(other);
}

__int64 FrequencyRange::GetId()
{
    return id;
}
const RecordDescription& FrequencyRange::Description()
{
    return Type().description;
}

KVT317_NUMBER_ACCESSORS(FrequencyRange, double, StartFrequency)
KVT317_NUMBER_ACCESSORS(FrequencyRange, double, StopFrequency)

} // namespace KVT317XML

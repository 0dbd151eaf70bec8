#include "RecordDescription.h"

#include "BearingSettings.h"
#include "FrequencyRange.h"

namespace KVT317XML {

std::vector<const RecordDescription*> AllRecordDescriptions()
{
    return {&BearingSettings::Description(), &FrequencyRange::Description()};
}

} // namespace KVT317XML

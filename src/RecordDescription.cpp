#include "RecordDescription.h"

#include "FrequencyRange.h"

namespace KVT317XML {

std::vector<const RecordDescription*> AllRecordDescriptions()
{
    return {&FrequencyRange::Description()};
}

} // namespace KVT317XML

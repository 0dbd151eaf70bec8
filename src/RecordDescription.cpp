#include "RecordDescription.h"

#include "BearingSettings.h"
#include "FrequencyRange.h"
#include "KVT317SettingsDetail.h"
#include "KVT317_Settings.h"

namespace KVT317XML {

std::vector<const RecordDescription*> AllRecordDescriptions()
{
    return {&KVT317_Settings::Description(), &KVT317SettingsDetail::Description(),
            &BearingSettings::Description(), &FrequencyRange::Description()};
}

} // namespace KVT317XML

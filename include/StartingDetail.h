#pragma once

#include "KVT317SettingsDetail.h"
#include "KVT317XmlExport.h"

#include <QString>

namespace KVT317XML {

class KVT317_Settings;

/// @name New details
/// The detail that programs append when a user asks for a new one (`kvt317 add`, a new row
/// of the item model): complete and valid, so that it checks, saves and loads back as it is.
///@{

/// A detail named @p name with index @p index: every member with a default set to it,
/// AverageMode "OFF", BandwidthDF "1.00 kHz", ScanMemoryID 0, no StopTime (a null date-time,
/// set), and the frequency range set, at its own defaults.
KVT317XML_EXPORT KVT317SettingsDetail StartingDetail(int index, const QString& name);

/// StartingDetail() for the next detail of @p document: index N and name "Setting N", N
/// being the first number from the list's size plus one that no detail of the document uses,
/// neither as its index nor in its name.
KVT317XML_EXPORT KVT317SettingsDetail NextSettingsDetail(const KVT317_Settings& document);
///@}

} // namespace KVT317XML

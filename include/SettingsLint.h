#pragma once

#include "KVT317XmlExport.h"
#include "ReadObserver.h"
#include "Record.h"

#include <QString>

#include <vector>

namespace KVT317XML {

/// A setting the library accepts but that is most likely a slip.
struct KVT317XML_EXPORT LintWarning {
    ReadPath path;                             ///< the record, from the document's root
    const RecordDescription* record = nullptr; ///< that record's type
    const MemberDescription* member = nullptr; ///< the member it is about
    /// What is wrong: "StartFrequency 108 MHz lies above StopFrequency 87.5 MHz", "Name
    /// 'VHF' is also the Name of KVT317SettingsDetail[1]; [Name=...] paths cannot tell them
    /// apart", "index 3 is also the index of KVT317SettingsDetail[2]".
    QString message;
};

/// @brief What `kvt317 check --lint` warns about, in a document the library accepts.
///
/// A frequency range whose start lies above its stop, at any depth (frequencies shown as
/// the member display rules show them, MemberDisplay.h), and a Name or an index given to two
/// items of a list (the later item is warned about). In document order: ranges first, then
/// Names, then indexes.
KVT317XML_EXPORT std::vector<LintWarning> LintSettings(const Record& root);

} // namespace KVT317XML

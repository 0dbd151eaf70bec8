#pragma once

#include "KVT317XmlExport.h"
#include "Record.h"

#include <QString>
#include <QStringList>

#include <utility>
#include <vector>

namespace KVT317XML {

/// @brief A member selected by a path.
///
/// @code
///   KVT317SettingsDetail[2].FrequencyRange.StartFrequency  (positions count from 1)
///   KVT317SettingsDetail[Name=Marine VHF].Threshold        (the item with that Name)
///   KVT317SettingsDetail[Name="Channel 7"].Threshold       (the Name quoted)
///   KVT317SettingsDetail[*].Threshold                      (every item; ExpandMemberPath())
///   Frequency                                              (a member of the root record)
/// @endcode
/// Segments are member names separated by '.'; a list member takes [N], [*] or [Name=TEXT],
/// where TEXT runs to the ']' that ends the segment, or is quoted with " or '.
struct KVT317XML_EXPORT MemberTarget {
    Record* record = nullptr; ///< the record that holds the member
    int bit = -1;             ///< the member
    int item = -1;            ///< the selected item of a list member, from 0; -1 for none
    QString recordPath;       ///< the record's path, positional: "KVT317SettingsDetail[2]"
    QString path;             ///< the whole path, positional
    /// Record members made set on the way (with `create`): (record path, bit).
    std::vector<std::pair<QString, int>> created;

    /// The member's description.
    const MemberDescription& Member() const;
};

/// Resolves a path in a record. With @p create, record members on the way that are not set
/// are made set, so that a member inside them can be set. Returns an error text ("KVT317_
/// Settings has no member 'Treshold'; did you mean 'Threshold'?"), empty on success;
/// @p notSet tells whether it failed because a record on the way is not set.
KVT317XML_EXPORT QString ResolveMemberPath(Record& root, const QString& path, bool create,
                                           MemberTarget& target, bool* notSet = nullptr);

/// The paths a path with [*] stands for, one per item, in list order; the path itself when
/// it has none. Empty, with the reason in @p error, when the part before [*] selects no list.
KVT317XML_EXPORT QStringList ExpandMemberPath(Record& root, const QString& path, QString& error);

} // namespace KVT317XML

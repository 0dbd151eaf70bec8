#pragma once

#include "KVT317XmlExport.h"
#include "Record.h"

#include <QString>

#include <utility>
#include <vector>

namespace KVT317XML {

/// One member in which two records of one type differ.
struct KVT317XML_EXPORT RecordDifference {
    std::vector<std::pair<int, int>> steps; ///< from the root to the record: (bit, item or -1)
    int bit = -1;         ///< the member; -1 when the records differ only beyond their texts
    QString recordPath;   ///< "KVT317SettingsDetail[2]"
    QString path;         ///< "KVT317SettingsDetail[2].Threshold"
    QString a;            ///< the member's text in A, "(unset)" when it is not set
    QString b;            ///< the member's text in B
    bool onlyInA = false; ///< a list item that only A holds
    bool onlyInB = false; ///< a list item that only B holds
    bool numeric = false; ///< the texts are numbers
};

/// @brief The members in which two records differ, as `kvt317 diff` lists them: in member order,
/// list items paired by position, or with `byName` by their Name (items without one, or whose Name
/// the other list lacks, are only in one of the two). Where the records are unequal by the
/// library's own rule but every text is the same (numbers that differ beyond the decimals written),
/// the record itself is listed.
KVT317XML_EXPORT std::vector<RecordDifference> CompareRecords(const Record& a, const Record& b,
                                                              bool byName = false);

} // namespace KVT317XML

#pragma once

#include <Record.h>

#include <QString>
#include <QStringList>

#include <utility>
#include <vector>

// A member selected by a path:
//   KVT317SettingsDetail[2].FrequencyRange.StartFrequency  (positions count from 1)
//   KVT317SettingsDetail[Name=Marine VHF].Threshold        (the item with that Name)
//   KVT317SettingsDetail[Name="Channel 7"].Threshold       (the Name quoted)
//   KVT317SettingsDetail[*].Threshold                      (every item; see Expand())
//   Frequency                                              (a member of the root record)
// Segments are member names separated by '.'; a list member takes [N], [*] or [Name=TEXT],
// where TEXT runs to the ']' that ends the segment, or is quoted with " or '.
struct Target {
    KVT317XML::Record* record = nullptr; // the record that holds the member
    int bit = -1;                        // the member
    int item = -1;                       // the selected item of a list member, from 0; -1 for none
    QString recordPath;                  // the record's path, positional: "KVT317SettingsDetail[2]"
    QString path;                        // the whole path, positional
    // Record members made set on the way (with `create`): (record path, bit).
    std::vector<std::pair<QString, int>> created;

    const KVT317XML::MemberDescription& Member() const;
};

// Resolves a path in a record. With `create`, record members on the way that are not set
// are made set, so that a member inside them can be set. Returns an error text, empty on
// success; `notSet` tells whether it failed because a record on the way is not set.
QString Resolve(KVT317XML::Record& root, const QString& path, bool create, Target& target,
                bool* notSet = nullptr);

// The paths a path with [*] stands for, one per item, in list order; the path itself when
// it has none. Empty, with the reason in `error`, when the part before [*] selects no list.
QStringList Expand(KVT317XML::Record& root, const QString& path, QString& error);

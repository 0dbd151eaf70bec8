#pragma once

#include "KVT317SettingsDetail.h"
#include "KVT317XmlExport.h"
#include "Record.h"
#include "RecordDebug.h"

#include <QVector>

namespace KVT317XML {

// The root of a receiver-settings document: an ordered list of settings details.
//
// Reading XML or binary input appends to the list; file loads (LoadXml, LoadBinary) replace
// it. Appending checks that an item has every required member: with validation on an
// incomplete item raises IncompleteDefinitionException and is not appended; with
// validation off it is appended and reported as a warning. A new root has validation off.
// SetValidate and SetLogger reach every detail in the list (and their frequency ranges).
class KVT317XML_EXPORT KVT317_Settings : public Record
{
public:
    KVT317_Settings();
    KVT317_Settings(const KVT317_Settings& other);
    KVT317_Settings& operator=(const KVT317_Settings& other);
    ~KVT317_Settings() override;

    // Equal when the lists hold equal details in the same order.
    bool operator==(const KVT317_Settings& other) const;
    bool operator!=(const KVT317_Settings& other) const;

    static const __int64 id;
    static __int64 GetId();
    // The member table this record works from.
    static const RecordDescription& Description();

    // The list for editing in place; marks it set.
    QVector<KVT317SettingsDetail>& GetKVT317SettingsDetail();
    const QVector<KVT317SettingsDetail>& GetKVT317SettingsDetail() const;
    // Replaces the whole list as it is, without completeness test; marks it set.
    void SetKVT317SettingsDetail(const QVector<KVT317SettingsDetail>& list);
    void AppendKVT317SettingsDetail(const KVT317SettingsDetail& item);
    bool IsKVT317SettingsDetailSet() const;
    void ResetKVT317SettingsDetail();
    bool IsValidKVT317SettingsDetail(const QVector<KVT317SettingsDetail>& list) const;
    bool IsValidKVT317SettingsDetail(const KVT317SettingsDetail& item) const;
    const KVT317SettingsDetail& GetDefaultKVT317SettingsDetail() const;
    void SetDefaultKVT317SettingsDetail(const KVT317SettingsDetail& item);
};

} // namespace KVT317XML

// Records hold no pointer into themselves: containers may move them as bytes.
Q_DECLARE_TYPEINFO(KVT317XML::KVT317_Settings, Q_MOVABLE_TYPE);

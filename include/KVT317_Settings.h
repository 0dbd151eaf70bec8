#pragma once

#include "KVT317SettingsDetail.h"
#include "KVT317XmlExport.h"
#include "Record.h"
#include "RecordDebug.h"

#include <QVector>

namespace KVT317XML {

/// @brief The root of a receiver-settings document: an ordered list of settings details.
///
/// Reading XML or binary input appends to the list; file loads (LoadXml, LoadBinary) replace
/// it. Appending checks that an item has every required member: with validation on an
/// incomplete item raises IncompleteDefinitionException and is not appended; with
/// validation off it is appended and reported as a warning. A new root has validation off.
/// SetValidate and SetLogger reach every detail in the list (and their frequency ranges).
///
/// Each member has the accessors of the @ref accessor_pattern "accessor pattern" of Record;
/// the member groups below say what each member holds.
class KVT317XML_EXPORT KVT317_Settings : public Record
{
public:
    /// A new record: no storage until the first access, validation off, the default
    /// logger.
    KVT317_Settings();
    /// Shares other's members until one of the two changes, and takes over its validation
    /// switch; the logger is not taken over.
    KVT317_Settings(const KVT317_Settings& other);
    /// Shares other's members until one of the two changes; switch and logger stay.
    KVT317_Settings& operator=(const KVT317_Settings& other);
    ~KVT317_Settings() override;

    /// Equal when the lists hold equal details in the same order.
    bool operator==(const KVT317_Settings& other) const;
    /// The negation of operator==().
    bool operator!=(const KVT317_Settings& other) const;

    /// The class id; its low 32 bits are the tag of the record's binary frame.
    static const __int64 id;
    /// The class id, id.
    static __int64 GetId();
    /// The member table this record works from.
    static const RecordDescription& Description();

    /// @name KVT317SettingsDetail
    ///@{

    /// The details, in document order. Required: Check() reports a list that was never set, and
    /// each item is checked in turn.
    ///
    /// The list for editing in place; marks it set. Held across a copy of this record, the
    /// list detaches at its next non-const call, as Qt's containers do: item references
    /// taken before that call then reach no record.
    QVector<KVT317SettingsDetail>& GetKVT317SettingsDetail();
    const QVector<KVT317SettingsDetail>& GetKVT317SettingsDetail() const;
    /// Replaces the whole list as it is, without completeness test; marks it set.
    void SetKVT317SettingsDetail(const QVector<KVT317SettingsDetail>& list);
    void AppendKVT317SettingsDetail(const KVT317SettingsDetail& item);
    bool IsKVT317SettingsDetailSet() const;
    void ResetKVT317SettingsDetail();
    bool IsValidKVT317SettingsDetail(const QVector<KVT317SettingsDetail>& list) const;
    bool IsValidKVT317SettingsDetail(const KVT317SettingsDetail& item) const;
    const KVT317SettingsDetail& GetDefaultKVT317SettingsDetail() const;
    void SetDefaultKVT317SettingsDetail(const KVT317SettingsDetail& item);
    ///@}
};

} // namespace KVT317XML

// Records hold no pointer into themselves: containers may move them as bytes.
Q_DECLARE_TYPEINFO(KVT317XML::KVT317_Settings, Q_MOVABLE_TYPE);

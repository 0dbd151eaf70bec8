#pragma once

// One entry per member kind: everything the engine does differently for an int, a text, a
// child record, ... The public half (MemberKindOperations) works on plain values; the rest
// works on a member's slot in a storage block, through its row.

#include "RecordDescription.h"

#include <QString>
#include <QVariant>

namespace KVT317XML {

class Record;
class ReadContext;
struct MemberRow;
struct RecordType;
struct StorageBlock;

// The public halves, in the order of MemberKind.
extern const MemberKindOperations kKindOperations[];

struct KindOps {
    const MemberKindOperations& value; // the public half
    bool decimals;                     // a number with a fixed count of decimals

    // The sets of a record type that members of this kind join (either may be null).
    quint32 RecordType::*flags;
    quint32 RecordType::*moreFlags;

    // A fresh record's default from the declared one, in the prototype's defaults block.
    void (*declareDefault)(const MemberRow& row, void* def);
    // A fresh record's value from its default, in the prototype's values block.
    void (*startValue)(void* value, const void* def);
    // The value from its default after a reset: a text reads as null, never as its default;
    // a child takes the default record; a list is empty.
    void (*restore)(const MemberRow& row, void* value, const void* def);
    // ResetToDefault() at the member's place: stores a usable default, and says whether the
    // member is then set. A child record resets to its own defaults, still unset.
    bool (*resetToDefault)(const MemberRow& row, void* value, const void* def, bool hasDefault);
    // Equality of two values; child records and lists by their own rule.
    bool (*equal)(const MemberRow& row, const void* a, const void* b);
    // Whether the member holds something (AnyData()): a text that is not null, a child that
    // holds something, a list with items, any other member that is set.
    bool (*holds)(const MemberRow& row, const void* value, bool set);
    // Stores a text as XML reading converts it, saying to an observer what the conversion
    // does not take as written. Records and lists are left alone.
    void (*assignText)(Record& record, const MemberRow& row, const QString& text,
                       ReadContext* context);
    // Stores a QVariant that converts without loss; false, changing nothing, otherwise.
    bool (*assignVariant)(Record& record, const MemberRow& row, const QVariant& value);
};

// The entry of a kind.
const KindOps& KindTable(MemberKind kind);

// "whole number", "number, 2 decimals", ..., "list of KVT317SettingsDetail".
QString KindNameOf(const MemberDescription& member);

} // namespace KVT317XML

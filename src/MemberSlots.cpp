// The member kinds in a record's storage: defaults, resets, equality, texts and setters of a
// member's slot, one entry per kind.

#include "MemberKinds.h"
#include "Numbers.h"

#include "ReadContext.h"
#include "ReadText.h"
#include "RecordStorage.h"
#include "RecordText.h"

#include <QDateTime>

#include <type_traits>

namespace KVT317XML {

namespace {

// ---- Values held by the record itself ---------------------------------------------------

template <class T> void DeclareNumber(const MemberRow& row, void* def)
{
    At<T>(def, 0) = static_cast<T>(row.numberDefault);
}

void DeclareName(const MemberRow& row, void* def)
{
    // Looked up in the member's own table: a name that is not there gives the marker -1.
    SetEnumAt(def, 0,
              row.declaredDefault ? row.description.enumeration->names.indexOf(row.nameDefault)
                                  : -1);
}

void DeclareNothing(const MemberRow&, void*) {}

template <class T> void CopyValue(void* value, const void* def)
{
    At<T>(value, 0) = At<T>(def, 0);
}

void CopyEnumerator(void* value, const void* def)
{
    SetEnumAt(value, 0, EnumAt(def, 0));
}

void StartNothing(void*, const void*) {}

template <class T> void Restore(const MemberRow&, void* value, const void* def)
{
    At<T>(value, 0) = At<T>(def, 0);
}

void RestoreEnumerator(const MemberRow&, void* value, const void* def)
{
    SetEnumAt(value, 0, EnumAt(def, 0));
}

void RestoreText(const MemberRow&, void* value, const void*)
{
    At<QString>(value, 0) = QString();
}

template <class T>
bool ResetToDefault(const MemberRow&, void* value, const void* def, bool hasDefault)
{
    if (!hasDefault)
        return false;
    At<T>(value, 0) = At<T>(def, 0);
    return true;
}

// An enumeration default outside the names is not used.
bool ResetEnumeration(const MemberRow& row, void* value, const void* def, bool hasDefault)
{
    const int v = EnumAt(def, 0);
    if (!hasDefault || v < 0 || v >= row.description.enumeration->names.size())
        return false;
    SetEnumAt(value, 0, v);
    return true;
}

// Neither is a null text.
bool ResetText(const MemberRow&, void* value, const void* def, bool hasDefault)
{
    if (!hasDefault || At<QString>(def, 0).isNull())
        return false;
    At<QString>(value, 0) = At<QString>(def, 0);
    return true;
}

template <class T> bool SameValue(const MemberRow&, const void* a, const void* b)
{
    return At<T>(a, 0) == At<T>(b, 0);
}

bool SameEnumerator(const MemberRow&, const void* a, const void* b)
{
    return EnumAt(a, 0) == EnumAt(b, 0);
}

bool HoldsWhenSet(const MemberRow&, const void*, bool set)
{
    return set;
}

// A text holds something when it is not null, set or not.
bool HoldsText(const MemberRow&, const void* value, bool)
{
    return !At<QString>(value, 0).isNull();
}

// ---- Text in: the conversions XML reading makes, and what they say to an observer ---------

void AssignInteger(Record& record, const MemberRow& row, const QString& text, ReadContext* context)
{
    bool read = true;
    const int value = REPORTGENERATOR::Numbers::ToInt(text, context ? &read : nullptr);
    if (!read)
        context->Report(row.description, read::WholeNumberNotRead(row.description, text), text);
    RecordAccess::Assign<int>(record, row.description.bit, value);
}

template <class T>
void AssignNumber(Record& record, const MemberRow& row, const QString& text, ReadContext* context)
{
    bool read = true;
    bool* const ok = context ? &read : nullptr;
    T value;
    if constexpr (std::is_same_v<T, float>)
        value = REPORTGENERATOR::Numbers::ToFloat(text, ok);
    else
        value = REPORTGENERATOR::Numbers::ToDouble(text, ok);
    if (context)
        context->Report(row.description, read::NumberFinding(row.description, text, read, value),
                        text);
    RecordAccess::Assign<T>(record, row.description.bit, value);
}

void AssignText(Record& record, const MemberRow& row, const QString& text, ReadContext*)
{
    RecordAccess::AssignText(record, row.description.bit, text);
}

void AssignDateTime(Record& record, const MemberRow& row, const QString& text, ReadContext* context)
{
    const QDateTime value = REPORTGENERATOR::Converters::ToDateTime(text);
    if (context && value.isNull())
        context->Report(row.description, read::DateTimeNotRead(row.description, text), text);
    RecordAccess::Assign<QDateTime>(record, row.description.bit, value);
}

// An unknown name gives the record's invalid marker.
void AssignEnumeration(Record& record, const MemberRow& row, const QString& text,
                       ReadContext* context)
{
    const MemberDescription& member = row.description;
    const int index = member.enumeration->names.indexOf(text);
    if (context && index < 0)
        context->Report(member, read::UnknownName(member, text), text);
    RecordAccess::AssignEnum(
        record, member.bit, index >= 0 ? index : RecordAccess::EnumIndex(record, member.bit, text));
}

void AssignNothing(Record&, const MemberRow&, const QString&, ReadContext*) {}

// ---- QVariant in ----------------------------------------------------------------------

template <class T> bool AssignVariant(Record& record, const MemberRow& row, const QVariant& value)
{
    T converted{};
    if (!row.kind->value.fromVariant(value, &converted))
        return false;
    RecordAccess::Assign<T>(record, row.description.bit, converted);
    return true;
}

bool AssignTextVariant(Record& record, const MemberRow& row, const QVariant& value)
{
    QString converted;
    if (!row.kind->value.fromVariant(value, &converted))
        return false;
    RecordAccess::AssignText(record, row.description.bit, converted);
    return true;
}

bool AssignEnumerationVariant(Record& record, const MemberRow& row, const QVariant& value)
{
    int converted = 0;
    if (!row.kind->value.fromVariant(value, &converted))
        return false;
    RecordAccess::AssignEnum(record, row.description.bit, converted);
    return true;
}

bool AssignNoVariant(Record&, const MemberRow&, const QVariant&)
{
    return false;
}

// ---- Child records and lists ------------------------------------------------------------

void RestoreRecord(const MemberRow& row, void* value, const void* def)
{
    RecordAccess::Share(RecordAt(row, value, 0), RecordAt(row, def, 0));
}

void RestoreList(const MemberRow& row, void* value, const void*)
{
    row.list->clear(value);
}

// The child holds its own defaults; the parent still counts it as unset.
bool ResetRecord(const MemberRow& row, void* value, const void*, bool)
{
    RecordAt(row, value, 0).ResetToDefault();
    return false;
}

bool ResetList(const MemberRow& row, void* value, const void*, bool)
{
    DetachItems(row, value);
    for (int i = 0; i < row.list->size(value); ++i)
        row.list->mutableItem(value, i).ResetToDefault();
    return false;
}

bool SameRecord(const MemberRow& row, const void* a, const void* b)
{
    return RecordAt(row, a, 0).Equals(RecordAt(row, b, 0));
}

bool SameList(const MemberRow& row, const void* a, const void* b)
{
    return row.list->equal(a, b);
}

bool HoldsRecord(const MemberRow& row, const void* value, bool)
{
    return RecordAt(row, value, 0).AnyData();
}

bool HoldsItems(const MemberRow& row, const void* value, bool)
{
    return row.list->size(value) > 0;
}

// In the order of MemberKind.
const KindOps kKinds[] = {
    {kKindOperations[0], false, &RecordType::integerFlags, nullptr, &DeclareNumber<int>,
     &CopyValue<int>, &Restore<int>, &ResetToDefault<int>, &SameValue<int>, &HoldsWhenSet,
     &AssignInteger, &AssignVariant<int>},
    {kKindOperations[1], true, &RecordType::floatFlags, nullptr, &DeclareNumber<float>,
     &CopyValue<float>, &Restore<float>, &ResetToDefault<float>, &SameValue<float>, &HoldsWhenSet,
     &AssignNumber<float>, &AssignVariant<float>},
    {kKindOperations[2], true, &RecordType::doubleFlags, nullptr, &DeclareNumber<double>,
     &CopyValue<double>, &Restore<double>, &ResetToDefault<double>, &SameValue<double>,
     &HoldsWhenSet, &AssignNumber<double>, &AssignVariant<double>},
    {kKindOperations[3], false, &RecordType::textFlags, nullptr, &DeclareNothing, &StartNothing,
     &RestoreText, &ResetText, &SameValue<QString>, &HoldsText, &AssignText, &AssignTextVariant},
    {kKindOperations[4], false, &RecordType::dateTimeFlags, nullptr, &DeclareNothing, &StartNothing,
     &Restore<QDateTime>, &ResetToDefault<QDateTime>, &SameValue<QDateTime>, &HoldsWhenSet,
     &AssignDateTime, &AssignVariant<QDateTime>},
    // Enumerations compare as int, with the whole numbers.
    {kKindOperations[5], false, &RecordType::enumerationFlags, &RecordType::integerFlags,
     &DeclareName, &CopyEnumerator, &RestoreEnumerator, &ResetEnumeration, &SameEnumerator,
     &HoldsWhenSet, &AssignEnumeration, &AssignEnumerationVariant},
    {kKindOperations[6], false, &RecordType::recordFlags, nullptr, &DeclareNothing, &StartNothing,
     &RestoreRecord, &ResetRecord, &SameRecord, &HoldsRecord, &AssignNothing, &AssignNoVariant},
    {kKindOperations[7], false, &RecordType::listFlags, nullptr, &DeclareNothing, &StartNothing,
     &RestoreList, &ResetList, &SameList, &HoldsItems, &AssignNothing, &AssignNoVariant},
};

} // namespace

const KindOps& KindTable(MemberKind kind)
{
    return kKinds[static_cast<int>(kind)];
}

QString KindNameOf(const MemberDescription& member)
{
    const MemberKindOperations& kind = *member.operations;
    if (member.nested)
        return QString::fromLatin1(kind.list ? "list of " : "record ") + member.nested()->name;
    if (KindTable(member.kind).decimals)
        return QStringLiteral("%1, %2 decimals")
            .arg(QLatin1String(kind.name))
            .arg(member.precision);
    return QLatin1String(kind.name);
}

} // namespace KVT317XML

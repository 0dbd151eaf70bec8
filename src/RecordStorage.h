#pragma once

// The record framework's internals: storage blocks, member slots and the member table
// that a record's source declares. Not installed.

#include "Record.h"

#include <Converters.h>

#include <QBitArray>
#include <QSharedData>
#include <QVector>

#include <memory>
#include <type_traits>
#include <vector>

namespace KVT317XML {

// One record's members. Concrete records derive their storage struct (FrequencyRangeData,
// ...) from StorageOf<> and hold one slot per member, in member order.
struct StorageBlock : public QSharedData {
    StorageBlock() = default;
    StorageBlock(const StorageBlock&) = default;
    StorageBlock& operator=(const StorageBlock&) = delete;
    virtual ~StorageBlock();
    virtual StorageBlock* Clone() const = 0;

    QBitArray m_isSet;      // bit i: member i is set
    QBitArray m_hasDefault; // bit i: member i has a default
};

template <class Data> struct StorageOf : public StorageBlock {
    StorageBlock* Clone() const override { return new Data(static_cast<const Data&>(*this)); }
};

// A member of plain type: numbers, texts, date-times, child records.
template <class T> struct Slot {
    T def{};
    T value{};
};

// An enumeration member carries its own invalid marker, ahead of the default.
template <class E> struct EnumSlot {
    E invalid = static_cast<E>(-1);
    E def = static_cast<E>(-1);
    E value = static_cast<E>(-1);
};

// A list of child records, with a default item and the item reused while reading XML.
template <class T> struct ListSlot {
    T def;
    QVector<T> value;
    T buffer;
};

using SlotField = int; // 0 value, 1 default, 2 invalid marker; as Record::Field
struct MemberRow;

// What the generic algorithms need of one member slot, implemented once per slot type.
class SlotOps
{
public:
    virtual ~SlotOps();
    virtual void* Get(StorageBlock& block, SlotField field) const = 0;
    // Stores the invalid marker and the declared default; true when there is one.
    virtual bool Init(StorageBlock& block, const MemberRow& row) const = 0;
    // The value from the default (a text becomes null, a list empty).
    virtual void Restore(StorageBlock& block) const = 0;
    virtual bool Equal(const StorageBlock& a, const StorageBlock& b) const = 0;
    // Whether ResetToDefault may store the default.
    virtual bool DefaultUsable(const StorageBlock& block, const MemberRow& row) const = 0;
    virtual void ApplyDefault(StorageBlock& block) const = 0;
    // The value test of Check.
    virtual bool Valid(const StorageBlock& block, const MemberRow& row) const = 0;
    // The XML text and binary text payload.
    virtual QString Text(const StorageBlock& block, const MemberRow& row) const = 0;
    // Whether a text holds something (not null); AnyData's test for texts.
    virtual bool HoldsText(const StorageBlock&) const { return false; }

    virtual int EnumGet(const StorageBlock&, SlotField) const { return -1; }
    virtual void EnumSet(StorageBlock&, SlotField, int) const {}

    virtual Record* Child(StorageBlock&) const { return nullptr; }

    virtual int ListSize(const StorageBlock&) const { return 0; }
    virtual Record* ListItem(StorageBlock&, int) const { return nullptr; }
    virtual Record* ListBuffer(StorageBlock&) const { return nullptr; }
    virtual void ListAppend(StorageBlock&, const Record&) const {}
    virtual void ListReserve(StorageBlock&, int) const {}
    virtual std::unique_ptr<Record> NewItem() const { return nullptr; }
};

// One row of a record's member table: the public description, the declared default and
// the slot's operations.
struct MemberRow {
    MemberDescription description;
    bool declaredDefault = false;
    double numberDefault = 0.0;
    QString nameDefault; // enumeration default, looked up by name at storage creation
    const SlotOps* ops = nullptr;

    MemberRow& Required()
    {
        description.required = true;
        return *this;
    }
    MemberRow& Attribute()
    {
        description.attribute = true;
        return *this;
    }
    MemberRow& Fixed(int fieldWidth, int precision)
    {
        description.fieldWidth = fieldWidth;
        description.precision = precision;
        return *this;
    }
    MemberRow& DefaultValue(double value)
    {
        declaredDefault = true;
        numberDefault = value;
        return *this;
    }
    MemberRow& DefaultName(const char* name)
    {
        declaredDefault = true;
        nameDefault = QString::fromLatin1(name);
        return *this;
    }
    MemberRow& Names(const EnumerationDescription& table)
    {
        description.enumeration = &table;
        return *this;
    }
};

struct RecordType {
    RecordDescription description;
    std::vector<MemberRow> rows; // member order
    std::vector<int> writeOrder; // attributes first, then the others, each in member order
    StorageBlock* (*create)() = nullptr;
};

// ---- Slot operations by type ---------------------------------------------------------

namespace slotops {

template <class T> struct IsRecord : std::is_base_of<Record, T> {
};

template <class T> constexpr MemberKind KindOf()
{
    if constexpr (std::is_same_v<T, int>)
        return MemberKind::Integer;
    else if constexpr (std::is_same_v<T, float>)
        return MemberKind::Float;
    else if constexpr (std::is_same_v<T, double>)
        return MemberKind::Double;
    else if constexpr (std::is_same_v<T, QString>)
        return MemberKind::Text;
    else if constexpr (std::is_same_v<T, QDateTime>)
        return MemberKind::DateTime;
    else {
        static_assert(IsRecord<T>::value, "unsupported member type");
        return MemberKind::Record;
    }
}

QString NumberText(double value, const MemberRow& row);
QString IntegerText(int value);
QString EnumText(int value, const MemberRow& row);
int EnumIndexOf(const QString& name, const MemberRow& row, int invalid);

template <class T> bool RecordsEqual(const T& a, const T& b)
{
    return a == b;
}

// Plain slots: numbers, texts, date-times and child records.
template <class Data, class T, Slot<T> Data::*P> class PlainOps final : public SlotOps
{
    static Slot<T>& S(StorageBlock& b) { return static_cast<Data&>(b).*P; }
    static const Slot<T>& S(const StorageBlock& b) { return static_cast<const Data&>(b).*P; }

public:
    void* Get(StorageBlock& b, SlotField field) const override
    {
        return field == 1 ? static_cast<void*>(&S(b).def) : static_cast<void*>(&S(b).value);
    }
    bool Init(StorageBlock& b, const MemberRow& row) const override
    {
        if constexpr (std::is_arithmetic_v<T>)
            S(b).def = static_cast<T>(row.numberDefault);
        return row.declaredDefault;
    }
    void Restore(StorageBlock& b) const override
    {
        if constexpr (std::is_same_v<T, QString>)
            S(b).value = QString();
        else
            S(b).value = S(b).def;
    }
    bool Equal(const StorageBlock& a, const StorageBlock& b) const override
    {
        return S(a).value == S(b).value;
    }
    bool DefaultUsable(const StorageBlock& b, const MemberRow&) const override
    {
        if constexpr (std::is_same_v<T, QString>)
            return !S(b).def.isNull();
        else
            return true;
    }
    void ApplyDefault(StorageBlock& b) const override
    {
        if constexpr (IsRecord<T>::value)
            S(b).value.ResetToDefault();
        else
            S(b).value = S(b).def;
    }
    bool Valid(const StorageBlock& b, const MemberRow&) const override
    {
        if constexpr (std::is_same_v<T, QString>)
            return !S(b).value.isNull();
        else
            return true;
    }
    QString Text(const StorageBlock& b, const MemberRow& row) const override
    {
        const T& v = S(b).value;
        if constexpr (std::is_same_v<T, int>)
            return IntegerText(v);
        else if constexpr (std::is_floating_point_v<T>)
            return NumberText(static_cast<double>(v), row);
        else if constexpr (std::is_same_v<T, QString>)
            return v;
        else if constexpr (std::is_same_v<T, QDateTime>)
            return REPORTGENERATOR::Converters::ToString(v);
        else
            return QString();
    }
    bool HoldsText(const StorageBlock& b) const override
    {
        if constexpr (std::is_same_v<T, QString>)
            return !S(b).value.isNull();
        else
            return false;
    }
    Record* Child(StorageBlock& b) const override
    {
        if constexpr (IsRecord<T>::value)
            return &S(b).value;
        else
            return nullptr;
    }
};

template <class Data, class E, EnumSlot<E> Data::*P> class EnumOps final : public SlotOps
{
    static EnumSlot<E>& S(StorageBlock& b) { return static_cast<Data&>(b).*P; }
    static const EnumSlot<E>& S(const StorageBlock& b) { return static_cast<const Data&>(b).*P; }
    static E& F(EnumSlot<E>& s, SlotField field)
    {
        return field == 2 ? s.invalid : field == 1 ? s.def : s.value;
    }
    static int Size(const MemberRow& row) { return row.description.enumeration->names.size(); }

public:
    void* Get(StorageBlock& b, SlotField field) const override { return &F(S(b), field); }
    bool Init(StorageBlock& b, const MemberRow& row) const override
    {
        S(b).invalid = static_cast<E>(-1);
        S(b).def =
            row.declaredDefault
                ? static_cast<E>(EnumIndexOf(row.nameDefault, row, static_cast<int>(S(b).invalid)))
                : static_cast<E>(-1);
        return row.declaredDefault;
    }
    void Restore(StorageBlock& b) const override { S(b).value = S(b).def; }
    bool Equal(const StorageBlock& a, const StorageBlock& b) const override
    {
        return S(a).value == S(b).value;
    }
    bool DefaultUsable(const StorageBlock& b, const MemberRow& row) const override
    {
        const int v = static_cast<int>(S(b).def);
        return v >= 0 && v < Size(row);
    }
    void ApplyDefault(StorageBlock& b) const override { S(b).value = S(b).def; }
    bool Valid(const StorageBlock& b, const MemberRow& row) const override
    {
        const int v = static_cast<int>(S(b).value);
        return v >= 0 && v < Size(row);
    }
    QString Text(const StorageBlock& b, const MemberRow& row) const override
    {
        return EnumText(static_cast<int>(S(b).value), row);
    }
    int EnumGet(const StorageBlock& b, SlotField field) const override
    {
        return static_cast<int>(F(const_cast<EnumSlot<E>&>(S(b)), field));
    }
    void EnumSet(StorageBlock& b, SlotField field, int value) const override
    {
        F(S(b), field) = static_cast<E>(value);
    }
};

template <class Data, class T, ListSlot<T> Data::*P> class ListOps final : public SlotOps
{
    static ListSlot<T>& S(StorageBlock& b) { return static_cast<Data&>(b).*P; }
    static const ListSlot<T>& S(const StorageBlock& b) { return static_cast<const Data&>(b).*P; }

public:
    void* Get(StorageBlock& b, SlotField field) const override
    {
        return field == 1 ? static_cast<void*>(&S(b).def) : static_cast<void*>(&S(b).value);
    }
    bool Init(StorageBlock&, const MemberRow&) const override { return false; }
    void Restore(StorageBlock& b) const override { S(b).value.clear(); }
    bool Equal(const StorageBlock& a, const StorageBlock& b) const override
    {
        return S(a).value == S(b).value;
    }
    bool DefaultUsable(const StorageBlock&, const MemberRow&) const override { return false; }
    void ApplyDefault(StorageBlock& b) const override
    {
        for (T& item : S(b).value)
            item.ResetToDefault();
    }
    bool Valid(const StorageBlock&, const MemberRow&) const override { return true; }
    QString Text(const StorageBlock&, const MemberRow&) const override { return QString(); }
    int ListSize(const StorageBlock& b) const override { return S(b).value.size(); }
    Record* ListItem(StorageBlock& b, int i) const override { return &S(b).value[i]; }
    Record* ListBuffer(StorageBlock& b) const override { return &S(b).buffer; }
    void ListAppend(StorageBlock& b, const Record& item) const override
    {
        S(b).value.append(static_cast<const T&>(item));
    }
    void ListReserve(StorageBlock& b, int count) const override { S(b).value.reserve(count); }
    std::unique_ptr<Record> NewItem() const override { return std::make_unique<T>(); }
};

template <class M> struct MemberPointer;
template <class Data, class S> struct MemberPointer<S Data::*> {
    using DataType = Data;
    using SlotType = S;
};

template <class S> struct SlotTraits;
template <class T> struct SlotTraits<Slot<T>> {
    template <class Data, Slot<T> Data::*P> static const SlotOps& Ops()
    {
        static const PlainOps<Data, T, P> ops;
        return ops;
    }
    static constexpr MemberKind Kind() { return KindOf<T>(); }
    using Nested = std::conditional_t<IsRecord<T>::value, T, void>;
};
template <class E> struct SlotTraits<EnumSlot<E>> {
    template <class Data, EnumSlot<E> Data::*P> static const SlotOps& Ops()
    {
        static const EnumOps<Data, E, P> ops;
        return ops;
    }
    static constexpr MemberKind Kind() { return MemberKind::Enumeration; }
    using Nested = void;
};
template <class T> struct SlotTraits<ListSlot<T>> {
    template <class Data, ListSlot<T> Data::*P> static const SlotOps& Ops()
    {
        static const ListOps<Data, T, P> ops;
        return ops;
    }
    static constexpr MemberKind Kind() { return MemberKind::RecordList; }
    using Nested = T;
};

QString FieldNameOf(const QString& name);

} // namespace slotops

// Declares one member: its slot in the storage struct, its bit (the position in the
// member order), its XML name and its binary tag. Further properties are chained:
// Required(), Attribute(), Fixed(width, precision), DefaultValue(v), DefaultName("...")
// and Names(table).
template <auto P> MemberRow Member(int bit, const char* name, quint32 tag)
{
    using Pointer = slotops::MemberPointer<decltype(P)>;
    using Traits = slotops::SlotTraits<typename Pointer::SlotType>;
    MemberRow row;
    row.description.bit = bit;
    row.description.name = QString::fromLatin1(name);
    row.description.fieldName = slotops::FieldNameOf(row.description.name);
    row.description.tag = tag;
    row.description.kind = Traits::Kind();
    if constexpr (!std::is_void_v<typename Traits::Nested>)
        row.description.nested = []() { return &Traits::Nested::Description(); };
    row.ops = &Traits::template Ops<typename Pointer::DataType, P>();
    return row;
}

// Checks the table's order and derives what the algorithms need from it.
void FinishRecordType(RecordType& type);

// Builds a record type from its member table, in member order.
template <class Data>
RecordType MakeRecordType(const char* name, __int64 id, std::vector<MemberRow> rows)
{
    RecordType type;
    type.description.name = QString::fromLatin1(name);
    type.description.id = id;
    type.rows = std::move(rows);
    type.create = []() -> StorageBlock* { return new Data(); };
    FinishRecordType(type);
    return type;
}

} // namespace KVT317XML

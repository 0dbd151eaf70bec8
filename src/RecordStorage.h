#pragma once

// The record framework's internals: storage blocks, the member table that a record's
// source declares, and typed access to member slots. Not installed.
//
// A record's members live in one implicitly shared values block. The per-object defaults
// and invalid markers live in a second shared block that the values block points to: they
// are rarely changed, so every record of a type shares one until SetDefaultX or SetInvalidX
// is called. A fresh record's storage is the type's prototype block, shared until written,
// so creating storage allocates nothing.

#include "ListShares.h"
#include "MemberKinds.h"
#include "Record.h"

#include <Converters.h>

#include <QSharedData>
#include <QVector>
#include <QtAlgorithms>

#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <vector>

namespace KVT317XML {

// Per-object defaults (has-default flags, default values, invalid markers).
struct DefaultsBlock : public QSharedData {
    DefaultsBlock() = default;
    DefaultsBlock(const DefaultsBlock&) = default;
    DefaultsBlock& operator=(const DefaultsBlock&) = delete;
    virtual ~DefaultsBlock();
    virtual DefaultsBlock* Clone() const = 0;

    quint32 hasDefault = 0; // bit i: member i has a default
};

// One record's member values and set flags.
struct StorageBlock : public QSharedData {
    StorageBlock() = default;
    StorageBlock(const StorageBlock&) = default;
    StorageBlock& operator=(const StorageBlock&) = delete;
    virtual ~StorageBlock();
    virtual StorageBlock* Clone() const = 0;
    // Takes over another block's values, flags and defaults, keeping this block's address.
    virtual void CopyFrom(const StorageBlock& other) = 0;

    quint32 isSet = 0; // bit i: member i is set
    // A reference into this block was handed out (a non-const getter): it must never be
    // seen through another record, so copies of the record copy the block at once. A
    // reference to a list's items (LentItems) reaches the items' objects, which a copy of
    // the block still shares: then a copy copies the items too.
    // A reference into an item's own block (LentDeep): the item's copies must copy that block
    // at once, so copies of the list copy the items too.
    enum : quint8 { LentBlock = 1, LentItems = 2, LentDeep = 4 };
    quint8 lent = 0;
    // The storage of a child record that has none of its own yet: read like a fresh one,
    // never written, and counted as no storage at all.
    bool virgin = false;
    QSharedDataPointer<DefaultsBlock> defaults;
};

// A record's members are the fields of a plain struct (FrequencyRangeData, ...), declared
// in member order; the values block holds one instance, the defaults block two (defaults
// and invalid markers).
template <class Data> struct ValuesOf final : StorageBlock {
    StorageBlock* Clone() const override { return new ValuesOf(*this); }
    void CopyFrom(const StorageBlock& other) override
    {
        data = static_cast<const ValuesOf&>(other).data;
        isSet = other.isSet;
        defaults = other.defaults;
    }
    Data data;
};

template <class Data> struct DefaultsOf final : DefaultsBlock {
    DefaultsBlock* Clone() const override { return new DefaultsOf(*this); }
    Data def;
    Data invalid;
};

template <class T> struct ListShare;

// A list of child records, with the list's default item. A copy of a record whose items
// were handed out reads them through `share` (and holds none in `items`).
template <class T> struct ListSlot {
    QVector<T> items;
    T def;
    QExplicitlySharedDataPointer<ListShare<T>> share;

    const QVector<T>& Body() const { return share ? share->items : items; }
    // The items, for writing: a copy that reads through a share takes them over first.
    QVector<T>& Own()
    {
        if (share) {
            items = share->items;
            share.reset();
        }
        return items;
    }
};

// What the engine may do to a record beyond its interface.
struct RecordAccess {
    // Assignment that keeps the target's switch and logger, as operator= does.
    static void Share(Record& target, const Record& source);
    // A child of a storage block that has none of its own: read like a fresh one.
    static void MakeVirgin(Record& child);
    // The setters of the typed accessors, for the member kinds' table.
    template <class T> static void Assign(Record& record, int bit, const T& value)
    {
        record.Assign<T>(bit, value);
    }
    static void AssignText(Record& record, int bit, const QString& value)
    {
        record.AssignText(bit, value);
    }
    static void AssignEnum(Record& record, int bit, int value) { record.AssignEnum(bit, value); }
    static int EnumIndex(const Record& record, int bit, const QString& name)
    {
        return record.EnumIndex(bit, name);
    }
    // Which of its source's settings a copy made inside the engine keeps: those a record
    // hands down to the records it holds.
    static constexpr quint8 KeepValidate = Record::DownValidate;
    static constexpr quint8 KeepLogger = Record::DownLogger;
    static constexpr quint8 KeepBoth = Record::DownBoth;
    // A copy made inside the engine (a storage block or a list copied before a write) reads
    // the switch and logger its source read: copying is never seen. Only the settings in
    // `keep` are taken; the caller hands the others down at once. The copy constructor has
    // given the copy its source's switch already.
    static void KeepSettings(Record& copy, const Record& source, quint8 keep = KeepBoth)
    {
        if (keep & KeepLogger)
            copy.HoldLogger(source.OwnLogger());
        copy.m_down = source.m_down;
        // A setting not taken is the copy's own: its held records read it where they do
        // not hold it.
        if (keep != KeepBoth)
            copy.MarkPending();
    }
    // A copy just made for a holder that settles its held records takes the holder's switch
    // and logger, as Record::SettleChildren hands them to every held record.
    // @p object is logger.get(), read once for all copies.
    static void HandToCopy(Record& copy, bool validate,
                           const std::shared_ptr<REPORTGENERATOR::Logger>& logger,
                           const REPORTGENERATOR::Logger* object, bool deep);
};

// Copies the items when they are shared; each copy keeps the settings of its source that
// `keep` names (RecordAccess::KeepBoth...), the caller handing down the others.
template <class T> void DetachKeeping(QVector<T>& items, quint8 keep)
{
    if (items.isDetached())
        return;
    if (!keep) {
        items.detach();
        return;
    }
    const QVector<T> sources = items;
    items.detach();
    T* const copies = items.data();
    const T* const from = sources.constData();
    for (qsizetype i = 0, size = items.size(); i < size; ++i)
        RecordAccess::KeepSettings(copies[i], from[i], keep);
}

// The items copied into a list of their own with room for @p capacity, as the engine copies:
// each copy keeps the settings of its source.
template <class T> QVector<T> CopiesKeeping(const QVector<T>& items, qsizetype capacity)
{
    QVector<T> copies;
    copies.reserve(capacity);
    for (const T& item : items) {
        copies.append(item);
        RecordAccess::KeepSettings(copies.last(), item);
    }
    return copies;
}

template <class T> struct ListShare final : ListShareBase {
    explicit ListShare(const QVector<T>& source)
        : items(source)
    {
    }
    ~ListShare() override { ReturnedByCopies(this); }
    void Separate() override
    {
        if (!items.isDetached()) {
            DetachKeeping(items, RecordAccess::KeepBoth);
            return;
        }
        // The source's list was detached through a reference held across the copy, as Qt's
        // containers detach: an item reference taken before still points here. The copies
        // take items of their own, and the old ones stay alive for that reference, read by
        // no record.
        QVector<T> own = CopiesKeeping(items, items.size());
        orphans.append(items);
        items.swap(own);
    }
    QVector<T> items;
    QVector<QVector<T>> orphans;
};

// Operations on a list slot of one item type.
struct ListOps {
    int (*size)(const void* slot);
    const Record& (*item)(const void* slot, int index);
    Record& (*mutableItem)(void* slot, int index); // the items must be detached
    // Copies the items when they are shared; each copy keeps the settings of its source
    // that `keep` names (RecordAccess::KeepBoth...), the caller handing down the others.
    void (*detach)(void* slot, quint8 keep);
    bool (*shared)(const void* slot);
    // In a copy of a block whose items were handed out: read the source's items through
    // their share.
    void (*readThroughShare)(void* slot);
    Record& (*emplace)(void* slot); // a default item at the end
    void (*popBack)(void* slot);
    void (*append)(void* slot, const Record& item);
    void (*insert)(void* slot, int index, const Record& item);
    void (*remove)(void* slot, int index);
    void (*move)(void* slot, int from, int to);
    void (*reserve)(void* slot, int count);
    void (*clear)(void* slot);
    bool (*equal)(const void* a, const void* b);
    void* (*defaultItem)(void* slot); // the item type's object
    void* (*items)(void* slot);       // the QVector of items
    Record& (*defaultRecord)(void* slot);
    // Copies items that another list shares, handing each copy the switch and logger
    // (RecordAccess::HandToCopy); false, doing nothing, unless the items are plainly shared.
    bool (*detachHanding)(void* slot, bool validate,
                          const std::shared_ptr<REPORTGENERATOR::Logger>& logger, bool deep);
};

// One row of a record's member table: the public description, the declared default, and
// where the member lives in the blocks.
struct MemberRow {
    MemberDescription description;
    const KindOps* kind = nullptr; // what is done with a value of the member's kind
    bool declaredDefault = false;
    double numberDefault = 0.0;
    QString nameDefault; // enumeration default, looked up by name at storage creation

    std::ptrdiff_t fieldOffset = 0;             // in the record's Data struct
    std::ptrdiff_t valueOffset = 0;             // from the StorageBlock
    std::ptrdiff_t defaultOffset = 0;           // from the DefaultsBlock
    std::ptrdiff_t invalidOffset = 0;           // from the DefaultsBlock, enumerations only
    Record& (*asRecord)(void* field) = nullptr; // Record members
    std::ptrdiff_t recordBase = 0;              // of the Record within a Record member
    const ListOps* list = nullptr;              // RecordList members

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
    MemberRow& Unit(const char* unit)
    {
        description.unit = QString::fromUtf8(unit);
        return *this;
    }
    MemberRow& DisplayNames(QStringList (*names)())
    {
        description.displayNames = names;
        return *this;
    }
};

// The members that hold a value of their own (not a record or a list), by kind, with their
// offsets from the values block in member order: a record whose such members are all set
// compares them without testing their flags one by one. Whole numbers and enumerations that
// lie side by side pair into 8-byte words, since their equality is that of their bytes.
struct EqualityPlan {
    quint32 members = 0; // the members of the plan
    int words = 0;       // pairs of whole numbers
    int singles = 0;     // whole numbers left alone
    int doubles = 0;
    int floats = 0;
    int texts = 0;
    int dateTimes = 0;
    std::ptrdiff_t wordAt[16] = {};
    std::ptrdiff_t singleAt[32] = {};
    std::ptrdiff_t doubleAt[32] = {};
    std::ptrdiff_t floatAt[32] = {};
    std::ptrdiff_t textAt[32] = {};
    std::ptrdiff_t dateTimeAt[32] = {};
};

struct RecordType {
    RecordDescription description;

    // For the XML readers: the record class the table belongs to, and each row's element
    // name in UTF-8.
    const std::type_info* exactClass = nullptr;
    std::vector<std::string> elementNames;
    // For the XML byte writer: the type's name and each member's by bit, in UTF-8.
    std::string xmlName;
    std::vector<std::string> xmlMemberNames;

    std::vector<MemberRow> rows;  // member order
    std::vector<int> writeOrder;  // attributes first, then the others, each in member order
    quint32 requiredFlags = 0;    // required members whose set flag HasData tests
    bool hasChildren = false;     // Record or RecordList members
    std::vector<int> children;    // the bits of Record and RecordList members
    quint32 enumerationFlags = 0; // members with a name table
    quint32 textFlags = 0;        // QString members
    // Members by kind, for the comparisons that equality runs.
    quint32 integerFlags = 0; // int and enumeration members, compared as int
    quint32 floatFlags = 0;
    quint32 doubleFlags = 0;
    quint32 dateTimeFlags = 0;
    quint32 recordFlags = 0;
    quint32 listFlags = 0;
    quint32 tags[32] = {}; // binary member tags by bit
    // The bits of the binary member tags, open-addressed by the tag's low bits (-1: empty), so
    // that reading an entry finds its member in about one probe.
    qint8 bitsByTag[64];
    // The slot that holds the tag's bit, or the empty one where it would go.
    quint32 SlotOfTag(quint32 tag) const
    {
        // At most 32 of the 64 slots are taken: every probe sequence meets an empty one.
        quint32 slot = tag & 63;
        while (bitsByTag[slot] >= 0 && tags[bitsByTag[slot]] != tag)
            slot = (slot + 1) & 63;
        return slot;
    }
    int BitOfTag(quint32 tag) const { return bitsByTag[SlotOfTag(tag)]; }
    std::ptrdiff_t valueOffsets[32] = {};
    EqualityPlan equality;
    quint32 enumerationSizes[32] = {};          // the number of names of each enumeration member
    QSharedDataPointer<StorageBlock> prototype; // a fresh record's storage
    QSharedDataPointer<StorageBlock> virgin;    // the same, marked as no storage
};

// ---- Typed access ---------------------------------------------------------------------

template <class T> T& At(void* base, std::ptrdiff_t offset)
{
    return *reinterpret_cast<T*>(static_cast<char*>(base) + offset);
}
template <class T> const T& At(const void* base, std::ptrdiff_t offset)
{
    return *reinterpret_cast<const T*>(static_cast<const char*>(base) + offset);
}

constexpr quint32 Flag(int bit)
{
    return quint32(1) << bit;
}

// A member's value in a values block.
inline void* SlotOf(StorageBlock& block, const MemberRow& row)
{
    return reinterpret_cast<char*>(&block) + row.valueOffset;
}
inline const void* SlotOf(const StorageBlock& block, const MemberRow& row)
{
    return reinterpret_cast<const char*>(&block) + row.valueOffset;
}

// The items of a list are about to be written: shared ones are copied first.
inline void DetachItems(const MemberRow& row, void* slot)
{
    row.list->detach(slot, RecordAccess::KeepBoth);
}

// The base's default logger, which a record copy holds.
const REPORTGENERATOR::Logger* DefaultLogger();

// A member's value from its default. After any reset a text reads as null, never as its
// default; a list is empty.
void RestoreValue(const MemberRow& row, StorageBlock& block);

// Enumerations are stored as their own types, all with int as underlying type; the
// generic code reads and writes them as int.
inline int EnumAt(const void* base, std::ptrdiff_t offset)
{
    int value;
    std::memcpy(&value, static_cast<const char*>(base) + offset, sizeof value);
    return value;
}
inline void SetEnumAt(void* base, std::ptrdiff_t offset, int value)
{
    std::memcpy(static_cast<char*>(base) + offset, &value, sizeof value);
}

inline const Record& RecordAt(const MemberRow& row, const void* base, std::ptrdiff_t offset)
{
    return At<Record>(base, offset + row.recordBase);
}
inline Record& RecordAt(const MemberRow& row, void* base, std::ptrdiff_t offset)
{
    return At<Record>(base, offset + row.recordBase);
}

inline void RecordAccess::HandToCopy(Record& copy, bool validate,
                                     const std::shared_ptr<REPORTGENERATOR::Logger>& logger,
                                     const REPORTGENERATOR::Logger* object, bool deep)
{
    bool changed = false;
    if (copy.CurrentValidate() != validate) {
        copy.HoldValidate(validate);
        changed = true;
    }
    if (copy.CurrentLogger() != object) {
        copy.HoldLogger(logger);
        changed = true;
    }
    // A copy that shares its storage with its source, the usual case, and keeps its
    // settings has nothing more to do.
    const StorageBlock* const held = copy.d.constData();
    const bool owned = held && held->ref.loadRelaxed() == 1;
    if (!(changed || owned) || copy.m_type.children.empty())
        return;
    if (changed)
        copy.PassDown();
    if (owned && copy.OwnsChildren())
        copy.SettleChildren(deep);
}

// ---- Declaring members ----------------------------------------------------------------

namespace detail {

template <class T> struct IsList : std::false_type {
};
template <class T> struct IsList<ListSlot<T>> : std::true_type {
    using Item = T;
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
    else if constexpr (std::is_enum_v<T>) {
        static_assert(sizeof(T) == sizeof(int), "enumerations are held as int");
        return MemberKind::Enumeration;
    } else if constexpr (IsList<T>::value)
        return MemberKind::RecordList;
    else {
        static_assert(std::is_base_of_v<Record, T>, "unsupported member type");
        return MemberKind::Record;
    }
}

template <class T> Record& AsRecord(void* field)
{
    return *static_cast<T*>(field);
}

// The operations on a list of one item type (src/RecordListOps.h).
template <class T> const ListOps& ListOpsOf();

template <class M> struct MemberPointer;
template <class Data, class F> struct MemberPointer<F Data::*> {
    using DataType = Data;
    using FieldType = F;
};

QString FieldNameOf(const QString& name);

} // namespace detail

// Declares one member: its field in the record's Data struct, its bit (the position in the
// member order), its XML name and its binary tag. Further properties are chained:
// Required(), Attribute(), Fixed(width, precision), DefaultValue(v), DefaultName("...")
// and Names(table).
template <auto P> MemberRow Member(int bit, const char* name, quint32 tag)
{
    using Data = typename detail::MemberPointer<decltype(P)>::DataType;
    using F = typename detail::MemberPointer<decltype(P)>::FieldType;
    MemberRow row;
    row.description.bit = bit;
    row.description.name = QString::fromLatin1(name);
    row.description.fieldName = detail::FieldNameOf(row.description.name);
    row.description.tag = tag;
    row.description.kind = detail::KindOf<F>();
    row.kind = &KindTable(row.description.kind);
    row.description.operations = &row.kind->value;
    const auto probe = std::make_unique<Data>();
    row.fieldOffset = reinterpret_cast<const char*>(&(probe.get()->*P)) -
                      reinterpret_cast<const char*>(probe.get());
    if constexpr (detail::IsList<F>::value) {
        using Item = typename detail::IsList<F>::Item;
        row.description.nested = []() { return &Item::Description(); };
        row.list = &detail::ListOpsOf<Item>();
    } else if constexpr (std::is_base_of_v<Record, F>) {
        row.description.nested = []() { return &F::Description(); };
        row.asRecord = &detail::AsRecord<F>;
        const F& field = probe.get()->*P;
        row.recordBase = reinterpret_cast<const char*>(static_cast<const Record*>(&field)) -
                         reinterpret_cast<const char*>(&field);
    }
    return row;
}

// Checks the table's order, derives what the algorithms need from it and builds the
// prototype storage.
void FinishRecordType(RecordType& type, StorageBlock* values, DefaultsBlock* defaults,
                      std::ptrdiff_t dataInValues, std::ptrdiff_t defInDefaults,
                      std::ptrdiff_t invalidInDefaults);

// Fills the type's equality plan from its member flags and offsets.
void PlanEquality(RecordType& type);

// Builds the type of record class Class from its member table, in member order.
template <class Class, class Data>
RecordType MakeRecordType(const char* name, qint64 id, std::vector<MemberRow> rows)
{
    RecordType type;
    type.description.name = QString::fromLatin1(name);
    type.description.id = id;
    type.exactClass = &typeid(Class);
    type.description.make = []() -> Record* { return new Class(); };
    type.description.copy = [](const Record& record) -> Record* {
        return new Class(static_cast<const Class&>(record));
    };
    type.rows = std::move(rows);
    auto* values = new ValuesOf<Data>();
    auto* defaults = new DefaultsOf<Data>();
    const auto offset = [](const void* outer, const void* inner) {
        return static_cast<const char*>(inner) - static_cast<const char*>(outer);
    };
    FinishRecordType(type, values, defaults,
                     offset(static_cast<StorageBlock*>(values), &values->data),
                     offset(static_cast<DefaultsBlock*>(defaults), &defaults->def),
                     offset(static_cast<DefaultsBlock*>(defaults), &defaults->invalid));
    PlanEquality(type);
    return type;
}

} // namespace KVT317XML

template <> KVT317XML::DefaultsBlock* QSharedDataPointer<KVT317XML::DefaultsBlock>::clone();

#include "RecordListOps.h"

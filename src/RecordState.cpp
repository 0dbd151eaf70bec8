// The member table, storage creation, copying and sharing, and the fields of a record's
// storage.

#include "ReadContext.h"
#include "RecordStorage.h"
#include "RecordText.h"

#include <algorithm>

using REPORTGENERATOR::IncompleteDefinitionException;
using REPORTGENERATOR::IRGObject;
using REPORTGENERATOR::LogLevel;
using REPORTGENERATOR::OutOfRangeException;
using REPORTGENERATOR::RGException;

template <> KVT317XML::StorageBlock* QSharedDataPointer<KVT317XML::StorageBlock>::clone()
{
    return d->Clone();
}

template <> KVT317XML::DefaultsBlock* QSharedDataPointer<KVT317XML::DefaultsBlock>::clone()
{
    return d->Clone();
}

namespace KVT317XML {

void RecordAccess::Share(Record& target, const Record& source)
{
    target.ShareStorage(source);
}

// Children inside a block must never create storage from a const operation, which would
// write to a block that others may share: they start with a virgin storage.
void RecordAccess::MakeVirgin(Record& child)
{
    child.d = child.m_type.virgin;
}

StorageBlock::~StorageBlock()
{
    if (lent & LentItems)
        ForgetLentItems(this);
}
DefaultsBlock::~DefaultsBlock() = default;

// A member's value from its default. After any reset a text reads as null, never as its
// default; a list is empty.
void RestoreValue(const MemberRow& row, StorageBlock& block)
{
    const void* def = reinterpret_cast<const char*>(block.defaults.constData()) + row.defaultOffset;
    row.kind->restore(row, SlotOf(block, row), def);
}

namespace detail {

QString FieldNameOf(const QString& name)
{
    return QStringLiteral("m_") + name.left(1).toLower() + name.mid(1);
}

} // namespace detail

// ---- The member table ------------------------------------------------------------------

void FinishRecordType(RecordType& type, StorageBlock* values, DefaultsBlock* defaults,
                      std::ptrdiff_t dataInValues, std::ptrdiff_t defInDefaults,
                      std::ptrdiff_t invalidInDefaults)
{
    if (type.rows.size() > 32)
        qFatal("%s: a record has at most 32 members", qPrintable(type.description.name));
    std::fill(std::begin(type.bitsByTag), std::end(type.bitsByTag), qint8(-1));
    type.xmlName = type.description.name.toStdString();
    for (std::size_t i = 0; i < type.rows.size(); ++i) {
        MemberRow& row = type.rows[i];
        if (row.description.bit != static_cast<int>(i))
            qFatal("%s: member %s is declared at position %d but has bit %d",
                   qPrintable(type.description.name), qPrintable(row.description.name),
                   static_cast<int>(i), row.description.bit);
        row.valueOffset = dataInValues + row.fieldOffset;
        row.defaultOffset = defInDefaults + row.fieldOffset;
        row.invalidOffset = invalidInDefaults + row.fieldOffset;
        if (row.asRecord || row.list) {
            type.hasChildren = true;
            type.children.push_back(row.description.bit);
        } else if (row.description.required) {
            type.requiredFlags |= Flag(row.description.bit);
        }
        const quint32 flag = Flag(row.description.bit);
        type.valueOffsets[i] = row.valueOffset;
        type.tags[i] = row.description.tag;
        // A tag given twice keeps its first member, as the member order would find it.
        qint8& slot = type.bitsByTag[type.SlotOfTag(row.description.tag)];
        if (slot < 0)
            slot = static_cast<qint8>(i);
        type.*row.kind->flags |= flag;
        if (row.kind->moreFlags)
            type.*row.kind->moreFlags |= flag;
        row.description.kindName = KindNameOf(row.description);
        // A later row of a name already there is never the one an element is read into.
        const std::string element =
            (row.asRecord || row.list ? row.description.nested()->name : row.description.name)
                .toStdString();
        const bool taken = std::find(type.elementNames.begin(), type.elementNames.end(), element) !=
                           type.elementNames.end();
        type.elementNames.push_back(taken ? std::string() : element);
        type.xmlMemberNames.push_back(row.description.name.toStdString());
        if (row.description.enumeration)
            type.enumerationSizes[i] =
                static_cast<quint32>(row.description.enumeration->names.size());
        type.description.members.push_back(row.description);
    }
    for (const bool attributes : {true, false})
        for (const MemberRow& row : type.rows)
            if (row.description.attribute == attributes)
                type.writeOrder.push_back(row.description.bit);
    type.description.writeOrder = type.writeOrder;

    // The defaults a fresh record's storage starts with: declared defaults raise their
    // has-default flag; enumerations start with the invalid marker -1, and a default given
    // by name is looked up in the member's own table.
    for (MemberDescription& member : type.description.members) {
        MemberRow& row = type.rows[static_cast<std::size_t>(member.bit)];
        void* def = reinterpret_cast<char*>(defaults) + row.defaultOffset;
        if (member.enumeration)
            SetEnumAt(defaults, row.invalidOffset, -1);
        row.kind->declareDefault(row, def);
        if (row.declaredDefault)
            defaults->hasDefault |= Flag(member.bit);
        // What the description tells of it: a default that ResetToDefault() sets.
        if (member.operations->toVariant)
            member.defaultValue = member.operations->toVariant(def);
        member.hasDefault = row.declaredDefault && !(member.enumeration && EnumAt(def, 0) < 0);
        if (member.hasDefault)
            member.defaultText = member.operations->toText(member, def);
        // Findings point to the row's own description: it tells the same.
        row.description = member;
    }
    for (const MemberRow& row : type.rows) {
        if (row.asRecord) {
            RecordAccess::MakeVirgin(RecordAt(row, values, row.valueOffset));
            RecordAccess::MakeVirgin(RecordAt(row, defaults, row.defaultOffset));
        } else if (row.list) {
            RecordAccess::MakeVirgin(
                row.list->defaultRecord(reinterpret_cast<char*>(values) + row.valueOffset));
            RecordAccess::MakeVirgin(
                row.list->defaultRecord(reinterpret_cast<char*>(defaults) + row.defaultOffset));
        }
    }
    values->defaults = QSharedDataPointer<DefaultsBlock>(defaults);
    type.prototype = QSharedDataPointer<StorageBlock>(values);
    // The values start as the defaults; nothing is set.
    for (const MemberRow& row : type.rows)
        row.kind->startValue(reinterpret_cast<char*>(values) + row.valueOffset,
                             reinterpret_cast<const char*>(defaults) + row.defaultOffset);
    type.virgin = QSharedDataPointer<StorageBlock>(values->Clone());
    type.virgin.data()->virgin = true;
}

// ---- Construction and storage ----------------------------------------------------------

Record::Record(const RecordType& type, const QString& name, qint64 id)
    : IRGObject(REPORTGENERATOR::ObjectTypes::Undefined, name)
    , m_type(type)
{
    m_id = id;
}

Record::Record(const Record& other, const QString& name, qint64 id)
    : IRGObject(other, name)
    , m_type(other.m_type)
{
    ShareOrCopy(other.d);
    m_id = id;
    // The copy takes the source's switch, and its own (the base's default) logger; its
    // children read both.
    if (m_type.children.empty())
        return;
    // As FollowSharedStorage(other, true), written out: the engine copies every item of a
    // list this way before it writes one.
    const Down& source = other.m_down;
    const quint8 held = source.held & ~source.pending;
    quint8 pending = 0;
    const StorageBlock* block = d.constData();
    if (block && !block->virgin) {
        if (!(held & DownValidate) || source.heldValidate != CurrentValidate())
            pending |= DownValidate;
        if (!(held & DownLogger) || source.heldLogger != CurrentLogger())
            pending |= DownLogger;
    }
    m_down = Down{pending, held, source.heldValidate, source.heldLogger};
}

Record::~Record() = default;

void Record::ShareStorage(const Record& other)
{
    if (this == &other)
        return;
    ShareOrCopy(other.d);
    FollowSharedStorage(other);
}

// Storage is shared, unless a reference into it is out: then it is copied.
void Record::ShareOrCopy(const QSharedDataPointer<StorageBlock>& source)
{
    if (source && source.constData()->lent)
        d = CopyOf(*source.constData());
    else
        d = source;
}

QSharedDataPointer<StorageBlock> Record::CopyOf(const StorageBlock& source, bool snapshot) const
{
    QSharedDataPointer<StorageBlock> copy(source.Clone());
    StorageBlock& block = *copy.data();
    block.lent = 0;
    block.virgin = false;
    for (const int bit : m_type.children) {
        const MemberRow& row = m_type.rows[bit];
        if (row.asRecord) {
            RecordAccess::KeepSettings(RecordAt(row, &block, row.valueOffset),
                                       RecordAt(row, &source, row.valueOffset));
        } else if (source.lent & StorageBlock::LentItems) {
            // References to the source's items may be out: a snapshot has items of its own,
            // a copy reads them through their share until either side writes them. A
            // reference to a child or a date-time lies inside the block, which is copied.
            if (snapshot || (source.lent & StorageBlock::LentDeep))
                DetachItems(row, SlotOf(block, row));
            else
                row.list->readThroughShare(SlotOf(block, row));
        }
    }
    return copy;
}

bool Record::HasStorage() const
{
    const StorageBlock* block = d.constData();
    return block && !block->virgin;
}

void Record::InitData() const
{
    if (HasStorage())
        return;
    d = m_type.prototype;
    // The prototype's children hold the base's defaults; they read this record's own
    // settings, also when the storage is created in a call that reports with its holder's.
    m_down = Down{0, DownBoth, false, DefaultLogger()};
    if (!m_type.children.empty())
        MarkPending();
}

const StorageBlock& Record::ConstStorage() const
{
    if (!d.constData())
        InitData();
    return *d.constData();
}

StorageBlock& Record::MutableStorage()
{
    // This record may be an item that copies of its list's holder still read.
    SeparateCopiesOf(this);
    InitData();
    const StorageBlock& source = *d.constData();
    if (source.ref.loadRelaxed() != 1) {
        QSharedDataPointer<StorageBlock> copy = CopyOf(source);
        d.swap(copy);
    }
    return *d.data();
}

void Record::ConstNoClearReset(StorageBlock& block) const
{
    for (const MemberRow& row : m_type.rows)
        RestoreValue(row, block);
}

const void* Record::ConstField(int bit, Field field) const
{
    const StorageBlock& block = ConstStorage();
    const MemberRow& row = m_type.rows[bit];
    switch (field) {
    case Field::Value:
        if (row.list || row.asRecord) {
            // A reference to a held record goes out: it holds what it reads. Where the held
            // records hold it already, nothing is written, not even that they do: const
            // reads of one record may run on several threads at once.
            if (m_down.pending && !HoldAlready(m_down.pending))
                SettleChildren(false);
            void* slot = const_cast<void*>(SlotOf(*d.constData(), row));
            return row.list ? row.list->items(slot) : slot;
        }
        return SlotOf(block, row);
    case Field::Default: {
        const void* def =
            reinterpret_cast<const char*>(block.defaults.constData()) + row.defaultOffset;
        return row.list ? row.list->defaultItem(const_cast<void*>(def)) : def;
    }
    case Field::Invalid:
        return reinterpret_cast<const char*>(block.defaults.constData()) + row.invalidOffset;
    }
    return nullptr;
}

void* Record::MutableField(int bit, Field field)
{
    const MemberRow& row = m_type.rows[bit];
    if (field == Field::Value && (row.list || row.asRecord)) {
        // The caller may change the held records in any way, their switches and loggers too.
        SettleChildren(false);
        m_down.held = 0;
    }
    StorageBlock& block = MutableStorage();
    if (field == Field::Value) {
        void* slot = SlotOf(block, row);
        if (row.list) {
            DetachItems(row, slot);
            return row.list->items(slot);
        }
        return slot;
    }
    char* defaults = reinterpret_cast<char*>(block.defaults.data());
    if (field == Field::Invalid)
        return defaults + row.invalidOffset;
    void* def = defaults + row.defaultOffset;
    return row.list ? row.list->defaultItem(def) : def;
}

void* Record::LendField(int bit)
{
    void* value = MutableField(bit, Field::Value);
    const MemberRow& row = m_type.rows[bit];
    StorageBlock& block = *d.data();
    if (row.list) {
        // Copies find the list's items by their addresses when an item hands out a reference
        // into its own block.
        block.lent |= StorageBlock::LentItems;
        const void* slot = SlotOf(block, row);
        const int size = row.list->size(slot);
        const char* begin =
            size ? reinterpret_cast<const char*>(&row.list->item(slot, 0)) : nullptr;
        const char* end =
            size ? reinterpret_cast<const char*>(&row.list->item(slot, size - 1)) + 1 : nullptr;
        NoteLentItems(&block, slot, begin, end);
    } else {
        block.lent |= StorageBlock::LentBlock;
        NoteLentItemBlock(this);
    }
    return value;
}

void Record::MarkSet(int bit)
{
    MutableStorage().isSet |= Flag(bit);
}

void Record::MarkHasDefault(int bit)
{
    MutableStorage().defaults.data()->hasDefault |= Flag(bit);
}

bool Record::IsInitialized() const
{
    return HasStorage();
}

const RecordDescription& Record::GetDescription() const
{
    return m_type.description;
}

namespace {
struct Snapshot {
    QSharedDataPointer<StorageBlock> d;
    std::shared_ptr<const void> down;
};
} // namespace

std::shared_ptr<const void> Record::SaveState() const
{
    auto down = std::make_shared<const Down>(m_down);
    // A snapshot must not take the storage from under references that are out.
    if (d.constData() && d.constData()->lent)
        return std::make_shared<const Snapshot>(Snapshot{CopyOf(*d.constData(), true), down});
    return std::make_shared<const Snapshot>(Snapshot{d, down});
}

void Record::RestoreState(const std::shared_ptr<const void>& state)
{
    if (!state)
        return;
    const auto& saved = *static_cast<const Snapshot*>(state.get());
    m_down = *static_cast<const Down*>(saved.down.get());
    const StorageBlock* current = d.constData();
    if (current && current->lent && saved.d.constData() && current->ref.loadRelaxed() == 1) {
        // References into the storage are out: it takes the saved values back in place.
        d.data()->CopyFrom(*saved.d.constData());
        return;
    }
    d = saved.d;
}

void Record::SetObjectType(REPORTGENERATOR::ObjectTypes) {}

} // namespace KVT317XML

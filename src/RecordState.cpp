// Storage, member state, resets, predicates, equality, and handing the validation switch
// and logger down to child records.

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

void RecordAccess::KeepSettings(Record& copy, const Record& source)
{
    copy.IRGObject::SetValidate(source.CurrentValidate());
    if (copy.CurrentLogger() != source.CurrentLogger())
        copy.IRGObject::SetLogger(source.OwnLogger());
    copy.m_down = source.m_down;
}

StorageBlock::~StorageBlock() = default;
DefaultsBlock::~DefaultsBlock() = default;

namespace {

constexpr quint32 Flag(int bit)
{
    return quint32(1) << bit;
}

void* SlotOf(StorageBlock& block, const MemberRow& row)
{
    return reinterpret_cast<char*>(&block) + row.valueOffset;
}
const void* SlotOf(const StorageBlock& block, const MemberRow& row)
{
    return reinterpret_cast<const char*>(&block) + row.valueOffset;
}

// The items of a list are about to be written: shared ones are copied first.
void DetachItems(const MemberRow& row, void* slot)
{
    row.list->detach(slot, true);
}

const REPORTGENERATOR::Logger* DefaultLogger()
{
    static const REPORTGENERATOR::Logger* const logger = REPORTGENERATOR::Logger::Default().get();
    return logger;
}

// Values equal by the member's kind: numbers exactly, texts and date-times by Qt's
// equality, child records by their own rule.
bool ValuesEqual(const MemberRow& row, const StorageBlock& a, const StorageBlock& b)
{
    const std::ptrdiff_t at = row.valueOffset;
    switch (row.description.kind) {
    case MemberKind::Integer:
        return At<int>(&a, at) == At<int>(&b, at);
    case MemberKind::Float:
        return At<float>(&a, at) == At<float>(&b, at);
    case MemberKind::Double:
        return At<double>(&a, at) == At<double>(&b, at);
    case MemberKind::Text:
        return At<QString>(&a, at) == At<QString>(&b, at);
    case MemberKind::DateTime:
        return At<QDateTime>(&a, at) == At<QDateTime>(&b, at);
    case MemberKind::Enumeration:
        return EnumAt(&a, at) == EnumAt(&b, at);
    case MemberKind::Record:
        return RecordAt(row, &a, at).Equals(RecordAt(row, &b, at));
    case MemberKind::RecordList:
        return row.list->equal(SlotOf(a, row), SlotOf(b, row));
    }
    return false;
}

// A member's value from its default. After any reset a text reads as null, never as its
// default; a list is empty.
void RestoreValue(const MemberRow& row, StorageBlock& block)
{
    void* value = SlotOf(block, row);
    const void* def = reinterpret_cast<const char*>(block.defaults.constData()) + row.defaultOffset;
    switch (row.description.kind) {
    case MemberKind::Integer:
        At<int>(value, 0) = At<int>(def, 0);
        break;
    case MemberKind::Float:
        At<float>(value, 0) = At<float>(def, 0);
        break;
    case MemberKind::Double:
        At<double>(value, 0) = At<double>(def, 0);
        break;
    case MemberKind::Enumeration:
        SetEnumAt(value, 0, EnumAt(def, 0));
        break;
    case MemberKind::Text:
        At<QString>(value, 0) = QString();
        break;
    case MemberKind::DateTime:
        At<QDateTime>(value, 0) = At<QDateTime>(def, 0);
        break;
    case MemberKind::Record:
        RecordAccess::Share(RecordAt(row, value, 0), RecordAt(row, def, 0));
        break;
    case MemberKind::RecordList:
        row.list->clear(value);
        break;
    }
}

// Equality of the members of one kind whose flags are given.
template <class T>
bool SameValues(quint32 flags, const std::ptrdiff_t* offsets, const StorageBlock* a,
                const StorageBlock* b)
{
    for (; flags; flags &= flags - 1) {
        const std::ptrdiff_t offset = offsets[qCountTrailingZeroBits(flags)];
        if (!(At<T>(a, offset) == At<T>(b, offset)))
            return false;
    }
    return true;
}

} // namespace

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
    for (std::size_t i = 0; i < type.rows.size(); ++i) {
        MemberRow& row = type.rows[i];
        if (row.description.bit != static_cast<int>(i))
            qFatal("%s: member %s is declared at position %d but has bit %d",
                   qPrintable(type.description.name), qPrintable(row.description.name),
                   static_cast<int>(i), row.description.bit);
        row.valueOffset = dataInValues + row.fieldOffset;
        row.defaultOffset = defInDefaults + row.fieldOffset;
        row.invalidOffset = invalidInDefaults + row.fieldOffset;
        const MemberKind kind = row.description.kind;
        if (kind == MemberKind::Record || kind == MemberKind::RecordList) {
            type.hasChildren = true;
            type.children.push_back(row.description.bit);
        } else if (row.description.required) {
            type.requiredFlags |= Flag(row.description.bit);
        }
        const quint32 flag = Flag(row.description.bit);
        type.valueOffsets[i] = row.valueOffset;
        type.tags[i] = row.description.tag;
        switch (kind) {
        case MemberKind::Enumeration:
            type.enumerationFlags |= flag;
            type.integerFlags |= flag;
            break;
        case MemberKind::Integer:
            type.integerFlags |= flag;
            break;
        case MemberKind::Float:
            type.floatFlags |= flag;
            break;
        case MemberKind::Double:
            type.doubleFlags |= flag;
            break;
        case MemberKind::Text:
            type.textFlags |= flag;
            break;
        case MemberKind::DateTime:
            type.dateTimeFlags |= flag;
            break;
        case MemberKind::Record:
            type.recordFlags |= flag;
            break;
        case MemberKind::RecordList:
            type.listFlags |= flag;
            break;
        }
        type.description.members.push_back(row.description);
    }
    for (const bool attributes : {true, false})
        for (const MemberRow& row : type.rows)
            if (row.description.attribute == attributes)
                type.writeOrder.push_back(row.description.bit);

    // The defaults a fresh record's storage starts with: declared defaults raise their
    // has-default flag; enumerations start with the invalid marker -1, and a default given
    // by name is looked up in the member's own table.
    for (const MemberRow& row : type.rows) {
        const MemberKind kind = row.description.kind;
        void* def = reinterpret_cast<char*>(defaults) + row.defaultOffset;
        if (kind == MemberKind::Enumeration) {
            SetEnumAt(defaults, row.invalidOffset, -1);
            const int index = row.declaredDefault
                                  ? row.description.enumeration->names.indexOf(row.nameDefault)
                                  : -1;
            SetEnumAt(def, 0, index);
        } else if (kind == MemberKind::Integer) {
            At<int>(def, 0) = static_cast<int>(row.numberDefault);
        } else if (kind == MemberKind::Float) {
            At<float>(def, 0) = static_cast<float>(row.numberDefault);
        } else if (kind == MemberKind::Double) {
            At<double>(def, 0) = row.numberDefault;
        }
        if (row.declaredDefault)
            defaults->hasDefault |= Flag(row.description.bit);
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
    for (const MemberRow& row : type.rows) {
        const MemberKind kind = row.description.kind;
        if (kind == MemberKind::Integer)
            At<int>(values, row.valueOffset) = At<int>(defaults, row.defaultOffset);
        else if (kind == MemberKind::Float)
            At<float>(values, row.valueOffset) = At<float>(defaults, row.defaultOffset);
        else if (kind == MemberKind::Double)
            At<double>(values, row.valueOffset) = At<double>(defaults, row.defaultOffset);
        else if (kind == MemberKind::Enumeration)
            SetEnumAt(values, row.valueOffset, EnumAt(defaults, row.defaultOffset));
    }
    type.virgin = QSharedDataPointer<StorageBlock>(values->Clone());
    type.virgin.data()->virgin = true;
}

// ---- Construction and storage ----------------------------------------------------------

Record::Record(const RecordType& type, const QString& name, __int64 id)
    : IRGObject(REPORTGENERATOR::ObjectTypes::Undefined, name)
    , m_type(type)
{
    m_id = id;
}

Record::Record(const Record& other, const QString& name, __int64 id)
    : IRGObject(other.GetObjectType(), name)
    , m_type(other.m_type)
{
    ShareOrCopy(other.d);
    m_id = id;
    // The copy takes the source's switch, and its own (the base's default) logger; its
    // children read both.
    IRGObject::SetValidate(other.CurrentValidate());
    FollowSharedStorage(other);
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

QSharedDataPointer<StorageBlock> Record::CopyOf(const StorageBlock& source) const
{
    QSharedDataPointer<StorageBlock> copy(source.Clone());
    StorageBlock& block = *copy.data();
    block.lent = false;
    block.virgin = false;
    for (const int bit : m_type.children) {
        const MemberRow& row = m_type.rows[bit];
        if (row.asRecord) {
            RecordAccess::KeepSettings(RecordAt(row, &block, row.valueOffset),
                                       RecordAt(row, &source, row.valueOffset));
        } else if (source.lent) {
            // References to the source's items may be out: the copy has items of its own.
            DetachItems(row, SlotOf(block, row));
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
    // The prototype's children hold the base's defaults; they read this record's settings.
    m_down = Down{0, DownBoth, false, DefaultLogger()};
    PassDown();
}

const StorageBlock& Record::ConstStorage() const
{
    if (!d.constData())
        InitData();
    return *d.constData();
}

StorageBlock& Record::MutableStorage()
{
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
            // A reference to a held record goes out: it holds what it reads.
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
    d.data()->lent = true;
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
        return std::make_shared<const Snapshot>(Snapshot{CopyOf(*d.constData()), down});
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

// ---- Switch and logger -------------------------------------------------------------------

void Record::SetValidate(bool validate) const
{
    IRGObject::SetValidate(validate);
    Follow();
}

void Record::SetLogger(std::shared_ptr<REPORTGENERATOR::Logger> logger) const
{
    IRGObject::SetLogger(std::move(logger));
    Follow();
}

// The held records read the new setting; when nothing else shares them, they take it at
// once, so that later const operations on the record write nothing.
void Record::Follow() const
{
    if (m_type.children.empty() || !HasStorage())
        return;
    const quint8 pending = m_down.pending;
    PassDown();
    if (m_down.pending != pending && OwnsChildren())
        SettleChildren(true);
}

// Every operation that works on held records first makes them read this record's switch
// and logger. Nothing is written when they already do, so that const operations on one
// record can run on several threads at once. A record called by the record that holds it
// reports with the holder's settings (ReportingAs) and passes those on.
void Record::PassDown() const
{
    if (m_type.children.empty() || !HasStorage() || ReportingAs::For(*this))
        return;
    quint8 pending = m_down.pending;
    if (!(m_down.held & DownValidate) || m_down.heldValidate != CurrentValidate())
        pending |= DownValidate;
    if (!(m_down.held & DownLogger) || m_down.heldLogger != CurrentLogger())
        pending |= DownLogger;
    if (pending != m_down.pending)
        m_down.pending = pending;
}

// For operations that write anyway: the held records take what they read.
void Record::Settle()
{
    PassDown();
    SettleChildren(false);
}

bool Record::OwnsChildren() const
{
    const StorageBlock* block = d.constData();
    if (!block || block->ref.loadRelaxed() != 1)
        return false;
    for (const int bit : m_type.children) {
        const MemberRow& row = m_type.rows[bit];
        if (row.list && row.list->shared(SlotOf(*block, row)))
            return false;
    }
    return true;
}

// The held records take this record's pending settings into their objects, and their own
// held records read them in turn (taking them too when `deep`, where nothing shares them).
void Record::SettleChildren(bool deep) const
{
    const quint8 pending = m_down.pending;
    if (!pending)
        return;
    if (m_type.children.empty() || !HasStorage() || HoldAlready(pending)) {
        // Nothing to write: the records already hold what they read.
        if (HasStorage())
            Held(pending);
        m_down.pending = 0;
        return;
    }
    Record& self = const_cast<Record&>(*this);
    StorageBlock& block = self.MutableStorage();
    const bool validate = CurrentValidate();
    const std::shared_ptr<REPORTGENERATOR::Logger>& logger = OwnLogger();
    const auto hand = [&](Record& child) {
        if (pending & DownValidate)
            child.IRGObject::SetValidate(validate);
        if ((pending & DownLogger) && child.CurrentLogger() != logger.get())
            child.IRGObject::SetLogger(logger);
        if (child.m_type.children.empty())
            return;
        child.PassDown();
        if (deep && child.OwnsChildren())
            child.SettleChildren(true);
    };
    for (const int bit : m_type.children) {
        const MemberRow& row = m_type.rows[bit];
        void* slot = SlotOf(block, row);
        if (row.asRecord) {
            hand(RecordAt(row, slot, 0));
            continue;
        }
        row.list->detach(slot, pending != DownBoth);
        const int size = row.list->size(slot);
        for (int i = 0; i < size; ++i)
            hand(row.list->mutableItem(slot, i));
    }
    Held(pending);
    m_down.pending = 0;
}

// The held records hold this record's current settings.
void Record::Held(quint8 settings) const
{
    if (settings & DownValidate)
        m_down.heldValidate = CurrentValidate();
    if (settings & DownLogger)
        m_down.heldLogger = CurrentLogger();
    m_down.held |= settings;
}

// Whether every held record already holds these of this record's settings, and its own held
// records read them: then taking them writes nothing. Reads only.
bool Record::HoldAlready(quint8 settings) const
{
    const bool validate = CurrentValidate();
    const REPORTGENERATOR::Logger* logger = CurrentLogger();
    const auto holds = [&](const Record& child) {
        if ((settings & DownValidate) && child.CurrentValidate() != validate)
            return false;
        if ((settings & DownLogger) && child.CurrentLogger() != logger)
            return false;
        if (child.m_type.children.empty() || !child.HasStorage())
            return true;
        const Down& down = child.m_down;
        const bool validateRead = (down.pending & DownValidate) ||
                                  ((down.held & DownValidate) && down.heldValidate == validate);
        const bool loggerRead =
            (down.pending & DownLogger) || ((down.held & DownLogger) && down.heldLogger == logger);
        return (!(settings & DownValidate) || validateRead) &&
               (!(settings & DownLogger) || loggerRead);
    };
    const StorageBlock& block = *d.constData();
    for (const int bit : m_type.children) {
        const MemberRow& row = m_type.rows[bit];
        const void* slot = SlotOf(block, row);
        if (row.asRecord) {
            if (!holds(RecordAt(row, slot, 0)))
                return false;
            continue;
        }
        const int size = row.list->size(slot);
        for (int i = 0; i < size; ++i)
            if (!holds(row.list->item(slot, i)))
                return false;
    }
    return true;
}

// After taking another record's storage (copy or assignment) the held records read this
// record's settings; where they already hold them, nothing is pending.
void Record::FollowSharedStorage(const Record& other)
{
    m_down = other.m_down;
    m_down.pending = 0;
    if (!(other.m_down.held & DownValidate) || other.m_down.pending & DownValidate)
        m_down.held &= ~DownValidate;
    if (!(other.m_down.held & DownLogger) || other.m_down.pending & DownLogger)
        m_down.held &= ~DownLogger;
    PassDown();
}

// ---- Members ---------------------------------------------------------------------------

bool Record::IsMemberSet(int bit) const
{
    return d.constData() && (d.constData()->isSet & Flag(bit));
}

void Record::ResetMember(int bit)
{
    if (!HasStorage())
        return;
    StorageBlock& block = MutableStorage();
    block.isSet &= ~Flag(bit);
    RestoreValue(m_type.rows[bit], block);
}

void Record::Report(RGException& exception) const
{
    if (GetValidate())
        TraceOrThrow(LogLevel::Error, exception, true, true);
    else
        Trace(LogLevel::Warning, exception);
}

void Record::AssignText(int bit, const QString& value)
{
    InitData();
    if (value.isNull()) {
        const ReadContext::Subject subject(ReadContext::Current(), &m_type.rows[bit].description);
        OutOfRangeException exception(
            text::PleaseSet(GetObjectName(), m_type.rows[bit].description.name));
        Report(exception);
    }
    Assign<QString>(bit, value);
}

void Record::AssignEnum(int bit, int value)
{
    InitData();
    const MemberRow& row = m_type.rows[bit];
    if (!IsValidEnum(bit, value)) {
        const ReadContext::Subject subject(ReadContext::Current(), &row.description);
        OutOfRangeException exception(QStringLiteral("enum is not valid (classname=") +
                                      m_type.description.name + QStringLiteral(",membername=") +
                                      row.description.fieldName + QStringLiteral(")"));
        Report(exception);
    }
    StorageBlock& block = MutableStorage();
    SetEnumAt(&block, row.valueOffset, value);
    block.isSet |= Flag(bit);
}

QString Record::EnumName(int bit, int value) const
{
    ConstStorage();
    return text::EnumName(m_type.rows[bit].description, value);
}

int Record::EnumIndex(int bit, const QString& name) const
{
    // Like every conversion, it makes sure the storage exists, whether or not a name matches.
    const StorageBlock& block = ConstStorage();
    const MemberRow& row = m_type.rows[bit];
    const int index = row.description.enumeration->names.indexOf(name);
    return index >= 0 ? index : EnumAt(block.defaults.constData(), row.invalidOffset);
}

double Record::EnumToValue(int bit, int value) const
{
    ConstStorage();
    const QVector<double>& values = m_type.rows[bit].description.enumeration->values;
    return value >= 0 && value < values.size() ? values.at(value) : 0.0;
}

int Record::EnumFromValue(int bit, double value) const
{
    const MemberRow& row = m_type.rows[bit];
    const StorageBlock& block = ConstStorage();
    const int index = row.description.enumeration->values.indexOf(value);
    return index >= 0 ? index : EnumAt(block.defaults.constData(), row.invalidOffset);
}

bool Record::IsValidEnum(int bit, int value) const
{
    ConstStorage();
    return value >= 0 && value < m_type.rows[bit].description.enumeration->names.size();
}

void Record::Append(int bit, const Record& item)
{
    InsertListItem(bit, ListSize(bit), item);
}

bool Record::InsertListItem(int bit, int index, const Record& item)
{
    const MemberRow& row = m_type.rows[bit];
    if (!row.list || &item.GetDescription() != row.description.nested())
        return false;
    InitData();
    StorageBlock* block = &MutableStorage();
    if (index < 0 || index > row.list->size(SlotOf(*block, row)))
        return false;
    const bool complete = item.HasData();
    const bool inserted = complete || !GetValidate();
    if (inserted) {
        // What the items read so far is not what the new one reads: a copy holds the item's
        // switch and the base's default logger, and so does everything in it.
        SettleChildren(false);
        block = d.data();
        if (m_down.heldValidate != item.CurrentValidate())
            m_down.held &= ~DownValidate;
        if (m_down.heldLogger != DefaultLogger())
            m_down.held &= ~DownLogger;
        void* slot = SlotOf(*block, row);
        DetachItems(row, slot);
        if (index == row.list->size(slot))
            row.list->append(slot, item);
        else
            row.list->insert(slot, index, item);
        block->isSet |= Flag(bit);
    }
    if (!complete)
        ReportIncompleteAppend(row.description, inserted ? index : -1);
    return inserted;
}

// An item taken in is what the report is about; one refused, the list.
void Record::ReportIncompleteAppend(const MemberDescription& member, int item) const
{
    ReadContext* const context = ReadContext::Current();
    const ReadPosition where = context ? context->CurrentPosition() : ReadPosition();
    const ReadContext::Scope owner(context, m_type.description, -1, -1);
    const ReadContext::Scope scope(item >= 0 ? context : nullptr, *member.nested(), member.bit,
                                   item);
    if (context)
        context->SetPosition(where);
    const ReadContext::Subject subject(context, item >= 0 ? nullptr : &member);
    IncompleteDefinitionException exception(
        GetObjectName() +
        QStringLiteral(": Tried to append not completely defined or invalid item ") + member.name +
        QStringLiteral("."));
    Report(exception);
}

// ---- Predicates, resets and equality -------------------------------------------------

bool Record::HasData() const
{
    if (!HasStorage())
        return false;
    const StorageBlock& block = *d.constData();
    if ((block.isSet & m_type.requiredFlags) != m_type.requiredFlags)
        return false;
    if (!m_type.hasChildren)
        return true;
    for (const MemberRow& row : m_type.rows) {
        if (!row.description.required)
            continue;
        if (row.asRecord && !RecordAt(row, &block, row.valueOffset).HasData())
            return false;
        if (row.list && row.list->size(SlotOf(block, row)) == 0)
            return false;
    }
    return true;
}

bool Record::AnyData() const
{
    if (!HasStorage())
        return false;
    const StorageBlock& block = *d.constData();
    for (const MemberRow& row : m_type.rows) {
        switch (row.description.kind) {
        case MemberKind::Record:
            if (RecordAt(row, &block, row.valueOffset).AnyData())
                return true;
            break;
        case MemberKind::RecordList:
            if (row.list->size(SlotOf(block, row)) > 0)
                return true;
            break;
        case MemberKind::Text:
            // A text holds something when it is not null, set or not.
            if (!At<QString>(&block, row.valueOffset).isNull())
                return true;
            break;
        default:
            if (block.isSet & Flag(row.description.bit))
                return true;
        }
    }
    return false;
}

void Record::Reset()
{
    if (!HasStorage())
        return;
    // A fresh storage is as reset as it gets.
    if (d.constData() == m_type.prototype.constData())
        return;
    StorageBlock& block = MutableStorage();
    block.isSet = 0;
    ConstNoClearReset(block);
}

void Record::ResetToDefault()
{
    InitData();
    Reset();
    StorageBlock& block = MutableStorage();
    const DefaultsBlock& defaults = *block.defaults.constData();
    for (const MemberRow& row : m_type.rows) {
        const int bit = row.description.bit;
        void* value = SlotOf(block, row);
        const void* def = reinterpret_cast<const char*>(&defaults) + row.defaultOffset;
        const bool hasDefault = defaults.hasDefault & Flag(bit);
        switch (row.description.kind) {
        case MemberKind::Record:
            // The child holds its own defaults; the parent still counts it as unset.
            RecordAt(row, value, 0).ResetToDefault();
            continue;
        case MemberKind::RecordList:
            DetachItems(row, value);
            for (int i = 0; i < row.list->size(value); ++i)
                row.list->mutableItem(value, i).ResetToDefault();
            continue;
        case MemberKind::Enumeration: {
            const int v = EnumAt(def, 0);
            if (!hasDefault || v < 0 || v >= row.description.enumeration->names.size())
                continue;
            SetEnumAt(value, 0, v);
            break;
        }
        case MemberKind::Text:
            if (!hasDefault || At<QString>(def, 0).isNull())
                continue;
            At<QString>(value, 0) = At<QString>(def, 0);
            break;
        case MemberKind::Integer:
            if (!hasDefault)
                continue;
            At<int>(value, 0) = At<int>(def, 0);
            break;
        case MemberKind::Float:
            if (!hasDefault)
                continue;
            At<float>(value, 0) = At<float>(def, 0);
            break;
        case MemberKind::Double:
            if (!hasDefault)
                continue;
            At<double>(value, 0) = At<double>(def, 0);
            break;
        case MemberKind::DateTime:
            if (!hasDefault)
                continue;
            At<QDateTime>(value, 0) = At<QDateTime>(def, 0);
            break;
        }
        block.isSet |= Flag(bit);
    }
}

bool Record::Equals(const Record& other) const
{
    if (&m_type != &other.m_type)
        return false;
    const StorageBlock* a = d.constData();
    const StorageBlock* b = other.d.constData();
    if (a == b)
        return true;
    // Lists compare by their items, their set flags take no part; every other member must
    // be set on both sides or on neither, and equal where set.
    for (const int bit : m_type.children) {
        const MemberRow& row = m_type.rows[bit];
        if (!row.list)
            continue;
        const int sizeA = a ? row.list->size(SlotOf(*a, row)) : 0;
        const int sizeB = b ? row.list->size(SlotOf(*b, row)) : 0;
        if (sizeA != sizeB || (sizeA > 0 && !ValuesEqual(row, *a, *b)))
            return false;
    }
    const quint32 set = (a ? a->isSet : 0) & ~m_type.listFlags;
    if (set != ((b ? b->isSet : 0) & ~m_type.listFlags))
        return false;
    if (!set)
        return true;
    // The order of the comparisons does not matter: only the result is seen.
    const std::ptrdiff_t* at = m_type.valueOffsets;
    if (!SameValues<int>(set & m_type.integerFlags, at, a, b) ||
        !SameValues<double>(set & m_type.doubleFlags, at, a, b) ||
        !SameValues<float>(set & m_type.floatFlags, at, a, b) ||
        !SameValues<QString>(set & m_type.textFlags, at, a, b) ||
        !SameValues<QDateTime>(set & m_type.dateTimeFlags, at, a, b))
        return false;
    for (quint32 bits = set & m_type.recordFlags; bits; bits &= bits - 1) {
        const MemberRow& row = m_type.rows[qCountTrailingZeroBits(bits)];
        if (!RecordAt(row, a, row.valueOffset).Equals(RecordAt(row, b, row.valueOffset)))
            return false;
    }
    return true;
}

bool Record::EqualsCreatingStorage(const Record& other) const
{
    if (!HasStorage() && !other.HasStorage())
        return true;
    other.InitData();
    return Equals(other);
}

// ---- Reflection --------------------------------------------------------------------------

QString Record::MemberText(int bit) const
{
    return text::MemberText(m_type.rows[bit], ConstStorage());
}

const Record* Record::Child(int bit) const
{
    const MemberRow& row = m_type.rows[bit];
    return row.asRecord ? &RecordAt(row, &ConstStorage(), row.valueOffset) : nullptr;
}

int Record::ListSize(int bit) const
{
    const MemberRow& row = m_type.rows[bit];
    return row.list ? row.list->size(SlotOf(ConstStorage(), row)) : 0;
}

const Record* Record::ListItem(int bit, int index) const
{
    const MemberRow& row = m_type.rows[bit];
    return row.list ? &row.list->item(SlotOf(ConstStorage(), row), index) : nullptr;
}

} // namespace KVT317XML

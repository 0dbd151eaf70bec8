// Members: set flags, resets, appends, enumeration conversions, data predicates, equality
// and reflection.

#include "ReadContext.h"
#include "RecordStorage.h"
#include "RecordText.h"

using REPORTGENERATOR::IncompleteDefinitionException;
using REPORTGENERATOR::LogLevel;
using REPORTGENERATOR::OutOfRangeException;
using REPORTGENERATOR::RGException;

namespace KVT317XML {

namespace {

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

// Equality of every member of one kind, by the plan's offsets.
template <class T>
bool SameAll(const std::ptrdiff_t* offsets, int count, const StorageBlock* a, const StorageBlock* b)
{
    for (int i = 0; i < count; ++i)
        if (!(At<T>(a, offsets[i]) == At<T>(b, offsets[i])))
            return false;
    return true;
}

template <class T> T BytesAt(const StorageBlock* block, std::ptrdiff_t offset)
{
    T value;
    std::memcpy(&value, reinterpret_cast<const char*>(block) + offset, sizeof value);
    return value;
}

// Every whole number and enumeration of the plan, compared by its bytes.
bool SameWholeNumbers(const EqualityPlan& plan, const StorageBlock* a, const StorageBlock* b)
{
    quint64 differ = 0;
    for (int i = 0; i < plan.words; ++i)
        differ |= BytesAt<quint64>(a, plan.wordAt[i]) ^ BytesAt<quint64>(b, plan.wordAt[i]);
    for (int i = 0; i < plan.singles; ++i)
        differ |= BytesAt<quint32>(a, plan.singleAt[i]) ^ BytesAt<quint32>(b, plan.singleAt[i]);
    return differ == 0;
}

// The members that hold a value of their own (not a record or a list), set on both sides:
// numbers exactly, texts and date-times by Qt's equality. The order of the comparisons does
// not matter: only the result is seen.
inline bool SameScalars(const RecordType& type, quint32 set, const StorageBlock* a,
                        const StorageBlock* b)
{
    const EqualityPlan& plan = type.equality;
    if ((set & plan.members) == plan.members)
        return SameWholeNumbers(plan, a, b) && SameAll<double>(plan.doubleAt, plan.doubles, a, b) &&
               SameAll<float>(plan.floatAt, plan.floats, a, b) &&
               SameAll<QString>(plan.textAt, plan.texts, a, b) &&
               SameAll<QDateTime>(plan.dateTimeAt, plan.dateTimes, a, b);
    const std::ptrdiff_t* at = type.valueOffsets;
    return SameValues<int>(set & type.integerFlags, at, a, b) &&
           SameValues<double>(set & type.doubleFlags, at, a, b) &&
           SameValues<float>(set & type.floatFlags, at, a, b) &&
           SameValues<QString>(set & type.textFlags, at, a, b) &&
           SameValues<QDateTime>(set & type.dateTimeFlags, at, a, b);
}

} // namespace

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
        ReportIncompleteAppend(ReadContext::Current(), row.description, inserted ? index : -1);
    return inserted;
}

// An item taken in is what the report is about; one refused, the list.
void Record::ReportIncompleteAppend(ReadContext* context, const MemberDescription& member,
                                    int item) const
{
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
    for (const MemberRow& row : m_type.rows)
        if (row.kind->holds(row, SlotOf(block, row), block.isSet & Flag(row.description.bit)))
            return true;
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
        if (row.kind->resetToDefault(row, value, def, defaults.hasDefault & Flag(bit)))
            block.isSet |= Flag(bit);
    }
}

void PlanEquality(RecordType& type)
{
    EqualityPlan& plan = type.equality;
    plan = EqualityPlan();
    // Whole numbers pair when one lies right after the other.
    std::ptrdiff_t alone = 0;
    bool pending = false;
    for (quint32 bits = type.integerFlags; bits; bits &= bits - 1) {
        const std::ptrdiff_t at = type.valueOffsets[qCountTrailingZeroBits(bits)];
        if (pending && at == alone + std::ptrdiff_t(sizeof(int))) {
            plan.wordAt[plan.words++] = alone;
            pending = false;
            continue;
        }
        if (pending)
            plan.singleAt[plan.singles++] = alone;
        alone = at;
        pending = true;
    }
    if (pending)
        plan.singleAt[plan.singles++] = alone;
    const auto place = [&type](quint32 flags, std::ptrdiff_t* offsets, int& count) {
        for (; flags; flags &= flags - 1)
            offsets[count++] = type.valueOffsets[qCountTrailingZeroBits(flags)];
    };
    place(type.doubleFlags, plan.doubleAt, plan.doubles);
    place(type.floatFlags, plan.floatAt, plan.floats);
    place(type.textFlags, plan.textAt, plan.texts);
    place(type.dateTimeFlags, plan.dateTimeAt, plan.dateTimes);
    plan.members = type.integerFlags | type.doubleFlags | type.floatFlags | type.textFlags |
                   type.dateTimeFlags;
}

bool Record::Equals(const Record& other) const
{
    if (&m_type != &other.m_type)
        return false;
    const StorageBlock* a = d.constData();
    const StorageBlock* b = other.d.constData();
    if (a == b)
        return true;
    // Every member but a list must be set on both sides or on neither, and equal where set;
    // lists compare by their items, their set flags take no part.
    const quint32 set = (a ? a->isSet : 0) & ~m_type.listFlags;
    if (set != ((b ? b->isSet : 0) & ~m_type.listFlags))
        return false;
    for (quint32 lists = m_type.listFlags; lists; lists &= lists - 1) {
        const MemberRow& row = m_type.rows[qCountTrailingZeroBits(lists)];
        const int size = a ? row.list->size(SlotOf(*a, row)) : 0;
        if (size != (b ? row.list->size(SlotOf(*b, row)) : 0))
            return false;
        if (size == 0)
            continue;
        // The items lie in one array each; two lists that share theirs are equal.
        const char* x = reinterpret_cast<const char*>(&row.list->item(SlotOf(*a, row), 0));
        const char* y = reinterpret_cast<const char*>(&row.list->item(SlotOf(*b, row), 0));
        if (x == y)
            continue;
        const std::ptrdiff_t stride =
            size > 1 ? reinterpret_cast<const char*>(&row.list->item(SlotOf(*a, row), 1)) - x : 0;
        for (int i = 0; i < size; ++i, x += stride, y += stride)
            if (!reinterpret_cast<const Record*>(x)->Equals(*reinterpret_cast<const Record*>(y)))
                return false;
    }
    if (!set)
        return true;
    if (!SameScalars(m_type, set, a, b))
        return false;
    for (quint32 records = set & m_type.recordFlags; records; records &= records - 1) {
        const MemberRow& row = m_type.rows[qCountTrailingZeroBits(records)];
        const Record& x = RecordAt(row, a, row.valueOffset);
        const Record& y = RecordAt(row, b, row.valueOffset);
        if (x.m_type.hasChildren || &x.m_type != &y.m_type) {
            if (!x.Equals(y))
                return false;
            continue;
        }
        // A child that holds only values of its own is compared here, without a call.
        const StorageBlock* xa = x.d.constData();
        const StorageBlock* ya = y.d.constData();
        if (xa == ya)
            continue;
        const quint32 childSet = xa ? xa->isSet : 0;
        if (childSet != (ya ? ya->isSet : 0) || !SameScalars(x.m_type, childSet, xa, ya))
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

// Members read and written by description: any member through the member table, with the
// checks and reports of the typed accessors.

#include "RecordStorage.h"

namespace KVT317XML {

QVariant Record::MemberValue(int bit) const
{
    const auto toVariant = m_type.rows[bit].kind->value.toVariant;
    return toVariant ? toVariant(ConstField(bit, Field::Value)) : QVariant();
}

QVariant Record::MemberDefault(int bit) const
{
    const auto toVariant = m_type.rows[bit].kind->value.toVariant;
    return toVariant ? toVariant(ConstField(bit, Field::Default)) : QVariant();
}

void Record::SetMemberText(int bit, const QString& text)
{
    const MemberRow& row = m_type.rows[bit];
    if (row.asRecord || row.list)
        return;
    InitData();
    AssignFromText(bit, text);
}

bool Record::SetMemberValue(int bit, const QVariant& value)
{
    const MemberRow& row = m_type.rows[bit];
    return row.kind->assignVariant(*this, row, value);
}

Record* Record::MutableChild(int bit)
{
    const MemberRow& row = m_type.rows[bit];
    if (!row.asRecord)
        return nullptr;
    Record& child = RecordAt(row, LendField(bit), 0);
    MarkSet(bit);
    return &child;
}

Record* Record::MutableListItem(int bit, int index)
{
    const MemberRow& row = m_type.rows[bit];
    if (!row.list || index < 0 || index >= ListSize(bit))
        return nullptr;
    LendField(bit);
    MarkSet(bit);
    return &row.list->mutableItem(reinterpret_cast<char*>(d.data()) + row.valueOffset, index);
}

std::unique_ptr<Record> Record::NewMemberRecord(int bit) const
{
    const MemberDescription& member = m_type.rows[bit].description;
    return std::unique_ptr<Record>(member.nested ? member.nested()->make() : nullptr);
}

bool Record::AppendListItem(int bit, const Record& item)
{
    return m_type.rows[bit].list && InsertListItem(bit, ListSize(bit), item);
}

bool Record::RemoveListItem(int bit, int index)
{
    const MemberRow& row = m_type.rows[bit];
    if (!row.list || index < 0 || index >= ListSize(bit))
        return false;
    void* slot = reinterpret_cast<char*>(&MutableStorage()) + row.valueOffset;
    MutableField(bit, Field::Value); // detaches the items
    row.list->remove(slot, index);
    MarkSet(bit);
    return true;
}

bool Record::MoveListItem(int bit, int from, int to)
{
    const MemberRow& row = m_type.rows[bit];
    const int size = ListSize(bit);
    if (!row.list || from < 0 || from >= size || to < 0 || to >= size)
        return false;
    void* slot = reinterpret_cast<char*>(&MutableStorage()) + row.valueOffset;
    MutableField(bit, Field::Value); // detaches the items
    row.list->move(slot, from, to);
    MarkSet(bit);
    return true;
}

} // namespace KVT317XML

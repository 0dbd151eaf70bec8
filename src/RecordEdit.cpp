// Members read and written by description: any member through the member table, with the
// checks and reports of the typed accessors.

#include "RecordStorage.h"

#include <QDateTime>
#include <QMetaType>

#include <cmath>
#include <limits>

namespace KVT317XML {

namespace {

QVariant VariantOf(const MemberRow& row, const void* field)
{
    switch (row.description.kind) {
    case MemberKind::Integer:
        return QVariant(At<int>(field, 0));
    case MemberKind::Float:
        return QVariant(At<float>(field, 0));
    case MemberKind::Double:
        return QVariant(At<double>(field, 0));
    case MemberKind::Text:
        return QVariant(At<QString>(field, 0));
    case MemberKind::DateTime:
        return QVariant(At<QDateTime>(field, 0));
    case MemberKind::Enumeration:
        return QVariant(EnumAt(field, 0));
    case MemberKind::Record:
    case MemberKind::RecordList:
        break;
    }
    return QVariant();
}

// The number types a member of a numeric kind takes, each by the value it holds. Texts
// (a parse is SetMemberText's work), characters other than `char` and bool are not numbers.
bool IsNumber(const QVariant& value)
{
    switch (value.userType()) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::ULong:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Char:
    case QMetaType::SChar:
    case QMetaType::UChar:
    case QMetaType::Double:
    case QMetaType::Float:
        return true;
    default:
        return false;
    }
}

bool IsWhole(const QVariant& value)
{
    return value.userType() != QMetaType::Double && value.userType() != QMetaType::Float;
}

// Unsigned types are read as unsigned: a value above the signed range keeps its size.
bool IsUnsigned(const QVariant& value)
{
    switch (value.userType()) {
    case QMetaType::UInt:
    case QMetaType::ULong:
    case QMetaType::ULongLong:
    case QMetaType::UShort:
    case QMetaType::UChar:
        return true;
    default:
        return false;
    }
}

// Whether a whole number is exactly the double given for it (the double below 2^63, so that
// converting it back is defined).
bool SameWhole(const QVariant& value, double number)
{
    if (IsUnsigned(value))
        return number >= 0.0 && number < 18446744073709551616.0 &&
               static_cast<qulonglong>(number) == value.toULongLong();
    return number >= -9223372036854775808.0 && number < 9223372036854775808.0 &&
           static_cast<qlonglong>(number) == value.toLongLong();
}

// A number exactly representable as T (float or double): whole numbers within T's precision,
// fractions that T holds as they are (a NaN stays a NaN).
template <class T> bool ExactNumber(const QVariant& value, T& result)
{
    if (!IsNumber(value))
        return false;
    if (IsWhole(value)) {
        result = IsUnsigned(value) ? static_cast<T>(value.toULongLong())
                                   : static_cast<T>(value.toLongLong());
        return SameWhole(value, static_cast<double>(result));
    }
    const double number = value.toDouble();
    result = static_cast<T>(number);
    return static_cast<double>(result) == number || std::isnan(number);
}

// A whole number within int's range, from any number that is one.
bool WholeNumber(const QVariant& value, int& result)
{
    double number = 0.0;
    if (!ExactNumber(value, number) ||
        !(number >= std::numeric_limits<int>::min() && number <= std::numeric_limits<int>::max()) ||
        std::trunc(number) != number)
        return false;
    result = static_cast<int>(number);
    return true;
}

// A text: a QString as it stands (null included), a QChar, or a `char` that is an ASCII
// character (any other byte is a piece of some encoding, not a character).
bool Text(const QVariant& value, QString& result)
{
    switch (value.userType()) {
    case QMetaType::QString:
        result = value.toString();
        return true;
    case QMetaType::QChar:
        result = QString(value.toChar());
        return true;
    case QMetaType::Char: {
        const char c = value.value<char>();
        if (static_cast<unsigned char>(c) > 0x7F)
            return false;
        result = QString(QLatin1Char(c));
        return true;
    }
    default:
        return false;
    }
}

} // namespace

QVariant Record::MemberValue(int bit) const
{
    const MemberRow& row = m_type.rows[bit];
    if (row.asRecord || row.list)
        return QVariant();
    return VariantOf(row, ConstField(bit, Field::Value));
}

QVariant Record::MemberDefault(int bit) const
{
    const MemberRow& row = m_type.rows[bit];
    if (row.asRecord || row.list)
        return QVariant();
    return VariantOf(row, ConstField(bit, Field::Default));
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
    int whole = 0;
    switch (row.description.kind) {
    case MemberKind::Integer:
        if (!WholeNumber(value, whole))
            return false;
        Assign<int>(bit, whole);
        return true;
    case MemberKind::Enumeration:
        if (!WholeNumber(value, whole))
            return false;
        AssignEnum(bit, whole);
        return true;
    case MemberKind::Float: {
        float number = 0.0f;
        if (!ExactNumber(value, number))
            return false;
        Assign<float>(bit, number);
        return true;
    }
    case MemberKind::Double: {
        double number = 0.0;
        if (!ExactNumber(value, number))
            return false;
        Assign<double>(bit, number);
        return true;
    }
    case MemberKind::Text: {
        QString text;
        if (!Text(value, text))
            return false;
        AssignText(bit, text);
        return true;
    }
    case MemberKind::DateTime:
        if (value.userType() != QMetaType::QDateTime)
            return false;
        Assign<QDateTime>(bit, value.toDateTime());
        return true;
    case MemberKind::Record:
    case MemberKind::RecordList:
        break;
    }
    return false;
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
    const MemberRow& row = m_type.rows[bit];
    return std::unique_ptr<Record>(row.newRecord ? row.newRecord() : nullptr);
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

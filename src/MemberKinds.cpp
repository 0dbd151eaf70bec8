// The member kinds: how a value of each kind is written as text, read from text and from a
// QVariant, compared, defaulted, reset and shown.

#include "MemberKinds.h"
#include "Numbers.h"

#include "ReadContext.h"
#include "ReadText.h"
#include "RecordStorage.h"
#include "RecordText.h"

#include <QDateTime>
#include <QMetaType>

#include <cmath>
#include <cstring>
#include <limits>

namespace KVT317XML {

namespace {

// ---- QVariant in ----------------------------------------------------------------------

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

// ---- The public half, by kind -----------------------------------------------------------

template <class T> QVariant ToVariant(const void* value)
{
    return QVariant(*static_cast<const T*>(value));
}

template <class T> bool Equal(const void* a, const void* b)
{
    return *static_cast<const T*>(a) == *static_cast<const T*>(b);
}

QString AsItStands(const QString& text)
{
    return text;
}

FindingKind Said(const read::TextFinding& finding, QString* message)
{
    if (message)
        *message = finding.message;
    return finding.kind;
}

// Whole numbers.
QString IntegerText(const MemberDescription&, const void* value)
{
    return text::Integer(*static_cast<const int*>(value));
}
bool IntegerFromText(const MemberDescription&, const QString& text, void* value)
{
    bool read = false;
    *static_cast<int*>(value) = text.toInt(&read, 10);
    return read;
}
FindingKind IntegerCheck(const MemberDescription& member, const QString& text, QString* message)
{
    bool read = false;
    text.toInt(&read, 10);
    return read ? FindingKind::Report : Said(read::WholeNumberNotRead(member, text), message);
}
// A whole number within int's range, from any number that is one.
bool IntegerFromVariant(const QVariant& given, void* value)
{
    double number = 0.0;
    if (!ExactNumber(given, number) ||
        !(number >= std::numeric_limits<int>::min() && number <= std::numeric_limits<int>::max()) ||
        std::trunc(number) != number)
        return false;
    *static_cast<int*>(value) = static_cast<int>(number);
    return true;
}

// float and double: fixed-point texts with the member's decimals.
template <class T> QString NumberText(const MemberDescription& member, const void* value)
{
    return text::Number(static_cast<double>(*static_cast<const T*>(value)), member);
}
template <class T> T ReadNumber(const QString& text, bool* read)
{
    if constexpr (std::is_same_v<T, float>)
        return REPORTGENERATOR::Numbers::ToFloat(text, read);
    else
        return REPORTGENERATOR::Numbers::ToDouble(text, read);
}
template <class T> bool NumberFromText(const MemberDescription&, const QString& text, void* value)
{
    bool read = false;
    *static_cast<T*>(value) = ReadNumber<T>(text, &read);
    return read;
}
template <class T>
FindingKind NumberCheck(const MemberDescription& member, const QString& text, QString* message)
{
    bool read = false;
    const T value = ReadNumber<T>(text, &read);
    return Said(read::NumberFinding(member, text, read, value), message);
}
template <class T> bool NumberFromVariant(const QVariant& given, void* value)
{
    T number = 0;
    if (!ExactNumber(given, number))
        return false;
    *static_cast<T*>(value) = number;
    return true;
}

// Texts.
QString TextText(const MemberDescription&, const void* value)
{
    return *static_cast<const QString*>(value);
}
bool TextFromText(const MemberDescription&, const QString& text, void* value)
{
    *static_cast<QString*>(value) = text;
    return true;
}
FindingKind TextCheck(const MemberDescription&, const QString&, QString*)
{
    return FindingKind::Report;
}
// A QString as it stands (null included), a QChar, or a `char` that is an ASCII character
// (any other byte is a piece of some encoding, not a character).
bool TextFromVariant(const QVariant& given, void* value)
{
    QString& result = *static_cast<QString*>(value);
    switch (given.userType()) {
    case QMetaType::QString:
        result = given.toString();
        return true;
    case QMetaType::QChar:
        result = QString(given.toChar());
        return true;
    case QMetaType::Char: {
        const char c = given.value<char>();
        if (static_cast<unsigned char>(c) > 0x7F)
            return false;
        result = QString(QLatin1Char(c));
        return true;
    }
    default:
        return false;
    }
}
QString ShownText(const QString& text)
{
    return text.isNull()    ? QStringLiteral("(null)")
           : text.isEmpty() ? QStringLiteral("\"\"")
                            : text;
}

// Date-times.
QString DateTimeText(const MemberDescription&, const void* value)
{
    return REPORTGENERATOR::Converters::ToString(*static_cast<const QDateTime*>(value));
}
bool DateTimeFromText(const MemberDescription&, const QString& text, void* value)
{
    QDateTime& result = *static_cast<QDateTime*>(value);
    result = REPORTGENERATOR::Converters::ToDateTime(text);
    return !result.isNull();
}
FindingKind DateTimeCheck(const MemberDescription& member, const QString& text, QString* message)
{
    if (!REPORTGENERATOR::Converters::ToDateTime(text).isNull())
        return FindingKind::Report;
    return Said(read::DateTimeNotRead(member, text), message);
}
bool DateTimeFromVariant(const QVariant& given, void* value)
{
    if (given.userType() != QMetaType::QDateTime)
        return false;
    *static_cast<QDateTime*>(value) = given.toDateTime();
    return true;
}
QString ShownDateTime(const QString& text)
{
    return text.isEmpty() ? QStringLiteral("(none)") : text;
}

// Enumerations: the enumerator's name travels. Their values are held as their own types,
// all with int as underlying type, and read as int.
int Enumerator(const void* value)
{
    int enumerator;
    std::memcpy(&enumerator, value, sizeof enumerator);
    return enumerator;
}
QString EnumerationText(const MemberDescription& member, const void* value)
{
    return text::EnumName(member, Enumerator(value));
}
QVariant EnumerationVariant(const void* value)
{
    return QVariant(Enumerator(value));
}
bool EnumerationFromText(const MemberDescription& member, const QString& text, void* value)
{
    const int index = member.enumeration->names.indexOf(text);
    *static_cast<int*>(value) = index;
    return index >= 0;
}
FindingKind EnumerationCheck(const MemberDescription& member, const QString& text, QString* message)
{
    if (member.enumeration->names.contains(text))
        return FindingKind::Report;
    return Said(read::UnknownName(member, text), message);
}
QString ShownEnumeration(const QString& text)
{
    return text.isNull() ? QStringLiteral("(invalid)") : text;
}

} // namespace

// In the order of MemberKind; constant, so that records built while the library loads find
// it filled.
extern const MemberKindOperations kKindOperations[] = {
    {MemberKind::Integer, "whole number", true, false, false, false, true,
     "a whole number of 32 bits", &IntegerText, &IntegerFromText, &IntegerCheck, &ToVariant<int>,
     &IntegerFromVariant, &Equal<int>, &AsItStands},
    {MemberKind::Float, "number", true, false, false, false, false, "a number the member can hold",
     &NumberText<float>, &NumberFromText<float>, &NumberCheck<float>, &ToVariant<float>,
     &NumberFromVariant<float>, &Equal<float>, &AsItStands},
    {MemberKind::Double, "number", true, false, false, false, false, "a number the member can hold",
     &NumberText<double>, &NumberFromText<double>, &NumberCheck<double>, &ToVariant<double>,
     &NumberFromVariant<double>, &Equal<double>, &AsItStands},
    {MemberKind::Text, "text", false, true, false, false, false, nullptr, &TextText, &TextFromText,
     &TextCheck, &ToVariant<QString>, &TextFromVariant, &Equal<QString>, &ShownText},
    {MemberKind::DateTime, "date-time", false, false, false, false, false,
     "a date-time of the form yyyy-MM-ddThh:mm:ss,zzzZ", &DateTimeText, &DateTimeFromText,
     &DateTimeCheck, &ToVariant<QDateTime>, &DateTimeFromVariant, &Equal<QDateTime>,
     &ShownDateTime},
    {MemberKind::Enumeration, "enumeration", false, false, false, false, false, nullptr,
     &EnumerationText, &EnumerationFromText, &EnumerationCheck, &EnumerationVariant,
     &IntegerFromVariant, &Equal<int>, &ShownEnumeration},
    {MemberKind::Record, "record", false, false, true, false, false, nullptr, nullptr, nullptr,
     nullptr, nullptr, nullptr, nullptr, nullptr},
    {MemberKind::RecordList, "list", false, false, false, true, false, nullptr, nullptr, nullptr,
     nullptr, nullptr, nullptr, nullptr, nullptr},
};

const MemberKindOperations& KindOperations(MemberKind kind)
{
    return kKindOperations[static_cast<int>(kind)];
}

} // namespace KVT317XML

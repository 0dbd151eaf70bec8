#pragma once

// The accessor family of the record pattern, defined once per member kind. X##Bit is the
// member's position in its record's member table.

#include "RecordStorage.h"

#include <QCoreApplication>

// clang-format off

// Construction, copy, assignment, destruction and the class id of a record; Type() is the
// record's member table.
#define KVT317_RECORD_BASICS(Class, Name)                                                      \
    Class::Class() : Record(Type(), QStringLiteral(Name), id) {}                               \
    Class::Class(const Class& other) : Record(other, QStringLiteral(Name), id) {}              \
    Class& Class::operator=(const Class& other) { ShareStorage(other); return *this; }         \
    Class::~Class() = default;                                                                 \
    qint64 Class::GetId() { return id; }                                                      \
    const RecordDescription& Class::Description() { return Type().description; }

// Equality by the member rule: set members equal, unset ones ignored.
#define KVT317_RECORD_EQUALITY(Class)                                                          \
    bool Class::operator==(const Class& other) const { return Equals(other); }                 \
    bool Class::operator!=(const Class& other) const { return !Equals(other); }

// What every member has: set flag, reset, and its per-object default.
#define KVT317_MEMBER_STATE(Class, Type, X)                                                    \
    bool Class::Is##X##Set() const { return IsMemberSet(X##Bit); }                             \
    void Class::Reset##X() { ResetMember(X##Bit); }                                            \
    const Type& Class::GetDefault##X() const { return Default<Type>(X##Bit); }                 \
    void Class::SetDefault##X(const Type& value) { AssignDefault<Type>(X##Bit, value); }

// int, float and double members.
#define KVT317_NUMBER_ACCESSORS(Class, Type, X)                                                \
    KVT317_MEMBER_STATE(Class, Type, X)                                                        \
    Type Class::Get##X() const { return Value<Type>(X##Bit); }                                 \
    void Class::Set##X(Type value) { Assign<Type>(X##Bit, value); }                            \
    bool Class::IsValid##X(const Type&) const { return true; }

// QString members: null texts are reported by the setter and by Check.
#define KVT317_TEXT_ACCESSORS(Class, X)                                                        \
    KVT317_MEMBER_STATE(Class, QString, X)                                                     \
    QString Class::Get##X() { return Value<QString>(X##Bit); }                                 \
    QString Class::Get##X() const { return Value<QString>(X##Bit); }                           \
    void Class::Set##X(QString value) { AssignText(X##Bit, value); }                           \
    bool Class::IsValid##X(const QString& value) const { return !value.isNull(); }

// QDateTime and child record members: the non-const getter marks the member set.
#define KVT317_OBJECT_ACCESSORS(Class, Type, X)                                                \
    KVT317_MEMBER_STATE(Class, Type, X)                                                        \
    Type& Class::Get##X() { return MutableValue<Type>(X##Bit); }                               \
    const Type& Class::Get##X() const { return Value<Type>(X##Bit); }                          \
    void Class::Set##X(const Type& value) { Assign<Type>(X##Bit, value); }                     \
    bool Class::IsValid##X(const Type&) const { return true; }

// Enumeration members: the plain family plus invalid marker and name conversions. The
// enumeration type carries the member's name.
#define KVT317_ENUM_ACCESSORS(Class, X)                                                        \
    KVT317_MEMBER_STATE(Class, Class::X, X)                                                         \
    const Class::X& Class::Get##X() const { return Value<X>(X##Bit); }                         \
    void Class::Set##X(const X& value) { AssignEnum(X##Bit, value); }                          \
    bool Class::IsValid##X(const X& value) const { return IsValidEnum(X##Bit, value); }        \
    const Class::X& Class::GetInvalid##X() const { return Invalid<X>(X##Bit); }                \
    void Class::SetInvalid##X(const X& value) { AssignInvalid<X>(X##Bit, value); }             \
    QString Class::X##ToName(const X& value) const { return EnumName(X##Bit, value); }         \
    Class::X Class::NameTo##X(const QString& name) const { return static_cast<X>(EnumIndex(X##Bit, name)); } \
    QString Class::Get##X##AsString() const { return EnumName(X##Bit, Get##X()); }

// The static name list and its display form, each name passed through Translate (a
// function of one const char*), for enumerations without values.
#define KVT317_ENUM_NAME_LISTS(Class, X, Table, Translate)                                     \
    QStringList Class::Get##X##s() { return Table().names; }                                   \
    QStringList Class::GetGUI##X##s()                                                          \
    {                                                                                          \
        QStringList names;                                                                     \
        for (const QString& name : Table().names)                                              \
            names.append(Translate(name.toLatin1().constData()));                              \
        return names;                                                                          \
    }

// Enumerations that stand for physical values: conversions to and from the value, and the
// whole table as a list of {value, name} pairs.
#define KVT317_ENUM_VALUES(Class, X, Pair, Table)                                              \
    double Class::X##ToValue(const X& value) const { return EnumToValue(X##Bit, value); }      \
    Class::X Class::ValueTo##X(const double& value) const { return static_cast<X>(EnumFromValue(X##Bit, value)); } \
    QList<Class::Pair> Class::Get##X##s()                                                      \
    {                                                                                          \
        QList<Pair> pairs;                                                                     \
        for (int i = 0; i < Table().names.size(); ++i)                                         \
            pairs.append(Pair{Table().values.at(i), Table().names.at(i)});                     \
        return pairs;                                                                          \
    }

// Qt's translation functions of a record class, with the given context.
#define KVT317_TRANSLATION_FUNCTIONS(Class, Context)                                           \
    QString Class::tr(const char* text, const char* disambiguation) { return QCoreApplication::translate(Context, text, disambiguation); } \
    QString Class::tr(const char* text, const char* disambiguation, int n) { return QCoreApplication::translate(Context, text, disambiguation, n); } \
    QString Class::trUtf8(const char* text, const char* disambiguation) { return QCoreApplication::translate(Context, text, disambiguation); } \
    QString Class::trUtf8(const char* text, const char* disambiguation, int n) { return QCoreApplication::translate(Context, text, disambiguation, n); }

// clang-format on

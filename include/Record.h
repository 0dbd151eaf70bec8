#pragma once

#include "KVT317XmlExport.h"
#include "RecordDescription.h"

#include <IRGObject.h>

#include <QSharedDataPointer>

namespace KVT317XML {

struct StorageBlock;
struct RecordType;
struct MemberRow;

// The behaviour that every record shares, driven by its member table: lazily created,
// implicitly shared member storage with set and has-default flags, defaults and invalid
// markers; resets; data predicates; equality; checks and reports; the XML and binary forms.
// Concrete records add their typed accessors on top.
//
// Storage is shared between copies until one of them writes; const operations never copy
// it, so a record can be read from several threads at once, as Qt's implicitly shared
// classes can.
class KVT317XML_EXPORT Record : public REPORTGENERATOR::IRGObject
{
public:
    ~Record() override;

    bool HasData() const override;
    void Reset() override;
    void Check(bool noThrow) const override;
    void Check() const override;
    void GetXml(QXmlStreamWriter& writer) const override;
    bool GetBinary(QDataStream& stream, int tag, bool withTag) const override;
    void SetBinary(QDataStream& stream, int length) override;
    void ProcessXml(QXmlStreamReader& reader) override;
    void SetValidate(bool validate) const override;
    void SetLogger(std::shared_ptr<REPORTGENERATOR::Logger> logger) const override;
    void SetObjectType(REPORTGENERATOR::ObjectTypes type) override;

    // Any member holds something.
    bool AnyData() const;
    // The member storage exists.
    bool IsInitialized() const;
    // Reset, then set every member that has a usable default to it.
    void ResetToDefault();

    const RecordDescription& GetDescription() const;

    // Read-only reflection over the member table, for generic tools. `bit` is a member's
    // position in GetDescription().members.
    bool IsMemberSet(int bit) const;
    // The member's current value in its XML text form (empty for child records and lists).
    QString MemberText(int bit) const;
    // The child record of a Record member.
    const Record* Child(int bit) const;
    // The items of a RecordList member.
    int ListSize(int bit) const;
    const Record* ListItem(int bit, int index) const;
    // Equality by the records' own rule; records of different types are unequal.
    bool Equals(const Record& other) const;

protected:
    Record(const RecordType& type, const QString& name, __int64 id);
    // Shares other's storage and takes over its validation switch (not its logger).
    Record(const Record& other, const QString& name, __int64 id);
    // Assignment: shares other's storage; switch and logger stay.
    void ShareStorage(const Record& other);

    void ProcessXmlStartElement(QXmlStreamReader& reader) override;
    std::shared_ptr<const void> SaveState() const override;
    void RestoreState(const std::shared_ptr<const void>& state) override;

    enum class Field { Value, Default, Invalid };

    // Typed access for the accessors of concrete records; T is the member's own type (the
    // item type for a list's default).
    template <class T> const T& Value(int bit) const
    {
        return *static_cast<const T*>(ConstField(bit, Field::Value));
    }
    // For the non-const getters of class-typed members: marks the member set.
    template <class T> T& MutableValue(int bit)
    {
        T& value = *static_cast<T*>(MutableField(bit, Field::Value));
        MarkSet(bit);
        return value;
    }
    template <class T> const T& Default(int bit) const
    {
        return *static_cast<const T*>(ConstField(bit, Field::Default));
    }
    template <class T> const T& Invalid(int bit) const
    {
        return *static_cast<const T*>(ConstField(bit, Field::Invalid));
    }
    template <class T> void Assign(int bit, const T& value)
    {
        *static_cast<T*>(MutableField(bit, Field::Value)) = value;
        MarkSet(bit);
    }
    template <class T> void AssignDefault(int bit, const T& value)
    {
        *static_cast<T*>(MutableField(bit, Field::Default)) = value;
        MarkHasDefault(bit);
    }
    template <class T> void AssignInvalid(int bit, const T& value)
    {
        *static_cast<T*>(MutableField(bit, Field::Invalid)) = value;
    }

    // Setters that report before they store.
    void AssignText(int bit, const QString& value);
    void AssignEnum(int bit, int value);

    // Appends a copy of item to a list member, unless validation is on and the item lacks
    // data; an incomplete item is reported either way.
    void Append(int bit, const Record& item);

    void ResetMember(int bit);

    // Enumeration conversions through the member's name table.
    QString EnumName(int bit, int value) const;
    int EnumIndex(int bit, const QString& name) const;
    double EnumToValue(int bit, int value) const;
    int EnumFromValue(int bit, double value) const;
    bool IsValidEnum(int bit, int value) const;

    // Equality that first creates the right-hand record's storage when this record has some.
    bool EqualsCreatingStorage(const Record& other) const;

private:
    friend struct RecordAccess;

    // Storage
    void InitData() const;
    void ConstNoClearReset(StorageBlock& block) const;
    const StorageBlock& ConstStorage() const; // creates, never copies
    StorageBlock& MutableStorage();           // creates, and copies when shared
    const void* ConstField(int bit, Field field) const;
    void* MutableField(int bit, Field field);
    void MarkSet(int bit);
    void MarkHasDefault(int bit);

    // Switch and logger
    void PassDown() const;
    void Settle();
    void HandDown(bool validate, bool logger) const;
    bool ChildrenFollow(bool validate, bool logger) const;

    // Reports
    void Report(REPORTGENERATOR::RGException& exception) const;
    void ReportCheck(const MemberDescription& member, bool noThrow) const;
    void ReportIncomplete(const MemberDescription& member) const;
    void ReportIncompleteAppend(const MemberDescription& member) const;

    // Reading
    void AssignFromText(int bit, const QString& text);
    Record& BeginItem(const MemberRow& row);
    void EndItem(const MemberRow& row, Record& item);
    void ReadListEntry(const MemberRow& row, QDataStream& stream, int payload, qint64& remaining);

    // Writing
    void WriteMemberEntry(QDataStream& stream, const MemberRow& row,
                          const StorageBlock& block) const;

    const RecordType& m_type;
    mutable QSharedDataPointer<StorageBlock> d;
};

} // namespace KVT317XML

template <> KVT317XML::StorageBlock* QSharedDataPointer<KVT317XML::StorageBlock>::clone();

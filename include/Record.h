#pragma once

#include "KVT317XmlExport.h"
#include "RecordDescription.h"

#include <IRGObject.h>

#include <QSharedDataPointer>
#include <QVariant>

#include <memory>

namespace KVT317XML {

struct StorageBlock;
struct RecordType;
struct MemberRow;
struct ReadPosition;
class ReadContext;
class ByteSink;
struct BinaryText;

// Each row of the accessor table below stays within the column limit, so that formatting
// never re-flows the table.
/// @brief The behaviour that every record shares, driven by its member table.
///
/// Lazily created, implicitly shared member storage with set and has-default flags,
/// defaults and invalid markers; resets; data predicates; equality; checks and reports; the
/// XML and binary forms. Concrete records (KVT317_Settings, KVT317SettingsDetail,
/// FrequencyRange, BearingSettings) add their typed accessors on top.
///
/// Storage is shared between copies until one of them writes; const operations never copy
/// it, so a record can be read from several threads at once, as Qt's implicitly shared
/// classes can. A copy takes over the validation switch but not the logger.
///
/// @anchor accessor_pattern
/// ### The accessor pattern
///
/// Every member `X` of a record has the same family of accessors:
///
/// | Accessor | What it does |
/// |---|---|
/// | `GetX()` | The value; while the member is unset, its default. |
/// | `SetX(value)` | Stores the value and marks the member set. |
/// | `IsXSet()` | Whether the member is set. |
/// | `ResetX()` | Marks the member unset and puts its default back. |
/// | `IsValidX(value)` | Whether a value is valid for the member. |
/// | `GetDefaultX()`, `SetDefaultX(value)` | The member's default in this object. |
///
/// SetX() reports a value that is not valid (an enumeration outside its names, a null text)
/// before it stores it: as WARNING, and stores it all the same, with validation off; with
/// validation on it raises. A member with a default is set to it by ResetToDefault().
///
/// An enumerated member adds `GetInvalidX()` and `SetInvalidX()` (the value that
/// `NameToX()` gives for an unknown name, -1 unless changed), `XToName(value)` and
/// `NameToX(name)` (exact, case-sensitive), `GetXAsString()` (the name of the current
/// value), the static list of names `GetXs()` (position = value) and, for names that are
/// shown to users, `GetGUIXs()` (the names through `tr`). A bandwidth adds `XToValue()` and
/// `ValueToX()` (hertz). A member that is itself a class (a child record, a date-time) has a
/// non-const `GetX()` that returns a reference for editing in place and marks the member set.
///
/// Required members are written to XML and binary whether set or not (an unset one with its
/// current value); optional members only when set. HasData() tells whether every required
/// member is set, Check() reports each one that is not.
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
    /// Whole documents are read through the library's own tokenizer where it takes them,
    /// with exactly the outcome of reading them with QXmlStreamReader.
    bool SetXmlString(const QString& xml, bool reset) override;
    using REPORTGENERATOR::IRGObject::LoadXml;
    bool LoadXml(QFile* file) override;
    void SetValidate(bool validate) const override;
    void SetLogger(std::shared_ptr<REPORTGENERATOR::Logger> logger) const override;
    void SetObjectType(REPORTGENERATOR::ObjectTypes type) override;

    /// Whether any member holds something.
    bool AnyData() const;
    /// Whether the member storage exists; it is created by the first access.
    bool IsInitialized() const;
    /// Reset(), then sets every member that has a usable default to it.
    void ResetToDefault();

    /// The record's member table.
    const RecordDescription& GetDescription() const;

    /// @name Reflection
    /// Read-only access to the members through the member table, for generic tools such as
    /// printing (see RecordDebug.h). `bit` is a member's position in
    /// GetDescription().members.
    ///@{

    /// Whether the member is set.
    bool IsMemberSet(int bit) const;
    /// The member's current value in its XML text form (empty for child records and lists).
    QString MemberText(int bit) const;
    /// The child record of a Record member.
    const Record* Child(int bit) const;
    /// The number of items of a RecordList member.
    int ListSize(int bit) const;
    /// An item of a RecordList member.
    const Record* ListItem(int bit, int index) const;
    /// Equality by the records' own rule; records of different types are unequal.
    bool Equals(const Record& other) const;
    /// The member's current value as a QVariant of its natural type: int for whole numbers
    /// and enumerations (the enumerator), float, double, QString, QDateTime. An invalid
    /// QVariant for child records and lists (see Child() and ListItem()).
    QVariant MemberValue(int bit) const;
    /// The member's per-object default, as MemberValue() gives values.
    QVariant MemberDefault(int bit) const;
    ///@}

    /// @name Writing members by description
    /// Any member set, reset or edited through the member table, with exactly the checks,
    /// reports and raising of the typed accessors (SetX(), ResetX(), the list's append).
    /// Generic programs (the kvt317 tool, item models, editors) write records with these.
    ///@{

    /// Sets the member from its text form, converted as XML reading converts it: whole
    /// numbers and numbers through Qt's conversions (a text that does not read gives 0),
    /// enumerations by name (an unknown name gives the invalid marker, which the setter
    /// reports), texts as they stand, date-times in the form "yyyy-MM-ddThh:mm:ss,zzzZ".
    /// While a ReadObserver listens it receives what the conversion takes in silence, as
    /// findings of kinds NumberNotRead, UnknownName, ... Child records and lists are left
    /// alone.
    void SetMemberText(int bit, const QString& text);
    /// Sets the member from a QVariant whose value converts to the member's type without
    /// loss: for numbers and enumerations (by enumerator) a value of any integer or
    /// floating-point type (`long` 9, a `qlonglong` within int's range, 2.0 for a whole
    /// number), for texts a QString, a QChar or an ASCII `char`. Returns false, changing
    /// nothing, for a value that would lose (1.5 or an out-of-range number for a whole number,
    /// 0.1 as a double for a float), for texts given to numbers or numbers to texts, for
    /// bool, and for child records and lists.
    bool SetMemberValue(int bit, const QVariant& value);
    /// Marks the member unset and puts its default back, as ResetX() does.
    void ResetMember(int bit);
    /// The child record of a Record member, for editing in place; marks the member set, as
    /// the child's non-const getter does. Null for other members.
    Record* MutableChild(int bit);
    /// An item of a RecordList member, for editing in place; marks the list set, as the
    /// list's non-const getter does. Null for other members and positions outside the list.
    Record* MutableListItem(int bit, int index);
    /// A new record of the type a Record or RecordList member holds; null for other members.
    std::unique_ptr<Record> NewMemberRecord(int bit) const;
    /// Inserts a copy of @p item before position @p index (0 to the list's size) of a
    /// RecordList member, under the rule of the list's append: an incomplete item is
    /// reported, and with validation on it is not inserted and the report raises. Returns
    /// whether the item is in the list.
    bool InsertListItem(int bit, int index, const Record& item);
    /// InsertListItem() at the end of the list.
    bool AppendListItem(int bit, const Record& item);
    /// Removes the item at @p index of a RecordList member; false when there is none.
    bool RemoveListItem(int bit, int index);
    /// Moves the item at @p from of a RecordList member to position @p to (both within the
    /// list), the items between shifting by one; false when either is outside the list.
    bool MoveListItem(int bit, int from, int to);
    ///@}

protected:
    /// A record of the given member table, object name and class id.
    Record(const RecordType& type, const QString& name, qint64 id);
    /// Shares other's storage and takes over its validation switch (not its logger).
    Record(const Record& other, const QString& name, qint64 id);
    /// Assignment: shares other's storage; switch and logger stay.
    void ShareStorage(const Record& other);

    void ProcessXmlStartElement(QXmlStreamReader& reader) override;
    std::shared_ptr<const void> SaveState() const override;
    void RestoreState(const std::shared_ptr<const void>& state) override;

    /// Which of a member's fields to reach.
    enum class Field {
        Value,   ///< the current value
        Default, ///< the default
        Invalid  ///< the invalid marker of an enumeration
    };

    /// @name Typed access for the accessors of concrete records
    /// `T` is the member's own type (the item type for a list's default).
    ///@{

    /// The member's current value.
    template <class T> const T& Value(int bit) const
    {
        return *static_cast<const T*>(ConstField(bit, Field::Value));
    }
    /// For the non-const getters of class-typed members: marks the member set.
    template <class T> T& MutableValue(int bit)
    {
        T& value = *static_cast<T*>(LendField(bit));
        MarkSet(bit);
        return value;
    }
    /// The member's default.
    template <class T> const T& Default(int bit) const
    {
        return *static_cast<const T*>(ConstField(bit, Field::Default));
    }
    /// The member's invalid marker.
    template <class T> const T& Invalid(int bit) const
    {
        return *static_cast<const T*>(ConstField(bit, Field::Invalid));
    }
    /// Stores a value and marks the member set.
    template <class T> void Assign(int bit, const T& value)
    {
        *static_cast<T*>(MutableField(bit, Field::Value)) = value;
        MarkSet(bit);
    }
    /// Stores a default and marks the member as having one.
    template <class T> void AssignDefault(int bit, const T& value)
    {
        *static_cast<T*>(MutableField(bit, Field::Default)) = value;
        MarkHasDefault(bit);
    }
    /// Stores an invalid marker.
    template <class T> void AssignInvalid(int bit, const T& value)
    {
        *static_cast<T*>(MutableField(bit, Field::Invalid)) = value;
    }

    /// Stores a text, reporting a null one first.
    void AssignText(int bit, const QString& value);
    /// Stores an enumeration value, reporting one outside the names first.
    void AssignEnum(int bit, int value);

    /// Appends a copy of item to a list member, unless validation is on and the item lacks
    /// data; an incomplete item is reported either way.
    void Append(int bit, const Record& item);

    ///@}

    /// @name Enumeration conversions through the member's name table
    ///@{

    /// The name of a value, or a null text outside the names.
    QString EnumName(int bit, int value) const;
    /// The value of an exact name, or the member's invalid marker.
    int EnumIndex(int bit, const QString& name) const;
    /// The hertz of a value, or 0.0 outside the table.
    double EnumToValue(int bit, int value) const;
    /// The value of exactly these hertz, or the member's invalid marker.
    int EnumFromValue(int bit, double value) const;
    /// Whether a value is inside the names.
    bool IsValidEnum(int bit, int value) const;
    ///@}

    /// Equality that first creates the right-hand record's storage when this record has some.
    bool EqualsCreatingStorage(const Record& other) const;

private:
    friend struct RecordAccess;
    friend struct RecordXmlReading;
    friend struct RecordXmlWriting;

    // Storage
    bool HasStorage() const;
    void InitData() const;
    void ConstNoClearReset(StorageBlock& block) const;
    const StorageBlock& ConstStorage() const; // creates, never copies
    StorageBlock& MutableStorage();           // creates, and copies when shared
    const void* ConstField(int bit, Field field) const;
    void* MutableField(int bit, Field field);
    void* LendField(int bit); // a value the caller keeps a reference to
    QSharedDataPointer<StorageBlock> CopyOf(const StorageBlock& source,
                                            bool snapshot = false) const;
    void ShareOrCopy(const QSharedDataPointer<StorageBlock>& source);
    void MarkSet(int bit);
    void MarkHasDefault(int bit);

    // Switch and logger. The records a record holds read its switch and logger without
    // holding them: `m_down` tells, per setting, whether they read the record's own
    // (pending: their objects may still hold another) or already hold it. A held record
    // takes them into its object only when a reference to it is handed out.
    enum : quint8 { DownValidate = 1, DownLogger = 2, DownBoth = 3 };
    struct Down {
        quint8 pending = 0; // the held records read this record's own setting
        quint8 held = 0;    // the held records hold heldValidate / heldLogger
        bool heldValidate = false;
        const REPORTGENERATOR::Logger* heldLogger = nullptr;
    };
    void PassDown() const; // the held records read this record's switch and logger
    void MarkPending() const;
    void Settle(); // the same, and they hold them: for writing operations
    void Follow() const;
    void SettleChildren(bool deep) const; // before a held record is handed out
    bool OwnsChildren() const;
    bool HoldAlready(quint8 settings) const;
    void Held(quint8 settings) const;
    void FollowSharedStorage(const Record& other, bool fresh = false);
    using HeldScope = REPORTGENERATOR::Operation::HeldScope;
    HeldScope Reporting(REPORTGENERATOR::Operation& operation, const Record& held) const
    {
        return HeldScope(operation, held, GetValidate(), ReportLogger());
    }
    // Whether a held record holds the switch and logger this record reports with now
    // (@p validate, @p logger): then it reports with its own, and a call into it needs no
    // held scope.
    static bool HoldsSettings(const Record& held, bool validate,
                              const REPORTGENERATOR::Logger* logger)
    {
        return held.CurrentValidate() == validate && held.CurrentLogger() == logger;
    }

    // Reports
    void Report(REPORTGENERATOR::RGException& exception) const;
    void ReportCheck(const MemberDescription& member, bool noThrow) const;
    void CheckIn(REPORTGENERATOR::Operation& operation, bool noThrow) const;
    void CheckHeld(REPORTGENERATOR::Operation& operation, const MemberDescription& member, int item,
                   const Record& child, bool noThrow, bool validate,
                   const std::shared_ptr<REPORTGENERATOR::Logger>& logger) const;
    void ReportIncomplete(REPORTGENERATOR::Operation& operation,
                          const MemberDescription& member) const;
    void ReportIncompleteAppend(ReadContext* context, const MemberDescription& member,
                                int item) const;
    void ReportUnwritable(REPORTGENERATOR::Operation& operation, const MemberDescription& member,
                          const QString& text) const;

    // Reading
    void AssignFromText(int bit, const QString& text);
    void AssignFromText(int bit, const QString& text, ReadContext* context);
    Record& BeginItem(const MemberRow& row);
    void EndItem(const MemberRow& row, Record& item, ReadContext* context);
    bool AssignFromBytes(const MemberRow& row, const BinaryText& bytes);
    // Over the bytes of a document in memory or over a stream (src/BinaryInput.h).
    template <class Input>
    void ReadFrame(REPORTGENERATOR::Operation& operation, Input& input, int length);
    template <class Input>
    void ReadList(REPORTGENERATOR::Operation& operation, const MemberRow& row, Input& input,
                  int payload, qint64& remaining);
    void ObserveText(ReadContext& context, const MemberDescription& member, const ReadPosition& at,
                     quint32 tag, qint32 payload, const QByteArray& bytes,
                     const QString& text) const;

    // Writing
    void GetXmlIn(REPORTGENERATOR::Operation& operation, QXmlStreamWriter& writer) const;
    bool WriteFrame(REPORTGENERATOR::Operation& operation, ByteSink& sink, int tag,
                    bool withTag) const;
    void WriteMemberEntry(REPORTGENERATOR::Operation& operation, ByteSink& sink,
                          const MemberRow& row, const StorageBlock& block) const;

    const RecordType& m_type;
    mutable QSharedDataPointer<StorageBlock> d;
    mutable Down m_down;
};

} // namespace KVT317XML

/// @cond
template <> KVT317XML::StorageBlock* QSharedDataPointer<KVT317XML::StorageBlock>::clone();
/// @endcond

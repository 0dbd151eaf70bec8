#pragma once

#include "KVT317XmlExport.h"

#include <IRGObject.h>

#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVector>

#include <memory>
#include <vector>

namespace KVT317XML {

/// How a member's value is held, and so how it travels in XML and in the binary form
/// (docs/binary-format.md).
enum class MemberKind {
    Integer,     ///< 32-bit int; decimal text, 64-bit integer payload
    Float,       ///< float; fixed-point text
    Double,      ///< double; fixed-point text
    Text,        ///< QString
    DateTime,    ///< QDateTime; "yyyy-MM-ddThh:mm:ss,zzzZ"
    Enumeration, ///< named values; the name travels, never the number
    Record,      ///< a nested record with a frame of its own
    RecordList   ///< an ordered list of nested records
};

/// The names (and, for bandwidths, the values in hertz) of one enumeration, in enumerator
/// order: enumerator i is names[i].
struct EnumerationDescription {
    QStringList names;      ///< the names, in enumerator order
    QVector<double> values; ///< empty unless the enumeration stands for physical values
};

struct RecordDescription;
struct MemberDescription;
class Record;
enum class FindingKind;

/// @brief What the library does with a value of one member kind: one entry per MemberKind,
/// shared by the library's readers, writers and checks and by generic programs (the kvt317
/// tool, item models, editors). Every member points to its kind's entry
/// (MemberDescription::operations); KindOperations() gives it by kind.
///
/// `value` arguments point to a value of the kind's own type: `int` for Integer and
/// Enumeration (the enumerator), `float`, `double`, `QString`, `QDateTime`. The functions are
/// null for Record and RecordList, whose values are records.
struct KVT317XML_EXPORT MemberKindOperations {
    MemberKind kind; ///< the kind this entry is for
    /// The kind in words: "whole number", "number", "text", "date-time", "enumeration",
    /// "record", "list".
    const char* name;
    bool number; ///< a number: shown with the member's unit, a JSON number
    bool text;   ///< free text: any string, written as it stands, null included
    bool record; ///< a nested record (MemberDescription::nested())
    bool list;   ///< an ordered list of nested records (MemberDescription::nested())
    /// The binary payload is a 64-bit integer (whole numbers); texts, numbers, names and
    /// date-times travel as UTF-8 text, records and lists as frames.
    bool integerPayload;
    /// What a text of this kind must be to read as written, in words ("a whole number of 32
    /// bits", ...); null for texts, enumerations (their names), records and lists.
    const char* expected;

    /// The value's text form, as XML and the binary form carry it: decimal, fixed-point with
    /// the member's field width and decimals, the enumerator's name (a null text outside the
    /// names), the text itself, "yyyy-MM-ddThh:mm:ss,zzzZ".
    QString (*toText)(const MemberDescription& member, const void* value);
    /// Reads a text into *value as XML reading converts it (a text that does not read gives
    /// 0, the invalid marker -1 or a null date-time); returns whether it read as written.
    bool (*fromText)(const MemberDescription& member, const QString& text, void* value);
    /// What reading a text takes in silence: FindingKind::Report when the text reads as
    /// written, otherwise the finding a ReadObserver receives (NumberNotRead, NumberOverflow,
    /// ExtraDecimals, UnknownName, DateTimeNotRead) with its message in *message.
    FindingKind (*check)(const MemberDescription& member, const QString& text, QString* message);
    /// The value as a QVariant of its natural type (int for enumerations).
    QVariant (*toVariant)(const void* value);
    /// Takes a QVariant whose value converts to the kind's type without loss into *value (see
    /// Record::SetMemberValue()); false, leaving *value alone, for any other.
    bool (*fromVariant)(const QVariant& given, void* value);
    /// Whether two values are equal: numbers exactly, texts and date-times by Qt's equality.
    bool (*equal)(const void* a, const void* b);
    /// How a set member's text (toText()) is shown to people, before any unit: "(null)" and
    /// "\"\"" for a null and an empty text, "(invalid)" for an enumerator outside the names,
    /// "(none)" for a null date-time; otherwise the text itself.
    QString (*shown)(const QString& text);
};

/// The operations of a member kind.
KVT317XML_EXPORT const MemberKindOperations& KindOperations(MemberKind kind);

/// One member of a record, as its record declares it. Read-only: this is the table the
/// library itself works from.
struct MemberDescription {
    int bit = 0;       ///< position in the member order, and of the member's flags
    QString name;      ///< XML element or attribute name; also used in reports
    QString fieldName; ///< value field named in enumeration reports, e.g. "m_dFMode"
    quint32 tag = 0;   ///< binary member tag
    MemberKind kind = MemberKind::Integer; ///< how the value is held and travels
    bool attribute = false;                ///< an XML attribute rather than an element
    bool required = false; ///< needed for HasData() and reported by Check() when unset
    int fieldWidth = 0;    ///< field width of the number text of Float and Double members
    int precision = 0;     ///< decimals of the number text of Float and Double members
    const EnumerationDescription* enumeration = nullptr; ///< names of Enumeration members
    const RecordDescription* (*nested)() = nullptr; ///< item type of Record and RecordList members
    const MemberKindOperations* operations = nullptr; ///< what is done with a value of its kind
    /// The kind in words, with what it holds: "whole number", "number, 2 decimals", "text",
    /// "date-time", "enumeration", "record FrequencyRange", "list of KVT317SettingsDetail".
    QString kindName;
    /// The unit the value is shown in: "Hz" for frequencies and bandwidths, "ms" for times,
    /// "dBµV" and "dB" for levels, "%" and "°"; empty for counts, enumerations, names and
    /// date-times.
    QString unit;
    /// The names of an enumeration as they are shown to users (through the record's
    /// translations); null where they are the names themselves. See DisplayNames().
    QStringList (*displayNames)() = nullptr;
    /// Whether the record declares a default that Record::ResetToDefault() sets the member
    /// to; a fresh record holds it unset.
    bool hasDefault = false;
    /// The declared default, as Record::MemberValue() gives values; without one, the value a
    /// fresh record holds (0, the invalid marker -1, a null text or date-time). Invalid for
    /// records and lists.
    QVariant defaultValue;
    /// The declared default's text form, as XML writes it ("VERT", "10", "88000000.00");
    /// null without one.
    QString defaultText;

    /// Written to XML and binary whether set or not.
    bool AlwaysWritten() const { return required && kind != MemberKind::Record; }
    /// The names of an enumeration member as they are shown to users: displayNames() where
    /// the record has such a list, the names themselves otherwise; empty for other members.
    QStringList DisplayNames() const
    {
        if (displayNames)
            return displayNames();
        return enumeration ? enumeration->names : QStringList();
    }
};

/// A record type: its name, class id and member table, for generic tools (the kvt317 tool,
/// printing with qDebug) and for the library itself.
struct KVT317XML_EXPORT RecordDescription {
    QString name;                           ///< object name and XML element name
    qint64 id = 0;                          ///< class id; its low 32 bits tag binary frames
    std::vector<MemberDescription> members; ///< in member order
    /// The bits of the members in the order XML and binary carry them: attributes first,
    /// then the others, each in member order.
    std::vector<int> writeOrder;
    Record* (*make)() = nullptr;              ///< a new record of this type (see NewRecord())
    Record* (*copy)(const Record&) = nullptr; ///< a copy of a record of this type (CopyRecord())

    /// The member with this binary tag, or null.
    const MemberDescription* FindTag(quint32 tag) const;
    /// The member with this XML name, or null.
    const MemberDescription* FindName(const QString& memberName) const;
};

/// The descriptions of all document roots and records the library knows.
KVT317XML_EXPORT std::vector<const RecordDescription*> AllRecordDescriptions();

/// A new record of the type a description describes (see Record::GetDescription()).
KVT317XML_EXPORT std::unique_ptr<Record> NewRecord(const RecordDescription& type);

/// A copy of a record of any type: its members, children and lists, sharing its storage until
/// either is written; the copy's switch is the record's, its logger the default.
KVT317XML_EXPORT std::unique_ptr<Record> CopyRecord(const Record& record);

/// The record type whose element is the root of an XML document; null when the text has no
/// root element or one that names no record.
KVT317XML_EXPORT const RecordDescription* XmlDocumentType(const QString& xml);

/// The record type of a binary document, plain or compressed, by its frame's tag; null when
/// the frame cannot be read or its tag names no record.
KVT317XML_EXPORT const RecordDescription* BinaryDocumentType(const QByteArray& document);

} // namespace KVT317XML

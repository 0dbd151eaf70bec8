#pragma once

#include "KVT317XmlExport.h"

#include <IRGObject.h>

#include <QString>
#include <QStringList>
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

    /// Written to XML and binary whether set or not.
    bool AlwaysWritten() const { return required && kind != MemberKind::Record; }
};

/// A record type: its name, class id and member table, for generic tools (the kvt317 tool,
/// printing with qDebug) and for the library itself.
struct KVT317XML_EXPORT RecordDescription {
    QString name;                           ///< object name and XML element name
    qint64 id = 0;                          ///< class id; its low 32 bits tag binary frames
    std::vector<MemberDescription> members; ///< in member order

    /// The member with this binary tag, or null.
    const MemberDescription* FindTag(quint32 tag) const;
    /// The member with this XML name, or null.
    const MemberDescription* FindName(const QString& memberName) const;
};

/// The descriptions of all document roots and records the library knows.
KVT317XML_EXPORT std::vector<const RecordDescription*> AllRecordDescriptions();

class Record;

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

#pragma once

#include "KVT317XmlExport.h"
#include "RecordDescription.h"

#include <LogLevel.h>

#include <QString>
#include <QVector>

#include <functional>
#include <vector>

namespace KVT317XML {

class Record;
class SourcePlaces;

/// What a ReadFinding is about.
enum class FindingKind {
    /// One of the library's own reports (a setter's, an append's, a check's), with its text,
    /// level and order unchanged.
    Report,
    /// The document cannot be read: not well-formed, another root, a damaged frame. The load
    /// fails and leaves the record as it was; the message is the one the logger receives.
    DocumentFault,
    UnknownElement,   ///< an XML element that is no member of its record; skipped
    UnknownAttribute, ///< an XML attribute that is no attribute member; ignored
    UnknownTag,       ///< a binary entry whose tag is no member of its record; skipped
    NumberNotRead,    ///< a number text that does not read in full; stored as 0
    NumberOverflow,   ///< a number text beyond the member's range; stored as 0 or infinity
    UnknownName,      ///< an enumeration name not among the member's names; stored as invalid
    DateTimeNotRead,  ///< a date-time text that does not read; stored as a null date-time
    GivenTwice,       ///< a member given twice in one record; the later one wins
    ExtraDecimals,    ///< more decimals than the member keeps; written back rounded
    InvalidUtf8,      ///< a binary text that is not valid UTF-8; read with U+FFFD
    WholeNumberBeyond32Bits, ///< a binary whole number outside 32 bits; its low 32 bits kept
    NormalisedAttribute,     ///< a tab or line break in an attribute value; XML reads a blank
    Comment,                 ///< an XML comment, which no written form keeps
    ProcessingInstruction,   ///< an XML processing instruction, which no written form keeps
    TextOutsideMembers,      ///< character data between member elements; ignored
    ElementInText,           ///< an element inside a member's text; skipped with its content
    NotXmlCharacter, ///< a binary text holding a character XML cannot carry; no XML is written
    WrongJsonType    ///< a JSON value of a type its member cannot take; ignored
};

/// One step from a document's root to a record inside it: the member of the enclosing
/// record that holds it, and its position when that member is a list.
struct ReadStep {
    int bit = -1;  ///< the enclosing record's member (MemberDescription::bit)
    int item = -1; ///< position in the list, from 0; -1 for a record member
    /// Same member and position.
    bool operator==(const ReadStep& other) const { return bit == other.bit && item == other.item; }
    /// Another member or position.
    bool operator!=(const ReadStep& other) const { return !(*this == other); }
};

/// The steps from the document's root to a record; empty for the root itself.
using ReadPath = QVector<ReadStep>;

/// Where in the input something stands.
struct ReadPosition {
    /// XML: the line, from 1. Binary: 0.
    qint64 line = 0;
    /// XML: the column, from 1, in characters. Binary: 0.
    qint64 column = 0;
    /// Binary: the byte offset from the start of the record frame; in a compressed document
    /// the offset in the inflated frame. XML: the character offset. -1 when not known.
    qint64 offset = -1;

    /// Whether anything is known.
    bool IsKnown() const { return line > 0 || offset >= 0; }
};

/// Something worth saying about a document that was read, or about a record that was checked
/// while an observer was listening.
struct ReadFinding {
    /// ERROR where the value read is not what the input holds or a report is an error;
    /// WARNING where it is kept but changed or ambiguous; INFO for what is merely dropped
    /// (comments, processing instructions).
    REPORTGENERATOR::LogLevel level = REPORTGENERATOR::LogLevel::Error;
    /// What the finding is about.
    FindingKind kind = FindingKind::Report;
    /// The record the finding is in, from the document's root.
    ReadPath path;
    /// That record's type; null where the finding is about no record (a document fault
    /// outside the root, a comment before it).
    const RecordDescription* record = nullptr;
    /// The member the finding is about; null where it is about the record as a whole.
    const MemberDescription* member = nullptr;
    /// Where it stands in the input; unknown for reports made outside reading (a Check()) and
    /// for those of writing (GetXml(), GetBinary() and the saves), which have no input: their
    /// path and member say where they are.
    ReadPosition position;
    /// For Report and DocumentFault the library's message as the logger receives it; for the
    /// others a sentence that names the member and says what was read, for example
    /// "Threshold: 'ten' is not a whole number (read as 0)".
    QString message;
    /// What the input held that the finding is about: the unknown name, the number text, the
    /// comment's text; empty where nothing applies.
    QString text;
};

/// One member, record or binary entry as the input gives it, in input order.
struct ReadEntry {
    /// The member; null for a record's own start (its element or frame) and for an unknown
    /// binary entry.
    const MemberDescription* member = nullptr;
    /// The record the entry belongs to (for a record's own start: that record).
    const RecordDescription* record = nullptr;
    /// Where the entry stands in the input.
    ReadPosition position;
    /// Binary: the entry's tag (for a record's own start, its frame tag where one was read).
    quint32 tag = 0;
    /// Binary: the payload length (for a record's own start, its record length). XML: -1.
    qint64 length = -1;
    /// The member's text as read: the element or attribute text, or the binary payload as
    /// text (a whole number in decimal). Empty for records and lists.
    QString text;
};

/// @brief Receives what a load reads, and what the library says while it does.
///
/// Install one with ObserveReading for the duration of a load (SetXmlString(), LoadXml(),
/// SetBinaryRepresentation(), LoadBinary(), compressed or not), a Check() or a write
/// (GetXml(), GetBinary(), GetXmlString(), SaveXml(), SaveBinary(), the binary
/// representations). Every report the library makes in that time arrives as a finding of kind
/// FindingKind::Report, tied to its record and member and, while reading, to the place it
/// was raised at; the reports
/// still reach the record's logger as always. What the library takes in silence (unknown
/// elements, attributes and tags; number texts that do not read; unknown names; members
/// given twice; ...) arrives as findings of the other kinds.
///
/// Findings arrive in input order, on the thread that loads, while the load runs.
class KVT317XML_EXPORT ReadObserver
{
public:
    virtual ~ReadObserver();

    /// One finding.
    virtual void Found(const ReadFinding& finding) = 0;

    /// One entry of the input, for observers that locate members or list a document's
    /// entries; called only when WantsEntries() is true. @p path leads to the entry's
    /// record.
    virtual void Read(const ReadPath& path, const ReadEntry& entry);
    /// Whether Read() is to be called; false unless overridden.
    virtual bool WantsEntries() const;
};

/// @brief A ReadObserver that keeps every finding, for applications that look at them
/// after the load.
class KVT317XML_EXPORT ReadFindings : public ReadObserver
{
public:
    void Found(const ReadFinding& finding) override;

    /// The findings in the order they arrived.
    const std::vector<ReadFinding>& Findings() const { return m_findings; }
    /// Whether any finding has the level ERROR.
    bool HasErrors() const;
    /// Forgets the findings kept so far.
    void Clear() { m_findings.clear(); }

private:
    std::vector<ReadFinding> m_findings;
};

/// @brief Makes an observer listen to the loads and checks of the calling thread for as long
/// as it lives.
///
/// @code
/// KVT317XML::KVT317_Settings settings;
/// KVT317XML::ReadFindings findings;
/// {
///     KVT317XML::ObserveReading observe(findings);
///     settings.LoadXml(path);
/// }
/// for (const KVT317XML::ReadFinding& finding : findings.Findings())
///     qWarning("%s:%lld:%lld: %s", qPrintable(path), finding.position.line,
///              finding.position.column, qPrintable(finding.message));
/// @endcode
///
/// Scopes nest: the innermost observer listens. Without an observer a load costs what it
/// always did.
class KVT317XML_EXPORT ObserveReading
{
public:
    /// Makes @p observer listen; it must outlive the scope.
    explicit ObserveReading(ReadObserver& observer);
    /// Calls @p found for each finding.
    explicit ObserveReading(std::function<void(const ReadFinding&)> found);
    /// Makes @p observer listen, and has the XML and binary loads of the scope keep in
    /// @p places where each record and member stands (SourcePlaces.h); both must outlive
    /// the scope. One load per SourcePlaces.
    ObserveReading(ReadObserver& observer, SourcePlaces& places);
    /// Ends the listening; the observer before, if any, listens again.
    ~ObserveReading();
    ObserveReading(const ObserveReading&) = delete;
    ObserveReading& operator=(const ObserveReading&) = delete;

private:
    struct Private;
    Private* d;
};

/// The name of a finding kind, for example "unknown-element".
KVT317XML_EXPORT QString FindingKindName(FindingKind kind);

} // namespace KVT317XML

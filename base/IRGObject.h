#pragma once

#include "Converters.h"
#include "LogLevel.h"
#include "Logger.h"
#include "ObjectTypes.h"
#include "Operation.h"
#include "RGException.h"
#include "ReadTap.h"
#include "ReportBaseExport.h"
#include "XmlText.h"

#include <QByteArray>
#include <QDataStream>
#include <QDateTime>
#include <QString>

#include <functional>
#include <memory>

#if !defined(_MSC_VER)
/// The 64-bit integer type of class ids, under its Windows name.
typedef long long __int64;
#endif

class QFile;
class QXmlStreamReader;
class QXmlStreamWriter;

namespace REPORTGENERATOR {

class XmlTokenCursor;
struct Operation;

/// Version of the base library's document formats, as GetVersion() returns it.
inline constexpr char Version[] = "1.0";

/// @brief The record base: everything a record is besides its members, and the
/// whole-document operations that wrap a record's own XML and binary code.
///
/// A record has an object name (its XML element name and the head of its reports), an
/// object type, a class id (the tag of its binary frame), a validation switch and a logger.
/// The records of KVT317Xml derive from it through KVT317XML::Record.
///
/// **Documents.** SetXmlString(), LoadXml(), GetXmlString() and SaveXml() move a record
/// to and from an XML document; SetBinaryRepresentation(), LoadBinary(),
/// GetBinaryRepresentation() and the compressed variants to and from the binary form (see
/// docs/binary-format.md). Reading never clears a record unless the operation says so: input
/// merges into what it holds. The file loads replace.
///
/// **Failure guarantees.** Whole-document loads are all or nothing: when the document itself
/// is faulty (unreadable, not well-formed, another root element, a document type
/// declaration, a frame of another record type, a truncated frame, compressed data that does
/// not inflate) the operation reports one ERROR naming the fault, returns false and leaves
/// the record as it was. Reports of the record's own checks are not document faults: with
/// validation on they raise, the record is put back as it was, and the exception passes out
/// of the load unchanged, after the reports made before it. SaveXml() never
/// destroys an existing file.
///
/// **Reports.** Faults in data are reported, not returned: through Trace() to the logger,
/// and with validation on (SetValidate()) also raised as the report's exception
/// (OutOfRangeException, IncompleteDefinitionException, BinaryParsingException).
///
/// **Hostile input.** Compressed documents are inflated only up to MaxInflatedSize(); a
/// larger one is refused before more than that is held. XML of any nesting depth is read
/// with bounded stack: the content loop, the text of member elements (GetTextValue()) and
/// the skip of unknown elements (SkipUnknownElement()) work iteratively.
///
/// The declaration order of the virtual operations is part of the binary interface.
class REPORTBASE_EXPORT IRGObject
{
public:
    /// A record of type ObjectTypes::Undefined, with validation off and the default logger.
    IRGObject();
    /// A record of the given type, with validation off and the default logger.
    explicit IRGObject(ObjectTypes type);
    IRGObject(const IRGObject&) = delete;
    IRGObject& operator=(const IRGObject&) = delete;

    virtual ~IRGObject();
    /// Whether every required member (and required child) is present.
    virtual bool HasData() const = 0;
    /// Marks every member unset and puts the defaults back.
    virtual void Reset() = 0;
    /// Reports every unset required member and every invalid value as ERROR; raises the
    /// first as its exception unless @p noThrow is true.
    virtual void Check(bool noThrow) const = 0;
    /// Check(false): raises at the first fault.
    virtual void Check() const = 0;

    /// @name Generic validity markers
    /// Numbers are invalid when they hold the marker that SetInvalid() writes (NaN for
    /// floating point, the lowest value for signed and the highest for unsigned integers),
    /// texts when null, date-times when not valid. The records of KVT317Xml do not use them.
    ///@{

    /// Whether the value is not the invalid marker of its type.
    virtual bool IsValid(float value) const;
    /// Whether the value is valid: a bool always is.
    virtual bool IsValid(bool value) const;
    /// Whether the value is not the invalid marker of its type.
    virtual bool IsValid(unsigned int value) const;
    /// Whether the value is not the invalid marker of its type.
    virtual bool IsValid(__int64 value) const;
    /// Whether the date-time is valid.
    virtual bool IsValid(const QDateTime& value) const;
    /// Whether the text is not null.
    virtual bool IsValid(const QString& value) const;
    /// Whether the value is not the invalid marker of its type.
    virtual bool IsValid(double value) const;
    /// Whether the value is not the invalid marker of its type.
    virtual bool IsValid(int value) const;
    /// Writes the invalid marker of the value's type.
    virtual void SetInvalid(float& value) const;
    /// Writes the invalid marker of the value's type.
    virtual void SetInvalid(unsigned int& value) const;
    /// Writes the invalid marker of the value's type.
    virtual void SetInvalid(__int64& value) const;
    /// Makes the text null.
    virtual void SetInvalid(QString& value) const;
    /// Writes the invalid marker of the value's type.
    virtual void SetInvalid(double& value) const;
    /// Writes the invalid marker of the value's type.
    virtual void SetInvalid(int& value) const;
    ///@}

    /// Writes the record's element (attributes, member elements, children) at the writer's
    /// position. With validation on, Check() runs first and a record without data writes
    /// nothing.
    virtual void GetXml(QXmlStreamWriter& writer) const = 0;
    /// Writes the record's frame: @p tag first when @p withTag is true, then the record
    /// length and the member entries. Returns false, writing nothing, when validation is on
    /// and the record has no data.
    virtual bool GetBinary(QDataStream& stream, int tag, bool withTag) const = 0;
    /// Reads @p length bytes of member entries into the record (merging); the frame head has
    /// been read already.
    virtual void SetBinary(QDataStream& stream, int length) = 0;

    /// Reads an XML document whose root element is this record's. With @p reset true the
    /// record is Reset() first; otherwise the document merges into the current state.
    /// Returns false, leaving the record as it was, when the document is faulty.
    virtual bool SetXmlString(const QString& xml, bool reset);
    /// Reads one frame (plain or compressed) and merges it into the current state. The byte
    /// array must hold exactly one frame. Returns false, leaving the record as it was, when
    /// the data is faulty.
    virtual bool SetBinaryRepresentation(QByteArray& data);
    /// Reads one frame (plain or compressed) from the stream's current position and merges
    /// it; the stream is left after the frame.
    virtual bool SetBinaryRepresentation(QDataStream& stream);
    /// Merges the set members of a record of the same class into this one; false for a
    /// record of another class.
    virtual bool MergeRGObject(const IRGObject& other);
    /// The type the record was constructed with.
    virtual ObjectTypes GetObjectType() const;
    /// The record's name: its XML element name and the head of its reports.
    virtual const QString& GetObjectName() const;
    /// Reads the content of the record's element; the reader stands on its start element
    /// and is left on its own end element. Every start element inside goes to
    /// ProcessXmlStartElement(). The loop counts the elements it is inside of, so that an
    /// end element carrying the record's name ends it only when it closes the record
    /// itself; it follows SkipUnknownElement() when that stops inside an unknown element.
    virtual void ProcessXml(QXmlStreamReader& reader);
    /// The record as a complete UTF-8 XML document, indented by two blanks. Returned as
    /// written, also when a text holds a character that XML cannot carry: in element text
    /// such a character stands as a character reference (for example "&#1;"), which XML
    /// readers refuse; in an attribute value it is left out (see XmlText).
    virtual QString GetXmlString() const;
    /// Writes one frame: the class id (low 32 bits) as tag, the record length and the
    /// members, big-endian, whatever the stream's own settings. Onto a file (a QFileDevice)
    /// this is a save, and refuses what SaveBinary() refuses: nothing is written, the
    /// stream's status becomes QDataStream::WriteFailed and one ERROR report says why.
    virtual void GetBinaryRepresentation(QDataStream& stream) const;
    /// The frame of GetBinaryRepresentation() as a byte array. Returned as written, as
    /// GetXmlString() is, also when a text holds a character that XML cannot carry: such a
    /// text is reported (ERROR, naming record, member and character), and an unpaired
    /// surrogate, which UTF-8 cannot encode, stands as "?".
    virtual QByteArray GetBinaryRepresentationAsQByteArray() const;
    /// Writes the frame compressed with zlib at @p level (-1 for zlib's default, 0 to 9),
    /// behind a marker that the readers recognise. Onto a file, a save as
    /// GetBinaryRepresentation() is.
    virtual void GetCompressedBinaryRepresentation(QDataStream& stream, int level) const;
    /// The compressed frame of GetCompressedBinaryRepresentation() as a byte array.
    virtual QByteArray GetCompressedBinaryRepresentationAsQByteArray(int level) const;
    /// Loads an XML file. File loads replace: after success the record holds exactly the
    /// file's content; after a failure it is as it was.
    virtual bool LoadXml(const QString& path);
    /// Loads XML from a file, opening it when it is not open. Replaces, as LoadXml(path).
    virtual bool LoadXml(QFile* file);
    /// Loads a binary file (plain or compressed), opening it when it is not open. Replaces,
    /// as LoadXml().
    virtual bool LoadBinary(QFile* file);
    /// Writes GetXmlString() to @p path. Atomic: the target is replaced only once the whole
    /// document was written; on failure an existing file is untouched, and one ERROR report
    /// gives the system's reason. The new file keeps the mode, owner and group of the one it
    /// replaces (see WriteDocumentFile()); where the system does not allow that, a WARNING
    /// report says what changed. A document that holds a character XML cannot carry is not
    /// saved: one ERROR report names the character and its line and column.
    virtual bool SaveXml(const QString& path) const;
    /// Switches validation on or off. With validation on, the first fault raises; with it
    /// off (the default), faults are logged as WARNING and the data is kept. Switch and
    /// logger are stored only when they change: handing down the values already in place
    /// writes nothing, so const operations can run on several threads at once.
    virtual void SetValidate(bool validate) const;
    /// Whether validation is on.
    virtual bool GetValidate() const;
    /// The logger for the record's reports; a null logger silences the record.
    virtual void SetLogger(std::shared_ptr<Logger> logger) const;
    /// Back to the process-wide default logger, Logger::Default().
    virtual void ResetLogger() const;
    /// The version of the document formats, "1.0".
    virtual const QString& GetVersion() const;
    /// Sets the record's object type where the record allows it.
    virtual void SetObjectType(ObjectTypes type) = 0;

protected:
    /// A record of the given type with its object name set, for the constructors of
    /// records, which set both at once.
    IRGObject(ObjectTypes type, const QString& objectName);
    /// The start of a record's copy: @p other's type and switch, the object name, and the
    /// default logger.
    IRGObject(const IRGObject& other, const QString& objectName);

    /// Sets the record's object name; constructors of concrete records call it.
    virtual void SetObjectName(const QString& name);
    /// Called by ProcessXml() for each child start element of the record's element.
    virtual void ProcessXmlStartElement(QXmlStreamReader& reader) = 0;

    /// Transaction hook of the whole-document loads: a cheap snapshot of the record's
    /// members. The base version keeps nothing.
    virtual std::shared_ptr<const void> SaveState() const;
    /// Puts a snapshot of SaveState() back after a document fault or an exception out of a
    /// whole-document load. The base version does nothing.
    virtual void RestoreState(const std::shared_ptr<const void>& state);

public:
    /// The logger the record reports to; null when silenced.
    std::shared_ptr<Logger> GetLogger() const;

    /// Writes the record's binary frame to @p path, compressed at @p level when
    /// @p compressed, as SaveXml() writes XML: atomically, keeping mode, owner and group. What
    /// SaveXml() refuses is refused here too, although the binary form could hold most of
    /// it: a document that holds a text with a character XML cannot carry is not saved, and
    /// one ERROR report names the record, member, character and place, and what a text may
    /// hold (besides the record's own report of the text).
    bool SaveBinary(const QString& path, bool compressed = false, int level = -1) const;

    /// One locked edit of a document file: takes the file's DocumentLock (waiting at most
    /// @p waitMilliseconds for another holder), loads the file (XML, binary or compressed
    /// binary, by its content) in place of what the record holds, calls @p edit, and when
    /// that returns true saves the record in the file's own form (as SaveXml() and
    /// SaveBinary() do; XML in the encoding and with the byte-order mark it had, UTF-16 too,
    /// see DetectDocumentForm()), all before the lock is released. So edits by several programs
    /// through the lock never undo each other. Returns false, writing nothing, when the lock
    /// cannot be taken (one ERROR report names the process that holds it), the file does not
    /// load, @p edit returns false, or the save fails. Exceptions of @p edit and of the
    /// record's reports pass out with the file untouched.
    bool EditFile(const QString& path, const std::function<bool(IRGObject&)>& edit,
                  int waitMilliseconds = 5000);

    /// The plain frame of a binary document, inflated when the document is compressed; a
    /// null array, with the fault in @p fault when given, when it cannot be read. Its first
    /// four bytes are the tag of the record type (the low 32 bits of the class id).
    static QByteArray PlainFrame(const QByteArray& document, QString* fault = nullptr);

    /// Sets the largest size, in bytes, a compressed document may inflate to; 256 MiB unless
    /// changed. A compressed document that would inflate to more is refused with one ERROR
    /// report ("Compressed binary data inflates to more than the limit of N bytes") before
    /// more than 1 MiB of its output is held. Process-wide, and may be changed from any
    /// thread; values are clamped to 0 .. 2^31 - 1 (no frame is longer).
    static void SetMaxInflatedSize(qint64 bytes);
    /// The inflation limit of SetMaxInflatedSize(), in bytes.
    static qint64 MaxInflatedSize();

    /// Consumes the payload of a member entry whose @p tag is unknown. Returns the number of
    /// bytes skipped (@p length), or -1 when the stream ended first or the length is
    /// negative (the stream's status then tells).
    int skipCurrentElement(QDataStream& stream, int length, int tag) const;

protected:
    /// The logger the record reports to now: the holder's while the engine works on the
    /// record for the record that holds it (Operation::HeldScope).
    const std::shared_ptr<Logger>& ReportLogger() const noexcept;
    /// The switch without a virtual call, for comparisons.
    bool CurrentValidate() const noexcept { return m_validate; }
    /// Sets the switch as SetValidate() does, without a virtual call.
    void HoldValidate(bool validate) const noexcept
    {
        if (m_validate != validate)
            m_validate = validate;
    }
    /// Sets the logger as SetLogger() does, without a virtual call.
    void HoldLogger(const std::shared_ptr<Logger>& logger) const
    {
        if (m_logger != logger)
            m_logger = logger;
    }
    /// The logger without taking a reference, for comparisons.
    const Logger* CurrentLogger() const noexcept { return m_logger.get(); }
    /// The record's own logger, whatever it reports to for its holder.
    const std::shared_ptr<Logger>& OwnLogger() const noexcept { return m_logger; }
    /// Writes the exception's message to the logger at @p level.
    void Trace(LogLevel level, const RGException& exception) const;
    /// Writes the message when @p trace is true, then raises the exception when
    /// @p throwException is true.
    void TraceOrThrow(LogLevel level, RGException& exception, bool throwException,
                      bool trace) const;
    /// The text of the element the reader stands on, leaving the reader on the element's
    /// end. Only the element's own text counts: its character data and CDATA sections, in
    /// order, entity references included. Child elements, at any depth, are skipped with
    /// whatever they hold ("<a>x<b>y</b>z</a>" gives "xz"): a member element is a text
    /// element, and its text does not change when something unknown is nested in it. Not on
    /// a start element: a null string, and the reader does not move.
    QString GetTextValue(QXmlStreamReader& reader);
    /// Skips the unknown element the reader stands on, the way records always have: reads
    /// on until a token carries the element's name. Usually that is the element's own end;
    /// a nested element of the same name ends the skip at its start, and what follows is
    /// read as content of the record. Tells ProcessXml() how many elements are left open,
    /// so that the content loop still ends on the record's own end element.
    void SkipUnknownElement(QXmlStreamReader& reader);

    /// @name Whole documents through the library's own tokenizer (internal)
    /// A record class that reads a token cursor as it reads a QXmlStreamReader loads whole
    /// documents through these: the document is tokenized first, and read with
    /// QXmlStreamReader from the start where the tokenizer refuses it. A null @p reading
    /// always reads with QXmlStreamReader.
    ///@{
    /// Reads the element the cursor stands on: the root's own element, or a child's.
    using TokenReading = void (*)(IRGObject& record, XmlTokenCursor& reader);
    /// As SetXmlString(); @p reading reads the root element.
    bool ReadXmlText(const QString& xml, bool reset, TokenReading reading);
    /// As LoadXml(QFile*); @p reading reads the root element.
    bool ReadXmlFile(QFile* file, TokenReading reading);
    /// As ProcessXml(): the content loop, with @p startElement for each child element.
    void ReadContent(XmlTokenCursor& reader, TokenReading startElement);
    QString GetTextValue(XmlTokenCursor& reader);
    void SkipUnknownElement(XmlTokenCursor& reader);
    /// The same within @p operation, which the reading hands on to each child element.
    using OperationReading = void (*)(Operation& operation, IRGObject& record,
                                      XmlTokenCursor& reader);
    void ReadContent(Operation& operation, XmlTokenCursor& reader, OperationReading startElement);
    QString GetTextValue(Operation& operation, XmlTokenCursor& reader);
    void SkipUnknownElement(Operation& operation, XmlTokenCursor& reader);
    ///@}

    /// The record's class id; its low 32 bits are the tag of its binary frame.
    __int64 m_id = 0;

private:
    QByteArray XmlDocument(bool* writerError = nullptr) const;
    bool ReadDocument(bool reset, const ReadTap::Position& where,
                      const std::function<QString()>& read);
    bool ReadXmlDocument(QXmlStreamReader& reader, bool reset);
    bool ReadXmlDocument(XmlTokenCursor& reader, bool reset, TokenReading reading);
    bool ReadBinaryDocument(QDataStream& stream, bool wholeInput, bool reset);
    bool ReadFrame(QDataStream& stream, QString& fault, ReadTap::Position& where);
    // One ERROR naming a fault of the document as a whole, at its place where known.
    void ReportDocumentFault(const QString& message,
                             const ReadTap::Position& where = ReadTap::Position()) const;
    // Sends a message to the logger, or holds it while a document loads.
    void Log(LogLevel level, const QString& message) const;
    // The same, within the operation running.
    void LogWithin(Operation& operation, LogLevel level, const QString& message) const;
    // Writes a whole document to a file; reports why not, and what it could not keep.
    bool WriteFile(const QString& path, const QByteArray& document) const;
    // The XML document for a save to @p target; null, reported, when it cannot be written.
    QByteArray SavedXml(const QString& target) const;
    // The binary document for a save to @p target; null, reported, when a text refuses it.
    QByteArray SavedBinary(const QString& target, bool compressed, int level) const;
    // The document onto a stream; onto a file as a save.
    void WriteBinaryDocument(QDataStream& stream, bool compressed, int level) const;
    // Opens the file unless it is open; reports why when it cannot.
    bool OpenForReading(QFile* file) const;

    QString m_objectName;
    ObjectTypes m_objectType = ObjectTypes::Undefined;
    mutable bool m_validate = false;
    mutable std::shared_ptr<Logger> m_logger;
};

} // namespace REPORTGENERATOR

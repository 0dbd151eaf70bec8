#pragma once

#include "Converters.h"
#include "LogLevel.h"
#include "Logger.h"
#include "ObjectTypes.h"
#include "RGException.h"
#include "ReportBaseExport.h"
#include "XmlText.h"

#include <QByteArray>
#include <QDataStream>
#include <QDateTime>
#include <QString>

#include <functional>
#include <memory>

#if !defined(_MSC_VER)
typedef long long __int64;
#endif

class QFile;
class QXmlStreamReader;
class QXmlStreamWriter;

namespace REPORTGENERATOR {

// Version of the base library's document formats.
inline constexpr char Version[] = "1.0";

// The record base: everything a record is besides its members (object name and type,
// class id, validation switch, logger), and the whole-document operations that wrap a
// record's own XML and binary code.
//
// Whole-document loads are transactional: when the document itself is faulty (unreadable,
// not well-formed, another root element, a document type declaration, a frame of another
// record type, a truncated frame, compressed data that does not inflate) the operation
// reports one ERROR naming the fault, returns false and leaves the record as it was.
// Reports of the record's own checks are not document faults: with validation on they
// raise, and the exception passes out of the load.
//
// Hostile input. Compressed documents are inflated only up to MaxInflatedSize(); a larger
// one is refused before more than that limit is held. XML of any nesting depth is read with
// bounded stack: the content loop, the text of member elements and the skip of unknown
// elements work iteratively. The reports of a load are held compactly (HeldRepeatLimit).
//
// The declaration order of the virtual operations is part of the binary interface.
class REPORTBASE_EXPORT IRGObject
{
public:
    IRGObject();
    explicit IRGObject(ObjectTypes type);
    IRGObject(const IRGObject&) = delete;
    IRGObject& operator=(const IRGObject&) = delete;

    virtual ~IRGObject();
    virtual bool HasData() const = 0;
    virtual void Reset() = 0;
    virtual void Check(bool noThrow) const = 0;
    virtual void Check() const = 0;

    // Generic validity tests: numbers are invalid when they hold the marker SetInvalid
    // writes (NaN for floating point, the lowest value for signed and the highest for
    // unsigned integers), texts when null, date-times when not valid.
    virtual bool IsValid(float value) const;
    virtual bool IsValid(bool value) const;
    virtual bool IsValid(unsigned int value) const;
    virtual bool IsValid(__int64 value) const;
    virtual bool IsValid(const QDateTime& value) const;
    virtual bool IsValid(const QString& value) const;
    virtual bool IsValid(double value) const;
    virtual bool IsValid(int value) const;
    virtual void SetInvalid(float& value) const;
    virtual void SetInvalid(unsigned int& value) const;
    virtual void SetInvalid(__int64& value) const;
    virtual void SetInvalid(QString& value) const;
    virtual void SetInvalid(double& value) const;
    virtual void SetInvalid(int& value) const;

    virtual void GetXml(QXmlStreamWriter& writer) const = 0;
    virtual bool GetBinary(QDataStream& stream, int tag, bool withTag) const = 0;
    virtual void SetBinary(QDataStream& stream, int length) = 0;

    // Reads an XML document whose root element is this record's. With reset true the
    // record is Reset() first; otherwise the document merges into the current state.
    virtual bool SetXmlString(const QString& xml, bool reset);
    // Reads one frame (plain or compressed) and merges it into the current state. The byte
    // array must hold exactly one frame.
    virtual bool SetBinaryRepresentation(QByteArray& data);
    // Reads one frame (plain or compressed) from the stream's current position.
    virtual bool SetBinaryRepresentation(QDataStream& stream);
    // Merges the set members of a record of the same class into this one.
    virtual bool MergeRGObject(const IRGObject& other);
    virtual ObjectTypes GetObjectType() const;
    virtual const QString& GetObjectName() const;
    // Reads the content of the record's element; the reader stands on its start element
    // and is left on its own end element. Every start element inside goes to
    // ProcessXmlStartElement. The loop counts the elements it is inside of, so that an end
    // element carrying the record's name ends it only when it closes the record itself; it
    // follows SkipUnknownElement when that stops inside an unknown element.
    virtual void ProcessXml(QXmlStreamReader& reader);
    // The record as a complete UTF-8 XML document, indented by two blanks. Returned as
    // written, also when a text holds a character that XML cannot carry: in element text
    // such a character stands as a character reference (for example "&#1;"), which XML
    // readers refuse; in an attribute value it is left out (see XmlText).
    virtual QString GetXmlString() const;
    // One frame: the class id (low 32 bits) as tag, the record length and the members.
    virtual void GetBinaryRepresentation(QDataStream& stream) const;
    virtual QByteArray GetBinaryRepresentationAsQByteArray() const;
    // The frame compressed with zlib at the given level (-1 for zlib's default, 0 to 9),
    // behind a marker that the readers recognise.
    virtual void GetCompressedBinaryRepresentation(QDataStream& stream, int level) const;
    virtual QByteArray GetCompressedBinaryRepresentationAsQByteArray(int level) const;
    // File loads replace: after success the record holds exactly the file's content.
    virtual bool LoadXml(const QString& path);
    virtual bool LoadXml(QFile* file);
    virtual bool LoadBinary(QFile* file);
    // Atomic: the target is replaced only once the whole document was written. A document
    // that holds a character XML cannot carry is not saved: one ERROR report names the
    // character and its place, and an existing file is left untouched.
    virtual bool SaveXml(const QString& path) const;
    // Switch and logger are stored only when they change: handing down the values already
    // in place writes nothing, so const operations can run on several threads at once.
    virtual void SetValidate(bool validate) const;
    virtual bool GetValidate() const;
    // A null logger silences the record.
    virtual void SetLogger(std::shared_ptr<Logger> logger) const;
    // Back to the process-wide default logger.
    virtual void ResetLogger() const;
    virtual const QString& GetVersion() const;
    virtual void SetObjectType(ObjectTypes type) = 0;

protected:
    virtual void SetObjectName(const QString& name);
    virtual void ProcessXmlStartElement(QXmlStreamReader& reader) = 0;

    // Transaction hooks of the whole-document loads: SaveState returns a cheap snapshot of
    // the record's members, RestoreState puts it back after a document fault. The base
    // versions keep nothing.
    virtual std::shared_ptr<const void> SaveState() const;
    virtual void RestoreState(const std::shared_ptr<const void>& state);

public:
    std::shared_ptr<Logger> GetLogger() const;

    // The plain frame of a binary document, inflated when the document is compressed; a
    // null array with the fault when it cannot be read. Its first four bytes are the tag of
    // the record type (the low 32 bits of the class id).
    static QByteArray PlainFrame(const QByteArray& document, QString* fault = nullptr);

    // The largest size a compressed document may inflate to, in bytes; 256 MiB unless
    // changed. A compressed document that would inflate to more is refused with one ERROR
    // report, before more than the limit is held in memory. The setting is process-wide and
    // may be changed from any thread; values are clamped to 0 .. 2^31 - 1 (no frame is
    // longer).
    static void SetMaxInflatedSize(qint64 bytes);
    static qint64 MaxInflatedSize();

    // A load holds at most this many reports of one level and text; the further ones are
    // counted, and after the held reports one report at their level says how many of which
    // text were left out: "<n> more reports like this were left out: <text>".
    static constexpr int HeldRepeatLimit = 100;

    // Consumes the payload of a member entry whose tag is unknown. Returns the number of
    // bytes skipped, or -1 when the stream ended first or the length is negative (the
    // stream's status then tells).
    int skipCurrentElement(QDataStream& stream, int length, int tag) const;

protected:
    // Writes the message to the logger at the level.
    void Trace(LogLevel level, const RGException& exception) const;
    // Writes the message when trace is true, then raises it when throwException is true.
    void TraceOrThrow(LogLevel level, RGException& exception, bool throwException,
                      bool trace) const;
    // The text of the element the reader stands on, leaving the reader on the element's
    // end. Only the element's own text counts: its character data and CDATA sections, in
    // order, entity references included. Child elements, at any depth, are skipped with
    // whatever they hold ("<a>x<b>y</b>z</a>" gives "xz"): a member element is a text
    // element, and its text does not change when something unknown is nested in it. Not on
    // a start element: a null string, and the reader does not move.
    QString GetTextValue(QXmlStreamReader& reader);
    // Skips the unknown element the reader stands on, the way records always have: reads on
    // until a token carries the element's name. Usually that is the element's own end; a
    // nested element of the same name ends the skip at its start, and what follows is read
    // as content of the record. Tells ProcessXml how many elements are left open, so that the
    // content loop still ends on the record's own end element.
    void SkipUnknownElement(QXmlStreamReader& reader);

    __int64 m_id = 0;

private:
    QByteArray XmlDocument(bool* writerError = nullptr) const;
    bool ReadDocument(bool reset, const std::function<QString()>& read);
    bool ReadXmlDocument(QXmlStreamReader& reader, bool reset);
    bool ReadBinaryDocument(QDataStream& stream, bool wholeInput, bool reset);
    bool ReadFrame(QDataStream& stream, QString& fault);
    void ReportDocumentFault(const QString& message) const;

    QString m_objectName;
    ObjectTypes m_objectType = ObjectTypes::Undefined;
    mutable bool m_validate = false;
    mutable std::shared_ptr<Logger> m_logger;
};

} // namespace REPORTGENERATOR

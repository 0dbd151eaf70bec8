#pragma once

#include "LogLevel.h"
#include "ReportBaseExport.h"

#include <QString>
#include <QStringView>

class QXmlStreamReader;
class QIODevice;

namespace REPORTGENERATOR {

class XmlTokenCursor;

class IRGObject;
class RGException;

/// @brief Listens to the reading of documents on one thread: the reports made meanwhile,
/// document faults with their place, and the tokens the reading loops pass over.
///
/// A tap listens while it stands in the thread's operation (Operation::tap), where the
/// records' located reading puts itself for the run of a load. That reading builds
/// on it; applications use KVT317XML::ReadObserver instead. Without a tap the reading code
/// costs what it always did: it looks for a tap once per record.
///
/// The tap also keeps where the last token the base read ended, so that the start of the
/// token the reader stands on is known (QXmlStreamReader tells only where a token ends).
class REPORTBASE_EXPORT ReadTap
{
public:
    /// A place in the input: line and column from 1 and the character offset in XML; the
    /// byte offset from the frame's start in binary (line and column 0).
    struct Position {
        qint64 line = 0;    ///< XML: the line, from 1; 0 in binary
        qint64 column = 0;  ///< XML: the column, from 1; 0 in binary
        qint64 offset = -1; ///< character offset (XML) or byte offset (binary); -1 unknown
    };

    /// Where the base passed over a token.
    enum class Passage {
        Document,   ///< before or after the root element
        Content,    ///< between the members of a record
        MemberText, ///< inside a member's text element
        Skipped     ///< inside an unknown element that is being skipped
    };

    ReadTap();
    virtual ~ReadTap();
    ReadTap(const ReadTap&) = delete;
    ReadTap& operator=(const ReadTap&) = delete;

    /// A report that @p source made through Trace(); @p report is the exception that carries
    /// its message.
    virtual void Reported(const IRGObject& source, LogLevel level, const RGException& report) = 0;
    /// A document fault: the load fails with this message, which the logger receives too.
    virtual void DocumentFault(const QString& message, const Position& where) = 0;
    /// A token the reading loops pass over, whichever reader read it.
    struct Token {
        int type = 0; ///< a QXmlStreamReader::TokenType
        QString text; ///< of a comment or character data
        QString name; ///< of an element, or a processing instruction's target
    };
    /// A comment, processing instruction, character data or nested element that the reading
    /// loops pass over; @p where is where it starts.
    virtual void Passed(const Token& token, Passage passage, const Position& where) = 0;

    /// The tap of the calling thread, or null.
    static ReadTap* Current() noexcept;

    /// @name Positions, kept by the base's reading loops
    ///@{

    /// Starts a new XML document: positions count from its beginning.
    void BeginXml(QStringView source);
    /// Reads the next token, first noting where the current one ends.
    void ReadNext(QXmlStreamReader& reader);
    void ReadNext(XmlTokenCursor& reader);
    /// Where the token the reader stands on starts.
    Position TokenStart(const QXmlStreamReader& reader) const;
    Position TokenStart(const XmlTokenCursor& reader) const;
    /// The XML text being read, where the whole of it is at hand; empty otherwise.
    QStringView Source() const { return m_source; }
    /// Binary offsets count from here: where the frame being read starts on its device.
    void SetFrameStart(qint64 offset) { m_frameStart = offset; }
    /// Where a binary stream's device stands, counted from the frame's start; -1 for a
    /// sequential device.
    qint64 BinaryOffset(const QIODevice* device) const;
    ///@}

private:
    template <class Reader> void Next(Reader& reader);
    template <class Reader> Position Start(const Reader& reader) const;

    qint64 m_endLine = 1;
    qint64 m_endColumn = 0;
    qint64 m_endOffset = 0;
    bool m_endedInText = false;
    QStringView m_source;
    qint64 m_frameStart = 0;
};

} // namespace REPORTGENERATOR

#pragma once

#include "KVT317XmlExport.h"
#include "ReadObserver.h"
#include "Record.h"

#include <QByteArray>
#include <QString>

#include <memory>

namespace KVT317XML {

class JsonWriter;

/// @name The JSON form of a document
/// A third whole-document form beside XML and binary, for programs that speak JSON:
/// @code
/// {
///   "KVT317_Settings": {
///     "KVT317SettingsDetail": [
///       {
///         "Name": "VHF airband",
///         ...
/// @endcode
/// One member named after the record type; inside, each set member by name in the order XML
/// and binary carry them (attributes first, then the others, each in member order); numbers
/// as the library's own number text (a JSON number; "nan", "inf" and "-inf" as strings);
/// enumerations by name; texts as strings, a null text as null; date-times in the library's
/// text form; a record as an object; a list as an array. Values are converted as the XML and
/// binary readers convert their texts, so the three forms read alike.
///@{

/// The JSON document of a record, ended by a line feed.
KVT317XML_EXPORT QByteArray WriteJsonDocument(const Record& record);

/// Writes a record's object (without the member naming its type) into @p json, for programs
/// that put records into JSON of their own.
KVT317XML_EXPORT void WriteRecordJson(JsonWriter& json, const Record& record);

/// What ReadJsonDocument() gives back.
struct KVT317XML_EXPORT JsonDocumentRead {
    /// The document, its logger silenced (what the library says while it is built goes to
    /// the observer); null when the text is no document.
    std::unique_ptr<Record> record;
    /// Why the text is no document: QJsonDocument's reason, or that the top level is not an
    /// object naming a record type. Empty when it is one.
    QString fault;
    /// Where the fault stands: its byte offset in @p bytes.
    qint64 faultOffset = 0;
    /// Where the fault stands in the text: line and column from 1, character offset.
    ReadPosition faultPosition;
};

/// @brief Reads the JSON form into a new record of the type it names.
///
/// Every member goes through the record's member table as the XML and binary readers take
/// their texts. @p observer, when given, receives every finding, placed at the line and column
/// of the key it is about (or of the record's object): what the JSON holds that no record
/// can (an unknown key, FindingKind::UnknownElement; a value of the wrong JSON type,
/// FindingKind::WrongJsonType; a key given twice in one object, FindingKind::GivenTwice, of
/// which the later one wins) and the library's own reports while the record is built
/// (FindingKind::Report). When the observer wants entries (ReadObserver::WantsEntries()), it
/// also receives the place of every record and member as the XML reader gives them.
KVT317XML_EXPORT JsonDocumentRead ReadJsonDocument(const QByteArray& bytes,
                                                   ReadObserver* observer = nullptr);

///@}

} // namespace KVT317XML

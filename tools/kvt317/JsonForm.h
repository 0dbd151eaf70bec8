#pragma once

#include "Diagnostics.h"

#include <Record.h>

#include <QByteArray>
#include <QString>

#include <memory>
#include <vector>

class JsonWriter;

// The bits of a record's members in the order XML and binary carry them: attributes
// first, then the others, each in member order.
std::vector<int> WriteOrder(const KVT317XML::RecordDescription& description);

// The JSON form of a document, the tool's own:
//   {"KVT317_Settings": {"KVT317SettingsDetail": [{"Name": "VHF airband", ...}]}}
// One member named after the record type; inside, each set member by name in the order
// XML and binary carry them; numbers as the library's own number text (a JSON number;
// "nan", "inf" and "-inf" as strings); enumerations by name; texts as strings, a null
// text as null; date-times in the library's text form; a record as an object; the list
// as an array.
QByteArray DocumentJson(const KVT317XML::Record& record);
void WriteRecordJson(JsonWriter& json, const KVT317XML::Record& record);

struct JsonRead {
    std::unique_ptr<KVT317XML::Record> record; // null when the text is no document
    QString fault;
    qint64 faultOffset = 0; // byte offset of the fault
};

// Reads the JSON form into a new record, member by member through the member table, as the
// library converts texts. What the JSON holds that no record can (unknown keys, values of
// the wrong kind) and what the library says while the record is built go to `findings`,
// with paths but without places (see Place(), Analysis.h).
JsonRead ReadJsonDocument(const QByteArray& bytes, DiagnosticList& findings);

#pragma once

#include "Document.h"

#include <Record.h>

#include <QByteArray>
#include <QString>

#include <memory>
#include <vector>

class JsonWriter;

// The set members of a record as texts, in a tree that the tool can edit. Each text is
// one the library reads back to the member's value: for numbers the library's own number
// text (or any text it parses to the value), for enumerations the name.
struct Node {
    struct Member {
        int bit = 0;
        QString text; // scalar members; may be null for texts
        std::unique_ptr<Node> child;
        std::vector<Node> items;
    };

    explicit Node(const KVT317XML::RecordDescription& description);

    const KVT317XML::RecordDescription* description;
    std::vector<Member> members; // the set ones, by bit

    Member* Find(int bit);
    const Member* Find(int bit) const;
    // The member, made set if it was not.
    Member& Set(int bit);
    void Unset(int bit);
};

// The bits of a record's members in the order XML and binary carry them: attributes
// first, then the others, each in member order.
std::vector<int> WriteOrder(const KVT317XML::RecordDescription& description);

Node NodeFromRecord(const KVT317XML::Record& record);

// The binary frame of a node, as the library writes frames; a document frame carries the
// record type's tag (the low 32 bits of its class id).
QByteArray EncodeDocument(const Node& node);

// Loads a node into a new record through its binary frame; reports go to the tally.
std::unique_ptr<KVT317XML::Record> RecordFromNode(const Node& node, ReportTally& reports);

// The JSON form of a document:
//   {"KVT317_Settings": {"KVT317SettingsDetail": [{"Name": "VHF airband", ...}]}}
// One member named after the record type; inside, each set member by name in the order
// XML and binary carry them; numbers as the library's own number text (a JSON number;
// "nan", "inf" and "-inf" as strings); enumerations by name; texts as strings, a null
// text as null; date-times in the library's text form; a record as an object; the list
// as an array.
QByteArray DocumentJson(const KVT317XML::Record& record);
void WriteRecordJson(JsonWriter& json, const KVT317XML::Record& record);

struct JsonRead {
    std::unique_ptr<Node> node; // null when the text is no document
    QString fault;
    qint64 faultOffset = 0; // byte offset of the fault
    std::vector<JsonFinding> findings;
};
JsonRead ReadJsonDocument(const QByteArray& bytes);

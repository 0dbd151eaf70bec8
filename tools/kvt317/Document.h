#pragma once

#include "Diagnostics.h"

#include <Record.h>

#include <QByteArray>
#include <QHash>
#include <QPair>
#include <QString>

#include <memory>
#include <utility>
#include <vector>

// The forms a document takes. The JSON form is the tool's own (see Tree.h).
enum class Form { Xml, Json, Binary, Compressed };

QString FormName(Form form); // "XML", "JSON", "binary", "compressed binary"
bool FormFromOption(const QString& text, Form& form);   // xml, json, binary, compressed
bool FormFromFileName(const QString& path, Form& form); // .xml, .json, .bin, .binz

// The library's reports, counted by level and text in the order they first came. A
// million identical reports cost one entry.
class ReportTally
{
public:
    struct Report {
        REPORTGENERATOR::LogLevel level;
        QString message;
        qint64 count;
    };

    void Add(REPORTGENERATOR::LogLevel level, const QString& message);
    // Takes one report of that level and text away; false when there is none left.
    bool Take(REPORTGENERATOR::LogLevel level, const QString& message);
    const std::vector<Report>& Reports() const { return m_reports; }
    bool HasErrors() const;

    // A logger that adds to this tally; it must not outlive the tally.
    std::shared_ptr<REPORTGENERATOR::Logger> Logger();

private:
    QHash<QPair<int, QString>, int> m_index;
    std::vector<Report> m_reports;
};

// A finding of the JSON reader, tied to a record by the steps that lead to it from the
// root: (member bit, item position or -1) per step.
struct JsonFinding {
    std::vector<std::pair<int, int>> steps;
    int bit = -1;
    Level level = Level::Error;
    QString message;
    QString key; // an unknown member's name; null otherwise
};

// One input of the tool: its bytes, its form and record type, and the record the library
// loaded from it with validation off, together with every report the load made.
struct Document {
    QString path;  // "-" for standard input
    QString label; // the path, or "<stdin>"
    QByteArray bytes;
    QString text;     // XML and JSON: the decoded text
    QByteArray frame; // binary forms: the plain frame; JSON: the frame made from it
    Form form = Form::Xml;
    QString type;
    std::unique_ptr<KVT317XML::Record> record;
    ReportTally reports; // the library's reports while loading the whole document
    bool readable = false;
    bool loaded = false;
    QString readError; // why the input could not be read

    // Filled by Analyse() (Analysis.h), and by the loading itself for faults found there.
    DiagnosticList diagnostics;
    // Notes on what no written form keeps: the XML's comments and processing instructions.
    DiagnosticList notes;
    std::unique_ptr<Site> sites;
    std::vector<JsonFinding> jsonFindings;
    Location fault; // where loading failed, when the tool itself found out why
    bool analysed = false;
};

// Reads and loads one input. A file that cannot be read leaves readable false.
std::unique_ptr<Document> LoadDocument(const QString& path);

// A new, empty record of a type the library knows, or null.
std::unique_ptr<KVT317XML::Record> NewRecord(const QString& type);
const KVT317XML::RecordDescription* FindDescription(const QString& type);

// The library's level as the tool's.
Level ToLevel(REPORTGENERATOR::LogLevel level);

// Line and column (from 1) of character offsets in a text.
class LineIndex
{
public:
    LineIndex() = default;
    explicit LineIndex(const QString& text);
    Location At(qint64 offset) const;
    // The offset of a line and column, clamped to the text.
    qint64 Offset(int line, int column) const;

private:
    std::vector<qint64> m_starts;
    qint64 m_size = 0;
};

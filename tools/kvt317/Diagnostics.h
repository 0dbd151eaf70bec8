#pragma once

#include "Json.h"

#include <ReadObserver.h>
#include <Record.h>
#include <RecordDescription.h>

#include <QHash>
#include <QPair>
#include <QString>

#include <functional>
#include <limits>
#include <memory>
#include <vector>

// A place in an input. XML and JSON: line and column from 1, and the character offset.
// Binary: the byte offset in the (inflated) frame, written as line 1, column offset + 1.
struct Location {
    qint64 offset = -1; // -1: not known
    int line = 0;       // 0: not known
    int column = 0;

    bool Known() const { return line > 0; }
    static Location Binary(qint64 offset) { return {offset, 1, static_cast<int>(offset + 1)}; }
};

// A note is not a fault: it says what writing leaves behind that is not part of the settings.
enum class Level { Error, Warning, Note };

struct Diagnostic {
    // What a diagnostic says about writing the document.
    enum class Origin {
        Input,   // the input holds something that writing would change or drop
        Library, // a report of the library itself
        XmlText, // a text that XML cannot carry: refused when XML is written, even forced
        Lint     // a likely slip the library accepts (check only)
    };

    Location where;
    Level level = Level::Error;
    // The record it belongs to, by its path from the document's root; null for the document.
    const KVT317XML::RecordDescription* record = nullptr;
    KVT317XML::ReadPath path;
    int bit = -1; // the member it is about, -1 for the whole record
    QString message;
    Origin origin = Origin::Input;
    qint64 sequence = 0;
    QString key; // JSON: an unknown key of the record, where it stands
    // Once labelled (Label()): the record's path, "KVT317SettingsDetail[2].FrequencyRange"
    // (empty for the document's root), and the same with its item's Name.
    QString pathText;
    QString label;
};

// Fills a diagnostic's path text and label from the record the document was read into.
void Label(Diagnostic& diagnostic, const KVT317XML::Record& root);

// "KVT317SettingsDetail[2].FrequencyRange" for a path from a record of that type.
QString PathText(const KVT317XML::RecordDescription& root, const KVT317XML::ReadPath& path);

// The diagnostics of one input. Identical diagnostics (same level and message) beyond a
// number are counted rather than kept, so that a document with a million faulty items
// costs little memory and prints a readable list; the ones kept are those first in the
// input.
class DiagnosticList
{
public:
    explicit DiagnosticList(int keep = 20);

    // `early` puts a diagnostic without a position before those already added.
    void Add(Diagnostic diagnostic, bool early = false);
    void Add(const Location& where, Level level, const QString& message,
             Diagnostic::Origin origin = Diagnostic::Origin::Input);

    struct Entry {
        const Diagnostic* diagnostic;
        qint64 more; // identical diagnostics after this one that are not listed
    };
    // The kept diagnostics in input order.
    std::vector<Entry> Sorted() const;

    qint64 Count() const { return m_errors + m_warnings; }
    qint64 Errors() const { return m_errors; }
    qint64 Warnings() const { return m_warnings; }
    // Whether any diagnostic of these origins was added.
    bool Any(Diagnostic::Origin origin) const;

    // Calls `visit` with each kept diagnostic, which it may change (its place, its label).
    void ForEachKept(const std::function<void(Diagnostic&)>& visit);

    // Takes another list's diagnostics in, after this one's, with their counts.
    void Absorb(const DiagnosticList& other);

private:
    struct Kind {
        std::vector<Diagnostic> kept;
        std::size_t last = 0; // the kept one latest in input order
        qint64 count = 0;
    };
    int m_keep;
    QHash<QPair<int, QString>, int> m_index;
    std::vector<Kind> m_kinds;
    qint64 m_sequence = 0;
    qint64 m_early = std::numeric_limits<qint64>::min();
    qint64 m_errors = 0;
    qint64 m_warnings = 0;
    qint64 m_origins[4] = {0, 0, 0, 0};
};

QString LevelName(Level level);

class Channel;

// One line of text per diagnostic: FILE:LINE:COLUMN: LEVEL: RECORD: message, and after
// the last one listed of a kind that was cut short, FILE: ... and N more like this. The
// filter, where given, picks the diagnostics to print.
void PrintDiagnostics(Channel& channel, const QString& label, const DiagnosticList& list,
                      const std::function<bool(const Diagnostic&)>& filter = nullptr);

// The diagnostics as JSON objects, into an array the writer has open.
void WriteDiagnosticsJson(JsonWriter& json, const QString& label, const DiagnosticList& list);

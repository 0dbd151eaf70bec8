#pragma once

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

// One record as it stands in an input: where it is and where each of its members was
// given. Sites form the same tree as the records.
struct Site {
    const KVT317XML::RecordDescription* description = nullptr;
    const Site* parent = nullptr;
    int bit = -1;  // the parent's member that holds this record
    int item = -1; // position in the parent's list, from 0; -1 for a record member
    Location where;
    QString name; // its Name where given
    std::vector<Location> members;
    std::vector<std::unique_ptr<Site>> children; // by bit, for record members
    std::vector<std::unique_ptr<Site>> items;    // the items of its list

    // "KVT317SettingsDetail[2].FrequencyRange"; empty for the document's root.
    QString Path() const;
    // The path, with the item's Name where one was given:
    // KVT317SettingsDetail[2].FrequencyRange ("Marine VHF").
    QString Label() const;
    // The site of a record member, made on first use.
    Site& Child(int bit);
    Site& AddItem(int bit);
    void Given(int bit, const Location& where);
    // Where the member was last given, or where the record is.
    Location MemberLocation(int bit) const;
    // This record or one of its record members (at any depth) with that object name; with
    // `lastItem`, the last item of its list is searched too.
    const Site* FindRecord(const QString& objectName, bool lastItem = false) const;
};

// A note is not a fault: it says what writing leaves behind that is not part of the settings.
enum class Level { Error, Warning, Note };

struct Diagnostic {
    // What a diagnostic says about writing the document.
    enum class Origin {
        Input,   // the input holds something that writing would change or drop
        Library, // a report of the library itself
        XmlText  // a text that XML cannot carry: refused when XML is written, even forced
    };

    Location where;
    Level level = Level::Error;
    const Site* site = nullptr; // the record it belongs to; null for the document
    int bit = -1;               // the member it is about, -1 for the whole record
    QString message;
    Origin origin = Origin::Input;
    qint64 sequence = 0;
};

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
    void Add(const Location& where, Level level, const Site* site, int bit, const QString& message,
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
    qint64 m_origins[3] = {0, 0, 0};
};

QString LevelName(Level level);

class Channel;
class JsonWriter;

// One line of text per diagnostic: FILE:LINE:COLUMN: LEVEL: RECORD: message, and after
// the last one listed of a kind that was cut short, FILE: ... and N more like this. The
// filter, where given, picks the diagnostics to print.
void PrintDiagnostics(Channel& channel, const QString& label, const DiagnosticList& list,
                      const std::function<bool(const Diagnostic&)>& filter = nullptr);

// The diagnostics as JSON objects, into an array the writer has open.
void WriteDiagnosticsJson(JsonWriter& json, const QString& label, const DiagnosticList& list);

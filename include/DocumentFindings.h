#pragma once

#include "KVT317XmlExport.h"
#include "ReadObserver.h"
#include "Record.h"
#include "RecordDescription.h"

#include <QHash>
#include <QPair>
#include <QString>

#include <functional>
#include <limits>
#include <vector>

namespace KVT317XML {

/// @brief A place in a document. XML and JSON: line and column from 1, and the character
/// offset. Binary: the byte offset in the (inflated) frame, written as line 1, column
/// offset + 1.
struct KVT317XML_EXPORT FindingPlace {
    qint64 offset = -1; ///< -1: not known
    int line = 0;       ///< 0: not known
    int column = 0;     ///< from 1; 0: not known

    /// Whether the place is known.
    bool Known() const { return line > 0; }
    /// The place of a byte offset in a binary frame.
    static FindingPlace Binary(qint64 offset) { return {offset, 1, static_cast<int>(offset + 1)}; }
    /// The place of a reading position: line and column where the reading counted lines, the
    /// byte offset where it did not.
    static FindingPlace Of(const ReadPosition& position)
    {
        if (position.line > 0)
            return {position.offset, static_cast<int>(position.line),
                    static_cast<int>(position.column)};
        if (position.offset >= 0)
            return Binary(position.offset);
        return FindingPlace();
    }
};

/// How grave a finding is. A note is not a fault: it says what writing leaves behind that is
/// not part of the settings (a comment).
enum class FindingLevel {
    Error,   ///< a fault
    Warning, ///< kept but changed or ambiguous
    Note     ///< dropped by every written form, no fault
};

/// @brief One finding about a document, as `kvt317 check` prints it:
/// `FILE:LINE:COLUMN: LEVEL: LABEL: message`.
struct KVT317XML_EXPORT DocumentFinding {
    /// What a finding says about writing the document.
    enum class Origin {
        Input,   ///< the input holds something that writing would change or drop
        Library, ///< a report of the library itself
        XmlText, ///< a text that XML cannot carry: refused when XML is written, even forced
        Lint     ///< a likely slip the library accepts (check only)
    };

    FindingPlace where;                       ///< where it stands
    FindingLevel level = FindingLevel::Error; ///< how grave it is
    /// The record it belongs to, by its path from the document's root; null for the document.
    const RecordDescription* record = nullptr;
    ReadPath path;                 ///< the steps from the root to that record
    int bit = -1;                  ///< the member it is about, -1 for the whole record
    QString message;               ///< what is found
    Origin origin = Origin::Input; ///< what it says about writing
    qint64 sequence = 0;           ///< the order it was added in, for ties of place
    QString key;                   ///< JSON: an unknown key of the record, where it stands
    /// Once labelled (LabelFinding()): the record's path,
    /// "KVT317SettingsDetail[2].FrequencyRange" (empty for the document's root).
    QString pathText;
    /// The same with its item's Name: "KVT317SettingsDetail[2].FrequencyRange (\"Marine VHF\")".
    QString label;
};

/// Fills a finding's path text and label from the record the document was read into: one
/// label for a record in a finding, for every program.
KVT317XML_EXPORT void LabelFinding(DocumentFinding& finding, const Record& root);

/// "KVT317SettingsDetail[2].FrequencyRange" for a path from a record of that type.
KVT317XML_EXPORT QString RecordPathText(const RecordDescription& root, const ReadPath& path);

/// @brief The findings of one document.
///
/// Identical findings (same level and message) beyond a
/// number are counted rather than kept, so that a document with a million faulty items
/// costs little memory and prints a readable list; the ones kept are those first in the
/// input.
class KVT317XML_EXPORT DocumentFindingList
{
public:
    /// A list that keeps at most @p keep findings of one level and message.
    explicit DocumentFindingList(int keep = 20);

    /// Adds a finding; `early` puts one without a position before those already added.
    void Add(DocumentFinding finding, bool early = false);
    /// Adds a finding of the document as a whole.
    void Add(const FindingPlace& where, FindingLevel level, const QString& message,
             DocumentFinding::Origin origin = DocumentFinding::Origin::Input);

    /// A kept finding and how many like it are only counted.
    struct Entry {
        const DocumentFinding* diagnostic; ///< the finding
        qint64 more; ///< identical findings after this one that are not listed
    };
    /// The kept findings in input order.
    std::vector<Entry> Sorted() const;

    /// Errors and warnings, counted ones included.
    qint64 Count() const { return m_errors + m_warnings; }
    /// Errors, counted ones included.
    qint64 Errors() const { return m_errors; }
    /// Warnings, counted ones included.
    qint64 Warnings() const { return m_warnings; }
    /// Whether any finding of these origins was added.
    bool Any(DocumentFinding::Origin origin) const;

    /// Calls `visit` with each kept finding, which it may change (its place, its label).
    void ForEachKept(const std::function<void(DocumentFinding&)>& visit);

    /// Takes another list's findings in, after this one's, with their counts.
    void Absorb(const DocumentFindingList& other);

private:
    struct Kind {
        std::vector<DocumentFinding> kept;
        std::size_t last = 0; ///< the kept one latest in input order
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

/// "error", "warning", "note".
KVT317XML_EXPORT QString FindingLevelName(FindingLevel level);

} // namespace KVT317XML

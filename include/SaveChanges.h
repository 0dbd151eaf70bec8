#pragma once

#include "KVT317XmlExport.h"
#include "ReadObserver.h"
#include "Record.h"
#include "SettingsFile.h"

#include <QByteArray>
#include <QString>

#include <vector>

namespace KVT317XML {

/// One thing a save would change in what the document held.
struct KVT317XML_EXPORT SaveChange {
    /// What kind of change.
    enum class Kind {
        /// The input held something the record did not take as it stood (an unknown element,
        /// a number text that did not read, a member given twice, ...): a load finding.
        InputNotKept,
        /// A member would be written with another value ("Threshold: 20.5 -> 21"), or one
        /// the record did not hold would be written (a required member written at its
        /// default: "(unset) -> 20").
        ValueChanged,
        /// A list item would be added.
        Added,
        /// A list item would be dropped.
        Dropped
    };
    Kind kind = Kind::ValueChanged;            ///< what kind of change
    ReadPath path;                             ///< the record, from the document's root
    const RecordDescription* record = nullptr; ///< that record's type
    const MemberDescription* member = nullptr; ///< the member; null for a whole record
    /// What changes, for example "KVT317SettingsDetail[2].Threshold would change on writing:
    /// (unset) -> 20"; for InputNotKept the load finding's message.
    QString message;
    /// Where in the input (InputNotKept: the finding's place); unknown otherwise.
    ReadPosition position;
};

/// @brief What a save of a record would write and what it would change: the rule "lossless
/// or refused".
struct KVT317XML_EXPORT SavePlan {
    /// The bytes a save writes.
    QByteArray bytes;
    /// Everything the save would change in what the input held, in document order: the
    /// load's findings first, then the differences between the record and what its written
    /// form reads back as.
    std::vector<SaveChange> changes;
    /// Why no save may write the record, whatever the caller accepts: the library refuses
    /// it, the written form would not read back, or XML cannot carry a text. Empty when a
    /// save may write.
    QString refusal;
    /// Whether a save writes without changing anything.
    bool IsLossless() const { return refusal.isEmpty() && changes.empty(); }
};

/// @brief Tries a save of @p record in @p form in memory, writing nothing.
///
/// @p loadFindings are the findings of the load the record came from (ReadFindings); those
/// that say the input held what the record does not keep become changes of kind
/// InputNotKept, and a text XML cannot carry (FindingKind::NotXmlCharacter) refuses an XML
/// save. The record is then written as the library writes it (SettingsDocumentBytes(), its
/// reports silenced) and read back (ReadSettingsDocument()); every member that reads back
/// other than the record holds it is a change.
KVT317XML_EXPORT SavePlan PlanSave(const Record& record, const DetectedForm& form,
                                   const std::vector<ReadFinding>& loadFindings = {},
                                   int level = -1);

/// The changes between two records of one type, by position, as SavePlan lists them: what
/// @p after holds other than @p before.
KVT317XML_EXPORT std::vector<SaveChange> ChangesBetween(const Record& before, const Record& after);

/// Whether the caller accepts the changes a save lists.
enum class SaveChanges {
    Refuse, ///< a save that would change anything writes nothing
    Accept  ///< the listed changes are accepted; only a refusal stops the save
};

/// @brief Writes a planned save to @p path (atomically, WriteDocumentFile()) unless it is
/// refused, or would change what the input held and @p accept is SaveChanges::Refuse.
///
/// Returns false, with the reason in @p fault ("writing would change what the input holds
/// (2 changes); the first: ...") and nothing written, when it does not write.
KVT317XML_EXPORT bool WritePlannedSave(const QString& path, const SavePlan& plan,
                                       SaveChanges accept, QString* fault = nullptr);

} // namespace KVT317XML

#pragma once

#include "KVT317XmlExport.h"
#include "OpenDocument.h"
#include "SaveChanges.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <functional>

namespace KVT317XML {

/// @brief What a save of an opened (and checked) document, or of a record made from it, is
/// to weigh.
struct KVT317XML_EXPORT DocumentSaveRequest {
    DocumentForm form = DocumentForm::Xml; ///< the form to write
    int level = -1;                        ///< compression level of compressed binary
    /// Findings of the input that the change made void (members it set, items it removed).
    std::function<bool(const DocumentFinding&)> superseded;
    /// Whether the input's places still fit the record (not after items moved).
    bool locatable = true;
    /// Findings of the caller's own, shown and weighed with the input's.
    const DocumentFindingList* findings = nullptr;
    /// The record before the caller changed it: members that differ elsewhere than where
    /// @ref changed allows count as changes.
    const Record* before = nullptr;
    /// Whether a member (record path text, bit) is one the caller meant to change.
    std::function<bool(const QString& path, int bit)> changed;
    /// An edit of the input itself: it keeps the input's form and text encoding, and of the
    /// faults the written record has, only those the edit brought are listed; those the
    /// input had already are counted.
    bool edit = false;
    /// The document a conversion replaces, opened and checked: the input's faults it had
    /// already are counted, not listed.
    const OpenedDocument* replaced = nullptr;
};

/// @brief The verdict on a save: lossless, or refused unless its changes are accepted.
struct KVT317XML_EXPORT DocumentSaveReview {
    QByteArray bytes; ///< what would be written
    QString refusal;  ///< why nothing can be written at all (PlanSave()); empty otherwise
    /// The findings to show, as FindingLines() gives them: the input's that stop the save
    /// or that it keeps, the caller's, the changes, what writing reports, the notes on what
    /// no written form keeps, and the faults an edit brought.
    QStringList lines;
    qint64 already = 0;   ///< faults that were there before, counted rather than listed
    qint64 uncarried = 0; ///< texts XML cannot carry: never written, even when accepted
    qint64 blocking = 0;  ///< changes to what the input holds: written only when accepted
    qint64 added = 0;     ///< faults the edit brought
    /// Where the faults that were there already can be listed: the input, or the document
    /// a conversion replaces.
    const OpenedDocument* alreadyIn = nullptr;

    /// Whether the bytes may be written, the listed changes accepted or not.
    bool Writable(bool acceptChanges) const
    {
        return refusal.isEmpty() && uncarried == 0 && (blocking == 0 || acceptChanges);
    }
};

/// Weighs writing @p record, read from (or made from) @p input, in the form @p request
/// names: one rule for every program that saves what it opened. The record's logger is
/// silenced.
KVT317XML_EXPORT DocumentSaveReview ReviewDocumentSave(const OpenedDocument& input,
                                                       const Record& record,
                                                       const DocumentSaveRequest& request);

} // namespace KVT317XML

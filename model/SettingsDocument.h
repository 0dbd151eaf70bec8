#pragma once

#include "KVT317XmlModelExport.h"

#include <ReadObserver.h>
#include <Record.h>
#include <RecordDescription.h>
#include <SaveChanges.h>
#include <SettingsFile.h>

#include <QString>
#include <QStringList>

#include <memory>
#include <vector>

namespace KVT317XML {

/// A settings document read from a file, with what its load found.
struct KVT317XMLMODEL_EXPORT LoadedDocument {
    QString path;                          ///< the file
    DocumentForm form = DocumentForm::Xml; ///< the form the file is in
    DetectedForm detected;             ///< the form with its text encoding (DetectDocumentForm())
    std::unique_ptr<Record> record;    ///< the document; null when it could not be loaded
    std::vector<ReadFinding> findings; ///< every finding of the load
    QString error; ///< why the file could not be read or loaded; empty on success
};

/// Reads a document file, recognising its form by its first bytes with DetectDocumentForm()
/// as every program of the library does (XML in UTF-8 or UTF-16, JSON, binary, compressed
/// binary) and its record type by its root element, frame tag or JSON member, and loads it
/// through the library (LoadXml(), LoadBinary(), ReadJsonDocument()) with an observer, so
/// that every finding is kept. The record is
/// loaded with validation off, so that a faulty document can be shown and mended, and with
/// its logger silenced: what the library says while it loads is in the findings.
KVT317XMLMODEL_EXPORT LoadedDocument LoadSettingsDocument(const QString& path);

/// What a save found, and why it did not save.
struct KVT317XMLMODEL_EXPORT SaveReport {
    /// The document's faults at level ERROR: those of its Check(), and those the document as
    /// written would show when loaded back.
    std::vector<ReadFinding> faults;
    /// What writing would change in what the document holds (PlanSave()): only
    /// SaveFaults::Accept lets a save through that lists any.
    std::vector<SaveChange> changes;
    /// Why nothing was saved; empty after a save.
    QString error;
    /// What the write reported at level WARNING (a mode, owner or attribute of the file that
    /// could not be kept).
    QStringList warnings;
};

/// Whether a document with faults may be saved.
enum class SaveFaults {
    Refuse, ///< a document with faults at level ERROR, or that writing would change, is not saved
    Accept  ///< it is saved all the same, as long as it loads back as it is shown
};

/// What a save of @p record in @p form would find, without writing anything: the checks of
/// SaveSettingsDocument(). Its error says why no save may write the document (the library's
/// PlanSave() refuses it, or it would not load back as it is shown), whatever the caller
/// accepts; its faults are those at level ERROR, and its changes what PlanSave() lists as
/// changed by writing, that only SaveFaults::Accept lets through. A program that
/// writes the document by other means (a locked edit of its file) applies the same rule
/// with it.
KVT317XMLMODEL_EXPORT SaveReport SaveProblems(const Record& record, DocumentForm form);

/// Saves a document in @p form through the library's own SaveXml() and SaveBinary() (JSON,
/// and XML in UTF-16 or with a byte-order mark, as SettingsDocumentBytes() writes them),
/// atomically: the file is replaced only once the whole document is written.
///
/// Before anything is written the document is checked (Check()) and its form is tried in
/// memory: written as the library writes it and loaded back. The save is refused, leaving the
/// file as it was, when the library refuses the document (a report that raises with
/// validation on, a character the form cannot carry), when the document as written does not
/// load back or loads back other than the binary form's DocumentAsSaved() (what SettingsModel
/// shows), and, unless @p faults is SaveFaults::Accept, when the document has faults at level
/// ERROR or writing would change what it holds (PlanSave(), the library's one rule of lossless
/// or refused saves). The library's reports go
/// to @p report, never to the record's logger.
KVT317XMLMODEL_EXPORT bool SaveSettingsDocument(const Record& record, const QString& path,
                                                DocumentForm form, SaveReport* report = nullptr,
                                                SaveFaults faults = SaveFaults::Refuse);

/// The same, writing XML in the text encoding and with the byte-order mark @p form gives
/// (DetectDocumentForm() of the file opened), so that a save keeps a UTF-16 file UTF-16.
KVT317XMLMODEL_EXPORT bool SaveSettingsDocument(const Record& record, const QString& path,
                                                const DetectedForm& form,
                                                SaveReport* report = nullptr,
                                                SaveFaults faults = SaveFaults::Refuse);

/// The bytes a save of @p record in @p form writes (SettingsDocumentBytes(), XML in UTF-8).
KVT317XMLMODEL_EXPORT QByteArray DocumentBytes(const Record& record, DocumentForm form);

/// The record as a save in @p form without validation writes it and a load gives it back:
/// members that are always written come back set, a child record that is not set comes back
/// without data, values come back at the decimals written. What the load found goes to
/// @p findings (positions in the written document left out). Null, with a DocumentFault
/// finding, when the document as written does not load.
KVT317XMLMODEL_EXPORT std::unique_ptr<Record>
DocumentAsSaved(const Record& record, DocumentForm form = DocumentForm::Xml,
                std::vector<ReadFinding>* findings = nullptr);

} // namespace KVT317XML

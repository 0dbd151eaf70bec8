#pragma once

#include "DocumentFindings.h"
#include "KVT317XmlExport.h"
#include "ReadObserver.h"
#include "Record.h"
#include "SettingsFile.h"
#include "SourcePlaces.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

class QIODevice;

namespace KVT317XML {

/// @brief A settings document opened from a file, a device or bytes in any form, with
/// every finding about it, placed and labelled.
///
/// The record is loaded with validation off and its logger silenced: every report of the
/// load is a finding, together with what the load took in silence (unknown elements,
/// number texts that do not read, ...). With OpenOptions::check, what Check() and the lint
/// find afterwards is added, each placed at the member or record it names from the places
/// the load kept (SourcePlaces): the input is read once.
struct KVT317XML_EXPORT OpenedDocument {
    QString path;     ///< as given; "-" for standard input
    QString label;    ///< the name findings are printed under: the path, or "<stdin>"
    QByteArray bytes; ///< the input as read
    QString text;     ///< XML and JSON: the decoded text, which places are counted in
    DocumentForm form = DocumentForm::Xml; ///< the form detected
    DetectedForm detected;                 ///< the form with its text encoding
    QString type;                          ///< the record type: "KVT317_Settings", ...
    std::unique_ptr<Record> record;        ///< the record read; null when it could not load
    bool readable = false;                 ///< whether the input could be read at all
    bool loaded = false;                   ///< whether the record loaded
    QString readError;                     ///< why the input could not be read
    DocumentFindingList findings;          ///< errors and warnings, in input order
    DocumentFindingList notes;             ///< what no written form keeps: comments, instructions
    FindingPlace fault;                    ///< where the load failed
    SourcePlaces places;                   ///< where the records and members stand
    bool checked = false;                  ///< whether CheckOpenedDocument() ran
};

/// What OpenSettingsDocument() does beyond loading.
struct KVT317XML_EXPORT OpenOptions {
    /// Run Check() after the load and add its findings, placed and labelled.
    bool check = true;
    /// With check: add the lint's warnings too (SettingsLint.h).
    bool lint = false;
    /// With check: keep the record. Without, it is let go once the findings are labelled.
    bool keepRecord = true;
};

/// Opens the file at @p path ("-": standard input). An input that cannot be read leaves
/// OpenedDocument::readable false and says why in OpenedDocument::readError.
KVT317XML_EXPORT std::unique_ptr<OpenedDocument>
OpenSettingsDocument(const QString& path, const OpenOptions& options = {});
/// Opens what @p device holds from its current position, read once, under @p label.
KVT317XML_EXPORT std::unique_ptr<OpenedDocument>
OpenSettingsDocument(QIODevice& device, const QString& label, const OpenOptions& options = {});
/// Opens @p bytes, under @p label.
KVT317XML_EXPORT std::unique_ptr<OpenedDocument>
OpenSettingsBytes(const QByteArray& bytes, const QString& label, const OpenOptions& options = {});

/// Adds what Check() (and with @p lint the lint) finds to the document's findings, placed
/// and labelled; without @p keepRecord the record is let go afterwards. Runs once.
KVT317XML_EXPORT void CheckOpenedDocument(OpenedDocument& document, bool lint = false,
                                          bool keepRecord = true);

/// Labels the kept findings of @p list from the document's record (LabelFinding()).
KVT317XML_EXPORT void LabelFindings(const OpenedDocument& document, DocumentFindingList& list);
/// Places the kept findings of @p list that have no place yet at the member they name, or
/// else at their record, from the places the load kept.
KVT317XML_EXPORT void PlaceFindings(const OpenedDocument& document, DocumentFindingList& list);

/// The record type of that name, or null.
KVT317XML_EXPORT const RecordDescription* FindRecordDescription(const QString& type);

/// @brief Turns what the library says while it reads, checks or writes into findings.
///
/// Reports of the library count as DocumentFinding::Origin::Library; notes (what no
/// written form keeps) go to a list of their own where one is given, and are dropped
/// otherwise.
class KVT317XML_EXPORT FindingCollector : public ReadObserver
{
public:
    /// Findings go to @p into, notes to @p notes, the place of a document fault to @p fault.
    explicit FindingCollector(DocumentFindingList& into, DocumentFindingList* notes = nullptr,
                              FindingPlace* fault = nullptr);

    void Found(const ReadFinding& finding) override;

    /// Findings of a record read on its own come with paths from that record: its path from
    /// the document's root, and its type.
    ReadPath base;
    /// The type of the record at #base.
    const RecordDescription* baseRecord = nullptr;

    /// Holds the library's reports back until ReleaseReports(): a load that fails has only
    /// its fault to tell.
    void HoldReports() { m_holding = true; }
    /// Adds the reports held back when @p loaded, drops them otherwise.
    void ReleaseReports(bool loaded);

private:
    DocumentFindingList& m_into;
    bool m_holding = false;
    DocumentFindingList m_held;
    DocumentFindingList* m_notes;
    FindingPlace* m_fault;
};

/// @name Printing findings
///@{

/// @p text fit for a terminal: control characters, DEL and characters that are no text
/// written as `\u0001`.
KVT317XML_EXPORT QString PrintableText(const QString& text);

/// One finding as a line (without its line break):
/// `FILE:LINE:COLUMN: level: LABEL: message`, the place left out where it is not known,
/// for example `damaged.xml:3:3: error: KVT317SettingsDetail[1] ("VHF airband"):
/// KVT317SettingsDetail: Please set Threshold properly.`
KVT317XML_EXPORT QString FindingLine(const QString& file, const DocumentFinding& finding);

/// The lines of a list's findings in input order, and after the last one listed of a kind
/// that was cut short, `FILE: ... and N more like this`. @p filter, where given, picks the
/// findings.
KVT317XML_EXPORT QStringList
FindingLines(const QString& file, const DocumentFindingList& list,
             const std::function<bool(const DocumentFinding&)>& filter = nullptr);

/// "1,234,567".
KVT317XML_EXPORT QString GroupedNumber(qint64 number);

///@}

} // namespace KVT317XML

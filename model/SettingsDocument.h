#pragma once

#include "KVT317XmlModelExport.h"

#include <ReadObserver.h>
#include <Record.h>

#include <QString>

#include <memory>
#include <vector>

namespace KVT317XML {

/// The forms a settings document file takes.
enum class DocumentForm {
    Xml,       ///< XML text
    Binary,    ///< the tagged binary form
    Compressed ///< the compressed binary form
};

/// "XML", "binary", "compressed binary".
KVT317XMLMODEL_EXPORT QString DocumentFormName(DocumentForm form);

/// A settings document read from a file, with what its load found.
struct KVT317XMLMODEL_EXPORT LoadedDocument {
    QString path;                          ///< the file
    DocumentForm form = DocumentForm::Xml; ///< the form the file is in
    std::unique_ptr<Record> record;        ///< the document; null when it could not be loaded
    std::vector<ReadFinding> findings;     ///< every finding of the load
    QString error; ///< why the file could not be read or loaded; empty on success
};

/// Reads a document file, recognising its form by its first bytes as the kvt317 tool does
/// ('<' after blanks or a byte-order mark: XML; "KVTZ": compressed; anything else: binary)
/// and its record type by its root element or frame tag, and loads it through the library
/// (LoadXml(), LoadBinary()) with an observer, so that every finding is kept. The record is
/// loaded with validation off, so that a faulty document can be shown and mended.
KVT317XMLMODEL_EXPORT LoadedDocument LoadSettingsDocument(const QString& path);

/// Saves a document in @p form, atomically (SaveXml(), SaveBinary()): the file is replaced
/// only once the whole document is written. False, leaving the file as it was, on failure.
KVT317XMLMODEL_EXPORT bool SaveSettingsDocument(const Record& record, const QString& path,
                                                DocumentForm form);

} // namespace KVT317XML

#pragma once

#include "KVT317XmlExport.h"
#include "ReadObserver.h"
#include "Record.h"

#include <DocumentForm.h>

#include <QByteArray>
#include <QString>

#include <memory>

namespace KVT317XML {

/// @name Document forms
/// The one enumeration of whole-document forms and its detection, from the record base
/// (DocumentForm.h), for programs that use the settings records: XML (UTF-8 or UTF-16, with
/// or without a byte-order mark), JSON (SettingsJson.h), binary and compressed binary.
///@{
using REPORTGENERATOR::DecodeDocumentText;
using REPORTGENERATOR::DetectDocumentForm;
using REPORTGENERATOR::DetectedForm;
using REPORTGENERATOR::DocumentForm;
using REPORTGENERATOR::DocumentFormFromFileName;
using REPORTGENERATOR::DocumentFormFromName;
using REPORTGENERATOR::DocumentFormName;
using REPORTGENERATOR::EncodeDocumentText;
using REPORTGENERATOR::TextEncoding;
using REPORTGENERATOR::TextEncodingName;
///@}

/// @name Whole documents in any form
///@{

/// The bytes of a document in @p form as the library writes it (GetXmlString(),
/// WriteJsonDocument(), GetBinaryRepresentationAsQByteArray(),
/// GetCompressedBinaryRepresentationAsQByteArray() at @p level); XML in the encoding and with
/// the byte-order mark @p form gives, so that an edit keeps a UTF-16 file UTF-16. What the
/// writer reports goes to the record's logger.
KVT317XML_EXPORT QByteArray SettingsDocumentBytes(const Record& record, const DetectedForm& form,
                                                  int level = -1);

/// @brief Reads a document in any form (DetectDocumentForm()) into a new record of the type
/// its root element, frame tag or JSON member names.
///
/// Logger silenced: every finding goes to @p observer when given. Null, with the reason in
/// @p fault, when the bytes do not load; a JSON document whose reading found an error (a
/// value of the wrong type, an unknown member) counts as not loaded.
KVT317XML_EXPORT std::unique_ptr<Record> ReadSettingsDocument(const QByteArray& bytes,
                                                              ReadObserver* observer = nullptr,
                                                              QString* fault = nullptr);

///@}

} // namespace KVT317XML

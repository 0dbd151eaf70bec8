#pragma once

#include "KVT317XmlExport.h"

#include <DocumentForm.h>

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

} // namespace KVT317XML

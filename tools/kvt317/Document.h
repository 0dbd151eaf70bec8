#pragma once

#include "Diagnostics.h"

#include <OpenDocument.h>

#include <QString>

#include <memory>

// The forms a document takes, as the library tells and names them.
using Form = KVT317XML::DocumentForm;

inline QString FormName(Form form)
{
    return KVT317XML::DocumentFormName(form);
}
inline bool FormFromOption(const QString& text, Form& form)
{
    return KVT317XML::DocumentFormFromName(text, form);
}
inline bool FormFromFileName(const QString& path, Form& form)
{
    return KVT317XML::DocumentFormFromFileName(path, form);
}

// One input of the tool, opened by the library with every finding of its load.
using Document = KVT317XML::OpenedDocument;

// Reads and loads one input, unchecked. A file that cannot be read leaves readable false.
inline std::unique_ptr<Document> LoadDocument(const QString& path)
{
    KVT317XML::OpenOptions options;
    options.check = false;
    return KVT317XML::OpenSettingsDocument(path, options);
}

inline const KVT317XML::RecordDescription* FindDescription(const QString& type)
{
    return KVT317XML::FindRecordDescription(type);
}

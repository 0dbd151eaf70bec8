#pragma once

#include <SettingsDocument.h>

#include <QString>

// The JSON form is kvt317's own: the editor opens and saves it through the tool's
// implementation, so that both read and write it alike.

// Whether a file holds a JSON document, by its first bytes as kvt317 tells the forms apart.
bool IsJsonDocument(const QString& path);

// Loads a JSON document, with what its reading found, placed at its line and column.
KVT317XML::LoadedDocument LoadJsonDocument(const QString& path);

// Saves a record in the JSON form, atomically; false, with the reason in @p fault and the
// file as it was, when it cannot.
bool SaveJsonDocument(const KVT317XML::Record& record, const QString& path, QString* fault);

// The JSON document of a record, as SaveJsonDocument() writes it.
QByteArray JsonDocumentBytes(const KVT317XML::Record& record);

// Whether a file's bytes are in the given form (JSON when @p json, else @p form), as kvt317
// tells the forms apart.
bool InForm(const QByteArray& bytes, bool json, KVT317XML::DocumentForm form);

#pragma once

#include "Diagnostics.h"

#include <Record.h>
#include <SettingsFile.h>

#include <QByteArray>
#include <QString>

#include <memory>
#include <utility>
#include <vector>

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

// One input of the tool: its bytes, its form and record type, and the record the library
// loaded from it with validation off, together with every finding of the load.
struct Document {
    QString path;  // "-" for standard input
    QString label; // the path, or "<stdin>"
    QByteArray bytes;
    QString text; // XML and JSON: the decoded text
    Form form = Form::Xml;
    KVT317XML::DetectedForm detected; // the form with its text encoding, kept by an edit
    QString type;
    std::unique_ptr<KVT317XML::Record> record;
    bool readable = false;
    bool loaded = false;
    QString readError; // why the input could not be read

    // Filled while loading, and by Analyse() (Analysis.h) with what the check finds.
    DiagnosticList diagnostics;
    // Notes on what no written form keeps: the XML's comments and processing instructions.
    DiagnosticList notes;
    Location fault; // where loading failed
    bool analysed = false;
};

// Reads and loads one input. A file that cannot be read leaves readable false.
std::unique_ptr<Document> LoadDocument(const QString& path);

const KVT317XML::RecordDescription* FindDescription(const QString& type);

// Line and column (from 1) of character offsets in a text.
class LineIndex
{
public:
    LineIndex() = default;
    explicit LineIndex(const QString& text);
    Location At(qint64 offset) const;

private:
    std::vector<qint64> m_starts;
};

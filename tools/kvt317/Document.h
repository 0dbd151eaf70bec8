#pragma once

#include <Record.h>

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <memory>

// One input of the tool: its bytes, the form and record type found in them, and the record
// loaded from them with validation off. Every report made while loading is kept as
// "LEVEL: message".
struct Document {
    enum class Form { Xml, Binary, Compressed };

    QString path; // "-" for standard input
    QByteArray bytes;
    Form form = Form::Xml;
    QString type;
    std::unique_ptr<KVT317XML::Record> record;
    QStringList reports;
    bool readable = false; // the input could be read at all
    bool loaded = false;   // the record holds the document

    bool HasErrors() const;
    QString FormName() const;
};

// Reads and loads one input. A file that cannot be read leaves readable false.
Document LoadDocument(const QString& path);

// A new, empty record of a type the library knows, or null.
std::unique_ptr<KVT317XML::Record> NewRecord(const QString& type);

// Writes a record in a form ("xml", "binary" or "compressed") to a path or "-", replacing an
// existing file only once everything was written. Returns an error text, empty on success.
QString SaveDocument(const KVT317XML::Record& record, const QString& path, const QString& form,
                     int level);

// Attaches a logger that appends "LEVEL: message" to the list.
void CaptureReports(const KVT317XML::Record& record, QStringList& reports);

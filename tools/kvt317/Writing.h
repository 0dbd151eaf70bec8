#pragma once

#include "Document.h"

#include <DocumentSave.h>
#include <Record.h>

#include <functional>

// The bytes of a record in a form. The record's logger is silenced: what writing would
// report, the check of the document has already said.
// XML goes out in UTF-8 unless `encoding` gives the encoding and byte-order mark to keep.
QByteArray Serialise(const KVT317XML::Record& record, Form form, int level,
                     const KVT317XML::DetectedForm* encoding = nullptr);

// A save the library weighs (DocumentSave.h), and where it goes.
struct WriteRequest : KVT317XML::DocumentSaveRequest {
    QString path; // "-" for standard output
    bool force = false;
};

// Writes a record read from (or made from) the input, unless that would change anything
// the input holds: the input's findings and the command's, any difference between the
// record and what its written form reads back as (these two unless forced), and texts XML
// cannot carry (never). Lists what it finds on standard error. Returns the exit status.
int WriteChecked(const Document& input, const KVT317XML::Record& record,
                 const WriteRequest& request);

#pragma once

#include "Document.h"

#include <Record.h>

#include <functional>

// The bytes of a record in a form. The record's logger is silenced; what writing reports
// goes to `findings` where given, with the record and member it is about.
QByteArray Serialise(const KVT317XML::Record& record, Form form, int level,
                     DiagnosticList* findings = nullptr);

// Reads bytes written in a form back into a new record of the type; null, with the
// reason, when they do not read.
std::unique_ptr<KVT317XML::Record> ReadBack(const QByteArray& bytes, Form form, const QString& type,
                                            QString& reason);

struct WriteRequest {
    QString path; // "-" for standard output
    Form form = Form::Xml;
    int level = -1;
    bool force = false;
    // Diagnostics of the input that the command made void (members it set, items it
    // removed).
    std::function<bool(const Diagnostic&)> superseded;
    // Whether the input's positions still fit the record (not after items moved).
    bool locatable = true;
    // Findings of the command itself, printed and weighed with the input's.
    const DiagnosticList* findings = nullptr;
    // The record as it was before the command changed it, to make sure nothing but what
    // the command changed is different: members that differ at the other places count as
    // changes.
    const KVT317XML::Record* before = nullptr;
    std::function<bool(const QString& path, int bit)> changed;
    // An edit of the input itself: of the faults the written record has, only those the
    // edit brought are listed; the ones the input had already are counted in one line.
    bool edit = false;
    // The document a conversion replaces, loaded and analysed: the input's faults it had
    // already are counted in one line, not listed.
    const Document* replaced = nullptr;
};

// Writes a record read from (or made from) the input, unless that would change anything
// the input holds: the input's findings and the command's, any difference between the
// record and what its written form reads back as (these two unless forced), and texts XML
// cannot carry (never). Lists what it finds on standard error. Returns the exit status.
int WriteChecked(const Document& input, const KVT317XML::Record& record,
                 const WriteRequest& request);

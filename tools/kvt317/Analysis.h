#pragma once

#include "Document.h"

#include <ReadObserver.h>

// Turns what the library says while it reads or checks a document into the document's
// diagnostics: findings with their places, notes for what no written form keeps.
class Collector : public KVT317XML::ReadObserver
{
public:
    // Notes (what no written form keeps) go to `notes` where given, and the place of a
    // document fault to `fault`.
    explicit Collector(DiagnosticList& into, DiagnosticList* notes = nullptr,
                       Location* fault = nullptr);

    void Found(const KVT317XML::ReadFinding& finding) override;

    // Findings of records the tool builds itself (from JSON) come with paths from the
    // record being built: this is that record's path from the root, and its type.
    KVT317XML::ReadPath base;
    const KVT317XML::RecordDescription* baseRecord = nullptr;

    // The library's reports while a document loads are held, as the library holds them
    // from its logger: a load that fails has only its fault to tell.
    void HoldReports() { m_holding = true; }
    void ReleaseReports(bool loaded);

private:
    DiagnosticList& m_into;
    bool m_holding = false;
    DiagnosticList m_held;
    DiagnosticList* m_notes;
    Location* m_fault;
};

// Fills a document's diagnostics with everything check reports: what the load found
// (collected while loading) and what the library's check finds, each placed in the input.
// Without `keepRecord` the record is let go once the diagnostics are labelled, so that
// placing them, which reads the input again, never holds two records at once.
// With `lint`, check's warnings about what the library accepts but a receiver hardly means
// are added too (see Lint()).
void Analyse(Document& document, bool keepRecord = true, bool lint = false);

// Warnings about settings the library accepts but that are most likely slips: a frequency
// range whose start lies above its stop, a Name or an index given to two items.
void Lint(Document& document);

// Labels the kept diagnostics of a list with their record's path and Name.
void Label(const Document& document, DiagnosticList& list);

// Places the kept diagnostics of a list that have no place yet, at the member they name or
// at their record.
void Place(const Document& document, DiagnosticList& list);

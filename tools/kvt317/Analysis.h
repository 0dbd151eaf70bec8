#pragma once

#include "Document.h"

// What the library says while it reads, checks or writes, as findings.
using Collector = KVT317XML::FindingCollector;

// Adds what check finds to a document's findings, placed and labelled (with `lint` the
// lint's warnings too); without `keepRecord` the record is let go afterwards.
inline void Analyse(Document& document, bool keepRecord = true, bool lint = false)
{
    KVT317XML::CheckOpenedDocument(document, lint, keepRecord);
}

inline void Place(const Document& document, DiagnosticList& list)
{
    KVT317XML::PlaceFindings(document, list);
}

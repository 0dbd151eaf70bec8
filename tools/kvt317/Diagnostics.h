#pragma once

#include "Json.h"

#include <DocumentFindings.h>

#include <functional>

// The library's findings of a document, under the names the commands use.
using Location = KVT317XML::FindingPlace;
using Level = KVT317XML::FindingLevel;
using Diagnostic = KVT317XML::DocumentFinding;
using DiagnosticList = KVT317XML::DocumentFindingList;

inline void Label(Diagnostic& diagnostic, const KVT317XML::Record& root)
{
    KVT317XML::LabelFinding(diagnostic, root);
}
inline QString PathText(const KVT317XML::RecordDescription& root, const KVT317XML::ReadPath& path)
{
    return KVT317XML::RecordPathText(root, path);
}
inline QString LevelName(Level level)
{
    return KVT317XML::FindingLevelName(level);
}

class Channel;

// One line of text per diagnostic: FILE:LINE:COLUMN: LEVEL: RECORD: message, and after
// the last one listed of a kind that was cut short, FILE: ... and N more like this. The
// filter, where given, picks the diagnostics to print.
void PrintDiagnostics(Channel& channel, const QString& label, const DiagnosticList& list,
                      const std::function<bool(const Diagnostic&)>& filter = nullptr);

// The diagnostics as JSON objects, into an array the writer has open.
void WriteDiagnosticsJson(JsonWriter& json, const QString& label, const DiagnosticList& list);

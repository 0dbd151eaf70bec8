#include "Diagnostics.h"
#include "Json.h"
#include "Output.h"
#include <OpenDocument.h>

using namespace KVT317XML;

void PrintDiagnostics(Channel& channel, const QString& label, const DiagnosticList& list,
                      const std::function<bool(const Diagnostic&)>& filter)
{
    for (const QString& line : KVT317XML::FindingLines(label, list, filter))
        channel << line << '\n';
}

void WriteDiagnosticsJson(JsonWriter& json, const QString& label, const DiagnosticList& list)
{
    for (const DiagnosticList::Entry& entry : list.Sorted()) {
        const Diagnostic& diagnostic = *entry.diagnostic;
        json.BeginObject();
        json.Key(QStringLiteral("file"));
        json.String(label);
        json.Key(QStringLiteral("line"));
        diagnostic.where.Known() ? json.Number(diagnostic.where.line) : json.Null();
        json.Key(QStringLiteral("column"));
        diagnostic.where.Known() ? json.Number(diagnostic.where.column) : json.Null();
        json.Key(QStringLiteral("level"));
        json.String(LevelName(diagnostic.level));
        json.Key(QStringLiteral("path"));
        json.String(diagnostic.pathText.isNull() ? QStringLiteral("") : diagnostic.pathText);
        if (diagnostic.bit >= 0 && diagnostic.record) {
            json.Key(QStringLiteral("member"));
            json.String(diagnostic.record->members[static_cast<std::size_t>(diagnostic.bit)].name);
        }
        json.Key(QStringLiteral("message"));
        json.String(diagnostic.message);
        if (entry.more > 0) {
            json.Key(QStringLiteral("more"));
            json.Number(entry.more);
        }
        json.EndObject();
    }
}

#include "Diagnostics.h"
#include "Json.h"
#include "Output.h"
#include "Values.h"

using namespace KVT317XML;

namespace {

QString Subject(const Diagnostic& diagnostic)
{
    const QString& label = diagnostic.label;
    return label.isEmpty() ? diagnostic.message : label + QStringLiteral(": ") + diagnostic.message;
}

} // namespace

void PrintDiagnostics(Channel& channel, const QString& label, const DiagnosticList& list,
                      const std::function<bool(const Diagnostic&)>& filter)
{
    for (const DiagnosticList::Entry& entry : list.Sorted()) {
        const Diagnostic& diagnostic = *entry.diagnostic;
        if (filter && !filter(diagnostic))
            continue;
        channel << label << ':';
        if (diagnostic.where.Known())
            channel << diagnostic.where.line << ':' << diagnostic.where.column << ':';
        channel << ' ' << LevelName(diagnostic.level) << ": " << Printable(Subject(diagnostic))
                << '\n';
        if (entry.more > 0)
            channel << label << ": ... and " << Grouped(entry.more) << " more like this\n";
    }
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

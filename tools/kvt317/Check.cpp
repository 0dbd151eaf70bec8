#include "Analysis.h"
#include "Commands.h"
#include "Json.h"

#include <algorithm>

using namespace KVT317XML;

namespace {

QString Counted(qint64 count, const char* one, const char* many)
{
    return Grouped(count) + QLatin1Char(' ') + QLatin1String(count == 1 ? one : many);
}

} // namespace

int RunCheck(const Options& options)
{
    int status = Success;
    qint64 faulty = 0;
    qint64 errors = 0;
    qint64 warnings = 0;
    JsonWriter json;
    json.BeginObject();
    json.Key(QStringLiteral("files"));
    json.BeginArray();
    for (const QString& path : options.arguments) {
        const std::unique_ptr<Document> document = LoadDocument(path);
        if (options.json) {
            json.BeginObject();
            json.Key(QStringLiteral("file"));
            json.String(document->label);
        }
        if (!document->readable) {
            ++faulty;
            status = UsageOrIo;
            const QString message =
                QStringLiteral("cannot read '%1': %2").arg(document->label, document->readError);
            if (options.json) {
                json.Key(QStringLiteral("error"));
                json.String(message);
                json.EndObject();
            } else {
                Err() << "kvt317: " << message << '\n';
            }
            continue;
        }
        Analyse(*document, false, options.lint);
        const DiagnosticList& diagnostics = document->findings;
        errors += diagnostics.Errors();
        warnings += diagnostics.Warnings();
        if (diagnostics.Count() > 0) {
            ++faulty;
            status = std::max(status, static_cast<int>(Faults));
        }
        if (options.json) {
            json.Key(QStringLiteral("form"));
            json.String(FormName(document->form));
            json.Key(QStringLiteral("type"));
            json.String(document->type);
            json.Key(QStringLiteral("errors"));
            json.Number(diagnostics.Errors());
            json.Key(QStringLiteral("warnings"));
            json.Number(diagnostics.Warnings());
            if (!options.quiet) {
                json.Key(QStringLiteral("diagnostics"));
                json.BeginArray();
                WriteDiagnosticsJson(json, document->label, diagnostics);
                json.EndArray();
            }
            json.EndObject();
        } else if (!options.quiet) {
            PrintDiagnostics(Out(), document->label, diagnostics);
        }
    }
    json.EndArray();
    if (options.json) {
        json.Key(QStringLiteral("errors"));
        json.Number(errors);
        json.Key(QStringLiteral("warnings"));
        json.Number(warnings);
        json.EndObject();
        Out().Write(json.Finish());
        return status;
    }
    Out() << "checked " << Counted(options.arguments.size(), "file", "files") << ", "
          << Grouped(faulty) << " with faults";
    if (errors + warnings > 0)
        Out() << " (" << Counted(errors, "error", "errors") << ", "
              << Counted(warnings, "warning", "warnings") << ")";
    Out() << '\n';
    return status;
}

// What the kvt317 tool's editing commands cost on a file of 10,000 details, over what the
// library alone needs for the same file: a load and a save. The command is a process of
// its own that also locks the file, checks the document and makes sure that writing keeps
// everything else as it was.

#include "Documents.h"

#include <benchmark/benchmark.h>

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

namespace {

using bench::Clock;
using bench::Seconds;
using KVT317XML::KVT317_Settings;

enum class EditCommand { Set, Unset, Add, Remove };

QStringList EditArguments(EditCommand command, const QString& path, int round, int details)
{
    const QString detail = QStringLiteral("KVT317SettingsDetail[%1]").arg(details / 2);
    switch (command) {
    case EditCommand::Set:
        return {QStringLiteral("set"), path, detail + QStringLiteral(".Threshold"),
                QString::number(round % 100)};
    case EditCommand::Unset:
        return {QStringLiteral("unset"), path, detail + QStringLiteral(".Name")};
    case EditCommand::Add:
        return {QStringLiteral("add"), path, QStringLiteral("Name"),
                QStringLiteral("added %1").arg(round)};
    case EditCommand::Remove:
        return {QStringLiteral("remove"), path, detail};
    }
    return {};
}

void ToolEdit(benchmark::State& state, EditCommand command)
{
    const int details = static_cast<int>(state.range(0));
    const bench::Document& document = bench::DocumentOf(details);
    QTemporaryDir dir;
    const QString original = dir.filePath(QStringLiteral("original.xml"));
    const QString edited = dir.filePath(QStringLiteral("edited.xml"));
    const QString floor = dir.filePath(QStringLiteral("floor.xml"));
    if (!document.record.SaveXml(original) || !QFile::copy(original, floor)) {
        state.SkipWithError("cannot write the documents");
        return;
    }
    double toolSeconds = 0;
    double floorSeconds = 0;
    int round = 0;
    for (auto _ : state) {
        // Each round edits the same document (outside the measured time).
        QFile::remove(edited);
        QFile::copy(original, edited);
        const Clock::time_point start = Clock::now();
        {
            KVT317_Settings settings;
            benchmark::DoNotOptimize(settings.LoadXml(floor) && settings.SaveXml(floor));
        }
        const Clock::time_point middle = Clock::now();
        QProcess tool;
        tool.start(QStringLiteral(KVT317_TOOL), EditArguments(command, edited, round++, details));
        const bool finished = tool.waitForFinished(-1);
        const Clock::time_point end = Clock::now();
        if (!finished || tool.exitStatus() != QProcess::NormalExit || tool.exitCode() != 0) {
            state.SkipWithError(("the edit failed: " + tool.readAllStandardError()).constData());
            break;
        }
        floorSeconds += Seconds(middle - start);
        toolSeconds += Seconds(end - middle);
        state.SetIterationTime(Seconds(end - middle));
    }
    state.counters["edit_over_load_and_save"] = toolSeconds / floorSeconds;
}

// 10 details for the smoke run; the measure is at 10,000.
void ToolSizes(benchmark::internal::Benchmark* benchmark)
{
    benchmark->Arg(10)->Arg(10000)->UseManualTime()->Unit(benchmark::kMillisecond);
}

} // namespace

BENCHMARK_CAPTURE(ToolEdit, set, EditCommand::Set)->Apply(ToolSizes);
BENCHMARK_CAPTURE(ToolEdit, unset, EditCommand::Unset)->Apply(ToolSizes);
BENCHMARK_CAPTURE(ToolEdit, add, EditCommand::Add)->Apply(ToolSizes);
BENCHMARK_CAPTURE(ToolEdit, remove, EditCommand::Remove)->Apply(ToolSizes);

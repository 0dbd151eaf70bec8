// The item model's share: putting a loaded document into a SettingsModel against the load
// alone, and one edit through setData() at 10,000 details against the same edit at 100.

#include "Documents.h"

#include <SettingsModel.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <memory>

namespace {

using bench::Clock;
using bench::Seconds;
using KVT317XML::KVT317_Settings;
using KVT317XML::SettingsModel;

std::unique_ptr<KVT317_Settings> Loaded(const bench::Document& document)
{
    auto settings = std::make_unique<KVT317_Settings>();
    settings->SetValidate(false);
    settings->SetXmlString(document.xml, true);
    return settings;
}

constexpr int FirstScreen = 40;

// The load of the XML text, then the loaded record put into a model and the first screenful
// of its rows shown; the ratio is the load and the model together over the load alone,
// measured in the same run, each first in every other iteration: whichever load comes second
// finds the heap grown by the first.
void ModelOfLoadedDocument(benchmark::State& state)
{
    const bench::Document& document = bench::DocumentOf(static_cast<int>(state.range(0)));
    double loadSeconds = 0;
    double modelSeconds = 0;
    bool modelFirst = false;
    for (auto _ : state) {
        std::unique_ptr<KVT317_Settings> alone;
        SettingsModel model;
        const auto loadAlone = [&] {
            const Clock::time_point start = Clock::now();
            alone = Loaded(document);
            loadSeconds += Seconds(Clock::now() - start);
        };
        const auto loadAndShow = [&] {
            const Clock::time_point start = Clock::now();
            model.SetDocument(Loaded(document));
            // What a view shows first: the cells of a screenful of rows.
            for (int row = 0; row < std::min(model.rowCount(), FirstScreen); ++row)
                for (int column = 0; column < model.columnCount(); ++column)
                    benchmark::DoNotOptimize(model.data(model.index(row, column)));
            const double seconds = Seconds(Clock::now() - start);
            modelSeconds += seconds;
            state.SetIterationTime(seconds);
        };
        if (modelFirst) {
            loadAndShow();
            loadAlone();
        } else {
            loadAlone();
            loadAndShow();
        }
        modelFirst = !modelFirst;
        if (model.rowCount() != alone->GetKVT317SettingsDetail().size())
            state.SkipWithError("the model shows another number of rows");
    }
    state.counters["load_and_model_over_load"] = modelSeconds / loadSeconds;
}

// One setData() on a detail in the middle of a document of the benchmark's size, against
// the same edit on a document of 100 details, alternately in the same run.
void EditThroughSetData(benchmark::State& state)
{
    const int size = static_cast<int>(state.range(0));
    SettingsModel large;
    large.SetDocument(Loaded(bench::DocumentOf(size)));
    SettingsModel small;
    small.SetDocument(Loaded(bench::DocumentOf(100)));
    int threshold = -1;
    for (int column = 0; column < large.columnCount(); ++column)
        if (large.headerData(column, Qt::Horizontal).toString() == QLatin1String("Threshold"))
            threshold = column;
    const QModelIndex largeCell = large.index(size / 2, threshold);
    const QModelIndex smallCell = small.index(50, threshold);
    // Neither edit is the first: copies shared with the loaded text are undone beforehand.
    large.setData(largeCell, 1);
    small.setData(smallCell, 1);
    const int edits = 200;
    double largeSeconds = 0;
    double smallSeconds = 0;
    int value = 0;
    for (auto _ : state) {
        const Clock::time_point start = Clock::now();
        for (int i = 0; i < edits; ++i)
            small.setData(smallCell, ++value % 100);
        const Clock::time_point middle = Clock::now();
        for (int i = 0; i < edits; ++i)
            large.setData(largeCell, ++value % 100);
        const Clock::time_point end = Clock::now();
        smallSeconds += Seconds(middle - start);
        largeSeconds += Seconds(end - middle);
        state.SetIterationTime(Seconds(end - middle));
    }
    state.counters["edit_over_edit_at_100"] = largeSeconds / smallSeconds;
    state.counters["ns_per_edit"] =
        largeSeconds / static_cast<double>(state.iterations()) / edits * 1e9;
}

} // namespace

BENCHMARK(ModelOfLoadedDocument)
    ->Arg(10)
    ->Arg(1000)
    ->Arg(10000)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(EditThroughSetData)
    ->Arg(10)
    ->Arg(1000)
    ->Arg(10000)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);

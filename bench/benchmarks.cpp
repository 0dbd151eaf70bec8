// Each operation of the library beside its floor, the least work Qt's own classes need for
// the same job, measured in the same run. Counters: "ratio" is the library's time over the
// floor's, "ns_per_detail" the library's time per detail.

#include "Documents.h"

#include <benchmark/benchmark.h>

#include <QDomDocument>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <DocumentFile.h>

#include <ReadObserver.h>

#include <chrono>
#include <malloc.h>

namespace {

using bench::Clock;
using bench::Seconds;
using KVT317XML::KVT317_Settings;

template <class Operation> Clock::duration Time(const Operation& operation)
{
    const Clock::time_point start = Clock::now();
    operation();
    return Clock::now() - start;
}

// Runs the floor and the operation alternately; the benchmark's own time is the
// operation's.
template <class Operation, class Floor>
void Compare(benchmark::State& state, Operation operation, Floor floor,
             const char* ratioName = "ratio")
{
    const int size = static_cast<int>(state.range(0));
    double operationSeconds = 0;
    double floorSeconds = 0;
    for (auto _ : state) {
        const Clock::time_point start = Clock::now();
        floor();
        const Clock::time_point middle = Clock::now();
        operation();
        const Clock::time_point end = Clock::now();
        floorSeconds += Seconds(middle - start);
        operationSeconds += Seconds(end - middle);
        state.SetIterationTime(Seconds(end - middle));
    }
    const double iterations = static_cast<double>(state.iterations());
    state.counters[ratioName] = operationSeconds / floorSeconds;
    state.counters["floor_ns_per_detail"] = floorSeconds / iterations / size * 1e9;
    state.counters["ns_per_detail"] = operationSeconds / iterations / size * 1e9;
}

// The document as an application holds it: with the default logger, or with a logger of
// its own.
const KVT317_Settings& RecordOf(const bench::Document& document, bool logger)
{
    return logger ? document.logged : document.record;
}

// A record before a load: with the application's logger when asked.
void Prepare(KVT317_Settings& settings, bool logger)
{
    if (logger)
        settings.SetLogger(bench::Silent());
}

// The floors must do the same job: the same document, the same bytes, the same values.
bool FloorsAgree(benchmark::State& state, const bench::Document& document)
{
    if (bench::WriteXml(document.plain) != document.xml) {
        state.SkipWithError("the XML floor writes another document");
        return false;
    }
    if (bench::WriteBinary(document.plain) != document.binary) {
        state.SkipWithError("the binary floor writes other bytes");
        return false;
    }
    if (bench::ReadBinary(document.binary) != document.plain) {
        state.SkipWithError("the binary floor reads other values");
        return false;
    }
    return true;
}

void XmlLoad(benchmark::State& state, bool logger)
{
    const bench::Document& document = bench::DocumentOf(static_cast<int>(state.range(0)));
    Compare(
        state,
        [&]() {
            KVT317_Settings settings;
            Prepare(settings, logger);
            benchmark::DoNotOptimize(settings.SetXmlString(document.xml, false));
        },
        [&]() { benchmark::DoNotOptimize(bench::ReadXmlTexts(document.xml)); });
}

// An application that locates what it reads: an observer that keeps every finding and
// asks for every entry. The floor is the same load without an observer.
struct LocatingObserver final : KVT317XML::ReadObserver {
    void Found(const KVT317XML::ReadFinding& finding) override { findings.push_back(finding); }
    bool WantsEntries() const override { return true; }
    void Read(const KVT317XML::ReadPath&, const KVT317XML::ReadEntry& entry) override
    {
        lastOffset = entry.position.offset + entry.position.line;
    }
    std::vector<KVT317XML::ReadFinding> findings;
    qint64 lastOffset = 0;
};

void XmlLoadObserved(benchmark::State& state)
{
    const bench::Document& document = bench::DocumentOf(static_cast<int>(state.range(0)));
    Compare(
        state,
        [&]() {
            LocatingObserver observer;
            KVT317XML::ObserveReading observe(observer);
            KVT317_Settings settings;
            benchmark::DoNotOptimize(settings.SetXmlString(document.xml, false));
        },
        [&]() {
            KVT317_Settings settings;
            benchmark::DoNotOptimize(settings.SetXmlString(document.xml, false));
        },
        "observed_over_plain");
}

void BinaryLoadObserved(benchmark::State& state)
{
    const bench::Document& document = bench::DocumentOf(static_cast<int>(state.range(0)));
    Compare(
        state,
        [&]() {
            LocatingObserver observer;
            KVT317XML::ObserveReading observe(observer);
            KVT317_Settings settings;
            QByteArray bytes = document.binary;
            benchmark::DoNotOptimize(settings.SetBinaryRepresentation(bytes));
        },
        [&]() {
            KVT317_Settings settings;
            QByteArray bytes = document.binary;
            benchmark::DoNotOptimize(settings.SetBinaryRepresentation(bytes));
        },
        "observed_over_plain");
}

void XmlLoadAgainstDom(benchmark::State& state)
{
    const bench::Document& document = bench::DocumentOf(static_cast<int>(state.range(0)));
    // Here the floor is the library: the ratio is DOM's time over the library's.
    Compare(
        state,
        [&]() {
            QDomDocument dom;
            benchmark::DoNotOptimize(dom.setContent(document.xml));
        },
        [&]() {
            KVT317_Settings settings;
            benchmark::DoNotOptimize(settings.SetXmlString(document.xml, false));
        },
        "dom_over_library");
}

void XmlSave(benchmark::State& state, bool logger)
{
    const bench::Document& document = bench::DocumentOf(static_cast<int>(state.range(0)));
    if (!FloorsAgree(state, document))
        return;
    const KVT317_Settings& record = RecordOf(document, logger);
    Compare(
        state, [&]() { benchmark::DoNotOptimize(record.GetXmlString()); },
        [&]() { benchmark::DoNotOptimize(bench::WriteXml(document.plain)); });
}

void BinarySave(benchmark::State& state, bool logger)
{
    const bench::Document& document = bench::DocumentOf(static_cast<int>(state.range(0)));
    if (!FloorsAgree(state, document))
        return;
    const KVT317_Settings& record = RecordOf(document, logger);
    Compare(
        state, [&]() { benchmark::DoNotOptimize(record.GetBinaryRepresentationAsQByteArray()); },
        [&]() { benchmark::DoNotOptimize(bench::WriteBinary(document.plain)); });
}

void BinaryLoad(benchmark::State& state, bool logger)
{
    const bench::Document& document = bench::DocumentOf(static_cast<int>(state.range(0)));
    if (!FloorsAgree(state, document))
        return;
    Compare(
        state,
        [&]() {
            KVT317_Settings settings;
            Prepare(settings, logger);
            QByteArray bytes = document.binary;
            benchmark::DoNotOptimize(settings.SetBinaryRepresentation(bytes));
        },
        [&]() { benchmark::DoNotOptimize(bench::ReadBinary(document.binary)); });
}

// A copy alone: its cost does not grow with the number of details. The floor is a copy of
// a QVector of plain structs, which Qt shares.
void Copy(benchmark::State& state, bool logger)
{
    const bench::Document& document = bench::DocumentOf(static_cast<int>(state.range(0)));
    const KVT317_Settings& record = RecordOf(document, logger);
    Compare(
        state,
        [&]() {
            KVT317_Settings copy(record);
            benchmark::DoNotOptimize(copy);
        },
        [&]() {
            QVector<bench::PlainDetail> copy(document.plain);
            benchmark::DoNotOptimize(copy);
        });
}

void CopyAndEdit(benchmark::State& state, bool logger)
{
    const bench::Document& document = bench::DocumentOf(static_cast<int>(state.range(0)));
    const KVT317_Settings& record = RecordOf(document, logger);
    const int middle = document.size / 2;
    Compare(
        state,
        [&]() {
            KVT317_Settings copy(record);
            copy.GetKVT317SettingsDetail()[middle].SetThreshold(7);
            benchmark::DoNotOptimize(copy);
        },
        [&]() {
            QVector<bench::PlainDetail> copy(document.plain);
            copy[middle].threshold = 7;
            benchmark::DoNotOptimize(copy);
        });
}

void Equality(benchmark::State& state, bool logger)
{
    const bench::Document& document = bench::DocumentOf(static_cast<int>(state.range(0)));
    const KVT317_Settings& record = RecordOf(document, logger);
    // Equal, but loaded separately, so that nothing is shared.
    KVT317_Settings other;
    Prepare(other, logger);
    other.SetXmlString(document.xml, false);
    const QVector<bench::PlainDetail> plainOther = bench::ReadBinary(document.binary);
    if (!(other == record) || !(plainOther == document.plain)) {
        state.SkipWithError("the documents differ");
        return;
    }
    Compare(
        state, [&]() { benchmark::DoNotOptimize(record == other); },
        [&]() { benchmark::DoNotOptimize(document.plain == plainOther); });
}

void CheckClean(benchmark::State& state, bool logger)
{
    const bench::Document& document = bench::DocumentOf(static_cast<int>(state.range(0)));
    const KVT317_Settings& record = RecordOf(document, logger);
    Compare(
        state, [&]() { record.Check(true); },
        [&]() { benchmark::DoNotOptimize(bench::CheckPlain(document.plain)); });
}

// How an application used a document before copying it.
enum class Use { NonConst, Edited, Checked, Copied };

// A loaded document that holds an application logger, used as applications do: the non-const
// list getter called and one member edited through it, Check(true) run, or a copy taken and
// kept.
struct UsedDocument {
    KVT317_Settings source;
    KVT317_Settings earlier;
};

int ThresholdBit()
{
    for (const KVT317XML::MemberDescription& member :
         KVT317XML::KVT317SettingsDetail::Description().members)
        if (member.name == QLatin1String("Threshold"))
            return member.bit;
    return -1;
}

std::unique_ptr<UsedDocument> MakeUsed(const bench::Document& document, Use use)
{
    auto used = std::make_unique<UsedDocument>();
    used->source.SetLogger(bench::Silent());
    used->source.SetXmlString(document.xml, false);
    switch (use) {
    case Use::NonConst:
        used->source.GetKVT317SettingsDetail()[document.size / 2].SetThreshold(7);
        break;
    case Use::Edited:
        // An edit through the member table, as the tool and the model make one.
        used->source.MutableListItem(0, document.size / 2)->SetMemberText(ThresholdBit(), "7");
        break;
    case Use::Checked:
        used->source.Check(true);
        break;
    case Use::Copied:
        used->earlier = used->source;
        break;
    }
    return used;
}

// A copy of a used document given a logger of its own, as an application hands a copy on, at
// 1,000 and at 10,000 details, timed in turn: "large_over_small" tells whether the copy grows
// with the document. The copies are timed in batches, since one may take a few nanoseconds.
void CopyAfterUse(benchmark::State& state, Use use)
{
    const std::unique_ptr<UsedDocument> small = MakeUsed(bench::DocumentOf(1000), use);
    const std::unique_ptr<UsedDocument> large = MakeUsed(bench::DocumentOf(10000), use);
    const auto own = std::make_shared<REPORTGENERATOR::Logger>(REPORTGENERATOR::Logger::Sink());
    constexpr int Batch = 16;
    const auto copies = [&own](const KVT317_Settings& source) {
        const Clock::time_point start = Clock::now();
        for (int i = 0; i < Batch; ++i) {
            KVT317_Settings copy(source);
            copy.SetLogger(own);
            benchmark::DoNotOptimize(copy);
        }
        return Seconds(Clock::now() - start);
    };
    double smallSeconds = 0;
    double largeSeconds = 0;
    for (auto _ : state) {
        smallSeconds += copies(small->source);
        const double seconds = copies(large->source);
        largeSeconds += seconds;
        state.SetIterationTime(seconds / Batch);
    }
    const double copiesMade = static_cast<double>(state.iterations()) * Batch;
    state.counters["ns_at_1000"] = smallSeconds / copiesMade * 1e9;
    state.counters["ns_at_10000"] = largeSeconds / copiesMade * 1e9;
    state.counters["large_over_small"] = largeSeconds / smallSeconds;
}

// Memory a loaded document holds per detail, against the detail's share of the XML text.
void MemoryPerDetail(benchmark::State& state)
{
    const bench::Document& document = bench::DocumentOf(static_cast<int>(state.range(0)));
    const double xmlBytes = document.xml.toUtf8().size();
    double heldBytes = 0;
    for (auto _ : state) {
        malloc_trim(0);
        const size_t before = mallinfo2().uordblks;
        {
            KVT317_Settings settings;
            settings.SetXmlString(document.xml, false);
            heldBytes = static_cast<double>(mallinfo2().uordblks - before);
            benchmark::DoNotOptimize(settings);
        }
    }
    state.counters["bytes_per_detail"] = heldBytes / document.size;
    state.counters["xml_bytes_per_detail"] = xmlBytes / document.size;
    state.counters["ratio"] = heldBytes / xmlBytes;
}

// What the lock adds to `kvt317 set` on the shipped example, over the whole command (a
// process that loads, checks, changes and saves the file under the lock). The lock's cost is
// what a locked edit takes beyond the same edit without the lock, both run here through the
// library in turn: taken alone, the lock's sync of its lock file would also be charged with
// flushing the file system's journal, which the edit's own sync pays when there is no lock.
void LockShareOfASet(benchmark::State& state)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("settings.xml"));
    QFile::copy(QStringLiteral(KVT317_SOURCE_DIR "/examples/settings.xml"), path);
    int threshold = 0;
    const auto edit = [&](KVT317_Settings& settings) {
        settings.GetKVT317SettingsDetail()[0].SetThreshold(++threshold % 100);
        return true;
    };
    double commandSeconds = 0;
    double lockedSeconds = 0;
    double unlockedSeconds = 0;
    double lockAloneSeconds = 0;
    const auto lockedEdit = [&] {
        KVT317_Settings settings;
        benchmark::DoNotOptimize(
            settings.EditFile(path, [&](REPORTGENERATOR::IRGObject&) { return edit(settings); }));
    };
    const auto unlockedEdit = [&] {
        KVT317_Settings settings;
        benchmark::DoNotOptimize(settings.LoadXml(path) && edit(settings) &&
                                 settings.SaveXml(path));
    };
    bool lockedFirst = false;
    for (auto _ : state) {
        const Clock::time_point start = Clock::now();
        QProcess set;
        set.start(QStringLiteral(KVT317_TOOL),
                  {QStringLiteral("set"), path, QStringLiteral("KVT317SettingsDetail[1].Threshold"),
                   QString::number(++threshold % 100)});
        benchmark::DoNotOptimize(set.waitForFinished());
        const Clock::time_point commanded = Clock::now();
        // In turn first and second, so that neither pays for what the other left unsynced.
        lockedFirst = !lockedFirst;
        if (lockedFirst) {
            lockedSeconds += Seconds(Time(lockedEdit));
            unlockedSeconds += Seconds(Time(unlockedEdit));
        } else {
            unlockedSeconds += Seconds(Time(unlockedEdit));
            lockedSeconds += Seconds(Time(lockedEdit));
        }
        lockAloneSeconds += Seconds(Time([&] {
            REPORTGENERATOR::DocumentLock lock(path);
            benchmark::DoNotOptimize(lock.Acquire());
        }));
        commandSeconds += Seconds(commanded - start);
        state.SetIterationTime(Seconds(commanded - start));
    }
    state.counters["lock_over_command"] = (lockedSeconds - unlockedSeconds) / commandSeconds;
    state.counters["lock_alone_over_command"] = lockAloneSeconds / commandSeconds;
}

void Sizes(benchmark::internal::Benchmark* benchmark)
{
    for (const int size : {10, 1000, 10000, 100000})
        benchmark->Arg(size);
    benchmark->UseManualTime()->Unit(benchmark::kMicrosecond);
}

} // namespace

// Each operation without a logger of the document's own, and with an application logger.
#define KVT317_BENCHMARK(Operation)                                                                \
    BENCHMARK_CAPTURE(Operation, default_logger, false)->Apply(Sizes);                             \
    BENCHMARK_CAPTURE(Operation, application_logger, true)->Apply(Sizes)

KVT317_BENCHMARK(XmlLoad);
BENCHMARK(XmlLoadAgainstDom)->Apply(Sizes);
BENCHMARK(XmlLoadObserved)->Apply(Sizes);
BENCHMARK(BinaryLoadObserved)->Apply(Sizes);
KVT317_BENCHMARK(XmlSave);
KVT317_BENCHMARK(BinarySave);
KVT317_BENCHMARK(BinaryLoad);
KVT317_BENCHMARK(Copy);
KVT317_BENCHMARK(CopyAndEdit);
KVT317_BENCHMARK(Equality);
KVT317_BENCHMARK(CheckClean);
// The iteration time is the copy at 10,000 details.
BENCHMARK_CAPTURE(CopyAfterUse, non_const, Use::NonConst)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(CopyAfterUse, edited, Use::Edited)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(CopyAfterUse, checked, Use::Checked)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(CopyAfterUse, copied, Use::Copied)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);
// The shipped example holds 3 details.
BENCHMARK(LockShareOfASet)->Arg(3)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(MemoryPerDetail)
    ->Arg(10)
    ->Arg(1000)
    ->Arg(10000)
    ->Arg(100000)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();

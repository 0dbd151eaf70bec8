// Memory bounded by the input: each hostile document is loaded in a process of its own
// (kvt317_memory_probe), and its peak resident memory is held against 32 times the input's
// size plus 64 MB (for compressed input, its inflated size). Sanitized builds check the
// outcome only: their shadow memory says nothing about the library.

#include "HostileInput.h"

#include <KVT317_Settings.h>

#include <QProcess>
#include <QTemporaryDir>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace {

constexpr qint64 MB = 1000 * 1000;
constexpr qint64 MiB = 1024 * 1024;

struct Outcome {
    bool ran = false;
    bool loaded = false;
    long reports = -1;
    QString first;
    QString last;
    qint64 peak = -1;        // resident, bytes
    qint64 virtualPeak = -1; // address space, reserved or not, bytes
};

Outcome Probe(const char* record, const QByteArray& document)
{
    Outcome outcome;
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("input"));
    WriteFile(path, document);
    QProcess probe;
    probe.start(QStringLiteral(KVT317_MEMORY_PROBE), {QLatin1String(record), path});
    if (!probe.waitForFinished(300000) || probe.exitStatus() != QProcess::NormalExit ||
        probe.exitCode() != 0) {
        ADD_FAILURE() << "probe failed: " << probe.readAllStandardError().toStdString();
        return outcome;
    }
    outcome.ran = true;
    for (const QByteArray& line : probe.readAllStandardOutput().split('\n')) {
        const QByteArray key = line.left(line.indexOf(' '));
        const QString value = QString::fromUtf8(line.mid(key.size() + 1));
        if (key == "loaded")
            outcome.loaded = value == QLatin1String("1");
        else if (key == "reports")
            outcome.reports = value.toLong();
        else if (key == "first")
            outcome.first = value;
        else if (key == "last")
            outcome.last = value;
        else if (key == "peak_kib")
            outcome.peak = value.toLongLong() * 1024;
        else if (key == "virtual_peak_kib")
            outcome.virtualPeak = value.toLongLong() * 1024;
    }
    return outcome;
}

void ExpectOutcome(const Outcome& outcome, bool loaded, long reports, const QString& first)
{
    ASSERT_TRUE(outcome.ran);
    EXPECT_EQ(outcome.loaded, loaded);
    EXPECT_EQ(outcome.reports, reports);
    EXPECT_EQ(outcome.first, first);
}

void ExpectPeakBelow(const Outcome& outcome, qint64 bound)
{
#ifdef KVT317_SANITIZED
    (void)outcome;
    (void)bound;
#else
    EXPECT_GT(outcome.peak, 0);
    EXPECT_LE(outcome.peak, bound)
        << "peak " << outcome.peak / MiB << " MiB, bound " << bound / MiB << " MiB";
#endif
}

const QString AppendIncomplete =
    QStringLiteral("KVT317_Settings: Tried to append not completely defined or invalid item "
                   "KVT317SettingsDetail.");

// A million items that carry nothing: each costs little more than a record object, and the
// million identical reports are held as one with its count, then replayed.
void ExpectEmptyItems(const QByteArray& document, qint64 inputSize)
{
    const Outcome outcome = Probe("settings", document);
    ExpectOutcome(outcome, true, 1000000, QStringLiteral("WARNING: ") + AppendIncomplete);
    EXPECT_EQ(outcome.last, QStringLiteral("WARNING: ") + AppendIncomplete);
    ExpectPeakBelow(outcome, 32 * inputSize + 64 * MB);
}

} // namespace

TEST(MemoryBound, MillionEmptyListItems)
{
    const QByteArray frame = hostile::EmptyItemsFrame(1000000);
    ASSERT_EQ(frame.size(), 4000020);
    ExpectEmptyItems(frame, frame.size());
}

TEST(MemoryBound, MillionEmptyListItemsCompressed)
{
    const QByteArray frame = hostile::EmptyItemsFrame(1000000);
    const QByteArray document =
        hostile::Compressed(hostile::Deflated(4000000, '\0', frame.left(20)));
    ASSERT_LT(document.size(), 10000);
    ExpectEmptyItems(document, frame.size());
}

TEST(MemoryBound, DeflateBombIsRefusedBeforeTheLimitIsPassed)
{
    // 1 GiB of zeros in about a megabyte.
    const QByteArray bomb = hostile::Compressed(hostile::Deflated(1024 * MiB));
    ASSERT_LT(bomb.size(), 2 * MiB);
    const Outcome outcome = Probe("settings", bomb);
    ExpectOutcome(outcome, false, 1,
                  QStringLiteral("ERROR: Compressed binary data inflates to more than the limit "
                                 "of 268435456 bytes"));
    ExpectPeakBelow(outcome, 256 * MiB + 64 * MB);
    // Refused in the first pass: the bomb never comes near the limit.
    ExpectPeakBelow(outcome, 32 * bomb.size() + 64 * MB);
}

TEST(MemoryBound, DeepNesting)
{
    const QStringList documents = hostile::DeepSettingsDocuments();
    ASSERT_EQ(documents.size(), 3);
    for (const QString& xml : documents) {
        const QByteArray document = xml.toUtf8();
        const Outcome outcome = Probe("settings", document);
        ExpectOutcome(outcome, true, 0, QString());
        ExpectPeakBelow(outcome, 32 * document.size() + 64 * MB);
    }
}

TEST(MemoryBound, HugeItemCountIn20Bytes)
{
    const QByteArray frame = hostile::HugeCountFrame();
    ASSERT_EQ(frame.size(), 20);
    const Outcome outcome = Probe("settings", frame);
    ExpectOutcome(outcome, false, 1, hostile::SettingsLengthError());
    ExpectPeakBelow(outcome, 32 * frame.size() + 64 * MB);
}

// ---- The kvt317 tool: check holds no more than the library does ------------------------

namespace {

struct ToolRun {
    int status = -1;
    QByteArray output;
    qint64 peak = -1; // resident, bytes
};

// Runs `kvt317 COMMAND OPTION FILE` in a process of its own and measures its peak memory.
ToolRun RunTool(const char* command, const char* option, const QByteArray& document)
{
    ToolRun run;
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("input"));
    WriteFile(path, document);
    const QString output = dir.filePath(QStringLiteral("output"));
    const QByteArray tool = QByteArrayLiteral(KVT317_TOOL);
    const QByteArray input = path.toLocal8Bit();
    const QByteArray out = output.toLocal8Bit();
    const pid_t pid = fork();
    if (pid == 0) {
        const int fd = ::open(out.constData(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        dup2(fd, 1);
        execl(tool.constData(), tool.constData(), command, option, input.constData(),
              static_cast<char*>(nullptr));
        _exit(127);
    }
    int status = 0;
    rusage usage{};
    if (pid < 0 || wait4(pid, &status, 0, &usage) != pid || !WIFEXITED(status))
        return run;
    run.status = WEXITSTATUS(status);
    run.peak = static_cast<qint64>(usage.ru_maxrss) * 1024;
    QFile result(output);
    if (result.open(QIODevice::ReadOnly))
        run.output = result.readAll();
    return run;
}

// Runs `kvt317 check --quiet FILE`.
ToolRun CheckWithTool(const QByteArray& document)
{
    return RunTool("check", "--quiet", document);
}

void ExpectMillionEmptyItemsChecked(const QByteArray& document, qint64 inputSize)
{
    const ToolRun run = CheckWithTool(document);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.output, QByteArray("checked 1 file, 1 with faults (16,000,000 errors, "
                                     "1,000,000 warnings)\n"));
    Outcome outcome;
    outcome.peak = run.peak;
    ExpectPeakBelow(outcome, 32 * inputSize + 64 * MB);
}

} // namespace

TEST(MemoryBound, ToolChecksMillionEmptyListItems)
{
    const QByteArray frame = hostile::EmptyItemsFrame(1000000);
    ExpectMillionEmptyItemsChecked(frame, frame.size());
}

TEST(MemoryBound, ToolChecksMillionEmptyListItemsCompressed)
{
    const QByteArray frame = hostile::EmptyItemsFrame(1000000);
    ExpectMillionEmptyItemsChecked(
        hostile::Compressed(hostile::Deflated(4000000, '\0', frame.left(20))), frame.size());
}

// dump lists the entries as the library reads them and holds no listing of its own: a
// million items stay within the bound of their load.
TEST(MemoryBound, ToolDumpsMillionEmptyListItems)
{
    const QByteArray frame = hostile::EmptyItemsFrame(1000000);
    const ToolRun run = RunTool("dump", "--format=text", frame);
    EXPECT_EQ(run.status, 0);
    EXPECT_TRUE(run.output.startsWith(
        "       0  frame 0x5DF5F465 KVT317_Settings, length 4000012\n"
        "       8    0x09751B80 KVT317SettingsDetail, length 4000004, 1000000 items\n"
        "      20      item 1, length 0\n"
        "      24      item 2, length 0\n"))
        << run.output.left(300).constData();
    EXPECT_TRUE(run.output.endsWith(" 4000016      item 1000000, length 0\n"));
    Outcome outcome;
    outcome.peak = run.peak;
    ExpectPeakBelow(outcome, 32 * frame.size() + 64 * MB);
}

// A document of 16,000 details costs check at most 1.2 times each detail's XML text, over
// what the tool needs for the smallest document.
TEST(MemoryBound, ToolCheckHoldsLessThanTheXmlTextPerDetail)
{
    constexpr int Details = 16000;
    KVT317XML::KVT317_Settings example;
    ASSERT_TRUE(example.SetXmlString(QString::fromUtf8(ExampleFile("settings.xml")), true));
    KVT317XML::KVT317_Settings settings;
    QVector<KVT317XML::KVT317SettingsDetail> details;
    for (int i = 0; i < Details; ++i) {
        KVT317XML::KVT317SettingsDetail detail = example.GetKVT317SettingsDetail().at(i % 3);
        detail.SetName(QStringLiteral("Setting %1").arg(i + 1));
        detail.Setindex(i + 1);
        details.append(detail);
    }
    settings.SetKVT317SettingsDetail(details);
    const ToolRun small = CheckWithTool(ExampleFile("settings.bin"));
    const ToolRun large = CheckWithTool(settings.GetBinaryRepresentationAsQByteArray());
    EXPECT_EQ(small.status, 0);
    EXPECT_EQ(large.status, 0);
    EXPECT_EQ(large.output, QByteArray("checked 1 file, 0 with faults\n"));
#ifndef KVT317_SANITIZED
    const qint64 xmlPerDetail = settings.GetXmlString().toUtf8().size() / Details;
    const qint64 perDetail = (large.peak - small.peak) / Details;
    EXPECT_LE(perDetail * 10, xmlPerDetail * 12)
        << perDetail << " bytes per detail, the XML text " << xmlPerDetail;
#endif
}

// Loads one document in a fresh process and tells what came of it and the process's peak
// memory, for the memory tests: a process of its own starts with nothing held over from
// other tests.
//
//   kvt317_memory_probe RECORD FILE
//
// RECORD is settings, bearing or detail; the file holds XML when it starts with '<',
// otherwise a binary document (plain or compressed). Prints, one per line:
//   loaded 0|1
//   reports N        (reports the logger received)
//   first TEXT       (the first report, "LEVEL: message")
//   last TEXT        (the last report)
//   peak_kib N       (VmHWM, the peak resident memory)
//   virtual_peak_kib N (VmPeak, the peak of address space, reserved or not)

#include <BearingSettings.h>
#include <KVT317SettingsDetail.h>
#include <KVT317_Settings.h>

#include <QFile>

#include <cstdio>
#include <memory>

using REPORTGENERATOR::IRGObject;
using REPORTGENERATOR::Logger;
using REPORTGENERATOR::LogLevel;

namespace {

long StatusKib(const char* field)
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly | QIODevice::Text))
        return -1;
    // Files under /proc tell no size: read to the end rather than test atEnd().
    for (const QByteArray& line : status.readAll().split('\n'))
        if (line.startsWith(field))
            return line.mid(static_cast<int>(qstrlen(field)))
                .trimmed()
                .split(' ')
                .value(0)
                .toLong();
    return -1;
}

std::unique_ptr<IRGObject> NewRecord(const QByteArray& name)
{
    if (name == "settings")
        return std::make_unique<KVT317XML::KVT317_Settings>();
    if (name == "bearing")
        return std::make_unique<KVT317XML::BearingSettings>();
    if (name == "detail")
        return std::make_unique<KVT317XML::KVT317SettingsDetail>();
    return nullptr;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: kvt317_memory_probe settings|bearing|detail FILE\n");
        return 2;
    }
    const std::unique_ptr<IRGObject> record = NewRecord(argv[1]);
    QFile file(QString::fromLocal8Bit(argv[2]));
    if (!record || !file.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "kvt317_memory_probe: cannot use %s %s\n", argv[1], argv[2]);
        return 2;
    }
    QByteArray document = file.readAll();
    file.close();

    long count = 0;
    QString first;
    QString last;
    record->SetLogger(std::make_shared<Logger>([&](LogLevel level, const QString& message) {
        last = REPORTGENERATOR::LogLevelName(level) + QStringLiteral(": ") + message;
        if (count++ == 0)
            first = last;
    }));
    bool loaded = false;
    if (document.startsWith('<'))
        loaded = record->SetXmlString(QString::fromUtf8(document), true);
    else
        loaded = record->SetBinaryRepresentation(document);

    std::printf("loaded %d\nreports %ld\nfirst %s\nlast %s\npeak_kib %ld\nvirtual_peak_kib %ld\n",
                loaded ? 1 : 0, count, first.toUtf8().constData(), last.toUtf8().constData(),
                StatusKib("VmHWM:"), StatusKib("VmPeak:"));
    return 0;
}

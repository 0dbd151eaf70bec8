#include "Commands.h"
#include "Analysis.h"

using namespace KVT317XML;

int UsageError(const QString& message, const QString& command)
{
    Err() << "kvt317: " << message << "\nTry 'kvt317 "
          << (command.isEmpty() ? QString() : command + QLatin1Char(' ')) << "--help'.\n";
    return UsageOrIo;
}

int Unusable(Document& document)
{
    if (!document.readable) {
        Err() << "kvt317: cannot read '" << document.label << "': " << document.readError << '\n';
        return UsageOrIo;
    }
    if (document.loaded)
        return Success;
    Analyse(document);
    PrintDiagnostics(Err(), document.label, document.findings);
    return Faults;
}

std::unique_ptr<REPORTGENERATOR::DocumentLock> LockForEdit(const QString& path,
                                                           const Options& options)
{
    if (path == QLatin1String("-"))
        return std::make_unique<REPORTGENERATOR::DocumentLock>(QString());
    auto lock = std::make_unique<REPORTGENERATOR::DocumentLock>(path);
    QString fault;
    if (!lock->Acquire(options.waitMilliseconds, &fault)) {
        fault[0] = fault.at(0).toLower(); // "cannot lock 'f.xml': ..."
        Err() << "kvt317: " << fault << '\n';
        return nullptr;
    }
    return lock;
}

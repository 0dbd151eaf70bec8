#include "Commands.h"
#include "Writing.h"

#include <BearingSettings.h>
#include <KVT317_Settings.h>
#include <StartingDetail.h>

using namespace KVT317XML;

std::unique_ptr<Record> StartingDocument(bool bearing)
{
    if (bearing) {
        auto settings = std::make_unique<BearingSettings>();
        settings->SetName(QStringLiteral("Bearing 1"));
        settings->SetIndex(1);
        settings->SetFrequency(100000000.0);
        settings->SetDFMode(BearingSettings::DFMode_Norm);
        settings->SetAveragingTime(1000);
        return settings;
    }
    auto settings = std::make_unique<KVT317_Settings>();
    settings->AppendKVT317SettingsDetail(StartingDetail(1, QStringLiteral("Setting 1")));
    return settings;
}

int RunNew(const Options& options)
{
    const QString output = options.output.isEmpty() ? QStringLiteral("-") : options.output;
    Form form = options.to;
    if (!options.formGiven && output != QLatin1String("-") && !FormFromFileName(output, form))
        return UsageError(QStringLiteral("cannot tell the output form from '%1'; name it .xml, "
                                         ".json, .bin or .binz, or use --to")
                              .arg(output),
                          QStringLiteral("new"));
    const std::unique_ptr<Record> record = StartingDocument(options.bearing);
    const QString error = WriteOutput(output, Serialise(*record, form, options.level));
    if (!error.isEmpty()) {
        Err() << "kvt317: " << error << '\n';
        return UsageOrIo;
    }
    return Success;
}

#include "StartingDetail.h"

#include "KVT317_Settings.h"

namespace KVT317XML {

KVT317SettingsDetail StartingDetail(int index, const QString& name)
{
    KVT317SettingsDetail detail;
    detail.ResetToDefault();
    detail.SetName(name);
    detail.Setindex(index);
    detail.SetAverageMode(KVT317SettingsDetail::AverageMode_OFF);
    detail.SetBandwidthDF(KVT317SettingsDetail::BandwidthDF_1_00_kHz);
    detail.SetScanMemoryID(0);
    detail.SetStopTime(QDateTime());
    // ResetToDefault() gives the child its defaults but leaves the detail's own flag for it
    // down, and a detail writes its frequency range only when that flag is raised.
    detail.GetFrequencyRange().ResetToDefault();
    return detail;
}

KVT317SettingsDetail NextSettingsDetail(const KVT317_Settings& document)
{
    const QVector<KVT317SettingsDetail>& details = document.GetKVT317SettingsDetail();
    const auto used = [&details](int number) {
        const QString name = QStringLiteral("Setting %1").arg(number);
        for (const KVT317SettingsDetail& detail : details)
            if ((detail.IsindexSet() && detail.Getindex() == number) ||
                (detail.IsNameSet() && detail.GetName() == name))
                return true;
        return false;
    };
    int number = details.size() + 1;
    while (used(number))
        ++number;
    return StartingDetail(number, QStringLiteral("Setting %1").arg(number));
}

} // namespace KVT317XML

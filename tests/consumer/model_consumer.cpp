// Uses the installed item model: a document in a SettingsModel, one cell read and edited.

#include <KVT317_Settings.h>
#include <SettingsModel.h>

#include <cstdio>
#include <memory>

int main()
{
    auto settings = std::make_unique<KVT317XML::KVT317_Settings>();
    settings->SetXmlString(QStringLiteral("<KVT317_Settings><KVT317SettingsDetail Name=\"a\">"
                                          "<FrequencyRange><StopFrequency>137000000.00"
                                          "</StopFrequency></FrequencyRange>"
                                          "</KVT317SettingsDetail></KVT317_Settings>"),
                           true);
    KVT317XML::SettingsModel model;
    model.SetDocument(std::move(settings));
    const QModelIndex stop = model.index(0, 9); // after Name, index and seven members
    const QString before = model.data(stop).toString();
    const bool edited = model.setData(stop, 162025000.0);
    const QString after = model.data(stop).toString();
    if (model.rowCount() != 1 || before != QStringLiteral("137 MHz") || !edited ||
        after != QStringLiteral("162.025 MHz")) {
        std::printf("model consumer: unexpected result: %s, %s\n", qPrintable(before),
                    qPrintable(after));
        return 1;
    }
    std::puts("model consumer: ok");
    return 0;
}

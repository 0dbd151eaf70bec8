#include <FrequencyRange.h>
#include <IRGObject.h>

#include <cstdio>

int main()
{
    QStringList reports;
    auto logger = std::make_shared<REPORTGENERATOR::Logger>(
        [&reports](REPORTGENERATOR::LogLevel level, const QString& message) {
            reports.append(REPORTGENERATOR::LogLevelName(level) + QStringLiteral(": ") + message);
        });

    KVT317XML::FrequencyRange range;
    range.SetLogger(logger);
    range.SetStartFrequency(1000000.0);
    range.Check(true);

    const QString expectedXml = QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                               "<FrequencyRange>\n"
                                               "  <StartFrequency>1000000.00</StartFrequency>\n"
                                               "  <StopFrequency>240000000.00</StopFrequency>\n"
                                               "</FrequencyRange>\n");
    const QStringList expectedReports{
        QStringLiteral("ERROR: FrequencyRange: Please set StopFrequency properly.")};
    const __int64 id = KVT317XML::FrequencyRange::GetId();
    if (range.GetXmlString() != expectedXml || reports != expectedReports || id != 245222484) {
        std::puts("consumer: unexpected result");
        return 1;
    }
    std::puts("consumer: ok");
    return 0;
}

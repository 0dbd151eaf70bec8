#include <FrequencyRange.h>
#include <IRGObject.h>
#include <KVT317XmlVersion.h>

#include <QDebug>
#include <QString>

#include <cstdio>
#include <cstring>

namespace {
QString debugOutput;

void CaptureMessage(QtMsgType, const QMessageLogContext& context, const QString& message)
{
    debugOutput += QString::fromUtf8(context.category ? context.category : "") +
                   QStringLiteral(": ") + message + QLatin1Char('\n');
}
} // namespace

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
    const qint64 id = KVT317XML::FrequencyRange::GetId();
    if (range.GetXmlString() != expectedXml || reports != expectedReports || id != 245222484) {
        std::puts("consumer: unexpected result");
        return 1;
    }

    // The packaging: version macros, the logging category, printing records.
    static_assert(KVT317XML_VERSION == KVT317XML_VERSION_CHECK(KVT317XML_VERSION_MAJOR,
                                                               KVT317XML_VERSION_MINOR,
                                                               KVT317XML_VERSION_PATCH),
                  "version macros disagree");
    if (std::strcmp(KVT317XML_VERSION_STRING, EXPECTED_VERSION) != 0 ||
        QT_VERSION_MAJOR != EXPECTED_QT_MAJOR) {
        std::puts("consumer: unexpected version");
        return 1;
    }
    qInstallMessageHandler(CaptureMessage);
    qCWarning(REPORTGENERATOR::lcReportBase) << "from the application";
    qDebug() << range;
    qInstallMessageHandler(nullptr);
    const QString expectedOutput =
        QStringLiteral("reportbase: from the application\n"
                       "default: FrequencyRange(StartFrequency=1000000.00)\n");
    if (debugOutput != expectedOutput) {
        std::printf("consumer: unexpected output:\n%s", qUtf8Printable(debugOutput));
        return 1;
    }
    std::puts("consumer: ok");
    return 0;
}

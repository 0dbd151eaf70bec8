#pragma once

#include <IRGObject.h>
#include <KVT317SettingsDetail.h>
#include <RGException.h>
#include <RecordDescription.h>

#include <QBuffer>
#include <QByteArray>
#include <QDataStream>
#include <QFile>
#include <QLoggingCategory>
#include <QString>
#include <QStringList>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>
#include <QtGlobal>

#include <memory>
#include <ostream>

#include <gtest/gtest.h>

// The bytes GetBinary writes for a record onto a big-endian memory stream.
inline QByteArray BinaryOf(const REPORTGENERATOR::IRGObject& record, int tag, bool withTag,
                           bool* written = nullptr)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QDataStream stream(&buffer);
    const bool result = record.GetBinary(stream, tag, withTag);
    if (written)
        *written = result;
    return bytes;
}

// The text GetXml writes for a record, without a document frame or indentation.
inline QString XmlOf(const REPORTGENERATOR::IRGObject& record)
{
    QString text;
    QXmlStreamWriter writer(&text);
    record.GetXml(writer);
    return text;
}

// Reads an element into a record through its own ProcessXml.
inline void ReadXml(REPORTGENERATOR::IRGObject& record, const QString& xml)
{
    QXmlStreamReader reader(xml);
    reader.readNextStartElement();
    record.ProcessXml(reader);
}

// Reads a tagless frame (its 32-bit length, then the entries) through SetBinary.
inline void ReadFrame(REPORTGENERATOR::IRGObject& record, QByteArray frame)
{
    QDataStream stream(&frame, QIODevice::ReadOnly);
    qint32 length = 0;
    stream >> length;
    record.SetBinary(stream, length);
}

// The bytes of a file. A file that cannot be read fails the test, so that no check runs
// over nothing; the result is then empty.
inline QByteArray ReadFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        ADD_FAILURE() << "cannot read " << path.toStdString();
        return QByteArray();
    }
    return file.readAll();
}

// Writes the bytes to a file, replacing it. A file that cannot be written whole fails the
// test; returns the path.
inline QString WriteFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        ADD_FAILURE() << "cannot write " << path.toStdString();
    return path;
}

#ifdef KVT317_SOURCE_DIR
// The bytes of a file under examples/; one that cannot be read fails the test.
inline QByteArray ExampleFile(const char* name)
{
    return ReadFile(QStringLiteral(KVT317_SOURCE_DIR "/examples/") + QLatin1String(name));
}
#endif

// Bytes from a hex text in which blanks are ignored.
inline QByteArray Hex(const char* hex)
{
    return QByteArray::fromHex(QByteArray(hex));
}

// A 32-bit big-endian length followed by the text's bytes: Qt's QByteArray stream form.
inline QByteArray Counted(const QByteArray& text)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << static_cast<qint32>(text.size());
    bytes.append(text);
    return bytes;
}

// Readable failure output for Qt's text and byte types.
inline void PrintTo(const QByteArray& bytes, std::ostream* os)
{
    *os << bytes.constData();
}
inline void PrintTo(const QString& text, std::ostream* os)
{
    *os << '"' << text.toStdString() << '"';
}
inline void PrintTo(const QStringList& lines, std::ostream* os)
{
    *os << "[" << lines.join(QStringLiteral(" | ")).toStdString() << "]";
}

// A logger that keeps every report as "LEVEL: message", for exact comparison.
struct LogCapture {
    QStringList lines;
    std::shared_ptr<REPORTGENERATOR::Logger> logger = std::make_shared<REPORTGENERATOR::Logger>(
        [this](REPORTGENERATOR::LogLevel level, const QString& message) {
            lines.append(REPORTGENERATOR::LogLevelName(level) + QStringLiteral(": ") + message);
        });
};

// Collects Qt's log messages (qDebug, qWarning, ...) while it lives, each as
// "category.type: message", and leaves handler and filter rules as it found them.
class QtMessageCapture
{
public:
    QtMessageCapture()
        : m_previous(qInstallMessageHandler(&Collect))
    {
        Lines().clear();
        Texts().clear();
    }
    ~QtMessageCapture()
    {
        qInstallMessageHandler(m_previous);
        QLoggingCategory::setFilterRules(QString());
    }
    QtMessageCapture(const QtMessageCapture&) = delete;
    QtMessageCapture& operator=(const QtMessageCapture&) = delete;

    // Every message as "category.type: message".
    static QStringList& Lines()
    {
        static QStringList lines;
        return lines;
    }
    // The messages' texts alone.
    static QStringList& Texts()
    {
        static QStringList texts;
        return texts;
    }

private:
    static void Collect(QtMsgType type, const QMessageLogContext& context, const QString& message)
    {
        const char* const types[] = {"debug", "warning", "critical", "fatal", "info"};
        Lines().append(QString::fromLatin1(context.category) + QLatin1Char('.') +
                       QLatin1String(types[type]) + QStringLiteral(": ") + message);
        Texts().append(message);
    }

    QtMessageHandler m_previous;
};

// An enumerator from its number, also outside the enumeration's names.
template <class E> E As(int value)
{
    return static_cast<E>(value);
}

// A detail with every member set, Name and index included, to values other than the
// defaults.
inline KVT317XML::KVT317SettingsDetail FullySetDetail()
{
    using Detail = KVT317XML::KVT317SettingsDetail;
    Detail detail;
    detail.SetName(QStringLiteral("D"));
    detail.Setindex(3);
    detail.SetAntennaPol(As<Detail::AntennaPol>(2));
    detail.SetAntPreAmp(As<Detail::AntPreAmp>(1));
    detail.SetAverageMode(As<Detail::AverageMode>(1));
    detail.SetBandwidthDF(As<Detail::BandwidthDF>(29));
    detail.SetBlockAveragingTime(7);
    detail.SetDF_Alt(As<Detail::DF_Alt>(0));
    KVT317XML::FrequencyRange range;
    range.SetStartFrequency(1.0);
    range.SetStopFrequency(2.0);
    detail.SetFrequencyRange(range);
    detail.SetReal_Time_Bandwidth(As<Detail::Real_Time_Bandwidth>(5));
    detail.SetScanMemoryID(4);
    detail.SetDFPan_Selectivity(As<Detail::DFPan_Selectivity>(3));
    detail.SetThreshold(-1);
    detail.SetStopTime(QDateTime(QDate(2024, 3, 1), QTime(12, 30, 5, 250), Qt::UTC));
    detail.SetAttSelect(As<Detail::AttSelect>(0));
    detail.SetAttenuationHoldValue(1.5f);
    detail.SetAttenuationHoldTime(2.25f);
    return detail;
}

// The second detail of the two-detail document: defaults, with the two enumerations that
// have none set, and a null stop time.
inline KVT317XML::KVT317SettingsDetail DefaultDetail()
{
    using Detail = KVT317XML::KVT317SettingsDetail;
    Detail detail;
    detail.ResetToDefault();
    detail.SetAverageMode(As<Detail::AverageMode>(0));
    detail.SetBandwidthDF(As<Detail::BandwidthDF>(0));
    detail.SetScanMemoryID(0);
    detail.SetStopTime(QDateTime());
    return detail;
}

inline const char* const FullySetDetailHex = "0000013A"
                                             "58D44D66000000050000000144"
                                             "CFF2FA5F000000080000000000000003"
                                             "36B1CFF800000008000000044C454654"
                                             "0B576A3200000006000000024F4E"
                                             "C896F956000000080000000447415445"
                                             "3C393B74000000090000000531204D487A"
                                             "C73B3D20000000080000000000000007"
                                             "5CC6C90800000008000000044155544F"
                                             "08B36734000000202D99DCB90000000800000004312E3030"
                                             "7ADC955A0000000800000004322E3030"
                                             "45A23BD6000000090000000535204D487A"
                                             "375806BF000000080000000000000004"
                                             "60866F2C00000009000000055348415250"
                                             "E7B0B2F800000008FFFFFFFFFFFFFFFF"
                                             "02A425960000001C00000018323032342D30332D3031543132"
                                             "3A33303A30352C3235305A"
                                             "8C96189800000008000000044155544F"
                                             "5C505A010000000800000004312E3530"
                                             "4B68079A0000000800000004322E3235";

inline const char* const DefaultDetailHex = "000000EE"
                                            "36B1CFF8000000080000000456455254"
                                            "0B576A3200000007000000034F4646"
                                            "C896F95600000007000000034F4646"
                                            "3C393B740000000C0000000831322E353020487A"
                                            "C73B3D2000000008000000000000000A"
                                            "5CC6C9080000000F0000000B434F5252454C4154494F4E"
                                            "45A23BD60000000A000000063830204D487A"
                                            "375806BF000000080000000000000000"
                                            "60866F2C0000000A000000064E4F524D414C"
                                            "E7B0B2F8000000080000000000000014"
                                            "02A4259600000004FFFFFFFF"
                                            "8C9618980000000A000000064D414E55414C"
                                            "5C505A01000000090000000531302E3030"
                                            "4B68079A0000000A000000063130302E3030";

inline const QString FullySetDetailXml = QStringLiteral(
    "<KVT317SettingsDetail Name=\"D\" index=\"3\">"
    "<AntennaPol>LEFT</AntennaPol><AntPreAmp>ON</AntPreAmp><AverageMode>GATE</AverageMode>"
    "<BandwidthDF>1 MHz</BandwidthDF><BlockAveragingTime>7</BlockAveragingTime>"
    "<DF_Alt>AUTO</DF_Alt>"
    "<FrequencyRange><StartFrequency>1.00</StartFrequency><StopFrequency>2.00</StopFrequency>"
    "</FrequencyRange>"
    "<Real_Time_Bandwidth>5 MHz</Real_Time_Bandwidth><ScanMemoryID>4</ScanMemoryID>"
    "<DFPan_Selectivity>SHARP</DFPan_Selectivity><Threshold>-1</Threshold>"
    "<StopTime>2024-03-01T12:30:05,250Z</StopTime><AttSelect>AUTO</AttSelect>"
    "<AttenuationHoldValue>1.50</AttenuationHoldValue>"
    "<AttenuationHoldTime>2.25</AttenuationHoldTime>"
    "</KVT317SettingsDetail>");

// ---- Members by description ----------------------------------------------------------

// The bit of a member by its name.
inline int Bit(const KVT317XML::RecordDescription& description, const char* name)
{
    return description.FindName(QString::fromLatin1(name))->bit;
}

// A detail with every required member set, named.
inline KVT317XML::KVT317SettingsDetail CompleteDetail(const QString& name)
{
    KVT317XML::KVT317SettingsDetail detail;
    detail.ResetToDefault();
    detail.SetAverageMode(KVT317XML::KVT317SettingsDetail::AverageMode(1));
    detail.SetBandwidthDF(KVT317XML::KVT317SettingsDetail::BandwidthDF(3));
    detail.SetScanMemoryID(4);
    detail.SetStopTime(QDateTime(QDate(2026, 11, 30), QTime(18, 0), Qt::UTC));
    detail.SetName(name);
    return detail;
}

// What an action reports with validation off: the logged lines.
template <class R, class Action> QStringList Logged(R& record, Action action)
{
    LogCapture log;
    record.SetLogger(log.logger);
    action(record);
    record.SetLogger(nullptr);
    return log.lines;
}

// What an action raises with validation on: "Type: message", or "" when it does not raise.
template <class R, class Action> QString Raised(R& record, Action action)
{
    record.SetLogger(nullptr);
    record.SetValidate(true);
    QString raised;
    try {
        action(record);
    } catch (const REPORTGENERATOR::OutOfRangeException& exception) {
        raised = QStringLiteral("OutOfRange: ") + exception.GetMessage();
    } catch (const REPORTGENERATOR::IncompleteDefinitionException& exception) {
        raised = QStringLiteral("IncompleteDefinition: ") + exception.GetMessage();
    }
    record.SetValidate(false);
    return raised;
}

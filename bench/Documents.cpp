#include "Documents.h"

#include <QBuffer>
#include <QDataStream>
#include <QHash>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

#include <map>
#include <memory>
#include <mutex>

namespace bench {

namespace {

using Detail = KVT317XML::KVT317SettingsDetail;

constexpr quint32 AllMembers = (1u << 17) - 1;
// Date-times in both directions are the base library's fast converters, in the floors too.
using REPORTGENERATOR::Converters;

QStringList NamesOf(const QList<Detail::structKVTBandwidthDF>& pairs)
{
    QStringList names;
    for (const auto& pair : pairs)
        names.append(pair.name);
    return names;
}

QStringList NamesOf(const QList<Detail::structKVTReal_Time_Bandwidth>& pairs)
{
    QStringList names;
    for (const auto& pair : pairs)
        names.append(pair.name);
    return names;
}

QString Fixed2(double value)
{
    return QStringLiteral("%1").arg(value, 0, 'f', 2, QLatin1Char(' '));
}

PlainDetail Generate(int i)
{
    static const QStringList places{QStringLiteral("Flughafen Zürich <Süd>"),
                                    QStringLiteral("Hafen & Schleuse \"Nord\""),
                                    QStringLiteral("Τηλεπικοινωνίες 'Α'"),
                                    QStringLiteral("Côte d'Azur — Nice"),
                                    QStringLiteral("Øresund > Malmö"),
                                    QStringLiteral("Marine VHF"),
                                    QStringLiteral("東京 航空")};
    PlainDetail d;
    d.set = AllMembers;
    d.antennaPol = i % 4;
    d.antPreAmp = i % 2;
    d.averageMode = i % 3;
    d.bandwidthDF = i % 31;
    d.blockAveragingTime = 10 + i % 1000;
    d.dfAlt = i % 5;
    d.range.start = 1000000.0 + i * 12500.25;
    d.range.stop = d.range.start + 25000.0;
    d.realTime = i % 10;
    d.scanMemoryID = i;
    d.selectivity = i % 4;
    d.threshold = -50 + i % 100;
    d.stopTime = QDateTime(QDate(2026, 11, 30), QTime(18, 0), Qt::UTC).addSecs(60 * i);
    d.attSelect = i % 2;
    d.holdValue = static_cast<float>(i % 400) / 4.0f;
    d.holdTime = 100.0f + static_cast<float>(i % 1000) * 0.5f;
    d.name = QStringLiteral("%1 %2").arg(places.at(i % places.size())).arg(i);
    d.index = i + 1;
    return d;
}

Detail RecordOf(const PlainDetail& p)
{
    Detail d;
    d.SetName(p.name);
    d.Setindex(p.index);
    d.SetAntennaPol(static_cast<Detail::AntennaPol>(p.antennaPol));
    d.SetAntPreAmp(static_cast<Detail::AntPreAmp>(p.antPreAmp));
    d.SetAverageMode(static_cast<Detail::AverageMode>(p.averageMode));
    d.SetBandwidthDF(static_cast<Detail::BandwidthDF>(p.bandwidthDF));
    d.SetBlockAveragingTime(p.blockAveragingTime);
    d.SetDF_Alt(static_cast<Detail::DF_Alt>(p.dfAlt));
    KVT317XML::FrequencyRange range;
    range.SetStartFrequency(p.range.start);
    range.SetStopFrequency(p.range.stop);
    d.SetFrequencyRange(range);
    d.SetReal_Time_Bandwidth(static_cast<Detail::Real_Time_Bandwidth>(p.realTime));
    d.SetScanMemoryID(p.scanMemoryID);
    d.SetDFPan_Selectivity(static_cast<Detail::DFPan_Selectivity>(p.selectivity));
    d.SetThreshold(p.threshold);
    d.SetStopTime(p.stopTime);
    d.SetAttSelect(static_cast<Detail::AttSelect>(p.attSelect));
    d.SetAttenuationHoldValue(p.holdValue);
    d.SetAttenuationHoldTime(p.holdTime);
    return d;
}

// Tags of the binary form.
enum : quint32 {
    RootTag = 0x5DF5F465,
    ListTag = 0x09751B80,
    NameTag = 0x58D44D66,
    IndexTag = 0xCFF2FA5F,
    AntennaPolTag = 0x36B1CFF8,
    AntPreAmpTag = 0x0B576A32,
    AverageModeTag = 0xC896F956,
    BandwidthDFTag = 0x3C393B74,
    BlockAveragingTimeTag = 0xC73B3D20,
    DFAltTag = 0x5CC6C908,
    RangeTag = 0x08B36734,
    RealTimeTag = 0x45A23BD6,
    ScanMemoryIDTag = 0x375806BF,
    SelectivityTag = 0x60866F2C,
    ThresholdTag = 0xE7B0B2F8,
    StopTimeTag = 0x02A42596,
    AttSelectTag = 0x8C961898,
    HoldValueTag = 0x5C505A01,
    HoldTimeTag = 0x4B68079A,
    StartTag = 0x2D99DCB9,
    StopTag = 0x7ADC955A,
};

void Patch(QDataStream& out, qint64 start)
{
    QIODevice* device = out.device();
    const qint64 end = device->pos();
    device->seek(start - 4);
    out << static_cast<qint32>(end - start);
    device->seek(end);
}

qint64 Placeholder(QDataStream& out)
{
    out << qint32(0);
    return out.device()->pos();
}

} // namespace

bool PlainDetail::operator==(const PlainDetail& o) const
{
    return set == o.set && antennaPol == o.antennaPol && antPreAmp == o.antPreAmp &&
           averageMode == o.averageMode && bandwidthDF == o.bandwidthDF &&
           blockAveragingTime == o.blockAveragingTime && dfAlt == o.dfAlt && range == o.range &&
           realTime == o.realTime && scanMemoryID == o.scanMemoryID &&
           selectivity == o.selectivity && threshold == o.threshold && stopTime == o.stopTime &&
           attSelect == o.attSelect && holdValue == o.holdValue && holdTime == o.holdTime &&
           name == o.name && index == o.index;
}

const Names& Names::Get()
{
    static const Names names{Detail::GetAntennaPols(),
                             Detail::GetAntPreAmps(),
                             Detail::GetAverageModes(),
                             NamesOf(Detail::GetBandwidthDFs()),
                             Detail::GetDF_Alts(),
                             NamesOf(Detail::GetReal_Time_Bandwidths()),
                             Detail::GetDFPan_Selectivitys(),
                             Detail::GetAttSelects()};
    return names;
}

const std::shared_ptr<REPORTGENERATOR::Logger>& Silent()
{
    static const std::shared_ptr<REPORTGENERATOR::Logger> logger =
        std::make_shared<REPORTGENERATOR::Logger>(REPORTGENERATOR::Logger::Sink());
    return logger;
}

const Document& DocumentOf(int size)
{
    static std::mutex mutex;
    static std::map<int, std::unique_ptr<Document>> documents;
    const std::lock_guard<std::mutex> lock(mutex);
    std::unique_ptr<Document>& document = documents[size];
    if (!document) {
        document = std::make_unique<Document>();
        document->size = size;
        QVector<Detail> details;
        details.reserve(size);
        for (int i = 0; i < size; ++i) {
            document->plain.append(Generate(i));
            details.append(RecordOf(document->plain.last()));
        }
        KVT317XML::KVT317_Settings made;
        made.SetKVT317SettingsDetail(details);
        document->xml = made.GetXmlString();
        document->binary = made.GetBinaryRepresentationAsQByteArray();
        // Documents are measured as an application holds them: loaded.
        document->record.SetXmlString(document->xml, false);
        document->logged.SetLogger(Silent());
        document->logged.SetXmlString(document->xml, false);
    }
    return *document;
}

qint64 ReadXmlTexts(const QString& xml)
{
    QXmlStreamReader reader(xml);
    qint64 total = 0;
    while (!reader.atEnd()) {
        switch (reader.readNext()) {
        case QXmlStreamReader::StartElement:
            for (const QXmlStreamAttribute& attribute : reader.attributes())
                total += attribute.value().toString().size();
            break;
        case QXmlStreamReader::Characters:
            if (!reader.isWhitespace())
                total += reader.text().toString().size();
            break;
        default:
            break;
        }
    }
    return total;
}

QString WriteXml(const QVector<PlainDetail>& details)
{
    const Names& names = Names::Get();
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QXmlStreamWriter w(&buffer);
    w.setAutoFormatting(true);
    w.setAutoFormattingIndent(2);
    w.writeStartDocument();
    w.writeStartElement(QStringLiteral("KVT317_Settings"));
    for (const PlainDetail& d : details) {
        w.writeStartElement(QStringLiteral("KVT317SettingsDetail"));
        w.writeAttribute(QStringLiteral("Name"), d.name);
        w.writeAttribute(QStringLiteral("index"), QString::number(d.index));
        w.writeTextElement(QStringLiteral("AntennaPol"), names.antennaPol.at(d.antennaPol));
        w.writeTextElement(QStringLiteral("AntPreAmp"), names.antPreAmp.at(d.antPreAmp));
        w.writeTextElement(QStringLiteral("AverageMode"), names.averageMode.at(d.averageMode));
        w.writeTextElement(QStringLiteral("BandwidthDF"), names.bandwidthDF.at(d.bandwidthDF));
        w.writeTextElement(QStringLiteral("BlockAveragingTime"),
                           QString::number(d.blockAveragingTime));
        w.writeTextElement(QStringLiteral("DF_Alt"), names.dfAlt.at(d.dfAlt));
        w.writeStartElement(QStringLiteral("FrequencyRange"));
        w.writeTextElement(QStringLiteral("StartFrequency"), Fixed2(d.range.start));
        w.writeTextElement(QStringLiteral("StopFrequency"), Fixed2(d.range.stop));
        w.writeEndElement();
        w.writeTextElement(QStringLiteral("Real_Time_Bandwidth"), names.realTime.at(d.realTime));
        w.writeTextElement(QStringLiteral("ScanMemoryID"), QString::number(d.scanMemoryID));
        w.writeTextElement(QStringLiteral("DFPan_Selectivity"),
                           names.selectivity.at(d.selectivity));
        w.writeTextElement(QStringLiteral("Threshold"), QString::number(d.threshold));
        w.writeTextElement(QStringLiteral("StopTime"), Converters::ToString(d.stopTime));
        w.writeTextElement(QStringLiteral("AttSelect"), names.attSelect.at(d.attSelect));
        w.writeTextElement(QStringLiteral("AttenuationHoldValue"), Fixed2(d.holdValue));
        w.writeTextElement(QStringLiteral("AttenuationHoldTime"), Fixed2(d.holdTime));
        w.writeEndElement();
    }
    w.writeEndElement();
    w.writeEndDocument();
    return QString::fromUtf8(bytes);
}

QByteArray WriteBinary(const QVector<PlainDetail>& details)
{
    const Names& names = Names::Get();
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QDataStream out(&buffer);
    out.setVersion(QDataStream::Qt_5_15);
    const auto text = [&out](quint32 tag, const QString& value) {
        const QByteArray utf8 = value.toUtf8();
        out << qint32(tag) << qint32(4 + utf8.size()) << utf8;
    };
    const auto whole = [&out](quint32 tag, int value) {
        out << qint32(tag) << qint32(8) << qint64(value);
    };
    out << qint32(RootTag);
    const qint64 root = Placeholder(out);
    out << qint32(ListTag);
    const qint64 list = Placeholder(out);
    out << qint32(details.size());
    for (const PlainDetail& d : details) {
        const qint64 item = Placeholder(out);
        text(NameTag, d.name);
        whole(IndexTag, d.index);
        text(AntennaPolTag, names.antennaPol.at(d.antennaPol));
        text(AntPreAmpTag, names.antPreAmp.at(d.antPreAmp));
        text(AverageModeTag, names.averageMode.at(d.averageMode));
        text(BandwidthDFTag, names.bandwidthDF.at(d.bandwidthDF));
        whole(BlockAveragingTimeTag, d.blockAveragingTime);
        text(DFAltTag, names.dfAlt.at(d.dfAlt));
        out << qint32(RangeTag);
        const qint64 range = Placeholder(out);
        text(StartTag, Fixed2(d.range.start));
        text(StopTag, Fixed2(d.range.stop));
        Patch(out, range);
        text(RealTimeTag, names.realTime.at(d.realTime));
        whole(ScanMemoryIDTag, d.scanMemoryID);
        text(SelectivityTag, names.selectivity.at(d.selectivity));
        whole(ThresholdTag, d.threshold);
        text(StopTimeTag, Converters::ToString(d.stopTime));
        text(AttSelectTag, names.attSelect.at(d.attSelect));
        text(HoldValueTag, Fixed2(d.holdValue));
        text(HoldTimeTag, Fixed2(d.holdTime));
        Patch(out, item);
    }
    Patch(out, list);
    Patch(out, root);
    return bytes;
}

QVector<PlainDetail> ReadBinary(const QByteArray& bytes)
{
    const Names& names = Names::Get();
    QDataStream in(bytes);
    in.setVersion(QDataStream::Qt_5_15);
    QVector<PlainDetail> details;
    qint32 tag = 0, length = 0, count = 0;
    in >> tag >> length >> tag >> length >> count;
    details.reserve(count);
    QByteArray payload;
    const auto text = [&]() {
        in >> payload;
        return QString::fromUtf8(payload);
    };
    const auto whole = [&]() {
        qint64 value = 0;
        in >> value;
        return static_cast<int>(value);
    };
    for (qint32 i = 0; i < count && in.status() == QDataStream::Ok; ++i) {
        PlainDetail d;
        qint32 itemLength = 0;
        in >> itemLength;
        const qint64 end = in.device()->pos() + itemLength;
        while (in.device()->pos() < end && in.status() == QDataStream::Ok) {
            qint32 memberLength = 0;
            in >> tag >> memberLength;
            switch (static_cast<quint32>(tag)) {
            case NameTag:
                d.name = text();
                d.set |= 1u << 15;
                break;
            case IndexTag:
                d.index = whole();
                d.set |= 1u << 16;
                break;
            case AntennaPolTag:
                d.antennaPol = names.antennaPol.indexOf(text());
                d.set |= 1u << 0;
                break;
            case AntPreAmpTag:
                d.antPreAmp = names.antPreAmp.indexOf(text());
                d.set |= 1u << 1;
                break;
            case AverageModeTag:
                d.averageMode = names.averageMode.indexOf(text());
                d.set |= 1u << 2;
                break;
            case BandwidthDFTag:
                d.bandwidthDF = names.bandwidthDF.indexOf(text());
                d.set |= 1u << 3;
                break;
            case BlockAveragingTimeTag:
                d.blockAveragingTime = whole();
                d.set |= 1u << 4;
                break;
            case DFAltTag:
                d.dfAlt = names.dfAlt.indexOf(text());
                d.set |= 1u << 5;
                break;
            case RangeTag: {
                const qint64 rangeEnd = in.device()->pos() + memberLength;
                while (in.device()->pos() < rangeEnd && in.status() == QDataStream::Ok) {
                    qint32 rangeLength = 0;
                    in >> tag >> rangeLength;
                    if (static_cast<quint32>(tag) == StartTag)
                        d.range.start = text().toDouble();
                    else if (static_cast<quint32>(tag) == StopTag)
                        d.range.stop = text().toDouble();
                    else
                        in.skipRawData(rangeLength);
                }
                d.set |= 1u << 6;
                break;
            }
            case RealTimeTag:
                d.realTime = names.realTime.indexOf(text());
                d.set |= 1u << 7;
                break;
            case ScanMemoryIDTag:
                d.scanMemoryID = whole();
                d.set |= 1u << 8;
                break;
            case SelectivityTag:
                d.selectivity = names.selectivity.indexOf(text());
                d.set |= 1u << 9;
                break;
            case ThresholdTag:
                d.threshold = whole();
                d.set |= 1u << 10;
                break;
            case StopTimeTag:
                d.stopTime = Converters::ToDateTime(text());
                d.set |= 1u << 11;
                break;
            case AttSelectTag:
                d.attSelect = names.attSelect.indexOf(text());
                d.set |= 1u << 12;
                break;
            case HoldValueTag:
                d.holdValue = text().toFloat();
                d.set |= 1u << 13;
                break;
            case HoldTimeTag:
                d.holdTime = text().toFloat();
                d.set |= 1u << 14;
                break;
            default:
                in.skipRawData(memberLength);
            }
        }
        details.append(d);
    }
    return details;
}

int CheckPlain(const QVector<PlainDetail>& details)
{
    const Names& names = Names::Get();
    const auto outside = [](int value, const QStringList& list) {
        return value < 0 || value >= list.size();
    };
    int faults = 0;
    for (const PlainDetail& d : details) {
        for (int bit = 0; bit < 15; ++bit)
            faults += (d.set & (1u << bit)) ? 0 : 1;
        faults += outside(d.antennaPol, names.antennaPol) + outside(d.antPreAmp, names.antPreAmp) +
                  outside(d.averageMode, names.averageMode) +
                  outside(d.bandwidthDF, names.bandwidthDF) + outside(d.dfAlt, names.dfAlt) +
                  outside(d.realTime, names.realTime) + outside(d.selectivity, names.selectivity) +
                  outside(d.attSelect, names.attSelect);
        faults += (d.set & (1u << 15)) && d.name.isNull() ? 1 : 0;
    }
    return faults;
}

} // namespace bench

#include "Commands.h"
#include "Document.h"

#include <BearingSettings.h>
#include <KVT317_Settings.h>

#include <QDataStream>
#include <QTextStream>

#include <functional>

using namespace KVT317XML;

namespace {

QTextStream& Out()
{
    static QTextStream stream(stdout);
    return stream;
}

QTextStream& Err()
{
    static QTextStream stream(stderr);
    return stream;
}

QString Label(const QString& path)
{
    return path == QLatin1String("-") ? QStringLiteral("<stdin>") : path;
}

// Prints a document's reports; returns whether it is usable.
bool Loaded(const Document& document)
{
    if (document.loaded)
        return true;
    for (const QString& report : document.reports)
        Err() << Label(document.path) << ": " << report << Qt::endl;
    return false;
}

int LoadStatus(const Document& document)
{
    return document.readable ? Faults : UsageOrIo;
}

// Hertz in engineering units.
QString Hertz(double value)
{
    const double magnitude = value < 0 ? -value : value;
    if (magnitude >= 1e9)
        return QStringLiteral("%1 GHz").arg(value / 1e9, 0, 'f', 6);
    if (magnitude >= 1e6)
        return QStringLiteral("%1 MHz").arg(value / 1e6, 0, 'f', 6);
    if (magnitude >= 1e3)
        return QStringLiteral("%1 kHz").arg(value / 1e3, 0, 'f', 3);
    return QStringLiteral("%1 Hz").arg(value, 0, 'f', 2);
}

QString Shown(const Record& record, const MemberDescription& member)
{
    const QString text = record.MemberText(member.bit);
    if (member.kind == MemberKind::Double && member.name.endsWith(QLatin1String("Frequency")))
        return Hertz(text.toDouble());
    return text.isEmpty() ? QStringLiteral("\"\"") : text;
}

void ShowRecord(const Record& record, const QString& indent)
{
    QStringList unset;
    for (const MemberDescription& member : record.GetDescription().members) {
        if (member.kind == MemberKind::RecordList) {
            for (int i = 0; i < record.ListSize(member.bit); ++i) {
                const Record* item = record.ListItem(member.bit, i);
                Out() << indent << member.name << " " << i + 1 << Qt::endl;
                ShowRecord(*item, indent + QStringLiteral("  "));
            }
            continue;
        }
        if (!record.IsMemberSet(member.bit)) {
            unset.append(member.name);
            continue;
        }
        if (member.kind == MemberKind::Record) {
            const Record* child = record.Child(member.bit);
            QStringList values;
            for (const MemberDescription& inner : child->GetDescription().members)
                values.append(child->IsMemberSet(inner.bit) ? Shown(*child, inner)
                                                            : QStringLiteral("(unset)"));
            Out() << indent << QStringLiteral("%1").arg(member.name, -22)
                  << values.join(QStringLiteral(" .. ")) << Qt::endl;
            continue;
        }
        Out() << indent << QStringLiteral("%1").arg(member.name, -22) << Shown(record, member)
              << Qt::endl;
    }
    if (!unset.isEmpty())
        Out() << indent << QStringLiteral("%1").arg(QStringLiteral("unset:"), -22)
              << unset.join(QStringLiteral(", ")) << Qt::endl;
}

void DiffRecords(const Record& a, const Record& b, const QString& path, int& differences)
{
    for (const MemberDescription& member : a.GetDescription().members) {
        const QString name = path + member.name;
        if (member.kind == MemberKind::RecordList) {
            const int sizeA = a.ListSize(member.bit);
            const int sizeB = b.ListSize(member.bit);
            for (int i = 0; i < qMax(sizeA, sizeB); ++i) {
                const QString item = QStringLiteral("%1[%2]").arg(name).arg(i + 1);
                if (i >= sizeA || i >= sizeB) {
                    Out() << item << ": only in " << (i < sizeA ? "A" : "B") << Qt::endl;
                    ++differences;
                } else {
                    DiffRecords(*a.ListItem(member.bit, i), *b.ListItem(member.bit, i),
                                item + QLatin1Char('.'), differences);
                }
            }
            continue;
        }
        const bool setA = a.IsMemberSet(member.bit);
        const bool setB = b.IsMemberSet(member.bit);
        if (!setA && !setB)
            continue;
        if (member.kind == MemberKind::Record && setA && setB) {
            DiffRecords(*a.Child(member.bit), *b.Child(member.bit), name + QLatin1Char('.'),
                        differences);
            continue;
        }
        const QString textA = setA ? a.MemberText(member.bit) : QStringLiteral("(unset)");
        const QString textB = setB ? b.MemberText(member.bit) : QStringLiteral("(unset)");
        if (setA != setB || textA != textB) {
            Out() << name << ": " << textA << " -> " << textB << Qt::endl;
            ++differences;
        }
    }
}

// ---- dump ----------------------------------------------------------------------------

class Dumper
{
public:
    explicit Dumper(const QByteArray& frame)
        : m_frame(frame)
    {
    }

    // Lists the frame; false at the first inconsistency.
    bool Run(const RecordDescription& description)
    {
        qint32 tag = 0;
        qint32 length = 0;
        if (!ReadInt(0, tag) || !ReadInt(4, length))
            return Fail(0, QStringLiteral("a frame head of 8 bytes"));
        Line(0, 0,
             QStringLiteral("frame %1 %2, length %3").arg(Hex(tag), description.name).arg(length));
        if (length < 0 || 8 + qint64(length) > m_frame.size())
            return Fail(4, QStringLiteral("a record length of at most %1").arg(m_frame.size() - 8));
        if (!Entries(description, 8, 8 + length, 1))
            return false;
        if (8 + length != m_frame.size())
            return Fail(8 + length, QStringLiteral("the end of the data after the frame"));
        return true;
    }

private:
    bool Entries(const RecordDescription& description, qint64 from, qint64 to, int depth)
    {
        qint64 offset = from;
        while (offset < to) {
            qint32 tag = 0;
            qint32 length = 0;
            if (offset + 8 > to || !ReadInt(offset, tag) || !ReadInt(offset + 4, length))
                return Fail(offset, QStringLiteral("an entry head of 8 bytes within the frame"));
            if (length < 0 || offset + 8 + length > to)
                return Fail(offset + 4,
                            QStringLiteral("a payload length of at most %1").arg(to - offset - 8));
            const qint64 payload = offset + 8;
            const MemberDescription* member = description.FindTag(static_cast<quint32>(tag));
            const QString head =
                QStringLiteral("%1 %2, length %3")
                    .arg(Hex(tag), member ? member->name : QStringLiteral("(unknown)"))
                    .arg(length);
            if (!member) {
                Line(offset, depth,
                     head + QStringLiteral(": ") +
                         m_frame.mid(payload, qMin(length, 32)).toHex(' ') +
                         (length > 32 ? " ..." : ""));
            } else if (member->kind == MemberKind::Record) {
                Line(offset, depth, head);
                if (!Entries(*member->nested(), payload, payload + length, depth + 1))
                    return false;
            } else if (member->kind == MemberKind::RecordList) {
                qint32 count = 0;
                if (length < 4 || !ReadInt(payload, count))
                    return Fail(payload, QStringLiteral("a 4-byte item count"));
                Line(offset, depth, head + QStringLiteral(", %1 items").arg(count));
                qint64 item = payload + 4;
                for (qint32 i = 0; i < count; ++i) {
                    qint32 itemLength = 0;
                    if (item + 4 > payload + length || !ReadInt(item, itemLength))
                        return Fail(
                            item,
                            QStringLiteral("the length of item %1 of %2").arg(i + 1).arg(count));
                    if (itemLength < 0 || item + 4 + itemLength > payload + length)
                        return Fail(item, QStringLiteral("an item length of at most %1")
                                              .arg(payload + length - item - 4));
                    Line(item, depth + 1,
                         QStringLiteral("item %1, length %2").arg(i + 1).arg(itemLength));
                    if (!Entries(*member->nested(), item + 4, item + 4 + itemLength, depth + 2))
                        return false;
                    item += 4 + itemLength;
                }
                if (item != payload + length)
                    return Fail(
                        item,
                        QStringLiteral("the end of the list at offset %1").arg(payload + length));
            } else if (member->kind == MemberKind::Integer) {
                if (length != 8)
                    return Fail(offset + 4,
                                QStringLiteral("a payload length of 8 for a whole number"));
                qint64 value = 0;
                QDataStream stream(m_frame.mid(payload, 8));
                stream >> value;
                Line(offset, depth, head + QStringLiteral(": %1").arg(value));
            } else {
                qint32 count = 0;
                if (length < 4 || !ReadInt(payload, count) || (count != -1 && count != length - 4))
                    return Fail(payload, QStringLiteral("a text of %1 bytes").arg(length - 4));
                const QString text = count < 0
                                         ? QStringLiteral("(null)")
                                         : QLatin1Char('"') +
                                               QString::fromUtf8(m_frame.mid(payload + 4, count)) +
                                               QLatin1Char('"');
                Line(offset, depth, head + QStringLiteral(": ") + text);
            }
            offset = payload + length;
        }
        return true;
    }

    bool ReadInt(qint64 offset, qint32& value) const
    {
        if (offset + 4 > m_frame.size())
            return false;
        QDataStream stream(m_frame.mid(offset, 4));
        stream >> value;
        return true;
    }

    static QString Hex(qint32 value)
    {
        return QStringLiteral("0x") + QString::number(static_cast<quint32>(value), 16)
                                          .rightJustified(8, QLatin1Char('0'))
                                          .toUpper();
    }

    void Line(qint64 offset, int depth, const QString& text)
    {
        Out() << QString::number(offset).rightJustified(8, QLatin1Char(' ')) << "  "
              << QString(depth * 2, QLatin1Char(' ')) << text << Qt::endl;
    }

    bool Fail(qint64 offset, const QString& expected)
    {
        Out() << "damaged at offset " << offset << ": expected " << expected << Qt::endl;
        return false;
    }

    QByteArray m_frame;
};

} // namespace

int Check(const QStringList& files)
{
    int faulty = 0;
    int status = Success;
    for (const QString& path : files) {
        Document document = LoadDocument(path);
        if (document.loaded)
            document.record->Check(true);
        for (const QString& report : document.reports)
            Out() << Label(path) << ": " << report << Qt::endl;
        if (document.HasErrors()) {
            ++faulty;
            status = qMax(status, static_cast<int>(LoadStatus(document)));
        }
    }
    Out() << "checked " << files.size() << (files.size() == 1 ? " file, " : " files, ") << faulty
          << " with faults" << Qt::endl;
    return status == Success && faulty > 0 ? Faults : status;
}

int Convert(const QString& input, const QString& output, QString form, int level)
{
    if (form.isEmpty()) {
        if (output.endsWith(QLatin1String(".xml")))
            form = QStringLiteral("xml");
        else if (output.endsWith(QLatin1String(".binz")))
            form = QStringLiteral("compressed");
        else if (output.endsWith(QLatin1String(".bin")))
            form = QStringLiteral("binary");
        else {
            Err() << "kvt317 convert: cannot tell the output form from '" << output
                  << "'; use --to xml|binary|compressed" << Qt::endl;
            return UsageOrIo;
        }
    }
    const Document document = LoadDocument(input);
    if (!Loaded(document))
        return LoadStatus(document);
    const QString error = SaveDocument(*document.record, output, form, level);
    if (!error.isEmpty()) {
        Err() << "kvt317 convert: " << error << Qt::endl;
        return UsageOrIo;
    }
    return Success;
}

int Show(const QString& file)
{
    const Document document = LoadDocument(file);
    if (!Loaded(document))
        return LoadStatus(document);
    Out() << Label(file) << ": " << document.type << ", " << document.FormName() << Qt::endl;
    ShowRecord(*document.record, QStringLiteral("  "));
    return Success;
}

int Dump(const QString& file)
{
    const Document document = LoadDocument(file);
    if (!document.readable) {
        Err() << Label(file) << ": cannot read the input" << Qt::endl;
        return UsageOrIo;
    }
    if (document.form == Document::Form::Xml) {
        Err() << Label(file) << ": an XML document; dump lists binary documents" << Qt::endl;
        return UsageOrIo;
    }
    QString fault;
    const QByteArray frame = REPORTGENERATOR::IRGObject::PlainFrame(document.bytes, &fault);
    if (frame.isNull()) {
        Out() << "damaged: " << fault << Qt::endl;
        return Faults;
    }
    if (document.form == Document::Form::Compressed)
        Out() << "compressed: " << document.bytes.size() << " bytes, inflated to " << frame.size()
              << " bytes" << Qt::endl;
    const RecordDescription* description = nullptr;
    for (const RecordDescription* candidate : AllRecordDescriptions())
        if (candidate->name == document.type)
            description = candidate;
    if (!description) {
        Out() << "damaged at offset 0: expected the tag of a known record type" << Qt::endl;
        return Faults;
    }
    return Dumper(frame).Run(*description) ? Success : Faults;
}

int Diff(const QString& first, const QString& second)
{
    const Document a = LoadDocument(first);
    const Document b = LoadDocument(second);
    if (!Loaded(a) || !Loaded(b))
        return qMax(LoadStatus(a), LoadStatus(b));
    if (a.type != b.type) {
        Out() << "A is " << a.type << ", B is " << b.type << Qt::endl;
        return Faults;
    }
    int differences = 0;
    DiffRecords(*a.record, *b.record, QString(), differences);
    const bool equal = a.record->Equals(*b.record);
    if (equal && differences == 0)
        Out() << "equal" << Qt::endl;
    return equal ? Success : Faults;
}

int New(bool bearing, const QString& output)
{
    std::unique_ptr<Record> record;
    if (bearing) {
        auto settings = std::make_unique<BearingSettings>();
        settings->SetName(QStringLiteral("Bearing 1"));
        settings->SetIndex(1);
        settings->SetFrequency(100000000.0);
        settings->SetDFMode(BearingSettings::DFMode_Norm);
        settings->SetAveragingTime(1000);
        record = std::move(settings);
    } else {
        KVT317SettingsDetail detail;
        detail.ResetToDefault();
        detail.SetName(QStringLiteral("Setting 1"));
        detail.Setindex(1);
        detail.SetAverageMode(KVT317SettingsDetail::AverageMode_OFF);
        detail.SetBandwidthDF(KVT317SettingsDetail::BandwidthDF_1_00_kHz);
        detail.SetScanMemoryID(0);
        detail.SetStopTime(QDateTime());
        detail.GetFrequencyRange().ResetToDefault();
        auto settings = std::make_unique<KVT317_Settings>();
        settings->SetValidate(true);
        settings->AppendKVT317SettingsDetail(detail);
        record = std::move(settings);
    }
    record->SetValidate(true);
    const QString error = SaveDocument(*record, output, QStringLiteral("xml"), -1);
    if (!error.isEmpty()) {
        Err() << "kvt317 new: " << error << Qt::endl;
        return UsageOrIo;
    }
    return Success;
}

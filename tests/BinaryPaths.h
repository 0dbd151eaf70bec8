#pragma once

// The two ways the binary reader reads a document: from its bytes at once (a QBuffer, a file,
// a byte array) and field by field through QDataStream (any other device). Loads a document
// both ways and says everything each gave: the result, the reports, the findings with their
// offsets, the entries an observer lists, the record read, and where the stream stopped.
// Shared by the differential tests and the fuzz targets.

#include <BearingSettings.h>
#include <KVT317SettingsDetail.h>
#include <KVT317_Settings.h>
#include <ReadObserver.h>

#include <QBuffer>
#include <QByteArray>
#include <QDataStream>
#include <QIODevice>
#include <QStringList>

#include <algorithm>
#include <cstring>
#include <memory>
#include <optional>

namespace paths {

// A device over a byte array that is neither a buffer nor a file, so that a stream over it is
// read field by field; random-access (with offsets) or sequential (without).
class ArrayDevice final : public QIODevice
{
public:
    ArrayDevice(const QByteArray& data, bool sequential)
        : m_data(data)
        , m_sequential(sequential)
    {
        open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    }
    bool isSequential() const override { return m_sequential; }
    qint64 size() const override { return m_sequential ? bytesAvailable() : m_data.size(); }
    qint64 bytesAvailable() const override
    {
        return (m_sequential ? m_data.size() - m_read : m_data.size() - pos()) +
               QIODevice::bytesAvailable();
    }
    // Bytes taken from the device so far.
    qint64 Taken() const { return m_sequential ? m_read : pos(); }

protected:
    qint64 readData(char* data, qint64 most) override
    {
        const qint64 at = m_sequential ? m_read : pos();
        const qint64 count = std::max<qint64>(0, std::min<qint64>(most, m_data.size() - at));
        std::memcpy(data, m_data.constData() + at, static_cast<std::size_t>(count));
        if (m_sequential)
            m_read += count;
        return count;
    }
    qint64 writeData(const char*, qint64) override { return -1; }

private:
    QByteArray m_data;
    bool m_sequential;
    qint64 m_read = 0;
};

enum class Path {
    Bytes,     // a QDataStream over a QBuffer: read from the bytes at once
    Stream,    // over a random-access device of its own: field by field
    Sequential // over a sequential device: field by field, no offsets
};

class Recorder final : public KVT317XML::ReadObserver
{
public:
    void Found(const KVT317XML::ReadFinding& finding) override
    {
        lines << Line(finding.path, finding.member) +
                     QStringLiteral(" %1 %2 '%3' '%4'")
                         .arg(static_cast<int>(finding.level))
                         .arg(KVT317XML::FindingKindName(finding.kind), finding.message,
                              finding.text);
        offsets << finding.position.offset;
    }
    void Read(const KVT317XML::ReadPath& path, const KVT317XML::ReadEntry& entry) override
    {
        lines << Line(path, entry.member) + QStringLiteral(" entry %1 %2 '%3'")
                                                .arg(entry.tag, 8, 16, QLatin1Char('0'))
                                                .arg(entry.length)
                                                .arg(entry.text);
        offsets << entry.position.offset;
    }
    bool WantsEntries() const override { return true; }

    QStringList lines;
    QVector<qint64> offsets;

private:
    static QString Line(const KVT317XML::ReadPath& path, const KVT317XML::MemberDescription* member)
    {
        QString line;
        for (const KVT317XML::ReadStep& step : path)
            line += QStringLiteral("/%1[%2]").arg(step.bit).arg(step.item);
        return line + QStringLiteral(" ") + (member ? member->name : QStringLiteral("-"));
    }
};

struct Outcome {
    bool loaded = false;
    QString raised;
    QStringList logged;
    QStringList found; // findings and entries, in order
    QVector<qint64> offsets;
    qint64 taken = 0; // bytes the load took from the device
    int status = 0;   // the stream's status after it
    QString xml;
    QByteArray binary;
};

inline std::unique_ptr<KVT317XML::Record> NewRecord(int kind)
{
    switch (kind) {
    case 1:
        return std::make_unique<KVT317XML::BearingSettings>();
    case 2:
        return std::make_unique<KVT317XML::KVT317SettingsDetail>();
    default:
        return std::make_unique<KVT317XML::KVT317_Settings>();
    }
}

// Loads `document` into a fresh record of `kind` (0 settings, 1 bearing, 2 detail) through a
// stream over the device of `path`.
// `xml` false leaves the record's XML out (its binary form still holds what was read).
inline Outcome Load(int kind, const QByteArray& document, Path path, bool validate, bool observe,
                    bool xml = true)
{
    Outcome outcome;
    const std::unique_ptr<KVT317XML::Record> record = NewRecord(kind);
    QStringList* const logged = &outcome.logged;
    record->SetLogger(std::make_shared<REPORTGENERATOR::Logger>(
        [logged](REPORTGENERATOR::LogLevel level, const QString& message) {
            *logged << QString::number(static_cast<int>(level)) + QStringLiteral(" ") + message;
        }));
    record->SetValidate(validate);
    Recorder recorder;
    {
        std::optional<KVT317XML::ObserveReading> observing;
        if (observe)
            observing.emplace(recorder);
        QByteArray bytes = document;
        QBuffer buffer(&bytes);
        ArrayDevice device(document, path == Path::Sequential);
        QIODevice* used = &device;
        if (path == Path::Bytes) {
            buffer.open(QIODevice::ReadOnly);
            used = &buffer;
        }
        QDataStream stream(used);
        try {
            outcome.loaded = record->SetBinaryRepresentation(stream);
        } catch (const REPORTGENERATOR::RGException& exception) {
            outcome.raised = exception.GetMessage();
        }
        outcome.taken = path == Path::Bytes ? buffer.pos() : device.Taken();
        outcome.status = static_cast<int>(stream.status());
    }
    outcome.found = recorder.lines;
    outcome.offsets = recorder.offsets;
    record->SetValidate(false);
    record->SetLogger(std::make_shared<REPORTGENERATOR::Logger>(
        [](REPORTGENERATOR::LogLevel, const QString&) {}));
    if (xml)
        outcome.xml = record->GetXmlString();
    outcome.binary = record->GetBinaryRepresentationAsQByteArray();
    return outcome;
}

// What differs between two outcomes, empty when none does.
inline QString Difference(const Outcome& a, const Outcome& b, bool offsets = true)
{
    if (a.loaded != b.loaded)
        return QStringLiteral("loaded");
    if (a.raised != b.raised)
        return QStringLiteral("raised: '%1' / '%2'").arg(a.raised, b.raised);
    if (a.logged != b.logged)
        return QStringLiteral("logged: %1 / %2")
            .arg(a.logged.join(QStringLiteral(" | ")), b.logged.join(QStringLiteral(" | ")));
    if (a.found != b.found)
        return QStringLiteral("findings: %1 / %2")
            .arg(a.found.join(QStringLiteral(" | ")), b.found.join(QStringLiteral(" | ")));
    if (offsets && a.offsets != b.offsets) {
        QStringList lines;
        for (int i = 0; i < a.offsets.size() && i < b.offsets.size(); ++i)
            if (a.offsets[i] != b.offsets[i])
                lines << QStringLiteral("%1: %2 / %3 at %4")
                             .arg(i)
                             .arg(a.offsets[i])
                             .arg(b.offsets[i])
                             .arg(a.found.value(i));
        return QStringLiteral("offsets: ") + lines.join(QStringLiteral(" | "));
    }
    if (a.taken != b.taken)
        return QStringLiteral("taken: %1 / %2").arg(a.taken).arg(b.taken);
    if (a.status != b.status)
        return QStringLiteral("status: %1 / %2").arg(a.status).arg(b.status);
    if (a.xml != b.xml)
        return QStringLiteral("xml: %1 / %2").arg(a.xml, b.xml);
    if (a.binary != b.binary)
        return QStringLiteral("binary");
    return QString();
}

// Loads a document of `kind` from its bytes and through both streams, and says what
// differs; empty when all agree.
// `quick` (for fuzzing) compares the bytes with the random-access stream only, by the
// records' binary form.
inline QString Compare(int kind, const QByteArray& document, bool validate, bool observe,
                       bool quick = false)
{
    const Outcome bytes = Load(kind, document, Path::Bytes, validate, observe, !quick);
    const Outcome stream = Load(kind, document, Path::Stream, validate, observe, !quick);
    QString difference = Difference(bytes, stream);
    if (!difference.isEmpty())
        return QStringLiteral("stream: ") + difference;
    // Unobserved, numbers, date-times and names are read from their bytes without a text.
    if (observe) {
        const Outcome unobserved = Load(kind, document, Path::Bytes, validate, false, !quick);
        if (unobserved.loaded != bytes.loaded || unobserved.raised != bytes.raised ||
            unobserved.logged != bytes.logged || unobserved.taken != bytes.taken ||
            unobserved.xml != bytes.xml || unobserved.binary != bytes.binary)
            return QStringLiteral("observed and unobserved loads differ");
    }
    // Without offsets the base cannot hold a frame's length against what its members took,
    // and a load that fails keeps nothing; where both loads agree on that, what they read
    // must agree too.
    if (quick)
        return QString();
    const Outcome sequential = Load(kind, document, Path::Sequential, validate, observe);
    if (sequential.loaded == stream.loaded &&
        (sequential.taken != stream.taken || sequential.xml != stream.xml ||
         sequential.binary != stream.binary))
        return QStringLiteral("sequential: the record or the bytes taken differ");
    return QString();
}

} // namespace paths

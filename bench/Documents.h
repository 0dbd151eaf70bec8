#pragma once

// Realistic settings documents for the benchmarks, and the same data as plain structs for
// the floors: what Qt's own classes need for the same job without the library.

#include <KVT317_Settings.h>

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QStringList>
#include <QVector>

#include <chrono>
#include <memory>

namespace bench {

using Clock = std::chrono::steady_clock;

inline double Seconds(Clock::duration duration)
{
    return std::chrono::duration<double>(duration).count();
}

struct PlainRange {
    double start = 0;
    double stop = 0;
    bool operator==(const PlainRange& o) const { return start == o.start && stop == o.stop; }
};

// One detail as an application would hold it without the library: values and a set mask.
struct PlainDetail {
    quint32 set = 0; // bit i: member i of the detail's member order
    int antennaPol = 0, antPreAmp = 0, averageMode = 0, bandwidthDF = 0;
    int blockAveragingTime = 0, dfAlt = 0;
    PlainRange range;
    int realTime = 0, scanMemoryID = 0, selectivity = 0, threshold = 0;
    QDateTime stopTime;
    int attSelect = 0;
    float holdValue = 0, holdTime = 0;
    QString name;
    int index = 0;
    bool operator==(const PlainDetail& o) const;
};

// Enumeration names, as the floors look them up.
struct Names {
    QStringList antennaPol, antPreAmp, averageMode, bandwidthDF, dfAlt, realTime, selectivity,
        attSelect;
    static const Names& Get();
};

struct Document {
    int size = 0;
    QVector<PlainDetail> plain;
    KVT317XML::KVT317_Settings record; // loaded with the default logger
    KVT317XML::KVT317_Settings logged; // loaded with an application logger (Silent())
    QString xml;                       // GetXmlString of the record
    QByteArray binary;                 // GetBinaryRepresentationAsQByteArray of the record
};

// The logger an application gives its documents: its own, here one that drops every report.
const std::shared_ptr<REPORTGENERATOR::Logger>& Silent();

// Every member set, values varied by position, names with non-ASCII and XML-special
// characters. Built once per size.
const Document& DocumentOf(int size);

// ---- Floors -------------------------------------------------------------------------------

// One QXmlStreamReader pass that takes every attribute and element text.
qint64 ReadXmlTexts(const QString& xml);
// The same document as the library writes, by a hand-written QXmlStreamWriter.
QString WriteXml(const QVector<PlainDetail>& details);
// The same bytes as the library writes, by plain QDataStream code.
QByteArray WriteBinary(const QVector<PlainDetail>& details);
// The plain structs back from those bytes, by plain QDataStream code.
QVector<PlainDetail> ReadBinary(const QByteArray& bytes);
// Reports every required member not set and every enumeration out of its table.
int CheckPlain(const QVector<PlainDetail>& details);

} // namespace bench

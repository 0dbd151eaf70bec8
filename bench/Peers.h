#pragma once

// What a C++ user would pick instead of the library, for the instruction counts: pugixml for
// the XML form and protobuf for a binary one, doing the same work on the same generated
// documents. The benchmarks alone link them.

#include "Documents.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace bench::peer {

// One detail as a plain C++ program holds it: enumerations as indexes into the name tables,
// the stop time in milliseconds since the epoch (UTC), the name as UTF-8.
struct Detail {
    std::uint32_t set = 0; // bit i: member i of the detail's member order, as PlainDetail
    int antennaPol = 0, antPreAmp = 0, averageMode = 0, bandwidthDF = 0;
    int blockAveragingTime = 0, dfAlt = 0;
    double start = 0, stop = 0;
    int realTime = 0, scanMemoryID = 0, selectivity = 0, threshold = 0;
    std::int64_t stopTime = 0;
    int attSelect = 0;
    float holdValue = 0, holdTime = 0;
    std::string name;
    int index = 0;
    bool operator==(const Detail& o) const;
};

std::vector<Detail> FromPlain(const QVector<PlainDetail>& details);

// pugixml: the document's UTF-8 text into plain details (every member, enumeration names
// through the tables, dates parsed), and plain details back to an XML text of the same shape.
std::vector<Detail> LoadXml(const std::string& utf8);
std::string SaveXml(const std::vector<Detail>& details);

// protobuf: one message per record, member for member, with explicit presence.
class Binary
{
public:
    explicit Binary(const std::vector<Detail>& details);
    ~Binary();
    Binary(const Binary&) = delete;
    Binary& operator=(const Binary&) = delete;

    // The held message's serialized bytes, made once.
    const std::string& Bytes() const;
    // Parses the bytes into a fresh message; the number of details read.
    int Load() const;
    // Serializes the held message; the number of bytes.
    std::size_t Save() const;
    // The details of a fresh message parsed from the bytes.
    std::vector<Detail> Read() const;

private:
    struct Held;
    std::unique_ptr<Held> m_held;
};

} // namespace bench::peer

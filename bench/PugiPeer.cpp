// The XML peer: pugixml loads the document into plain details and saves them back, the way a
// C++ program without the library would.

#include "Peers.h"

#include <pugixml.hpp>

#include <charconv>
#include <cstring>

namespace bench::peer {

namespace {

struct Tables {
    std::vector<std::string> antennaPol, antPreAmp, averageMode, bandwidthDF, dfAlt, realTime,
        selectivity, attSelect;

    static const Tables& Get()
    {
        static const Tables tables = [] {
            const Names& names = Names::Get();
            const auto strings = [](const QStringList& list) {
                std::vector<std::string> out;
                for (const QString& name : list)
                    out.push_back(name.toStdString());
                return out;
            };
            return Tables{strings(names.antennaPol),  strings(names.antPreAmp),
                          strings(names.averageMode), strings(names.bandwidthDF),
                          strings(names.dfAlt),       strings(names.realTime),
                          strings(names.selectivity), strings(names.attSelect)};
        }();
        return tables;
    }
};

int Find(const std::vector<std::string>& names, const char* text)
{
    for (std::size_t i = 0; i < names.size(); ++i)
        if (std::strcmp(names[i].c_str(), text) == 0)
            return static_cast<int>(i);
    return -1;
}

template <typename Number> Number Read(const char* text)
{
    Number value = 0;
    std::from_chars(text, text + std::strlen(text), value);
    return value;
}

std::int64_t DaysFromCivil(int y, unsigned m, unsigned d)
{
    y -= m <= 2 ? 1 : 0;
    const int era = (y >= 0 ? y : y - 399) / 400;
    const auto yoe = static_cast<unsigned>(y - era * 400);
    const unsigned doy = (153 * (m > 2 ? m - 3 : m + 9) + 2) / 5 + d - 1;
    const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return static_cast<std::int64_t>(era) * 146097 + static_cast<std::int64_t>(doe) - 719468;
}

// "yyyy-MM-ddThh:mm:ss,zzzZ" in milliseconds since the epoch; 0 for another text.
std::int64_t ReadTime(const char* text)
{
    if (std::strlen(text) != 24 || text[4] != '-' || text[7] != '-' || text[10] != 'T' ||
        text[13] != ':' || text[16] != ':' || text[19] != ',' || text[23] != 'Z')
        return 0;
    const auto field = [text](int at, int size) {
        int value = 0;
        for (int i = at; i < at + size; ++i)
            value = value * 10 + (text[i] - '0');
        return value;
    };
    const std::int64_t days = DaysFromCivil(field(0, 4), static_cast<unsigned>(field(5, 2)),
                                            static_cast<unsigned>(field(8, 2)));
    return ((days * 24 + field(11, 2)) * 60 + field(14, 2)) * 60000 + field(17, 2) * 1000 +
           field(20, 3);
}

void WriteTime(std::int64_t ms, char* out)
{
    std::int64_t days = ms / 86400000;
    std::int64_t rest = ms % 86400000;
    if (rest < 0) {
        rest += 86400000;
        --days;
    }
    const std::int64_t z = days + 719468;
    const std::int64_t era = (z >= 0 ? z : z - 146096) / 146097;
    const auto doe = static_cast<unsigned>(z - era * 146097);
    const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const unsigned mp = (5 * doy + 2) / 153;
    const unsigned d = doy - (153 * mp + 2) / 5 + 1;
    const unsigned m = mp < 10 ? mp + 3 : mp - 9;
    const auto y = static_cast<int>(static_cast<std::int64_t>(yoe) + era * 400 + (m <= 2 ? 1 : 0));
    const auto put = [&out](std::int64_t value, int size, char after) {
        for (int i = size - 1; i >= 0; --i, value /= 10)
            out[i] = static_cast<char>('0' + value % 10);
        out += size;
        if (after)
            *out++ = after;
    };
    put(y, 4, '-');
    put(m, 2, '-');
    put(d, 2, 'T');
    put(rest / 3600000, 2, ':');
    put(rest / 60000 % 60, 2, ':');
    put(rest / 1000 % 60, 2, ',');
    put(rest % 1000, 3, 'Z');
    *out = 0;
}

enum Member {
    AntennaPol,
    AntPreAmp,
    AverageMode,
    BandwidthDF,
    BlockAveragingTime,
    DFAlt,
    Range,
    RealTime,
    ScanMemoryID,
    Selectivity,
    Threshold,
    StopTime,
    AttSelect,
    HoldValue,
    HoldTime,
    Name,
    Index,
    Unknown
};

const char* const MemberNames[] = {"AntennaPol",
                                   "AntPreAmp",
                                   "AverageMode",
                                   "BandwidthDF",
                                   "BlockAveragingTime",
                                   "DF_Alt",
                                   "FrequencyRange",
                                   "Real_Time_Bandwidth",
                                   "ScanMemoryID",
                                   "DFPan_Selectivity",
                                   "Threshold",
                                   "StopTime",
                                   "AttSelect",
                                   "AttenuationHoldValue",
                                   "AttenuationHoldTime",
                                   "Name",
                                   "index"};

Member MemberOf(const char* name)
{
    for (int i = 0; i < Unknown; ++i)
        if (std::strcmp(MemberNames[i], name) == 0)
            return static_cast<Member>(i);
    return Unknown;
}

void ReadMember(Detail& d, Member member, const pugi::xml_node& node)
{
    const Tables& t = Tables::Get();
    const char* text = node.child_value();
    switch (member) {
    case AntennaPol:
        d.antennaPol = Find(t.antennaPol, text);
        break;
    case AntPreAmp:
        d.antPreAmp = Find(t.antPreAmp, text);
        break;
    case AverageMode:
        d.averageMode = Find(t.averageMode, text);
        break;
    case BandwidthDF:
        d.bandwidthDF = Find(t.bandwidthDF, text);
        break;
    case BlockAveragingTime:
        d.blockAveragingTime = Read<int>(text);
        break;
    case DFAlt:
        d.dfAlt = Find(t.dfAlt, text);
        break;
    case Range:
        for (pugi::xml_node child = node.first_child(); child; child = child.next_sibling()) {
            if (std::strcmp(child.name(), "StartFrequency") == 0)
                d.start = Read<double>(child.child_value());
            else if (std::strcmp(child.name(), "StopFrequency") == 0)
                d.stop = Read<double>(child.child_value());
        }
        break;
    case RealTime:
        d.realTime = Find(t.realTime, text);
        break;
    case ScanMemoryID:
        d.scanMemoryID = Read<int>(text);
        break;
    case Selectivity:
        d.selectivity = Find(t.selectivity, text);
        break;
    case Threshold:
        d.threshold = Read<int>(text);
        break;
    case StopTime:
        d.stopTime = ReadTime(text);
        break;
    case AttSelect:
        d.attSelect = Find(t.attSelect, text);
        break;
    case HoldValue:
        d.holdValue = Read<float>(text);
        break;
    case HoldTime:
        d.holdTime = Read<float>(text);
        break;
    case Name:
        d.name = text;
        break;
    case Index:
        d.index = Read<int>(text);
        break;
    case Unknown:
        return;
    }
    d.set |= 1u << member;
}

class StringWriter final : public pugi::xml_writer
{
public:
    std::string out;
    void write(const void* data, size_t size) override
    {
        out.append(static_cast<const char*>(data), size);
    }
};

} // namespace

bool Detail::operator==(const Detail& o) const
{
    return set == o.set && antennaPol == o.antennaPol && antPreAmp == o.antPreAmp &&
           averageMode == o.averageMode && bandwidthDF == o.bandwidthDF &&
           blockAveragingTime == o.blockAveragingTime && dfAlt == o.dfAlt && start == o.start &&
           stop == o.stop && realTime == o.realTime && scanMemoryID == o.scanMemoryID &&
           selectivity == o.selectivity && threshold == o.threshold && stopTime == o.stopTime &&
           attSelect == o.attSelect && holdValue == o.holdValue && holdTime == o.holdTime &&
           name == o.name && index == o.index;
}

std::vector<Detail> FromPlain(const QVector<PlainDetail>& details)
{
    std::vector<Detail> out;
    for (const PlainDetail& p : details) {
        Detail d;
        d.set = p.set;
        d.antennaPol = p.antennaPol;
        d.antPreAmp = p.antPreAmp;
        d.averageMode = p.averageMode;
        d.bandwidthDF = p.bandwidthDF;
        d.blockAveragingTime = p.blockAveragingTime;
        d.dfAlt = p.dfAlt;
        d.start = p.range.start;
        d.stop = p.range.stop;
        d.realTime = p.realTime;
        d.scanMemoryID = p.scanMemoryID;
        d.selectivity = p.selectivity;
        d.threshold = p.threshold;
        d.stopTime = p.stopTime.toMSecsSinceEpoch();
        d.attSelect = p.attSelect;
        d.holdValue = p.holdValue;
        d.holdTime = p.holdTime;
        d.name = p.name.toStdString();
        d.index = p.index;
        out.push_back(std::move(d));
    }
    return out;
}

std::vector<Detail> LoadXml(const std::string& utf8)
{
    std::vector<Detail> details;
    pugi::xml_document document;
    if (!document.load_buffer(utf8.data(), utf8.size(), pugi::parse_default, pugi::encoding_utf8))
        return details;
    const pugi::xml_node root = document.child("KVT317_Settings");
    for (pugi::xml_node node = root.child("KVT317SettingsDetail"); node;
         node = node.next_sibling("KVT317SettingsDetail")) {
        Detail d;
        for (pugi::xml_attribute a = node.first_attribute(); a; a = a.next_attribute()) {
            if (std::strcmp(a.name(), "Name") == 0) {
                d.name = a.value();
                d.set |= 1u << Name;
            } else if (std::strcmp(a.name(), "index") == 0) {
                d.index = Read<int>(a.value());
                d.set |= 1u << Index;
            }
        }
        for (pugi::xml_node child = node.first_child(); child; child = child.next_sibling())
            if (child.type() == pugi::node_element)
                ReadMember(d, MemberOf(child.name()), child);
        details.push_back(std::move(d));
    }
    return details;
}

std::string SaveXml(const std::vector<Detail>& details)
{
    const Tables& t = Tables::Get();
    pugi::xml_document document;
    pugi::xml_node declaration = document.append_child(pugi::node_declaration);
    declaration.append_attribute("version") = "1.0";
    declaration.append_attribute("encoding") = "UTF-8";
    pugi::xml_node root = document.append_child("KVT317_Settings");
    char buffer[64];
    for (const Detail& d : details) {
        pugi::xml_node node = root.append_child("KVT317SettingsDetail");
        const auto has = [&d](Member member) { return (d.set & (1u << member)) != 0; };
        const auto text = [](pugi::xml_node parent, const char* name, const char* value) {
            parent.append_child(name).append_child(pugi::node_pcdata).set_value(value);
        };
        const auto whole = [&buffer, &text](pugi::xml_node parent, const char* name, int value) {
            *std::to_chars(buffer, buffer + sizeof buffer, value).ptr = 0;
            text(parent, name, buffer);
        };
        const auto fixed = [&buffer, &text](pugi::xml_node parent, const char* name, double value) {
            *std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, 2).ptr =
                0;
            text(parent, name, buffer);
        };
        const auto named = [&has, &text, &node](Member member,
                                                const std::vector<std::string>& names, int value) {
            if (has(member) && value >= 0 && value < static_cast<int>(names.size()))
                text(node, MemberNames[member], names[static_cast<std::size_t>(value)].c_str());
        };
        if (has(Name))
            node.append_attribute("Name") = d.name.c_str();
        if (has(Index))
            node.append_attribute("index") = d.index;
        named(AntennaPol, t.antennaPol, d.antennaPol);
        named(AntPreAmp, t.antPreAmp, d.antPreAmp);
        named(AverageMode, t.averageMode, d.averageMode);
        named(BandwidthDF, t.bandwidthDF, d.bandwidthDF);
        if (has(BlockAveragingTime))
            whole(node, MemberNames[BlockAveragingTime], d.blockAveragingTime);
        named(DFAlt, t.dfAlt, d.dfAlt);
        if (has(Range)) {
            pugi::xml_node range = node.append_child(MemberNames[Range]);
            fixed(range, "StartFrequency", d.start);
            fixed(range, "StopFrequency", d.stop);
        }
        named(RealTime, t.realTime, d.realTime);
        if (has(ScanMemoryID))
            whole(node, MemberNames[ScanMemoryID], d.scanMemoryID);
        named(Selectivity, t.selectivity, d.selectivity);
        if (has(Threshold))
            whole(node, MemberNames[Threshold], d.threshold);
        if (has(StopTime)) {
            WriteTime(d.stopTime, buffer);
            text(node, MemberNames[StopTime], buffer);
        }
        named(AttSelect, t.attSelect, d.attSelect);
        if (has(HoldValue))
            fixed(node, MemberNames[HoldValue], d.holdValue);
        if (has(HoldTime))
            fixed(node, MemberNames[HoldTime], d.holdTime);
    }
    StringWriter writer;
    document.save(writer, "  ", pugi::format_default, pugi::encoding_utf8);
    return std::move(writer.out);
}

} // namespace bench::peer

// The binary peer: the same details as protobuf messages, parsed from and serialized to bytes.

#include "Peers.h"

#include "peer.pb.h"

namespace bench::peer {

namespace {

// The members' bits of Detail::set.
enum Bit {
    AntennaPolBit,
    AntPreAmpBit,
    AverageModeBit,
    BandwidthDFBit,
    BlockAveragingTimeBit,
    DFAltBit,
    RangeBit,
    RealTimeBit,
    ScanMemoryIDBit,
    SelectivityBit,
    ThresholdBit,
    StopTimeBit,
    AttSelectBit,
    HoldValueBit,
    HoldTimeBit,
    NameBit,
    IndexBit
};

kvt317::peer::KVT317_Settings MessageOf(const std::vector<Detail>& details)
{
    kvt317::peer::KVT317_Settings message;
    for (const Detail& d : details) {
        kvt317::peer::KVT317SettingsDetail* m = message.add_kvt317settingsdetail();
        const auto has = [&d](Bit bit) { return (d.set & (1u << bit)) != 0; };
        if (has(NameBit))
            m->set_name(d.name);
        if (has(IndexBit))
            m->set_index(d.index);
        if (has(AntennaPolBit))
            m->set_antennapol(d.antennaPol);
        if (has(AntPreAmpBit))
            m->set_antpreamp(d.antPreAmp);
        if (has(AverageModeBit))
            m->set_averagemode(d.averageMode);
        if (has(BandwidthDFBit))
            m->set_bandwidthdf(d.bandwidthDF);
        if (has(BlockAveragingTimeBit))
            m->set_blockaveragingtime(d.blockAveragingTime);
        if (has(DFAltBit))
            m->set_df_alt(d.dfAlt);
        if (has(RangeBit)) {
            m->mutable_frequencyrange()->set_startfrequency(d.start);
            m->mutable_frequencyrange()->set_stopfrequency(d.stop);
        }
        if (has(RealTimeBit))
            m->set_real_time_bandwidth(d.realTime);
        if (has(ScanMemoryIDBit))
            m->set_scanmemoryid(d.scanMemoryID);
        if (has(SelectivityBit))
            m->set_dfpan_selectivity(d.selectivity);
        if (has(ThresholdBit))
            m->set_threshold(d.threshold);
        if (has(StopTimeBit))
            m->set_stoptime(d.stopTime);
        if (has(AttSelectBit))
            m->set_attselect(d.attSelect);
        if (has(HoldValueBit))
            m->set_attenuationholdvalue(d.holdValue);
        if (has(HoldTimeBit))
            m->set_attenuationholdtime(d.holdTime);
    }
    return message;
}

Detail DetailOf(const kvt317::peer::KVT317SettingsDetail& m)
{
    Detail d;
    const auto take = [&d](bool present, Bit bit, auto& field, auto value) {
        if (present) {
            field = value;
            d.set |= 1u << bit;
        }
    };
    take(m.has_name(), NameBit, d.name, m.name());
    take(m.has_index(), IndexBit, d.index, m.index());
    take(m.has_antennapol(), AntennaPolBit, d.antennaPol, m.antennapol());
    take(m.has_antpreamp(), AntPreAmpBit, d.antPreAmp, m.antpreamp());
    take(m.has_averagemode(), AverageModeBit, d.averageMode, m.averagemode());
    take(m.has_bandwidthdf(), BandwidthDFBit, d.bandwidthDF, m.bandwidthdf());
    take(m.has_blockaveragingtime(), BlockAveragingTimeBit, d.blockAveragingTime,
         m.blockaveragingtime());
    take(m.has_df_alt(), DFAltBit, d.dfAlt, m.df_alt());
    if (m.has_frequencyrange()) {
        d.start = m.frequencyrange().startfrequency();
        d.stop = m.frequencyrange().stopfrequency();
        d.set |= 1u << RangeBit;
    }
    take(m.has_real_time_bandwidth(), RealTimeBit, d.realTime, m.real_time_bandwidth());
    take(m.has_scanmemoryid(), ScanMemoryIDBit, d.scanMemoryID, m.scanmemoryid());
    take(m.has_dfpan_selectivity(), SelectivityBit, d.selectivity, m.dfpan_selectivity());
    take(m.has_threshold(), ThresholdBit, d.threshold, m.threshold());
    take(m.has_stoptime(), StopTimeBit, d.stopTime, m.stoptime());
    take(m.has_attselect(), AttSelectBit, d.attSelect, m.attselect());
    take(m.has_attenuationholdvalue(), HoldValueBit, d.holdValue, m.attenuationholdvalue());
    take(m.has_attenuationholdtime(), HoldTimeBit, d.holdTime, m.attenuationholdtime());
    return d;
}

} // namespace

struct Binary::Held {
    kvt317::peer::KVT317_Settings message;
    std::string bytes;
};

Binary::Binary(const std::vector<Detail>& details)
    : m_held(std::make_unique<Held>())
{
    m_held->message = MessageOf(details);
    m_held->message.SerializeToString(&m_held->bytes);
}

Binary::~Binary() = default;

const std::string& Binary::Bytes() const
{
    return m_held->bytes;
}

int Binary::Load() const
{
    kvt317::peer::KVT317_Settings message;
    if (!message.ParseFromString(m_held->bytes))
        return -1;
    return message.kvt317settingsdetail_size();
}

std::size_t Binary::Save() const
{
    std::string bytes;
    m_held->message.SerializeToString(&bytes);
    return bytes.size();
}

std::vector<Detail> Binary::Read() const
{
    kvt317::peer::KVT317_Settings message;
    std::vector<Detail> details;
    if (!message.ParseFromString(m_held->bytes))
        return details;
    for (const kvt317::peer::KVT317SettingsDetail& m : message.kvt317settingsdetail())
        details.push_back(DetailOf(m));
    return details;
}

} // namespace bench::peer

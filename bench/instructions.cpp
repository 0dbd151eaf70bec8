// Runs each operation and its floor a fixed number of times inside functions of their own,
// for counting instructions with callgrind (bench/instructions.sh), where timings are too
// noisy to compare.

#include "Documents.h"

#include <QDomDocument>

#include <ReadObserver.h>

#ifdef KVT317_BENCH_PEERS
#include "Peers.h"
#endif

#include <cstdio>
#include <cstdlib>

using KVT317XML::KVT317_Settings;

namespace {

const bench::Document* document = nullptr;
KVT317_Settings* other = nullptr;
KVT317_Settings* otherLogged = nullptr;
QVector<bench::PlainDetail>* plainOther = nullptr;
volatile qint64 sink = 0;
constexpr int Runs = 3;

#define MEASURE(Name, ...)                                                                         \
    extern "C" __attribute__((noinline)) void Name()                                               \
    {                                                                                              \
        for (int run = 0; run < Runs; ++run) {                                                     \
            __VA_ARGS__;                                                                           \
        }                                                                                          \
    }

MEASURE(op_xml_load, KVT317_Settings s; sink += s.SetXmlString(document->xml, false))
MEASURE(floor_xml_load, sink += bench::ReadXmlTexts(document->xml))
MEASURE(floor_dom_load, QDomDocument dom; sink += dom.setContent(document->xml))
// Loads with an observer that keeps every finding and asks for every entry.
struct LocatingObserver final : KVT317XML::ReadObserver {
    void Found(const KVT317XML::ReadFinding&) override { ++sink; }
    bool WantsEntries() const override { return true; }
    void Read(const KVT317XML::ReadPath&, const KVT317XML::ReadEntry& entry) override
    {
        sink += entry.position.offset;
    }
};
MEASURE(observed_xml_load, LocatingObserver o; KVT317XML::ObserveReading observe(o);
        KVT317_Settings s; sink += s.SetXmlString(document->xml, false))
MEASURE(observed_binary_load, LocatingObserver o; KVT317XML::ObserveReading observe(o);
        KVT317_Settings s; QByteArray b = document->binary; sink += s.SetBinaryRepresentation(b))
MEASURE(op_xml_save, sink += document->record.GetXmlString().size())
MEASURE(floor_xml_save, sink += bench::WriteXml(document->plain).size())
MEASURE(op_binary_save, sink += document->record.GetBinaryRepresentationAsQByteArray().size())
MEASURE(floor_binary_save, sink += bench::WriteBinary(document->plain).size())
MEASURE(op_binary_load, KVT317_Settings s; QByteArray b = document->binary;
        sink += s.SetBinaryRepresentation(b))
MEASURE(floor_binary_load, sink += bench::ReadBinary(document->binary).size())
MEASURE(op_copy, KVT317_Settings c(document->record); sink += c.IsInitialized())
MEASURE(floor_copy, QVector<bench::PlainDetail> c(document->plain); sink += c.size())
MEASURE(op_copy_edit, KVT317_Settings c(document->record);
        c.GetKVT317SettingsDetail()[document->size / 2].SetThreshold(7))
MEASURE(floor_copy_edit, QVector<bench::PlainDetail> c(document->plain);
        c[document->size / 2].threshold = 7; sink += c.size())
MEASURE(op_equality, sink += (document->record == *other))
MEASURE(floor_equality, sink += (document->plain == *plainOther))
MEASURE(op_check, document->record.Check(true))
MEASURE(floor_check, sink += bench::CheckPlain(document->plain))

// The same operations on a document that holds an application logger; the floors are the
// same.
MEASURE(logger_xml_load, KVT317_Settings s; s.SetLogger(bench::Silent());
        sink += s.SetXmlString(document->xml, false))
MEASURE(logger_xml_save, sink += document->logged.GetXmlString().size())
MEASURE(logger_binary_save, sink += document->logged.GetBinaryRepresentationAsQByteArray().size())
MEASURE(logger_binary_load, KVT317_Settings s; s.SetLogger(bench::Silent());
        QByteArray b = document->binary; sink += s.SetBinaryRepresentation(b))
MEASURE(logger_copy, KVT317_Settings c(document->logged); sink += c.IsInitialized())
MEASURE(logger_copy_edit, KVT317_Settings c(document->logged);
        c.GetKVT317SettingsDetail()[document->size / 2].SetThreshold(7))
MEASURE(logger_equality, sink += (document->logged == *otherLogged))
MEASURE(logger_check, document->logged.Check(true))

#ifdef KVT317_BENCH_PEERS
// What a C++ user would pick instead: pugixml and protobuf on the same data.
std::string peerXml;
std::vector<bench::peer::Detail> peerDetails;
const bench::peer::Binary* peerBinary = nullptr;
MEASURE(peer_xml_load, sink += static_cast<qint64>(bench::peer::LoadXml(peerXml).size()))
MEASURE(peer_xml_save, sink += static_cast<qint64>(bench::peer::SaveXml(peerDetails).size()))
MEASURE(peer_binary_load, sink += peerBinary->Load())
MEASURE(peer_binary_save, sink += static_cast<qint64>(peerBinary->Save()))

// The peers must do the same job: every value of the document, read back as written.
bool PeersAgree()
{
    using bench::peer::LoadXml;
    using bench::peer::SaveXml;
    if (LoadXml(peerXml) != peerDetails) {
        std::fprintf(stderr, "the pugixml peer reads other values\n");
        return false;
    }
    if (LoadXml(SaveXml(peerDetails)) != peerDetails) {
        std::fprintf(stderr, "the pugixml peer writes other values\n");
        return false;
    }
    if (peerBinary->Read() != peerDetails) {
        std::fprintf(stderr, "the protobuf peer reads other values\n");
        return false;
    }
    return true;
}

bool RunPeers()
{
    peerXml = document->xml.toStdString();
    peerDetails = bench::peer::FromPlain(document->plain);
    peerBinary = new bench::peer::Binary(peerDetails);
    if (!PeersAgree())
        return false;
    peer_xml_load();
    peer_xml_save();
    peer_binary_load();
    peer_binary_save();
    delete peerBinary;
    return true;
}
#else
bool RunPeers()
{
    return true;
}
#endif

// Copies of a loaded document that holds an application logger, after the application used
// it: each copy is given a logger of its own, as an application gives a copy it hands on.
// Measured at 1,000 and at ten times as many details.
struct Used {
    KVT317_Settings nonConst; // the non-const list getter called and one member edited
    KVT317_Settings edited;   // one member of a detail edited through the member table
    KVT317_Settings checked;  // Check(true) run
    KVT317_Settings copied;   // copied, the copy kept
    KVT317_Settings earlier;
};
Used* used[2] = {};
std::shared_ptr<REPORTGENERATOR::Logger>* own = nullptr;

void Load(KVT317_Settings& settings, const QByteArray& binary)
{
    settings.SetLogger(bench::Silent());
    QByteArray bytes = binary;
    settings.SetBinaryRepresentation(bytes);
}

Used* UsedOf(const QByteArray& binary)
{
    auto* u = new Used;
    Load(u->nonConst, binary);
    QVector<KVT317XML::KVT317SettingsDetail>& details = u->nonConst.GetKVT317SettingsDetail();
    details[details.size() / 2].SetThreshold(7);
    Load(u->edited, binary);
    int threshold = -1;
    for (const KVT317XML::MemberDescription& member :
         KVT317XML::KVT317SettingsDetail::Description().members)
        if (member.name == QLatin1String("Threshold"))
            threshold = member.bit;
    u->edited.MutableListItem(0, u->edited.ListSize(0) / 2)
        ->SetMemberText(threshold, QStringLiteral("7"));
    Load(u->checked, binary);
    u->checked.Check(true);
    Load(u->copied, binary);
    u->earlier = u->copied;
    return u;
}

#define MEASURE_COPY_AFTER_USE(Name, Use)                                                          \
    MEASURE(Name##_small, KVT317_Settings c(used[0]->Use); c.SetLogger(*own);                      \
            sink += c.IsInitialized())                                                             \
    MEASURE(Name##_large, KVT317_Settings c(used[1]->Use); c.SetLogger(*own);                      \
            sink += c.IsInitialized())

MEASURE_COPY_AFTER_USE(used_copy_non_const, nonConst)
MEASURE_COPY_AFTER_USE(used_copy_edited, edited)
MEASURE_COPY_AFTER_USE(used_copy_checked, checked)
MEASURE_COPY_AFTER_USE(used_copy_copied, copied)

} // namespace

int main(int argc, char** argv)
{
    const int size = argc > 1 ? std::atoi(argv[1]) : 1000;
    document = &bench::DocumentOf(size);
    other = new KVT317_Settings;
    other->SetXmlString(document->xml, false);
    otherLogged = new KVT317_Settings;
    otherLogged->SetLogger(bench::Silent());
    otherLogged->SetXmlString(document->xml, false);
    plainOther = new QVector<bench::PlainDetail>(bench::ReadBinary(document->binary));
    op_xml_load();
    floor_xml_load();
    floor_dom_load();
    op_xml_save();
    floor_xml_save();
    op_binary_save();
    floor_binary_save();
    op_binary_load();
    floor_binary_load();
    op_copy();
    floor_copy();
    op_copy_edit();
    floor_copy_edit();
    op_equality();
    floor_equality();
    op_check();
    floor_check();
    observed_xml_load();
    observed_binary_load();
    logger_xml_load();
    logger_xml_save();
    logger_binary_save();
    logger_binary_load();
    logger_copy();
    logger_copy_edit();
    logger_equality();
    logger_check();
    if (!RunPeers())
        return 1;

    // The larger document holds the same details ten times over.
    own = new std::shared_ptr<REPORTGENERATOR::Logger>(
        std::make_shared<REPORTGENERATOR::Logger>(REPORTGENERATOR::Logger::Sink()));
    used[0] = UsedOf(document->binary);
    {
        const QVector<KVT317XML::KVT317SettingsDetail>& details =
            document->record.GetKVT317SettingsDetail();
        QVector<KVT317XML::KVT317SettingsDetail> larger;
        for (int i = 0; i < 10; ++i)
            larger += details;
        KVT317_Settings made;
        made.SetKVT317SettingsDetail(larger);
        used[1] = UsedOf(made.GetBinaryRepresentationAsQByteArray());
    }
    used_copy_non_const_small();
    used_copy_non_const_large();
    used_copy_edited_small();
    used_copy_edited_large();
    used_copy_checked_small();
    used_copy_checked_large();
    used_copy_copied_small();
    used_copy_copied_large();
    std::printf("%lld\n", static_cast<long long>(sink));
    delete used[1];
    delete used[0];
    delete own;
    delete plainOther;
    delete otherLogged;
    delete other;
    return 0;
}

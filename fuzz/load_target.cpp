// Loads one document into a record and uses it as a caller would: check, write, copy,
// compare. KVT317_FUZZ_RECORD names the record class; KVT317_FUZZ_XML is 1 for XML input and
// 0 for binary input (plain or compressed).
//
// The first input byte chooses: bit 0 validation on, bit 1 the other entry point of the
// form (XML: reset before reading; binary: read from a QDataStream), bit 2 an observer on
// the comparison of the two ways of reading. The rest is the document.
//
// An XML document is also read through the library's tokenizer and through QXmlStreamReader
// alone; a binary document from its bytes and field by field through a stream. Any
// difference between the two ways is a finding.

#include "../tests/XmlPathsCompare.h"
#include "FuzzSupport.h"

#include "../tests/BinaryPaths.h"

#include <type_traits>

using REPORTGENERATOR::RGException;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1)
        return 0;
    fuzz::LimitInflation();
    const uint8_t options = data[0];
    const QByteArray document = fuzz::Bytes(data + 1, size - 1);

    KVT317XML::KVT317_FUZZ_RECORD record;
    record.SetLogger(fuzz::QuietLogger());
    record.SetValidate(options & 1);
    try {
        if (KVT317_FUZZ_XML)
            fuzz::LoadXml(record, document, options & 2);
        else
            fuzz::LoadBinary(record, document, options & 2);
    } catch (const RGException&) {
        // With validation on a record's own report raises out of the load.
    }
    if (!KVT317_FUZZ_XML) {
        using Record = KVT317XML::KVT317_FUZZ_RECORD;
        const int kind = std::is_same_v<Record, KVT317XML::BearingSettings>        ? 1
                         : std::is_same_v<Record, KVT317XML::KVT317SettingsDetail> ? 2
                                                                                   : 0;
        const QString difference = paths::Compare(kind, document, options & 1, options & 4, true);
        if (!difference.isEmpty()) {
            std::fprintf(stderr, "%s\n", qPrintable(difference));
            fuzz::Fail("the binary reading paths differ");
        }
    }
    record.Check(true);
    try {
        (void)record.GetXmlString();
        (void)record.GetBinaryRepresentationAsQByteArray();
        (void)record.GetCompressedBinaryRepresentationAsQByteArray(1);
    } catch (const RGException&) {
        // With validation on an incomplete record refuses to be written.
    }
    const KVT317XML::KVT317_FUZZ_RECORD copy(record);
    fuzz::Require(copy == record || fuzz::HoldsNaN(record), "a copy differs from its source");
    KVT317XML::KVT317_FUZZ_RECORD assigned;
    assigned = record;
    fuzz::Require(assigned == copy || fuzz::HoldsNaN(record), "an assigned record differs");
    if (KVT317_FUZZ_XML) {
        using Record = KVT317XML::KVT317_FUZZ_RECORD;
        xmlpathscompare::Options both;
        both.kind = std::is_same_v<Record, KVT317XML::KVT317_Settings>   ? 0
                    : std::is_same_v<Record, KVT317XML::BearingSettings> ? 1
                                                                         : 2;
        both.validate = options & 1;
        both.reset = options & 2;
        both.observe = options & 4;
        const std::string difference = xmlpathscompare::Difference(document, both);
        if (!difference.empty()) {
            std::fprintf(stderr, "%s\n", difference.c_str());
            fuzz::Fail("the tokenizer's load and QXmlStreamReader's differ");
        }
    }
    return 0;
}

// The XML tokenizer against QXmlStreamReader: for every input the tokenizer either gives
// QXmlStreamReader's tokens exactly (types, names, attributes, texts, flags, positions) or
// refuses the document; it never gives other tokens.

#include "../tests/XmlTokenCompare.h"
#include "FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray document = fuzz::Bytes(data, size);
    const xmltokencompare::Result result = xmltokencompare::Compare(document);
    if (result.outcome == xmltokencompare::Outcome::Disagreed) {
        std::fprintf(stderr, "%s\n", result.difference.c_str());
        fuzz::Fail("the tokenizer and QXmlStreamReader disagree");
    }
    return 0;
}

// The XML tokenizer against QXmlStreamReader: for every input the tokenizer either gives
// QXmlStreamReader's tokens exactly (types, names, attributes, texts, flags, positions) or
// refuses the document; it never gives other tokens.
//
// The first input byte chooses how the rest becomes a document, so that mutations land in
// well-formed documents often: 0 as it is, 1 as the content of an element, 2 as an attribute
// value, 3 as content behind a declaration with a line end after the element; with bit 2
// QXmlStreamReader reads the document as a QString.

#include "../tests/XmlTokenCompare.h"
#include "FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1)
        return 0;
    const QByteArray rest = fuzz::Bytes(data + 1, size - 1);
    QByteArray document;
    switch (data[0] & 3) {
    case 0:
        document = rest;
        break;
    case 1:
        document = "<r>" + rest + "</r>";
        break;
    case 2:
        document = "<r a=\"" + rest + "\"/>";
        break;
    default:
        document = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<r>" + rest + "</r>\r\n";
        break;
    }
    const xmltokencompare::Result result = xmltokencompare::Compare(document, data[0] & 4);
    if (result.outcome == xmltokencompare::Outcome::Disagreed) {
        std::fprintf(stderr, "%s\n", result.difference.c_str());
        fuzz::Fail("the tokenizer and QXmlStreamReader disagree");
    }
    return 0;
}

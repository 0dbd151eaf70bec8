// The XML tokenizer against QXmlStreamReader's readNext loop over the same bytes of the
// 1,000-detail document, each in a function of its own for callgrind
// (bench/tokenizer_instructions.sh). With pugixml at hand, its parse of the same bytes is
// counted beside them.

#include "Documents.h"

#include <XmlTokenizer.h>

#include <QXmlStreamReader>

#ifdef KVT317_BENCH_PUGIXML
#include <pugixml.hpp>
#endif

#include <cstdio>
#include <cstdlib>

namespace {

QByteArray bytes;
QString text;
volatile qint64 sink = 0;
constexpr int Runs = 3;

#define MEASURE(Name, ...)                                                                         \
    extern "C" __attribute__((noinline)) void Name()                                               \
    {                                                                                              \
        for (int run = 0; run < Runs; ++run) {                                                     \
            __VA_ARGS__;                                                                           \
        }                                                                                          \
    }

// Tokens only: what the fast path costs before any record looks at a token.
MEASURE(tok_tokenize, REPORTGENERATOR::XmlTokens t;
        sink += t.Tokenize(bytes) ? t.Tokens().size() : 0)
// Tokens, and every name, value and text as a QString: the most a reader could ask for.
MEASURE(
    tok_tokenize_strings, REPORTGENERATOR::XmlTokens t; t.Tokenize(bytes); for (const auto& token
                                                                                : t.Tokens()) {
        if (token.Type() == QXmlStreamReader::Characters)
            sink += REPORTGENERATOR::XmlTokens::ToString(t.Text(token)).size();
        for (std::uint32_t i = 0; i < token.AttributeCount(); ++i)
            sink += REPORTGENERATOR::XmlTokens::ToString(
                        t.Value(t.Attributes()[token.FirstAttribute() + i]))
                        .size();
    })
// The document as the library holds it (a QString) made into bytes first.
MEASURE(tok_utf8, sink += text.toUtf8().size())
MEASURE(qt_readnext_bytes, QXmlStreamReader r(bytes); while (!r.atEnd()) sink += r.readNext())
MEASURE(qt_readnext_string, QXmlStreamReader r(text); while (!r.atEnd()) sink += r.readNext())
#ifdef KVT317_BENCH_PUGIXML
MEASURE(pugixml_parse, pugi::xml_document d;
        sink += d.load_buffer(bytes.constData(), std::size_t(bytes.size())).status)
#endif

} // namespace

int main(int argc, char** argv)
{
    const int size = argc > 1 ? std::atoi(argv[1]) : 1000;
    text = bench::DocumentOf(size).xml;
    bytes = text.toUtf8();
    tok_tokenize();
    tok_tokenize_strings();
    tok_utf8();
    qt_readnext_bytes();
    qt_readnext_string();
#ifdef KVT317_BENCH_PUGIXML
    pugixml_parse();
#endif
    std::printf("%lld bytes, %d runs each\n", static_cast<long long>(bytes.size()), Runs);
    return int(sink & 0);
}

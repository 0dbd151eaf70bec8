// Whatever loads is written (A); A is read into a fresh record and written again (B); A and
// B must be the same bytes, and the records read from A and from B must compare equal. The
// first write may differ from the input (an unset required member is written with its
// default, for example); after it nothing may change.
//
// The first input byte chooses: bits 0-1 the record (KVT317_Settings, BearingSettings,
// KVT317SettingsDetail), bit 2 validation on, bits 3-4 the written form (XML, binary,
// compressed binary), bit 5 an observer on the comparison of the two ways of reading XML.
// The rest is the document, in either form.
//
// An XML document, the input and A, is also read through the library's tokenizer and through
// QXmlStreamReader alone; any difference between the two is a finding. A record written as
// XML is also saved through the library's byte writer and through QXmlStreamWriter alone;
// the bytes, reports and findings of the two must be the same.

#include "../tests/XmlPathsCompare.h"
#include "../tests/XmlWriterCompare.h"
#include "FuzzSupport.h"

#include <QXmlStreamReader>

using REPORTGENERATOR::RGException;

namespace {

enum class Form { Xml, Binary, Compressed };

QByteArray Write(const KVT317XML::Record& record, Form form)
{
    switch (form) {
    case Form::Xml:
        return record.GetXmlString().toUtf8();
    case Form::Binary:
        return record.GetBinaryRepresentationAsQByteArray();
    case Form::Compressed:
        break;
    }
    return record.GetCompressedBinaryRepresentationAsQByteArray(6);
}

std::unique_ptr<KVT317XML::Record> Read(int kind, bool validate, const QByteArray& document,
                                        bool* loaded)
{
    std::unique_ptr<KVT317XML::Record> record = fuzz::NewRecord(kind);
    record->SetLogger(fuzz::QuietLogger());
    record->SetValidate(validate);
    *loaded = fuzz::Load(*record, document, true);
    return record;
}

// Reads an XML document both ways; a difference stops the run.
void CompareXmlPaths(int kind, bool validate, bool observe, const QByteArray& document)
{
    if (!document.startsWith('<'))
        return;
    xmlpathscompare::Options both;
    both.kind = kind % 3;
    both.validate = validate;
    both.observe = observe;
    const std::string difference = xmlpathscompare::Difference(document, both);
    if (!difference.empty()) {
        std::fprintf(stderr, "%s\n", difference.c_str());
        fuzz::Fail("the tokenizer's load and QXmlStreamReader's differ");
    }
}

// Saves the record both ways; a difference stops the run.
void CompareXmlWriters(const KVT317XML::Record& record, bool observe)
{
    const std::string difference = xmlwritercompare::Difference(record, observe);
    if (!difference.empty()) {
        std::fprintf(stderr, "%s\n", difference.c_str());
        fuzz::Fail("the byte writer's save and QXmlStreamWriter's differ");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1)
        return 0;
    fuzz::LimitInflation();
    const int kind = data[0] & 3;
    const bool validate = data[0] & 4;
    const Form form = static_cast<Form>(((data[0] >> 3) & 3) % 3);
    const bool observe = data[0] & 32;
    CompareXmlPaths(kind, validate, observe, fuzz::Bytes(data + 1, size - 1));

    bool loaded = false;
    std::unique_ptr<KVT317XML::Record> first;
    QByteArray a;
    try {
        first = Read(kind, validate, fuzz::Bytes(data + 1, size - 1), &loaded);
        // With validation on, a record without data writes nothing (its XML document is
        // only the declaration).
        if (!loaded || (validate && !first->HasData()))
            return 0;
        a = Write(*first, form);
    } catch (const RGException&) {
        // With validation on, a faulty record raises while it is read or written.
        return 0;
    }
    if (form == Form::Xml) {
        CompareXmlPaths(kind, validate, observe, a);
        CompareXmlWriters(*first, observe);
    }
    const std::unique_ptr<KVT317XML::Record> second = Read(kind, validate, a, &loaded);
    if (!loaded) {
        // Only a text XML cannot carry may stop A from reading back: it was written as a
        // character reference that readers refuse.
        QXmlStreamReader reader(a);
        while (!reader.atEnd())
            reader.readNext();
        fuzz::Require(form == Form::Xml &&
                          reader.errorString() == QLatin1String("Invalid character reference."),
                      "a written document does not read back");
        return 0;
    }
    const QByteArray b = Write(*second, form);
    // A text that opens with U+FEFF loses it through the binary form; XML keeps it.
    if (form != Form::Xml && fuzz::HoldsTextOpeningWithByteOrderMark(*first))
        return 0;
    fuzz::Require(a == b, "writing what was read from A does not give A");
    const std::unique_ptr<KVT317XML::Record> third = Read(kind, validate, b, &loaded);
    fuzz::Require(loaded, "B does not read back");
    fuzz::Require(second->Equals(*third) || fuzz::HoldsNaN(*second),
                  "the records read from A and from B differ");
    return 0;
}

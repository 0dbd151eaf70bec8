#include "Writing.h"
#include "Analysis.h"
#include "JsonForm.h"

#include "Output.h"
#include <DocumentSave.h>

using namespace KVT317XML;

QByteArray Serialise(const Record& record, Form form, int level, const DetectedForm* encoding)
{
    record.SetLogger(nullptr);
    DetectedForm target;
    target.form = form;
    if (encoding) {
        target.encoding = encoding->encoding;
        target.byteOrderMark = encoding->byteOrderMark;
    }
    return SettingsDocumentBytes(record, target, level);
}

int WriteChecked(const Document& input, const Record& record, const WriteRequest& request)
{
    const DocumentSaveReview review = ReviewDocumentSave(input, record, request);
    for (const QString& line : review.lines)
        Err() << line << '\n';
    const Document& target = *review.alreadyIn;
    if (review.already > 0)
        Err() << "kvt317: " << target.label << ": " << Grouped(review.already)
              << (review.already == 1 ? " fault was" : " faults were")
              << " already there; `kvt317 check " << target.path << "` lists "
              << (review.already == 1 ? "it" : "them") << '\n';

    const QString output =
        request.path == QLatin1String("-") ? QStringLiteral("<stdout>") : request.path;
    if (!review.refusal.isEmpty()) {
        Err() << "kvt317: " << output << " not written: " << review.refusal << '\n';
        return Faults;
    }
    if (review.uncarried > 0) {
        Err() << "kvt317: " << output << " not written: XML cannot carry "
              << (review.uncarried == 1 ? QStringLiteral("a text")
                                        : QStringLiteral("%1 texts").arg(review.uncarried))
              << " of the document\n";
        return Faults;
    }
    const qint64 blocking = review.blocking;
    if (!review.Writable(request.force)) {
        Err() << "kvt317: " << output << " not written: writing would change what the input holds ("
              << Grouped(blocking) << (blocking == 1 ? " finding" : " findings")
              << "); --force writes it anyway\n";
        return Faults;
    }
    const QString error = WriteOutput(request.path, review.bytes);
    if (!error.isEmpty()) {
        Err() << "kvt317: " << error << '\n';
        return UsageOrIo;
    }
    if (blocking > 0)
        Err() << "kvt317: " << output << " written as --force asks, with the changes listed\n";
    if (review.added > 0) {
        Err() << "kvt317: " << output << " written; the edit added " << Grouped(review.added)
              << (review.added == 1 ? " fault" : " faults") << '\n';
        return Faults;
    }
    return Success;
}

#include "Analysis.h"
#include "Commands.h"
#include "Writing.h"

#include <QFileInfo>

using namespace KVT317XML;

int RunConvert(const Options& options)
{
    const QString& output = options.arguments.at(1);
    Form form = options.to;
    if (!options.formGiven && !FormFromFileName(output, form))
        return UsageError(QStringLiteral("cannot tell the output form from '%1'; name it .xml, "
                                         ".json, .bin or .binz, or use --to")
                              .arg(output),
                          QStringLiteral("convert"));
    // An existing document that is replaced is locked, as an edit would lock it.
    std::unique_ptr<REPORTGENERATOR::DocumentLock> lock;
    if (output != QLatin1String("-") && QFileInfo(output).isFile()) {
        lock = LockForEdit(output, options);
        if (!lock)
            return UsageOrIo;
    }
    const std::unique_ptr<Document> document = LoadDocument(options.arguments.at(0));
    if (const int status = Unusable(*document))
        return status;
    Analyse(*document);
    WriteRequest request;
    request.path = output;
    request.form = form;
    request.level = options.level;
    request.force = options.force;
    // A document converted in place is edited: the faults it had it keeps. One converted
    // onto another is read too, for the faults that one had already.
    request.edit = lock && QFileInfo(output).canonicalFilePath() ==
                               QFileInfo(options.arguments.at(0)).canonicalFilePath();
    std::unique_ptr<Document> replaced;
    if (lock && !request.edit) {
        replaced = LoadDocument(output);
        if (replaced->loaded) {
            Analyse(*replaced, false);
            request.replaced = replaced.get();
        }
    }
    return WriteChecked(*document, *document->record, request);
}

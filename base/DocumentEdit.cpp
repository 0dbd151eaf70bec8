#include "DocumentFile.h"
#include "DocumentForm.h"
#include "DocumentInternals.h"
#include "IRGObject.h"

#include <QFile>

namespace REPORTGENERATOR {

bool IRGObject::EditFile(const QString& path, const std::function<bool(IRGObject&)>& edit,
                         int waitMilliseconds)
{
    DocumentLock lock(path);
    QString fault;
    if (!lock.Acquire(waitMilliseconds, &fault)) {
        ReportDocumentFault(fault);
        return false;
    }
    QFile file(path);
    if (!OpenForReading(&file))
        return false;
    const QByteArray bytes = file.readAll();
    const DetectedForm found = DetectDocumentForm(bytes);
    bool loaded = false;
    switch (found.form) {
    case DocumentForm::Json:
        ReportDocumentFault(QStringLiteral("Cannot edit '%1': it is a JSON document, which the "
                                           "record base does not read; "
                                           "KVT317XML::ReadJsonDocument() reads it")
                                .arg(path));
        return false;
    case DocumentForm::Xml:
        loaded = SetXmlString(DecodeDocumentText(bytes, found), true);
        break;
    case DocumentForm::Binary:
    case DocumentForm::Compressed:
        loaded = file.seek(0) && LoadBinary(&file);
        break;
    }
    file.close();
    if (!loaded || !edit(*this))
        return false;
    if (found.form != DocumentForm::Xml)
        return SaveBinary(path, found.form == DocumentForm::Compressed);
    if (found.encoding == TextEncoding::Utf8 && !found.byteOrderMark)
        return SaveXml(path);
    // The file keeps its encoding and byte-order mark: a UTF-16 file stays UTF-16.
    const QByteArray document = SavedXml(path);
    return !document.isNull() &&
           WriteFile(path, EncodeDocumentText(QString::fromUtf8(document), found.encoding,
                                              found.byteOrderMark));
}

} // namespace REPORTGENERATOR

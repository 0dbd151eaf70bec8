// Opens a settings document in any form and lists everything worth saying about it in the
// FILE:LINE:COLUMN: level: message form that editors and IDEs understand: what the library
// reports while reading, what it takes in silence, and what Check() finds, each at the
// member it is about. The lines are those `kvt317 check` prints.
//
//   located_findings FILE

#include <OpenDocument.h>

#include <QTextStream>

int main(int argc, char** argv)
{
    if (argc != 2) {
        QTextStream(stderr) << "usage: located_findings FILE\n";
        return 2;
    }
    const QString path = QString::fromLocal8Bit(argv[1]);
    // One read of the file: the load keeps where each record and member stands, and the
    // check's findings are placed from that.
    const auto document = KVT317XML::OpenSettingsDocument(path);
    if (!document->readable) {
        QTextStream(stderr) << path << ": " << document->readError << "\n";
        return 2;
    }
    QTextStream out(stdout);
    for (const QString& line : KVT317XML::FindingLines(document->label, document->findings))
        out << line << '\n';
    return document->findings.Count() > 0 ? 1 : 0;
}

#pragma once

// The XML documents the repository holds, for the tests that run two readers or two writers
// over every one of them: the files, the fuzz corpora and, on request, the documents the
// sources and scripts write inline.

#include <QByteArray>
#include <QDirIterator>
#include <QFile>
#include <QString>

#include <vector>

namespace repository {

struct DocumentSet {
    // Every corpus input whole, as the tokenizer's fuzzer takes it; otherwise the inputs of
    // the XML targets only, without the first byte that chooses their options.
    bool everyCorpusInputWhole = false;
    // The documents written inside .cpp and .sh files, with their C string escapes undone.
    bool inlineDocuments = false;
    // Each inline document also as it stands, and the unescaped one behind a declaration.
    bool inlineAsWrittenToo = false;
};

inline QByteArray FileBytes(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

inline void InlineDocuments(const QByteArray& source, const DocumentSet& set,
                            std::vector<QByteArray>& documents)
{
    for (const char* root : {"KVT317_Settings", "BearingSettings", "KVT317SettingsDetail"}) {
        const QByteArray start = QByteArray("<") + root, end = QByteArray("</") + root + ">";
        for (int from = source.indexOf(start); from >= 0; from = source.indexOf(start, from + 1)) {
            const int to = source.indexOf(end, from);
            if (to < 0)
                break;
            QByteArray document = source.mid(from, to + end.size() - from);
            if (set.inlineAsWrittenToo)
                documents.push_back(document);
            document.replace("\\\"", "\"")
                .replace("\\n", "\n")
                .replace("\\r", "\r")
                .replace("\\t", "\t");
            if (set.inlineAsWrittenToo)
                documents.push_back("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n" + document +
                                    "\n");
            else
                documents.push_back(document);
        }
    }
}

inline std::vector<QByteArray> XmlDocuments(const DocumentSet& set)
{
    std::vector<QByteArray> documents;
    const QString root = QStringLiteral(KVT317_SOURCE_DIR);
    for (const char* folder : {"examples", "tests", "tools", "schema", "fuzz/corpus"}) {
        QDirIterator it(root + "/" + folder, QDir::Files, QDirIterator::Subdirectories);
        while (it.hasNext()) {
            const QString path = it.next();
            const bool corpus = path.contains(QLatin1String("/fuzz/corpus/"));
            if (corpus && set.everyCorpusInputWhole)
                documents.push_back(FileBytes(path));
            else if (corpus && (path.contains(QLatin1String("_xml/")) ||
                                path.contains(QLatin1String("/roundtrip/"))))
                documents.push_back(FileBytes(path).mid(1));
            else if (path.endsWith(QLatin1String(".xml")))
                documents.push_back(FileBytes(path));
            else if (set.inlineDocuments &&
                     (path.endsWith(QLatin1String(".cpp")) || path.endsWith(QLatin1String(".sh"))))
                InlineDocuments(FileBytes(path), set, documents);
        }
    }
    return documents;
}

} // namespace repository

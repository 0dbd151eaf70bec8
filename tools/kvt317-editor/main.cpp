// kvt317-editor: a settings document in a table, its findings in a panel.

#include "EditorWindow.h"

#include <KVT317XmlVersion.h>

#include <QApplication>
#include <QCommandLineParser>

#include <cstring>

namespace {

void Describe(QCommandLineParser& parser)
{
    QCoreApplication::setApplicationName(QStringLiteral("kvt317-editor"));
    QCoreApplication::setApplicationVersion(QStringLiteral(KVT317XML_VERSION_STRING));
    parser.setApplicationDescription(QStringLiteral(
        "Edits KVT317 settings documents: XML, JSON, binary and compressed binary."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addPositionalArgument(QStringLiteral("file"), QStringLiteral("The document to open."),
                                 QStringLiteral("[file]"));
}

// Whether the arguments ask for help or the version, which need no display. (--help-all
// lists the options of QApplication as well, which only QApplication knows.)
bool OnlyAsks(int argc, char* argv[])
{
    for (int i = 1; i < argc; ++i)
        for (const char* option : {"-h", "--help", "-?", "-v", "--version"})
            if (std::strcmp(argv[i], option) == 0)
                return true;
    return false;
}

} // namespace

int main(int argc, char* argv[])
{
    if (OnlyAsks(argc, argv)) {
        QCoreApplication application(argc, argv);
        QCommandLineParser parser;
        Describe(parser);
        parser.process(application); // prints the answer and exits
        return 0;
    }
    QApplication application(argc, argv);
    QCommandLineParser parser;
    Describe(parser);
    parser.process(application);
    EditorWindow window;
    window.show();
    const QStringList files = parser.positionalArguments();
    if (!files.isEmpty())
        window.Open(files.first());
    return application.exec();
}

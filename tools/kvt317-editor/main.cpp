// kvt317-editor: a settings document in a table, its findings in a panel.

#include "EditorWindow.h"

#include <QApplication>
#include <QCommandLineParser>

int main(int argc, char* argv[])
{
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("kvt317-editor"));
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Edits KVT317 settings documents: XML, binary and compressed binary."));
    parser.addHelpOption();
    parser.addPositionalArgument(QStringLiteral("file"), QStringLiteral("The document to open."));
    parser.process(application);
    EditorWindow window;
    window.show();
    const QStringList files = parser.positionalArguments();
    if (!files.isEmpty())
        window.Open(files.first());
    return application.exec();
}

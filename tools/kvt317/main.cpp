// kvt317: check, convert, show, dump, compare and create receiver-settings documents.

#include "Commands.h"

#include <KVT317XmlVersion.h>

#include <QCoreApplication>
#include <QTextStream>

namespace {

const char* const Usage =
    "Usage: kvt317 COMMAND [OPTIONS] ...\n"
    "\n"
    "Works on KVT317_Settings and BearingSettings documents in XML, binary or compressed\n"
    "binary form; the form and the record type are recognised from the content. An input\n"
    "may be - for standard input.\n"
    "\n"
    "Commands:\n"
    "  check FILE...                  report every fault of each document\n"
    "  convert INPUT OUTPUT           write a document in another form\n"
    "  show FILE                      print a document as a readable table\n"
    "  dump FILE                      list the entries of a binary document\n"
    "  diff A B                       compare two documents member by member\n"
    "  new [--bearing] [-o FILE]      write a complete starting document\n"
    "\n"
    "Options: --help (also after a command), --version.\n"
    "Exit status: 0 success, 1 the input has faults or differs, 2 usage or I/O error.\n";

const char* CommandHelp(const QString& command)
{
    if (command == QLatin1String("check"))
        return "Usage: kvt317 check FILE...\n\n"
               "Loads each document with validation off and checks it. Prints every report as\n"
               "FILE: LEVEL: message, then a summary. Exit 1 if any document has a fault.\n";
    if (command == QLatin1String("convert"))
        return "Usage: kvt317 convert INPUT OUTPUT [--to xml|binary|compressed] [--level N]\n\n"
               "Writes INPUT in the form given by --to, or else by OUTPUT's ending (.xml, .bin,\n"
               ".binz). --level is the zlib level of the compressed form (0 to 9, default -1).\n"
               "OUTPUT may be - for standard output. An existing OUTPUT is replaced only when\n"
               "the whole document was written.\n";
    if (command == QLatin1String("show"))
        return "Usage: kvt317 show FILE\n\n"
               "Prints the document as a table: each member's value, frequencies in engineering\n"
               "units, and which members are unset.\n";
    if (command == QLatin1String("dump"))
        return "Usage: kvt317 dump FILE\n\n"
               "Lists a binary document entry by entry: offset, tag, member name, length and\n"
               "decoded value; unknown tags raw. A damaged document is listed up to the first\n"
               "inconsistency, with its offset and what was expected there (exit 1).\n";
    if (command == QLatin1String("diff"))
        return "Usage: kvt317 diff A B\n\n"
               "Prints the members in which two documents of one record type differ, details\n"
               "paired by position. Exit 0 when they are equal, 1 otherwise.\n";
    if (command == QLatin1String("new"))
        return "Usage: kvt317 new [--bearing] [-o FILE]\n\n"
               "Writes a complete, valid starting document as XML: a KVT317_Settings document\n"
               "with one detail, or with --bearing a BearingSettings document. Without -o the\n"
               "document goes to standard output.\n";
    return nullptr;
}

int UsageError(const QString& message)
{
    QTextStream(stderr) << "kvt317: " << message << "\nTry 'kvt317 --help'.\n";
    return UsageOrIo;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    QStringList args = QCoreApplication::arguments().mid(1);
    QTextStream out(stdout);

    if (args.isEmpty())
        return UsageError(QStringLiteral("no command given"));
    const QString command = args.takeFirst();
    if (command == QLatin1String("--help") || command == QLatin1String("-h")) {
        out << Usage;
        return Success;
    }
    if (command == QLatin1String("--version")) {
        out << "kvt317 " << KVT317XML_VERSION_STRING << "\n";
        return Success;
    }
    const char* help = CommandHelp(command);
    if (!help)
        return UsageError(QStringLiteral("unknown command '%1'").arg(command));
    if (args.contains(QStringLiteral("--help")) || args.contains(QStringLiteral("-h"))) {
        out << help;
        return Success;
    }

    // Options with a value, then the positional arguments.
    QString to;
    QString output;
    int level = -1;
    bool bearing = false;
    QStringList positional;
    for (int i = 0; i < args.size(); ++i) {
        const QString& arg = args.at(i);
        const auto value = [&](QString& target) {
            if (i + 1 >= args.size())
                return false;
            target = args.at(++i);
            return true;
        };
        if (arg == QLatin1String("--to") && command == QLatin1String("convert")) {
            if (!value(to) || !QStringList{"xml", "binary", "compressed"}.contains(to))
                return UsageError(QStringLiteral("--to takes xml, binary or compressed"));
        } else if (arg == QLatin1String("--level") && command == QLatin1String("convert")) {
            QString text;
            bool ok = false;
            if (value(text))
                level = text.toInt(&ok);
            if (!ok || level < -1 || level > 9)
                return UsageError(QStringLiteral("--level takes a number from -1 to 9"));
        } else if (arg == QLatin1String("--bearing") && command == QLatin1String("new")) {
            bearing = true;
        } else if (arg == QLatin1String("-o") && command == QLatin1String("new")) {
            if (!value(output))
                return UsageError(QStringLiteral("-o takes a file name"));
        } else if (arg.startsWith(QLatin1Char('-')) && arg != QLatin1String("-")) {
            return UsageError(QStringLiteral("unknown option '%1' for %2").arg(arg, command));
        } else {
            positional.append(arg);
        }
    }

    const auto wrongCount = [&]() {
        return UsageError(QStringLiteral("wrong number of arguments for %1").arg(command));
    };
    if (command == QLatin1String("check"))
        return positional.isEmpty() ? wrongCount() : Check(positional);
    if (command == QLatin1String("convert"))
        return positional.size() != 2 ? wrongCount()
                                      : Convert(positional[0], positional[1], to, level);
    if (command == QLatin1String("show"))
        return positional.size() != 1 ? wrongCount() : Show(positional[0]);
    if (command == QLatin1String("dump"))
        return positional.size() != 1 ? wrongCount() : Dump(positional[0]);
    if (command == QLatin1String("diff"))
        return positional.size() != 2 ? wrongCount() : Diff(positional[0], positional[1]);
    return !positional.isEmpty() ? wrongCount()
                                 : New(bearing, output.isEmpty() ? QStringLiteral("-") : output);
}

// kvt317: checks, converts, shows and edits receiver-settings documents.

#include "Commands.h"
#include "Values.h"
#include <NameSuggestion.h>

#include <KVT317XmlVersion.h>

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QRegularExpression>

#include <cerrno>
#include <csignal>
#include <exception>
#include <fcntl.h>
#include <new>
#include <unistd.h>
#include <vector>

namespace {

// "; did you mean 'set'?" for a name close to one of the candidates, or nothing.
QString DidYouMean(const QString& name, const QStringList& candidates)
{
    const QString suggestion = KVT317XML::ClosestName(name, candidates);
    return suggestion.isNull() ? QString() : QStringLiteral("; did you mean '%1'?").arg(suggestion);
}

struct OptionInfo {
    const char* key;
    QStringList names;
    const char* valueName; // null for a switch
    const char* help;
};

const std::vector<OptionInfo>& AllOptions()
{
    static const std::vector<OptionInfo> options{
        {"quiet",
         {QStringLiteral("q"), QStringLiteral("quiet")},
         nullptr,
         "print only the count of files and faults"},
        {"no-lint",
         {QStringLiteral("no-lint")},
         nullptr,
         "leave out the warnings about likely slips (start above stop, a Name or index twice)"},
        {"format", {QStringLiteral("format")}, "FORMAT", "text (the default) or json"},
        {"by",
         {QStringLiteral("by")},
         "KEY",
         "how list items are paired: position (the default) or name (their Name)"},
        {"to",
         {QStringLiteral("to")},
         "FORM",
         "xml, json, binary (bin) or compressed (binz); by default the output name's ending "
         "decides"},
        {"level",
         {QStringLiteral("level")},
         "N",
         "zlib level of the compressed form, 0 to 9, or -1 for zlib's default (-1)"},
        {"force",
         {QStringLiteral("force")},
         nullptr,
         "write even though writing changes what the input holds (still listed)"},
        {"bearing",
         {QStringLiteral("bearing")},
         nullptr,
         "a BearingSettings document instead of a KVT317_Settings one"},
        {"output",
         {QStringLiteral("o"), QStringLiteral("output")},
         "FILE",
         "write to FILE (its ending gives the form) instead of standard output"},
        {"wait",
         {QStringLiteral("wait")},
         "SECONDS",
         "how long an edit waits while another program edits the file (5)"},
        {"help", {QStringLiteral("h"), QStringLiteral("help")}, nullptr, "show this help"},
    };
    return options;
}

struct CommandInfo {
    const char* name;
    const char* synopsis; // the arguments
    const char* summary;
    const char* description;
    QStringList options;
    int minimum;
    int maximum; // -1: any number
    int (*run)(const Options&);
};

const std::vector<CommandInfo>& Commands()
{
    static const std::vector<CommandInfo> commands{
        {"check",
         "FILE...",
         "report every fault of each document, located",
         "Reads each document as the library does and reports, one line each and in input\n"
         "order, what it finds: FILE:LINE:COLUMN: error|warning: RECORD: message. Binary\n"
         "positions are byte offsets, as FILE:1:OFFSET+1 (compressed input: in the inflated\n"
         "frame). Reported are the library's own reports, tied to the detail they came from,\n"
         "and what the library accepts in silence: unknown elements and attributes, numbers\n"
         "that do not read in full or overflow, unknown enumeration names, date-times that\n"
         "do not read, members given twice, more decimals than a member keeps, invalid UTF-8\n"
         "and whole numbers beyond 32 bits in binary input, texts XML cannot carry. Beyond 20\n"
         "identical diagnostics the rest are counted. It also warns about what the library\n"
         "accepts but is most likely a slip: a frequency range whose start lies above its\n"
         "stop, and a Name or an index that two items share (--no-lint leaves these out).\n"
         "Exit 0 when every document is clean, 1 when any has faults, 2 when one cannot be\n"
         "read.\n",
         {QStringLiteral("quiet"), QStringLiteral("format"), QStringLiteral("no-lint")},
         1,
         -1,
         RunCheck},
        {"convert",
         "INPUT OUTPUT",
         "write a document in another form, losslessly or not at all",
         "Writes INPUT in the form --to names, or else the one OUTPUT's ending names: .xml,\n"
         ".json, .bin or .binz (compressed binary). OUTPUT may be - for standard output; a file\n"
         "is replaced only once all of it is written. Refuses (exit 1, with the reasons) when\n"
         "the output would not hold what the input holds: content the library drops, texts\n"
         "that are not read as written, numbers rounded, or an output that reads back\n"
         "differently. --force writes anyway; a text XML cannot carry is never written.\n",
         {QStringLiteral("to"), QStringLiteral("level"), QStringLiteral("force"),
          QStringLiteral("wait")},
         2,
         2,
         RunConvert},
        {"show",
         "FILE",
         "print a document as an aligned table, with units",
         "Prints every member of the document, frequencies and bandwidths in Hz, kHz, MHz or\n"
         "GHz, times in ms, levels in dB or dBuV; members that are not set as (unset).\n",
         {QStringLiteral("format")},
         1,
         1,
         RunShow},
        {"dump",
         "FILE",
         "list the entries of a binary document",
         "Lists a binary or compressed binary document entry by entry: offset, tag, member\n"
         "name, length and value; unknown tags raw. A damaged document is listed up to the\n"
         "first inconsistency, with its offset and what was expected there (exit 1).\n",
         {QStringLiteral("format")},
         1,
         1,
         RunDump},
        {"diff",
         "A B",
         "compare two documents member by member",
         "Prints the members in which two documents of one record type differ, list items\n"
         "paired by position, or with --by name by their Name (items only in one document\n"
         "are said so). Exit 0 when they are equal, 1 otherwise.\n",
         {QStringLiteral("format"), QStringLiteral("by")},
         2,
         2,
         RunDiff},
        {"new",
         "",
         "write a complete, valid starting document",
         "Writes a KVT317_Settings document with one detail, or with --bearing a\n"
         "BearingSettings document, to standard output as XML or to the -o file in the form\n"
         "its ending names.\n",
         {QStringLiteral("bearing"), QStringLiteral("output"), QStringLiteral("to"),
          QStringLiteral("level")},
         0,
         0,
         RunNew},
        {"members",
         "[RECORD]",
         "list the members of the record types",
         "Lists every member of a record type (or of all): its kind, its default, whether it\n"
         "is required, and the names an enumeration allows.\n",
         {QStringLiteral("format")},
         0,
         1,
         RunMembers},
        {"get",
         "FILE PATH",
         "print a member's value",
         "Prints the member PATH selects, in the text form XML gives it; a record or a list\n"
         "as JSON. Exit 1 when the member is not set.\n",
         {},
         2,
         2,
         RunGet},
        {"set",
         "FILE PATH VALUE [PATH VALUE...]",
         "change members in place",
         "Sets each member PATH selects to VALUE, checked against the member's kind, and\n"
         "writes FILE back in its own form, atomically. Refuses like convert when writing\n"
         "would change anything else.\n",
         {QStringLiteral("force"), QStringLiteral("wait")},
         3,
         -1,
         RunSet},
        {"unset",
         "FILE PATH...",
         "reset members",
         "Resets each member PATH selects. XML and binary documents always carry a required\n"
         "member: reset, it takes its default.\n",
         {QStringLiteral("force"), QStringLiteral("wait")},
         2,
         -1,
         RunUnset},
        {"add",
         "FILE [PATH VALUE...]",
         "append a detail to a settings document",
         "Appends a complete detail (the one new writes, named and indexed after its\n"
         "position) to a KVT317_Settings document, with its members set as the PATH VALUE\n"
         "pairs say; paths are relative to the new detail.\n",
         {QStringLiteral("force"), QStringLiteral("wait")},
         1,
         -1,
         RunAdd},
        {"remove",
         "FILE PATH",
         "remove a detail from a settings document",
         "Removes the detail PATH selects: KVT317SettingsDetail[N] or\n"
         "KVT317SettingsDetail[Name=TEXT].\n",
         {QStringLiteral("force"), QStringLiteral("wait")},
         2,
         2,
         RunRemove},
    };
    return commands;
}

const OptionInfo& Option(const QString& key)
{
    for (const OptionInfo& option : AllOptions())
        if (key == QLatin1String(option.key))
            return option;
    return AllOptions().back();
}

QString OptionUsage(const OptionInfo& option)
{
    QStringList names;
    for (const QString& name : option.names)
        names.append((name.size() == 1 ? QStringLiteral("-") : QStringLiteral("--")) + name);
    QString usage = names.join(QStringLiteral(", "));
    if (option.valueName)
        usage += QLatin1Char(' ') + QLatin1String(option.valueName);
    return usage;
}

QString GeneralHelp()
{
    QString help = QStringLiteral(
        "Usage: kvt317 COMMAND [OPTIONS] ARGUMENTS\n"
        "\n"
        "Checks, converts, shows and edits receiver-settings documents (KVT317_Settings and\n"
        "BearingSettings) in XML, JSON, binary or compressed binary form. The form and the\n"
        "record type of an input are recognised from its content; - is standard input.\n"
        "\n"
        "Commands:\n");
    for (const CommandInfo& command : Commands())
        help += QStringLiteral("  %1 %2\n")
                    .arg(QStringLiteral("%1 %2").arg(QLatin1String(command.name),
                                                     QLatin1String(command.synopsis)),
                         -36)
                    .arg(QLatin1String(command.summary));
    help += QStringLiteral(
        "\n"
        "Options: --help (also after a command), --version.\n"
        "Exit status: 0 success; 1 faults, differences, or a refused write; 2 usage or I/O\n"
        "error. 'kvt317 COMMAND --help' and kvt317(1) tell more.\n");
    return help;
}

QString CommandHelp(const CommandInfo& command)
{
    QString help = QStringLiteral("Usage: kvt317 %1 [OPTIONS] %2\n\n%3")
                       .arg(QLatin1String(command.name), QLatin1String(command.synopsis),
                            QLatin1String(command.description));
    help += QStringLiteral("\nOptions:\n");
    QStringList keys = command.options;
    keys.append(QStringLiteral("help"));
    for (const QString& key : keys) {
        const OptionInfo& option = Option(key);
        help += QStringLiteral("  %1%2\n")
                    .arg(OptionUsage(option), -20)
                    .arg(QLatin1String(option.help));
    }
    return help;
}

int Run(const QStringList& arguments)
{
    if (arguments.size() < 2)
        return UsageError(QStringLiteral("no command given"));
    const QString name = arguments.at(1);
    if (name == QLatin1String("--help") || name == QLatin1String("-h") ||
        name == QLatin1String("help")) {
        Out() << GeneralHelp();
        return Success;
    }
    if (name == QLatin1String("--version")) {
        Out() << "kvt317 " << KVT317XML_VERSION_STRING << '\n';
        return Success;
    }
    // Asked by the shell's completion (kvt317.bash), not by people: it lists no help.
    if (name == QLatin1String("__complete"))
        return RunComplete(arguments.mid(2));
    const CommandInfo* command = nullptr;
    for (const CommandInfo& candidate : Commands())
        if (name == QLatin1String(candidate.name))
            command = &candidate;
    if (!command) {
        QStringList names;
        for (const CommandInfo& candidate : Commands())
            names.append(QLatin1String(candidate.name));
        return UsageError(QStringLiteral("unknown command '%1'").arg(name) +
                          DidYouMean(name, names));
    }

    QCommandLineParser parser;
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    QStringList keys = command->options;
    keys.append(QStringLiteral("help"));
    for (const QString& key : keys) {
        const OptionInfo& info = Option(key);
        parser.addOption(info.valueName ? QCommandLineOption(info.names, QLatin1String(info.help),
                                                             QLatin1String(info.valueName))
                                        : QCommandLineOption(info.names, QLatin1String(info.help)));
    }
    // A negative number is a value, not an option (set FILE LevelThreshold -95): it goes
    // past the parser in disguise, so that options may still stand anywhere.
    static const QRegularExpression negative(QStringLiteral("^-([0-9.]|inf$|nan$)"));
    QStringList rest{arguments.at(0)};
    QStringList values;
    for (const QString& argument : arguments.mid(2)) {
        if (negative.match(argument).hasMatch()) {
            rest.append(QStringLiteral("\x01%1").arg(values.size()));
            values.append(argument);
        } else {
            rest.append(argument);
        }
    }
    if (!parser.parse(rest)) {
        if (parser.unknownOptionNames().isEmpty())
            return UsageError(parser.errorText(), name);
        // The options this command takes, by the names they are given as.
        const QString unknown = parser.unknownOptionNames().first();
        QStringList names;
        for (const QString& key : keys)
            for (const QString& option : Option(key).names)
                if (option.size() > 1)
                    names.append(option);
        const QString suggestion = KVT317XML::ClosestName(unknown, names);
        return UsageError(
            QStringLiteral("unknown option '%1%2'").arg(unknown.size() > 1 ? "--" : "-", unknown) +
                (suggestion.isNull() ? QString()
                                     : QStringLiteral("; did you mean '--%1'?").arg(suggestion)),
            name);
    }
    if (parser.isSet(QStringLiteral("help"))) {
        Out() << CommandHelp(*command);
        return Success;
    }

    Options options;
    for (const QString& argument : parser.positionalArguments())
        options.arguments.append(argument.startsWith(QLatin1Char('\x01'))
                                     ? values.at(argument.mid(1).toInt())
                                     : argument);
    const int count = options.arguments.size();
    if (count < command->minimum || (command->maximum >= 0 && count > command->maximum))
        return UsageError(QStringLiteral("%1 takes %2")
                              .arg(name, command->synopsis[0] ? QLatin1String(command->synopsis)
                                                              : QLatin1String("no arguments")),
                          name);
    if (keys.contains(QStringLiteral("quiet")))
        options.quiet = parser.isSet(QStringLiteral("quiet"));
    if (keys.contains(QStringLiteral("by")) && parser.isSet(QStringLiteral("by"))) {
        const QString by = parser.value(QStringLiteral("by"));
        if (by != QLatin1String("position") && by != QLatin1String("name"))
            return UsageError(QStringLiteral("--by takes position or name, not '%1'").arg(by),
                              name);
        options.byName = by == QLatin1String("name");
    }
    if (keys.contains(QStringLiteral("no-lint")))
        options.lint = !parser.isSet(QStringLiteral("no-lint"));
    if (keys.contains(QStringLiteral("force")))
        options.force = parser.isSet(QStringLiteral("force"));
    if (keys.contains(QStringLiteral("bearing")))
        options.bearing = parser.isSet(QStringLiteral("bearing"));
    if (keys.contains(QStringLiteral("output")))
        options.output = parser.value(QStringLiteral("output"));
    if (keys.contains(QStringLiteral("format")) && parser.isSet(QStringLiteral("format"))) {
        const QString format = parser.value(QStringLiteral("format"));
        if (format != QLatin1String("text") && format != QLatin1String("json"))
            return UsageError(QStringLiteral("--format takes text or json, not '%1'").arg(format),
                              name);
        options.json = format == QLatin1String("json");
    }
    if (keys.contains(QStringLiteral("to")) && parser.isSet(QStringLiteral("to"))) {
        options.formGiven = true;
        if (!FormFromOption(parser.value(QStringLiteral("to")), options.to))
            return UsageError(
                QStringLiteral("--to takes xml, json, binary (bin) or compressed (binz), not '%1'")
                    .arg(parser.value(QStringLiteral("to"))),
                name);
    }
    if (keys.contains(QStringLiteral("wait")) && parser.isSet(QStringLiteral("wait"))) {
        bool ok = false;
        const double seconds = parser.value(QStringLiteral("wait")).toDouble(&ok);
        if (!ok || seconds < 0 || seconds > 86400)
            return UsageError(QStringLiteral("--wait takes seconds from 0 to 86400, not '%1'")
                                  .arg(parser.value(QStringLiteral("wait"))),
                              name);
        options.waitMilliseconds = static_cast<int>(seconds * 1000);
    }
    if (keys.contains(QStringLiteral("level")) && parser.isSet(QStringLiteral("level"))) {
        bool ok = false;
        options.level = parser.value(QStringLiteral("level")).toInt(&ok);
        if (!ok || options.level < -1 || options.level > 9)
            return UsageError(QStringLiteral("--level takes a number from -1 to 9, not '%1'")
                                  .arg(parser.value(QStringLiteral("level"))),
                              name);
    }
    return command->run(options);
}

} // namespace

int main(int argc, char** argv)
{
    // A closed standard stream must stay closed to the tool's writes: a file opened later
    // would otherwise take its descriptor and receive what is meant for the stream.
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (fcntl(descriptor, F_GETFD) < 0 && errno == EBADF)
            open("/dev/null", O_RDONLY);
    // A reader that goes away is a failed write like any other: reported, exit 2.
    std::signal(SIGPIPE, SIG_IGN);
    // So is a file grown past the size limit (ulimit -f): EFBIG, told as such.
    std::signal(SIGXFSZ, SIG_IGN);
    int status = UsageOrIo;
    try {
        QCoreApplication application(argc, argv);
        status = Run(QCoreApplication::arguments());
    } catch (const std::bad_alloc&) {
        Err() << "kvt317: out of memory\n";
        status = UsageOrIo;
    } catch (const std::exception& exception) {
        Err() << "kvt317: " << exception.what() << '\n';
        status = UsageOrIo;
    } catch (...) {
        Err() << "kvt317: an unexpected error ended the command\n";
        status = UsageOrIo;
    }
    if (!Out().Flush() && !Out().Reported()) {
        Err() << "kvt317: cannot write to standard output: " << Out().Error() << '\n';
        status = UsageOrIo;
    }
    Err().Flush();
    return status;
}

// Loads a settings document and lists everything worth saying about it in the
// FILE:LINE:COLUMN: level: message form that editors and IDEs understand: what the library
// reports while reading, what it takes in silence, and what Check() finds, each at the
// member it is about.
//
//   located_findings FILE

#include <KVT317_Settings.h>
#include <ReadObserver.h>

#include <QFile>
#include <QHash>
#include <QTextStream>

#include <vector>

namespace {

using namespace KVT317XML;

// Keeps every finding, and where each record and member stood, so that findings made after
// the load (by Check()) can be placed too.
class Locator : public ReadObserver
{
public:
    void Found(const ReadFinding& finding) override { findings.push_back(finding); }
    bool WantsEntries() const override { return true; }
    void Read(const ReadPath& path, const ReadEntry& entry) override
    {
        places.insert(Key(path, entry.member), entry.position);
    }

    // Where a finding stands: its own place, or where its member (or record) was read.
    ReadPosition Place(const ReadFinding& finding) const
    {
        if (finding.position.IsKnown())
            return finding.position;
        const ReadPosition member = places.value(Key(finding.path, finding.member));
        return member.IsKnown() ? member : places.value(Key(finding.path, nullptr));
    }

    std::vector<ReadFinding> findings;

private:
    static QString Key(const ReadPath& path, const MemberDescription* member)
    {
        QString key;
        for (const ReadStep& step : path)
            key += QStringLiteral("%1.%2/").arg(step.bit).arg(step.item);
        return key + (member ? member->name : QString());
    }
    QHash<QString, ReadPosition> places;
};

// "KVT317SettingsDetail[2]: " for a finding in the second detail; nothing at the root.
QString RecordLabel(const ReadFinding& finding)
{
    if (finding.path.isEmpty())
        return QString();
    return QStringLiteral("%1[%2]: ").arg(finding.record->name).arg(finding.path.first().item + 1);
}

} // namespace

int main(int argc, char** argv)
{
    QTextStream out(stdout);
    if (argc != 2) {
        QTextStream(stderr) << "usage: located_findings FILE\n";
        return 2;
    }
    const QString path = QString::fromLocal8Bit(argv[1]);
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        QTextStream(stderr) << path << ": " << file.errorString() << "\n";
        return 2;
    }

    KVT317_Settings settings;
    settings.SetLogger(nullptr); // every report reaches the observer
    Locator locator;
    {
        ObserveReading observe(locator);
        if (settings.SetXmlString(QString::fromUtf8(file.readAll()), true))
            settings.Check(true);
    }

    static const char* const levels[] = {"error", "warning", "note"};
    for (const ReadFinding& finding : locator.findings) {
        const ReadPosition where = locator.Place(finding);
        out << path << ':' << where.line << ':' << where.column << ": "
            << levels[static_cast<int>(finding.level)] << ": " << RecordLabel(finding)
            << finding.message << '\n';
    }
    return locator.findings.empty() ? 0 : 1;
}

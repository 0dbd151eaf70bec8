// Builds a frequency range, saves it as XML and as binary, loads both back and prints them.

#include <FrequencyRange.h>

#include <QDir>
#include <QFile>
#include <QTextStream>

#include <cstdio>

int main(int argc, char** argv)
{
    const QString directory = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QDir::tempPath();
    const QString xmlPath = directory + QStringLiteral("/frequency-range.xml");
    const QString binaryPath = directory + QStringLiteral("/frequency-range.bin");
    QTextStream out(stdout);

    KVT317XML::FrequencyRange range;
    range.SetValidate(true);
    range.SetStartFrequency(118000000.0);
    range.SetStopFrequency(137000000.0);

    if (!range.SaveXml(xmlPath))
        return 1;
    QFile binaryFile(binaryPath);
    if (!binaryFile.open(QIODevice::WriteOnly) ||
        binaryFile.write(range.GetBinaryRepresentationAsQByteArray()) < 0)
        return 1;
    binaryFile.close();

    KVT317XML::FrequencyRange fromXml;
    if (!fromXml.LoadXml(xmlPath))
        return 1;
    KVT317XML::FrequencyRange fromBinary;
    if (!fromBinary.LoadBinary(&binaryFile))
        return 1;

    out << "Saved " << xmlPath << " and " << binaryPath << "\n\n";
    out << "Loaded from XML:\n" << fromXml.GetXmlString() << "\n";
    out << "Loaded from binary:\n" << fromBinary.GetXmlString() << "\n";
    out << "Binary frame: " << range.GetBinaryRepresentationAsQByteArray().toHex(' ') << "\n";
    const bool same = fromXml == range && fromBinary == range;
    out << (same ? "Both copies equal the original.\n" : "The copies differ!\n");
    return same ? 0 : 1;
}

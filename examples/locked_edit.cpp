// Sets the threshold of every detail of a settings file in one locked edit: the file is read,
// changed and replaced under its lock, so that other programs editing it at the same time
// (kvt317 set, add, ...) neither undo this edit nor are undone by it.
//
//   locked_edit FILE THRESHOLD [HOLD_SECONDS]
//
// HOLD_SECONDS keeps the lock that long inside the edit, to show others waiting for it.

#include <KVT317_Settings.h>

#include <QTextStream>
#include <QThread>

int main(int argc, char** argv)
{
    if (argc < 3) {
        QTextStream(stderr) << "usage: locked_edit FILE THRESHOLD [HOLD_SECONDS]\n";
        return 2;
    }
    const QString path = QString::fromLocal8Bit(argv[1]);
    const int threshold = QString::fromLocal8Bit(argv[2]).toInt();
    const double hold = argc > 3 ? QString::fromLocal8Bit(argv[3]).toDouble() : 0.0;

    KVT317XML::KVT317_Settings settings;
    const bool edited = settings.EditFile(path, [&](REPORTGENERATOR::IRGObject&) {
        for (KVT317XML::KVT317SettingsDetail& detail : settings.GetKVT317SettingsDetail())
            detail.SetThreshold(threshold);
        QThread::msleep(static_cast<unsigned long>(hold * 1000));
        return true;
    });
    return edited ? 0 : 1;
}

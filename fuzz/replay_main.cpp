// Runs a fuzz target once over each input file, for builds without libFuzzer: the corpus
// and every input that once crashed stay tests on every compiler.
//
//   fuzz_replay_TARGET FILE_OR_DIRECTORY...

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cstdint>
#include <cstdio>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

int RunFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "cannot read %s\n", qPrintable(path));
        return 1;
    }
    const QByteArray bytes = file.readAll();
    std::fprintf(stderr, "%s\n", qPrintable(path));
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.constData()),
                           static_cast<size_t>(bytes.size()));
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    int failures = 0;
    int count = 0;
    for (int i = 1; i < argc; ++i) {
        const QString path = QString::fromLocal8Bit(argv[i]);
        if (QFileInfo(path).isDir()) {
            const QDir dir(path);
            for (const QString& name : dir.entryList(QDir::Files, QDir::Name)) {
                failures += RunFile(dir.filePath(name));
                ++count;
            }
        } else {
            failures += RunFile(path);
            ++count;
        }
    }
    std::fprintf(stderr, "%d inputs replayed\n", count);
    return failures == 0 && count > 0 ? 0 : 1;
}

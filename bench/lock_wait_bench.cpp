// How soon a program waiting for a document's lock goes on, and whether waiters take turns:
//
//   kvt317_lock_wait_bench [TRIALS] [EDITS] [--qt]
//
// - release: a holder keeps the lock for 200 ms while another process waits, then lets it
//   go; measured is the time from just before the release to the waiter's Acquire()
//   returning.
// - killed: a holder is killed (SIGKILL) and reaped while another process waits; measured
//   from just before the kill.
// - turns: three processes each make EDITS locked edits in a loop, taking the lock again at
//   once after each; measured is the longest run of consecutive edits by one process (1 when
//   they alternate) and each process's count.
// - uncontended: taking and releasing a lock nobody else holds.
// Times are medians and 95th percentiles over TRIALS (20 by default) trials, in ms. With --qt
// every lock is a plain QLockFile waiting with its own tryLock(timeout), for comparison.

#include <DocumentFile.h>

#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <vector>

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

bool plainQt = false;

// A document's lock, taken as the library takes it or, with --qt, as QLockFile alone would.
class Lock
{
public:
    explicit Lock(const QString& path)
        : m_document(path)
        , m_qt(QFileInfo(path).canonicalFilePath() + QStringLiteral(".lock"))
    {
        m_qt.setStaleLockTime(1000);
    }
    bool Acquire(int milliseconds)
    {
        return plainQt ? m_qt.tryLock(milliseconds) : m_document.Acquire(milliseconds);
    }

private:
    REPORTGENERATOR::DocumentLock m_document;
    QLockFile m_qt;
};

double Now()
{
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return double(time.tv_sec) * 1e3 + double(time.tv_nsec) / 1e6;
}

void Sleep(double milliseconds)
{
    timespec time{};
    time.tv_sec = static_cast<time_t>(milliseconds / 1000);
    time.tv_nsec = static_cast<long>((milliseconds - double(time.tv_sec) * 1000) * 1e6);
    nanosleep(&time, nullptr);
}

bool Send(int fd, double value)
{
    return write(fd, &value, sizeof value) == static_cast<ssize_t>(sizeof value);
}

double Receive(int fd)
{
    double value = -1;
    if (read(fd, &value, sizeof value) != static_cast<ssize_t>(sizeof value))
        return -1;
    return value;
}

void Summary(const char* what, std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    if (values.empty() || values.front() < 0) {
        std::printf("%-12s failed\n", what);
        return;
    }
    const auto at = [&values](double share) {
        return values[std::min(values.size() - 1, static_cast<std::size_t>(share * values.size()))];
    };
    std::printf("%-12s median %7.3f ms  p95 %7.3f ms  max %7.3f ms  (%zu trials)\n", what, at(0.5),
                at(0.95), values.back(), values.size());
}

// A child that takes the lock, says so, and holds it: until killed, or for `hold` ms before
// it sends the time of its release.
pid_t Holder(const QString& path, int toParent, double hold)
{
    const pid_t pid = fork();
    if (pid != 0)
        return pid;
    auto lock = std::make_unique<Lock>(path);
    if (!lock->Acquire(10000))
        _exit(1);
    Send(toParent, 0);
    if (hold < 0)
        for (;;)
            pause();
    Sleep(hold);
    const double released = Now();
    lock.reset();
    Send(toParent, released);
    _exit(0);
}

std::vector<double> AfterRelease(const QString& path, int trials)
{
    std::vector<double> waits;
    for (int trial = 0; trial < trials; ++trial) {
        int channel[2];
        if (pipe(channel) != 0)
            return {-1};
        const pid_t holder = Holder(path, channel[1], 200);
        Receive(channel[0]);
        Lock lock(path);
        const bool taken = lock.Acquire(10000);
        const double acquired = Now();
        const double released = Receive(channel[0]);
        waitpid(holder, nullptr, 0);
        close(channel[0]);
        close(channel[1]);
        waits.push_back(taken && released > 0 ? acquired - released : -1);
    }
    return waits;
}

std::vector<double> AfterKill(const QString& path, int trials)
{
    std::vector<double> waits;
    for (int trial = 0; trial < trials; ++trial) {
        int channel[2];
        if (pipe(channel) != 0)
            return {-1};
        const pid_t holder = Holder(path, channel[1], -1);
        Receive(channel[0]);
        const pid_t waiter = fork();
        if (waiter == 0) {
            Lock lock(path);
            Send(channel[1], lock.Acquire(10000) ? Now() : -1);
            _exit(0);
        }
        Sleep(100); // the waiter is waiting by now
        const double killed = Now();
        kill(holder, SIGKILL);
        waitpid(holder, nullptr, 0);
        const double acquired = Receive(channel[0]);
        waitpid(waiter, nullptr, 0);
        close(channel[0]);
        close(channel[1]);
        waits.push_back(acquired > 0 ? acquired - killed : -1);
    }
    return waits;
}

void Turns(const QString& path, const QString& logPath, int edits)
{
    const QByteArray log = QFile::encodeName(logPath);
    constexpr int processes = 3;
    std::vector<pid_t> children;
    for (int p = 0; p < processes; ++p) {
        const pid_t pid = fork();
        if (pid == 0) {
            const int fd = open(log.constData(), O_WRONLY | O_CREAT | O_APPEND, 0644);
            const char id = static_cast<char>('A' + p);
            for (int i = 0; i < edits; ++i) {
                Lock lock(path);
                if (!lock.Acquire(60000) || write(fd, &id, 1) != 1)
                    _exit(1);
                Sleep(2); // the edit
            }
            _exit(0);
        }
        children.push_back(pid);
    }
    bool failed = false;
    for (const pid_t child : children) {
        int status = 0;
        waitpid(child, &status, 0);
        failed = failed || !WIFEXITED(status) || WEXITSTATUS(status) != 0;
    }
    QFile file(logPath);
    const QByteArray order = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    int longest = 0;
    int run = 0;
    for (int i = 0; i < order.size(); ++i) {
        run = i > 0 && order[i] == order[i - 1] ? run + 1 : 1;
        longest = std::max(longest, run);
    }
    std::printf("turns        %d processes x %d edits: longest run by one process %d; edits A %d, "
                "B %d, C %d%s\n",
                processes, edits, longest, int(order.count('A')), int(order.count('B')),
                int(order.count('C')), failed ? "; an edit failed" : "");
}

std::vector<double> Uncontended(const QString& path, int trials)
{
    std::vector<double> times;
    for (int trial = 0; trial < trials; ++trial) {
        const double start = Now();
        {
            Lock lock(path);
            if (!lock.Acquire(0))
                return {-1};
        }
        times.push_back(Now() - start);
    }
    return times;
}

} // namespace

int main(int argc, char** argv)
{
    const int trials = argc > 1 ? std::max(1, std::atoi(argv[1])) : 20;
    const int edits = argc > 2 ? std::max(1, std::atoi(argv[2])) : 30;
    plainQt = argc > 3 && QByteArray(argv[3]) == "--qt";
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("settings.xml"));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write("<KVT317_Settings/>\n") < 0)
        return 2;
    file.close();
    Summary("release", AfterRelease(path, trials));
    Summary("killed", AfterKill(path, trials));
    Turns(path, dir.filePath(QStringLiteral("order.txt")), edits);
    Summary("uncontended", Uncontended(path, std::max(trials, 100)));
    return 0;
}

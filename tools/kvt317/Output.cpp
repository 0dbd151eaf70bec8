#include "Output.h"

#include <DocumentFile.h>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <unistd.h>

namespace {

QString SystemError(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

// Large enough that a long listing is written in few calls, small enough that output
// reaches a pipe while the tool is still working.
constexpr int FlushThreshold = 64 * 1024;

} // namespace

Channel::Channel(int descriptor, bool immediate)
    : m_descriptor(descriptor)
    , m_immediate(immediate)
{
}

void Channel::Write(const QByteArray& bytes)
{
    if (m_errno != 0)
        return;
    m_buffer.append(bytes);
    if (m_immediate || m_buffer.size() >= FlushThreshold)
        Flush();
}

Channel& Channel::operator<<(const QString& text)
{
    Write(text.toUtf8());
    return *this;
}

Channel& Channel::operator<<(const char* text)
{
    Write(QByteArray(text));
    return *this;
}

Channel& Channel::operator<<(char c)
{
    Write(QByteArray(1, c));
    return *this;
}

Channel& Channel::operator<<(qint64 number)
{
    Write(QByteArray::number(number));
    return *this;
}

Channel& Channel::operator<<(int number)
{
    Write(QByteArray::number(number));
    return *this;
}

bool Channel::Flush()
{
    qint64 done = 0;
    while (m_errno == 0 && done < m_buffer.size()) {
        const ssize_t written = ::write(m_descriptor, m_buffer.constData() + done,
                                        static_cast<size_t>(m_buffer.size() - done));
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0 && errno == EPIPE && m_descriptor == STDOUT_FILENO) {
            // The reader went away (show | head): end quietly, as a program that does not
            // catch SIGPIPE does.
            std::signal(SIGPIPE, SIG_DFL);
            ::raise(SIGPIPE);
        }
        if (written <= 0)
            m_errno = written < 0 ? errno : EIO;
        else
            done += written;
    }
    m_buffer.clear();
    return m_errno == 0;
}

QString Channel::Error() const
{
    return m_errno == 0 ? QString() : SystemError(m_errno);
}

QString Channel::TakeError()
{
    m_reported = true;
    return Error();
}

Channel& Out()
{
    static Channel channel(STDOUT_FILENO, false);
    return channel;
}

Channel& Err()
{
    static Channel channel(STDERR_FILENO, true);
    return channel;
}

QString InputLabel(const QString& path)
{
    return path == QLatin1String("-") ? QStringLiteral("<stdin>") : path;
}

QString WriteOutput(const QString& path, const QByteArray& bytes)
{
    if (path == QLatin1String("-")) {
        Out().Write(bytes);
        return Out().Flush()
                   ? QString()
                   : QStringLiteral("cannot write to standard output: %1").arg(Out().TakeError());
    }
    // The library's writer: atomic, keeping mode, owner and group, with the system's reason.
    QString fault;
    QStringList warnings;
    const bool written = REPORTGENERATOR::WriteDocumentFile(path, bytes, &fault, &warnings);
    for (const QString& warning : warnings)
        Err() << "kvt317: warning: " << warning << '\n';
    if (written)
        return QString();
    fault[0] = fault.at(0).toLower(); // "cannot write 'f.xml': ..."
    return fault;
}

#pragma once

#include <OpenDocument.h>
#include <QByteArray>

#include <QString>

// Exit statuses of the tool.
enum ExitStatus { Success = 0, Faults = 1, UsageOrIo = 2 };

// Standard output or standard error, written through the file descriptor so that every
// failed write (a full disk, a closed descriptor, a reader that went away) is seen and can
// be reported. Text goes out as UTF-8.
class Channel
{
public:
    // A channel with `immediate` writes at once; otherwise it collects a block first.
    Channel(int descriptor, bool immediate);
    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;

    void Write(const QByteArray& bytes);
    Channel& operator<<(const QString& text);
    Channel& operator<<(const char* text);
    Channel& operator<<(char c);
    Channel& operator<<(qint64 number);
    Channel& operator<<(int number);

    // Writes what is buffered; false once any write has failed.
    bool Flush();
    // The system's text for the first failure, empty while there is none.
    QString Error() const;
    // The same, marked as reported, so that it is not reported twice.
    QString TakeError();
    bool Reported() const { return m_reported; }

private:
    int m_descriptor;
    bool m_immediate;
    QByteArray m_buffer;
    int m_errno = 0;
    bool m_reported = false;
};

Channel& Out();
Channel& Err();

// Writes bytes to a file, or to standard output for "-". A regular file (new or existing)
// is replaced only once every byte is written (QSaveFile); a device or a pipe is written
// in place. Returns the reason of a failure, empty on success.
QString WriteOutput(const QString& path, const QByteArray& bytes);

// The name of an input or output in messages: "<stdin>" or "<stdout>" for "-".
QString InputLabel(const QString& path);

// 1234567 as "1,234,567".
inline QString Grouped(qint64 number)
{
    return KVT317XML::GroupedNumber(number);
}

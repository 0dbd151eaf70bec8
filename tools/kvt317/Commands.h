#pragma once

#include "Document.h"
#include "Output.h"

#include <DocumentFile.h>

#include <QStringList>

#include <memory>

// What the command line asked for.
struct Options {
    QStringList arguments; // the command's positional arguments
    bool quiet = false;
    bool lint = true;    // check: --no-lint turns it off
    bool byName = false; // diff --by name
    bool force = false;
    bool bearing = false;
    bool json = false; // --format json
    bool formGiven = false;
    Form to = Form::Xml;
    int level = -1;
    QString output;
    int waitMilliseconds = REPORTGENERATOR::DocumentLock::DefaultWait; // --wait
};

// Takes the lock on a document file that a command edits, for as long as the lock lives;
// null after printing why it cannot (exit 2).
std::unique_ptr<REPORTGENERATOR::DocumentLock> LockForEdit(const QString& path,
                                                           const Options& options);

int RunCheck(const Options& options);
int RunConvert(const Options& options);
int RunShow(const Options& options);
int RunDump(const Options& options);
int RunDiff(const Options& options);
int RunNew(const Options& options);
int RunMembers(const Options& options);
int RunGet(const Options& options);
int RunSet(const Options& options);
int RunUnset(const Options& options);
int RunAdd(const Options& options);
int RunRemove(const Options& options);
// Completion candidates, one per line: the arguments after "__complete" (Complete.cpp).
int RunComplete(const QStringList& arguments);

// Prints why a document cannot be used (it could not be read, or the library refused it)
// and returns the exit status; Success when it can be used.
int Unusable(Document& document);

// A usage error: "kvt317: MESSAGE" and a pointer to the help; returns UsageOrIo.
int UsageError(const QString& message, const QString& command = QString());

// The complete, valid document that new writes. (The detail that add appends is the
// library's StartingDetail().)
std::unique_ptr<KVT317XML::Record> StartingDocument(bool bearing);

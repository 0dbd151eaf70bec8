#pragma once

// The library's member paths, under the names the commands use.
#include <MemberPath.h>

using Target = KVT317XML::MemberTarget;

inline QString Resolve(KVT317XML::Record& root, const QString& path, bool create, Target& target,
                       bool* notSet = nullptr)
{
    return KVT317XML::ResolveMemberPath(root, path, create, target, notSet);
}

inline QStringList Expand(KVT317XML::Record& root, const QString& path, QString& error)
{
    return KVT317XML::ExpandMemberPath(root, path, error);
}

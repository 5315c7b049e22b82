#pragma once

#include <QString>

// Integrity digest of a shared library: lower-case hex SHA-256 over the bytes of
// its executable loadable ELF segments, in program-header order. Data segments
// are left out so that the digest identifies the code only. Empty when the file
// is missing, unreadable or not ELF.
QString libraryChecksum(const QString& path);

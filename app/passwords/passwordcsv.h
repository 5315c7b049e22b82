#pragma once

#include <QByteArray>
#include <QString>
#include <QVector>

// One login as it travels through a password CSV file.
struct CsvLogin {
    int line = 0; // line of the file on which the row starts (the header is line 1)
    QString name;
    QString url;
    QString username;
    QString password;
    QString note;
};

// A row that could not be taken, with the reason in words a person understands.
struct CsvRejectedRow {
    int line = 0;
    QString message;
};

struct CsvReadResult {
    bool ok = false;
    QString error; // set when the file as a whole is refused
    QVector<CsvLogin> logins;
    QVector<CsvRejectedRow> rejected;
};

// Reading and writing the browser's password CSV files: header
// "name,url,username,password,note", RFC 4180 quoting, UTF-8 with or without a
// byte order mark. Reading also takes the columns other browsers and password
// managers export under their own names. Only QtCore is used, so that the
// reader can be fuzzed on its own.
namespace PasswordCsv
{
// Files larger than this are refused before anything is read: an export of even
// tens of thousands of logins stays far below it.
constexpr qint64 maxFileSize = 8 * 1024 * 1024;

CsvReadResult read(const QByteArray& data);

// The header and one CRLF-terminated row per login.
QByteArray write(const QVector<CsvLogin>& logins);
} // namespace PasswordCsv
